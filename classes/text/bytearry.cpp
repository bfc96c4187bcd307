// Byte array: raw bytes with the methods of text. Never anything but single bytes, whatever the environment.
#include "classes/text/strings.h"
#include "classes/text/text_protocol.h"

namespace oocobol {
namespace {

constexpr char program[] = "bytearry";

using strings::ClassSelf;

// new (length) -> bytes. A negative length ends in invalidparameter.
Answer<Ref> newInstance(ClassSelf self, Index length) {
    if (length < 0) return pass(SITE("invalidparameter"));
    if (const auto made = strings::blank(self.ref(), length)) return made;
    return strings::initialized(sendSuper<Ref>(SUPER("new"), self), length);
}

constexpr std::array methods{
    onClass<newInstance>("new"),
    onClass<strings::withLength>("withlength"),
    onClass<strings::ofValues>("ofvalues"),
    onClass<strings::ofReferences>("ofreferences"),
    onClass<strings::withAll>("withall"),
    onClass<strings::withLengthValue>("withlengthvalue"),
    onClass<strings::withByteLengthValue>("withbytelengthvalue"),
    onClass<strings::fromBuffer>("frombuffer"),
    onClass<strings::withValue>("withvalue"),
    onClass<strings::withSpaceTerminator>("withspaceterminator"),
    onClass<strings::withSpaceOrNullTerminator>("withspaceornullterminator"),
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
    instance<strings::setValue>("setvalue"),
    instance<strings::moveValue>("movevalue"),
    instance<texts::resetValue<strings::Self>>("resetvalue"),
    instance<strings::atPut>("atput"),
    instance<texts::getValue<strings::Self>>("getvalue"),
    instance<texts::getValueZ<strings::Self>>("getvaluez"),
    instance<strings::asParameter>("asparameter"),
    instance<strings::getValueWithSize>("getvaluewithsize"),
    instance<strings::getValueWithSizeAtPosition>("getvaluewithsizeatposition"),
    instance<strings::getAddress>("getaddress"),
    instance<strings::sizeInBytes>("sizeinbytes"),
    instance<strings::concat>("concat"),
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
    instance<texts::asInternalFileName<strings::Self>>("asinternalfilename"),
    instance<strings::description>("description"),
    instance<texts::display<strings::Self>>("display"),
    instance<strings::hash>("hash"),
    instance<texts::isCompatible<strings::Self>>("iscompatible"),
    instance<texts::containsCharacters<strings::Self>>("containscharacters"),
    instance<strings::asOwnKind>("asbytearray"),
};

constexpr ClassDef definition{.program = program,
                              .name = "bytearray",
                              .super = "array",
                              .instanceData = fields<ByteArrayFields, collectionSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
