// Callback: a message to be sent later, with up to six arguments given now and up to nine then.
//
// It takes no lock: an invocation touches nothing of the callback but its counts and its cache, a cache word names a
// cell that lives for ever, and a lock held around user code would let two threads wait for each other. What the
// active count and the pending finalize promise holds without it.
#include "classes/callbacks/use.h"
#include "classes/text/characters.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "callback";

using Self = Instance<CallbackFields>;
using ClassSelf = Receiver;
using Stored = Optional<std::uint64_t>;

// new (receiver, method name, up to 6 arguments) -> callback. A seventh argument raises 20.
Answer<Ref> create(ClassSelf self, Ref receiver, Name method, Area a, Area b, Area c, Area d, Area e, Area f,
                   Area seventh) {
    if (seventh) return raise(Error::tooManyStored);
    const auto made = sendSuper<Ref>(SUPER("basicnew"), self);
    if (made) send(SITE("initialize"), made, receiver, method, a, b, c, d, e, f);
    return made;
}

// initialize (receiver, method name, up to 6 arguments). The name is kept in lower case; one of 80 characters and more
// is replaced, so that the message is not understood later.
void initialize(Self self, Ref receiver, Name method, Stored a, Stored b, Stored c, Stored d, Stored e, Stored f) {
    auto name = upToSpaceOrNull(method);
    std::memset(self->name, name.size() > longestCallbackName ? ' ' : '\0', callbackNameWidth);
    if (name.size() > longestCallbackName) name = "callbackmethodnametoolong";
    std::memcpy(self->name, name.data(), name.size());
    host::toLower(self->name, name.size());
    storeParameters(*self, {a, b, c, d, e, f});
    self->receiver = receiver;
    self->active = 0;
}

// ---- Invoking ---------------------------------------------------------------------------------------------------

// invoke (up to 9 arguments) -> the method's answer. Without a stored receiver the first argument is the receiver.
// A tenth argument raises 21.
Answer<void> invoke(Self self, Returning answer, Brought brought) {
    if (brought[invokeArguments]) return raise(Error::tooManyArguments).answering(sizeof(std::uint64_t));
    ArgumentList list(*self);
    auto receiver = self->receiver;
    if (const auto first = brought[0]) {
        if (receiver)
            list.append(first);
        else
            std::memcpy(&receiver, first.address, sizeof receiver);
        list.appendFrom(1, brought);
    }
    std::uint64_t standIn = 0;
    void *returning = answer ? static_cast<void *>(answer.address) : &standIn;
    Use use(self.ref(), &*self);
    std::uint32_t cache = self->methodCache;
    const auto before = cache;
    sendByName(receiver, self->name, nullptr, &cache, list.forSend(returning), maximumArguments);
    if (cache != before) self->methodCache = cache;
    list.storeBack(self);
    if (const auto over = use.end()) send<Ref>(SITE("finalize"), over);
    return {};
}

// getreceiver () -> object.
Ref getReceiver(Self self) { return self->receiver; }

// equal (callback) -> flag. The same name and receiver; stored arguments do not count.
bool equal(Self self, Ref other) {
    if (!isLive(other)) return false;
    std::byte name[callbackNameWidth] = {};
    send(SITE("getmessage"), other, Returning{{name}});
    if (std::memcmp(name, self->name, callbackNameWidth) != 0) return false;
    return send<Ref>(SITE("getreceiver"), other) == self->receiver;
}

// resetcache, preparetobesaved (). A cache has no meaning outside this process.
void resetCache(Self self) { self->methodCache = 0; }

// finalize () -> null. At once when no invocation is active, else when the last one returns.
Ref finalize(Self self) {
    if (!mayEnd(*self)) return null;
    self->methodCache = 0; // nothing to free: it names a cell
    return sendSuper<Ref>(SUPER("finalize"), self);
}

constexpr std::array methods{
    onClass<create>("new"),
    instance<initialize>("initialize"),
    instance<invoke>("invoke"),
    instance<getReceiver>("getreceiver"),
    instance<equal>("equal"),
    instance<resetCache>("resetcache"),
    instance<resetCache>("preparetobesaved"),
    instance<finalize>("finalize"),
};

constexpr ClassDef definition{.program = program,
                              .name = "callback",
                              .super = "entrycll",
                              .instanceData = fields<CallbackFields, 260>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
