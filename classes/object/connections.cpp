// Connections: every output signal of a source joined to the input signal of the same name on a target's socket.
#include "classes/callbacks/callback.h"
#include "classes/object/components.h"

namespace oocobol::component {

// ---- Dependents ----------------------------------------------------------------------------------------------------

// addsignaldependant (object). Raises 33 for null, 106 for a dead reference; nothing happens on what is no component.
Answer<void> addSignalDependant(const Self &self, Ref object) {
    if (!isLive(object)) return raise(object.isNull() ? Error::invalidParameter : Error::staleReference);
    const Hold hold(self.ref());
    if (hold.record() != nullptr && hold.record()->dependents) send(SITE("add"), hold.record()->dependents, object);
    return {};
}

namespace {

bool hasDependent(Ref component, Ref object) {
    const Hold hold(component);
    const auto *record = hold.record();
    return record != nullptr && record->dependents && send<bool>(SITE("includes"), record->dependents, object);
}

} // namespace

// removesignaldependant (object). Nothing happens when it is none.
void removeSignalDependant(const Self &self, Ref object) {
    const Hold hold(self.ref());
    const auto *record = hold.record();
    if (record == nullptr || !record->dependents) return;
    if (send<bool>(SITE("includes"), record->dependents, object))
        send(SITE("remove"), hold.record()->dependents, object);
}

// getsignaldependents () -> set, null for what is no component.
Ref getSignalDependents(const Self &self) {
    const Hold hold(self.ref());
    return hold.record() != nullptr ? hold.record()->dependents : null;
}

// ---- One signal ----------------------------------------------------------------------------------------------------

namespace {

enum class Outcome { none, failed, made };

// A connection in the making: what takes it back again.
struct Connection {
    Outcome outcome = Outcome::none;
    Ref callback{};
    bool dependentAdded = false;
};

// A copy of the target's callback for an input signal; null when it has none of that name.
Ref copyOfHandler(Ref target, Ref socket, const NameKey &signal, bool &wanted) {
    const Hold hold(target);
    const auto *record = hold.record();
    const auto handler = record != nullptr && record->sockets ? objectAt(socket, signal) : null;
    wanted = !handler.isNull();
    return handler ? send<Ref>(SITE("copy"), handler) : null;
}

bool haveSameMessage(const CallbackFields &one, const CallbackFields &other) {
    return one.receiver == other.receiver && std::memcmp(one.name, other.name, sizeof one.name) == 0;
}

// Whether a list has a callback that is equal to this one. Among thousands that is seen natively.
bool includesEqual(const CallbackList &callbacks, Ref wanted) {
    const auto *fields = fieldsOf<CallbackFields>(wanted);
    const auto all = callbacks.run();
    if (!all || fields == nullptr || !runsMethodOf(wanted, "equal", "callback")) {
        for (Count i = 1; i <= callbacks.size(); ++i) {
            const auto callback = callbacks.at(i);
            if (isLive(callback) && send<bool>(SITE("equal"), callback, wanted)) return true;
        }
        return false;
    }
    const auto *behaviour = behaviourOfObject(wanted);
    for (Count i = 0; i < all->count; ++i) {
        const auto callback = referenceIn(all->start + std::size_t{i} * all->width);
        if (behaviourOfObject(callback) != behaviour) continue;
        if (haveSameMessage(*reinterpret_cast<const CallbackFields *>(bodyOf(callback)), *fields)) return true;
    }
    return false;
}

// Appends the callback to one of the component's lists, unless it has an equal one.
Outcome appendTo(Ref component, Ref list, Ref callback) {
    const Hold hold(component);
    if (!hasOutputs(hold)) return Outcome::none;
    const CallbackList callbacks(list);
    if (includesEqual(callbacks, callback)) return Outcome::none;
    return callbacks.append(callback) ? Outcome::made : Outcome::failed;
}

void takeBack(const Self &self, Ref target, Ref list, const Connection &connection) {
    if (connection.outcome != Outcome::made) return;
    {
        const Hold hold(self.ref());
        if (hold.record() == nullptr || !CallbackList(list).remove(connection.callback)) return;
        send<Ref>(SITE("finalize"), connection.callback);
    }
    if (connection.dependentAdded && isLive(target)) send(SITE("removesignaldependant"), target, self.ref());
}

Connection connectSignal(const Self &self, Ref target, const NameKey &socketName, const NameKey &signal, Ref list) {
    const char *const name = socketName.bytes;
    const auto socket = isOne(target) ? send<Ref>(SITE("getsocket"), target, Name{name}) : null;
    if (!socket) {
        raiseNamed(self, {}, Error::noSocket, socketName);
        return {};
    }
    auto wanted = false;
    Temporary callback(copyOfHandler(target, socket, signal, wanted));
    if (!wanted) return {};
    if (!callback) return {.outcome = Outcome::failed};
    if (!isLive(list)) {
        raiseNamed(self, {}, Error::noCallbackList, signal);
        return {};
    }
    Connection made{.outcome = appendTo(self.ref(), list, callback.ref()), .callback = callback.ref()};
    if (made.outcome != Outcome::made) return made;
    callback.giveAway();
    made.dependentAdded = !hasDependent(target, self.ref());
    if (!made.dependentAdded) return made;
    if (isLive(target)) send(SITE("addsignaldependant"), target, self.ref());
    if (hasDependent(target, self.ref())) return made;
    takeBack(self, target, list, made); // no memory, or the target has gone meanwhile
    return {.outcome = Outcome::failed};
}

} // namespace

// copyconnection (target, socket, signal, callbacks). Appends a copy of the target's callback for that input signal, if
// it has one, unless the list has an equal one. Raises 93 without the socket, 97 without the list.
void copyConnection(const Self &self, Ref target, Name socket, Name signal, Ref callbacks) {
    connectSignal(self, target, NameKey(socket), NameKey(signal), callbacks);
}

// ---- All signals ---------------------------------------------------------------------------------------------------

namespace {

// What a connect has made so far, so that one which cannot be completed leaves nothing behind.
struct Made {
    Ref list;
    Connection connection;
};

// Connects the source's outputs one after the other. False when memory was short.
bool connectAll(const Receiver &source, Ref outputs, Ref target, const NameKey &socket) {
    const auto count = send<Count>(SITE("size"), outputs);
    WorkArea area((std::size_t{count} + 1) * sizeof(Made));
    if (!area) return false;
    auto *made = reinterpret_cast<Made *>(area.bytes());
    Count done = 0;
    auto complete = true;
    const auto isDirect = runsOwn(source.ref(), {"copyconnection"});
    forEachOutput(outputs, [&](const NameKey &signal, Ref list) {
        if (!complete || done > count || !source.isAlive()) return;
        if (!isDirect) {
            send(SITE("copyconnection"), source.ref(), target, Name{socket.bytes}, Name{signal.bytes}, list);
            return;
        }
        const auto connection = connectSignal(source, target, socket, signal, list);
        complete = connection.outcome != Outcome::failed;
        if (connection.outcome == Outcome::made) made[done++] = {list, connection};
    });
    for (; !complete && done > 0; --done) takeBack(source, target, made[done - 1].list, made[done - 1].connection);
    return complete;
}

} // namespace

// connect (source, target, socket). All of the source's output signals, or none when memory is short. Raises 94 for a
// source without output signals, 93 for a target without the socket, 106 for dead ones.
Answer<void> connect(const Self &self, Ref source, Ref target, Name socket) {
    const NameKey name(socket);
    if ((source && !isLive(source)) || (target && !isLive(target))) return raise(Error::staleReference);
    if (!target) {
        raiseNamed(self, {}, Error::noSocket, name);
        return {};
    }
    const auto outputs = source ? send<Ref>(SITE("getoutputs"), source) : null;
    if (!outputs) return raise(Error::noOutputs);
    traceIfWanted(self, {"Connecting ", classNameOf(source), " to ", classNameOf(target), " at socket ", name.view()});
    // The table may be changed by other threads meanwhile: a copy is walked.
    Ref copied{};
    {
        const Hold hold(source);
        if (hasOutputs(hold)) copied = send<Ref>(SITE("copy"), outputs);
    }
    const Temporary walked(copied);
    const Receiver receiver(source, bodyOf(source));
    if (walked) connectAll(receiver, walked.ref(), target, name);
    return {};
}

// connectto (target, socket). With self as the source.
void connectTo(const Self &self, Ref target, Name socket) {
    sendSelf(SITE("connect"), self, self.ref(), target, socket);
}

} // namespace oocobol::component
