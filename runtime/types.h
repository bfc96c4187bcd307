// The values that every part of the runtime speaks of.
#pragma once

#include <cstddef>
#include <cstdint>

// Checked builds, which the sanitizer builds are, watch the rules of the runtime as they run.
#ifndef OOCOBOL_CHECKED
#define OOCOBOL_CHECKED 0
#endif

// For variables that every send reads: known to be the library's own, they are addressed without a detour.
#define OOCOBOL_LOCAL [[gnu::visibility("hidden")]]

namespace oocobol {

using Count = std::uint32_t; // lengths, sizes, counts, hashes: 4-byte items
using Index = std::int32_t;  // 1-based positions and whatever a caller may give as negative
using Flag = std::uint8_t;   // 1 true, 0 false

// An object reference: a generation above an index into the object table. Index 0 with generation 0 is null.
//
// The top bit marks the self of a static send: the reference of the class whose method runs over bare bytes. Such a
// reference never equals a table entry's generation, so no fast path takes it for an object.
//
// Packed, so that it may stand anywhere among an object's fields.
struct [[gnu::packed]] Ref {
    std::uint64_t bits = 0;

    static constexpr std::uint64_t staticMark = std::uint64_t{1} << 63;

    constexpr std::uint32_t index() const { return static_cast<std::uint32_t>(bits); }
    constexpr std::uint32_t generation() const { return static_cast<std::uint32_t>(bits >> 32); }
    constexpr bool isNull() const { return bits == 0; }
    constexpr explicit operator bool() const { return bits != 0; }
    constexpr bool isStatic() const { return (bits & staticMark) != 0; }
    constexpr Ref asStatic() const { return {bits | staticMark}; }
    constexpr Ref withoutStatic() const { return {bits & ~staticMark}; }
    friend constexpr bool operator==(Ref, Ref) = default;
};
inline constexpr Ref null{};

// How many argument addresses a send carries at most, the returning item included.
inline constexpr std::size_t maximumArguments = 16;

// How far a name is read when no field bounds it.
inline constexpr std::size_t longestName = 65535;

} // namespace oocobol
