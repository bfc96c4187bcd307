// Signed COMP-5: what COMP-5 does, read with a sign where numbers are ordered or shown.
//
// Only the low four bytes carry the sign: an item of one or two bytes is never negative, and of one of eight bytes the
// upper four count for equality only.
#include <atomic>

#include "classes/intrinsics/numbers.h"

namespace oocobol {
namespace {

constexpr char program[] = "scomp5";

using ClassSelf = ClassSide<IntrinsicClassData>;
using Self = Receiver;

Index signedNumber(const void *bytes, std::size_t length) { return static_cast<Index>(nativeNumber(bytes, length)); }
Index numberOf(const Self &self) {
    const auto item = itemOf(self);
    return signedNumber(item.data(), item.size());
}
Index given(Index length, Element value) { return signedNumber(value.address, numberLength(length)); }

// baseclass () -> class.
Ref baseClass(ClassSelf) { return CLASS("scomp5"); }

constinit std::atomic<bool> isReversed{false};

// reset (). testcomp5order () -> flag. As in `cobolcomp5`, for this class.
void reset(ClassSelf) { isReversed = isReverseOfBigEndian(); }
bool testComp5Order(ClassSelf) { return isReversed; }

// lessthanbylengthvalue, greaterthanbylengthvalue (length, value) -> flag.
bool lessThanByLengthValue(Self self, Index length, Element value) { return numberOf(self) < given(length, value); }
bool greaterThanByLengthValue(Self self, Index length, Element value) { return numberOf(self) > given(length, value); }

// aspicx () -> item of `cobolpicx`. ascharacterarray () -> character array.
Answer<Ref> asPicX(Self self) { return oocobol::asPicX(signedDecimalDigits(numberOf(self))); }
Answer<Ref> asCharacterArray(Self self) { return asText(signedDecimalDigits(numberOf(self))); }

// streamoutcpt (stream). A sign and ten digits.
void streamOut(Self self, Ref stream) {
    const auto number = numberOf(self);
    const auto bits = static_cast<Count>(number);
    auto digits = decimalDigits(number < 0 ? 0 - bits : bits, 10);
    digits.prepend(number < 0 ? '-' : '+');
    writeTo(stream, digits);
}

constexpr std::array methods{
    onClass<baseClass>("baseclass"),
    onClass<reset>("reset"),
    onClass<testComp5Order>("testcomp5order"),
    instance<lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<asPicX>("aspicx"),
    instance<asCharacterArray>("ascharacterarray"),
    instance<streamOut>("streamoutcpt"),
};

constexpr ClassDef definition{.program = program,
                              .name = "signedcobolcomp5",
                              .super = "comp5",
                              .classData = inheritedFields(intrinsicClassDataSize),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
