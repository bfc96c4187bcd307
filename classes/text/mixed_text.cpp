#include "classes/text/mixed_text.h"

#include <algorithm>
#include <atomic>
#include <string>

#include "classes/text/strings.h"

namespace oocobol {

namespace {

MixedTextFields *fieldsForChange(Ref text) noexcept {
    return const_cast<MixedTextFields *>(fieldsOf<MixedTextFields>(text));
}

// What lies behind the fields, but for the spare byte.
struct Room {
    char *start = nullptr;
    std::size_t size = 0;
};
Room roomOf(Ref text) noexcept {
    const auto *fields = fieldsOf<MixedTextFields>(text);
    if (fields == nullptr) return {};
    auto *body = bodyOf(text);
    const std::size_t held = headerOf(body)->size;
    if (fields->dataOffset < sizeof(MixedTextFields) || fields->dataOffset >= held) return {};
    return {reinterpret_cast<char *>(body) + fields->dataOffset, held - fields->dataOffset - 1};
}

Count nextChange() noexcept {
    static std::atomic<Count> last{0};
    const auto next = last.fetch_add(1, std::memory_order_relaxed) + 1;
    return next != 0 ? next : nextChange();
}

} // namespace

std::string_view mixedBytesOf(Ref text) noexcept {
    const auto room = roomOf(text);
    if (room.start == nullptr) return {};
    return {room.start, std::min<std::size_t>(fieldsOf<MixedTextFields>(text)->byteLength, room.size)};
}

MixedTextFields *MixedSelf::operator->() const noexcept {
    if (auto *fields = fieldsForChange(reference)) return fields;
    static constinit thread_local MixedTextFields gone{};
    gone = {};
    return &gone;
}

std::string_view MixedSelf::text() const noexcept {
    if (!reference.isStatic()) return mixedBytesOf(reference);
    const auto *character = static_cast<const char *>(body);
    return {character, characters::lengthAt(character)};
}

// ---- Making texts -------------------------------------------------------------------------------------------------

namespace {

bool makesNatively(Ref classObject) noexcept {
    const auto *family = familyOfClass(classObject);
    return family != nullptr && isLaidOutAs<MixedTextFields>(*family) && !family->anyInstanceInitialiser &&
           isPristine(*family->classSide, {"new", "withlengthvalue", "newindexedinstance"}) &&
           isPristine(*family->instances, {"initialize", "setvalue"});
}

Ref withlengthvalue(Ref classObject, std::size_t count, const char *value) noexcept {
    return send<Ref>(SITE("withlengthvalue"), classObject, static_cast<Index>(count), Bytes{value});
}

} // namespace

Ref nativeMixedText(Ref classObject, std::string_view bytes) noexcept {
    if (!makesNatively(classObject)) return null;
    const auto count = characters::count(bytes);
    const auto made = createIndexedInstance(classObject, count * characters::longest + 1);
    auto *fields = fieldsForChange(made);
    if (fields == nullptr) return null;
    fields->dataOffset = familyOfClass(classObject)->instanceDataSize;
    fields->byteLength = static_cast<Count>(bytes.size());
    fields->characterLength = static_cast<Count>(count);
    fields->changes = nextChange();
    if (!bytes.empty()) std::memcpy(roomOf(made).start, bytes.data(), bytes.size());
    return made;
}

Ref textFromBuffer(Ref classObject, char *buffer, std::size_t size) noexcept {
    const auto [count, endsInHalf] = characters::counted({buffer, size});
    buffer[size] = ' ';
    const auto made = withlengthvalue(classObject, count, buffer);
    auto *fields = endsInHalf ? fieldsForChange(made) : nullptr;
    if (fields != nullptr && fields->byteLength == size + 1) fields->byteLength = static_cast<Count>(size);
    return made;
}

Answer<Ref> mixedTextOfClass(Ref classObject, std::string_view bytes) noexcept {
    if (bytes.size() > longestText) return raise(Error::noInstance);
    if (const auto made = nativeMixedText(classObject, bytes)) return made;
    WorkArea copy(bytes.size() + 1);
    if (!copy) return raise(Error::noWorkArea);
    auto *buffer = reinterpret_cast<char *>(copy.bytes());
    if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
    return textFromBuffer(classObject, buffer, bytes.size());
}

// ---- Changing texts -----------------------------------------------------------------------------------------------

namespace {
void changed(const MixedSelf &self) noexcept {
    if (self->changes != 0) self->changes = nextChange();
}
} // namespace

bool setMixedText(const MixedSelf &self, std::string_view bytes, std::size_t count) noexcept {
    const auto room = roomOf(self.ref());
    if (bytes.size() > room.size || room.start == nullptr) return false;
    if (!bytes.empty()) std::memmove(room.start, bytes.data(), bytes.size());
    self->byteLength = static_cast<Count>(bytes.size());
    self->characterLength = static_cast<Count>(count);
    changed(self);
    return true;
}

bool spliceMixedText(const MixedSelf &self, std::size_t offset, std::size_t length, std::string_view bytes) noexcept {
    const auto room = roomOf(self.ref());
    const auto size = self.text().size();
    if (offset + length > size || size - length + bytes.size() > room.size) return false;
    auto *place = room.start + offset;
    std::memmove(place + bytes.size(), place + length, size - offset - length);
    std::memcpy(place, bytes.data(), bytes.size());
    self->byteLength = static_cast<Count>(size - length + bytes.size());
    changed(self);
    return true;
}

void clearMixedText(const MixedSelf &self, std::size_t count) noexcept {
    const auto *behaviour = behaviourOfObject(self.ref());
    if (behaviour == nullptr || !isMixedText(self.ref())) return;
    self->dataOffset = behaviour->family->instanceDataSize;
    const auto room = roomOf(self.ref());
    const auto length = std::min(count, room.size / characters::longest);
    if (room.start != nullptr) std::memset(room.start, 0, room.size);
    self->byteLength = static_cast<Count>(length);
    self->characterLength = static_cast<Count>(length);
    self->changes = nextChange();
}

bool reserveMixedText(const MixedSelf &self, std::size_t count) noexcept {
    const auto kept = characters::lengthOf(self.text(), count);
    if (!resizeIndexed(self.ref(), count * characters::longest + 1)) return false;
    if (kept < self->byteLength) {
        self->byteLength = static_cast<Count>(kept);
        self->characterLength = static_cast<Count>(count);
    }
    changed(self);
    return true;
}

bool stretchMixedText(const MixedSelf &self, std::size_t count) noexcept {
    const auto room = roomOf(self.ref());
    const auto text = self.text();
    const auto kept = characters::lengthOf(text, count);
    const auto [held, endsInHalf] = characters::counted(text.substr(0, kept));
    const auto missing = count - held;
    if (room.start == nullptr || missing > room.size - kept) return false;
    if (missing != 0 && endsInHalf) room.start[kept - 1] = ' ';
    std::memset(room.start + kept, ' ', missing);
    self->byteLength = static_cast<Count>(kept + missing);
    self->characterLength = static_cast<Count>(count);
    changed(self);
    return true;
}

namespace {

// The characters of a text of either kind whose `at` is the library's.
std::optional<std::string_view> plainCharactersOf(Ref text) noexcept {
    if (!nativePath(text, {"at"})) return {};
    if (isMixedText(text)) return mixedBytesOf(text);
    const auto *fields = fieldsOf<CharacterArrayFields>(text);
    return fields != nullptr ? std::optional(charactersOf(*fields)) : std::nullopt;
}

// That many characters from a position on; nothing when there are not as many.
std::optional<std::string_view> part(std::string_view text, std::int64_t start, std::int64_t count) noexcept {
    if (start < 1 || count < 0) return {};
    const auto from = characters::lengthOf(text, static_cast<std::size_t>(start) - 1);
    const auto rest = text.substr(from);
    const auto length = characters::lengthOf(rest, static_cast<std::size_t>(count));
    if (characters::count(rest.substr(0, length)) != static_cast<std::size_t>(count)) return {};
    return rest.substr(0, length);
}

} // namespace

bool replaceCharacters(const Receiver &self, std::int64_t start, std::int64_t count, Ref source,
                       std::int64_t sourceStart) {
    if (!isMixedText(self.ref()) && !isMixedText(source)) return false;
    const auto own = plainCharactersOf(self.ref());
    const auto others = plainCharactersOf(source);
    if (!own || !others || !nativePath(self.ref(), {"atput", "setvalue"})) return false;
    const auto replaced = part(*own, start, count);
    const auto replacement = part(*others, sourceStart, count);
    if (!replaced || !replacement || characters::counted(*replacement).endsInHalf) return false;
    const auto before = static_cast<std::size_t>(replaced->data() - own->data());
    std::string result;
    result.reserve(own->size() - replaced->size() + replacement->size());
    result.append(own->substr(0, before)).append(*replacement).append(own->substr(before + replaced->size()));
    if (isMixedText(self.ref())) return setMixedText({self.ref(), self.data()}, result, characters::count(result));
    if (!characters::anyDoubleByte(result)) {
        std::memcpy(fieldsOf<CharacterArrayFields>(self.ref())->storage, result.data(), result.size());
        return true;
    }
    const auto wide = mixedTextOfClass(mixedTextClass(), result);
    if (wide.failure || !wide.value) return false;
    turnInto(self, wide.value);
    return true;
}

// ---- Positions ----------------------------------------------------------------------------------------------------

namespace {

// The character that was asked for last on this thread.
struct Visited {
    Ref text{};
    Count changes = 0;
    std::size_t position = 0;
    std::size_t offset = 0;
};
constinit thread_local Visited visited;

// In front of the character at the offset, which is not the first.
std::size_t offsetBefore(std::string_view text, std::size_t offset) noexcept {
    return characters::isBoundary(text, offset - 1) ? offset - 1 : offset - 2;
}

} // namespace

void rememberOffset(const MixedSelf &self, std::size_t position, std::size_t offset) noexcept {
    visited = {self.ref(), self->changes, position, offset};
}

std::size_t offsetOf(const MixedSelf &self, Index position) noexcept {
    const auto text = self.text();
    if (position < 1 || static_cast<std::size_t>(position) > text.size()) return nowhere;
    const auto wanted = static_cast<std::size_t>(position);
    const auto &fields = *self;
    if (fields.changes != 0 && fields.byteLength == fields.characterLength) return wanted - 1;

    const auto isKnown = visited.text == self.ref() && visited.changes == fields.changes && fields.changes != 0 &&
                         visited.offset <= text.size();
    std::size_t offset;
    if (isKnown && visited.position <= wanted) {
        const auto rest = text.substr(visited.offset);
        offset = visited.offset + characters::lengthOf(rest, wanted - visited.position);
    } else if (isKnown && visited.position == wanted + 1) {
        offset = offsetBefore(text, visited.offset);
    } else {
        offset = characters::lengthOf(text, wanted - 1);
    }
    if (offset >= text.size()) return nowhere;
    rememberOffset(self, wanted, offset);
    return offset;
}

} // namespace oocobol
