// What makes an object a component and what ends it, its exception handler, and what the component files share.
#include "classes/object/components.h"

#include "classes/callbacks/callback.h"
#include "classes/exceptions/handlers.h"
#include "classes/exceptions/message_text.h"
#include "classes/text/text_values.h"

namespace oocobol::component {

// ---- The record ----------------------------------------------------------------------------------------------------

std::mutex SlotGuard::locks[64];

namespace {

SignalRecord *recordOf(Ref object) noexcept { return static_cast<SignalRecord *>(componentSlot(object)); }

// The mutex of an object's record, made now when it has none yet; 0 for what is no component.
host::MutexHandle mutexOf(Ref object, SignalRecord *&record) noexcept {
    const SlotGuard guard(object);
    record = recordOf(object);
    if (record == nullptr) return 0;
    if (record->lock == 0) record->lock = host::openMutex(host::MutexKind::component);
    return record->lock;
}

bool attach(Ref object, SignalRecord *record) noexcept {
    const SlotGuard guard(object);
    if (!isLive(object) || componentSlot(object) != nullptr) return false;
    setComponentSlot(object, record);
    return true;
}

// Whoever waits for the mutex finds it closed.
SignalRecord *detach(Ref object) noexcept {
    const Hold hold(object);
    auto *record = hold.record();
    if (record == nullptr) return nullptr;
    const SlotGuard guard(object);
    setComponentSlot(object, nullptr);
    host::closeMutex(record->lock);
    return record;
}

void release(const Self &self, SignalRecord *record) {
    if (!isLive(self.ref())) return oocobol::release(record); // the handler of an error has ended it
    sendSelf(SITE("dealloc"), self, Address{record});
}

// Makes the collections: all of them, or false.
bool fill(const Self &self, SignalRecord &record) {
    constexpr Index outputs = 20, sockets = 5, dependents = 5;
    record.trace = sendSelf<bool>(SITE("issignaltracing"), self) ? 1 : 0;
    record.duplicates = 1;
    record.outputs = newNameTable(outputs);
    if (record.outputs) record.sockets = newNameTable(sockets);
    if (record.sockets) record.dependents = ifComplete(send<Ref>(SITE("ofreferences"), CLASS("iset"), dependents));
    return !record.dependents.isNull();
}

void empty(const SignalRecord &record) {
    for (const Ref made : {record.outputs, record.sockets, record.dependents}) finalizeLive(made);
}

// The one handler of all components; its receiver lives as long as the process. Null when memory is short.
Ref componentHandler() {
    static std::atomic<std::uint64_t> held{0};
    if (const auto known = held.load(std::memory_order_acquire)) return {known};
    const auto keeper = send<Ref>(SITE("new"), CLASS("base"));
    const auto made = keeper ? send<Ref>(SITE("new"), CLASS("callback"), keeper, Bytes{"componentException"}) : null;
    std::uint64_t nobody = 0;
    if (made && held.compare_exchange_strong(nobody, made.bits)) {
        keepForLibrary(keeper);
        keepForLibrary(made);
        return made;
    }
    finalizeLive(made);
    finalizeLive(keeper);
    return {nobody};
}

bool registerHandler(Ref object) {
    const auto handler = componentHandler();
    if (!handler) return false;
    send(SITE("register"), CLASS("exptnmgr"), object, handler);
    return hasOwnHandler(object);
}

} // namespace

void Hold::take() const noexcept {
    SignalRecord *record = nullptr;
    mutex.emplace(mutexOf(object, record));
    if (known == nullptr) known = record;
}

// makecomponent (). Raises 32 when memory is short: the object is no component then. A null receiver raises 27.
Answer<void> makeComponent(const Self &self) {
    if (!isLive(self.ref())) return raise(Error::nullReceiver);
    if (isOne(self.ref())) return {};
    auto *memory = sendSelf<Address>(SITE("malloc"), self, Count{sizeof(SignalRecord)});
    if (memory == nullptr) return raise(Error::noStorage);
    auto *record = static_cast<SignalRecord *>(memory);
    *record = {};
    const auto filled = fill(self, *record);
    const auto attached = filled && attach(self.ref(), record); // another thread may have been first
    if (attached && registerHandler(self.ref())) return {};
    if (attached && detach(self.ref()) == nullptr) return {}; // finalized by the handler of an error
    empty(*record);
    release(self, record);
    if (filled && !attached) return {};
    return raise(Error::noStorage);
}

void end(const Self &self) {
    if (!isOne(self.ref())) return;
    sendSelf(SITE("disconnect"), self);
    if (auto *record = detach(self.ref())) release(self, record);
}

void setDuplicates(const Self &self, Flag allowed) {
    const Hold hold(self.ref());
    if (auto *record = hold.record()) record->duplicates = allowed;
}
// duplicatesok, duplicatesnotok (). Nothing happens to what is no component.
void allowDuplicates(const Self &self) { setDuplicates(self, 1); }
void refuseDuplicates(const Self &self) { setDuplicates(self, 0); }

// ---- The exception handler -----------------------------------------------------------------------------------------

namespace {

bool isTraced(Ref object) {
    const Hold hold(object);
    const auto *record = hold.record();
    return record != nullptr && record->trace == 1;
}

// The message of set 2 that reports an error of components.
Index messageOf(Count error) {
    switch (static_cast<Error>(error)) {
    case Error::noSocket:
        return 21;
    case Error::noOutputs:
        return 22;
    case Error::noSignal:
        return 23;
    case Error::outputTwice:
        return 24;
    case Error::inputTwice:
        return 25;
    case Error::noCallbackList:
        return 26;
    default:
        return 0;
    }
}

// How many of the inserts a message shows.
Index insertsOf(Count error) {
    if (error == static_cast<Count>(Error::noOutputs)) return 0;
    return error == static_cast<Count>(Error::inputTwice) ? 2 : 1;
}

void trace(const Self &self, const std::string &line) {
    constexpr std::size_t longestLine = 255;
    const auto shown = line.substr(0, longestLine);
    sendSelf(SITE("trace"), self, Bytes{shown.c_str()});
}

} // namespace

// componentexception (object, number, inserts) -> null. Reports 93 to 98; any other error goes on to the next handler,
// whose answer it is. The component's mutex is not held meanwhile: a description may be code of the program's own.
void componentException(const Self &self, Returning answer, Ref object, Count error, Ref inserts) {
    const auto message = messageOf(error);
    const auto about = isLive(object) ? object : self.ref();
    if (message == 0) {
        return send(SITE("raiseexceptionwithtextcollection"), about, answer, error, inserts);
    }
    answer.put(null);
    const Temporary messages(sendSelf<Ref>(SITE("registerbasemessagefile"), self));
    const Temporary described(send<Ref>(SITE("description"), about));
    Ref shown[2] = {};
    const auto given = isLive(inserts) ? send<Index>(SITE("size"), inserts) : 0;
    for (Index i = 0; i < std::min(given, insertsOf(error)); ++i) shown[i] = send<Ref>(SITE("at"), inserts, i + 1);
    const Temporary text(baseMessage(messages.ref(), message, described.ref(), shown[0], shown[1]));
    if (!text) return;
    send(SITE("display"), text.ref());
    if (isTraced(about)) trace(self, textOf(text.ref()));
}

// ---- Errors and trace lines ----------------------------------------------------------------------------------------

namespace {

// A name as text that ends with a null byte.
struct NameText {
    char bytes[NameKey::width + 1] = {};
    explicit NameText(const NameKey &name) { std::memcpy(bytes, name.view().data(), name.view().size()); }
};

} // namespace

void raiseNamed(const Self &self, Returning answer, Error error, const NameKey &first) {
    const NameText text(first);
    sendSelf(SITE("raiseexceptionwithtextz"), self, answer, static_cast<Count>(error), Bytes{text.bytes});
}
void raiseNamed(const Self &self, Returning answer, Error error, const NameKey &first, const NameKey &second) {
    const NameText one(first), other(second);
    sendSelf(SITE("raiseexceptionwithtextz"), self, answer, static_cast<Count>(error), Bytes{one.bytes},
             Bytes{other.bytes});
}

Ref raiseNamedForObject(const Self &self, Error error, const NameKey &name) {
    Ref answer{};
    raiseNamed(self, Returning{{reinterpret_cast<std::byte *>(&answer)}}, error, name);
    return answer;
}

void traceIfWanted(const Self &self, std::initializer_list<std::string_view> pieces) {
    if (!isTraced(self.ref())) return;
    std::string line;
    for (const auto piece : pieces) line += piece;
    trace(self, line);
}

std::string_view classNameOf(Ref object) noexcept {
    const auto *behaviour = behaviourOfObject(object);
    return behaviour != nullptr && behaviour->family != nullptr ? std::string_view(behaviour->family->name) : "null";
}

// ---- Collections ---------------------------------------------------------------------------------------------------

Ref newNameTable(Index capacity) {
    return ifComplete(send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("picxtoob"), capacity));
}

