// Characters of one or two bytes: where they start, and every algorithm over bytes that has to know it. Pure functions
// but for one thing: in a single-byte environment every byte is a character, which is asked here and nowhere else.
//
// A lead byte takes the byte behind it along. Where a text ends with a lead byte, half a character is left: it counts
// as one character of one byte, and nothing behind it is read.
#pragma once

#include <cstddef>
#include <string_view>

#include "classes/text/text_algorithms.h"
#include "host/host.h"

namespace oocobol::characters {

inline constexpr std::size_t longest = 2; // bytes
inline constexpr std::string_view doubleByteSpace = "\x81\x40";

// Whether double-byte characters may be met: not once the environment is known to have single bytes only.
inline bool mayBeDoubleByte() noexcept {
    static const auto *const status = host::externalByte("DBCSENVIRONMENTSTATUS");
    return status == nullptr || __atomic_load_n(status, __ATOMIC_RELAXED) != 1;
}

// ---- One character ------------------------------------------------------------------------------------------------

// 1 or 2. Of an address there must be two bytes when the first is a lead byte.
inline std::size_t lengthAt(const char *character) noexcept {
    return mayBeDoubleByte() && host::isLeadByte(*character) ? 2 : 1;
}
// Of a text that is not empty.
inline std::size_t lengthAt(std::string_view text) noexcept {
    return mayBeDoubleByte() ? host::characterLength(text) : 1;
}
inline bool isSpace(std::string_view character) noexcept { return character == " " || character == doubleByteSpace; }

// ---- Counting -----------------------------------------------------------------------------------------------------

// Whether a double-byte character starts in the text.
bool anyDoubleByte(std::string_view text) noexcept;
// How many characters start in the text; whether the last of them goes on behind its end.
struct Counted {
    std::size_t count;
    bool endsInHalf;
};
Counted counted(std::string_view text) noexcept;
inline std::size_t count(std::string_view text) noexcept { return counted(text).count; }
// The bytes of the first `count` characters of the text; at most all of it.
std::size_t lengthOf(std::string_view text, std::size_t count) noexcept;
// The same where nobody knows how many bytes there are: reads as many characters and no byte more.
std::size_t lengthOf(const char *text, std::size_t count) noexcept;

// Whether no character before the position goes on behind it. `known` is a position in front of it where one starts.
bool isBoundary(std::string_view text, std::size_t position, std::size_t known = 0) noexcept;

// The first `size` bytes at most; what is left of a character that would be cut in half becomes a space.
// Copies into `area`, which holds `size` bytes; answers how many it took.
std::size_t copyCut(char *area, std::size_t size, std::string_view text) noexcept;

// ---- Comparing, trimming, searching, splitting --------------------------------------------------------------------

// Byte for byte, but letters of one byte in either case.
bool equalIgnoringCase(std::string_view one, std::string_view other) noexcept;
// As a text's hash, without the single- and double-byte spaces at the end.
Count hash(std::string_view text) noexcept;

// Spaces of both widths.
std::string_view withoutTrailingSpaces(std::string_view text) noexcept;
std::string_view withoutSpacesAround(std::string_view text) noexcept;
// Spaces of both widths and null bytes at the end.
std::string_view withoutTrailingBlanks(std::string_view text) noexcept;

// Where these characters first occur, at or behind the 0-based byte position `from`, where one starts; npos when they
// do not.
std::size_t find(std::string_view text, std::string_view wanted, std::size_t from) noexcept;

// As of single-byte text; words are parted by spaces of both widths and null bytes only.
Piece nextLine(std::string_view text, std::size_t from) noexcept;
Piece nextWord(std::string_view text, std::size_t from) noexcept;

// Letters of one byte.
void toUpper(char *text, std::size_t length) noexcept;
void toLower(char *text, std::size_t length) noexcept;

// ---- Texts that only their end bounds -------------------------------------------------------------------------------

// Up to the first character that is a null byte; a space of either width; either of them. A null byte behind a lead
// byte ends the first and the last kind too: what is before it is half a character.
std::string_view upToNull(const char *text) noexcept;
std::string_view upToSpace(const char *text) noexcept;
std::string_view upToSpaceOrNull(const char *text) noexcept;

} // namespace oocobol::characters
