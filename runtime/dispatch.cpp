#include "runtime/dispatch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/gnucobol.h"
#include "host/host.h"
#include "runtime/classes.h"
#include "runtime/errors.h"
#include "runtime/object_table.h"
#include "runtime/objects.h"
#include "runtime/own_cell.h"
#include "runtime/receiver.h"
#include "runtime/send_fast.h"
#include "runtime/thread_store.h"

namespace oocobol {

using detail::cellOf;
using detail::enter;
using detail::gateOpen;
using detail::run;
using detail::stackPosition;

namespace {

std::atomic<std::uint32_t> level{0};

// Powers of two.
constexpr std::uint32_t missesToRelink = 16, missesToRelinkSettled = 1024;

// ---- Sites --------------------------------------------------------------------------------------------------------

SelectorId selectorOfSite(oops_site &site) {
    const std::atomic_ref<std::uint32_t> selector(site.reserved);
    if (const auto known = selector.load(std::memory_order_relaxed)) return known;
    const auto found = findSelector(nameView(site.method));
    if (found != 0) selector.store(found, std::memory_order_relaxed);
    return found;
}

// A site that meets many classes keeps its cell most of the time, so that threads do not fight over it and the
// processor learns which receivers take the fast road. How often it was linked anew stands in the bits of its cell
// number that name no cell.
constexpr std::uint32_t relinkMask = sizeof(Cell) - 1;

[[gnu::noinline]] void linkSite(oops_site &site, const Cell &cell) {
    const std::atomic_ref<std::uint32_t> number(site.cell);
    const auto links = number.load(std::memory_order_relaxed) & relinkMask;
    number.store(numberOf(&cell) | std::min(links + 1, relinkMask), std::memory_order_release);
}

void relink(oops_site &site, const Cell &cell) {
    const auto number = std::atomic_ref<std::uint32_t>(site.cell).load(std::memory_order_relaxed);
    const auto settled = (number & relinkMask) == relinkMask;
    const auto every = settled ? missesToRelinkSettled : missesToRelink;
    if (number != 0 && (++thread.misses & (every - 1)) != 0) [[likely]]
        return;
    linkSite(site, cell);
}

// ---- The stack ----------------------------------------------------------------------------------------------------

bool tooDeep() {
    const auto position = stackPosition();
    if (position >= thread.stackLimit) return false;
    prepareThread();
    if (position >= thread.stackLimit) return false;
    return position >= thread.stackEnd && position < thread.stackBase; // not on a stack of the program's own making
}

// The handler gets what was kept back of the stack; if that does not do either, nothing that needs objects can help.
void raiseStackExhausted(Ref receiver, const char *name) {
    if (thread.handlingOverflow) {
        host::report("oocobol: the stack is exhausted while that very error is being handled; the run ends.\n");
        host::endRunUnit(1);
    }
    const auto limit = thread.stackLimit;
    thread.handlingOverflow = true;
    thread.stackLimit = thread.stackEnd + (limit - thread.stackEnd) / 4;
    raiseOn(receiver, static_cast<Count>(Error::stackExhausted), nameView(name));
    thread.stackLimit = limit;
    thread.handlingOverflow = false;
}

// ---- Running ------------------------------------------------------------------------------------------------------

std::string_view nameOf(const Behaviour &behaviour) {
    return behaviour.family != nullptr ? std::string_view(behaviour.family->name) : "null";
}

bool isTracing() { return (level.load(std::memory_order_relaxed) & traceSends) != 0; }

// `behaviour` is where the lookup started: the receiver's own, or above it in a super send.
void traceSend(Ref receiver, const Behaviour &behaviour, std::string_view name, void *const *arguments,
               std::uint32_t count) {
    const auto *live = behaviourOfObject(receiver);
    const auto &own = live != nullptr ? *live : behaviour;
    std::string line(std::min<std::size_t>(thread.depth, 60) * 2, ' ');
    line += nameOf(own);
    if (own.classSide) line += " class";
    line += ' ';
    line += name;
    char address[40];
    std::snprintf(address, sizeof address, " #%u (", receiver.index());
    line += address;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::snprintf(address, sizeof address, "%s%p", i == 0 ? "" : " ", arguments[i]);
        line += address;
    }
    std::snprintf(address, sizeof address, ") depth %u", thread.depth);
    line += address;
    if (own.family != behaviour.family) line.append(", super from ").append(nameOf(behaviour));
    traceText(line);
}

} // namespace

