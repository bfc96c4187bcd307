#include "classes/text/strings.h"

#include <algorithm>

#include "classes/intrinsics/intrinsic.h"
#include "classes/text/operand.h"
#include "classes/text/text_algorithms.h"
#include "classes/text/text_protocol.h"
#include "host/host.h"

namespace oocobol {

// ---- Making texts -------------------------------------------------------------------------------------------------

namespace {

// The fields of an instance that has been made here.
SequencedFields &fieldsOfMade(Ref made) noexcept { return *reinterpret_cast<SequencedFields *>(bodyOf(made)); }

bool makesNatively(const ClassFamily &family) noexcept {
    if (family.anyInstanceInitialiser || !isPristine(*family.classSide, {"new", "withlengthvalue"}) ||
        !isPristine(*family.instances, {"initialize", "setvalue", "malloc"}))
        return false;
    if (isLaidOutAs<CharacterArrayFields>(family))
        return isPristine(*layoutOf<CharacterArrayFields>->super->classSide, {"new"});
    return isLaidOutAs<ByteArrayFields>(family) && isPristine(*layoutOf<ByteArrayFields>->super->classSide, {"new"});
}

// The class side that was last found to make its texts natively.
constinit KnownBehaviour nativeMaker{};

[[gnu::noinline]] bool learnMaker(const Behaviour &behaviour) noexcept {
    const auto changes = maskChanges.load(std::memory_order_acquire);
    if (!behaviour.classSide || !makesNatively(*behaviour.family)) return false;
    nativeMaker.remember(behaviour.id, changes);
    return true;
}
// Whether a text of the class may be made without running code from outside.
[[gnu::always_inline]] inline bool makesNatively(Ref classObject) noexcept {
    const auto *behaviour = behaviourOfObject(classObject);
    return behaviour != nullptr && (nativeMaker.id() == behaviour->id || learnMaker(*behaviour));
}

// A text that has been made here, and where its characters lie.
struct MadeText {
    Ref object;
    char *characters = nullptr;
};

// The object and its storage in one go; null when there is no memory. The characters are whatever `memory` left there.
MadeText makeText(Ref classObject, std::size_t size, void *(*memory)(std::size_t) noexcept) noexcept {
    auto *storage = static_cast<std::byte *>(memory(size + 1));
    const auto made = storage != nullptr ? createInstance(classObject) : null;
    if (!made) {
        release(storage);
        return {};
    }
    auto &fields = fieldsOfMade(made);
    fields.storage = storage;
    fields.elementSize = 1;
    fields.elementTemplate = CLASS("picx");
    fields.slotCount = static_cast<Count>(size);
    fields.storageLength = static_cast<Count>(size);
    storage[size] = std::byte{0};
    return {made, reinterpret_cast<char *>(storage)};
}

// The text is given up before anybody has heard of it.
void unmake(Ref made) noexcept {
    release(fieldsOfMade(made).storage);
    cancelObject(made);
}

// Whether texts of the class may not have double-byte characters, and turn into texts that may.
bool yieldsToMixedText(Ref classObject) noexcept {
    const auto *family = familyOfClass(classObject);
    return family != nullptr && isLaidOutAs<CharacterArrayFields>(*family);
}

} // namespace

NewText::NewText(Ref classObject, std::size_t wanted) noexcept : ofClass(classObject), size(wanted) {
    if (wanted > longestText) return;
    if (makesNatively(classObject)) {
        const auto text = makeText(classObject, wanted, allocateUncleared);
        made = text.object;
        area = text.characters;
    }
    if (!made) takeWorkArea();
}

void NewText::takeWorkArea() noexcept {
    copy.emplace(size + 1);
    if (*copy) area = reinterpret_cast<char *>(copy->bytes());
}

// Double-byte characters were not to be expected: the text goes, and their class gets what was in it.
Answer<Ref> NewText::finishMixed() noexcept {
    const auto single = made;
    if (const auto wide = nativeMixedText(mixedTextClass(), {area, size})) {
        unmake(single);
        return wide;
    }
    const auto *bytes = area;
    takeWorkArea();
    if (*copy && size != 0) std::memcpy(area, bytes, size);
    made = null;
    unmake(single);
    return finish();
}

Answer<Ref> NewText::finish() noexcept {
    if (made) {
        if (filled < size) std::memset(area + filled, 0, size - filled); // what was to be appended had become shorter
        if (!characters::mayBeDoubleByte() || !yieldsToMixedText(ofClass)) return made;
        return characters::anyDoubleByte({area, size}) ? finishMixed() : made;
    }
    if (!copy) return raise(Error::noInstance);
    if (!*copy) return raise(Error::noWorkArea);
    if (yieldsToMixedText(ofClass)) return textFromBuffer(ofClass, area, size);
    return send<Ref>(SITE("withlengthvalue"), ofClass, static_cast<Index>(size), copy->text());
}

namespace {

// Of bytes that are known to be single characters. Null where messages have to make it.
Ref nativeText(Ref classObject, std::string_view bytes, std::string_view more = {}) noexcept {
    const auto size = bytes.size() + more.size();
    if (size > longestText || !makesNatively(classObject)) return null;
    const auto made = makeText(classObject, size, allocateUncleared);
    if (!made.object) return null;
    if (!bytes.empty()) std::memcpy(made.characters, bytes.data(), bytes.size());
    if (!more.empty()) std::memcpy(made.characters + bytes.size(), more.data(), more.size());
    return made.object;
}

} // namespace

Answer<Ref> textOfClass(Ref classObject, std::string_view bytes) noexcept {
    if (!characters::mayBeDoubleByte()) {
        if (const auto made = nativeText(classObject, bytes)) return made;
    }
    return NewText(classObject, bytes.size()).append(bytes).finish();
}

namespace strings {

namespace {

[[gnu::always_inline]] inline std::string_view charactersOf(const Self &self) noexcept {
    return oocobol::charactersOf(*self);
}

std::string_view textAt(Index length, Bytes value) noexcept {
    return {value.address, static_cast<std::size_t>(length > 0 ? length : 0)};
}

bool isPosition(Index position, std::size_t size) noexcept {
    return position >= 1 && static_cast<std::size_t>(position) <= size;
}

} // namespace

// ---- Class methods ------------------------------------------------------------------------------------------------

Ref blank(Ref classObject, Index length) noexcept {
    return makesNatively(classObject) ? makeText(classObject, static_cast<std::size_t>(length), allocate).object : null;
}

Ref initialized(Ref made, Index length) {
    if (!made) return null;
    send(SITE("initialize"), made, length, CLASS("picx"), Count{1});
    const auto *fields = fieldsOf<SequencedFields>(made);
    if (fields == nullptr || fields->slotCount == static_cast<Count>(length)) return made;
    return send<Ref>(SITE("finalize"), made); // without storage; that has been raised
}

Ref withLength(const ClassSelf &self, Index length) { return sendSelf<Ref>(SITE("new"), self, length); }
Ref ofValues(const ClassSelf &self, Ref, Index count) { return sendSelf<Ref>(SITE("new"), self, count); }
Answer<Ref> ofReferences(const ClassSelf &, Index) { return pass(SITE("shouldnotimplement")); }
Ref withAll(const ClassSelf &, Ref other) { return send<Ref>(SITE("copy"), other); }

Answer<Ref> withLengthValue(const ClassSelf &self, Index length, Bytes value) {
    if (!yieldsToMixedText(self.ref()) || !characters::anyDoubleByte(textAt(length, value))) {
        if (const auto made = length >= 0 ? nativeText(self.ref(), textAt(length, value)) : null) return made;
    }
    const auto made = sendSelf<Ref>(SITE("new"), self, length);
    if (made) send(SITE("setvalue"), made, value);
    return made;
}

Answer<Ref> withByteLengthValue(const ClassSelf &self, Index length, Bytes value) {
    if (const auto made = length >= 0 ? nativeText(self.ref(), textAt(length, value)) : null) return made;
    return sendSelf<Ref>(SITE("withlengthvalue"), self, length, value);
}

Answer<Ref> fromBuffer(const ClassSelf &self, Index length, Bytes buffer) {
    while (length >= 1 && (buffer.address[length - 1] == ' ' || buffer.address[length - 1] == '\0')) --length;
    return withByteLengthValue(self, length, buffer);
}

// What the caller gave has the terminator: there is no other bound.
Answer<Ref> withValue(const ClassSelf &self, Bytes value) {
    return textOfClass(self.ref(), {value.address, std::strlen(value.address)});
}
Answer<Ref> withSpaceTerminator(const ClassSelf &self, Bytes value) {
    const auto *end = static_cast<const char *>(rawmemchr(value.address, ' '));
    return textOfClass(self.ref(), {value.address, static_cast<std::size_t>(end - value.address)});
}
Answer<Ref> withSpaceOrNullTerminator(const ClassSelf &self, Bytes value) {
    const auto *end = strchrnul(value.address, ' ');
    return textOfClass(self.ref(), {value.address, static_cast<std::size_t>(end - value.address)});
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

Answer<bool> equal(const Self &self, Ref other) {
    if (!send<bool>(SITE("containscharacters"), other)) return false;
    const Operand value(other);
    if (value.failure()) return value.failure();
    return equalPadded(charactersOf(self), value.bytes());
}

bool equalByLengthValue(const Self &self, Index length, Bytes value) {
    return equalPadded(charactersOf(self), textAt(length, value));
}
bool lessThanByLengthValue(const Self &self, Index length, Bytes value) {
    return comparePadded(charactersOf(self), textAt(length, value)) < 0;
}
bool greaterThanByLengthValue(const Self &self, Index length, Bytes value) {
    return comparePadded(charactersOf(self), textAt(length, value)) > 0;
}

// ---- Reading and writing --------------------------------------------------------------------------------------------

void setValue(const Self &self, Bytes value) {
    if (const auto size = charactersOf(self).size(); size != 0) std::memmove(self->storage, value.address, size);
}

Answer<void> moveValue(const Self &self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto bytes = value.bytes();
    const auto size = charactersOf(self).size();
    const auto taken = std::min(bytes.size(), size);
    if (taken != 0) std::memmove(self->storage, bytes.data(), taken);
    if (taken < size) std::memset(self->storage + taken, ' ', size - taken);
    return {};
}

Answer<void> atPut(const Self &self, Index position, Bytes character) {
    if (!isPosition(position, charactersOf(self).size())) return pass(SITE("errorinbounds"));
    std::memcpy(slotOf(*self, static_cast<Count>(position)), character.address, 1);
    return {};
}

void asParameter(const Self &self, Returning value) {
    if (self->storage != nullptr) value.store(self->storage, charactersOf(self).size() + 1);
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

void getValueWithSize(const Self &self, Returning value, Index size) {
    if (size > 0) fill(value, charactersOf(self), 0, static_cast<std::size_t>(size));
}

Answer<void> getValueWithSizeAtPosition(const Self &self, Returning value, Index position, Index size) {
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

Address getAddress(const Self &self) { return self->storage; }
Count sizeInBytes(const Self &self) { return self->slotCount; }

// ---- Other texts made of it -----------------------------------------------------------------------------------------

Answer<Ref> concat(const Self &self, Ref other) {
    if (!characters::mayBeDoubleByte()) {
        const auto added = nativeValue(other);
        const auto made = added.data() != nullptr ? nativeText(self.classObject(), charactersOf(self), added) : null;
        if (made) return made;
    }
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto size = charactersOf(self).size();
    NewText joined(self.classObject(), size + value.bytes().size());
    return joined.append(charactersOf(self).substr(0, size)).append(value.bytes()).finish();
}

Ref concatZ(const Self &self, Bytes value) {
    const Temporary added(send<Ref>(SITE("withvalue"), self.classObject(), value));
    return sendSelf<Ref>(SITE("concat"), self, added.ref());
}

Answer<Ref> copyFromTo(const Self &self, Index from, Index to) {
    const auto text = charactersOf(self);
    if (to < from || !isPosition(from, text.size()) || !isPosition(to, text.size())) return pass(SITE("errorinbounds"));
    const auto start = static_cast<std::size_t>(from) - 1;
    return textOfClass(self.classObject(), text.substr(start, static_cast<std::size_t>(to) - start));
}

Answer<Count> indexOfSubcollection(const Self &self, Ref wanted, Index start) {
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

Answer<Ref> growTo(const Self &self, Index size) {
    if (size < 0) return pass(SITE("invalidparameter"));
    if (static_cast<std::size_t>(size) > longestText) return raise(Error::noStorage);
    const auto length = static_cast<Count>(size);
    if (!sendSelf<bool>(SITE("basicgrow"), self, size + 1)) return raise(Error::noStorage);
    if (!runsMethodOf(self.ref(), "basicgrow", "collectn") && !renewStorage(self, length))
        return raise(Error::noStorage);
    self->slotCount = length;
    self->storageLength = length;
    return self.ref();
}

Answer<Ref> trimBlanks(const Self &self) {
    return textOfClass(self.classObject(), withoutSpacesAround(charactersOf(self)));
}

Answer<Ref> asLowerCase(const Self &self) {
    const auto size = charactersOf(self).size();
    return NewText(self.classObject(), size).append(charactersOf(self)).convert(host::toLower).finish();
}
Answer<Ref> asUpperCase(const Self &self) {
    const auto size = charactersOf(self).size();
    return NewText(self.classObject(), size).append(charactersOf(self)).convert(host::toUpper).finish();
}

Answer<Ref> asSeparateLines(const Self &self) { return texts::linesOf(self, self.classObject(), nextLine); }
Answer<Ref> asArrayOfSubstrings(const Self &self) { return texts::wordsOf(self, self.classObject(), nextWord); }

// ---- Conversions and queries ----------------------------------------------------------------------------------------

Answer<Ref> asPicX(const Self &self) {
    const auto size = sendSelf<Count>(SITE("size"), self);
    const auto text = charactersOf(self);
    if (size == text.size()) return itemOfNewClass(CLASS("picx"), text);
    const auto made = send<Ref>(SITE("newclass"), CLASS("picx"), static_cast<Index>(size));
    if (!made) return null;
    return itemOfClass(made, charactersOf(self));
}

Ref asOwnKind(const Self &self) { return sendSelf<Ref>(SITE("copy"), self); }

Answer<Ref> description(const Self &self) {
    NewText quoted(self.classObject(), charactersOf(self).size() + 2);
    return quoted.append("\"").append(charactersOf(self)).append("\"").finish();
}

Count hash(const Self &self) { return hashText(charactersOf(self)); }

} // namespace strings
} // namespace oocobol
