#include "classes/collections/hash_table.h"

#include <bit>

#include "classes/collections/dictionary.h"

namespace oocobol {

// ---- Slots --------------------------------------------------------------------------------------------------------

Count Slots::nextOccupied(Count slot) const {
    constexpr Count inWord = 64;
    while (has(slot)) {
        const auto first = slot / inWord * inWord;
        if (capacity - first < inWord) { // the last bits do not fill a word
            if (isOccupied(slot)) return slot;
            ++slot;
            continue;
        }
        std::uint64_t bits;
        std::memcpy(&bits, bitmap + first / 8, sizeof bits);
        if (bits >>= slot % inWord; bits != 0) return slot + static_cast<Count>(std::countr_zero(bits));
        slot = first + inWord;
    }
    return 0;
}

void occupy(HashedFields &fields, Count slot, const void *element) {
    const auto slots = slotsOf(fields);
    copyElement(slots.at(slot), element, slots.width);
    slots.setOccupied(slot);
    ++fields.slotCount;
    ++fields.changes;
}

void vacate(HashedFields &fields, Count slot) {
    const auto slots = slotsOf(fields);
    std::memset(slots.at(slot), 0, slots.width);
    slots.setEmpty(slot);
    if (fields.slotCount != 0) --fields.slotCount;
    ++fields.changes;
}

void clear(HashedFields &fields) {
    if (fields.storage != nullptr)
        std::memset(fields.storage, 0, std::size_t{fields.storageLength} + fields.bitmapLength);
    fields.slotCount = 0;
    ++fields.changes;
}

// ---- Storage ------------------------------------------------------------------------------------------------------

std::optional<TableShape> shapeOf(std::uint64_t capacity, Count width) {
    const auto bitmapBytes = capacity / 8 + 1;
    if (capacity > UINT32_MAX - 1 || capacity * width + bitmapBytes > largestStorage) return {};
    return TableShape{static_cast<Count>(capacity), static_cast<Count>(capacity * width),
                      static_cast<Count>(bitmapBytes)};
}

std::byte *allocateTable(const Receiver &self, const TableShape &shape) noexcept {
    const auto isCleared = nativePath(self.ref(), {"malloc"});
    auto *storage = allocateStorage(self, shape.bytes());
    if (storage != nullptr && !isCleared) std::memset(storage, 0, shape.bytes());
    return storage;
}

std::byte *publish(HashedFields &fields, std::byte *storage, const TableShape &shape, Count elements) {
    auto *old = fields.storage;
    fields.storage = storage;
    fields.capacity = shape.capacity;
    fields.storageLength = shape.slotBytes;
    fields.bitmapLength = shape.bitmapBytes;
    fields.slotCount = elements;
    fields.magic = magicOf(shape.capacity);
    ++fields.changes;
    return old;
}

Ref withOwnStorage(const Instance<HashedFields> &original, Ref copy) noexcept {
    auto *made = changeableFields<HashedFields>(copy);
    if (made == nullptr) return null;
    if (made->capacity == 0 || original->storage == nullptr) return copy;
    const auto elements = made->slotCount;
    const TableShape shape{made->capacity, made->storageLength, made->bitmapLength};
    auto *storage = allocateTable(original, shape);
    const auto &source = *original;
    if (storage == nullptr || source.storage == nullptr || source.capacity != shape.capacity ||
        source.storageLength != shape.slotBytes) {
        releaseStorage(original, storage);
        send<Ref>(SITE("finalize"), copy);
        return null;
    }
    std::memcpy(storage, source.storage, shape.bytes());
    send(SITE("setcollptr"), copy, Address{storage});
    made = changeableFields<HashedFields>(copy);
    if (made != nullptr && made->storage != nullptr) made->slotCount = elements;
    return copy;
}

void raiseUnsettled(const Receiver &self) {
    sendSelf(SITE("raiseexception"), self, static_cast<Count>(Error::unsettledTable));
}

// ---- Keys natively --------------------------------------------------------------------------------------------------

Count hashKeyBytes(const std::byte *key, std::size_t width) noexcept {
    // Four bytes a step: a byte a step would make each wait for the multiplication before.
    constexpr Count p1 = 47, p2 = p1 * p1, p3 = p2 * p1, p4 = p3 * p1;
    const auto byte = [key](std::size_t at) { return std::to_integer<Count>(key[at]); };
    Count hash = 0;
    std::size_t i = 0;
    for (; i + 4 <= width; i += 4)
        hash = hash * p4 + (byte(i) * p3 + byte(i + 1) * p2 + byte(i + 2) * p1 + byte(i + 3));
    for (; i < width; ++i) hash = hash * p1 + byte(i);
    return static_cast<Index>(hash) < 0 ? 0 - hash : hash;
}

namespace {

const DictionaryFields &asDictionary(const HashedFields &fields) {
    return static_cast<const DictionaryFields &>(fields);
}

} // namespace

// Class objects live for ever and stay what they are, so the behaviour of a template's items is looked up once.
void NativeKeys::learn(Ref table, HashedFields &fields) noexcept {
    const auto isOfDictionary = fieldsOf<DictionaryFields>(table) != nullptr;
    const auto itemTemplate = isOfDictionary ? asDictionary(fields).keyTemplate : fields.elementTemplate;
    const auto byIdentity =
        fieldsOf<IdentitySetFields>(table) != nullptr || fieldsOf<IdentityDictionaryFields>(table) != nullptr;
    fields.keyWidth = isOfDictionary ? asDictionary(fields).keySize : fields.elementSize;
    fields.keyItems = nullptr;
    if (!itemTemplate) {
        fields.keying = byIdentity && fields.keyWidth == sizeof(Ref) ? byReference : byMessages;
    } else if (isOfDictionary && byIdentity) {
        fields.keying = byBytes;
    } else {
        const auto hash = itemWidth(itemTemplate) == fields.keyWidth ? elementHashOf(itemTemplate) : ElementHash::none;
        fields.keying = hash == ElementHash::none ? byMessages : static_cast<Flag>(byItems + static_cast<Flag>(hash));
        if (hash != ElementHash::none) fields.keyItems = familyOfClass(itemTemplate)->instances;
    }
    if (isOfDictionary) fields.keying |= ofDictionary;
    if (isOfDictionary && holdsObjects(asDictionary(fields))) fields.keying |= throughObjects;
}

bool proveKeys(Ref table, HashedFields &fields, Count changes) noexcept {
    constexpr Needs needs{"findelement", "isemptyat",   "isat", "isoccuppiedat", "findkey",
                          "basickeyat",  "basicdataat", "at",   "atput",         "privateat"};
    fields.proven = changes; // until it is: making the keys asks, too
    const auto proven = nativePath(table, needs) && NativeKeys(table, fields) && NativeKeys::areElements(fields);
    if (proven) fields.proven = changes + 1;
    return proven;
}

std::size_t NativeKeys::associationSizeOf(const HashedFields &fields) noexcept {
    return std::size_t{asDictionary(fields).keySize} + asDictionary(fields).dataSize;
}

bool NativeKeys::areAssociations(const HashedFields &fields) noexcept {
    return nativeElements(asDictionary(fields).associationTemplate, {"hash", "equalbylengthvalue"});
}

const std::byte *NativeKeys::keyOfAssociation(const std::byte *slot) const {
    return nativeAssociation(referenceIn(slot), associationSize);
}

NativeKeys::FoundAssociation NativeKeys::findAmongObjects(const HashedFields &table, NativeKeys keys,
                                                          const std::byte *key) noexcept {
    NativeAssociations associations(keys.associationSize);
    auto isNative = true;
    std::byte *found = nullptr;
    const auto slot = slotsOf(table).find(keys.hash(key), [&](const std::byte *probed) {
        auto *stored = associations.at(referenceIn(probed));
        isNative = stored != nullptr;
        if (isNative && !equalKeys(stored, key, keys.width)) return false;
        found = stored;
        return true;
    });
    return {isNative ? slot : unknownPlace, found};
}

// ---- Adding and removing --------------------------------------------------------------------------------------------

namespace {

// Whether a message runs code of the library's, which has raised what went wrong.
bool runsLibraryCode(Ref object, std::string_view message) {
    const auto *behaviour = behaviourOfObject(object);
    const auto *method = behaviour != nullptr ? lookUp(*behaviour, findSelector(message)) : nullptr;
    return method != nullptr && method->library;
}

} // namespace

bool makeRoom(const Instance<HashedFields> &self) {
    if (!isFull(*self)) return true;
    sendSelf(SITE("grow"), self);
    if (!isFull(*self)) return true;
    if (self.isAlive() && !runsLibraryCode(self.ref(), "grow")) {
        if (self->slotCount + 1 < slotsOf(*self).capacity) return true; // one slot stays empty: probing ends
        raiseUnsettled(self);
    }
    self->lacking = 1;
    return false;
}

Answer<void> store(const Instance<HashedFields> &self, Index slot, const std::byte *element) {
    const auto found = lookAt(self, slot, "findelement");
    if (found.failure) return found.failure;
    const auto place = static_cast<Count>(slot);
    if (!slotsOf(*self).has(place))
        self->lacking = 1;
    else if (!found.occupied)
        occupy(*self, place, element);
    return {};
}

Found lookAt(const Instance<HashedFields> &self, Index slot, std::string_view finder) {
    const auto slots = slotsOf(*self);
    if (slots.has(static_cast<Count>(slot))) return {slots.isOccupied(static_cast<Count>(slot)), {}};
    const auto wasRaised = slots.capacity == 0 || !self.isAlive() || runsLibraryCode(self.ref(), finder);
    return {false, wasRaised ? Failure{} : raise(Error::badAnswer)};
}

void removeSlot(const Instance<HashedFields> &self, Count slot) {
    vacate(*self, slot);
    if (nativePath(self.ref(), {"fixcollisionsfrom", "findelement", "isat", "isemptyat", "basicatnogc"})) {
        const NativeKeys keys(self.ref(), *self);
        if (keys && NativeKeys::areElements(*self) && closeGapNatively(*self, keys, slot)) return;
    }
    sendSelf(SITE("fixcollisionsfrom"), self, static_cast<Index>(slot));
}

// ---- Growing and removing -------------------------------------------------------------------------------------------

namespace {

bool allNative(const Slots &slots, const NativeKeys &keys) {
    if (!keys.leadThroughObjects()) return true;
    for (auto slot = slots.nextOccupied(1); slot != 0; slot = slots.nextOccupied(slot + 1)) {
        if (keys.of(slots.at(slot)) == nullptr) return false;
    }
    return true;
}

bool clusterIsNative(const Slots &slots, const NativeKeys &keys, Count hole) {
    if (!keys.leadThroughObjects()) return true;
    for (auto slot = slots.after(hole); slot != hole && slots.isOccupied(slot); slot = slots.after(slot)) {
        if (keys.of(slots.at(slot)) == nullptr) return false;
    }
    return true;
}

// Elements are distinct: the first empty slot from home is an element's place.
void placeAll(const Slots &from, const Slots &to, const NativeKeys &keys) {
    for (auto slot = from.nextOccupied(1); slot != 0; slot = from.nextOccupied(slot + 1)) {
        const auto *element = from.at(slot);
        const auto place = to.find(keys.hash(keys.of(element)), [](const std::byte *) { return false; });
        copyElement(to.at(place), element, from.width);
        to.setOccupied(place);
    }
}

// Exchanges the association objects for copies. False, and no copy left, when there is no memory.
bool copyAssociations(const Slots &slots) {
    for (auto slot = slots.nextOccupied(1); slot != 0; slot = slots.nextOccupied(slot + 1)) {
        const auto copy = shallowCopy(referenceIn(slots.at(slot)));
        if (!copy) {
            for (auto made = slots.nextOccupied(1); made < slot; made = slots.nextOccupied(made + 1))
                cancelObject(referenceIn(slots.at(made)));
            return false;
        }
        std::memcpy(slots.at(slot), &copy, sizeof copy);
    }
    return true;
}

bool holdsAssociationObjects(Ref table) {
    const auto *dictionary = fieldsOf<DictionaryFields>(table);
    return dictionary != nullptr && holdsObjects(*dictionary);
}

} // namespace

Slots slotsIn(std::byte *storage, const TableShape &shape, Count width) {
    return {storage, storage + shape.slotBytes, width, shape.capacity, magicOf(shape.capacity)};
}

namespace {

// A dictionary of association objects is copied by adding them to an empty one, which puts those that had gone round
// the end of the table elsewhere; from the copy they are placed, as copies. False when there is no memory.
bool placeAssociationObjects(const Slots &from, const Slots &to, const NativeKeys &keys) {
    const auto shape = shapeOf(from.capacity, from.width);
    WorkArea storage(shape ? shape->bytes() : 0);
    if (!shape || !storage) return false;
    const auto between = slotsIn(storage.bytes(), *shape, from.width);
    placeAll(from, between, keys);
    placeAll(between, to, keys);
    return copyAssociations(to);
}

} // namespace

Rebuilt rebuildNatively(const Instance<HashedFields> &self, std::uint64_t capacity) {
    constexpr Needs needs{"copy",
                          "finalize",
                          "replacecontentswith",
                          "add",
                          "findelement",
                          "isat",
                          "isemptyat",
                          "isoccuppiedat",
                          "basicat",
                          "dowithoutcopy",
                          "malloc",
                          "dealloc",
                          "basiccopy",
                          "species",
                          "copyemptywithsize",
                          "initialize",
                          "setcollptr",
                          "resetcache",
                          "associationsdowithoutcopy",
                          "basiccopybm"}; // a copy's, too
    const NativeKeys keys(self.ref(), *self);
    const auto slots = slotsOf(*self);
    if (!keys || !nativePath(self.ref(), needs) || !NativeKeys::areElements(*self) || !allNative(slots, keys))
        return Rebuilt::byMessages;
    const auto shape = shapeOf(capacity, self->elementSize);
    auto *storage = shape ? allocateTable(self, *shape) : nullptr;
    if (storage == nullptr) return Rebuilt::noStorage;
    const auto larger = slotsIn(storage, *shape, slots.width);
    if (!holdsAssociationObjects(self.ref())) {
        placeAll(slots, larger, keys);
    } else if (!placeAssociationObjects(slots, larger, keys)) {
        release(storage);
        return Rebuilt::noStorage;
    }
    auto *former = publish(*self, storage, *shape, self->slotCount);
    finalizeAssociations(self.ref(), slots);
    release(former);
    return Rebuilt::done;
}

void finalizeAssociations(Ref table, const Slots &slots) {
    if (!holdsAssociationObjects(table)) return;
    for (auto slot = slots.nextOccupied(1); slot != 0; slot = slots.nextOccupied(slot + 1)) {
        const auto association = referenceIn(slots.at(slot));
        if (isLive(association)) send<Ref>(SITE("deepfinalizewithdepth"), association, Index{0});
    }
}

bool closeGapNatively(HashedFields &fields, const NativeKeys &keys, Count hole) {
    const auto slots = slotsOf(fields);
    if (!clusterIsNative(slots, keys, hole)) return false;
    for (auto slot = slots.after(hole); slot != hole && slots.isOccupied(slot); slot = slots.after(slot)) {
        auto *element = slots.at(slot);
        const auto place =
            slots.find(keys.hash(keys.of(element)), [&](const std::byte *probed) { return probed == element; });
        if (place == slot || place == 0) continue;
        copyElement(slots.at(place), element, slots.width);
        slots.setOccupied(place);
        std::memset(element, 0, slots.width);
        slots.setEmpty(slot);
    }
    ++fields.changes;
    return true;
}

// ---- Elements -------------------------------------------------------------------------------------------------------

std::size_t elementWidth(const HashedFields &fields) noexcept {
    return std::max({std::size_t{fields.elementSize}, itemWidth(fields.elementTemplate), sizeof(std::uint64_t)});
}

bool readElement(Ref table, Count slot, std::byte *area, std::size_t room) {
    const auto *fields = fieldsOf<HashedFields>(table);
    if (fields == nullptr || fields->elementSize > room) return false;
    if (!nativePath(table, {"basicat"})) {
        send(SITE("basicat"), table, Returning{{area}}, static_cast<Index>(slot));
        return true;
    }
    const auto slots = slotsOf(*fields);
    if (!slots.has(slot)) return false;
    copyElement(area, slots.at(slot), slots.width);
    return true;
}

} // namespace oocobol
