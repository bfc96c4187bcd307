// The table underneath sets and dictionaries: slots of one width, one bit a slot that tells whether it is occupied,
// and no marks of what was removed.
//
// An element lies in its home slot, (hash mod capacity) + 1, or behind it with no empty slot between; behind the last
// slot comes the first. What is removed leaves a hole, so the elements behind it are placed again. Hashing and matching
// may run user code, which may change the very table: whoever looks for a place compares stamps and starts again.
//
// What the classes do differently is where the key of an element lies, how it is hashed and when two keys are equal.
// As long as no message with code of the program's own would be left out, that is known here (NativeKeys), and the
// table works on its bytes alone.
#pragma once

#include <algorithm>
#include <bit>

#include "classes/collections/collection.h"
#include "classes/intrinsics/native_element.h"
#include "runtime/module.h"

namespace oocobol {

// The slot count is the number of occupied slots, storage length that of the slots without the bits.
struct [[gnu::packed]] HashedFields : CollectionFields {
    Count bitmapLength;
    Count capacity;
    // For the library only:
    Count changes;       // rises with every change of the table
    std::uint64_t magic; // finds the remainder of a division by the capacity
    Count proven;        // see isProven
    Flag lacking;        // an element could not be added for want of memory or of a settled table
    Flag keying;         // how keys are found natively, see NativeKeys; 0 until that is asked for
    Count keyWidth;
    const Behaviour *keyItems; // of the items that keys are; null: they are no values
};
struct [[gnu::packed]] IdentitySetFields : HashedFields {};
inline constexpr std::uint32_t hashedSize = 68; // as registered

// ---- Slots --------------------------------------------------------------------------------------------------------

// Division by a number that stays the same, as two multiplications.
constexpr std::uint64_t magicOf(Count divisor) { return divisor == 0 ? 0 : UINT64_MAX / divisor + 1; }
inline Count remainder(Count number, Count divisor, std::uint64_t magic) {
    __extension__ using Wide = unsigned __int128;
    return static_cast<Count>((Wide{magic * number} * divisor) >> 64);
}

// The slots of a table as they lie now, numbered from 1. Good until the next message.
struct Slots {
    std::byte *start = nullptr;
    std::byte *bitmap = nullptr;
    Count width = 0;
    Count capacity = 0; // 0 without storage
    std::uint64_t magic = 0;

    bool has(Count slot) const { return slot - 1 < capacity; }
    std::byte *at(Count slot) const { return start + std::size_t{slot - 1} * width; }
    Count after(Count slot) const { return slot == capacity ? 1 : slot + 1; }
    Count home(Count hash) const { return remainder(hash, capacity, magic) + 1; }

    bool isOccupied(Count slot) const { return (bitmap[slot / 8] & bit(slot)) != std::byte{0}; }
    void setOccupied(Count slot) const { bitmap[slot / 8] |= bit(slot); }
    void setEmpty(Count slot) const { bitmap[slot / 8] &= ~bit(slot); }
    // The first occupied slot from this one on; 0 when there is none.
    Count nextOccupied(Count slot) const;

