// What the dictionaries share: the fields.
//
// Slots hold associations, as values (key then datum) or as references to association objects that the dictionary
// owns. The element template of `collection` is the data's, so that a dictionary seen as a collection is that of its
// data; what the slots hold, the association template says.
#pragma once

#include "classes/collections/hash_table.h"
#include "classes/intrinsics/association.h"

namespace oocobol {

struct [[gnu::packed]] DictionaryFields : HashedFields {
    Ref keyTemplate;         // null: keys are references
    Ref associationTemplate; // null: associations are objects
    Count keySize;
    Count dataSize;
    Ref associationClass;
};
// Keys are matched by their bytes.
struct [[gnu::packed]] IdentityDictionaryFields : DictionaryFields {};
inline constexpr std::uint32_t dictionarySize = 128; // as registered

inline bool holdsObjects(const DictionaryFields &fields) { return fields.associationTemplate.isNull(); }

inline bool isDictionary(Ref object) noexcept { return fieldsOf<DictionaryFields>(object) != nullptr; }
// Whether both are dictionaries whose associations are held and laid out alike, so that one can take the other's.
bool haveSameAssociations(Ref one, Ref other) noexcept;

// Adds the associations of a dictionary to another; when they are of another kind, ends in compatibilityerror (10).
Answer<void> addAssociations(const Receiver &self, Ref source);

enum class Matching { byEquality, byIdentity };

// findkey: the slot where the key is, or the empty one where it would go; `found` tells which. Raises 112 when the
// table has no such slot or does not stop changing; answers 0 then, and for keys that have no hash.
Index findKey(const Instance<DictionaryFields> &self, Element key, Area found, Matching matching);

// The datum of a key where it lies, null when the key is absent. Good until the next message.
struct NativeDatum {
    std::byte *address = nullptr;
    bool isNative = false; // otherwise it takes messages to find it
    explicit operator bool() const { return isNative; }
};
NativeDatum nativeDatum(Ref dictionary, const std::byte *key) noexcept;

// ---- Parts of associations ----------------------------------------------------------------------------------------

// A part of an association: the key or the datum.
enum class Part { key, data };

// Wide enough for the part, for what its template's methods take for one, and for a reference.
std::size_t partWidth(const DictionaryFields &fields, Part part) noexcept;
// An association's part where it lies natively, in a slot or in the object that the slot refers to; else null. Good
// until the next message.
inline const std::byte *nativePart(const DictionaryFields &fields, const std::byte *slot, Part part) noexcept {
    const std::size_t offset = part == Part::key ? 0 : fields.keySize;
    if (!holdsObjects(fields)) return slot + offset;
    const auto *association = nativeAssociation(referenceIn(slot), std::size_t{fields.keySize} + fields.dataSize);
    return association != nullptr ? association + offset : nullptr;
}
// Copies the part of an association object to an area of `room` bytes, by message. False when the object is gone or
// its part does not fit.
bool readPart(Ref association, Part part, std::byte *area, std::size_t room);
// Copies the part in a slot of a dictionary, as `basickeyat` and `basicdataat` answer it. False when the dictionary or
// the association is gone or the part does not fit.
bool readPartAt(Ref dictionary, Count slot, Part part, std::byte *area, std::size_t room);

} // namespace oocobol
