// Dynamic arrayed collection: elements at consecutive slots with room before and behind them.
//
// 1 <= first <= last + 1 <= slot count + 1: element i is in slot first + i - 1, and adding at an end that has room
// costs one copy of an element. An end without room gets half of the other end's, or the storage grows.
#include "classes/collections/appending.h"
#include "classes/collections/collection.h"

namespace oocobol {
namespace {

constexpr char program[] = "dynarray";

using Self = Instance<DynamicFields>;

Index sizeOf(const Self &self) { return sendSelf<Index>(SITE("size"), self); }
Index sizeOf(Ref collection) { return send<Index>(SITE("size"), collection); }

bool isCompatible(const Self &self, Ref other) { return sendSelf<bool>(SITE("iscompatible"), self, other); }

// A new collection of the receiver's species with so many slots; null when it could not be made.
Ref copyEmptyWithSize(const Self &self, std::int64_t size) {
    return sendSelf<Ref>(SITE("copyemptywithsize"), self, asSize(size));
}

// The slot of element `index`, 0 when there is none.
Count slotAt(const DynamicFields &fields, Index index) {
    const auto slot = std::uint64_t{fields.first} + static_cast<std::uint64_t>(std::int64_t{index}) - 1;
    return index > 0 && slot <= fields.last && slot <= fields.slotCount ? static_cast<Count>(slot) : 0;
}

// ---- Elements ---------------------------------------------------------------------------------------------------

// initialize (slot count, template, element size).
void initialize(Self self, Count slots, Ref elementTemplate, Count width) {
    sendSuper(SUPER("initialize"), self, slots, elementTemplate, width);
    self->first = 1;
    self->last = 0;
}

// size () -> count. capacity () -> count of slots.
Count size(Self self) { return runOf(*self).count; }
Count capacity(Self self) { return self->slotCount; }

// clear (). The storage stays.
void clear(Self self) {
    self->first = 1;
    self->last = 0;
}

// at (index) -> element. Raises 3 outside.
Answer<void> at(Self self, Returning element, Index index) {
    const auto &fields = *self;
    const auto slot = slotAt(fields, index);
    if (slot == 0) return pass(SITE("errorinbounds")).answering(fields.elementSize);
    if (element) copyElement(element.address, slotOf(fields, slot), fields.elementSize);
    return {};
}

// atput (index, element). Raises 3 outside.
Answer<void> atPut(Self self, Index index, Element element) {
    const auto &fields = *self;
    const auto slot = slotAt(fields, index);
    if (slot == 0) return pass(SITE("errorinbounds"));
    if (!isWhole(element, fields.elementSize)) return pass(SITE("invalidparameter"));
    copyElement(slotOf(fields, slot), element.address, fields.elementSize);
    return {};
}

// atnogc (index) -> element. Outside it answers nothing.
void atNoCheck(Self self, Returning element, Index index) {
    const auto &fields = *self;
    const auto slot = slotAt(fields, index);
    if (slot != 0 && element) copyElement(element.address, slotOf(fields, slot), fields.elementSize);
}

// privateat (slot) -> what the slot holds, occupied or not. Raises 3 outside 1 .. slot count.
Answer<void> privateAt(Self self, Returning element, Index slot) {
    const auto &fields = *self;
    if (slot < 1 || static_cast<Count>(slot) > fields.slotCount)
        return pass(SITE("errorinbounds")).answering(fields.elementSize);
    element.store(slotOf(fields, static_cast<Count>(slot)), fields.elementSize);
    return {};
}

// isat (element, index) -> flag. Raises 3 outside.
Answer<bool> isAt(Self self, Element element, Index index) {
    if (slotAt(*self, index) == 0 && runsMethodOf(self.ref(), "at", program)) return pass(SITE("errorinbounds"));
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    WorkArea stored(areaWidth(self.ref()));
    if (!stored) return raise(Error::noWorkArea);
    sendSelf(SITE("at"), self, stored.returning(), index);
    if (!holdsReferences(*self)) return equalElements(stored.bytes(), element.address, self->elementSize);
    Ref held, wanted;
    std::memcpy(&held, stored.bytes(), sizeof held);
    std::memcpy(&wanted, element.address, sizeof wanted);
    return send<bool>(SITE("equal"), held, wanted);
}

// isatidentity (element, index) -> flag. Whether the slot holds these very bytes.
Answer<bool> isAtIdentity(Self self, Element element, Index index) {
    const auto &fields = *self;
    if (!isWhole(element, fields.elementSize)) return pass(SITE("invalidparameter"));
    const auto slot = slotAt(fields, index);
    return slot != 0 && equalElements(slotOf(fields, slot), element.address, fields.elementSize);
}

// ---- Room -------------------------------------------------------------------------------------------------------

// Half of it, rounded up.
constexpr Count halfOf(Count room) { return room / 2 + room % 2; }

void moveSlots(DynamicFields &fields, Count to, Count from, Count count) {
    if (count != 0) std::memmove(slotOf(fields, to), slotOf(fields, from), std::size_t{count} * fields.elementSize);
}

void clearSlots(DynamicFields &fields, Count from, Count count) {
    if (count != 0) std::memset(slotOf(fields, from), 0, std::size_t{count} * fields.elementSize);
}

// A collection that has only been made is an empty one.
void settle(DynamicFields &fields) {
    if (fields.first != 0) return;
    fields.first = 1;
    fields.last = 0;
}

bool hasRoomAtEnd(const DynamicFields &fields) { return fields.last < fields.slotCount; }
bool hasRoomAtStart(const DynamicFields &fields) { return fields.first > 1; }

// makeroomatstart (). Takes half of the room at the end; grows when there is none.
void makeRoomAtStart(Self self) {
    settle(*self);
    if (!hasRoomAtEnd(*self)) {
        sendSelf(SITE("grow"), self);
        if (!hasRoomAtStart(*self) && hasRoomAtEnd(*self)) sendSelf(SITE("makeroomatstart"), self);
        return;
    }
    auto &fields = *self;
    const auto shift = halfOf(fields.slotCount - fields.last);
    moveSlots(fields, fields.first + shift, fields.first, fields.last - fields.first + 1);
    clearSlots(fields, 1, fields.first + shift - 1);
    fields.first += shift;
    fields.last += shift;
}

// makeroomatend (). Takes half of the room at the start; grows when there is none.
void makeRoomAtEnd(Self self) {
    settle(*self);
    if (!hasRoomAtStart(*self)) return sendSelf(SITE("grow"), self);
    auto &fields = *self;
    const auto shift = fields.first / 2;
    if (fields.first <= fields.slotCount)
        moveSlots(fields, fields.first - shift, fields.first, fields.slotCount - fields.first + 1);
    fields.first -= shift;
    fields.last -= shift;
}

// ---- Adding -----------------------------------------------------------------------------------------------------

void appendElement(DynamicFields &fields, Element element) {
    copyElement(slotOf(fields, ++fields.last), element.address, fields.elementSize);
}

// The element may lie in storage that is about to move, so it waits elsewhere. Without room nothing is added: the
// reason has been raised.
[[gnu::noinline]] Answer<void> addWithRoomMade(const Self &self, Element element) {
    WorkArea held(areaWidth(self.ref()));
    if (!held) return raise(Error::noWorkArea);
    copyElement(held.bytes(), element.address, self->elementSize);
    sendSelf(SITE("makeroomatend"), self);
    auto &fields = *self;
    if (hasRoomAtEnd(fields) && fields.elementSize <= held.size()) appendElement(fields, held.element());
    return {};
}

// add (element). At the end.
Answer<void> add(Self self, Element element) {
    auto &fields = *self;
    if (!isWhole(element, fields.elementSize)) return pass(SITE("invalidparameter"));
    if (!hasRoomAtEnd(fields)) [[unlikely]]
        return addWithRoomMade(self, element);
    appendElement(fields, element);
    return {};
}

// A per-element method's name as this class hands it out: padded to 80 bytes.
constexpr char adding[] = "add                                                                             ";
static_assert(sizeof adding == 80 + 1);

// addall (source). An incompatible source ends in compatibilityerror (10).
Answer<void> addAll(Self self, Ref source) {
    if (!isCompatible(self, source)) return pass(SITE("compatibilityerror"));
    if (appendNatively(self, source)) return {};
    const Temporary adder(perElement(self.ref(), adding));
    send(SITE("do"), source, adder.ref());
    return {};
}

// Frees the slot in front of position `index` by moving what is before it. Answers that slot, or 0.
Count openFrontAt(const Self &self, Index index) {
    if (!hasRoomAtStart(*self)) sendSelf(SITE("makeroomatstart"), self);
    auto &fields = *self;
    const auto before = static_cast<Count>(index) - 1;
    if (!hasRoomAtStart(fields) || runOf(fields).count < before) return 0;
    --fields.first;
    moveSlots(fields, fields.first, fields.first + 1, before);
    return fields.first + before;
}

// Frees the slot of element `index` by moving it and what follows.
Count openBackAt(DynamicFields &fields, Count slot) {
    ++fields.last;
    moveSlots(fields, slot + 1, slot, fields.last - slot);
    return slot;
}

// insertbeforeindex (element, index). The nearer part moves; the front one when the end is full. Raises 3 outside
// 1 .. size + 1.
Answer<void> insertBeforeIndex(Self self, Element element, Index index) {
    settle(*self);
    if (index < 1 || static_cast<Count>(index) - 1 > runOf(*self).count) return pass(SITE("errorinbounds"));
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    WorkArea held(areaWidth(self.ref()));
    if (!held) return raise(Error::noWorkArea);
    copyElement(held.bytes(), element.address, self->elementSize);
    const auto position = std::uint64_t{self->first} + static_cast<Count>(index) - 1;
    const auto nearStart = 2 * position < std::uint64_t{self->first} + self->last;
    const auto slot =
        nearStart || !hasRoomAtEnd(*self) ? openFrontAt(self, index) : openBackAt(*self, static_cast<Count>(position));
    if (slot != 0 && self->elementSize <= held.size())
        copyElement(slotOf(*self, slot), held.bytes(), self->elementSize);
    return {};
}

// ---- Removing ---------------------------------------------------------------------------------------------------

// removeatindex (index) -> element. Raises 3 outside.
Answer<void> removeAtIndex(Self self, Returning element, Index index) {
    auto &fields = *self;
    const auto slot = slotAt(fields, index);
    if (slot == 0) return pass(SITE("errorinbounds")).answering(fields.elementSize);
    element.store(slotOf(fields, slot), fields.elementSize);
    moveSlots(fields, slot, slot + 1, fields.last - slot);
    clearSlots(fields, fields.last--, 1);
    return {};
}

// remove (element). Stores the removed element's bytes over the given ones. Raises 12 when it is absent.
Answer<void> remove(Self self, Element element) {
    const auto found = sendSelf<Index>(SITE("firstindexof"), self, element, Index{1}, sizeOf(self));
    if (found == 0) return raise(Error::notFound);
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    WorkArea removed(areaWidth(self.ref()));
    if (!removed) return raise(Error::noWorkArea);
    sendSelf(SITE("removeatindex"), self, removed.returning(), found);
    if (self->elementSize <= removed.size()) storeRemoved(element.address, removed.bytes(), self->elementSize);
    return {};
}

bool canLose(const Self &self, Index count) { return count >= 0 && count <= sizeOf(self); }

// removefirst, removelast (count). Raises 33 when there are not that many.
Answer<void> removeFirst(Self self, Index count) {
    if (!canLose(self, count) || static_cast<Count>(count) > runOf(*self).count) return raise(Error::invalidParameter);
    if (count != 0) self->first += static_cast<Count>(count);
    return {};
}
Answer<void> removeLast(Self self, Index count) {
    if (!canLose(self, count) || static_cast<Count>(count) > runOf(*self).count) return raise(Error::invalidParameter);
    if (count != 0) self->last -= static_cast<Count>(count);
    return {};
}

// Finalizes the object at that end, if the elements are objects.
void finalizeElement(const Self &self, Index index) {
    if (!holdsReferences(*self)) return;
    ElementReader elements(self.ref());
    if (elements && elements.read(index)) send<Ref>(SITE("finalize"), elements.reference());
}

// removefirstandfinalize, removelastandfinalize (count). Raises 33 when there are not that many.
Answer<void> removeFirstAndFinalize(Self self, Index count) {
    if (!canLose(self, count)) return raise(Error::invalidParameter);
    for (; count > 0 && runOf(*self).count > 0; --count) {
        finalizeElement(self, 1);
        if (runOf(*self).count > 0) ++self->first;
    }
    return {};
}
Answer<void> removeLastAndFinalize(Self self, Index count) {
    if (!canLose(self, count)) return raise(Error::invalidParameter);
    for (; count > 0 && runOf(*self).count > 0; --count) {
        finalizeElement(self, sizeOf(self));
        if (runOf(*self).count > 0) --self->last;
    }
    return {};
}

// removeallsuchthat (callback). Removes the elements to which the block answers 1. As many are looked at as there
// were at the start.
Answer<void> removeAllSuchThat(Self self, Ref block) {
    ElementReader elements(self.ref());
    Block asked(block);
    if (!elements || !asked) return raise(Error::noWorkArea);
    WorkArea removed(areaWidth(self.ref()));
    if (!removed) return raise(Error::noWorkArea);
    Index index = 1;
    for (auto left = sizeOf(self); left > 0 && self.isAlive() && index <= sizeOf(self); --left) {
        if (!elements.read(index) || !asked.invoke(elements.element())) break;
        if (!asked.answered(1))
            ++index;
        else if (elements.fits(self.ref()))
            sendSelf(SITE("removeatindex"), self, removed.returning(), index);
    }
    return {};
}

// ---- Neighbours -------------------------------------------------------------------------------------------------

Index indexOf(const Self &self, Element element) {
    return sendSelf<Index>(SITE("firstindexof"), self, element, Index{1}, sizeOf(self));
}

// after (element) -> the element behind the first occurrence. Raises 12 when it is absent, 13 when it is the last.
Answer<void> after(Self self, Returning answer, Element element) {
    const auto found = indexOf(self, element);
    if (found == 0) return raise(Error::notFound).answering(self->elementSize);
    if (found == sizeOf(self)) return raise(Error::noElementAfter).answering(self->elementSize);
    sendSelf(SITE("at"), self, answer, static_cast<Index>(static_cast<Count>(found) + 1));
    return {};
}

// before (element) -> the element in front of the first occurrence. Raises 12 when it is absent, 14 when it is the
// first.
Answer<void> before(Self self, Returning answer, Element element) {
    const auto found = indexOf(self, element);
    if (found == 0) return raise(Error::notFound).answering(self->elementSize);
    if (found == 1) return raise(Error::noElementBefore).answering(self->elementSize);
    sendSelf(SITE("at"), self, answer, found - 1);
    return {};
}

// ---- Changed copies ---------------------------------------------------------------------------------------------

// copyfromto (from, to) -> collection. Raises 3 when an index is outside, unless there is nothing to copy.
Answer<Ref> copyFromTo(Self self, Index from, Index to) {
    const auto count = std::int64_t{to} - from + 1;
    if (count > 0 && (from < 1 || to > sizeOf(self))) return pass(SITE("errorinbounds"));
    Temporary made(copyEmptyWithSize(self, count));
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    for (std::int64_t i = from; i <= to; ++i) {
        if (!elements.read(static_cast<Index>(i)) || !addElement(made.ref(), elements)) break;
    }
    return made.giveAway();
}

void appendRange(Ref collection, Ref source, std::int64_t from, std::int64_t to) {
    send(SITE("addsubcollectionlast"), collection, source, static_cast<Index>(from), static_cast<Index>(to));
}

// copyreplaceall (old, new) -> collection with every occurrence of the old subcollection replaced.
Ref copyReplaceAll(Self self, Ref old, Ref replacement) {
    const std::int64_t own = sizeOf(self);
    const std::int64_t oldSize = sizeOf(old);
    const auto made = copyEmptyWithSize(self, 2 * own);
    if (!made) return null;
    std::int64_t next = 1;
    while (next <= own + 1 && self.isAlive()) {
        const auto found = sendSelf<Index>(SITE("indexofsubcollection"), self, old, static_cast<Index>(next));
        if (found < next) break;
        appendRange(made, self.ref(), next, std::int64_t{found} - 1);
        send(SITE("addall"), made, replacement);
        next = found + std::max<std::int64_t>(oldSize, 1);
    }
    appendRange(made, self.ref(), next, own);
    return made;
}

// copyreplace (from, to, replacement) -> collection. Raises 3 unless 1 <= from <= to + 1 <= size + 1; an incompatible
// replacement ends in compatibilityerror (10).
Answer<Ref> copyReplace(Self self, Index from, Index to, Ref replacement) {
    if (!isCompatible(self, replacement)) return pass(SITE("compatibilityerror"));
    const std::int64_t own = sizeOf(self);
    if (from < 1 || to > own || to < from - 1) return pass(SITE("errorinbounds"));
    const std::int64_t others = sizeOf(replacement);
    const auto made = copyEmptyWithSize(self, own + others - (std::int64_t{to} - from + 1));
    if (!made) return null;
    appendRange(made, self.ref(), 1, std::int64_t{from} - 1);
    send(SITE("addall"), made, replacement);
    appendRange(made, self.ref(), std::int64_t{to} + 1, own);
    return made;
}

// copywith (element) -> collection with the element added.
Ref copyWith(Self self, Element element) {
    const auto made = sendSelf<Ref>(SITE("copy"), self);
    if (made) send(SITE("add"), made, element);
    return made;
}

// copywithout (element) -> collection without its occurrences.
Answer<Ref> copyWithout(Self self, Element element) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    ElementMatcher own(self.ref());
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count && self.isAlive(); ++i) {
        if (own.matches(element, i)) continue;
        if (!elements.read(i) || !addElement(made.ref(), elements)) break;
    }
    return made.giveAway();
}

