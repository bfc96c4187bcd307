// Sequenced collection: elements numbered from 1 to the size, reached by `at`, `atput` and `isat`.
//
// Everything here works through these three, so that fixed-size and growing collections share it. Loops run to the
// size read at their start, whatever the code that they call does to the receiver.
#include "classes/collections/collection.h"

namespace oocobol {
namespace {

constexpr char program[] = "sequence";

using Self = Instance<SequencedFields>;
using ClassSelf = Receiver;

Index sizeOf(const Self &self) { return sendSelf<Index>(SITE("size"), self); }
Index sizeOf(Ref collection) { return send<Index>(SITE("size"), collection); }

bool isCompatible(const Self &self, Ref other) { return sendSelf<bool>(SITE("iscompatible"), self, other); }

// A new collection of the receiver's species with so many slots; null when it could not be made.
Ref copyEmptyWithSize(const Self &self, std::int64_t size) {
    return sendSelf<Ref>(SITE("copyemptywithsize"), self, asSize(size));
}

// Puts source elements from `sourceStart` on at `start` .. `stop` of a collection.
void replace(Ref collection, std::int64_t start, std::int64_t stop, Ref source, std::int64_t sourceStart) {
    send(SITE("replacesubcollection"), collection, static_cast<Index>(start), static_cast<Index>(stop), source,
         static_cast<Index>(sourceStart));
}

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

// first, last () -> element.
void first(Self self, Returning element) { sendSelf(SITE("at"), self, element, Index{1}); }
void last(Self self, Returning element) { sendSelf(SITE("at"), self, element, sizeOf(self)); }

// atallput (element).
void atAllPut(Self self, Element element) {
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count && self.isAlive(); ++i) sendSelf(SITE("atput"), self, i, element);
}

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

// occurrencesof (element) -> count.
Count occurrencesOf(Self self, Element element) {
    Count count = 0;
    std::int64_t start = 1;
    while (start <= INT32_MAX) {
        const auto from = static_cast<Index>(start);
        const auto found = sendSelf<Index>(SITE("firstindexof"), self, element, from, sizeOf(self));
        if (found < start) break;
        ++count;
        start = std::int64_t{found} + 1;
    }
    return count;
}

// ---- Replacing --------------------------------------------------------------------------------------------------

// replaceall (old element, new element, from, to). A from index below 1 raises 3.
Answer<void> replaceAll(Self self, Element old, Element replacement, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    std::int64_t start = from;
    while (start <= to && self.isAlive()) {
        const auto found = sendSelf<Index>(SITE("firstindexof"), self, old, static_cast<Index>(start), to);
        if (found < start) break;
        sendSelf(SITE("atput"), self, found, replacement);
        start = std::int64_t{found} + 1;
    }
    return {};
}

// Moves the elements at once when messages would do no more than that. False when they have to be sent.
bool replaceNatively(const Self &self, std::int64_t start, std::int64_t count, Ref source, std::int64_t sourceStart) {
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

// replacesubcollection (start, stop, source, source start). Raises 4 when the source is too short, 3 for a source
// start below 1; an incompatible source ends in compatibilityerror (10). Overlapping moves within the receiver are
// right.
Answer<void> replaceSubcollection(Self self, Index start, Index stop, Ref source, Index sourceStart) {
    if (!isCompatible(self, source)) return pass(SITE("compatibilityerror"));
    const auto beyond = std::int64_t{stop} - start;
    if (std::int64_t{sizeOf(source)} - sourceStart < beyond) return raise(Error::sourceTooShort);
    const auto count = beyond + 1;
    if (count <= 0) return {};
    if (sourceStart < 1) return pass(SITE("errorinbounds"));
    if (replaceNatively(self, start, count, source, sourceStart)) return {};
    ElementReader elements(source, self.ref());
    if (!elements) return raise(Error::noWorkArea);
    const auto backwards = sourceStart < start && source == self.ref();
    for (std::int64_t i = 0; i < count && self.isAlive(); ++i) {
        const auto offset = backwards ? count - 1 - i : i;
        if (!elements.read(static_cast<Index>(sourceStart + offset))) break;
        if (!putElement(self.ref(), static_cast<Index>(start + offset), elements)) break;
    }
    return {};
}

// remove (element). Raises 5.
Answer<void> remove(Self, Area) { return raise(Error::notRemovable); }

// ---- Growing ----------------------------------------------------------------------------------------------------

// A dynamic collection that has shrunk keeps what it can still reach.
void dropCutElements(Ref collection) {
    auto *fields = changeableFields<DynamicFields>(collection);
    if (fields == nullptr) return;
    fields->last = std::min(Count{fields->last}, Count{fields->slotCount});
    if (fields->first != 0 && fields->first <= fields->last + 1) return;
    fields->first = 1;
    fields->last = 0;
}

// Sends `basicgrow` and makes sure that it has done something: a handler may have answered in its place, or a subclass.
bool growByMessage(const Self &self, Index bytes) {
    const auto *before = self->storage;
    const auto grown = sendSelf<bool>(SITE("basicgrow"), self, bytes);
    return grown && bytes >= 0 && self->storage != before && self->storage != nullptr;
}

// Gives the receiver that many slots. False when it could not be done.
bool resize(const Self &self, std::int64_t slots) {
    const Count width = self->elementSize;
    if (slots > 0 && width != 0 && static_cast<std::uint64_t>(slots) > largestStorage / width) return false;
    const auto bytes = slots * std::int64_t{width};
    const auto asked = slots < 0 ? Index{-1} : static_cast<Index>(bytes);
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

// A new collection: the receiver's first `kept` elements, the inserted ones, and the receiver's from `resumed` on.
Ref spliced(const Self &self, std::int64_t kept, Ref inserted, std::int64_t resumed) {
    const std::int64_t own = sizeOf(self);
    const std::int64_t others = sizeOf(inserted);
    const auto total = kept + others + (own - resumed + 1);
    const auto made = copyEmptyWithSize(self, total);
    if (!made) return null;
    replace(made, 1, kept, self.ref(), 1);
    replace(made, kept + 1, kept + others, inserted, 1);
    replace(made, kept + others + 1, total, self.ref(), resumed);
    return made;
}

// insertallafter (index, other) -> collection. An index outside 0 .. size raises 3, an incompatible other ends in
// compatibilityerror (10).
Answer<Ref> insertAllAfter(Self self, Index index, Ref other) {
    if (!isCompatible(self, other)) return pass(SITE("compatibilityerror"));
    if (index < 0 || index > sizeOf(self)) return pass(SITE("errorinbounds"));
    return spliced(self, index, other, std::int64_t{index} + 1);
}

// copyfromto (from, to) -> collection.
Ref copyFromTo(Self self, Index from, Index to) {
    const auto count = std::int64_t{to} - from + 1;
    const auto made = copyEmptyWithSize(self, count);
    if (made) replace(made, 1, count, self.ref(), from);
    return made;
}

// copywith (element) -> collection with the element at the end.
Ref copyWith(Self self, Element element) {
    const std::int64_t count = sizeOf(self);
    const auto made = copyEmptyWithSize(self, count + 1);
    if (!made) return null;
    replace(made, 1, count, self.ref(), 1);
    send(SITE("atput"), made, static_cast<Index>(count + 1), element);
    return made;
}

// copywithout (element) -> collection without its occurrences.
Answer<Ref> copyWithout(Self self, Element element) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    const auto count = sizeOf(self);
    const auto occurrences = sendSelf<Count>(SITE("occurrencesof"), self, element);
    Temporary made(copyEmptyWithSize(self, std::int64_t{count} - occurrences));
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    ElementMatcher own(self.ref());
    Index next = 1;
    for (Index i = 1; i <= count && self.isAlive(); ++i) {
        if (own.matches(element, i)) continue;
        if (!elements.read(i) || !putElement(made.ref(), next++, elements)) break;
    }
    return made.giveAway();
}

// copyreplace (from, to, replacement) -> collection. Raises 3 unless 1 <= from <= to + 1 <= size + 1.
Answer<Ref> copyReplace(Self self, Index from, Index to, Ref replacement) {
    if (!isCompatible(self, replacement)) return pass(SITE("compatibilityerror"));
    if (from < 1 || to > sizeOf(self) || to < from - 1) return pass(SITE("errorinbounds"));
    return spliced(self, std::int64_t{from} - 1, replacement, std::int64_t{to} + 1);
}

// The positions of a subcollection in the receiver, none overlapping, in an ordered collection of numbers.
Ref positionsOf(const Self &self, Ref old, std::int64_t length) {
    const auto positions = send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), CLASS("comp5"), Index{4});
    std::int64_t start = 1;
    while (positions && start <= INT32_MAX && self.isAlive()) {
        const auto found = sendSelf<Index>(SITE("indexofsubcollection"), self, old, static_cast<Index>(start));
        if (found < start) break;
        send(SITE("add"), positions, found);
        start = found + std::max<std::int64_t>(length, 1);
    }
    return positions;
}

