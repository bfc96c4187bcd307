// Elements as bytes: copying, comparing and searching slots of one width.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "runtime/types.h"

namespace oocobol {

// The widths that elements mostly have get code of their own: a call of the general routine costs more than the copy.
inline void copyElement(void *to, const void *from, std::size_t width) noexcept {
    switch (width) {
    case 1:
        std::memcpy(to, from, 1);
        return;
    case 4:
        std::memcpy(to, from, 4);
        return;
    case 8:
        std::memcpy(to, from, 8);
        return;
    case 10:
        std::memcpy(to, from, 10);
        return;
    case 16:
        std::memcpy(to, from, 16);
        return;
    case 20:
        std::memcpy(to, from, 20);
        return;
    case 32:
        std::memcpy(to, from, 32);
        return;
    default:
        std::memmove(to, from, width);
    }
}

inline bool equalElements(const void *one, const void *other, std::size_t width) noexcept {
    return std::memcmp(one, other, width) == 0;
}

// Stores an element that was removed over the one it was found by. Mostly these are the same bytes, and then they may
// lie where nothing can be written.
inline void storeRemoved(const std::byte *given, const std::byte *removed, std::size_t width) noexcept {
    if (!equalElements(given, removed, width)) copyElement(const_cast<std::byte *>(given), removed, width);
}

namespace detail {

// `width` is a constant to the compiler where this is called with one.
[[gnu::always_inline]] inline std::size_t findSlot(const std::byte *slots, std::size_t count, const std::byte *wanted,
                                                   std::size_t width) noexcept {
    for (std::size_t i = 0; i < count; ++i, slots += width) {
        if (std::memcmp(slots, wanted, width) == 0) return i;
    }
    return count;
}

// Wide elements mostly differ in their first bytes.
inline std::size_t findWide(const std::byte *slots, std::size_t count, const std::byte *wanted,
                            std::size_t width) noexcept {
    std::uint64_t head;
    std::memcpy(&head, wanted, sizeof head);
    for (std::size_t i = 0; i < count; ++i, slots += width) {
        std::uint64_t found;
        std::memcpy(&found, slots, sizeof found);
        if (found == head && std::memcmp(slots, wanted, width) == 0) return i;
    }
    return count;
}

} // namespace detail

// The position, from 0, of the first of `count` slots whose bytes are those wanted; `count` when there is none.
inline std::size_t findElement(const std::byte *slots, std::size_t count, const std::byte *wanted,
                               std::size_t width) noexcept {
    switch (width) {
    case 0:
        return 0;
    case 1: {
        if (count == 0) return 0;
        const auto *found = static_cast<const std::byte *>(std::memchr(slots, std::to_integer<int>(*wanted), count));
        return found != nullptr ? static_cast<std::size_t>(found - slots) : count;
    }
    case 2:
        return detail::findSlot(slots, count, wanted, 2);
    case 4:
        return detail::findSlot(slots, count, wanted, 4);
    case 8:
        return detail::findSlot(slots, count, wanted, 8);
    default:
        return width < 8 ? detail::findSlot(slots, count, wanted, width)
                         : detail::findWide(slots, count, wanted, width);
    }
}

} // namespace oocobol