// Walks a copy of the receiver. What the block answers to each element goes to `take`, with the collection that is to
// be the answer: false ends the walk.
template <class Take> Answer<Ref> gathered(const Self &self, Ref block, Take take) {
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    const Iteration iteration(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return made.giveAway();
    ElementReader elements(copied.ref(), made.ref());
    Block asked(block, std::max(areaWidth(copied.ref()), areaWidth(made.ref())));
    if (!elements || !asked) return raise(Error::noWorkArea);
    const auto count = sizeOf(copied.ref());
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!elements.read(i) || !asked.invoke(elements.element())) break;
        if (!take(made.ref(), asked, elements)) break;
    }
    return made.giveAway();
}

// collect (callback) -> collection of what the block answers.
Answer<Ref> collect(Self self, Ref block) {
    return gathered(self, block, [](Ref made, Block &asked, ElementReader &) { return addElement(made, asked); });
}

// select, reject (callback) -> collection of the elements to which the block answers 1, or 0.
template <Flag wanted> Answer<Ref> filter(Self self, Ref block) {
    return gathered(self, block, [](Ref made, Block &asked, ElementReader &elements) {
        return !asked.answered(wanted) || addElement(made, elements);
    });
}

// reverse () -> collection in the opposite order.
Answer<Ref> reverse(Self self) {
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    for (auto i = sizeOf(self); i >= 1; --i) {
        if (!elements.read(i) || !addElement(made.ref(), elements)) break;
    }
    return made.giveAway();
}