// copyreplaceall (old, new) -> collection with every occurrence of the old subcollection replaced.
Ref copyReplaceAll(Self self, Ref old, Ref replacement) {
    const std::int64_t oldSize = sizeOf(old);
    const std::int64_t newSize = sizeOf(replacement);
    const Temporary positions(positionsOf(self, old, oldSize));
    if (!positions) return null;
    const auto count = sizeOf(positions.ref());
    const std::int64_t own = sizeOf(self);
    const auto total = (newSize - oldSize) * count + own;
    const auto made = copyEmptyWithSize(self, total);
    if (!made) return null;
    std::int64_t source = 1, target = 1;
    const auto append = [&](Ref from, std::int64_t start, std::int64_t length) {
        replace(made, target, target + length - 1, from, start);
        target += length;
    };
    for (Index i = 1; i <= count; ++i) {
        const auto position = send<Index>(SITE("at"), positions.ref(), i);
        append(self.ref(), source, position - source);
        append(replacement, 1, newSize);
        source = position + oldSize;
    }
    replace(made, target, total, self.ref(), source);
    return made;
}

// reverse () -> collection in the opposite order.
Answer<Ref> reverse(Self self) {
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    Index next = 1;
    for (auto i = sizeOf(self); i >= 1; --i) {
        if (!elements.read(i) || !putElement(made.ref(), next++, elements)) break;
    }
    return made.giveAway();
}

