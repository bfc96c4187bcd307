// Entry callback: a program entry to be called later, with up to six arguments given now and up to nine then.
//
// The callback may be finalized by the very code that it runs: while an invocation is active, finalize only leaves a
// note, and the last invocation to return carries it out. Invocations of one entry callback run one at a time.
#include "classes/callbacks/native_invoke.h"
#include "classes/callbacks/use.h"
#include "classes/text/characters.h"
#include "classes/text/text_values.h"
#include "host/mutex_slots.h"
#include "runtime/module.h"
#include "runtime/send_fast.h"

namespace oocobol {
namespace {

constexpr char program[] = "entrycll";

using Self = Instance<EntryCallbackFields>;
using ClassSelf = Receiver;
using Stored = Optional<std::uint64_t>;

// A copy is not in use, and opens a mutex of its own.
void startAnew(Ref copy) {
    auto *fields = changeableFields<EntryCallbackFields>(copy);
    if (fields == nullptr) return;
    fields->lock = 0;
    fields->finalizePending = 0;
    fields->active = 0;
    fields->owned = 0;
}
const bool noted = (contentsCopied = startAnew, true);

// ---- Creation ---------------------------------------------------------------------------------------------------

// new (name, up to 6 arguments) -> callback. A seventh argument raises 20.
Answer<Ref> create(ClassSelf self, Name name, Area a, Area b, Area c, Area d, Area e, Area f, Area seventh) {
    if (seventh) return raise(Error::tooManyStored);
    const auto made = sendSuper<Ref>(SUPER("basicnew"), self);
    if (made) send(SITE("initialize"), made, name, a, b, c, d, e, f);
    return made;
}

// The name up to its space or null byte; one that starts with a quote up to and including the closing quote.
std::string_view entryName(Name name) {
    if (name.address[0] != '"') return upToSpaceOrNull(name);
    std::size_t length = 1;
    while (length < callbackNameWidth && name.address[length] != '\0') {
        const std::string_view rest(name.address + length, callbackNameWidth - length);
        if (name.address[length++] == '"') break;
        if (length < callbackNameWidth && name.address[length] != '\0') length += characters::lengthAt(rest) - 1;
    }
    return {name.address, length < callbackNameWidth ? length : callbackNameWidth};
}

// initialize (name, up to 6 arguments). A name of 80 characters and more is replaced, so that the call fails later.
void initialize(Self self, Name name, Stored a, Stored b, Stored c, Stored d, Stored e, Stored f) {
    auto stored = entryName(name);
    if (stored.size() > longestCallbackName) stored = "entryCallbackMethodNameTooLong";
    std::memset(self->name, ' ', callbackNameWidth);
    std::memcpy(self->name, stored.data(), stored.size());
    storeParameters(*self, {a, b, c, d, e, f});
    self->entry = nullptr; // another one
    self->active = 0;
}

// ---- Invoking ---------------------------------------------------------------------------------------------------

using Hold = host::mutexes::Hold;

// The callback's own mutex, made on first use. A callback that is gone has none. Two threads may open one at the same
// time: the first to store it wins.
host::MutexHandle mutexOf(const Self &self) {
    if (!self.isAlive()) return 0;
    void *first = &*self; // the lock is the first field, and bodies are aligned
    const std::atomic_ref<std::uint64_t> held(*static_cast<std::uint64_t *>(first));
    auto known = held.load(std::memory_order_acquire);
    if (known != 0) return known;
    const auto opened = host::openMutex(host::MutexKind::entryCallback);
    if (held.compare_exchange_strong(known, opened)) return opened;
    host::closeMutex(opened);
    return known;
}

std::string_view paddedName(const Self &self) {
    const std::string_view name(self->name, callbackNameWidth);
    return name.substr(0, name.find_last_not_of(' ') + 1);
}

[[gnu::noinline]] host::Program findEntryAnew(const Self &self) {
    const auto version = host::programsVersion();
    const auto found = host::findProgram(paddedName(self));
    self->entry = found.entry;
    self->entryIsCobol = found.cobol;
    self->entryIsWide = found.wide;
    self->entryVersion = version;
    return found;
}

// The entry that the name field names now.
[[gnu::always_inline]] inline host::Program findEntry(const Self &self) {
    const auto &fields = *self;
    if (fields.entry == nullptr || fields.entryVersion != host::programsVersion()) [[unlikely]]
        return findEntryAnew(self);
    return {.entry = fields.entry, .cobol = fields.entryIsCobol, .wide = fields.entryIsWide};
}

[[gnu::noinline]] void raiseNoResult(const Self &self, bool threw) {
    if (threw) return raiseOn(self.ref(), static_cast<Count>(Error::exceptionEscaped), nameView(self->name, 80));
    raiseOn(self.ref(), static_cast<Count>(Error::noEntry), paddedName(self));
}

[[gnu::always_inline]] inline void call(const Self &self, Returning answer, void *const *arguments) {
    const auto found = findEntry(self);
    if (!found) return raiseNoResult(self, false);
    bool threw = false;
    const auto result = host::call(found, arguments, &threw);
    afterUserCode();
    if (threw) return raiseNoResult(self, true);
    answer.put(result);
}

[[gnu::noinline]] void finalizeReleased(Ref over, Hold &hold) {
    hold.release();
    send<Ref>(SITE("finalize"), over);
}

[[gnu::always_inline]] inline void endUse(Use &use, Hold &hold) {
    if (const auto over = use.end()) finalizeReleased(over, hold);
}

// invoke (up to 9 arguments) -> the entry's 8-byte answer. A tenth argument raises 21. An entry that does not exist
// raises 110, an exception out of it 109.
Answer<void> invoke(Self self, Returning answer, Brought brought) {
    if (brought[invokeArguments]) return raise(Error::tooManyArguments).answering(sizeof(std::uint64_t));
    Hold hold(mutexOf(self));
    ArgumentList list(*self);
    list.appendFrom(0, brought);
    Use use(self.ref(), &*self);
    call(self, answer, list.forEntry());
    list.storeBack(self);
    endUse(use, hold);
    return {};
}

// active () -> flag.
bool isActive(Self self) {
    const Hold hold(mutexOf(self));
    return isInUse(*self);
}

// ---- Queries ----------------------------------------------------------------------------------------------------

// getmessage () -> the name field, 81 bytes.
void getMessage(Self self, Returning name) { name.store(self->name, callbackNameWidth); }

// getparameter (index) -> the stored argument. An index beyond the stored ones raises 17.
Answer<std::uint64_t> getParameter(Self self, Index index) {
    if (index < 1 || static_cast<Count>(index) > self->parameterCount) return raise(Error::noSuchParameter);
    return self->parameters[index - 1];
}

// Whether the other object's `getmessage` answers this name field.
bool hasSameName(const Self &self, Ref other) {
    std::byte name[callbackNameWidth] = {};
    send(SITE("getmessage"), other, Returning{{name}});
    return std::memcmp(name, self->name, callbackNameWidth) == 0;
}

// equal (object) -> flag. The same name and class; stored arguments do not count.
bool equal(Self self, Ref other) {
    if (!isLive(other)) return false;
    return hasSameName(self, other) && send<Ref>(SITE("class"), other) == self.classObject();
}

// description () -> character array. The superclass's, then " for code entitled " and the name in 160 characters.
Ref description(Self self) {
    constexpr std::size_t width = 160;
    constexpr std::string_view entitled = " for code entitled ";
    char text[width];
    std::memset(text, ' ', width);
    std::memcpy(text, entitled.data(), entitled.size());
    std::memcpy(text + entitled.size(), self->name, callbackNameWidth);
    const Temporary general(sendSuper<Ref>(SUPER("description"), self));
    const Temporary own(newText({text, width}));
    return send<Ref>(SITE("concat"), general.ref(), own.ref());
}

// finalize () -> null. At once when no invocation is active, else when the last one returns.
Ref finalize(Self self) {
    {
        const Hold hold(mutexOf(self));
        if (!mayEnd(*self)) return null;
    }
    host::closeMutex(self->lock);
    self->lock = 0;
    return sendSuper<Ref>(SUPER("finalize"), self);
}

constexpr std::array methods{
    onClass<create>("new"),       instance<initialize>("initialize"),   instance<invoke>("invoke"),
    instance<isActive>("active"), instance<getMessage>("getmessage"),   instance<getParameter>("getparameter"),
    instance<equal>("equal"),     instance<description>("description"), instance<finalize>("finalize"),
};

constexpr ClassDef definition{.program = program,
                              .name = "entrycallback",
                              .super = "dependnt",
                              .instanceData = fields<EntryCallbackFields, 236>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace

std::string_view upToSpaceOrNull(Name name) noexcept {
    const auto text = name.view(callbackNameWidth);
    for (std::size_t at = 0; characters::mayBeDoubleByte() && at < text.size();) {
        const auto rest = text.substr(at);
        if (rest.starts_with(characters::doubleByteSpace)) return text.substr(0, at);
        at += characters::lengthAt(rest);
    }
    return text;
}

bool invokeEntryNatively(Ref callback, EntryCallbackFields &fields, void *const *list) noexcept {
    if (fields.parameterCount != 0 || detail::stackPosition() < thread.stackLimit) return false;
    const Self self(callback, &fields);
    Hold hold(fields.lock != 0 ? fields.lock : mutexOf(self));
    Use use(callback, &*self);
    call(self, {{static_cast<std::byte *>(list[0])}}, list + 1);
    endUse(use, hold);
    return true;
}

} // namespace oocobol