// deepcopy () -> collection of copies of the objects; of values, a copy.
Answer<Ref> deepCopy(Self self) {
    if (!holdsReferences(*self)) return sendSelf<Ref>(SITE("copy"), self);
    Temporary made(sendSelf<Ref>(SITE("copyemptysameclass"), self));
    if (!made) return null;
    ElementReader elements(self.ref());
    if (!elements) return raise(Error::noWorkArea);
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count && elements.read(i); ++i) {
        ReferenceElement copied(send<Ref>(SITE("copy"), elements.reference()), made.ref());
        if (!addElement(made.ref(), copied)) break;
    }
    return made.giveAway();
}

constexpr std::array methods{
    instance<initialize>("initialize"),
    instance<size>("size"),
    instance<capacity>("capacity"),
    instance<clear>("clear"),
    instance<at>("at"),
    instance<atPut>("atput"),
    instance<atNoCheck>("atnogc"),
    instance<privateAt>("privateat"),
    instance<isAt>("isat"),
    instance<isAtIdentity>("isatidentity"),
    instance<add>("add"),
    instance<addAll>("addall"),
    instance<makeRoomAtStart>("makeroomatstart"),
    instance<makeRoomAtEnd>("makeroomatend"),
    instance<insertBeforeIndex>("insertbeforeindex"),
    instance<removeAtIndex>("removeatindex"),
    instance<remove>("remove"),
    instance<removeFirst>("removefirst"),
    instance<removeLast>("removelast"),
    instance<removeFirstAndFinalize>("removefirstandfinalize"),
    instance<removeLastAndFinalize>("removelastandfinalize"),
    instance<removeAllSuchThat>("removeallsuchthat"),
    instance<after>("after"),
    instance<before>("before"),
    instance<copyFromTo>("copyfromto"),
    instance<copyReplaceAll>("copyreplaceall"),
    instance<copyReplace>("copyreplace"),
    instance<copyWith>("copywith"),
    instance<copyWithout>("copywithout"),
    instance<collect>("collect"),
    instance<filter<1>>("select"),
    instance<filter<0>>("reject"),
    instance<reverse>("reverse"),
    instance<deepCopy>("deepcopy"),
};

constexpr ClassDef definition{.program = program,
                              .name = "dynamicarrayedcollection",
                              .super = "sequence",
                              .instanceData = fields<DynamicFields, dynamicSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
