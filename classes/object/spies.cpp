// Spies: callbacks that learn of each signal that a component is about to send, and may stop it.
#include "classes/callbacks/callback.h"
#include "classes/object/components.h"
#include "classes/text/text_values.h"

namespace oocobol::component {

namespace {

// A copy of the spies, to be walked without the mutex; null without spies.
Ref copyOfSpies(const Self &self) {
    const Hold hold(self.ref());
    return hold.record() != nullptr && hold.record()->spies ? send<Ref>(SITE("copy"), hold.record()->spies) : null;
}

// False when there was no memory, which has been raised, or the object is no component any more.
bool append(const Self &self, Ref spy) {
    constexpr Index capacity = 1;
    const auto listClass = CLASS("ordrdcll");
    const Hold hold(self.ref());
    if (!hasOutputs(hold)) return false;
    if (!hold.record()->spies) {
        const auto made = ifComplete(send<Ref>(SITE("ofreferences"), listClass, capacity));
        if (hold.record() == nullptr) finalizeLive(made);
        if (!made || hold.record() == nullptr) return false;
        hold.record()->spies = made;
    }
    return CallbackList(hold.record()->spies).append(spy);
}

} // namespace

bool hasSpies(const SignalRecord &record) noexcept { return record.spies && CallbackList(record.spies).size() != 0; }

bool areSpiesAgainst(const Self &self, const NameKey &signal) {
    constexpr std::uint64_t unset = 0;
    const Temporary spies(copyOfSpies(self));
    const Temporary name(newText(signal.view()));
    const Temporary asked(perElement(self.ref(), "sendToSpy", name.ref(), unset));
    if (!spies || !asked) return false;
    send(SITE("do"), spies.ref(), asked.ref());
    return isLive(asked.ref()) && send<std::uint64_t>(SITE("getparameter"), asked.ref(), Index{2}) != unset;
}

// addspy (receiver, method). Raises 33 for what is no component.
Answer<void> addSpy(const Self &self, Ref receiver, Name method) {
    if (!isOne(self.ref())) return raise(Error::invalidParameter);
    const auto spy = send<Ref>(SITE("new"), CLASS("callback"), receiver, method);
    if (auto *fields = changeableFields<CallbackFields>(spy)) fields->owned = 1;
    if (spy && !append(self, spy)) finalizeLive(spy);
    return {};
}

// addspycallback (callback). The component takes it over when it is removed. Raises 33 for what is no component, and
// for no callback.
Answer<void> addSpyCallback(const Self &self, Ref callback) {
    if (!isOne(self.ref()) || !isLive(callback)) return raise(Error::invalidParameter);
    append(self, callback);
    return {};
}

// removespy (object). All spies on the object.
void removeSpy(const Self &self, Ref object) {
    const Temporary spies(copyOfSpies(self));
    if (!spies) return;
    const Temporary asked(perElement(self.ref(), "removeSpyCallback", object));
    send(SITE("do"), spies.ref(), asked.ref());
}

// removespycallback (object, spy). When the spy is on the object, it is taken out and finalized.
void removeSpyCallback(const Self &self, Ref object, Ref spy) {
    const Hold hold(self.ref());
    if (hold.record() == nullptr || !hold.record()->spies || receiverOf(spy) != object) return;
    if (CallbackList(hold.record()->spies).remove(spy)) finalizeLive(spy);
}

// sendtospy (signal's name, flag, spy). The spy sets the flag when the signal is to be stopped.
void sendToSpy(const Self &self, Area signal, Area flag, Ref spy) {
    if (isLive(spy)) sendInvoke(spy, Returning{}, self.ref(), signal, flag);
}

void finalizeSpies(Ref spies) {
    const CallbackList list(spies);
    for (Count i = 1; i <= list.size(); ++i) {
        const auto *fields = fieldsOf<CallbackFields>(list.at(i));
        if (fields != nullptr && fields->owned == 1) finalizeLive(list.at(i));
    }
    finalizeLive(spies);
}

} // namespace oocobol::component
