// Sequenced collection: elements numbered from 1 to the size, reached by `at`, `atput` and `isat`.
//
// Most of it is in sequence_protocol.h. What is here knows the slots, or the template of the elements.
#include "classes/collections/sequence_protocol.h"
#include "classes/text/mixed_text.h"

namespace oocobol {
namespace {

constexpr char program[] = "sequence";

using Self = Instance<SequencedFields>;
using ClassSelf = Receiver;

using sequences::copyEmptyWithSize, sequences::isCompatible, sequences::replace, sequences::sizeOf;

// ---- Creation ---------------------------------------------------------------------------------------------------

// A new instance with its storage, or null when there was none: `initialize` has raised then.
Ref makeInstance(const ClassSelf &self, Ref elementTemplate, Index size, Count width) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (!made) return null;
    send(SITE("initialize"), made, static_cast<Count>(size), elementTemplate, width);
    const auto *fields = fieldsOf<SequencedFields>(made);
    if (fields == nullptr || fields->storage != nullptr || fields->elementSize == 0) return made;
    send<Ref>(SITE("finalize"), made);
    return null;
}

bool isSize(Index size) { return size >= 0 && size < sizeLimit; }

// ofvalues (template, size) -> collection. A size that is negative or too large ends in invalidparameter (33).
Answer<Ref> ofValues(ClassSelf self, Ref elementTemplate, Index size) {
    if (!isSize(size)) return pass(SITE("invalidparameter"));
    const auto width = send<Count>(SITE("sizeinbytes"), elementTemplate);
    if (elementTemplate && !isLive(elementTemplate)) return null;
    return makeInstance(self, elementTemplate, size, width);
}

// ofreferences (size) -> collection.
Answer<Ref> ofReferences(ClassSelf self, Index size) {
    if (!isSize(size)) return pass(SITE("invalidparameter"));
    return makeInstance(self, null, size, sizeof(Ref));
}

// ---- Elements ---------------------------------------------------------------------------------------------------

// size () -> count of slots.
Count size(Self self) { return self->slotCount; }
bool isSequenced(Self) { return true; }

// isatidentity (element, index) -> flag. Whether the slot holds these very bytes.
Answer<bool> isAtIdentity(Self self, Element element, Index index) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    if (index < 1 || static_cast<Count>(index) > self->slotCount) return false;
    return equalElements(slotOf(*self, static_cast<Count>(index)), element.address, self->elementSize);
}

// equal (collection) -> flag. Of the same class, and element for element what the other says is equal.
bool equal(Self self, Ref other) {
    if (other == self.ref()) return true;
    if (send<Ref>(SITE("class"), other) != self.classObject()) return false;
    const auto count = sizeOf(self);
    if (sizeOf(other) != count) return false;
    ElementReader own(self.ref(), other);
    ElementMatcher others(other);
    for (Index i = 1; i <= count; ++i) {
        if (!own || !own.read(i) || !isLive(other)) return false;
        if (!others.matches(own.element(), i)) return false;
    }
    return true;
}

// ---- Searching --------------------------------------------------------------------------------------------------

// firstindexof, lastindexof (element, from, to) -> index, 0 when absent. A from index below 1 raises 3.
Answer<Index> firstIndexOf(Self self, Element element, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    return searchForward(self, element, from, std::min(to, sizeOf(self)));
}
Answer<Index> lastIndexOf(Self self, Element element, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    return searchBackward(self, element, from, std::min(to, sizeOf(self)));
}

// firstindexofidentity (element, from, to) -> index, 0 when absent. A from index below 1 raises 3.
Answer<Index> firstIndexOfIdentity(Self self, Element element, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    const std::int64_t bound = std::min(to, sizeOf(self));
    for (std::int64_t i = from; i <= bound && self.isAlive(); ++i) {
        const auto index = static_cast<Index>(i);
        if (sendSelf<bool>(SITE("isatidentity"), self, element, index)) return index;
    }
    return 0;
}

// Whether the subcollection's elements stand in the receiver from that index on.
bool occursAt(const Self &self, ElementReader &subcollection, std::int64_t length, std::int64_t index) {
    ElementMatcher own(self.ref());
    for (std::int64_t j = 1; j <= length; ++j) {
        if (!subcollection.read(static_cast<Index>(j)) || !self.isAlive()) return false;
        if (!own.matches(subcollection.element(), static_cast<Index>(index + j - 1))) return false;
    }
    return true;
}

