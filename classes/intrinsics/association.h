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

// Reaches association objects natively. Most of those met are of one class: what was found out about that one stands
// until behaviours change.
class NativeAssociations {
public:
    explicit NativeAssociations(std::size_t size) noexcept : neededSize(size), plain(known.id()) {}

    // The bytes of an association, key then datum, when it is a plain one of at least the needed size; else null.
    std::byte *at(Ref object) noexcept {
        const auto *entry = findEntry(object);
        if (entry == nullptr) return nullptr;
        const auto behaviour = behaviourOf(entry->tag.load(std::memory_order_acquire));
        if (behaviour != plain && !learn(behaviour)) return nullptr;
        auto *body = entry->body.load(std::memory_order_relaxed);
        return headerOf(body)->size >= neededSize ? body : nullptr;
    }

private:
    bool learn(std::uint32_t behaviour) noexcept;

    static inline constinit KnownBehaviour known{};
    std::size_t neededSize;
    std::uint32_t plain; // a behaviour whose objects are plain associations; 0: none is known
};

inline std::byte *nativeAssociation(Ref object, std::size_t size) noexcept {
    return NativeAssociations(size).at(object);
}

} // namespace oocobol
