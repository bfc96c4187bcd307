// COMP-X: unsigned binary numbers of 1 to 8 bytes, the most significant byte first.
#include "classes/intrinsics/numbers.h"

namespace oocobol {
namespace {

constexpr char program[] = "compx";

using ClassSelf = ClassSide<IntrinsicClassData>;
using Self = Receiver;

std::uint64_t numberOf(const Self &self) {
    const auto item = itemOf(self);
    return bigEndianNumber(item.data(), item.size());
}
std::uint64_t given(Index length, Element value) { return bigEndianNumber(value.address, numberLength(length)); }

// ---- Classes ------------------------------------------------------------------------------------------------------

// initializeclass (). Four bytes by default.
void initializeClass(ClassSelf self) {
    sendSuper(SUPER("initializeclass"), self);
    self->length = defaultNumberLength;
}

// newclass (length) -> class. The class of 4-byte items is this one. Raises 30 above 8.
Answer<Ref> newClass(ClassSelf self, Element length) {
    if (numberAt(length) == defaultNumberLength) return CLASS("compx");
    return sendSuper<Ref>(SUPER("newclass"), self, length);
}

// baseclass () -> class. maximumsize () -> number.
Ref baseClass(ClassSelf) { return CLASS("compx"); }
Count maximumSize(ClassSelf) { return longestNumber; }

// ---- Comparing ----------------------------------------------------------------------------------------------------

// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue (length, value) -> flag.
bool equalByLengthValue(Self self, Index length, Element value) { return numberOf(self) == given(length, value); }
bool lessThanByLengthValue(Self self, Index length, Element value) { return numberOf(self) < given(length, value); }
bool greaterThanByLengthValue(Self self, Index length, Element value) { return numberOf(self) > given(length, value); }

// hash () -> count. That of the same number in COMP-5.
Count hash(Self self) { return hashNumber(numberOf(self)); }

// ---- Conversions --------------------------------------------------------------------------------------------------

// ascompx () -> object. Self; for bare bytes an object that holds them.
Answer<Ref> asCompX(Self self) {
    if (self.ref().isStatic()) return itemOfClass(self.classObject(), textOfItem(self));
    return self.ref();
}

// ascomp5 () -> item of `cobolcomp5`, of the same length, in the byte order that `cobolcomp5` says it has.
Answer<Ref> asComp5(Self self) {
    const auto length = itemLength(self);
    const auto number = numberOf(self);
    const auto isReversed = send<bool>(SITE("testcomp5order"), CLASS("comp5"));
    return converted(CLASS("comp5"), length, isReversed ? inNativeOrder(number) : inBigEndianOrder(number, length));
}

// aspicx () -> item of `cobolpicx`. ascharacterarray () -> character array.
Answer<Ref> asPicX(Self self) { return oocobol::asPicX(decimalDigits(numberOf(self))); }
Answer<Ref> asCharacterArray(Self self) { return asText(decimalDigits(numberOf(self))); }

// iscompx () -> flag.
bool isCompX(Self) { return true; }

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<newClass>("newclass"),
    onClass<baseClass>("baseclass"),
    onClass<maximumSize>("maximumsize"),
    instance<equalByLengthValue>("equalbylengthvalue"),
    instance<lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<hash>("hash"),
    instance<asCompX>("ascompx"),
    instance<asComp5>("ascomp5"),
    instance<asPicX>("aspicx"),
    instance<asCharacterArray>("ascharacterarray"),
    instance<isCompX>("iscompx"),
};

constexpr ClassDef definition{.program = program,
                              .name = "cobolcompx",
                              .super = "intrnsic",
                              .classData = fields<CompXClassData, intrinsicClassDataSize>(),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
