// Intrinsic: the root of the classes that hold one COBOL data item of a fixed length.
//
// A class stands for one length, which is its class data; classes of other lengths are copies of the class object. The
// value is the instance's whole storage, so the same methods run over an element's bytes in a collection.
#include <algorithm>

#include "classes/intrinsics/intrinsic.h"
#include "classes/intrinsics/native_element.h"
#include "classes/text/mixed_text.h"
#include "classes/text/operand.h"

namespace oocobol {

Count itemLength(const Receiver &self) {
    if (self.ref().isStatic()) {
        const auto *family = familyOfClass(self.ref().withoutStatic());
        if (family != nullptr && hasFixedLength(*family)) {
            if (const auto *data = classDataOf<IntrinsicClassData>(self.ref().withoutStatic())) return data->length;
        }
    } else if (const auto *behaviour = behaviourOfObject(self.ref())) {
        if (!behaviour->classSide && hasFixedLength(*behaviour->family)) return classLengthOf(bodyOf(self.ref()));
    }
    return sendSelf<Count>(SITE("sizeinbytes"), self);
}

std::span<std::byte> itemOf(const Receiver &self) {
    const auto length = itemLength(self);
    if (self.ref().isStatic()) return {static_cast<std::byte *>(self.data()), length};
    auto *body = bodyOf(self.ref());
    if (body == nullptr) return {};
    return {body, std::min(length, headerOf(body)->size)};
}

bool isLibraryMessage(const Behaviour &behaviour, std::string_view message) noexcept {
    const auto *cell = cellFor(behaviourAt(behaviour.id), internSelector(message));
    const auto *method = cell != nullptr ? cell->method.load(std::memory_order_acquire) : nullptr;
    return method != nullptr && method->library;
}

namespace {

bool makesNatively(Ref classObject) {
    const auto *family = familyOfClass(classObject);
    return family != nullptr && makesItemsNatively(*family);
}

Ref makeItem(Ref classObject, std::string_view value) {
    const auto length = classDataOf<IntrinsicClassData>(classObject)->length;
    if (length != value.size() || length > static_cast<Count>(longestItem)) return null;
    const auto made = createIndexedInstance(classObject, length);
    auto *body = bodyOf(made);
    if (body != nullptr && length != 0) std::memcpy(body, value.data(), length);
    return made;
}

// Nothing when an item of single-byte text is to hold double-byte characters: `setvalue` makes another one of it.
Ref makeItemUnlessMixed(Ref classObject, std::string_view value) {
    if (value.size() > static_cast<std::size_t>(longestItem)) return null; // nobody has so many
    const auto isText = isLaidOutAs<PicXClassData>(*familyOfClass(classObject));
    return isText && characters::anyDoubleByte(value) ? null : makeItem(classObject, value);
}

} // namespace

bool makesClassesNatively(const ClassFamily &family) noexcept {
    const auto &classSide = *family.classSide;
    return isPristine(classSide, {"newclass", "setlength"}) && isLibraryMessage(classSide, "maximumsize") &&
           isLibraryMessage(classSide, "basiccopy") && isLibraryMessage(classSide, "resetcache");
}

Ref nativeItemOfNewClass(Ref classObject, std::string_view value) noexcept {
    if (!makesNatively(classObject)) return null;
    const auto &family = *familyOfClass(classObject);
    const auto longest = isLaidOutAs<PicXClassData>(family) ? longestItem : longestNumber;
    if (value.size() > static_cast<std::size_t>(longest) || !makesClassesNatively(family)) return null;
    const auto made = shallowCopy(classObject);
    auto *data = const_cast<IntrinsicClassData *>(classDataOf<IntrinsicClassData>(made));
    if (data == nullptr) return null;
    data->length = static_cast<Count>(value.size());
    const auto item = makeItem(made, value);
    tieClass(made, item);
    return item;
}

Answer<Ref> itemOfNewClass(Ref classObject, std::string_view value) {
    if (!characters::anyDoubleByte(value)) {
        if (const auto made = nativeItemOfNewClass(classObject, value)) return made;
    }
    const auto made = send<Ref>(SITE("newclass"), classObject, static_cast<Index>(value.size()));
    if (!made) return null;
    return itemOfClass(made, value);
}

Answer<Ref> itemOfClass(Ref classObject, std::string_view value) {
    if (makesNatively(classObject)) {
        if (const auto made = makeItemUnlessMixed(classObject, value)) return made;
    }
    // The class reads as many bytes as its items have, or as many characters, whatever was asked for when it was made.
    const auto *data = classDataOf<IntrinsicClassData>(classObject);
    const auto length = std::max<std::size_t>(data != nullptr ? data->length : 0, value.size());
    WorkArea copy(length * (characters::mayBeDoubleByte() ? characters::longest : 1));
    if (!copy) return raise(Error::noWorkArea);
    std::memset(copy.bytes(), ' ', copy.size());
    if (!value.empty()) std::memcpy(copy.bytes(), value.data(), value.size());
    return send<Ref>(SITE("withvalue"), classObject, copy.text());
}

Count comparedLength(Ref itemTemplate, Count bytes) noexcept {
    if (const auto *data = classDataOf<DoubleByteClassData>(itemTemplate)) return data->characters;
    const auto *family = familyOfClass(itemTemplate);
    return family != nullptr && isLaidOutAs<MixedTextFields>(*family) ? 1 : bytes;
}

Count lengthOfGreaterThan(Ref itemTemplate, Count bytes, const std::byte *value) noexcept {
    const auto *family = familyOfClass(itemTemplate);
    if (family == nullptr || !isLaidOutAs<PicXClassData>(*family) || countsCharacters(*family))
        return comparedLength(itemTemplate, bytes);
    const auto [count, endsInHalf] = characters::counted({reinterpret_cast<const char *>(value), bytes});
    return static_cast<Count>(count - endsInHalf);
}

namespace {

using ClassSelf = ClassSide<IntrinsicClassData>;
using Self = Receiver;

// ---- Classes ------------------------------------------------------------------------------------------------------

// newclass (length) -> class. Raises 30 above the class's maximum size. Whatever stands behind the length in its area
// travels on with it.
Answer<Ref> newClass(ClassSelf self, Element length) {
    if (sendSelf<Index>(SITE("maximumsize"), self) < numberAt(length)) return raise(Error::tooLong);
    const auto made = sendSelf<Ref>(SITE("basiccopy"), self);
    if (!made) return raise(Error::noInstance);
    send(SITE("setlength"), made, length);
    return made;
}

// setlength (length). size, sizeinbytes () -> count. maximumsize () -> number.
void setLength(ClassSelf self, Count length) { self->length = length; }
Count classLength(ClassSelf self) { return self->length; }
Count maximumSize(ClassSelf) { return static_cast<Count>(longestItem); }

// storingobjects () -> flag. Instances hold data, not references.
bool storingObjects(ClassSelf) { return false; }

// new () -> object. Raises 23 when none could be made.
Answer<Ref> newInstance(ClassSelf self) {
    const auto *family = familyOfClass(self.ref());
    const auto asksAgain = family != nullptr && countsCharacters(*family);
    const auto length = asksAgain ? sendSelf<Count>(SITE("sizeinbytes"), self) : Count{self->length};
    const auto made = sendSelf<Ref>(SITE("newindexedinstance"), self, length);
    if (!made) return raise(Error::noInstance);
    return made;
}

// withvalue (value) -> object. For `intrinsic` itself ends in implementedbysubclass.
Answer<Ref> withValue(ClassSelf self, Bytes value) {
    if (self.ref() == CLASS("intrnsic")) return pass(SITE("implementedbysubclass"));
    if (makesNatively(self.ref())) {
        if (const auto made = makeItemUnlessMixed(self.ref(), {value.address, self->length})) return made;
    }
    const auto made = sendSelf<Ref>(SITE("new"), self);
    if (made) send(SITE("setvalue"), made, value);
    return made;
}

// ---- Data descriptions --------------------------------------------------------------------------------------------

// The digit count stands behind the length, so that an argument that carries one carries both.
struct LengthAndDigits {
    Count length = 0;
    Count digits = 0;
};

Count alphanumericLength(std::uint8_t first, std::uint8_t second) {
    const Count low = first & 0x1F;
    return (first & 0x80) == 0 ? low + 1 : low * 256 + second + 1;
}

LengthAndDigits numericLength(std::uint8_t first, std::uint8_t second) {
    const Count low = first & 0x1F;
    if (low < 19) return {low + 1, (second & 0x1FU) + 1};
    return {low + (second & 0x1CU) - 19, (second & 3U) + 32};
}

// getclassfromdatadescription (description, numeric flag) -> class. Null where no class stands for it.
Ref getClassFromDataDescription(ClassSelf self, Bytes description, bool isNumeric) {
    std::uint8_t bytes[2] = {};
    const auto isShort = (description.address[0] & 0x80) == 0;
    std::memcpy(bytes, description.address, isShort ? 1 : 2);
    if (!isNumeric) return send<Ref>(SITE("newclass"), CLASS("picx"), alphanumericLength(bytes[0], bytes[1]));

    constexpr std::uint8_t isBinaryOrPacked = 0x40, isPacked = 0x60;
    const auto first = static_cast<std::uint8_t>(isShort ? bytes[0] & 0x0F : bytes[0]);
    const std::uint8_t second = isShort ? 0x91 : bytes[1];
    const auto length = numericLength(first, second);
    auto &find = SITE("getclassfromname");
    if ((first & isBinaryOrPacked) == 0)
        return sendSelf<Ref>(find, self, Bytes{"pic9display"}, Bytes{"pic9disp"}, length);
    if ((second & isPacked) == 0) return send<Ref>(SITE("newclass"), CLASS("compx"), length);
    return sendSelf<Ref>(find, self, Bytes{"cobolcomp3"}, Bytes{"comp3"}, length);
}

// getclassfromname (class name, class program, length) -> class. Answers nothing when there is no such program.
void getClassFromName(ClassSelf, Returning answer, Optional<Bytes>, Name classProgram, Element length) {
    const auto found = classForProgram(classProgram.view());
    if (found) answer.put(send<Ref>(SITE("newclass"), found, length));
}

// ---- The value ----------------------------------------------------------------------------------------------------

// size, sizeinbytes () -> count. The class's.
Count size(Self self) {
    const auto *behaviour = behaviourOfObject(self.ref());
    if (behaviour != nullptr && hasFixedLength(*behaviour->family) &&
        isPristine(*behaviour->family->classSide, {"size"}))
        return classLengthOf(bodyOf(self.ref()));
    return send<Count>(SITE("size"), self.classObject());
}
Count sizeInBytes(Self self) {
    const auto *behaviour = behaviourOfObject(self.ref());
    if (behaviour != nullptr && hasFixedLength(*behaviour->family)) return classLengthOf(bodyOf(self.ref()));
    return send<Count>(SITE("sizeinbytes"), self.classObject());
}

// getvalue () -> the bytes. setvalue (bytes). getaddress () -> address of the first byte.
void getValue(Self self, Returning value) {
    const auto item = itemOf(self);
    value.store(item.data(), item.size());
}
void setValue(Self self, Bytes value) {
    const auto item = itemOf(self);
    if (!item.empty()) std::memmove(item.data(), value.address, item.size());
}
Address getAddress(Self self) { return itemOf(self).data(); }

bool countsCharacters(Ref object) {
    const auto *behaviour = behaviourOfObject(object.withoutStatic());
    return behaviour != nullptr && behaviour->classSide == object.isStatic() &&
           oocobol::countsCharacters(*behaviour->family);
}

// What an element needs: the value's length, or the room for any where that depends on the characters.
std::size_t elementWidth(const Self &self) {
    if (!countsCharacters(self.ref())) return itemLength(self);
    auto *body = bodyOf(self.ref());
    return body != nullptr ? headerOf(body)->size : itemWidth(self.ref().withoutStatic());
}

// allocateelement, allocateelements (count) -> address, zero-filled; null when it cannot be had. A negative count ends
// in invalidparameter.
Address allocateElement(Self self) { return allocate(elementWidth(self)); }
Answer<Address> allocateElements(Self self, Index count) {
    if (count < 0) return pass(SITE("invalidparameter"));
    return allocate(static_cast<std::size_t>(count) * elementWidth(self));
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

// What the method that compares takes as the length of the value.
enum class Length { ownKind, characters };

// The other's size; but in characters where the method counts these, and all of the bytes of a text that counts its
// characters where it does not.
Index comparedLength(const Self &self, Ref other, std::string_view value, Length kind) {
    const auto size = send<Count>(SITE("size"), other);
    const auto [count, endsInHalf] = characters::counted(value);
    if (kind == Length::characters || countsCharacters(self.ref()))
        return static_cast<Index>(std::min<std::size_t>(size, count - endsInHalf));
    const auto isMixed = isMixedText(other) || countsCharacters(other);
    return static_cast<Index>(isMixed ? value.size() : std::min<std::size_t>(size, value.size()));
}

// By the method that compares with a length and bytes. It may be the program's own, so it gets a copy.
Answer<bool> compare(const Self &self, Ref other, oops_site &byLengthValue, Length kind = Length::ownKind) {
    Operand value(other, Operand::Access::copied);
    if (value.failure()) return value.failure();
    const auto length = comparedLength(self, other, value.bytes(), kind);
    return sendSelf<bool>(byLengthValue, self, length, value.element());
}

// The one comparison of text that takes its length in characters, whatever text it is sent to.
Length kindOfGreaterThan(const Self &self) {
    const auto *data = classDataOf<PicXClassData>(classOf(self.ref()));
    return data != nullptr ? Length::characters : Length::ownKind;
}

// lessthan, greaterthan, equal, lessthanorequal, greaterthanorequal (object) -> flag.
Answer<bool> lessThan(Self self, Ref other) { return compare(self, other, SITE("lessthanbylengthvalue")); }
Answer<bool> greaterThan(Self self, Ref other) {
    return compare(self, other, SITE("greaterthanbylengthvalue"), kindOfGreaterThan(self));
}
Answer<bool> equal(Self self, Ref other) { return compare(self, other, SITE("equalbylengthvalue")); }
Answer<bool> lessThanOrEqual(Self self, Ref other) {
    return compare(self, other, SITE("lessthanorequalbylengthvalue"));
}
Answer<bool> greaterThanOrEqual(Self self, Ref other) {
    return compare(self, other, SITE("greaterthanorequalbylengthvalue"));
}

// lessthanbylengthvalue, greaterthanbylengthvalue, equalbylengthvalue (length, value) -> flag. End in
// implementedbysubclass.
Answer<bool> leftToSubclass(Self, Index, Element) { return pass(SITE("implementedbysubclass")); }

// lessthanorequalbylengthvalue, greaterthanorequalbylengthvalue (length, value) -> flag.
bool lessThanOrEqualByLengthValue(Self self, Index length, Element value) {
    return sendSelf<bool>(SITE("lessthanbylengthvalue"), self, length, value) ||
           sendSelf<bool>(SITE("equalbylengthvalue"), self, length, value);
}
bool greaterThanOrEqualByLengthValue(Self self, Index length, Element value) {
    return sendSelf<bool>(SITE("greaterthanbylengthvalue"), self, length, value) ||
           sendSelf<bool>(SITE("equalbylengthvalue"), self, length, value);
}

// ---- Queries ------------------------------------------------------------------------------------------------------

// description () -> character array.
Ref description(Self self) { return sendSelf<Ref>(SITE("ascharacterarray"), self); }

// isindexed, iscomponent () -> flag.
bool isIndexed(Self) { return true; }
bool isComponent(Self) { return false; }

constexpr std::array methods{
    onClass<newClass>("newclass"),
    onClass<setLength>("setlength"),
    onClass<classLength>("size"),
    onClass<classLength>("sizeinbytes"),
    onClass<maximumSize>("maximumsize"),
    onClass<storingObjects>("storingobjects"),
    onClass<newInstance>("new"),
    onClass<withValue>("withvalue"),
    onClass<getClassFromDataDescription>("getclassfromdatadescription"),
    onClass<getClassFromName>("getclassfromname"),
    instance<size>("size"),
    instance<sizeInBytes>("sizeinbytes"),
    instance<getValue>("getvalue"),
    instance<setValue>("setvalue"),
    instance<getAddress>("getaddress"),
    instance<allocateElement>("allocateelement"),
    instance<allocateElements>("allocateelements"),
    instance<lessThan>("lessthan"),
    instance<greaterThan>("greaterthan"),
    instance<equal>("equal"),
    instance<lessThanOrEqual>("lessthanorequal"),
    instance<greaterThanOrEqual>("greaterthanorequal"),
    instance<leftToSubclass>("lessthanbylengthvalue"),
    instance<leftToSubclass>("greaterthanbylengthvalue"),
    instance<leftToSubclass>("equalbylengthvalue"),
    instance<lessThanOrEqualByLengthValue>("lessthanorequalbylengthvalue"),
    instance<greaterThanOrEqualByLengthValue>("greaterthanorequalbylengthvalue"),
    instance<description>("description"),
    instance<isIndexed>("isindexed"),
    instance<isComponent>("iscomponent"),
};

constexpr ClassDef definition{.program = "intrnsic",
                              .name = "intrinsic",
                              .super = "base",
                              .classData = fields<IntrinsicClassData, intrinsicClassDataSize>(),
                              .instanceData = inheritedFields(itemDataSize),
                              .indexed = {true, 0},
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
