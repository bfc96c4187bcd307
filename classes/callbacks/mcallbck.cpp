// Threaded callback: a callback whose message is sent on a thread of its own.
//
// invoke returns before the message has run and answers nothing. The new thread gets the name and the stored arguments
// as copies, so that the callback may be finalized at once; the arguments of the invocation itself are addresses in
// the caller's storage, and the caller keeps them until the message has run.
#include "classes/callbacks/callback.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "mcallbck";

using Self = Instance<CallbackFields>;

// What the thread is started with.
struct Message {
    Ref receiver;
    char name[callbackNameWidth + 1];
    std::uint64_t stored[storedArguments];
    Count storedCount;
    void *brought[listLength];
    Count broughtCount;

    void bring(Area argument) {
        if (argument && storedCount + broughtCount < listLength) brought[broughtCount++] = argument.address;
    }
};

void sendMessage(void *block) {
    auto &message = *static_cast<Message *>(block);
    void *arguments[1 + listLength] = {};
    std::size_t at = 1;
    for (Count i = 0; i < message.storedCount; ++i) arguments[at++] = &message.stored[i];
    for (Count i = 0; i < message.broughtCount; ++i) arguments[at++] = message.brought[i];
    sendByName(message.receiver, message.name, nullptr, nullptr, arguments, maximumArguments);
}

// invoke (up to 9 arguments). A tenth argument raises 21.
Answer<void> invoke(Self self, Brought brought) {
    if (brought[invokeArguments]) return raise(Error::tooManyArguments).answering(sizeof(std::uint64_t));
    Message message{};
    message.receiver = self->receiver;
    std::memcpy(message.name, self->name, callbackNameWidth);
    std::memcpy(message.stored, self->parameters, sizeof message.stored);
    message.storedCount = self->parameterCount;
    if (const auto first = brought[0]) {
        if (message.receiver)
            message.bring(first);
        else
            std::memcpy(&message.receiver, first.address, sizeof message.receiver);
        for (Count i = 1; i < invokeArguments; ++i) message.bring(brought[i]);
    }
    host::createThread(sendMessage, &message, sizeof message);
    return {};
}

constexpr std::array methods{instance<invoke>("invoke")};

constexpr ClassDef definition{.program = program,
                              .name = "threadedcallback",
                              .super = "callback",
                              .instanceData = inheritedFields(260),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
