// Binary items of 1 to 8 bytes as numbers: widened with zeros, never with copies of a sign.
#pragma once

#include <algorithm>
#include <bit>
#include <cstring>

#include "classes/intrinsics/intrinsic.h"
#include "classes/text/strings.h"
#include "classes/text/text_algorithms.h"

namespace oocobol {

inline constexpr std::size_t numberSize = longestNumber;
inline constexpr Index defaultNumberLength = 4;

static_assert(std::endian::native == std::endian::little);

// Native order: the bytes are the low ones of the number.
inline std::uint64_t nativeNumber(const void *bytes, std::size_t length) noexcept {
    std::uint64_t number = 0;
    if (length != 0) std::memcpy(&number, bytes, std::min(length, numberSize));
    return number;
}
// Most significant byte first; the last bytes of an item that is too long.
inline std::uint64_t bigEndianNumber(const void *bytes, std::size_t length) noexcept {
    if (length == 0) return 0;
    const auto used = std::min(length, numberSize);
    const auto number = nativeNumber(static_cast<const std::byte *>(bytes) + (length - used), used);
    return __builtin_bswap64(number) >> (8 * (numberSize - used));
}

// Whether a native 1, read most significant byte first, is something else.
inline bool isReverseOfBigEndian() noexcept {
    constexpr std::uint32_t one = 1;
    return bigEndianNumber(&one, sizeof one) != one;
}

// A length argument: what lies beyond the longest number is not read.
inline std::size_t numberLength(Index length) noexcept {
    return static_cast<std::size_t>(std::clamp<Index>(length, 0, longestNumber));
}

// The bytes of a number, ready for an item of that many.
struct NumberBytes {
    char bytes[numberSize];
    std::string_view view(std::size_t length) const noexcept { return {bytes, std::min(length, numberSize)}; }
};
inline NumberBytes inNativeOrder(std::uint64_t number) noexcept {
    NumberBytes item;
    std::memcpy(item.bytes, &number, sizeof number);
    return item;
}
inline NumberBytes inBigEndianOrder(std::uint64_t number, std::size_t length) noexcept {
    return inNativeOrder(length == 0 ? 0
                                     : __builtin_bswap64(number << (8 * (numberSize - std::min(length, numberSize)))));
}

// The low half as a signed number, which is then made positive.
inline Count hashNumber(std::uint64_t number) noexcept {
    const auto low = static_cast<Count>(number);
    return static_cast<Index>(low) < 0 ? 0 - low : low;
}

// Digits as an item of `cobolpicx`, as a character array.
inline Answer<Ref> asPicX(const Digits &digits) { return newPicX(digits.view()); }
inline Answer<Ref> asText(const Digits &digits) { return textOfClass(CLASS("chararry"), digits.view()); }

// Writes to a stream object: a length and that many characters.
inline void writeTo(Ref stream, const Digits &digits) {
    const auto text = digits.view();
    send(SITE("writenoindent"), stream, static_cast<Index>(text.size()), Bytes{text.data()});
}

// The other binary form of a number: an item of the same length of the class given.
inline Answer<Ref> converted(Ref classObject, std::size_t length, const NumberBytes &number) {
    const auto bytes = number.view(length);
    if (length != defaultNumberLength && length == bytes.size()) return itemOfNewClass(classObject, bytes);
    const auto made = send<Ref>(SITE("newclass"), classObject, static_cast<Index>(length));
    if (!made) return null;
    return itemOfClass(made, bytes);
}

} // namespace oocobol
