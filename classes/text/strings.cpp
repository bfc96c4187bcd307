#include "classes/text/strings.h"

#include <algorithm>

#include "classes/intrinsics/intrinsic.h"
#include "classes/text/double_byte.h"
#include "classes/text/operand.h"
#include "classes/text/text_algorithms.h"
#include "host/host.h"

namespace oocobol {

// ---- Making texts -------------------------------------------------------------------------------------------------

namespace {

// Whether a text of the class may be made without running code from outside. Where double-byte characters may come, the
// class for single bytes has to look at the text first.
bool makesNatively(Ref classObject) noexcept {
    const auto *family = familyOfClass(classObject);
    if (family == nullptr || family->anyInstanceInitialiser ||
        !isPristine(*family->classSide, {"new", "withlengthvalue"}) ||
        !isPristine(*family->instances, {"initialize", "setvalue", "malloc"}))
        return false;
    if (isLaidOutAs<ByteArrayFields>(*family)) return isPristine(*layoutOf<ByteArrayFields>->super->classSide, {"new"});
    return isLaidOutAs<CharacterArrayFields>(*family) && !doubleByte::mayOccur() &&
           isPristine(*layoutOf<CharacterArrayFields>->super->classSide, {"new"});
}

// The object and its storage in one go; null when there is no memory.
Ref makeText(Ref classObject, std::size_t size) noexcept {
    auto *storage = static_cast<std::byte *>(allocate(size + 1));
    if (storage == nullptr) return null;
    const auto made = createInstance(classObject);
    auto *fields = changeableFields<SequencedFields>(made);
    if (fields == nullptr) {
        release(storage);
        return null;
    }
    fields->storage = storage;
    fields->elementSize = 1;
    fields->elementTemplate = CLASS("picx");
    fields->slotCount = static_cast<Count>(size);
    fields->storageLength = static_cast<Count>(size);
    return made;
}

} // namespace

NewText::NewText(Ref classObject, std::size_t wanted) noexcept
    : ofClass(classObject),
      made(wanted <= longestText && makesNatively(classObject) ? makeText(classObject, wanted) : null), size(wanted),
      copy(made || wanted > longestText ? 0 : wanted) {}

char *NewText::area() noexcept {
    if (!made) return copy && copy.size() == size ? reinterpret_cast<char *>(copy.bytes()) : nullptr;
    auto *fields = changeableFields<SequencedFields>(made);
    return fields != nullptr && fields->slotCount == size ? reinterpret_cast<char *>(fields->storage) : nullptr;
}

NewText &NewText::append(std::string_view bytes) noexcept {
    const auto taken = std::min(bytes.size(), size - filled);
    auto *into = area();
    if (into != nullptr && taken != 0) std::memcpy(into + filled, bytes.data(), taken);
    filled += taken;
    return *this;
}

NewText &NewText::convert(void (*conversion)(char *text, std::size_t length)) noexcept {
    if (auto *text = area()) conversion(text, filled);
    return *this;
}

Answer<Ref> NewText::finish() noexcept {
    if (made) return made;
    if (size > longestText) return raise(Error::noInstance);
    if (!copy) return raise(Error::noWorkArea);
    return send<Ref>(SITE("withlengthvalue"), ofClass, static_cast<Index>(size), copy.text());
}

Answer<Ref> textOfClass(Ref classObject, std::string_view bytes) noexcept {
    return NewText(classObject, bytes.size()).append(bytes).finish();
}

namespace strings {

namespace {

std::string_view charactersOf(const Self &self) noexcept { return oocobol::charactersOf(*self); }

std::string_view textAt(Index length, Bytes value) noexcept {
    return {value.address, static_cast<std::size_t>(length > 0 ? length : 0)};
}

bool isPosition(Index position, std::size_t size) noexcept {
    return position >= 1 && static_cast<std::size_t>(position) <= size;
}

} // namespace

// ---- Class methods ------------------------------------------------------------------------------------------------

Ref blank(Ref classObject, Index length) noexcept {
    return makesNatively(classObject) ? makeText(classObject, static_cast<std::size_t>(length)) : null;
}

Ref initialized(Ref made, Index length) {
    if (!made) return null;
    send(SITE("initialize"), made, length, CLASS("picx"), Count{1});
    const auto *fields = fieldsOf<SequencedFields>(made);
    if (fields == nullptr || fields->slotCount == static_cast<Count>(length)) return made;
    return send<Ref>(SITE("finalize"), made); // without storage; that has been raised
}

Ref withLength(ClassSelf self, Index length) { return sendSelf<Ref>(SITE("new"), self, length); }
Ref ofValues(ClassSelf self, Ref, Index count) { return sendSelf<Ref>(SITE("new"), self, count); }
Answer<Ref> ofReferences(ClassSelf, Index) { return pass(SITE("shouldnotimplement")); }
Ref withAll(ClassSelf, Ref other) { return send<Ref>(SITE("copy"), other); }

Answer<Ref> withLengthValue(ClassSelf self, Index length, Bytes value) {
    if (length >= 0) {
        if (const auto made = blank(self.ref(), length)) {
            auto *fields = changeableFields<SequencedFields>(made);
            if (fields != nullptr && length != 0)
                std::memcpy(fields->storage, value.address, static_cast<std::size_t>(length));
            return made;
        }
    }
    const auto made = sendSelf<Ref>(SITE("new"), self, length);
    if (made) send(SITE("setvalue"), made, value);
    return made;
}

Answer<Ref> withByteLengthValue(ClassSelf self, Index length, Bytes value) {
    return sendSelf<Ref>(SITE("withlengthvalue"), self, length, value);
}

Answer<Ref> fromBuffer(ClassSelf self, Index length, Bytes buffer) {
    while (length >= 1 && (buffer.address[length - 1] == ' ' || buffer.address[length - 1] == '\0')) --length;
    return sendSelf<Ref>(SITE("withlengthvalue"), self, length, buffer);
}

// What the caller gave has the terminator: there is no other bound.
Answer<Ref> withValue(ClassSelf self, Bytes value) {
    return textOfClass(self.ref(), {value.address, std::strlen(value.address)});
}
Answer<Ref> withSpaceTerminator(ClassSelf self, Bytes value) {
    const auto *end = static_cast<const char *>(rawmemchr(value.address, ' '));
    return textOfClass(self.ref(), {value.address, static_cast<std::size_t>(end - value.address)});
}
Answer<Ref> withSpaceOrNullTerminator(ClassSelf self, Bytes value) {
    const auto *end = strchrnul(value.address, ' ');
    return textOfClass(self.ref(), {value.address, static_cast<std::size_t>(end - value.address)});
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

namespace {

template <class Decide> auto compareWith(const Self &self, Ref other, Decide decide) -> Answer<decltype(decide(0))> {
    const Operand value(other);
    if (value.failure()) return value.failure();
    return decide(comparePadded(charactersOf(self), value.bytes()));
}

} // namespace

Answer<bool> equal(Self self, Ref other) {
    if (!send<bool>(SITE("containscharacters"), other)) return false;
    const Operand value(other);
    if (value.failure()) return value.failure();
    return equalPadded(charactersOf(self), value.bytes());
}

Answer<bool> lessThan(Self self, Ref other) {
    return compareWith(self, other, [](int order) { return order < 0; });
}
Answer<bool> greaterThan(Self self, Ref other) {
    return compareWith(self, other, [](int order) { return order > 0; });
}
Answer<bool> lessThanOrEqual(Self self, Ref other) {
    return compareWith(self, other, [](int order) { return order <= 0; });
}
Answer<bool> greaterThanOrEqual(Self self, Ref other) {
    return compareWith(self, other, [](int order) { return order >= 0; });
}
Answer<Index> compareTo(Self self, Ref other) {
    return compareWith(self, other, [](int order) -> Index { return (order > 0) - (order < 0); });
}

bool equalByLengthValue(Self self, Index length, Bytes value) {
    return equalPadded(charactersOf(self), textAt(length, value));
}
bool lessThanByLengthValue(Self self, Index length, Bytes value) {
    return comparePadded(charactersOf(self), textAt(length, value)) < 0;
}
bool greaterThanByLengthValue(Self self, Index length, Bytes value) {
    return comparePadded(charactersOf(self), textAt(length, value)) > 0;
}

bool equalsIgnoreCase(Self self, Ref other) {
    const Temporary own(sendSelf<Ref>(SITE("asuppercase"), self));
    const Temporary given(send<Ref>(SITE("asuppercase"), other));
    return send<bool>(SITE("equal"), own.ref(), given.ref());
}

bool equalsIgnoreCaseByLengthValue(Self self, Index length, Bytes value) {
    const Temporary given(send<Ref>(SITE("withlengthvalue"), self.classObject(), length, value));
    return sendSelf<bool>(SITE("equalsignorecase"), self, given.ref());
}

// ---- Reading and writing --------------------------------------------------------------------------------------------

void setValue(Self self, Bytes value) {
    if (self->slotCount != 0) std::memmove(self->storage, value.address, self->slotCount);
}

Answer<void> moveValue(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto bytes = value.bytes();
    const auto size = charactersOf(self).size();
    const auto taken = std::min(bytes.size(), size);
    if (taken != 0) std::memmove(self->storage, bytes.data(), taken);
    if (taken < size) std::memset(self->storage + taken, ' ', size - taken);
    return {};
}

void resetValue(Self self, Ref other) { turnInto(self, send<Ref>(SITE("copy"), other)); }

Answer<void> atPut(Self self, Index position, Bytes character) {
    if (!isPosition(position, self->slotCount)) return pass(SITE("errorinbounds"));
    std::memcpy(slotOf(*self, static_cast<Count>(position)), character.address, 1);
    return {};
}

void getValue(Self self, Returning value) {
    const auto text = charactersOf(self);
    value.store(text.data(), text.size());
}
void getValueZ(Self self, Returning value) {
    const auto size = charactersOf(self).size();
    getValue(self, value);
    if (value) value.address[size] = std::byte{0};
}
void asParameter(Self self, Returning value) {
    if (self->storage != nullptr) value.store(self->storage, std::size_t{self->slotCount} + 1);
}

namespace {

// From a 0-based position on, padded with spaces to the size.
void fill(Returning value, std::string_view text, std::size_t from, std::size_t size) {
    if (!value) return;
    const auto taken = from < text.size() ? std::min(size, text.size() - from) : 0;
    value.store(text.data() + from, taken);
    std::memset(value.address + taken, ' ', size - taken);
}

} // namespace

void getValueWithSize(Self self, Returning value, Index size) {
    if (size > 0) fill(value, charactersOf(self), 0, static_cast<std::size_t>(size));
}

Answer<void> getValueWithSizeAtPosition(Self self, Returning value, Index position, Index size) {
    if (size <= 0) return {};
    const auto text = charactersOf(self);
    const auto width = static_cast<std::size_t>(size);
    if (!isPosition(position, text.size() + 1)) {
        fill(value, {}, 0, width);
        return pass(SITE("errorinbounds")).answering(width);
    }
    fill(value, text, static_cast<std::size_t>(position) - 1, width);
    return {};
}

Address getAddress(Self self) { return self->storage; }
Count sizeInBytes(Self self) { return self->slotCount; }

// ---- Other texts made of it -----------------------------------------------------------------------------------------

Answer<Ref> concat(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto size = charactersOf(self).size();
    NewText joined(self.classObject(), size + value.bytes().size());
    return joined.append(charactersOf(self).substr(0, size)).append(value.bytes()).finish();
}

Ref concatZ(Self self, Bytes value) {
    const Temporary added(send<Ref>(SITE("withvalue"), self.classObject(), value));
    return sendSelf<Ref>(SITE("concat"), self, added.ref());
}

Answer<Ref> copyFromTo(Self self, Index from, Index to) {
    const auto text = charactersOf(self);
    if (to < from || !isPosition(from, text.size()) || !isPosition(to, text.size())) return pass(SITE("errorinbounds"));
    const auto start = static_cast<std::size_t>(from) - 1;
    return textOfClass(self.classObject(), text.substr(start, static_cast<std::size_t>(to) - start));
}

Answer<Count> indexOfSubcollection(Self self, Ref wanted, Index start) {
    if (!sendSelf<bool>(SITE("iscompatible"), self, wanted)) return pass(SITE("compatibilityerror"));
    const auto count = send<Count>(SITE("size"), wanted);
    if (count == 0) return raise(Error::emptySubcollection);
    if (start < 1) return pass(SITE("errorinbounds"));
    const Operand value(wanted);
    if (value.failure()) return value.failure();
    const auto text = charactersOf(self);
    const auto found = findBytes(text, value.bytes(), static_cast<std::size_t>(start) - 1);
    if (found == std::string_view::npos || count > text.size() - found) return 0;
    return static_cast<Count>(found + 1);
}

// A `basicgrow` that says it grew the storage and left it where it was has not.
Answer<Ref> growTo(Self self, Index size) {
    if (size < 0) return pass(SITE("invalidparameter"));
    if (static_cast<std::size_t>(size) > longestText) return raise(Error::noStorage);
    const auto *before = self->storage;
    if (!sendSelf<bool>(SITE("basicgrow"), self, size + 1)) return raise(Error::noStorage);
    const auto length = static_cast<Count>(size);
    if (self->storage == before && length > self->slotCount) return raise(Error::noStorage);
    self->slotCount = length;
    self->storageLength = length;
    return self.ref();
}

Answer<Ref> trimBlanks(Self self) { return textOfClass(self.classObject(), withoutSpacesAround(charactersOf(self))); }

Answer<Ref> asLowerCase(Self self) {
    const auto size = charactersOf(self).size();
    return NewText(self.classObject(), size).append(charactersOf(self)).convert(host::toLower).finish();
}
Answer<Ref> asUpperCase(Self self) {
    const auto size = charactersOf(self).size();
    return NewText(self.classObject(), size).append(charactersOf(self)).convert(host::toUpper).finish();
}

namespace {

// A list with a text for each piece that next() answers, up to an empty one. When memory is short there is no list, and
// what has been made is gone again.
template <class Next> Answer<Ref> listOfPieces(Index capacity, Ref ofClass, Next next) {
    const auto list = send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), capacity);
    if (!list) return null;
    Count size = 0;
    for (auto piece = next(); !piece.empty(); piece = next()) {
        const auto made = textOfClass(ofClass, piece);
        if (made.value) send(SITE("add"), list, made.value);
        if (made.value && send<Count>(SITE("size"), list) == ++size) continue;
        if (made.value) send<Ref>(SITE("finalize"), made.value);
        send<Ref>(SITE("deepfinalize"), list);
        if (made.failure) return made.failure;
        return null; // whoever could not do it has raised it
    }
    return list;
}

} // namespace

Answer<Ref> asSeparateLines(Self self) {
    Piece line;
    return listOfPieces(5, self.classObject(), [&] {
        const auto text = charactersOf(self);
        line = nextLine(text, line.end);
        return text.substr(line.begin, line.size());
    });
}

// Whether the array was filled to the end of the list.
static bool endsLike(Ref array, Ref list) {
    const auto size = send<Index>(SITE("size"), list);
    if (send<Index>(SITE("size"), array) != size) return false;
    return size == 0 || send<Ref>(SITE("at"), array, size) == send<Ref>(SITE("at"), list, size);
}

// Of a copy of the characters, as the program gets it.
Answer<Ref> asArrayOfSubstrings(Self self) {
    const auto length = sendSelf<Count>(SITE("sizeinbytes"), self);
    WorkArea copy(valueCapacity(self.ref(), length));
    if (!copy) return raise(Error::noWorkArea);
    sendSelf(SITE("getvalue"), self, copy.returning());
    const std::string_view text(copy.text().address, length);

    Piece word;
    const auto words = listOfPieces(10, self.classObject(), [&] {
        word = nextWord(text, word.end);
        return text.substr(word.begin, word.size());
    });
    if (!words.value) return words;
    const auto array = send<Ref>(SITE("asarray"), words.value);
    const auto isWhole = array && endsLike(array, words.value);
    send<Ref>(isWhole ? SITE("finalize") : SITE("deepfinalize"), words.value);
    if (isWhole || !array) return array;
    return send<Ref>(SITE("finalize"), array); // memory was short on the way, which has been raised
}

// ---- Conversions and queries ----------------------------------------------------------------------------------------

Count asHex(Self self) { return hexadecimalValue(charactersOf(self)); }
Count asComp5(Self self) { return decimalValue(charactersOf(self)); }

Ref asComp5Object(Self self) {
    return send<Ref>(SITE("withvalue"), CLASS("comp5"), sendSelf<Count>(SITE("ascomp5"), self));
}

Answer<Ref> asPicX(Self self) {
    const auto made = send<Ref>(SITE("newclass"), CLASS("picx"), sendSelf<Index>(SITE("size"), self));
    if (!made) return null;
    return itemOfClass(made, charactersOf(self));
}

Ref asOwnKind(Self self) { return sendSelf<Ref>(SITE("copy"), self); }

Ref asInternalFileName(Self self) {
    char name[host::fileNameSize];
    host::toInternalFileName(charactersOf(self), name);
    return send<Ref>(SITE("withvalue"), self.classObject(), Bytes{name});
}

Answer<Ref> description(Self self) {
    NewText quoted(self.classObject(), charactersOf(self).size() + 2);
    return quoted.append("\"").append(charactersOf(self)).append("\"").finish();
}

void display(Self self) { host::display(charactersOf(self)); }

Count hash(Self self) { return hashText(charactersOf(self)); }

bool isCompatible(Self, Ref other) { return send<bool>(SITE("containscharacters"), other); }
bool containsCharacters(Self) { return true; }

} // namespace strings
} // namespace oocobol
