// Selectors: the names of messages as numbers.
//
// Only registering a method makes a selector, so that names which nobody understands cost no memory. A name in a
// send, read case-blind to its first space or null byte, is looked up without a lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>
#include <string_view>

#include "runtime/types.h"

namespace oocobol {

using SelectorId = std::uint32_t; // 0: none

struct Selector {
    static constexpr std::size_t window = 32;
    SelectorId id = 0;
    std::uint32_t hash = 0;
    std::uint32_t length = 0;
    const char *name = nullptr;       // lower case, null-terminated
    alignas(16) char start[window]{}; // the name's first bytes, zero-filled
};

// A name as sends give it: up to the first space or null byte, at most `limit` bytes.
std::string_view nameView(const char *name, std::size_t limit = longestName) noexcept;

// The selector of a name in any case; 0 when no class has such a method.
SelectorId findSelector(std::string_view name) noexcept;
// The same, made when it does not exist. 0 when memory is short or the name is empty or longer than longestName.
SelectorId internSelector(std::string_view name) noexcept;

const Selector &selectorOf(SelectorId id) noexcept;

namespace detail {

bool sameLongName(const Selector &selector, const char *name) noexcept; // however long, wherever it lies

inline __m128i lowered(__m128i bytes) {
    const auto above = _mm_cmpgt_epi8(bytes, _mm_set1_epi8('A' - 1));
    const auto below = _mm_cmplt_epi8(bytes, _mm_set1_epi8('Z' + 1));
    return _mm_or_si128(bytes, _mm_and_si128(_mm_and_si128(above, below), _mm_set1_epi8(0x20)));
}

// Bit i set where byte i of the name, in lower case, equals the selector's. The bytes behind the name's end are read
// only within its page, which the hardware allows and address checkers must be told of.
[[gnu::no_sanitize_address]] inline std::uint32_t equalBytes(const char *name, const char *start) {
    const auto *text = reinterpret_cast<const __m128i *>(name);
    const auto *expected = reinterpret_cast<const __m128i *>(start);
    const auto low = _mm_cmpeq_epi8(lowered(_mm_loadu_si128(text)), _mm_load_si128(expected));
    const auto high = _mm_cmpeq_epi8(lowered(_mm_loadu_si128(text + 1)), _mm_load_si128(expected + 1));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(low)) | static_cast<std::uint32_t>(_mm_movemask_epi8(high))
                                                                    << 16;
}

} // namespace detail

// Whether a name in data, ended by a space or null byte, is this selector's, case-blind. About a nanosecond.
inline bool sameName(const Selector &selector, const char *name) noexcept {
    constexpr std::uintptr_t pageSize = 4096;
    if (name == nullptr) return false;
    const auto offset = reinterpret_cast<std::uintptr_t>(name) % pageSize;
    if (selector.length >= Selector::window || offset > pageSize - Selector::window) [[unlikely]]
        return detail::sameLongName(selector, name);
    const auto wanted = (std::uint32_t{1} << selector.length) - 1;
    if ((detail::equalBytes(name, selector.start) & wanted) != wanted) return false;
    const char end = name[selector.length];
    return end == ' ' || end == '\0';
}

} // namespace oocobol
