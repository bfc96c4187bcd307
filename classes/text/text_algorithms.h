// Algorithms over the bytes of texts: comparing, hashing, trimming, searching, splitting, and numbers as digits. Pure
// functions; they know no objects, and read nothing beyond the bytes they are given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "runtime/types.h"

namespace oocobol {

// ---- Comparing ----------------------------------------------------------------------------------------------------

// As COBOL compares alphanumeric items: byte by byte by unsigned code, the shorter one as if padded with spaces.
// Below 0, 0 or above 0.
int comparePadded(std::string_view one, std::string_view other) noexcept;
bool equalPadded(std::string_view one, std::string_view other) noexcept;
// The same after both have been put in upper case.
bool equalPaddedIgnoringCase(std::string_view one, std::string_view other) noexcept;

// ---- Hashing ------------------------------------------------------------------------------------------------------

// h = h x 47 + byte modulo 2^32, from the last byte that is no space to the first; negated when negative as a signed
// number. Texts that are equal but for trailing spaces hash alike.
Count hashText(std::string_view text) noexcept;

// ---- Trimming, searching, splitting --------------------------------------------------------------------------------

std::string_view withoutTrailingSpaces(std::string_view text) noexcept;
std::string_view withoutSpacesAround(std::string_view text) noexcept;

// Where the bytes first occur at or after `from` (0-based); npos when they do not.
std::size_t findBytes(std::string_view text, std::string_view wanted, std::size_t from) noexcept;

// Part of a text, by 0-based positions; `end` is behind it.
struct Piece {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool isEmpty() const noexcept { return begin == end; }
    std::size_t size() const noexcept { return end - begin; }
};
// The first line that is not empty, at or after `from`. Lines end at a line feed; an empty piece when none is left.
Piece nextLine(std::string_view text, std::size_t from) noexcept;
// The first word at or after `from`: bytes above the space, which all control characters and spaces separate.
Piece nextWord(std::string_view text, std::size_t from) noexcept;

// ---- Numbers as digits ---------------------------------------------------------------------------------------------

// Digits of a number, on the stack.
class Digits {
public:
    std::string_view view() const noexcept { return {characters + first, sizeof characters - first}; }
    void prepend(char character) noexcept { characters[--first] = character; }

private:
    std::size_t first = 24;
    char characters[24];
};
// In decimal, the low eighteen digits without leading zeros, but at least `least` digits.
Digits decimalDigits(std::uint64_t number, std::size_t least = 1) noexcept;
// With "-" in front when negative.
Digits signedDecimalDigits(std::int32_t number) noexcept;
// In hexadecimal, capitals, two digits for each byte from the first that is not zero; "0" for 0.
Digits hexadecimalDigits(std::uint64_t number) noexcept;

// What the digits say, modulo 2^32. The low half of each character's code is its digit, whatever the character is;
// in hexadecimal, letters of both cases count from ten.
Count decimalValue(std::string_view digits) noexcept;
Count hexadecimalValue(std::string_view digits) noexcept;

} // namespace oocobol