    // The slot where an element of that hash is, or where it would go: the first one that is empty or matches. 0 when
    // there is no such slot.
    template <class Matches> [[gnu::always_inline]] Count find(Count hash, Matches matches) const {
        if (capacity == 0) return 0;
        auto slot = home(hash);
        for (Count probed = 0; probed < capacity;) {
            const auto run = occupiedFrom(slot);
            const auto *element = at(slot);
            for (Count i = 0; i < run; ++i, element += width) {
                if (matches(element)) return slot + i;
            }
            probed += run;
            slot += run;
            if (slot > capacity)
                slot = 1;
            else if (!isOccupied(slot))
                return slot;
        }
        return 0;
    }

private:
    // How many slots are occupied one after the other, as far as a word of bits tells; none behind the last slot.
    [[gnu::always_inline]] Count occupiedFrom(Count slot) const {
        constexpr Count wordBytes = sizeof(std::uint64_t);
        if (slot / 8 + wordBytes > capacity / 8 + 1) [[unlikely]] // there is no whole word
            return isOccupied(slot) ? 1 : 0;
        std::uint64_t bits;
        std::memcpy(&bits, bitmap + slot / 8, wordBytes);
        return std::min(static_cast<Count>(std::countr_one(bits >> slot % 8)), capacity + 1 - slot);
    }
    static std::byte bit(Count slot) { return std::byte{1} << (slot % 8); }
};

inline Slots slotsOf(const HashedFields &fields) {
    if (fields.storage == nullptr || fields.capacity == 0) return {};
    return {fields.storage, fields.storage + fields.storageLength, fields.elementSize, fields.capacity, fields.magic};
}

// Puts an element into an empty slot; empties an occupied one. Neither looks at what lies behind.
// `clear` empties all.
void occupy(HashedFields &fields, Count slot, const void *element);
void vacate(HashedFields &fields, Count slot);
void clear(HashedFields &fields);

// The number of elements from which on a table grows before it takes another.
inline Count threshold(Count capacity) { return static_cast<Count>(std::uint64_t{7} * capacity / 10); }
inline bool isFull(const HashedFields &fields) { return fields.slotCount >= threshold(slotsOf(fields).capacity); }

// ---- Storage ------------------------------------------------------------------------------------------------------

// How long the parts of a table are.
struct TableShape {
    Count capacity = 0;
    Count slotBytes = 0;
    Count bitmapBytes = 0;
    Count bytes() const { return slotBytes + bitmapBytes; }
};
// None when the lengths do not fit their fields.
std::optional<TableShape> shapeOf(std::uint64_t capacity, Count width);
inline std::uint64_t grownCapacity(Count capacity) { return (std::uint64_t{capacity} + 5) * 2; }

// The slots in storage that is no object's.
Slots slotsIn(std::byte *storage, const TableShape &shape, Count width);

// All empty; null when there is no memory.
std::byte *allocateTable(const Receiver &self, const TableShape &shape) noexcept;
// Makes this the storage of the table, with so many elements in it; answers the storage that it had.
[[nodiscard]] std::byte *publish(HashedFields &fields, std::byte *storage, const TableShape &shape, Count elements);

// Gives a byte copy of the table, which has no storage yet, storage of its own with the same contents.
// Null, and the copy finalized, when there is no memory.
Ref withOwnStorage(const Instance<HashedFields> &original, Ref copy) noexcept;

// The receiver of a subclass's method as that of a table.
template <class Self> Instance<HashedFields> asTable(const Self &self) { return {self.ref(), &*self}; }

// ---- Looking for a place --------------------------------------------------------------------------------------------

inline constexpr unsigned mostRestarts = 8;

// Tells whether a table is still the one that was looked at.
struct Stamp {
    Count changes;
    Count capacity;
    friend bool operator==(const Stamp &, const Stamp &) = default;
};
inline Stamp stampOf(const HashedFields &fields) { return {fields.changes, fields.capacity}; }

// Raises 112: the table changes while it is looked at, or has no empty slot. The handler's answer is no slot number.
void raiseUnsettled(const Receiver &self);

// As Slots::find, where `isEmpty` and `matches`, which get a slot number, may run user code. When there is no such slot
// answers 0 and raises 112, unless there are no slots at all.
template <class Self, class IsEmpty, class Matches>
Index findPlace(const Self &self, Count hash, IsEmpty isEmpty, Matches matches) {
    for (unsigned attempt = 0; attempt <= mostRestarts; ++attempt) {
        const auto stamp = stampOf(*self);
        const auto slots = slotsOf(*self);
        if (slots.capacity == 0) return 0;
        auto slot = slots.home(hash);
        auto isSettled = true;
        for (Count probed = 0; isSettled && probed < slots.capacity; ++probed, slot = slots.after(slot)) {
            const auto ends = isEmpty(slot) || matches(slot);
            isSettled = stampOf(*self) == stamp && slotsOf(*self).capacity == slots.capacity;
            if (isSettled && ends) return static_cast<Index>(slot);
        }
        if (isSettled) break;
    }
    if (self.isAlive()) raiseUnsettled(self);
    return 0;
}

// ---- Keys natively --------------------------------------------------------------------------------------------------

// The hash of a value key that is matched by its bytes: h x 47 + byte from the first byte to the last, made positive.
Count hashKeyBytes(const std::byte *key, std::size_t width) noexcept;
inline std::uint64_t loadReference(const std::byte *address) {
    std::uint64_t reference;
    std::memcpy(&reference, address, sizeof reference);
    return reference;
}
// The hash of a reference that is matched by identity: its low half.
inline Count hashReference(const std::byte *reference) { return static_cast<Count>(loadReference(reference)); }

// Whether two keys are the same. Most differ in their first bytes, and for the common widths no call is made.
inline bool equalKeys(const std::byte *one, const std::byte *other, std::size_t width) noexcept {
    constexpr std::size_t word = sizeof(std::uint64_t);
    if (width < word) return width == 4 ? std::memcmp(one, other, 4) == 0 : std::memcmp(one, other, width) == 0;
    if (std::memcmp(one, other, word) != 0) return false;
    if (width <= 2 * word) return std::memcmp(one + width - word, other + width - word, word) == 0;
    return std::memcmp(one + word, other + word, width - word) == 0;
}

// Whether no message on the way to a key, from those to the table down to those to its keys, has code other than the
// library's. The fields are the table's. Looked into when behaviours have changed; the table keeps what came out.
bool proveKeys(Ref table, HashedFields &fields, Count changes) noexcept;
inline bool isProven(Ref table, HashedFields &fields) noexcept {
    const auto changes = maskChanges.load(std::memory_order_acquire);
    if (fields.proven == changes + 1) [[likely]]
        return true;
    return fields.proven != changes && proveKeys(table, fields, changes);
}

// Where a table's elements have their keys, and how these are hashed; keys are equal exactly when their bytes are.
// A template's items count as long as they were when the table was first looked at.
class NativeKeys {
public:
    // None when finding a key takes messages other than those that the caller answers for. The fields are the table's.
    NativeKeys(Ref table, HashedFields &fields) noexcept : NativeKeys(table, fields, isProven(table, fields)) {}
    NativeKeys(Ref table, HashedFields &fields, bool proven) noexcept {
        if (!proven && !areItemsNative(table, fields)) return;
        keying = fields.keying & ~(ofDictionary | throughObjects);
        width = fields.keyWidth;
        if ((fields.keying & throughObjects) != 0) associationSize = associationSizeOf(fields);
    }

