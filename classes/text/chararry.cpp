// Character array: text of single-byte characters, the library's string.
//
// Nearly all of it is in strings.cpp. What is here looks out for double-byte characters: text that has them belongs to
// another class, which factory methods hand over to, and into which a text turns in place when they are put into it.
#include "classes/text/double_byte.h"
#include "classes/text/strings.h"

namespace oocobol {
namespace {

constexpr char program[] = "chararry";

using strings::ClassSelf;
using strings::Self;

// ---- Class methods ------------------------------------------------------------------------------------------------

// new (length) -> text. A negative length ends in invalidparameter.
Answer<Ref> newInstance(ClassSelf self, Index length) {
    if (length < 0) return pass(SITE("invalidparameter"));
    if (const auto made = strings::blank(self.ref(), length)) return made;
    return strings::initialized(sendSuper<Ref>(SUPER("new"), self), length);
}

// withbytelengthvalue, frombuffer (length, value), withvalue, withspaceterminator, withspaceornullterminator (value)
// -> text. Of the double-byte class when there are such characters.
Answer<Ref> withByteLengthValue(ClassSelf self, Index length, Bytes value) {
    if (doubleByte::amongBytes(length, value))
        return send<Ref>(SITE("withbytelengthvalue"), doubleByte::textClass(), length, value);
    return strings::withByteLengthValue(self, length, value);
}
Answer<Ref> fromBuffer(ClassSelf self, Index length, Bytes buffer) {
    if (doubleByte::amongBytes(length, buffer))
        return send<Ref>(SITE("frombuffer"), doubleByte::textClass(), length, buffer);
    return strings::fromBuffer(self, length, buffer);
}
Answer<Ref> withValue(ClassSelf self, Bytes value) {
    if (doubleByte::mayOccur()) return send<Ref>(SITE("withvalue"), doubleByte::textClass(), value);
    return strings::withValue(self, value);
}
Answer<Ref> withSpaceTerminator(ClassSelf self, Bytes value) {
    if (doubleByte::mayOccur()) return send<Ref>(SITE("withspaceterminator"), doubleByte::textClass(), value);
    return strings::withSpaceTerminator(self, value);
}
Answer<Ref> withSpaceOrNullTerminator(ClassSelf self, Bytes value) {
    if (doubleByte::mayOccur()) return send<Ref>(SITE("withspaceornullterminator"), doubleByte::textClass(), value);
    return strings::withSpaceOrNullTerminator(self, value);
}

// charlengthinbytes (character) -> 1 or 2. Its first byte tells.
Count charLengthInBytes(ClassSelf, Bytes character) {
    if (doubleByte::isSingleByteEnvironment()) return 1;
    const char lead[2] = {*character.address, ' '};
    return static_cast<Count>(host::characterLength({lead, sizeof lead}));
}

// getsbcsclass, getdbcsclass () -> class.
Ref singleByteClass(ClassSelf) { return CLASS("chararry"); }
Ref doubleByteClass(ClassSelf) { return doubleByte::textClass(); }

// ---- Writing ------------------------------------------------------------------------------------------------------

// A text of the double-byte class with self's characters; raises when it cannot be had.
Answer<Ref> asDoubleByte(const Self &self) {
    const auto own = charactersOf(*self);
    WorkArea copy(own.size());
    if (!copy) return raise(Error::noWorkArea);
    if (!own.empty()) std::memcpy(copy.bytes(), own.data(), own.size());
    return send<Ref>(SITE("withlengthvalue"), doubleByte::textClass(), static_cast<Index>(copy.size()), copy.text());
}

// setvalue (value). Double-byte characters turn self into a text of their class.
void setValue(Self self, Bytes value) {
    const auto length = static_cast<Index>(self->slotCount);
    if (!doubleByte::amongCharacters(length, value)) return strings::setValue(self, value);
    turnInto(self, send<Ref>(SITE("withlengthvalue"), doubleByte::textClass(), length, value));
}

// movevalue (object). The same.
Answer<void> moveValue(Self self, Ref other) {
    if (!doubleByte::areIn(other)) return strings::moveValue(self, other);
    const auto wide = asDoubleByte(self);
    if (wide.failure) return wide.failure;
    turnInto(self, wide.value);
    sendSelf(SITE("movevalue"), self, other);
    return {};
}

// atput (position, character). The same; outside the text ends in errorinbounds.
Answer<void> atPut(Self self, Index position, Bytes character) {
    const auto isInside = position >= 1 && static_cast<Count>(position) <= self->slotCount;
    if (!isInside || doubleByte::characterLength(character) == 1) return strings::atPut(self, position, character);
    const auto wide = asDoubleByte(self);
    if (wide.failure) return wide.failure;
    if (wide.value) send(SITE("atput"), wide.value, position, character);
    turnInto(self, wide.value);
    return {};
}

// concat (object) -> text. With double-byte characters, of their class.
Answer<Ref> concat(Self self, Ref other) {
    if (!doubleByte::areIn(other)) return strings::concat(self, other);
    const auto wide = asDoubleByte(self);
    if (wide.failure) return wide.failure;
    const Temporary own(wide.value);
    return send<Ref>(SITE("concat"), own.ref(), other);
}

// getsbcsclass, getdbcsclass () -> class. As self's class says.
Ref singleByteClassOfOwn(Self self) { return send<Ref>(SITE("getsbcsclass"), self.classObject()); }
Ref doubleByteClassOfOwn(Self self) { return send<Ref>(SITE("getdbcsclass"), self.classObject()); }

constexpr std::array methods{
    onClass<newInstance>("new"),
    onClass<strings::withLength>("withlength"),
    onClass<strings::ofValues>("ofvalues"),
    onClass<strings::ofReferences>("ofreferences"),
    onClass<strings::withAll>("withall"),
    onClass<strings::withLengthValue>("withlengthvalue"),
    onClass<withByteLengthValue>("withbytelengthvalue"),
    onClass<fromBuffer>("frombuffer"),
    onClass<withValue>("withvalue"),
    onClass<withSpaceTerminator>("withspaceterminator"),
    onClass<withSpaceOrNullTerminator>("withspaceornullterminator"),
    onClass<charLengthInBytes>("charlengthinbytes"),
    onClass<singleByteClass>("getsbcsclass"),
    onClass<doubleByteClass>("getdbcsclass"),
    instance<strings::equal>("equal"),
    instance<strings::lessThan>("lessthan"),
    instance<strings::greaterThan>("greaterthan"),
    instance<strings::lessThanOrEqual>("lessthanorequal"),
    instance<strings::greaterThanOrEqual>("greaterthanorequal"),
    instance<strings::equalByLengthValue>("equalbylengthvalue"),
    instance<strings::lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<strings::greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<strings::equalsIgnoreCase>("equalsignorecase"),
    instance<strings::equalsIgnoreCaseByLengthValue>("equalsignorecasebylengthvalue"),
    instance<strings::compareTo>("compareto"),
    instance<setValue>("setvalue"),
    instance<moveValue>("movevalue"),
    instance<strings::resetValue>("resetvalue"),
    instance<atPut>("atput"),
    instance<strings::getValue>("getvalue"),
    instance<strings::getValueZ>("getvaluez"),
    instance<strings::asParameter>("asparameter"),
    instance<strings::getValueWithSize>("getvaluewithsize"),
    instance<strings::getValueWithSizeAtPosition>("getvaluewithsizeatposition"),
    instance<strings::getAddress>("getaddress"),
    instance<strings::sizeInBytes>("sizeinbytes"),
    instance<concat>("concat"),
    instance<strings::concatZ>("concatz"),
    instance<strings::copyFromTo>("copyfromto"),
    instance<strings::indexOfSubcollection>("indexofsubcollection"),
    instance<strings::growTo>("growto"),
    instance<strings::trimBlanks>("trimblanks"),
    instance<strings::asLowerCase>("aslowercase"),
    instance<strings::asUpperCase>("asuppercase"),
    instance<strings::asSeparateLines>("asseparatelines"),
    instance<strings::asArrayOfSubstrings>("asarrayofsubstrings"),
    instance<strings::asHex>("ashex"),
    instance<strings::asComp5>("ascomp5"),
    instance<strings::asComp5Object>("ascomp5object"),
    instance<strings::asPicX>("aspicx"),
    instance<strings::asOwnKind>("ascharacterarray"),
    instance<strings::asInternalFileName>("asinternalfilename"),
    instance<strings::description>("description"),
    instance<strings::display>("display"),
    instance<strings::hash>("hash"),
    instance<strings::isCompatible>("iscompatible"),
    instance<strings::containsCharacters>("containscharacters"),
    instance<singleByteClassOfOwn>("getsbcsclass"),
    instance<doubleByteClassOfOwn>("getdbcsclass"),
};

constexpr ClassDef definition{.program = program,
                              .name = "characterarray",
                              .super = "array",
                              .instanceData = fields<CharacterArrayFields, collectionSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
