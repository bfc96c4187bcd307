// Text of single- and double-byte characters as an object: its layout, how such texts are made, and how the modules of
// other classes reach them.
//
// The characters lie behind the fields, in the object itself, which has room for two bytes each. Every length that the
// text speaks of counts characters; a text whose lengths in bytes and in characters are the same has single bytes only.
#pragma once

#include <string_view>

#include "classes/text/characters.h"
#include "runtime/module.h"

namespace oocobol {

struct [[gnu::packed]] MixedTextFields {
    Count dataOffset; // from the start of the fields to the characters
    Count byteLength;
    Count characterLength;
    Flag quit; // 1: the running iteration ends before its next character
    // Another number after every change; 0 once a program has the address of the characters and may change them itself.
    Count changes;
};
inline constexpr std::uint32_t mixedTextSize = 17; // as registered

inline Ref mixedTextClass() noexcept { return CLASS("dbcsarry"); }
inline bool isMixedText(Ref object) noexcept { return fieldsOf<MixedTextFields>(object) != nullptr; }

// The bytes of such a text, no more than the object holds; good until the next message.
std::string_view mixedBytesOf(Ref text) noexcept;

// Self of its methods: an object, or the bare bytes of one character, which is what the elements of collections of
// characters are. Fields of anything but a live object read as zeros.
class MixedSelf : public Receiver {
public:
    using Receiver::Receiver;
    MixedTextFields *operator->() const noexcept;
    MixedTextFields &operator*() const noexcept { return *operator->(); }
    std::string_view text() const noexcept;
};

// ---- Making texts -------------------------------------------------------------------------------------------------

// An instance of the class with these bytes, made at once; null when it must be made by messages, or there is no
// memory.
Ref nativeMixedText(Ref classObject, std::string_view bytes) noexcept;
// An instance by `withlengthvalue`. The bytes may lie in an object.
Answer<Ref> mixedTextOfClass(Ref classObject, std::string_view bytes) noexcept;
// The same from a buffer of that many bytes whose last byte is free: there half a character at the end is completed for
// the message, and is half a one again in what was made.
Ref textFromBuffer(Ref classObject, char *buffer, std::size_t size) noexcept;

// Self turns into the replacement, whose reference is finalized with what self was before.
inline void turnInto(const Receiver &self, Ref replacement) {
    const Temporary former(replacement);
    if (replacement) sendSelf(SITE("becomes"), self, replacement);
}

// ---- Changing texts -----------------------------------------------------------------------------------------------

// Replaces the bytes; `characters` is how many these are. False when there is no room for them.
bool setMixedText(const MixedSelf &self, std::string_view bytes, std::size_t characters) noexcept;

// Puts other bytes in the place of `length` bytes at an offset: one character for another. False as above.
bool spliceMixedText(const MixedSelf &self, std::size_t offset, std::size_t length, std::string_view bytes) noexcept;
// As many null bytes; no more than there is room for.
void clearMixedText(const MixedSelf &self, std::size_t characters) noexcept;
// Room for as many characters, and no more than these kept. False, and nothing changed, without memory.
bool reserveMixedText(const MixedSelf &self, std::size_t characters) noexcept;
// Cut, or filled up with spaces, to as many characters. False, and nothing changed, when there is no room.
bool stretchMixedText(const MixedSelf &self, std::size_t characters) noexcept;

// Puts `count` characters of the source from a position on into the places of as many of self, both texts of either
// kind. Single-byte text turns into the other kind when it gets such characters. False when messages have to do it.
bool replaceCharacters(const Receiver &self, std::int64_t start, std::int64_t count, Ref source,
                       std::int64_t sourceStart);

// ---- Positions ----------------------------------------------------------------------------------------------------

inline constexpr std::size_t nowhere = std::string_view::npos;
// Where the character at a 1-based position starts; nowhere when there is none. Walking on from the character asked for
// last, and one back, takes a step.
std::size_t offsetOf(const MixedSelf &self, Index position) noexcept;
// Lets the next walk start from there.
void rememberOffset(const MixedSelf &self, std::size_t position, std::size_t offset) noexcept;

} // namespace oocobol
