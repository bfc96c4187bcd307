// Dependent: what gives any object a list of dependents, which are told when it changes or is deleted.
//
// The list is the model's connections: two output signals, joined to the input signals of the same names on one socket
// of each dependent, which answers them with its methods `changed` and `deleted`. A dependent that inherits these
// passes the notification on to dependents of its own; where models depend on each other in a circle, that ends at the
// one who is passing on the same notification already.
#include "classes/object/components.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

using Self = Receiver;

constexpr char changedSignal[] = "ASSOCIATECHANGED ", deletedSignal[] = "ASSOCIATEDELETED ";
constexpr char socketName[] = "ASSOCIATESOCKET ";
constexpr char changedMethod[] = "changed ", deletedMethod[] = "deleted ";

bool hasSignal(const Self &self, const char *signal) {
    return sendSelf<bool>(SITE("iscomponent"), self) && sendSelf<bool>(SITE("isoutputsignal"), self, Bytes{signal});
}

bool makeComponent(Ref object) {
    send(SITE("makecomponent"), object);
    return isLive(object) && send<bool>(SITE("iscomponent"), object);
}

// ---- Adding -------------------------------------------------------------------------------------------------------

// adddependent (object). Raises 33 for null, 106 for a dead reference; 32 when memory is short: it is none then.
Answer<void> addDependent(Self self, Ref dependent) {
    if (!isLive(dependent)) return raise(dependent.isNull() ? Error::invalidParameter : Error::staleReference);
    if (!makeComponent(self.ref()) || !makeComponent(dependent)) return {};
    sendSelf(SITE("defineoutsignal"), self, Bytes{changedSignal});
    sendSelf(SITE("defineoutsignal"), self, Bytes{deletedSignal});
    auto &defining = SITE("defineinsignal");
    send(SITE("defineinsocket"), dependent, Bytes{socketName});
    if (!send<Ref>(SITE("getsocket"), dependent, Bytes{socketName})) return {};
    send(defining, dependent, Bytes{changedSignal}, Bytes{socketName}, Bytes{changedMethod});
    send(defining, dependent, Bytes{deletedSignal}, Bytes{socketName}, Bytes{deletedMethod});
    auto &defined = SITE("isinputsignal");
    const auto isWhole = send<bool>(defined, dependent, Bytes{socketName}, Bytes{changedSignal}) &&
                         send<bool>(defined, dependent, Bytes{socketName}, Bytes{deletedSignal}) &&
                         hasSignal(self, changedSignal) && hasSignal(self, deletedSignal);
    if (isWhole) sendSelf(SITE("connect"), self, self.ref(), dependent, Bytes{socketName});
    return {};
}

// ---- Notifying ----------------------------------------------------------------------------------------------------

// Which notifications are on their way on this thread. One is the same as another when it comes from the same model and
// carries the same argument.
struct Notification {
    Ref model;
    const char *signal;
    const void *argument;
    const Notification *outer;
};
constinit thread_local const Notification *underWay = nullptr;

bool isUnderWay(const Notification &wanted) {
    for (const auto *at = underWay; at != nullptr; at = at->outer) {
        if (at->model == wanted.model && at->signal == wanted.signal && at->argument == wanted.argument) return true;
    }
    return false;
}

void notify(const Self &self, const char *signal, Area argument) {
    const Notification notification{self.ref(), signal, argument.address, underWay};
    if (isUnderWay(notification) || !hasSignal(self, signal)) return;
    underWay = &notification;
    sendSelf(SITE("signal"), self, Bytes{signal}, argument);
    underWay = notification.outer;
}

// changed (argument), deleted (argument). Every dependent gets the same message.
void changed(Self self, Area argument) { notify(self, changedSignal, argument); }
void deleted(Self self, Area argument) { notify(self, deletedSignal, argument); }

// ---- Removing -----------------------------------------------------------------------------------------------------

// getdependents () -> set, the caller's to finalize; null without dependents.
Ref getDependents(Self self) {
    if (!hasSignal(self, changedSignal)) return null;
    return sendSelf<Ref>(SITE("getsignalhandlers"), self, Bytes{changedSignal});
}

// Whether the object is among the dependents, without making the set of all of them where that is all it is for.
bool isDependent(const Self &self, Ref object) {
    if (runsMethodOf(self.ref(), "getdependents", "dependnt") &&
        component::runsOwn(self.ref(), {"getsignalhandlers", "getoutputsignalcallbacks", "addreceiver"}))
        return component::reaches(self, {changedSignal}, object);
    const Temporary dependents(sendSelf<Ref>(SITE("getdependents"), self));
    return dependents && send<bool>(SITE("includes"), dependents.ref(), object);
}

// removedependent (object). Nothing happens when it is none.
void removeDependent(Self self, Ref dependent) {
    if (!isDependent(self, dependent)) return;
    sendSelf(SITE("disconnectsignal"), self, Bytes{changedSignal}, dependent);
    sendSelf(SITE("disconnectsignal"), self, Bytes{deletedSignal}, dependent);
}

// removedependencies (). All of them.
void removeDependencies(Self self) {
    const Temporary dependents(sendSelf<Ref>(SITE("getdependents"), self));
    if (!dependents) return;
    if (runsMethodOf(self.ref(), "removedependent", "dependnt") &&
        component::runsOwn(self.ref(), {"disconnectsignal", "disconnectsignals", "disconnectcallback"})) {
        component::disconnectAll(self, {changedSignal}, dependents.ref());
        component::disconnectAll(self, {deletedSignal}, dependents.ref());
        return;
    }
    const Temporary remover(perElement(self.ref(), "removeDependent"));
    send(SITE("do"), dependents.ref(), remover.ref());
}

constexpr std::array methods{
    instance<addDependent>("adddependent"),
    instance<changed>("changed"),
    instance<deleted>("deleted"),
    instance<getDependents>("getdependents"),
    instance<removeDependent>("removedependent"),
    instance<removeDependencies>("removedependencies"),
};

constexpr ClassDef definition{.program = "dependnt", .name = "dependent", .super = "base", .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