// indexofsubcollection (subcollection, start) -> index, 0 when absent. Raises 11 for an empty subcollection, 3 for a
// start below 1; an incompatible one ends in compatibilityerror (10).
Answer<Index> indexOfSubcollection(Self self, Ref subcollection, Index start) {
    if (!isCompatible(self, subcollection)) return pass(SITE("compatibilityerror"));
    const std::int64_t length = sizeOf(subcollection);
    if (length <= 0) return raise(Error::emptySubcollection);
    if (start < 1) return pass(SITE("errorinbounds"));
    ElementReader wanted(subcollection, self.ref());
    if (!wanted) return raise(Error::noWorkArea);
    const auto lastStart = sizeOf(self) - length + 1;
    for (std::int64_t i = start; i <= lastStart && self.isAlive() && isLive(subcollection); ++i) {
        if (occursAt(self, wanted, length, i)) return static_cast<Index>(i);
    }
    return 0;
}

// occurrencesof (element) -> count. A sorted collection's `firstindexof` finds what compares equal, and that may stand
// before the element or between two of it: there every index is asked for.
Answer<Count> occurrencesOf(Self self, Element element) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    if (!runsMethodOf(self.ref(), "firstindexof", "srtdclln")) return sequences::occurrencesOf(self, element);
    const std::int64_t size = sizeOf(self);
    Count count = 0;
    for (std::int64_t found = 0; (found = searchForward(self, element, found + 1, size)) != 0;) ++count;
    return count;
}

// ---- Growing ----------------------------------------------------------------------------------------------------

// remove (element). Raises 5.
Answer<void> remove(Self, Area) { return raise(Error::notRemovable); }

// A dynamic collection that has shrunk keeps what it can still reach.
void dropCutElements(Ref collection) {
    auto *fields = changeableFields<DynamicFields>(collection);
    if (fields == nullptr) return;
    fields->last = std::min(Count{fields->last}, Count{fields->slotCount});
    if (fields->first != 0 && fields->first <= fields->last + 1) return;
    fields->first = 1;
    fields->last = 0;
}

// A negative length is refused by `basicgrow`, whatever the handler of that answers in its place.
bool growByMessage(const Self &self, Index bytes) {
    if (!sendSelf<bool>(SITE("basicgrow"), self, bytes) || bytes < 0) return false;
    return runsMethodOf(self.ref(), "basicgrow", "collectn") || renewStorage(self, static_cast<Count>(bytes));
}

// Gives the receiver that many slots. False when it could not be done.
bool resize(const Self &self, std::int64_t slots) {
    const Count width = self->elementSize;
    if (slots > 0 && width != 0 && static_cast<std::uint64_t>(slots) > largestStorage / width) return false;
    const auto bytes = slots * std::int64_t{width};
    const auto asked = static_cast<Index>(slots < 0 ? std::clamp<std::int64_t>(bytes, INT32_MIN, -1) : bytes);
    const auto isNative = asked >= 0 && nativePath(self.ref(), {"basicgrow", "malloc", "dealloc"});
    if (!(isNative ? stretchStorage(*self, static_cast<Count>(asked)) : growByMessage(self, asked))) return false;
    self->slotCount = static_cast<Count>(slots);
    self->storageLength = static_cast<Count>(bytes);
    dropCutElements(self.ref());
    return true;
}

// grow (). To (capacity + 10) x 2 slots. Raises 32 and changes nothing when there is no storage.
Answer<void> grow(Self self) {
    const auto capacity = sendSelf<Count>(SITE("capacity"), self);
    if (!resize(self, (std::int64_t{capacity} + 10) * 2)) return raise(Error::noStorage);
    return {};
}

// growto (size) -> the receiver. Raises 32 and changes nothing when there is no storage; a negative size raises 33
// before.
Answer<Ref> growTo(Self self, Index wanted) {
    if (!resize(self, wanted)) return raise(Error::noStorage);
    return self.ref();
}

// ---- Changed copies ---------------------------------------------------------------------------------------------

// concat (other) -> collection of the other's class: the receiver's elements, then the other's.
Answer<Ref> concat(Self self, Ref other) {
    if (!isCompatible(self, other)) return pass(SITE("compatibilityerror"));
    return send<Ref>(SITE("insertallafter"), other, Index{0}, self.ref());
}

// copywithout (element) -> collection without its occurrences.
Answer<Ref> copyWithout(Self self, Element element) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    return sequences::copyWithout(self, element);
}

// ---- Iteration --------------------------------------------------------------------------------------------------