// ---- Iteration --------------------------------------------------------------------------------------------------

// collect (callback) -> collection of what the block answers.
Answer<Ref> collect(Self self, Ref block) {
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    const Iteration iteration(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return made.giveAway();
    ElementReader elements(copied.ref());
    Block asked(block, std::max(areaWidth(copied.ref()), areaWidth(made.ref())));
    if (!elements || !asked) return raise(Error::noWorkArea);
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!elements.read(i) || !asked.invoke(elements.element())) break;
        if (!putElement(made.ref(), i, asked)) break;
    }
    return made.giveAway();
}

// The elements to which the block answers the flag, in an ordered collection.
Answer<Ref> chosen(const Self &self, Ref block, Flag wanted) {
    const auto count = sizeOf(self);
    const auto elementTemplate = Ref{self->elementTemplate};
    Temporary found(send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), elementTemplate, count));
    if (!found) return null;
    const Iteration iteration(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return found.giveAway();
    ElementReader elements(copied.ref(), found.ref());
    Block asked(block);
    if (!elements || !asked) return raise(Error::noWorkArea);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!elements.read(i) || !asked.invoke(elements.element())) break;
        if (asked.answered(wanted) && !addElement(found.ref(), elements)) break;
    }
    return found.giveAway();
}

Answer<Ref> filtered(const Self &self, Ref block, Flag wanted) {
    auto found = chosen(self, block, wanted);
    if (found.failure || !found.value) return found;
    const Temporary elements(found.value);
    const auto count = sizeOf(elements.ref());
    const auto made = copyEmptyWithSize(self, count);
    if (made) replace(made, 1, count, elements.ref(), 1);
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

enum class Direction { forwards, backwards };

// Hands the elements of `walked` to the block, their indexes before them when asked for.
Answer<void> walk(const Self &self, Ref walked, Index count, Ref block, Direction direction, bool withIndexes = false) {
    ElementReader elements(walked);
    Block asked(block, areaWidth(walked));
    if (!elements || !asked) return raise(Error::noWorkArea);
    const Iteration iteration(self);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        Index index = direction == Direction::forwards ? i : count - i + 1;
        if (!elements.read(index)) break;
        if (!(withIndexes ? asked.invoke(index, elements.element()) : asked.invoke(elements.element()))) break;
    }
    return {};
}