    explicit operator bool() const { return keying > byMessages; }
    // Whether the same is true for whole elements, which the class of the associations may hash and compare by its own
    // methods.
    static bool areElements(const HashedFields &fields) noexcept {
        return (fields.keying & (ofDictionary | throughObjects)) != ofDictionary || areAssociations(fields);
    }
    // The key of an element; null when it must be asked for by message.
    const std::byte *of(const std::byte *element) const {
        return associationSize == 0 ? element : keyOfAssociation(element);
    }
    Count hash(const std::byte *key) const {
        if (keying == byReference) return hashReference(key);
        if (keying == byBytes) return hashKeyBytes(key, width);
        return hashElement(static_cast<ElementHash>(keying - byItems), key, width);
    }
    // The place of a key in the table, see Slots::find. `unknownPlace` when a key on the way must be asked for by
    // message.
    static constexpr Count unknownPlace = UINT32_MAX; // a table has fewer slots
    [[gnu::always_inline]] Count find(const HashedFields &table, const std::byte *key) const {
        if (associationSize != 0) return findAmongObjects(table, *this, key).slot;
        if (keying == byReference) return findReference(slotsOf(table), key);
        return slotsOf(table).find(hash(key), [&](const std::byte *slot) { return equalKeys(slot, key, width); });
    }
    [[gnu::always_inline]] static Count findReference(const Slots &slots, const std::byte *key) {
        const auto wanted = loadReference(key);
        return slots.find(static_cast<Count>(wanted),
                          [&](const std::byte *slot) { return loadReference(slot) == wanted; });
    }
    // Whether elements are references that are matched by identity: then nothing else is to be asked about keys.
    static bool areReferences(const HashedFields &fields) { return fields.keying == byReference; }

    // Whether elements are association objects. Among these: the place of a key, and the association that has it, if
    // any.
    bool leadThroughObjects() const { return associationSize != 0; }
    struct FoundAssociation {
        std::uint64_t slot; // as wide as what is answered with it: then both travel in registers
        std::byte *association;
    };
    // Takes the keys as a copy: those of the caller stay in registers.
    static FoundAssociation findAmongObjects(const HashedFields &table, NativeKeys keys, const std::byte *key) noexcept;

    // For a table whose elements are made of something else now.
    static void forget(HashedFields &fields) {
        fields.keying = unknown;
        fields.proven = 0;
    }

private:
    static bool areItemsNative(Ref table, HashedFields &fields) noexcept {
        if (fields.keying == unknown) [[unlikely]]
            learn(table, fields);
        return fields.keyItems == nullptr || areNativeElements(*fields.keyItems);
    }
    // Those above `byItems` are its sum with an ElementHash.
    static constexpr Flag unknown = 0, byMessages = 1, byReference = 2, byBytes = 3, byItems = 4;
    static constexpr Flag ofDictionary = 0x40, throughObjects = 0x80;

    static void learn(Ref table, HashedFields &fields) noexcept;
    static std::size_t associationSizeOf(const HashedFields &fields) noexcept;
    static bool areAssociations(const HashedFields &fields) noexcept;
    const std::byte *keyOfAssociation(const std::byte *slot) const;