// The elements to which the block answers the flag.
Answer<Ref> filtered(const Self &self, Ref block, Flag wanted) {
    const auto count = sizeOf(self);
    const auto elementTemplate = Ref{self->elementTemplate};
    const Temporary found(send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), elementTemplate, count));
    if (!found) return null;
    const auto chosen = sequences::choose(self, count, block, wanted, found.ref(),
                                          [&](auto &element) { return addElement(found.ref(), element); });
    if (chosen.failure) return chosen.failure;
    const auto size = sizeOf(found.ref());
    const auto made = copyEmptyWithSize(self, size);
    if (made) replace(made, 1, size, found.ref(), 1);
    return made;
}

// select, reject (callback) -> collection of the elements to which the block answers 1, or 0.
Answer<Ref> select(Self self, Ref block) { return filtered(self, block, 1); }
Answer<Ref> reject(Self self, Ref block) { return filtered(self, block, 0); }

// deepcopy () -> collection of copies of the objects; of values, a copy.
Answer<Ref> deepCopy(Self self) {
    if (!holdsReferences(*self)) return sendSelf<Ref>(SITE("copy"), self);
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    ElementReader elements(self.ref());
    if (!elements) return raise(Error::noWorkArea);
    const auto count = static_cast<Index>(self->slotCount);
    for (Index i = 1; i <= count && elements.read(i); ++i) {
        ReferenceElement copied(send<Ref>(SITE("copy"), elements.reference()), made.ref());
        if (!putElement(made.ref(), i, copied)) break;
    }
    return made.giveAway();
}

constexpr std::array methods{
    onClass<ofValues>("ofvalues"),
    onClass<ofReferences>("ofreferences"),
    instance<size>("size"),
    instance<isSequenced>("issequenced"),
    instance<sequences::first<Self>>("first"),
    instance<sequences::last<Self>>("last"),
    instance<sequences::atAllPut<Self>>("atallput"),
    instance<isAtIdentity>("isatidentity"),
    instance<equal>("equal"),
    instance<firstIndexOf>("firstindexof"),
    instance<lastIndexOf>("lastindexof"),
    instance<firstIndexOfIdentity>("firstindexofidentity"),
    instance<indexOfSubcollection>("indexofsubcollection"),
    instance<occurrencesOf>("occurrencesof"),
    instance<sequences::replaceAll<Self>>("replaceall"),
    instance<sequences::replaceSubcollection<Self>>("replacesubcollection"),
    instance<remove>("remove"),
    instance<grow>("grow"),
    instance<growTo>("growto"),
    instance<concat>("concat"),
    instance<sequences::insertAllAfter<Self>>("insertallafter"),
    instance<sequences::copyFromTo<Self>>("copyfromto"),
    instance<sequences::copyWith<Self>>("copywith"),
    instance<copyWithout>("copywithout"),
    instance<sequences::copyReplace<Self>>("copyreplace"),
    instance<sequences::copyReplaceAll<Self>>("copyreplaceall"),
    instance<sequences::reverse<Self>>("reverse"),
    instance<sequences::collect<Self>>("collect"),
    instance<select>("select"),
    instance<reject>("reject"),
    instance<deepCopy>("deepcopy"),
    instance<sequences::doEach<Self>>("do"),
    instance<sequences::doWithoutCopy<Self>>("dowithoutcopy"),
    instance<sequences::reverseDo<Self>>("reversedo"),
    instance<sequences::keysAndDataDo<Self>>("keysanddatado"),
    instance<sequences::withDo<Self>>("withdo"),
    instance<sequences::find<sequences::Direction::forwards, Self>>("findfirst"),
    instance<sequences::find<sequences::Direction::backwards, Self>>("findlast"),
};

constexpr ClassDef definition{.program = program,
                              .name = "sequencedcollection",
                              .super = "collectn",
                              .instanceData = fields<SequencedFields, collectionSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace

bool replaceNatively(const Self &self, std::int64_t start, std::int64_t count, Ref source, std::int64_t sourceStart) {
    if (replaceCharacters(self, start, count, source, sourceStart)) return true;
    NativeElements own(self.ref(), {"at", "atput"});
    NativeElements others(source, {"at"});
    const auto to = own.run();
    const auto from = others.run();
    if (!to || !from || to->width != from->width) return false;
    if (start < 1 || start + count - 1 > to->count || sourceStart + count - 1 > from->count) return false;
    const auto stores = runsMethodOf(self.ref(), "atput", "array") || runsMethodOf(self.ref(), "atput", "dynarray");
    if (!stores) return false;
    const std::size_t width = to->width;
    std::memmove(to->start + static_cast<std::size_t>(start - 1) * width,
                 from->start + static_cast<std::size_t>(sourceStart - 1) * width,
                 static_cast<std::size_t>(count) * width);
    return true;
}

} // namespace oocobol