void detail::run(const Cell &cell, Ref receiver, void *body, void *const *arguments, std::uint32_t count) noexcept {
    void *padded[maximumArguments];
    const auto parameters = std::min<std::size_t>(cell.parameters.load(std::memory_order_acquire), maximumArguments);
    count = arguments == nullptr || static_cast<std::int32_t>(count) < 0 ? 0 : count;
    if (count < parameters) {
        std::copy(arguments, arguments + count, padded);
        std::fill(padded + count, padded + parameters, nullptr);
        arguments = padded;
    }
    const auto entry = cell.entry.load(std::memory_order_acquire);
    if (!isTracing()) return entry(receiver, body, arguments, &cell);
    traceSend(receiver, behaviourAt(cell.behaviour), cell.selector->name, arguments,
              std::min(count, static_cast<std::uint32_t>(parameters)));
    ++thread.depth;
    entry(receiver, body, arguments, &cell);
    --thread.depth;
}

namespace {

// A message of a name that no class registers.
void runUnknown(Ref receiver, void *body, std::string_view name, void *const *arguments, std::uint32_t count);

void forward(Ref receiver, void *body, Behaviour &behaviour, SelectorId selector, const char *name, oops_site *site,
             void *const *arguments, std::uint32_t count) {
    if (selector == 0) {
        if (isTracing()) traceSend(receiver, behaviour, nameView(name), arguments, 0);
        return runUnknown(receiver, body, nameView(name), arguments, count);
    }
    const auto *cell = cellFor(behaviour, selector);
    if (cell == nullptr) { // not even memory to remember the lookup: the message gets through all the same
        Cell unremembered;
        linkCell(unremembered, behaviour, selector);
        return run(unremembered, receiver, body, arguments, count);
    }
    if (site != nullptr) relink(*site, *cell);
    run(*cell, receiver, body, arguments, count);
}

// The frame of the static send whose marked self this is, innermost first.
const StaticFrame *findStaticFrame(Ref self) {
    const auto *frame = thread.staticFrames;
    while (frame != nullptr && frame->self != self) frame = frame->outer;
    return frame;
}

// Everything that the fast road does not cover: first sends, other classes than last time, null, stale and garbage
// receivers, a deep stack, tracing, too few arguments.
[[gnu::noinline]] void sendSlowly(oops_site *site, const char *name, SelectorId selector, Ref receiver,
                                  void *const *arguments, std::uint32_t count) noexcept {
    ensureStarted();
    if (tooDeep()) return raiseStackExhausted(receiver, name);
    if (site != nullptr) selector = selectorOfSite(*site);
    if (receiver.isNull()) {
        return forward(receiver, nullptr, behaviourAt(nullBehaviour), selector, name, site, arguments, count);
    }
    if (receiver.isStatic()) {
        if (const auto *frame = findStaticFrame(receiver)) {
            oops_site staticSite = OOPS_SITE(name);
            return sendStatic(staticSite, receiver.withoutStatic(), frame->data, arguments, count);
        }
    }
    const auto *entry = findEntry(receiver);
    if (entry == nullptr) return raiseOn(null, static_cast<Count>(Error::staleReference), nameView(name));
    auto &behaviour = behaviourAt(behaviourOf(entry->tag.load(std::memory_order_acquire)));
    forward(receiver, entry->body.load(std::memory_order_relaxed), behaviour, selector, name, site, arguments, count);
}

// ---- Messages not understood --------------------------------------------------------------------------------------

// Who is told about an error on this receiver: the class for bare data, the null object's class for null.
Ref spokenFor(Ref receiver) {
    if (receiver.isStatic()) return receiver.withoutStatic();
    const auto *nilObject = rootFamilies().nilObject;
    return receiver.isNull() && nilObject != nullptr ? nilObject->classObject : receiver;
}

void noteNotUnderstood(Ref receiver, std::string_view name) {
    auto *store = ownStore();
    if (store == nullptr) return;
    auto &noted = store->notUnderstood[store->notUnderstoodNext++ % ThreadStore::rememberedMessages];
    noted.receiver = spokenFor(receiver);
    const auto length = std::min(name.size(), sizeof noted.name - 1);
    std::memcpy(noted.name, name.data(), length);
    noted.name[length] = '\0';
}

void runUnknown(Ref receiver, void *body, std::string_view name, void *const *arguments, std::uint32_t count) {
    noteNotUnderstood(receiver, name);
    static constinit oops_site site = OOPS_SITE("doesnotunderstand");
    if (name == site.method) return; // `base` has not been extended yet
    sendToSelf(site, receiver, body, arguments, std::min(count, notUnderstoodParameters));
}

} // namespace