Answer<void> walkCopy(const Self &self, Ref block, Direction direction, bool withIndexes = false) {
    const auto count = sizeOf(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return {};
    return walk(self, copied.ref(), count, block, direction, withIndexes);
}

// do (callback), reversedo (callback): over a copy. dowithoutcopy (callback): over the receiver itself.
Answer<void> doEach(Self self, Ref block) { return walkCopy(self, block, Direction::forwards); }
Answer<void> doWithoutCopy(Self self, Ref block) {
    const auto count = sizeOf(self);
    return walk(self, self.ref(), count, block, Direction::forwards);
}
Answer<void> reverseDo(Self self, Ref block) { return walkCopy(self, block, Direction::backwards); }

// keysanddatado (callback). The block gets index and element.
Answer<void> keysAndDataDo(Self self, Ref block) { return walkCopy(self, block, Direction::forwards, true); }

// withdo (other, callback). The block gets an element of each. Raises 6 when the sizes differ.
Answer<void> withDo(Self self, Ref other, Ref block) {
    const auto count = sizeOf(self);
    if (sizeOf(other) != count) return raise(Error::sizesDiffer);
    const Iteration iteration(self);
    const Temporary own(sendSelf<Ref>(SITE("copy"), self));
    const Temporary others(send<Ref>(SITE("copy"), other));
    if (!own || !others) return {};
    ElementReader ownElements(own.ref()), otherElements(others.ref());
    Block asked(block, std::max(areaWidth(own.ref()), areaWidth(others.ref())));
    if (!ownElements || !otherElements || !asked) return raise(Error::noWorkArea);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!ownElements.read(i) || !otherElements.read(i)) break;
        if (!asked.invoke(ownElements.element(), otherElements.element())) break;
    }
    return {};
}

// findfirst, findlast (callback) -> the first (last) index to whose element the block answers 1, or 0.
template <Direction direction> Answer<Index> find(Self self, Ref block) {
    ElementReader elements(self.ref());
    Block asked(block);
    if (!elements || !asked) return raise(Error::noWorkArea);
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count; ++i) {
        const auto index = direction == Direction::forwards ? i : count - i + 1;
        if (!elements.read(index) || !asked.invoke(elements.element())) break;
        if (asked.answered(1)) return index;
    }
    return 0;
}

constexpr std::array methods{
    onClass<ofValues>("ofvalues"),
    onClass<ofReferences>("ofreferences"),
    instance<size>("size"),
    instance<isSequenced>("issequenced"),
    instance<first>("first"),
    instance<last>("last"),
    instance<atAllPut>("atallput"),
    instance<isAtIdentity>("isatidentity"),
    instance<equal>("equal"),
    instance<firstIndexOf>("firstindexof"),
    instance<lastIndexOf>("lastindexof"),
    instance<firstIndexOfIdentity>("firstindexofidentity"),
    instance<indexOfSubcollection>("indexofsubcollection"),
    instance<occurrencesOf>("occurrencesof"),
    instance<replaceAll>("replaceall"),
    instance<replaceSubcollection>("replacesubcollection"),
    instance<remove>("remove"),
    instance<grow>("grow"),
    instance<growTo>("growto"),
    instance<concat>("concat"),
    instance<insertAllAfter>("insertallafter"),
    instance<copyFromTo>("copyfromto"),
    instance<copyWith>("copywith"),
    instance<copyWithout>("copywithout"),
    instance<copyReplace>("copyreplace"),
    instance<copyReplaceAll>("copyreplaceall"),
    instance<reverse>("reverse"),
    instance<collect>("collect"),
    instance<select>("select"),
    instance<reject>("reject"),
    instance<deepCopy>("deepcopy"),
    instance<doEach>("do"),
    instance<doWithoutCopy>("dowithoutcopy"),
    instance<reverseDo>("reversedo"),
    instance<keysAndDataDo>("keysanddatado"),
    instance<withDo>("withdo"),
    instance<find<Direction::forwards>>("findfirst"),
    instance<find<Direction::backwards>>("findlast"),
};

constexpr ClassDef definition{.program = program,
                              .name = "sequencedcollection",
                              .super = "collectn",
                              .instanceData = fields<SequencedFields, collectionSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