    Flag keying = byMessages;
    std::size_t width = 0;
    std::size_t associationSize = 0; // when elements are association objects
};

// The place of a key without a message, and whether it is there. Slot 0: it has no place, and that has been raised.
struct NativePlace {
    Index slot = 0;
    bool found = false;
    bool isNative = false; // otherwise it takes messages: some of those named, or others
    explicit operator bool() const { return isNative; }
};
[[gnu::always_inline]] inline NativePlace nativePlace(const Receiver &self, const Slots &slots, Count place) {
    if (place == NativeKeys::unknownPlace) return {};
    if (place != 0) [[likely]]
        return {static_cast<Index>(place), slots.isOccupied(place), true};
    if (slots.capacity != 0) raiseUnsettled(self);
    return {0, false, true};
}
[[gnu::always_inline]] inline NativePlace findKeyNatively(const Receiver &self, HashedFields &fields,
                                                          const std::byte *key, Needs messages) {
    const auto proven = isProven(self.ref(), fields);
    if (!proven && !nativePath(self.ref(), messages)) return {};
    const NativeKeys keys(self.ref(), fields, proven);
    return keys ? nativePlace(self, slotsOf(fields), keys.find(fields, key)) : NativePlace{};
}
// The same for an element as it would lie in a slot.
[[gnu::always_inline]] inline NativePlace findElementNatively(const Receiver &self, HashedFields &fields,
                                                              const std::byte *element, Needs messages) {
    const auto proven = isProven(self.ref(), fields);
    if (proven && NativeKeys::areReferences(fields)) {
        const auto slots = slotsOf(fields);
        return nativePlace(self, slots, NativeKeys::findReference(slots, element));
    }
    if (!proven && !nativePath(self.ref(), messages)) return {};
    const NativeKeys keys(self.ref(), fields, proven);
    const auto *key = keys && (proven || NativeKeys::areElements(fields)) ? keys.of(element) : nullptr;
    return key != nullptr ? nativePlace(self, slotsOf(fields), keys.find(fields, key)) : NativePlace{};
}

// ---- Growing and removing -------------------------------------------------------------------------------------------

enum class Rebuilt { done, noStorage, byMessages };
// Gives the table that capacity and places its elements anew, in slot order: all of them, or nothing has changed.
// Association objects are replaced by copies. `byMessages`: it must be done by messages.
Rebuilt rebuildNatively(const Instance<HashedFields> &self, std::uint64_t capacity);

// Places the elements behind a hole again. False when that must be done by messages.
bool closeGapNatively(HashedFields &fields, const NativeKeys &keys, Count hole);

// Finalizes the association objects in the slots of a dictionary that holds such; of any other table, nothing. The
// slots must not be those of an object that user code can reach.
void finalizeAssociations(Ref table, const Slots &slots);

// ---- Adding and removing --------------------------------------------------------------------------------------------

// Grows a table that has reached its threshold. False when there is no room for another element; that has been raised.
bool makeRoom(const Instance<HashedFields> &self);
// Stores an element in a slot that `findelement` answered, unless that is occupied. Raises 113 for what is no slot,
// when the answer was not the library's.
Answer<void> store(const Instance<HashedFields> &self, Index slot, const std::byte *element);
// Empties a slot and places the elements behind it again.
void removeSlot(const Instance<HashedFields> &self, Count slot);
// Whether a slot that `findelement` or `findkey` answered is occupied; when it is none at all, what to raise.
struct Found {
    bool occupied = false;
    Failure failure;
};
Found lookAt(const Instance<HashedFields> &self, Index slot, std::string_view finder);

// ---- Elements -------------------------------------------------------------------------------------------------------

// Wide enough for an element of the table, for what its template's methods take for one, and for a reference.
std::size_t elementWidth(const HashedFields &fields) noexcept;

// The reference that a slot or an area holds, as far as the width goes.
inline Ref referenceIn(const std::byte *bytes, std::size_t width = sizeof(Ref)) {
    Ref held{};
    std::memcpy(&held, bytes, std::min(width, sizeof held));
    return held;
}

// ---- Walking --------------------------------------------------------------------------------------------------------

// Visits the occupied slots of a table in order, `most` of them at most, until `visit(slot)` answers false. Whatever
// `visit` runs, slots are looked up where the table then is.
template <class Visit> void visitOccupied(Ref table, Count most, Visit visit) {
    Count visited = 0;
    for (Count slot = 1; visited < most; ++slot) {
        const auto *fields = fieldsOf<HashedFields>(table);
        if (fields == nullptr) return;
        const auto slots = slotsOf(*fields);
        if (slot > slots.capacity) return;
        if (nativePath(table, {"isoccuppiedat"})) {
            slot = slots.nextOccupied(slot);
            if (slot == 0) return;
        } else if (!send<bool>(SITE("isoccuppiedat"), table, slot)) {
            continue;
        }
        ++visited;
        if (!visit(slot)) return;
    }
}

// Copies a slot's element to an area of `room` bytes, as `basicat` answers it. False when the table is gone.
bool readElement(Ref table, Count slot, std::byte *area, std::size_t room);

} // namespace oocobol
