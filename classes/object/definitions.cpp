// What a component publishes and takes: output signals, sockets and the input signals on them; and who is asked.
#include "classes/callbacks/callback.h"
#include "classes/object/components.h"

namespace oocobol::component {

namespace {

constexpr Index socketCapacity = 20; // input signals
constexpr Index listCapacity = 5;    // callbacks

// The named object in one of the record's tables, looked up under the mutex.
Ref lookUp(const Self &self, Ref SignalRecord::*table, const NameKey &name) {
    const Hold hold(self.ref());
    const auto *record = hold.record();
    return record != nullptr ? objectAt(record->*table, name) : null;
}

bool hasTable(const Self &self, Ref SignalRecord::*table) {
    const Hold hold(self.ref());
    const auto *record = hold.record();
    return record != nullptr && record->*table;
}

} // namespace

// ---- Output signals -----------------------------------------------------------------------------------------------

namespace {

enum class Defined { done, already, twice, nowhere };

Defined defineOutput(const Self &self, const NameKey &name) {
    const auto listClass = CLASS("ordrdcll");
    const Hold hold(self.ref());
    if (hold.record() == nullptr || !hold.record()->outputs) return Defined::nowhere;
    if (objectAt(hold.record()->outputs, name))
        return hold.record()->duplicates == 1 ? Defined::already : Defined::twice;
    const auto list = ifComplete(send<Ref>(SITE("ofreferences"), listClass, listCapacity));
    if (!list) return Defined::already; // no memory: that has been raised
    if (hold.record() != nullptr && putObject(hold.record()->outputs, name, list)) return Defined::done;
    finalizeLive(list);
    return Defined::already;
}

} // namespace

// defineoutsignal (signal). Raises 94 for what is no component, 96 when it is defined and duplicates are refused.
Answer<void> defineOutSignal(const Self &self, Name signal) {
    const NameKey name(signal);
    switch (defineOutput(self, name)) {
    case Defined::done:
        traceIfWanted(self, {"Defining output signal ", classNameOf(self.ref()), " ", name.view()});
        break;
    case Defined::already:
        break;
    case Defined::twice:
        raiseNamed(self, {}, Error::outputTwice, name);
        break;
    case Defined::nowhere:
        return raise(Error::noOutputs);
    }
    return {};
}

// getoutputs () -> table, null for what is no component.
Ref getOutputs(const Self &self) {
    const Hold hold(self.ref());
    return hold.record() != nullptr ? hold.record()->outputs : null;
}

// getoutputsignalcallbacks (signal) -> collection, null when it is not defined. Raises 94 without output signals.
Answer<Ref> getOutputSignalCallbacks(const Self &self, Name signal) {
    if (!hasTable(self, &SignalRecord::outputs)) return raise(Error::noOutputs);
    return lookUp(self, &SignalRecord::outputs, NameKey(signal));
}

// isoutputsignal (signal) -> flag.
bool isOutputSignal(const Self &self, Name signal) {
    return !lookUp(self, &SignalRecord::outputs, NameKey(signal)).isNull();
}

// ---- Sockets and input signals --------------------------------------------------------------------------------------

// defineinsocket (socket). Nothing happens when it is defined. Raises 93 for what is no component.
void defineInSocket(const Self &self, Name socket) {
    const NameKey name(socket);
    if (!hasTable(self, &SignalRecord::sockets)) return raiseNamed(self, {}, Error::noSocket, name);
    {
        const Hold hold(self.ref());
        if (hold.record() == nullptr || objectAt(hold.record()->sockets, name)) return;
        const auto made = newNameTable(socketCapacity);
        if (!made) return;
        if (hold.record() == nullptr || !putObject(hold.record()->sockets, name, made)) return finalizeLive(made);
    }
    traceIfWanted(self, {"Defining input socket ", classNameOf(self.ref()), " ", name.view()});
}

// getsocket (socket) -> table of input signals, null when it is not defined. Raises 93 for what is no component.
Ref getSocket(const Self &self, Name socket) {
    const NameKey name(socket);
    if (!hasTable(self, &SignalRecord::sockets)) return raiseNamedForObject(self, Error::noSocket, name);
    return lookUp(self, &SignalRecord::sockets, name);
}

// isinputsignal (socket, signal) -> flag.
bool isInputSignal(const Self &self, Name socket, Name signal) {
    const Hold hold(self.ref());
    const auto *record = hold.record();
    return record != nullptr && objectAt(objectAt(record->sockets, NameKey(socket)), NameKey(signal));
}

namespace {

// Puts the callback under the name on the socket, in the place of another one; of an equal one it is left as it is.
Defined defineInput(const Self &self, const NameKey &name, const NameKey &socket, Ref callback) {
    const Hold hold(self.ref());
    const auto signals = hold.record() != nullptr ? objectAt(hold.record()->sockets, socket) : null;
    if (!signals) return Defined::nowhere;
    const auto former = objectAt(signals, name);
    if (former && hold.record()->duplicates != 1) return Defined::twice;
    if (former && send<bool>(SITE("equal"), callback, former)) return Defined::already;
    if (!putObject(signals, name, callback)) return Defined::already; // no memory: that has been raised
    finalizeLive(former);
    return Defined::done;
}

} // namespace

// defineinsignal (signal, socket, method). Defined again with another method, that one takes over. Raises 93 when there
// is no such socket, 98 when the signal is defined and duplicates are refused.
void defineInSignal(const Self &self, Name signal, Name socket, Name method) {
    const NameKey name(signal), socketName(socket);
    if (!lookUp(self, &SignalRecord::sockets, socketName)) return raiseNamed(self, {}, Error::noSocket, socketName);
    Temporary callback(send<Ref>(SITE("new"), CLASS("callback"), self.ref(), method));
    if (!callback) return;
    switch (defineInput(self, name, socketName, callback.ref())) {
    case Defined::done:
        callback.giveAway();
        traceIfWanted(self, {"Defining input signal ", name.view(), " on ", socketName.view(), " for ",
                             nameView(method.address, callbackNameWidth)});
        break;
    case Defined::already:
        break;
    case Defined::twice:
        raiseNamed(self, {}, Error::inputTwice, name, socketName);
        break;
    case Defined::nowhere:
        raiseNamed(self, {}, Error::noSocket, socketName);
        break;
    }
}

// ---- Who is connected ----------------------------------------------------------------------------------------------

namespace {

Index sizeOf(const Self &self, Ref list) {
    const Hold hold(self.ref());
    return hasOutputs(hold) ? static_cast<Index>(CallbackList(list).size()) : 0;
}

// Adds the receivers of the callbacks to a set of references.
void addReceivers(const Self &self, Ref list, Ref set) {
    const Hold hold(self.ref());
    if (!hasOutputs(hold)) return;
    const CallbackList callbacks(list);
    const auto isDirect = runsOwn(self.ref(), {"addreceiver"}) && nativePath(list, {"do", "at", "size"});
    if (isDirect) {
        for (Count i = 1; i <= callbacks.size(); ++i) send(SITE("add"), set, receiverOf(callbacks.at(i)));
        return;
    }
    const Temporary adder(perElement(self.ref(), "addReceiver", set));
    send(SITE("do"), list, adder.ref());
}

} // namespace

// getsignalhandlers (signal) -> identity set of the receivers, the caller's to finalize. Raises 94 without output
// signals, 95 when the signal is not defined.
Ref getSignalHandlers(const Self &self, Name signal) {
    const NameKey name(signal);
    const auto list = sendSelf<Ref>(SITE("getoutputsignalcallbacks"), self, signal);
    if (!list) return hasTable(self, &SignalRecord::outputs) ? raiseNamedForObject(self, Error::noSignal, name) : null;
    const auto count = sizeOf(self, list);
    const auto set = ifComplete(send<Ref>(SITE("ofreferences"), CLASS("iset"), count));
    if (set) addReceivers(self, list, set);
    return set;
}

bool reaches(const Self &self, Name signal, Ref object) {
    const Hold hold(self.ref());
    if (!hasOutputs(hold)) return false;
    const CallbackList callbacks(objectAt(hold.record()->outputs, NameKey(signal)));
    for (Count i = 1; i <= callbacks.size(); ++i) {
        if (receiverOf(callbacks.at(i)) == object) return true;
    }
    return false;
}

// addreceiver (collection, callback). The callback's receiver.
void addReceiver(const Self &, Ref collection, Ref callback) {
    ReferenceElement receiver(send<Ref>(SITE("getreceiver"), callback), collection);
    addElement(collection, receiver);
}

} // namespace oocobol::component
