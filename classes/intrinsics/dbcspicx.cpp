// Double-byte PIC X: an item of a number of characters, each of one or two bytes.
//
// The item has room for two bytes a character, unless the environment has single bytes only; its value are the bytes
// that its first characters take, and behind them are spaces. How much room there is follows the environment at the
// moment the class is asked.
#include <algorithm>

#include "classes/intrinsics/intrinsic.h"
#include "classes/text/mixed_text.h"
#include "classes/text/operand.h"
#include "classes/text/strings.h"

namespace oocobol {

namespace {

constexpr char program[] = "dbcspicx";

using ClassSelf = ClassSide<DoubleByteClassData>;
using Self = Receiver;

Count roomFor(Count characterCount) {
    const auto bytes = std::uint64_t{characterCount} * (characters::mayBeDoubleByte() ? characters::longest : 1);
    return static_cast<Count>(std::min<std::uint64_t>(bytes, UINT32_MAX));
}

void measure(DoubleByteClassData &data, Count characterCount) {
    data.characters = characterCount;
    data.length = roomFor(characterCount);
}

// ---- Classes ------------------------------------------------------------------------------------------------------

// initializeclass (). For one character. setlength (characters).
void initializeClass(ClassSelf self) {
    sendSuper(SUPER("initializeclass"), self);
    measure(*self, 1);
}
void setLength(ClassSelf self, Count length) { measure(*self, length); }

// baseclass () -> class.
Ref baseClass(ClassSelf) { return CLASS("dbcspicx"); }

// size () -> count of characters. sizeinbytes () -> count.
Count classSize(ClassSelf self) { return self->characters; }
Count classSizeInBytes(ClassSelf self) {
    measure(*self, self->characters);
    return self->length;
}

// ---- The value ----------------------------------------------------------------------------------------------------

// Self's class, which is not told that anybody has asked.
Ref classFor(const Self &self) {
    if (self.ref().isStatic()) return self.ref().withoutStatic();
    auto *body = bodyOf(self.ref());
    return body != nullptr ? referenceAt(headerOf(body)->classIndex) : null;
}

Count characterCount(const Self &self) {
    const auto ofClass = classFor(self);
    const auto *family = familyOfClass(ofClass);
    if (family == nullptr) return 0;
    if (!isPristine(*family->classSide, {"size"})) return send<Count>(SITE("size"), ofClass);
    return classDataOf<DoubleByteClassData>(ofClass)->characters;
}

// All the room there is, good until the next message.
std::span<char> roomOf(const Self &self) {
    if (self.ref().isStatic()) {
        const auto *data = classDataOf<DoubleByteClassData>(classFor(self));
        return {static_cast<char *>(self.data()), data != nullptr ? roomFor(data->characters) : 0};
    }
    auto *body = bodyOf(self.ref());
    if (body == nullptr) return {};
    return {reinterpret_cast<char *>(body), headerOf(body)->size};
}

// The first characters, good until the next message.
std::string_view textOf(const Self &self) {
    const auto count = characterCount(self);
    const auto room = roomOf(self);
    const std::string_view all(room.data(), room.size());
    return all.substr(0, characters::lengthOf(all, count));
}

// Bytes into the room, with spaces behind them.
void store(std::span<char> room, std::string_view text) {
    const auto taken = characters::copyCut(room.data(), room.size(), text);
    std::fill(room.begin() + static_cast<std::ptrdiff_t>(taken), room.end(), ' ');
}

// size () -> count of characters. sizeinbytes () -> count of the bytes that they take.
Count size(Self self) { return characterCount(self); }
Count sizeInBytes(Self self) { return static_cast<Count>(textOf(self).size()); }

// setvalue (value). As many characters, and of a class that was given another length no more than there is room for.
void setValue(Self self, Bytes value) {
    const auto count = std::size_t{characterCount(self)};
    const auto room = roomOf(self);
    store(room, {value.address, characters::lengthOf(value.address, std::min(count, room.size()))});
}

// ---- Characters -----------------------------------------------------------------------------------------------------

// Where a character starts; nowhere outside the item.
std::size_t offsetAt(const Self &self, Index position) {
    if (position < 1 || static_cast<Count>(position) > characterCount(self)) return nowhere;
    const auto text = textOf(self);
    const auto offset = characters::lengthOf(text, static_cast<std::size_t>(position) - 1);
    return offset < text.size() ? offset : nowhere;
}

// How wide an area must be for any of the characters.
std::size_t widest(const Self &self) { return characters::anyDoubleByte(textOf(self)) ? characters::longest : 1; }

// at (position) -> character, of one or two bytes. Raises 3 outside the item.
Answer<void> at(Self self, Returning character, Index position) {
    const auto offset = offsetAt(self, position);
    if (offset == nowhere) return raise(Error::outOfBounds).answering(widest(self));
    const auto found = textOf(self).substr(offset);
    character.store(found.data(), characters::lengthAt(found));
    return {};
}

// atput (position, character). Raises 3 outside the item. The characters keep their widths.
Answer<void> atPut(Self self, Index position, Bytes character) {
    const auto offset = offsetAt(self, position);
    if (offset == nowhere) return raise(Error::outOfBounds);
    const auto text = textOf(self);
    const auto behind = text.substr(offset + characters::lengthAt(text.substr(offset)));
    WorkArea changed(roomOf(self).size() + characters::longest);
    if (!changed) return raise(Error::noWorkArea);
    auto *end = reinterpret_cast<char *>(changed.bytes());
    for (const auto part :
         {text.substr(0, offset), {character.address, characters::lengthAt(character.address)}, behind})
        end = std::copy(part.begin(), part.end(), end);
    store(roomOf(self), {changed.text().address, static_cast<std::size_t>(end - changed.text().address)});
    return {};
}

// indexofstring (object, start) -> position, 0 when it does not occur. Raises 3 when the start is not a position.
Answer<Index> indexOfString(Self self, Ref wanted, Index start) {
    if (offsetAt(self, start) == nowhere) return raise(Error::outOfBounds);
    const Operand value(wanted);
    if (value.failure()) return value.failure();
    const auto from = offsetAt(self, start);
    if (from == nowhere) return 0;
    const auto text = textOf(self);
    const auto found = characters::find(text, value.bytes(), from);
    if (found == std::string_view::npos) return 0;
    return static_cast<Index>(characters::count(text.substr(0, found))) + 1;
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

// compareto (object) -> -1, 0 or 1.
Answer<Index> compareTo(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto order = comparePadded(textOf(self), value.bytes());
    return (order > 0) - (order < 0);
}

// hash () -> count. Spaces of both widths at the end do not matter.
Count hash(Self self) { return characters::hash(textOf(self)); }

// ---- Other texts made of it -----------------------------------------------------------------------------------------

// An item of a class of its own, by `newclass` and `withvalue`. The bytes may lie in an object.
Answer<Ref> mixedItem(std::string_view text) {
    const auto count = static_cast<Count>(characters::count(text));
    if (const auto made = nativeMixedItem(CLASS("dbcspicx"), count, text)) return made;
    WorkArea copy(text.size() + 1);
    if (!copy) return raise(Error::noWorkArea);
    store({reinterpret_cast<char *>(copy.bytes()), copy.size()}, text);
    const auto made = send<Ref>(SITE("newclass"), CLASS("dbcspicx"), count);
    if (!made) return null;
    return send<Ref>(SITE("withvalue"), made, copy.text());
}

// trimblanks () -> item of `dbcspicx`, without spaces of either width around. One space when there is nothing else.
Answer<Ref> trimBlanks(Self self) {
    const auto kept = characters::withoutSpacesAround(textOf(self));
    return mixedItem(kept.empty() ? std::string_view(" ") : kept);
}

// concat (object) -> item of `cobolpicx`. As many bytes as both have characters; a character that this cuts in half
// becomes a space.
Answer<Ref> concat(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto count = std::size_t{send<Count>(SITE("size"), other)} + characterCount(self);
    if (count > static_cast<std::size_t>(longestItem)) return raise(Error::tooLong);
    const auto own = textOf(self);
    const auto bytes = own.size() + value.bytes().size();
    WorkArea joined(std::max(bytes, count));
    if (!joined) return raise(Error::noWorkArea);
    auto *text = reinterpret_cast<char *>(joined.bytes());
    std::memset(text, ' ', joined.size());
    std::copy(own.begin(), own.end(), text);
    const auto others = value.bytes();
    std::copy(others.begin(), others.end(), text + own.size());
    characters::copyCut(text, count, {text, joined.size()});
    return picXOfBytes({text, count});
}

// containsdbcscharacters () -> flag.
bool containsDoubleByte(Self self) { return characters::anyDoubleByte(textOf(self)); }

// asseparatelines () -> ordered collection of items of `cobolpicx`. Empty lines are left out.
Answer<Ref> asSeparateLines(Self self) { return linesOfItem(self, characters::nextLine); }

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<setLength>("setlength"),
    onClass<baseClass>("baseclass"),
    onClass<classSize>("size"),
    onClass<classSizeInBytes>("sizeinbytes"),
    instance<size>("size"),
    instance<sizeInBytes>("sizeinbytes"),
    instance<setValue>("setvalue"),
    instance<at>("at"),
    instance<atPut>("atput"),
    instance<indexOfString>("indexofstring"),
    instance<compareTo>("compareto"),
    instance<hash>("hash"),
    instance<trimBlanks>("trimblanks"),
    instance<concat>("concat"),
    instance<containsDoubleByte>("containsdbcscharacters"),
    instance<asSeparateLines>("asseparatelines"),
};

constexpr ClassDef definition{.program = program,
                              .name = "dbcspicx",
                              .super = "picx",
                              .classData = fields<DoubleByteClassData, 12>(),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace

Ref nativeMixedItem(Ref classObject, Count characterCount, std::string_view value) noexcept {
    const auto *family = familyOfClass(classObject);
    if (family == nullptr || !countsCharacters(*family) || !copiesItemsNatively(*family) ||
        !makesClassesNatively(*family) || characterCount > static_cast<Count>(longestItem))
        return null;
    const auto made = shallowCopy(classObject);
    auto *data = const_cast<DoubleByteClassData *>(classDataOf<DoubleByteClassData>(made));
    if (data == nullptr) return null;
    measure(*data, characterCount);
    const auto item = createIndexedInstance(made, data->length);
    if (auto *body = bodyOf(item)) store({reinterpret_cast<char *>(body), data->length}, value);
    tieClass(made, item);
    return item;
}

} // namespace oocobol
