// What the associations' classes share: the class data, and how a dictionary reaches an association's parts natively.
#pragma once

#include "classes/intrinsics/intrinsic.h"

namespace oocobol {

struct [[gnu::packed]] AssociationClassData : IntrinsicClassData {
    Count dataSize;
    Count keySize;
    Ref keyTemplate;  // null: the key is a reference
    Ref dataTemplate; // null: the datum is a reference
};
inline constexpr std::uint32_t associationClassDataSize = 40;

// For the classes of one fixed pair: sets both templates, with the messages for it.
void setTypes(const ClassSide<AssociationClassData> &self, Ref keyTemplate, Ref dataTemplate);

// Whether the library's own methods reach, compare, copy and finalize the associations of this family.
bool isPlainAssociation(const ClassFamily &family) noexcept;
// The bytes of an association object, key then datum, when it is a plain one of at least `size` bytes; else
// null. Good until the next message.
std::byte *nativeAssociation(Ref object, std::size_t size) noexcept;

} // namespace oocobol