Ref ifComplete(Ref made) {
    const auto *fields = fieldsOf<CollectionFields>(made);
    if (fields == nullptr || fields->storage != nullptr) return made;
    finalizeLive(made);
    return null;
}

namespace {

// Where a thread found names the last times. A slot that still holds the name is its place, whatever has happened.
struct Hint {
    Ref table;
    Count slot;
};
[[gnu::tls_model("initial-exec")]] constinit thread_local Hint hints[16] = {};

Hint &hintFor(Ref table, const NameKey &name) noexcept {
    std::uint32_t start;
    std::memcpy(&start, name.bytes, sizeof start);
    return hints[(table.index() ^ start ^ start >> 16) % std::size(hints)];
}

// The slots of a plain table of names; none when finding a name takes messages.
Slots nameSlots(Ref table) noexcept {
    constexpr Needs needs{"findkey", "isemptyat", "basickeyat", "basicdataat"};
    const auto *plain = layoutOf<IdentityDictionaryFields>;
    const auto *entry = findEntry(table);
    if (entry == nullptr || plain == nullptr) return {};
    const auto &behaviour = behaviourAt(behaviourOf(entry->tag.load(std::memory_order_acquire)));
    if (&behaviour != plain->instances || !isPristine(behaviour, needs)) return {};
    const auto &fields = *reinterpret_cast<DictionaryFields *>(entry->body.load(std::memory_order_relaxed));
    constexpr Count width = NameKey::width + sizeof(Ref);
    return fields.keySize == NameKey::width && fields.elementSize == width && !holdsObjects(fields) ? slotsOf(fields)
                                                                                                    : Slots{};
}

} // namespace

