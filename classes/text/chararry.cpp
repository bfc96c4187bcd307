// Character array: text of single-byte characters, the library's string.
//
// Nearly all of it is in strings.cpp. What is here looks out for double-byte characters: text that has them belongs to
// another class, which factory methods hand over to, and into which a text turns in place when they are put into it.
#include "classes/text/mixed_text.h"
#include "classes/text/strings.h"
#include "classes/text/text_protocol.h"

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

// Whether a double-byte character starts within the first bytes. The first lead byte is one's: nothing behind these is
// read, and as many characters have one when as many bytes do.
bool anyDoubleByte(Index length, Bytes value) {
    return length > 0 && characters::anyDoubleByte({value.address, static_cast<std::size_t>(length)});
}

// withbytelengthvalue, frombuffer (length, value), withvalue, withspaceterminator, withspaceornullterminator (value)
// -> text. Of the double-byte class when there are such characters.
Answer<Ref> withByteLengthValue(ClassSelf self, Index length, Bytes value) {
    if (anyDoubleByte(length, value)) return send<Ref>(SITE("withbytelengthvalue"), mixedTextClass(), length, value);
    return strings::withByteLengthValue(self, length, value);
}
Answer<Ref> fromBuffer(ClassSelf self, Index length, Bytes buffer) {
    if (anyDoubleByte(length, buffer)) return send<Ref>(SITE("frombuffer"), mixedTextClass(), length, buffer);
    return strings::fromBuffer(self, length, buffer);
}
Answer<Ref> withValue(ClassSelf self, Bytes value) {
    if (characters::mayBeDoubleByte()) return send<Ref>(SITE("withvalue"), mixedTextClass(), value);
    return strings::withValue(self, value);
}
Answer<Ref> withSpaceTerminator(ClassSelf self, Bytes value) {
    if (characters::mayBeDoubleByte()) return send<Ref>(SITE("withspaceterminator"), mixedTextClass(), value);
    return strings::withSpaceTerminator(self, value);
}
Answer<Ref> withSpaceOrNullTerminator(ClassSelf self, Bytes value) {
    if (characters::mayBeDoubleByte()) return send<Ref>(SITE("withspaceornullterminator"), mixedTextClass(), value);
    return strings::withSpaceOrNullTerminator(self, value);
}

// charlengthinbytes (character) -> 1 or 2. Its first byte tells.
Count charLengthInBytes(ClassSelf, Bytes character) {
    return static_cast<Count>(characters::lengthAt(character.address));
}

// getsbcsclass, getdbcsclass () -> class.
Ref singleByteClass(ClassSelf) { return CLASS("chararry"); }
Ref doubleByteClass(ClassSelf) { return mixedTextClass(); }

// ---- Writing ------------------------------------------------------------------------------------------------------

// A text of the double-byte class with self's characters; raises when it cannot be had.
Answer<Ref> asMixedText(const Self &self) { return mixedTextOfClass(mixedTextClass(), charactersOf(*self)); }

// Whether the object says that it holds double-byte characters.
[[gnu::always_inline]] inline bool holdsDoubleByte(Ref object) {
    return characters::mayBeDoubleByte() && send<bool>(SITE("containsdbcscharacters"), object);
}

// setvalue (value). Double-byte characters turn self into a text of their class.
void setValue(Self self, Bytes value) {
    const auto length = static_cast<Index>(charactersOf(*self).size());
    if (!anyDoubleByte(length, value)) return strings::setValue(self, value);
    turnInto(self, send<Ref>(SITE("withlengthvalue"), mixedTextClass(), length, value));
}

// movevalue (object). The same.
Answer<void> moveValue(Self self, Ref other) {
    if (!holdsDoubleByte(other)) return strings::moveValue(self, other);
    const auto mixed = asMixedText(self);
    if (mixed.failure) return mixed.failure;
    turnInto(self, mixed.value);
    sendSelf(SITE("movevalue"), self, other);
    return {};
}

// atput (position, character). The same; outside the text ends in errorinbounds.
Answer<void> atPut(Self self, Index position, Bytes character) {
    const auto isInside = position >= 1 && static_cast<std::size_t>(position) <= charactersOf(*self).size();
    if (!isInside || characters::lengthAt(character.address) == 1) return strings::atPut(self, position, character);
    const auto mixed = asMixedText(self);
    if (mixed.failure) return mixed.failure;
    if (mixed.value) send(SITE("atput"), mixed.value, position, character);
    turnInto(self, mixed.value);
    return {};
}

// concat (object) -> text. With double-byte characters, of their class.
Answer<Ref> concat(Self self, Ref other) {
    if (!holdsDoubleByte(other)) return strings::concat(self, other);
    const auto mixed = asMixedText(self);
    if (mixed.failure) return mixed.failure;
    const Temporary own(mixed.value);
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
    instance<texts::lessThan<strings::Self>>("lessthan"),
    instance<texts::greaterThan<strings::Self>>("greaterthan"),
    instance<texts::lessThanOrEqual<strings::Self>>("lessthanorequal"),
    instance<texts::greaterThanOrEqual<strings::Self>>("greaterthanorequal"),
    instance<strings::equalByLengthValue>("equalbylengthvalue"),
    instance<strings::lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<strings::greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<texts::equalsIgnoreCase<strings::Self>>("equalsignorecase"),
    instance<texts::equalsIgnoreCaseByLengthValue<strings::Self>>("equalsignorecasebylengthvalue"),
    instance<texts::compareTo<strings::Self>>("compareto"),
    instance<setValue>("setvalue"),
    instance<moveValue>("movevalue"),
    instance<texts::resetValue<strings::Self>>("resetvalue"),
    instance<atPut>("atput"),
    instance<texts::getValue<strings::Self>>("getvalue"),
    instance<texts::getValueZ<strings::Self>>("getvaluez"),
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
    instance<texts::asHex<strings::Self>>("ashex"),
    instance<texts::asComp5<strings::Self>>("ascomp5"),
    instance<texts::asComp5Object<strings::Self>>("ascomp5object"),
    instance<strings::asPicX>("aspicx"),
    instance<strings::asOwnKind>("ascharacterarray"),
    instance<texts::asInternalFileName<strings::Self>>("asinternalfilename"),
    instance<strings::description>("description"),
    instance<texts::display<strings::Self>>("display"),
    instance<strings::hash>("hash"),
    instance<texts::isCompatible<strings::Self>>("iscompatible"),
    instance<texts::containsCharacters<strings::Self>>("containscharacters"),
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