namespace detail {

// Another behaviour than last time, as at a site that meets many classes: its own table of cells knows the message.
void sendToAnother(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept {
    const auto &entry = objects.entries[receiver.index()];
    const auto tag = entry.tag.load(std::memory_order_acquire);
    const auto selector = std::atomic_ref<std::uint32_t>(site.reserved).load(std::memory_order_relaxed);
    if (static_cast<std::uint32_t>(tag) == receiver.generation() && (tag & 1) != 0) [[likely]] {
        const auto *table = behaviourAt(behaviourOf(tag)).cells.load(std::memory_order_acquire);
        const auto number = table != nullptr && selector != 0 ? table->find(selector) : 0;
        const auto &cell = cellAt(number);
        if (number != 0 && stackPosition() >= thread.stackLimit) [[likely]] {
            relink(site, cell);
            return enter(cell, receiver, entry, arguments, count);
        }
    }
    sendSlowly(&site, site.method, 0, receiver, arguments, count);
}

void sendUnusually(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept {
    sendSlowly(&site, site.method, 0, receiver, arguments, count);
}

} // namespace detail

// ---- The four sends -----------------------------------------------------------------------------------------------

void send(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept {
    sendFast(receiver, site, arguments, count);
}

void sendToSelf(oops_site &site, Ref self, void *body, void *const *arguments, std::uint32_t count) noexcept {
    if (self.isStatic()) [[unlikely]]
        return sendStatic(site, self.withoutStatic(), body, arguments, count);
    send(self, site, arguments, count);
}

// Instances' behaviours are even and the class side's the odd numbers above, so the class object's tag tells whether
// the site's cell is its instances'.
void sendStatic(oops_site &site, Ref classObject, void *data, void *const *arguments, std::uint32_t count) noexcept {
    const auto self = classObject.asStatic();
    if (gateOpen(classObject.index())) [[likely]] {
        const auto tag = objects.entries[classObject.index()].tag.load(std::memory_order_acquire);
        const auto &cell = cellOf(site);
        if (tag == makeTag(classObject.generation(), cell.behaviour + 1) &&
            count >= cell.parameters.load(std::memory_order_relaxed) && stackPosition() >= thread.stackLimit)
            [[likely]] {
            return cell.entry.load(std::memory_order_acquire)(self, data, arguments, &cell);
        }
    }
    ensureStarted();
    if (tooDeep()) return raiseStackExhausted(null, site.method);
    if (classObject.isNull()) return send(null, site, arguments, count);
    const auto *family = familyOfClass(classObject);
    if (family == nullptr) return raiseOn(null, static_cast<Count>(Error::staleReference), nameView(site.method));
    forward(self, data, *family->instances, selectorOfSite(site), site.method, &site, arguments, count);
}

namespace {
[[gnu::noinline]] void sendToSuperSlowly(oops_super_site &site, Ref self, void *body, void *const *arguments,
                                         std::uint32_t count) noexcept {
    if (tooDeep()) return raiseStackExhausted(self, site.site.method);
    const Behaviour *own = self.isStatic() ? nullptr : behaviourOfObject(self);
    if (own == nullptr && !self.isStatic())
        return raiseOn(null, static_cast<Count>(Error::staleReference), nameView(site.site.method));
    if (!self.isStatic()) body = bodyOf(self);
    const auto classSide = own != nullptr && own->classSide;
    const auto *family = self.isStatic() ? familyOfClass(self.withoutStatic()) : own->family;
    const auto &known = cellOf(site.site);
    const auto &knownBehaviour = behaviourAt(known.behaviour);
    // A cell of the wanted side, of a class that the receiver is a kind of: what the site resolved before.
    if (numberOf(&known) != 0 && knownBehaviour.classSide == classSide && family != nullptr &&
        knownBehaviour.family != nullptr && family->isKindOf(*knownBehaviour.family)) [[likely]] {
        return run(known, self, body, arguments, count);
    }
    const auto *sender = familyOfClass(classForProgram(nameView(site.class_program)));
    if (sender == nullptr || family == nullptr || !family->isKindOf(*sender))
        return raiseOn(self, static_cast<Count>(Error::notUnderstood), nameView(site.site.method));
    auto *behaviour = sender->super == nullptr ? nullptr
                      : classSide              ? sender->super->classSide
                                               : sender->super->instances;
    if (behaviour == nullptr && classSide) behaviour = rootFamilies().behavior->instances;
    if (behaviour == nullptr) return runUnknown(self, body, nameView(site.site.method), arguments, count);
    const auto selector = selectorOfSite(site.site);
    if (selector == 0) return runUnknown(self, body, nameView(site.site.method), arguments, count);
    const auto *cell = cellFor(*behaviour, selector);
    if (cell == nullptr) {
        Cell unremembered;
        linkCell(unremembered, *behaviour, selector);
        return run(unremembered, self, body, arguments, count);
    }
    if (sender->super != nullptr) std::atomic_ref<std::uint32_t>(site.site.cell).store(numberOf(cell));
    run(*cell, self, body, arguments, count);
}
} // namespace

// The fast road: a live receiver, of the kind that the site's cell was resolved for. Bare data are the slow road's.
void sendToSuper(oops_super_site &site, Ref self, void *body, void *const *arguments, std::uint32_t count) noexcept {
    const auto *cell = gateOpen(self.index()) && isLive(self) ? &cellOf(site.site) : nullptr;
    if (cell != nullptr && numberOf(cell) != 0) [[likely]] {
        const auto &entry = objects.entries[self.index()];
        const auto &own = behaviourAt(behaviourOf(entry.tag.load(std::memory_order_acquire)));
        const auto &above = behaviourAt(cell->behaviour);
        if (above.family != nullptr && own.classSide == above.classSide && own.family->isKindOf(*above.family) &&
            stackPosition() >= thread.stackLimit) [[likely]]
            return enter(*cell, self, entry, arguments, count);
    }
    sendToSuperSlowly(site, self, body, arguments, count);
}

// ---- Sends by name ------------------------------------------------------------------------------------------------

void sendByName(Ref receiver, const char *name, void *secondCacheWord, void *cacheWord, void *const *arguments,
                std::uint32_t count) noexcept {
    static_cast<void>(secondCacheWord); // one word holds all: a cell knows its selector
    std::uint32_t number = 0;
    if (cacheWord != nullptr) std::memcpy(&number, cacheWord, sizeof number);
    SelectorId selector = 0;
    if (number != 0 && cells != nullptr) {
        const auto &cell = cellAt(number);
        if (cell.selector != nullptr && sameName(*cell.selector, name)) [[likely]] {
            selector = cell.selector->id;
            if (gateOpen(receiver.index())) {
                const auto &entry = objects.entries[receiver.index()];
                if (entry.tag.load(std::memory_order_acquire) == makeTag(receiver.generation(), cell.behaviour) &&
                    stackPosition() >= thread.stackLimit) [[likely]]
                    return enter(cell, receiver, entry, arguments, count);
            }
        }
    }
    oops_site site = {name, 0, selector};
    if (cacheWord == nullptr) return sendSlowly(&site, name, 0, receiver, arguments, count);
    ensureStarted();
    // The word is filled before the method runs: it may lie in an object that the method finalizes.
    if (selector == 0) selector = findSelector(nameView(name));
    const auto *behaviour = receiver.isNull() ? &behaviourAt(nullBehaviour) : behaviourOfObject(receiver);
    if (selector != 0 && behaviour != nullptr) {
        if (const auto *cell = cellFor(behaviourAt(behaviour->id), selector)) {
            const auto filled = numberOf(cell);
            std::memcpy(cacheWord, &filled, sizeof filled);
        }
    }
    site.reserved = selector;
    sendSlowly(&site, name, 0, receiver, arguments, count);
}

namespace {

// The name as far as it goes, and a null: what a program's item holds is not always ended.
struct BoundedName {
    char text[161];
    BoundedName(const char *name, std::size_t length) {
        const auto view = nameView(name, length != 0 && length < sizeof text ? length : sizeof text - 1);
        if (!view.empty()) std::memcpy(text, view.data(), view.size());
        text[view.size()] = '\0';
    }
};

[[gnu::noinline]] void sendUnknownLiteral(Ref receiver, const char *name, std::size_t length, void *const *arguments,
                                          std::uint32_t count) noexcept {
    ensureStarted();
    const BoundedName bounded(name, length);
    const auto selector = findSelector(bounded.text);
    const auto *behaviour = receiver.isNull() ? &behaviourAt(nullBehaviour) : behaviourOfObject(receiver);
    if (selector != 0 && behaviour != nullptr) {
        if (const auto *found = cellFor(behaviourAt(behaviour->id), selector))
            if (auto *store = ownStore()) store->literals.remember(name, length, numberOf(found));
    }
    sendSlowly(nullptr, bounded.text, selector, receiver, arguments, count);
}

} // namespace

void sendByLiteral(Ref receiver, const char *name, std::size_t length, void *const *arguments,
                   std::uint32_t count) noexcept {
    if (gateOpen(receiver.index())) [[likely]] {
        const auto &entry = objects.entries[receiver.index()];
        const auto &cell = cellAt(thread.store->literals.find(name, length));
        if (entry.tag.load(std::memory_order_acquire) == makeTag(receiver.generation(), cell.behaviour) &&
            stackPosition() >= thread.stackLimit) [[likely]]
            return enter(cell, receiver, entry, arguments, count);
    }
    sendUnknownLiteral(receiver, name, length, arguments, count);
}

// ---- Code from outside --------------------------------------------------------------------------------------------

namespace {

// Null reaches only methods of `base` and of the null object, whose data starts at 0.
void *ownData(Ref self, void *body, const Method &method) {
    return self.isStatic() ? body : static_cast<std::byte *>(body) + method.dataOffset;
}

void reportException(Ref self, const Method &method) {
    raiseOn(self, static_cast<Count>(Error::exceptionEscaped), selectorOf(method.selector).name);
}

// While it stands, messages to the marked self of a static send reach its data.
class StaticScope {
public:
    StaticScope(Ref self, void *data) : frame{self, data, thread.staticFrames}, entered(self.isStatic()) {
        if (entered) [[unlikely]]
            thread.staticFrames = &frame;
    }
    ~StaticScope() {
        if (entered) [[unlikely]]
            thread.staticFrames = frame.outer;
    }
    StaticScope(const StaticScope &) = delete;
    StaticScope &operator=(const StaticScope &) = delete;

private:
    StaticFrame frame;
    bool entered;
};

// C code takes addresses, whatever the types of its parameters: the returning item's and the arguments'.
template <std::size_t> using AnyAddress = void *;

template <std::size_t... at>
void callC(void *code, const Ref *self, void *data, void *const *arguments, std::index_sequence<at...>) {
    reinterpret_cast<void (*)(const Ref *, void *, AnyAddress<at>...)>(code)(self, data, arguments[at]...);
}

template <std::size_t parameters>
[[gnu::noinline]] void runStaticC(Ref self, void *body, void *const *arguments, const Cell *cell) noexcept {
    const auto &method = *cell->method.load(std::memory_order_acquire);
    const Ref own = self;
    bool threw = false;
    {
        const StaticScope scope(self, body);
        try {
            callC(method.code, &own, body, arguments, std::make_index_sequence<parameters>());
        } catch (...) {
            threw = true;
        }
    }
    afterUserCode();
    if (threw) reportException(self, method);
}

template <std::size_t parameters> void runC(Ref self, void *body, void *const *arguments, const Cell *cell) noexcept {
    if (self.isStatic()) [[unlikely]]
        return runStaticC<parameters>(self, body, arguments, cell);
    // In memory, where the method gets the address of its own reference anyway: nothing needs a saved register.
    const struct {
        Ref self;
        const Cell *cell;
    } frame{self, cell};
    const auto &method = *cell->method.load(std::memory_order_acquire);
    try {
        callC(method.code, &frame.self, static_cast<std::byte *>(body) + method.dataOffset, arguments,
              std::make_index_sequence<parameters>());
    } catch (...) { // the frames above belong to the runtime and to COBOL programs, which no exception may pass
        afterUserCode();
        return reportException(frame.self, *frame.cell->method.load(std::memory_order_acquire));
    }
    afterUserCode();
}

void runCobol(Ref self, void *body, void *const *arguments, const Cell *cell) noexcept {
    const auto &method = *cell->method.load(std::memory_order_acquire);
    Ref own = self;
    void *addresses[maximumArguments + 2] = {&own, ownData(self, body, method)};
    std::copy(arguments, arguments + method.parameters, addresses + 2);
    const StaticScope scope(self, body);
    const auto finished = host::callMethod(method.code, true, addresses, std::size_t{method.parameters} + 2);
    afterUserCode();
    if (!finished) reportException(self, method);
}

template <std::size_t... at> constexpr auto entriesForC(std::index_sequence<at...>) {
    return std::array<MethodEntry, sizeof...(at)>{runC<at>...};
}

} // namespace

MethodEntry entryForOutside(std::uint32_t parameters, bool cobol) noexcept {
    static constexpr auto entries = entriesForC(std::make_index_sequence<maximumArguments + 1>());
    return cobol ? runCobol : entries[parameters];
}

void notUnderstood(Ref self, void *body, void *const *arguments, const Cell *cell) noexcept {
    runUnknown(self, body, cell->selector->name, arguments, notUnderstoodParameters);
}

void *staticDataOf(Ref self) noexcept {
    const auto *frame = findStaticFrame(self);
    return frame != nullptr ? frame->data : nullptr;
}

std::string_view lastNotUnderstood(Ref object) noexcept {
    const auto &store = *thread.store;
    const auto wanted = spokenFor(object);
    const auto held = std::min<std::size_t>(store.notUnderstoodNext, ThreadStore::rememberedMessages);
    for (std::uint32_t i = 1; i <= held; ++i) {
        const auto &noted = store.notUnderstood[(store.notUnderstoodNext - i) % ThreadStore::rememberedMessages];
        if (noted.receiver == wanted) return noted.name;
    }
    return "";
}

// ---- Errors -------------------------------------------------------------------------------------------------------

void raiseOn(Ref object, Count error, std::string_view insert) noexcept {
    char text[161];
    const auto length = std::min(insert.size(), sizeof text - 1);
    std::memcpy(text, insert.data(), length);
    text[length] = '\0';
    alignas(8) std::byte standIn[8] = {};
    static constinit oops_site site = OOPS_SITE("raiseexceptionwithtextz");
    void *arguments[3] = {standIn, &error, text};
    if (object.isStatic()) object = null;
    send(isLive(object) ? object : null, site, arguments, length == 0 ? 2 : 3);
}

// ---- Tracing ------------------------------------------------------------------------------------------------------

std::uint32_t traceLevel() noexcept { return level.load(std::memory_order_relaxed); }

void setTraceLevel(std::uint32_t wanted) noexcept {
    ensureStarted();
    const auto before = level.exchange(wanted) & traceSends;
    if ((wanted & traceSends) == before) return;
    closeGate((wanted & traceSends) != 0);
    allowNativePaths((wanted & traceSends) == 0);
}

void traceText(std::string_view text) noexcept {
    if (traceLevel() == 0) return;
    std::string line(text);
    line += '\n';
    host::report(line);
}

} // namespace oocobol