Ref objectAt(Ref table, const NameKey &name) noexcept {
    if (!table) return null;
    auto &hint = hintFor(table, name);
    const auto slots = nameSlots(table);
    if (hint.table == table && slots.has(hint.slot) && slots.isOccupied(hint.slot) &&
        std::memcmp(slots.at(hint.slot), name.bytes, NameKey::width) == 0)
        return referenceIn(slots.at(hint.slot) + NameKey::width);
    const auto datum = nativeDatum(table, name.element().address);
    if (!datum) return send<Ref>(SITE("atornil"), table, name.element());
    if (datum.address == nullptr) return null;
    if (slots.start != nullptr)
        hint = {table, static_cast<Count>(static_cast<std::size_t>(datum.address - slots.start) / slots.width + 1)};
    return referenceIn(datum.address);
}

bool putObject(Ref table, const NameKey &name, Ref object) {
    send(SITE("atput"), table, name.element(), object);
    return objectAt(table, name) == object;
}

namespace {
// Of the kind of list that was met last: mostly there is but one.
constinit std::atomic<const Behaviour *> knownList{nullptr};
} // namespace

bool CallbackList::learn() const noexcept {
    entry = findEntry(list);
    if (entry == nullptr) return false;
    tag = entry->tag.load(std::memory_order_acquire);
    const auto &behaviour = behaviourAt(behaviourOf(tag));
    if (&behaviour == knownList.load(std::memory_order_relaxed)) return true;
    if (!behaviour.classSide && isLaidOutAs<DynamicFields>(*behaviour.family)) {
        knownList.store(&behaviour, std::memory_order_relaxed);
        return true;
    }
    entry = nullptr;
    return false;
}

Count CallbackList::size() const noexcept {
    if (const auto all = run()) return all->count;
    if (!isLive(list)) return 0;
    const auto claimed = send<Index>(SITE("size"), list);
    return claimed > 0 ? static_cast<Count>(claimed) : 0;
}

Ref CallbackList::at(Count position) const noexcept {
    if (const auto all = run()) {
        if (position - 1 >= all->count) return null;
        return referenceIn(all->start + std::size_t{position - 1} * sizeof(Ref));
    }
    if (!isLive(list)) return null;
    ElementReader elements(list);
    return elements && elements.read(static_cast<Index>(position)) ? elements.reference() : null;
}

Count CallbackList::find(Ref callback, Count position) const noexcept {
    if (const auto all = run()) {
        const auto isAt = [&](Count place) {
            return place - 1 < all->count && referenceIn(all->start + std::size_t{place - 1} * all->width) == callback;
        };
        if (isAt(position)) return position;
        if (isAt(position - 1)) return position - 1;
        const auto *wanted = reinterpret_cast<const std::byte *>(&callback);
        const auto found = findElement(all->start, all->count, wanted, sizeof callback);
        return found < all->count ? static_cast<Count>(found) + 1 : 0;
    }
    const auto count = size();
    for (const auto place : {position, position - 1}) {
        if (place >= 1 && place <= count && at(place) == callback) return place;
    }
    for (Count i = 1; i <= count; ++i) {
        if (at(i) == callback) return i;
    }
    return 0;
}

bool CallbackList::append(Ref callback) const {
    const auto before = size();
    send(SITE("addlast"), list, callback);
    return size() > before;
}

void CallbackList::removeAt(Count position) const {
    std::uint64_t removed = 0;
    send(SITE("removeatindex"), list, Returning{{reinterpret_cast<std::byte *>(&removed)}},
         static_cast<Index>(position));
}

bool CallbackList::remove(Ref callback) const {
    const auto position = find(callback);
    if (position != 0) removeAt(position);
    return position != 0;
}

// ---- Callbacks -----------------------------------------------------------------------------------------------------

Ref receiverOf(Ref callback) {
    const auto *behaviour = behaviourOfObject(callback);
    if (behaviour == nullptr) return null;
    const auto *method = lookUp(*behaviour, findSelector("getreceiver"));
    if (method == nullptr) return null;
    const auto *fields = fieldsOf<CallbackFields>(callback);
    return fields != nullptr && method->library ? fields->receiver : send<Ref>(SITE("getreceiver"), callback);
}

void finalizeCallback(Ref owner, Ref callback) {
    const Hold hold(owner);
    finalizeLive(callback);
}

bool runsOwn(Ref object, std::initializer_list<std::string_view> messages) noexcept {
    for (const auto message : messages) {
        if (!runsMethodOf(object, message, "base")) return false;
    }
    return true;
}

} // namespace oocobol::component
