// PIC X: an item of single-byte characters, padded with spaces as COBOL pads it.
//
// In all but a single-byte environment, text with double-byte characters that is moved into an item turns it into one
// of the double-byte class.
#include <algorithm>

#include "classes/intrinsics/intrinsic.h"
#include "classes/text/mixed_text.h"
#include "classes/text/operand.h"
#include "classes/text/pieces.h"
#include "classes/text/strings.h"
#include "classes/text/text_algorithms.h"

namespace oocobol {

namespace {

constexpr char program[] = "picx";

using ClassSelf = ClassSide<IntrinsicClassData>;
using Self = Receiver;

std::string_view textAt(Index length, Bytes value) {
    return {value.address, static_cast<std::size_t>(length > 0 ? length : 0)};
}

// A work area that holds a copy of these bytes; test it before use. Behind them spaces, for whoever takes as many
// characters.
class CopiedText : public WorkArea {
public:
    explicit CopiedText(std::string_view bytes) : WorkArea(bytes.size() * characters::longest), length(bytes.size()) {
        if (!*this) return;
        std::memset(this->bytes(), ' ', size());
        if (length != 0) std::memcpy(this->bytes(), bytes.data(), length);
    }
    std::string_view view() noexcept { return {reinterpret_cast<const char *>(bytes()), length}; }

private:
    std::size_t length;
};

const ClassFamily *familyOf(const Self &self) {
    if (self.ref().isStatic()) return familyOfClass(self.ref().withoutStatic());
    const auto *behaviour = behaviourOfObject(self.ref());
    return behaviour != nullptr ? behaviour->family : nullptr;
}

// The value that a message gives this item with a length: in bytes, or in characters where the item counts these.
std::string_view givenTo(const Self &self, Index length, Bytes value) {
    const auto *family = familyOf(self);
    if (length <= 0 || family == nullptr || !countsCharacters(*family)) return textAt(length, value);
    return {value.address, characters::lengthOf(value.address, static_cast<std::size_t>(length))};
}

bool anyDoubleByte(Index length, Bytes value) { return characters::anyDoubleByte(textAt(length, value)); }

// ---- Making items -------------------------------------------------------------------------------------------------

void initializeClass(ClassSelf self) {
    sendSuper(SUPER("initializeclass"), self);
    self->length = 1;
}

// Of a class that was made for it; null where messages have to do it. Characters of two bytes are for items that count
// characters, whichever class is asked.
Ref nativeItem(Ref classObject, Index length, Bytes value) {
    const auto *family = familyOfClass(classObject);
    if (length < 0 || length > longestItem || family == nullptr || !copiesItemsNatively(*family) ||
        !makesClassesNatively(*family))
        return null;
    const auto isMixed = countsCharacters(*family);
    if (!isMixed && !anyDoubleByte(length, value)) return nativeItemOfNewClass(classObject, textAt(length, value));
    const auto characterCount = static_cast<std::size_t>(length);
    return nativeMixedItem(isMixed ? classObject : CLASS("dbcspicx"), static_cast<Count>(length),
                           {value.address, characters::lengthOf(value.address, characterCount)});
}

// withlength (length) -> object. withlengthvalue (length, value) -> object. Each in a class made for that length.
Answer<Ref> withLength(ClassSelf self, Index length) {
    const auto made = sendSelf<Ref>(SITE("newclass"), self, length);
    if (!made) return null;
    return send<Ref>(SITE("new"), made);
}
Answer<Ref> withLengthValue(ClassSelf self, Index length, Bytes value) {
    if (const auto made = nativeItem(self.ref(), length, value)) return made;
    const auto made = sendSelf<Ref>(SITE("newclass"), self, length);
    if (!made) return null;
    return send<Ref>(SITE("withvalue"), made, value);
}

// baseclass () -> class.
Ref baseClass(ClassSelf) { return CLASS("picx"); }

// containscharacters () -> flag, of the class and of its instances.
bool containsCharacters(Self) { return true; }

// ---- Comparing ----------------------------------------------------------------------------------------------------

// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue, greaterthanorequalbylengthvalue (length, value)
// -> flag.
bool equalByLengthValue(Self self, Index length, Bytes value) {
    return equalPadded(textOfItem(self), givenTo(self, length, value));
}
bool lessThanByLengthValue(Self self, Index length, Bytes value) {
    return comparePadded(textOfItem(self), givenTo(self, length, value)) < 0;
}
// Here the length is one in characters for every item.
bool greaterThanByLengthValue(Self self, Index length, Bytes value) {
    const auto bytes = length > 0 ? characters::lengthOf(value.address, static_cast<std::size_t>(length)) : 0;
    return comparePadded(textOfItem(self), {value.address, bytes}) > 0;
}
bool greaterThanOrEqualByLengthValue(Self self, Index length, Bytes value) {
    return comparePadded(textOfItem(self), givenTo(self, length, value)) >= 0;
}

// compareto (object) -> -1, 0 or 1.
Answer<Index> compareTo(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto order = comparePadded(textOfItem(self), value.bytes());
    return (order > 0) - (order < 0);
}

bool equalIgnoringCase(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    return characters::anyDoubleByte(one) ? characters::equalIgnoringCase(one, other)
                                          : equalPaddedIgnoringCase(one, other);
}

// equalsignorecase (object) -> flag. Items of different lengths are not equal.
Answer<bool> equalsIgnoreCase(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    return equalIgnoringCase(textOfItem(self), value.bytes());
}

// equalsignorecasebylengthvalue (length, value) -> flag.
Answer<bool> equalsIgnoreCaseByLengthValue(Self self, Index length, Bytes value) {
    const auto *family = familyOf(self);
    if (length >= 0 && length <= longestItem && family != nullptr && makesItemsNatively(*family) &&
        makesClassesNatively(*family) && isLibraryMessage(*family->instances, "equalsignorecase") &&
        !anyDoubleByte(length, value)) {
        return equalIgnoringCase(textOfItem(self), textAt(length, value));
    }
    CopiedText own(textOfItem(self));
    if (!own) return raise(Error::noWorkArea);
    const auto ownClass = self.classObject();
    const Temporary one(send<Ref>(SITE("withvalue"), ownClass, own.text()));
    const auto otherClass = send<Ref>(SITE("newclass"), ownClass, length);
    if (!otherClass) return false;
    const Temporary other(send<Ref>(SITE("withvalue"), otherClass, value));
    return one && other && send<bool>(SITE("equalsignorecase"), one.ref(), other.ref());
}

// hash () -> count.
Count hash(Self self) { return hashText(textOfItem(self)); }

// ---- Other texts made of it -----------------------------------------------------------------------------------------

// trimblanks () -> item of `cobolpicx`. One space when there is nothing else.
Answer<Ref> trimBlanks(Self self) {
    const auto kept = withoutSpacesAround(textOfItem(self));
    return newPicX(kept.empty() ? std::string_view(" ") : kept);
}

// asuppercase, aslowercase () -> item of self's class.
// Where nothing is redefined a copy is converted in place.
Answer<Ref> withCase(const Self &self, void (*convert)(char *, std::size_t)) {
    const auto *family = self.ref().isStatic() ? nullptr : familyOf(self);
    if (family != nullptr && copiesItemsNatively(*family)) {
        const auto made = shallowCopy(self.ref());
        if (auto *body = bodyOf(made)) {
            convert(reinterpret_cast<char *>(body), headerOf(body)->size);
            return made;
        }
    }
    CopiedText text(textOfItem(self));
    if (!text) return raise(Error::noWorkArea);
    convert(reinterpret_cast<char *>(text.bytes()), text.view().size());
    return itemOfClass(self.classObject(), text.view());
}
Answer<Ref> asUpperCase(Self self) { return withCase(self, characters::toUpper); }
Answer<Ref> asLowerCase(Self self) { return withCase(self, characters::toLower); }

// indexofstring (start, object) -> position, 0 when it does not occur. Raises 3 when the start is not a position.
Answer<Count> indexOfString(Self self, Count start, Ref wanted) {
    if (start == 0 || start > sendSelf<Count>(SITE("size"), self)) return raise(Error::outOfBounds);
    const Operand value(wanted);
    if (value.failure()) return value.failure();
    const auto found = findBytes(textOfItem(self), value.bytes(), start - 1);
    return found == std::string_view::npos ? 0 : static_cast<Count>(found + 1);
}

// concat (object) -> item of `cobolpicx`. As long as self's bytes and the other's size together; a character that this
// cuts in half becomes a space.
Answer<Ref> concat(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto count = send<Count>(SITE("size"), other);
    const auto own = textOfItem(self);
    const auto length = own.size() + count;
    if (length > static_cast<std::size_t>(longestItem)) return raise(Error::tooLong);
    WorkArea joined(length);
    if (!joined) return raise(Error::noWorkArea);
    std::memset(joined.bytes(), ' ', length);
    if (!own.empty()) std::memcpy(joined.bytes(), own.data(), own.size());
    auto *rest = reinterpret_cast<char *>(joined.bytes()) + own.size();
    characters::copyCut(rest, count, value.bytes());
    return picXOfBytes({reinterpret_cast<const char *>(joined.bytes()), length});
}

// asseparatelines () -> ordered collection of items of `cobolpicx`. Empty lines are left out.
Answer<Ref> asSeparateLines(Self self) { return linesOfItem(self, nextLine); }

// ---- Characters -----------------------------------------------------------------------------------------------------

bool isPosition(Index position, std::size_t size) {
    return position >= 1 && static_cast<std::size_t>(position) <= size;
}

// at (position) -> character. Raises 3 outside the item.
Answer<char> at(Self self, Index position) {
    const auto text = textOfItem(self);
    if (!isPosition(position, text.size())) return raise(Error::outOfBounds);
    return text[static_cast<std::size_t>(position) - 1];
}

// atput (position, character). Raises 3 outside the item. A double-byte character turns self into an item that can
// hold it; bare bytes it does not fit (91).
Answer<void> atPut(Self self, Index position, Bytes character) {
    if (!isPosition(position, itemLength(self))) return raise(Error::outOfBounds);
    if (characters::lengthAt(character.address) != 1) {
        if (self.ref().isStatic()) return raise(Error::halfCharacter); // bare bytes cannot turn into anything
        CopiedText own(textOfItem(self));
        if (!own) return raise(Error::noWorkArea);
        const auto length = static_cast<Index>(own.view().size());
        const auto wide = send<Ref>(SITE("withlengthvalue"), CLASS("dbcspicx"), length, own.text());
        if (wide) send(SITE("atput"), wide, position, character);
        turnInto(self, wide);
        return {};
    }
    const auto item = itemOf(self);
    if (!isPosition(position, item.size())) return raise(Error::outOfBounds);
    std::memcpy(&item[static_cast<std::size_t>(position) - 1], character.address, 1);
    return {};
}

// setvalue (value). Double-byte characters turn self into an item that can hold them.
void setValue(Self self, Bytes value) {
    const auto length = static_cast<Index>(itemOf(self).size());
    if (!self.ref().isStatic() && anyDoubleByte(length, value)) {
        turnInto(self, send<Ref>(SITE("withlengthvalue"), CLASS("dbcspicx"), length, value));
        return;
    }
    const auto item = itemOf(self);
    if (!item.empty()) std::memmove(item.data(), value.address, item.size());
}

// ---- Conversions and queries ----------------------------------------------------------------------------------------

// aspicx () -> object. A copy; of bare bytes, an object that holds them.
Answer<Ref> asPicX(Self self) {
    if (self.ref().isStatic()) return itemOfClass(self.classObject(), textOfItem(self));
    return sendSelf<Ref>(SITE("basiccopy"), self);
}

// ascharacterarray () -> character array.
Answer<Ref> asCharacterArray(Self self) {
    const auto size = sendSelf<Count>(SITE("size"), self);
    const auto *family = familyOf(self);
    const auto text = textOfItem(self);
    const auto isMixed = family != nullptr && countsCharacters(*family);
    return textOfClass(CLASS("chararry"), text.substr(0, isMixed ? characters::lengthOf(text, size) : size));
}

// description () -> character array. That of the text.
Ref description(Self self) {
    const Temporary text(sendSelf<Ref>(SITE("ascharacterarray"), self));
    return send<Ref>(SITE("description"), text.ref());
}

// display ().
void display(Self self) { host::display(textOfItem(self)); }

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<withLength>("withlength"),
    onClass<withLengthValue>("withlengthvalue"),
    onClass<baseClass>("baseclass"),
    onClass<containsCharacters>("containscharacters"),
    instance<equalByLengthValue>("equalbylengthvalue"),
    instance<lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<greaterThanOrEqualByLengthValue>("greaterthanorequalbylengthvalue"),
    instance<compareTo>("compareto"),
    instance<equalsIgnoreCase>("equalsignorecase"),
    instance<equalsIgnoreCaseByLengthValue>("equalsignorecasebylengthvalue"),
    instance<hash>("hash"),
    instance<trimBlanks>("trimblanks"),
    instance<asUpperCase>("asuppercase"),
    instance<asLowerCase>("aslowercase"),
    instance<indexOfString>("indexofstring"),
    instance<concat>("concat"),
    instance<asSeparateLines>("asseparatelines"),
    instance<at>("at"),
    instance<atPut>("atput"),
    instance<setValue>("setvalue"),
    instance<asPicX>("aspicx"),
    instance<asCharacterArray>("ascharacterarray"),
    instance<description>("description"),
    instance<display>("display"),
    instance<containsCharacters>("containscharacters"),
};

constexpr ClassDef definition{.program = program,
                              .name = "cobolpicx",
                              .super = "intrnsic",
                              .classData = fields<PicXClassData, intrinsicClassDataSize>(),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace

Answer<Ref> newPicX(std::string_view value) {
    CopiedText copy(value);
    if (!copy) return raise(Error::noWorkArea);
    const auto count = characters::count(value);
    return send<Ref>(SITE("withlengthvalue"), CLASS("picx"), static_cast<Index>(count), copy.text());
}

Answer<Ref> picXOfBytes(std::string_view value) {
    if (const auto made = nativeItemOfNewClass(CLASS("picx"), value)) return made;
    CopiedText copy(value);
    if (!copy) return raise(Error::noWorkArea);
    const auto ofLength = send<Ref>(SITE("newclass"), CLASS("picx"), static_cast<Index>(value.size()));
    const auto made = ofLength ? send<Ref>(SITE("new"), ofLength) : null;
    auto *body = bodyOf(made);
    if (body != nullptr) std::memcpy(body, copy.bytes(), std::min<std::size_t>(headerOf(body)->size, value.size()));
    return made;
}

Answer<Ref> linesOfItem(const Receiver &self, Piece (*nextLine)(std::string_view text, std::size_t from) noexcept) {
    Piece line;
    return listOfPieces(5, newPicX, [&] {
        const auto text = textOfItem(self);
        line = nextLine(text, line.end);
        return text.substr(line.begin, line.size());
    });
}

} // namespace oocobol
