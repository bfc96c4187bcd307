// What a thread remembers of sends whose names come as literals of COBOL programs: the name's address finds the slot.
//
// The same address may be an item's that holds another name now, so the bytes must still be those that were looked up.
// They are compared as they were sent, 32 at once; letter case and terminators were dealt with when the slot was
// filled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

#include "runtime/behaviours.h"

namespace oocobol {

class LiteralCache {
public:
    static constexpr std::size_t longest = 32; // longer names are looked up each time

    // The cell that the name ran last time; 0 when it is not known.
    CellNumber find(const char *name, std::size_t length) const noexcept {
        const auto &slot = slots[slotOf(name)];
        if (slot.name != name || slot.length != length || !isReadable(name)) return 0;
        const auto wanted = ~std::uint32_t{0} >> (longest - length);
        return (equalBytes(name, slot.bytes) & wanted) == wanted ? slot.cell : 0;
    }

    void remember(const char *name, std::size_t length, CellNumber cell) noexcept {
        if (length == 0 || length > longest) return;
        auto &slot = slots[slotOf(name)];
        slot.name = name;
        slot.cell = cell;
        slot.length = static_cast<std::uint32_t>(length);
        std::memcpy(slot.bytes, name, length);
    }

private:
    struct Slot {
        const char *name = nullptr;
        CellNumber cell = 0;
        std::uint32_t length = 0;
        alignas(16) char bytes[longest] = {};
    };

    static std::size_t slotOf(const char *name) {
        const auto address = reinterpret_cast<std::uintptr_t>(name);
        return (address ^ address >> 8) % slotCount;
    }
    // The bytes behind the name's end are read only within its page, which the hardware allows and address checkers
    // must be told of.
    static bool isReadable(const char *name) {
        constexpr std::uintptr_t pageSize = 4096;
        return reinterpret_cast<std::uintptr_t>(name) % pageSize <= pageSize - longest;
    }
    [[gnu::no_sanitize_address]] static std::uint32_t equalBytes(const char *name, const char *bytes) {
        const auto *sent = reinterpret_cast<const __m128i *>(name);
        const auto *held = reinterpret_cast<const __m128i *>(bytes);
        const auto low = _mm_cmpeq_epi8(_mm_loadu_si128(sent), _mm_load_si128(held));
        const auto high = _mm_cmpeq_epi8(_mm_loadu_si128(sent + 1), _mm_load_si128(held + 1));
        return static_cast<std::uint32_t>(_mm_movemask_epi8(low)) | static_cast<std::uint32_t>(_mm_movemask_epi8(high))
                                                                        << 16;
    }

    static constexpr std::size_t slotCount = 256;
    Slot slots[slotCount] = {};
};

} // namespace oocobol
