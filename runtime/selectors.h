// Selectors: the names of messages as numbers.
//
// Only registering a method makes a selector, so that names which nobody understands cost no memory. A name in a
// send, read case-blind to its first space or null byte, is looked up without a lock.
#pragma once

#include <cstddef>
#include <cstdint>
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

// Whether a name in data, ended by a space or null byte, is this selector's, case-blind. About a nanosecond.
bool sameName(const Selector &selector, const char *name) noexcept;
// The same for a name in a field of `length` bytes, which it may fill.
bool sameName(const Selector &selector, const char *name, std::size_t length) noexcept;

} // namespace oocobol
