// Value set: elements without duplicates. Elements are equal when their bytes are, objects when the one in the set
// says so.
//
// The table itself is hash_table.h's. Subclasses redefine two steps: where an element belongs (`findelement`) and
// whether a slot holds it (`isat`). An object that has been finalized while it was an element equals nothing any more:
// it is passed over, and stays until the set is emptied.
#include "classes/collections/dictionary.h"
#include "classes/collections/hash_table.h"

namespace oocobol {
namespace {

constexpr char program[] = "valueset";

using ClassSelf = Receiver;
using Self = Instance<HashedFields>;

// ---- Creation -----------------------------------------------------------------------------------------------------

Answer<Ref> make(const ClassSelf &self, Ref elementTemplate, Index size, Count width) {
    return sendSelf<Ref>(SITE("privatenew"), self, static_cast<Count>(size == 0 ? 1 : size), elementTemplate, width);
}

// ofvalues (template, size) -> set. ofreferences (size) -> set. A negative size ends in invalidparameter (33).
Answer<Ref> ofValues(ClassSelf self, Ref elementTemplate, Index size) {
    if (size < 0) return pass(SITE("invalidparameter"));
    const auto width = send<Count>(SITE("sizeinbytes"), elementTemplate);
    if (elementTemplate && !isLive(elementTemplate)) return null;
    return make(self, elementTemplate, size, width);
}
Answer<Ref> ofReferences(ClassSelf self, Index size) {
    if (size < 0) return pass(SITE("invalidparameter"));
    return make(self, null, size, sizeof(Ref));
}

// privatenew (capacity, template, element size) -> set.
Ref privateNew(ClassSelf self, Count capacity, Ref elementTemplate, Count width) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (made) send(SITE("initialize"), made, capacity, elementTemplate, width);
    return made;
}

// initialize (capacity, template, element size). At least one slot. Raises 32 when there is no storage; there are no
// slots then, until the set grows.
Answer<void> initialize(Self self, Count capacity, Ref elementTemplate, Count width) {
    releaseStorage(self, publish(*self, nullptr, {}, 0));
    self->elementSize = elementTemplate ? width : Count{sizeof(Ref)};
    self->elementTemplate = elementTemplate;
    self->quit = 0;
    NativeKeys::forget(*self);
    const auto shape = shapeOf(std::max(capacity, Count{1}), self->elementSize);
    auto *storage = shape ? allocateTable(self, *shape) : nullptr;
    if (storage == nullptr) return raise(Error::noStorage);
    releaseStorage(self, publish(*self, storage, *shape, 0));
    return {};
}

// ---- Adding and removing ------------------------------------------------------------------------------------------

// What `findelement` says.
Index placeOf(const Self &self, Element element) {
    if (const auto place = findElementNatively(self, *self, element.address, {"findelement", "isemptyat", "isat"}))
        return place.slot;
    return sendSelf<Index>(SITE("findelement"), self, element);
}

// add (element). Nothing happens when it is there already.
Answer<void> add(Self self, Element element) {
    if (!makeRoom(self)) return {};
    constexpr Needs needs{"findelement", "isemptyat", "isat"};
    const auto place = findElementNatively(self, *self, element.address, needs);
    if (!place) return store(self, sendSelf<Index>(SITE("findelement"), self, element), element.address);
    if (place.slot == 0)
        self->lacking = 1;
    else if (!place.found)
        occupy(*self, static_cast<Count>(place.slot), element.address);
    return {};
}

// remove (element). Raises 12 when it is absent.
Answer<void> remove(Self self, Element element) {
    const auto slot = placeOf(self, element);
    const auto found = lookAt(self, slot, "findelement");
    if (found.failure) return found.failure;
    if (!found.occupied) return slot == 0 && slotsOf(*self).capacity != 0 ? Answer<void>() : raise(Error::notFound);
    removeSlot(self, static_cast<Count>(slot));
    return {};
}

// includes (element) -> flag. occurrencesof (element) -> 1 or 0.
bool includes(Self self, Element element) {
    constexpr Needs needs{"findelement", "isemptyat", "isat", "isoccuppiedat"};
    if (const auto place = findElementNatively(self, *self, element.address, needs)) return place.found;
    const auto slot = sendSelf<Index>(SITE("findelement"), self, element);
    return sendSelf<bool>(SITE("isoccuppiedat"), self, slot);
}
Count occurrencesOf(Self self, Element element) { return sendSelf<bool>(SITE("includes"), self, element) ? 1 : 0; }

// size () -> number of elements. capacity () -> number of slots.
Count size(Self self) { return self->slotCount; }
Count capacity(Self self) { return self->capacity; }

// ---- Growing ------------------------------------------------------------------------------------------------------

// The storage that a table had before it grew, to be put back when not all elements could be placed again.
struct Former {
    std::byte *storage;
    TableShape shape;
    Count elements;
};

Answer<void> putBack(const Self &self, const Former &former) {
    const auto slots = slotsOf(*self);
    auto *larger = publish(*self, former.storage, former.shape, former.elements);
    finalizeAssociations(self.ref(), slots);
    releaseStorage(self, larger);
    return raise(Error::noStorage);
}

bool isLacking(Ref table) {
    const auto *fields = fieldsOf<HashedFields>(table);
    return fields != nullptr && fields->lacking != 0;
}

// Adds the elements of a copy to the emptied larger table, by messages.
Answer<void> growByMessages(const Self &self, std::uint64_t wanted) {
    self->lacking = 0;
    const Temporary copy(sendSelf<Ref>(SITE("copy"), self));
    if (!copy) return {}; // that has been raised
    const auto shape = shapeOf(wanted, self->elementSize);
    auto *storage = shape ? allocateTable(self, *shape) : nullptr;
    if (storage == nullptr) return raise(Error::noStorage);
    if (!self.isAlive()) {
        release(storage);
        return {};
    }
    const TableShape shapeBefore{self->capacity, self->storageLength, self->bitmapLength};
    const Former former{self->storage, shapeBefore, self->slotCount};
    static_cast<void>(publish(*self, storage, *shape, 0));
    sendSelf(SITE("replacecontentswith"), self, copy.ref());
    if (self.isAlive() && (self->lacking != 0 || isLacking(copy.ref()))) return putBack(self, former);
    if (former.storage != nullptr)
        finalizeAssociations(self.ref(), slotsIn(former.storage, former.shape, self->elementSize));
    releaseStorage(self, former.storage);
    return {};
}

// grow (). To (capacity + 5) x 2 slots. Raises 32 when there is no storage, and nothing has changed.
Answer<void> grow(Self self) {
    const auto wanted = grownCapacity(slotsOf(*self).capacity);
    switch (rebuildNatively(self, wanted)) {
    case Rebuilt::done:
        return {};
    case Rebuilt::noStorage:
        return raise(Error::noStorage);
    case Rebuilt::byMessages:
        break;
    }
    return growByMessages(self, wanted);
}

// ---- Looking for a place ------------------------------------------------------------------------------------------

Index findByMessages(const Self &self, Count hash, Element element) {
    return findPlace(
        self, hash, [&](Count slot) { return sendSelf<bool>(SITE("isemptyat"), self, static_cast<Index>(slot)); },
        [&](Count slot) { return sendSelf<bool>(SITE("isat"), self, element, static_cast<Index>(slot)); });
}

Ref objectAt(const Self &self, Count slot) {
    const auto slots = slotsOf(*self);
    return slots.has(slot) ? referenceIn(slots.at(slot), slots.width) : null;
}

bool equalsObjectAt(const Self &self, Ref object, Count slot) {
    const auto stored = objectAt(self, slot);
    return isLive(stored) && send<bool>(SITE("equal"), stored, object);
}

// The hash of null raises 7, that of an object that is gone 106; neither has a place.
Index findObject(const Self &self, Element element) {
    const auto object = referenceIn(element.address);
    const auto hash = send<Count>(SITE("hash"), object);
    if (!isLive(object)) return 0;
    if (!nativePath(self.ref(), {"isemptyat", "isat"})) return findByMessages(self, hash, element);
    return findPlace(
        self, hash, [&](Count slot) { return !slotsOf(*self).isOccupied(slot); },
        [&](Count slot) { return equalsObjectAt(self, object, slot); });
}

// findelement (element) -> the slot where it is, or the empty one where it would go. Raises 112 when the table has no
// such slot or does not stop changing; answers 0 then.
Answer<Index> findElement(Self self, Element element) {
    if (const auto place = findElementNatively(self, *self, element.address, {"isemptyat", "isat"})) return place.slot;
    if (holdsReferences(*self)) return findObject(self, element);
    const ElementBytes bytes(element.address, self->elementSize, self->elementTemplate);
    if (!bytes) return raise(Error::noWorkArea);
    const auto hash = sendOver<Count>(SITE("hash"), self->elementTemplate, bytes.bytes());
    return findByMessages(self, hash, element);
}

// Moves an element whose way from home now meets an empty slot first. False when user code changed the table.
bool placeAgain(const Self &self, Count slot, WorkArea &area) {
    const auto stamp = stampOf(*self);
    const auto width = self->elementSize;
    sendSelf(SITE("basicatnogc"), self, area.returning(), static_cast<Index>(slot));
    const auto place = sendSelf<Index>(SITE("findelement"), self, area.element());
    const auto slots = slotsOf(*self);
    if (stampOf(*self) != stamp || slots.width != width) return false;
    const auto to = static_cast<Count>(place);
    if (to == slot || !slots.has(to) || slots.isOccupied(to)) return true;
    vacate(*self, slot);
    occupy(*self, to, area.bytes());
    return true;
}

// fixcollisionsfrom (slot). Places the elements behind an emptied slot again.
Answer<void> fixCollisionsFrom(Self self, Index emptied) {
    const auto hole = static_cast<Count>(emptied);
    if (!slotsOf(*self).has(hole)) return pass(SITE("errorinbounds"));
    if (nativePath(self.ref(), {"findelement", "isat", "isemptyat", "basicatnogc"})) {
        const NativeKeys keys(self.ref(), *self);
        if (keys && NativeKeys::areElements(*self) && closeGapNatively(*self, keys, hole)) return {};
    }
    WorkArea area(elementWidth(*self));
    if (!area) return raise(Error::noWorkArea);
    auto slot = slotsOf(*self).after(hole);
    while (slot != hole && slotsOf(*self).has(slot) && slotsOf(*self).isOccupied(slot)) {
        // What user code has put into the hole meanwhile and what it has moved only a new table sorts out.
        if (!placeAgain(self, slot, area)) return growByMessages(self, self->capacity);
        slot = slotsOf(*self).after(slot);
    }
    return {};
}

// ---- Slots --------------------------------------------------------------------------------------------------------

// isat (element, slot) -> flag. Whether the slot holds an equal element.
bool isAt(Self self, Element element, Index slot) {
    const auto slots = slotsOf(*self);
    const auto at = static_cast<Count>(slot);
    if (!slots.has(at) || !slots.isOccupied(at)) return false;
    if (holdsReferences(*self)) return equalsObjectAt(self, referenceIn(element.address), at);
    return equalElements(slots.at(at), element.address, slots.width);
}

// isoccuppiedat, isemptyat (slot) -> flag. What is no slot is empty.
bool isOccupiedAt(Self self, Index slot) {
    const auto slots = slotsOf(*self);
    return slots.has(static_cast<Count>(slot)) && slots.isOccupied(static_cast<Count>(slot));
}
bool isEmptyAt(Self self, Index slot) { return !isOccupiedAt(self, slot); }

// setoccuppied, setempty (slot). Only the slot's bit. End in errorinbounds (3) outside the table.
Answer<void> mark(const Self &self, Index slot, void (Slots::*change)(Count) const) {
    const auto slots = slotsOf(*self);
    if (!slots.has(static_cast<Count>(slot))) return pass(SITE("errorinbounds"));
    (slots.*change)(static_cast<Count>(slot));
    ++self->changes;
    return {};
}
Answer<void> setOccupied(Self self, Index slot) { return mark(self, slot, &Slots::setOccupied); }
Answer<void> setEmpty(Self self, Index slot) { return mark(self, slot, &Slots::setEmpty); }

// basicat, basicatnogc, privateat (slot) -> the slot's bytes, zeros in an empty one. End in errorinbounds (3) outside
// the table.
Answer<void> at(Self self, Returning answer, Index slot) {
    const auto slots = slotsOf(*self);
    if (!slots.has(static_cast<Count>(slot))) return pass(SITE("errorinbounds")).answering(self->elementSize);
    answer.store(slots.at(static_cast<Count>(slot)), slots.width);
    return {};
}

// ---- Iterating ----------------------------------------------------------------------------------------------------

// In the order of slots, as many as the set has elements now, until its quit flag is set.
Answer<void> walk(const Self &self, Ref table, Count most, Ref block) {
    WorkArea element(elementWidth(*self));
    Block action(block);
    if (!element) {
        self->lacking = 1;
        return raise(Error::noWorkArea);
    }
    visitOccupied(table, most, [&](Count slot) {
        return self->quit != 1 && readElement(table, slot, element.bytes(), element.size()) &&
               action.invoke(element.element());
    });
    return {};
}

// do (block). Walks a copy. dowithoutcopy (block). reversedo (block), in the same order as do.
Answer<void> doEach(Self self, Ref block) {
    const Iteration iteration(self);
    const auto most = self->slotCount;
    const Temporary copy(sendSelf<Ref>(SITE("copy"), self));
    if (!copy) return {};
    return walk(self, copy.ref(), most, block);
}
Answer<void> doWithoutCopy(Self self, Ref block) {
    const Iteration iteration(self);
    return walk(self, self.ref(), self->slotCount, block);
}
void reverseDo(Self self, Ref block) { sendSelf(SITE("do"), self, block); }

// ---- Whole sets ---------------------------------------------------------------------------------------------------

// Whether what the other hands to a block is as long as an element of this set.
bool handsElementsFor(const Self &self, Ref other) {
    if (const auto *dictionary = fieldsOf<DictionaryFields>(other)) return dictionary->dataSize >= self->elementSize;
    const auto *collection = fieldsOf<CollectionFields>(other);
    return collection == nullptr || collection->elementSize >= self->elementSize;
}

// replacecontentswith (collection). A null one ends in invalidparameter (33), one with shorter elements in
// compatibilityerror (10), one that is gone raises 106; nothing changes then.
Answer<void> replaceContentsWith(Self self, Ref other) {
    if (other.isNull()) return pass(SITE("invalidparameter"));
    if (!isLive(other)) return raise(Error::staleReference);
    if (other == self.ref()) return {};
    if (!handsElementsFor(self, other)) return pass(SITE("compatibilityerror"));
    const Temporary adder(perElement(self.ref(), "add"));
    if (!adder) {
        self->lacking = 1;
        return {};
    }
    clear(*self);
    send(SITE("dowithoutcopy"), other, adder.ref());
    return {};
}

// concat (collection) -> set. Both sets' elements, or two dictionaries' associations. Ends in compatibilityerror (10)
// when the other's elements are of another kind.
Answer<Ref> concat(Self self, Ref other) {
    const auto matches = isDictionary(self.ref()) ? haveSameAssociations(self.ref(), other)
                                                  : sendSelf<bool>(SITE("iscompatible"), self, other);
    if (!matches) return pass(SITE("compatibilityerror"));
    const auto made = sendSelf<Ref>(SITE("copy"), self);
    if (made) send(SITE("addall"), made, other);
    return made;
}

// minus (collection) -> set of the elements that the other does not include.
Ref minus(Self self, Ref other) {
    const Temporary included(perElement(other, "includes"));
    return sendSelf<Ref>(SITE("reject"), self, included.ref());
}

// copy () -> set. Raises 32 when there is no memory.
Answer<Ref> copy(Self self) {
    const auto made = withOwnStorage(self, copyForOwnStorage(self, SUPER("basiccopy")));
    if (!made) return raise(Error::noStorage);
    return made;
}

// getstoragerequirements () -> bytes.
Count getStorageRequirements(Self self) { return self->storageLength + self->bitmapLength; }

constexpr std::array methods{
    onClass<ofValues>("ofvalues"),
    onClass<ofReferences>("ofreferences"),
    onClass<privateNew>("privatenew"),
    instance<initialize>("initialize"),
    instance<add>("add"),
    instance<remove>("remove"),
    instance<includes>("includes"),
    instance<occurrencesOf>("occurrencesof"),
    instance<size>("size"),
    instance<capacity>("capacity"),
    instance<grow>("grow"),
    instance<findElement>("findelement"),
    instance<fixCollisionsFrom>("fixcollisionsfrom"),
    instance<isAt>("isat"),
    instance<isOccupiedAt>("isoccuppiedat"),
    instance<isEmptyAt>("isemptyat"),
    instance<setOccupied>("setoccuppied"),
    instance<setEmpty>("setempty"),
    instance<at>("basicat"),
    instance<at>("basicatnogc"),
    instance<at>("privateat"),
    instance<doEach>("do"),
    instance<doWithoutCopy>("dowithoutcopy"),
    instance<reverseDo>("reversedo"),
    instance<replaceContentsWith>("replacecontentswith"),
    instance<concat>("concat"),
    instance<minus>("minus"),
    instance<copy>("copy"),
    instance<getStorageRequirements>("getstoragerequirements"),
};

constexpr ClassDef definition{.program = program,
                              .name = "valueset",
                              .super = "collectn",
                              .instanceData = fields<HashedFields, hashedSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
