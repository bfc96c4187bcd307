// COMP-5: unsigned binary numbers of 1 to 8 bytes in the order of the machine.
#include <atomic>

#include "classes/intrinsics/numbers.h"

namespace oocobol {
namespace {

constexpr char program[] = "comp5";

using ClassSelf = ClassSide<IntrinsicClassData>;
using Self = Receiver;

std::uint64_t numberOf(const Self &self) {
    const auto item = itemOf(self);
    return nativeNumber(item.data(), item.size());
}
std::uint64_t given(Index length, Element value) { return nativeNumber(value.address, numberLength(length)); }

// ---- Classes ------------------------------------------------------------------------------------------------------

// Whether the machine stores the least significant byte first.
constinit std::atomic<bool> isReversed{false};

// initializeclass (). Four bytes by default.
void initializeClass(ClassSelf self) {
    sendSuper(SUPER("initializeclass"), self);
    self->length = defaultNumberLength;
    sendSelf(SITE("reset"), self);
}

// newclass (length) -> class. The class of 4-byte items is this one. Raises 30 above 8.
Answer<Ref> newClass(ClassSelf self, Element length) {
    if (numberAt(length) == defaultNumberLength) return CLASS("comp5");
    return sendSuper<Ref>(SUPER("newclass"), self, length);
}

// baseclass () -> class. maximumsize () -> number. iscomp5 () -> flag.
Ref baseClass(ClassSelf) { return CLASS("comp5"); }
Count maximumSize(ClassSelf) { return longestNumber; }
bool isComp5(ClassSelf) { return true; }

// reset (). Finds the machine's byte order. testcomp5order () -> flag, whether it is the reverse of COMP-X.
void reset(ClassSelf) { isReversed = isReverseOfBigEndian(); }
bool testComp5Order(ClassSelf) { return isReversed; }

// ---- Comparing ----------------------------------------------------------------------------------------------------

// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue (length, value) -> flag.
bool equalByLengthValue(Self self, Index length, Element value) { return numberOf(self) == given(length, value); }
bool lessThanByLengthValue(Self self, Index length, Element value) { return numberOf(self) < given(length, value); }
bool greaterThanByLengthValue(Self self, Index length, Element value) { return numberOf(self) > given(length, value); }

// hash () -> count.
Count hash(Self self) { return hashNumber(numberOf(self)); }

// ---- Conversions --------------------------------------------------------------------------------------------------

// ascomp5 () -> object. Self; for bare bytes an object that holds them.
Answer<Ref> asComp5(Self self) {
    if (self.ref().isStatic()) return itemOfClass(self.classObject(), textOfItem(self));
    return self.ref();
}

// ascompx () -> item of `cobolcompx`, of the same length.
Answer<Ref> asCompX(Self self) {
    const auto length = itemLength(self);
    return converted(CLASS("compx"), length, inBigEndianOrder(numberOf(self), length));
}

// aspicx () -> item of `cobolpicx`. ascharacterarray, ashex () -> character array.
Answer<Ref> asPicX(Self self) { return oocobol::asPicX(decimalDigits(numberOf(self))); }
Answer<Ref> asCharacterArray(Self self) { return asText(decimalDigits(numberOf(self))); }
Answer<Ref> asHex(Self self) { return asText(hexadecimalDigits(numberOf(self))); }

// streamoutcpt (stream). Ten digits of the low four bytes.
void streamOut(Self self, Ref stream) { writeTo(stream, decimalDigits(static_cast<Count>(numberOf(self)), 10)); }

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<newClass>("newclass"),
    onClass<baseClass>("baseclass"),
    onClass<maximumSize>("maximumsize"),
    onClass<isComp5>("iscomp5"),
    onClass<reset>("reset"),
    onClass<testComp5Order>("testcomp5order"),
    instance<equalByLengthValue>("equalbylengthvalue"),
    instance<lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<hash>("hash"),
    instance<asComp5>("ascomp5"),
    instance<asCompX>("ascompx"),
    instance<asPicX>("aspicx"),
    instance<asCharacterArray>("ascharacterarray"),
    instance<asHex>("ashex"),
    instance<streamOut>("streamoutcpt"),
};

constexpr ClassDef definition{.program = program,
                              .name = "cobolcomp5",
                              .super = "intrnsic",
                              .classData = fields<Comp5ClassData, intrinsicClassDataSize>(),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
