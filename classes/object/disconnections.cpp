// Disconnecting: a component leaves those that it reaches and those that reach it.
//
// A component that leaves takes its tables out of its record first. So nobody, on whatever thread, can connect to it
// any more, and what follows works on tables that nobody else knows.
#include <utility>

#include "classes/callbacks/callback.h"
#include "classes/object/components.h"

namespace oocobol::component {

namespace {

// The output list in the first occupied slot from this one on; slot 0 when there is none.
struct Output {
    Count slot = 0;
    Ref list{};
};
Output nextOutput(const Self &self, Count slot) {
    const Hold hold(self.ref());
    const auto *fields = hold.record() != nullptr ? fieldsOf<HashedFields>(hold.record()->outputs) : nullptr;
    if (fields == nullptr) return {};
    Output found{slotsOf(*fields).nextOccupied(slot)};
    auto *list = reinterpret_cast<std::byte *>(&found.list);
    if (found.slot != 0) readPartAt(hold.record()->outputs, found.slot, Part::data, list, sizeof found.list);
    return found;
}

// The component's output lists, one after the other; the mutex is held for each look only.
template <class Visit> void visitOutputs(const Self &self, Visit visit) {
    for (auto output = nextOutput(self, 1); output.slot != 0; output = nextOutput(self, output.slot + 1))
        visit(output.list);
}

// The objects of a set of references that nobody else changes.
template <class Visit> void visitObjects(Ref set, Visit visit) {
    visitOccupied(set, UINT32_MAX, [&](Count slot) {
        Ref object{};
        if (readElement(set, slot, reinterpret_cast<std::byte *>(&object), sizeof object)) visit(object);
        return true;
    });
}

// The object drops its callbacks to a component. Two that end at the same time on two threads may ask each other: what
// is gone by then has dropped them, and nothing is raised.
void askToDrop(Ref object, const Self &self) {
    if (!isOne(object)) return;
    if (!runsOwn(object, {"removehandler"})) return send(SITE("removehandler"), object, self.ref());
    auto *body = bodyOf(object);
    if (body != nullptr) removeHandler(Receiver(object, body), self.ref());
}

void askToForget(Ref receiver, const Self &self) {
    if (!isOne(receiver)) return;
    if (!runsOwn(receiver, {"removesignaldependant"})) return send(SITE("removesignaldependant"), receiver, self.ref());
    auto *body = bodyOf(receiver);
    if (body != nullptr) removeSignalDependant(Receiver(receiver, body), self.ref());
}

// Removes the callbacks on the object from one of the component's lists, as asking about each of them would.
void dropNatively(const Self &self, Ref object, Ref list) {
    const Hold hold(self.ref());
    if (!hasOutputs(hold)) return;
    const CallbackList callbacks(list);
    for (Count i = 1; i <= callbacks.size();) {
        const auto callback = callbacks.at(i);
        if (receiverOf(callback) != object) {
            ++i;
            continue;
        }
        const auto before = callbacks.size();
        callbacks.removeAt(i);
        if (callbacks.size() >= before) return; // a redefined method does not remove
        finalizeLive(callback);
    }
}

// A copy to be walked while the list changes; null when memory is short.
Ref copyOf(const Self &self, Ref list) {
    const Hold hold(self.ref());
    return hasOutputs(hold) && isLive(list) ? send<Ref>(SITE("copy"), list) : null;
}

} // namespace

// ---- The component that goes ---------------------------------------------------------------------------------------

// disconnect (). Leaves all other components, its spies and its exception handler; what it published and took is gone.
void disconnect(const Self &self) {
    SignalRecord taken{};
    {
        const Hold hold(self.ref());
        auto *record = hold.record();
        if (record == nullptr) return;
        taken = *record;
        record->outputs = record->sockets = record->dependents = record->spies = null;
    }
    visitObjects(taken.dependents, [&](Ref object) {
        if (runsOwn(self.ref(), {"disconnectinstance"}))
            disconnectInstance(self, object);
        else
            sendSelf(SITE("disconnectinstance"), self, object);
    });
    forEachOutput(taken.outputs,
                  [&](const NameKey &, Ref list) { sendSelf(SITE("removesignaldependents"), self, list); });
    send<bool>(SITE("cancel"), CLASS("exptnmgr"), self.ref());
    finalizeSpies(taken.spies);
    if (isLive(taken.dependents)) send<Ref>(SITE("finalize"), taken.dependents);
    for (const Ref table : {taken.outputs, taken.sockets}) {
        if (isLive(table)) send<Ref>(SITE("reallydeepfinalize"), table);
    }
}

// disconnectinputs (). Those whose signals reach the component drop their callbacks to it.
void disconnectInputs(const Self &self) {
    Ref copied{};
    {
        const Hold hold(self.ref());
        if (hold.record() == nullptr || !hold.record()->dependents) return;
        copied = send<Ref>(SITE("copy"), hold.record()->dependents);
    }
    const Temporary walked(copied);
    visitObjects(walked.ref(), [&](Ref object) {
        sendSelf(SITE("disconnectinstance"), self, object);
        removeSignalDependant(self, object);
    });
}

// disconnectoutputs (). Every receiver forgets the component, whose callbacks go; its signals stay defined.
void disconnectOutputs(const Self &self) {
    visitOutputs(self, [&](Ref list) { sendSelf(SITE("removesignaldependents"), self, list); });
}

// disconnectinstance (object). It drops its callbacks to self.
void disconnectInstance(const Self &self, Ref object) { askToDrop(object, self); }

// ---- The other side: a receiver has gone ---------------------------------------------------------------------------

// removehandler (object). No signal of the component reaches it any more.
void removeHandler(const Self &self, Ref object) {
    sendSelf(SITE("removesignaldependant"), self, object);
    const auto isDirect = runsOwn(self.ref(), {"disconnectsignals", "disconnectcallback"});
    visitOutputs(self, [&](Ref list) {
        if (isDirect)
            dropNatively(self, object, list);
        else
            sendSelf(SITE("disconnectsignals"), self, object, list);
    });
}

// disconnectsignals (object, callbacks). Those of the callbacks that are on the object go.
void disconnectSignals(const Self &self, Ref object, Ref callbacks) {
    if (runsOwn(self.ref(), {"disconnectcallback"})) return dropNatively(self, object, callbacks);
    const Temporary walked(copyOf(self, callbacks));
    if (!walked) return;
    const Temporary asked(perElement(self.ref(), "disconnectCallback", callbacks, object));
    send(SITE("do"), walked.ref(), asked.ref());
}

// disconnectcallback (callbacks, object, callback). When it is on the object, it is taken out and finalized.
void disconnectCallback(const Self &self, Ref callbacks, Ref object, Ref callback) {
    const Hold hold(self.ref());
    if (receiverOf(callback) != object || !CallbackList(callbacks).remove(callback)) return;
    finalizeLive(callback);
}

// disconnectsignal (signal, object). Raises 94 without output signals, 95 when the signal is not defined.
void disconnectSignal(const Self &self, Name signal, Ref object) {
    const auto list = sendSelf<Ref>(SITE("getoutputsignalcallbacks"), self, signal);
    if (list) return sendSelf(SITE("disconnectsignals"), self, object, list);
    if (getOutputs(self)) raiseNamed(self, {}, Error::noSignal, NameKey(signal));
}

// From the end of the list, where nothing has to move up.
void disconnectAll(const Self &self, Name signal, Ref receivers) {
    const Hold hold(self.ref());
    if (!hasOutputs(hold)) return;
    const CallbackList callbacks(objectAt(hold.record()->outputs, NameKey(signal)));
    for (auto i = callbacks.size(); i > 0; --i) {
        const auto callback = callbacks.at(i);
        if (!send<bool>(SITE("includes"), receivers, receiverOf(callback))) continue;
        callbacks.removeAt(i);
        finalizeLive(callback);
    }
}

// ---- The other side: a source has gone ------------------------------------------------------------------------------

namespace {

Count sizeOf(const Self &self, const CallbackList &list) {
    const Hold hold(self.ref());
    return list.size();
}

} // namespace

// removesignaldependents (callbacks). Their receivers forget self; the list is empty then and the callbacks are gone.
void removeSignalDependents(const Self &self, Ref callbacks) {
    const CallbackList list(callbacks);
    for (auto left = sizeOf(self, list); left > 0; --left) {
        Ref callback{};
        {
            const Hold hold(self.ref());
            if (list.size() == 0) return;
            callback = list.at(1);
            send(SITE("removefirst"), callbacks, Index{1});
        }
        sendSelf(SITE("doremovesignaldependant"), self, callback);
    }
}

// doremovesignaldependant (callback). Its receiver forgets self; the callback is finalized.
void doRemoveSignalDependant(const Self &self, Ref callback) {
    if (const auto receiver = receiverOf(callback)) askToForget(receiver, self);
    finalizeCallback(self.ref(), callback);
}

} // namespace oocobol::component
