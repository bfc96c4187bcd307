// What the classes of data items share: the class data, and how the bytes of a value are reached.
//
// The receiver of an instance method is an object whose whole data is the value, or, in a static send, bare bytes of
// which only the class knows the length. `itemOf` answers the bytes of both and never more than there are.
#pragma once

#include <span>
#include <string_view>

#include "classes/text/text_algorithms.h"
#include "runtime/module.h"

namespace oocobol {

struct [[gnu::packed]] IntrinsicClassData {
    Count length; // of each instance, in bytes
};
inline constexpr std::uint32_t intrinsicClassDataSize = 4;
inline constexpr std::uint32_t itemDataSize = 1; // as registered: what a class whose length is not known yet declares

inline constexpr Index longestItem = 0x0FFFFFFF;
inline constexpr Index longestNumber = 8;

// Of the class whose lengths depend on the characters that a value holds; there the length is that of the longest one.
struct [[gnu::packed]] DoubleByteClassData : IntrinsicClassData {
    Count characters;
};
// Of the classes whose instances are nothing but their bytes: text and numbers.
struct [[gnu::packed]] PicXClassData : IntrinsicClassData {};
struct [[gnu::packed]] Comp5ClassData : IntrinsicClassData {};
struct [[gnu::packed]] CompXClassData : IntrinsicClassData {};

// Whether the length of every instance is the one in the class data.
inline bool hasFixedLength(const ClassFamily &family) noexcept {
    constexpr Needs needs{"sizeinbytes"};
    return isPristine(*family.instances, needs) && isPristine(*family.classSide, needs) &&
           !isLaidOutAs<DoubleByteClassData>(family);
}
// The length that an instance's class has now: as a rule the instance has as many bytes.
inline Count classLengthOf(const std::byte *instance) noexcept {
    const auto *header = headerOf(const_cast<std::byte *>(instance));
    const auto *data = bodyOf(referenceAt(header->classIndex));
    return data != nullptr ? reinterpret_cast<const IntrinsicClassData *>(data)->length : header->size;
}
// Whether such an instance is made, read and set by the plain methods of `intrinsic`, as long as they are the
// library's.
inline bool isPlainItemFamily(const ClassFamily &family) noexcept {
    return (isLaidOutAs<PicXClassData>(family) || isLaidOutAs<Comp5ClassData>(family) ||
            isLaidOutAs<CompXClassData>(family)) &&
           hasFixedLength(family);
}

// Whether items of the family are measured in characters of one or two bytes.
inline bool countsCharacters(const ClassFamily &family) noexcept { return isLaidOutAs<DoubleByteClassData>(family); }

// Whether an instance may be copied, or made, without running code from outside.
inline bool copiesItemsNatively(const ClassFamily &family) noexcept {
    return (isPlainItemFamily(family) || countsCharacters(family)) && !family.anyInstanceInitialiser &&
           isPristine(*family.classSide, {"withvalue", "new", "newindexedinstance"}) &&
           isPristine(*family.instances, {"setvalue"});
}
inline bool makesItemsNatively(const ClassFamily &family) noexcept {
    return isPlainItemFamily(family) && copiesItemsNatively(family);
}
// Whether classes of other lengths may be made so, too.
bool makesClassesNatively(const ClassFamily &family) noexcept;

// Whether the library's own method would run.
bool isLibraryMessage(const Behaviour &behaviour, std::string_view message) noexcept;

// The length in bytes of self's value. A message where a class redefines it.
Count itemLength(const Receiver &self);
// The bytes of self's value; none once the object is gone. Good until the next message.
std::span<std::byte> itemOf(const Receiver &self);
inline std::string_view textOfItem(const Receiver &self) {
    const auto item = itemOf(self);
    return {reinterpret_cast<const char *>(item.data()), item.size()};
}

// An instance of the class with this value, by `withvalue`. The bytes may lie in an object: user code sees a copy.
Answer<Ref> itemOfClass(Ref classObject, std::string_view value);
// The same of a class of its own, made for this length by `newclass` of the class given. Natively that class goes with
// its instances, unless somebody asks for it.
Answer<Ref> itemOfNewClass(Ref classObject, std::string_view value);
// The same from `cobolpicx`, by `withlengthvalue`: with double-byte characters, an item of as many characters.
Answer<Ref> newPicX(std::string_view value);
// An item of `cobolpicx` that holds these very bytes, whatever characters they are.
Answer<Ref> picXOfBytes(std::string_view value);
// The value's lines, as `nextLine` finds them, in an ordered collection of items.
Answer<Ref> linesOfItem(const Receiver &self, Piece (*nextLine)(std::string_view text, std::size_t from) noexcept);

// An instance of a class made for it, natively: null where that must be done by messages, or there is no memory.
Ref nativeItemOfNewClass(Ref classObject, std::string_view value) noexcept;
// The same of so many characters, from a class of items that are measured in characters.
Ref nativeMixedItem(Ref classObject, Count characters, std::string_view value) noexcept;

// The length that a comparison of an element, or of a part of one, is sent with its bytes: the number of characters in
// items that count these, else the number of bytes.
Count comparedLength(Ref itemTemplate, Count bytes) noexcept;
// The same for `greaterthanbylengthvalue`, which all items of text take in characters.
Count lengthOfGreaterThan(Ref itemTemplate, Count bytes, const std::byte *value) noexcept;

// The 4-byte number at the start of an argument that is handed on as it came.
inline Index numberAt(Element argument) {
    Index number;
    std::memcpy(&number, argument.address, sizeof number);
    return number;
}

} // namespace oocobol
