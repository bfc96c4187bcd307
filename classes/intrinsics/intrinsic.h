// What the classes of data items share: the class data, and how the bytes of a value are reached.
//
// The receiver of an instance method is an object whose whole data is the value, or, in a static send, bare bytes of
// which only the class knows the length. `itemOf` answers the bytes of both and never more than there are.
#pragma once

#include <span>
#include <string_view>

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
// Whether such an instance is made, read and set by the plain methods of `intrinsic`, as long as they are the
// library's.
inline bool isPlainItemFamily(const ClassFamily &family) noexcept {
    return (isLaidOutAs<PicXClassData>(family) || isLaidOutAs<Comp5ClassData>(family) ||
            isLaidOutAs<CompXClassData>(family)) &&
           hasFixedLength(family);
}

// Whether such instances are made without running code from outside.
inline bool makesItemsNatively(const ClassFamily &family) noexcept {
    return isPlainItemFamily(family) && !family.anyInstanceInitialiser &&
           isPristine(*family.classSide, {"withvalue", "new", "newindexedinstance"}) &&
           isPristine(*family.instances, {"setvalue"});
}

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
// The same from `cobolpicx`, by `withlengthvalue`.
Answer<Ref> newPicX(std::string_view value);

// An instance of a class made for it, natively: null where that must be done by messages, or there is no memory.
Ref nativeItemOfNewClass(Ref classObject, std::string_view value) noexcept;

// The 4-byte number at the start of an argument that is handed on as it came.
inline Index numberAt(Element argument) {
    Index number;
    std::memcpy(&number, argument.address, sizeof number);
    return number;
}

} // namespace oocobol
