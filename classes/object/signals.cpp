// Sending signals: to every receiver that is connected when the sending begins and still is at its turn, once.
//
// The mutex is let go of while a receiver runs, which may do anything to the list: so the list is looked at again
// before each turn. Those who have been connected meanwhile follow, once, unless they were served already.
#include "classes/callbacks/native_invoke.h"
#include "classes/callbacks/use.h"
#include "classes/object/components.h"
#include "classes/text/text_values.h"
#include "runtime/send_fast.h"

namespace oocobol::component {

namespace {

// What a signal brings, as callbacks get it.
class Arguments {
public:
    Arguments(Returning answer, SignalArguments given) : areas(given), returning(answer) {
        if (!returning) returning.address = reinterpret_cast<std::byte *>(&standIn);
        oocobol::detail::clearSteps(reinterpret_cast<std::byte *>(list), sizeof list / oocobol::detail::bodyStep);
        list[0] = returning.address;
        std::size_t count = 1;
        for (std::size_t i = 0; given[0] && i < SignalArguments::count; ++i) {
            if (const auto area = given[i]) list[count++] = area.address;
        }
    }
    Arguments(const Arguments &) = delete;
    Arguments &operator=(const Arguments &) = delete;

    // More than a callback takes: it is the callback's to say so.
    bool areTooMany() const { return static_cast<bool>(areas[invokeArguments]); }
    // Without stored arguments in front: the same for all callbacks.
    void *const *plain() const { return list; }
    void *const *behind(ArgumentList &stored) const {
        for (Count i = 0; areas[0] && i < invokeArguments; ++i) stored.append(areas[i]);
        return stored.forSend(returning.address);
    }
    void invoke(Ref callback) const {
        const auto &a = areas;
        send(SITE("invoke"), callback, returning, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    }

private:
    SignalArguments areas;
    Returning returning;
    std::uint64_t standIn = 0;
    alignas(16) void *list[maximumArguments];
};

// ---- One receiver --------------------------------------------------------------------------------------------------

// After an invocation of a callback, under the mutex of the sender. What is to be finalized now, or null.
template <class After> Ref endUse(Use &use, Ref callback, After after) {
    if (auto *fields = changeableFields<CallbackFields>(callback)) after(*fields);
    return use.end();
}
// The same when the sender has gone meanwhile: then only those who use the callback can still get at it.
template <class After> Ref endUseOfOrphan(Use &use, Ref callback, After after) {
    const SlotGuard guard(callback);
    return endUse(use, callback, after);
}

// ---- The walk ------------------------------------------------------------------------------------------------------

class Delivery {
public:
    Delivery(const Self &sender, Hold &senderHold, const SignalRecord &record, const NameKey &signal, Ref signalList,
             const Arguments &sent)
        : self(sender), hold(senderHold), name(signal), outputs(record.outputs), callbacks(signalList), arguments(sent),
          traced(record.trace == 1) {}

    // False when there is no memory for it.
    bool toAll() {
        constexpr Count few = 8;
        const auto all = callbacks.run();
        const auto count = all ? all->count : callbacks.size();
        if (count <= few) {
            alignas(Turn) std::byte turns[few * sizeof(Turn)]; // not cleared, which would take as long as a send
            return toEach(reinterpret_cast<Turn *>(turns), count, all);
        }
        WorkArea area(std::size_t{count} * sizeof(Turn));
        return area && toEach(reinterpret_cast<Turn *>(area.bytes()), count, all);
    }

private:
    struct Turn {
        Ref callback;
        Ref receiver;
    };

    // Takes the mutex again. The signal has ended when the sender has left meanwhile.
    SignalRecord *comeBack() {
        hold.acquire();
        auto *record = hold.record();
        hasEnded = record == nullptr || record->outputs != outputs;
        return record;
    }

    // The callbacks as they are now, in order.
    bool toEach(Turn *turns, Count count, const std::optional<Run> &all) {
        for (Count i = 0; i < count; ++i) {
            turns[i].callback = all ? referenceIn(all->start + std::size_t{i} * all->width) : callbacks.at(i + 1);
            turns[i].receiver = null;
        }
        Count place = 0; // of the latest callback that was found
        for (Count i = 0; i < count; ++i) {
            if (i + 1 < count) comesNext(turns[i + 1].callback);
            const auto found = i == 0 ? 1 : callbacks.find(turns[i].callback, place + 1);
            if (found == 0) continue; // has left
            place = found;
            turns[i].receiver = deliver(turns[i].callback);
            if (hasEnded) return true;
        }
        const auto now = callbacks.run();
        return (now ? now->count : callbacks.size()) <= place || toLatecomers(turns, count, place);
    }

    // Has the memory of a callback fetched while the one before is at work.
    static void comesNext(Ref callback) {
        const auto *body = bodyOf(callback);
        if (body == nullptr) return;
        constexpr std::size_t cacheLine = 64;
        for (std::size_t at = 0; at < sizeof(CallbackFields); at += cacheLine) __builtin_prefetch(body + at);
    }

    static bool isAmong(const Turn *turns, Count count, Ref callback, Ref receiver) {
        return std::any_of(turns, turns + count, [&](const Turn &turn) {
            return turn.callback == callback || (receiver && turn.receiver == receiver);
        });
    }

    // Those behind that place, as they are now.
    bool toLatecomers(const Turn *turns, Count count, Count place) {
        const auto late = callbacks.size() - place;
        WorkArea area(late * sizeof(Ref));
        if (!area) return false;
        auto *waiting = reinterpret_cast<Ref *>(area.bytes());
        for (Count i = 0; i < late; ++i) waiting[i] = callbacks.at(place + 1 + i);
        for (Count i = 0; i < late; ++i) {
            if (isAmong(turns, count, waiting[i], receiverOf(waiting[i]))) continue;
            if (callbacks.find(waiting[i], place + 1) == 0) continue;
            deliver(waiting[i]);
            if (hasEnded) return true;
        }
        return true;
    }

    // Answers the receiver. The mutex is held before and after, unless the sender has gone meanwhile.
    Ref deliver(Ref callback) {
        if (traced) traceSending(callback);
        const auto *entry = hasEnded ? nullptr : findEntry(callback);
        if (entry == nullptr) return null;
        const auto &behaviour = behaviourAt(behaviourOf(entry->tag.load(std::memory_order_acquire)));
        if (invokesNatively<CallbackFields>(behaviour) && !arguments.areTooMany()) {
            auto &fields = *reinterpret_cast<CallbackFields *>(entry->body.load(std::memory_order_relaxed));
            const auto receiver = fields.receiver;
            if (receiver && invokeNatively(callback, fields, receiver)) return receiver;
        }
        const auto receiver = receiverOf(callback);
        outside(callback, [&] { arguments.invoke(callback); });
        return receiver;
    }

    // What `invoke` of the callback does. False, and nothing done, when only `invoke` itself can.
    bool invokeNatively(Ref callback, CallbackFields &fields, Ref receiver) {
        const auto *entry = findEntry(receiver);
        if (entry == nullptr) return true; // has gone without a word
        if (!detail::gateOpen(receiver.index()) || detail::stackPosition() < thread.stackLimit) return false;
        const auto *cell = cellOfMessage(fields, *entry);
        if (cell == nullptr) return false;
        if (fields.parameterCount == 0) {
            outside(callback, [&] { sendThrough(*cell, receiver, arguments.plain()); });
            return true;
        }
        ArgumentList stored(fields);
        auto *const *list = arguments.behind(stored);
        outside(
            callback, [&] { sendThrough(*cell, receiver, list); },
            [&](CallbackFields &now) { stored.storeBack(&now); });
        return true;
    }

    template <class Action> void outside(Ref callback, Action action) {
        outside(callback, action, [](CallbackFields &) {});
    }
    template <class Action, class After> void outside(Ref callback, Action action, After after) {
        Use use(callback, changeableFields<CallbackFields>(callback));
        hold.release();
        action();
        const auto over = comeBack() != nullptr ? endUse(use, callback, after) : endUseOfOrphan(use, callback, after);
        if (over) send<Ref>(SITE("finalize"), over);
    }

    void traceSending(Ref callback) {
        const auto receiver = receiverOf(callback);
        hold.release();
        traceIfWanted(self, {classNameOf(self.ref()), " sending signal ", name.view(), " to ", classNameOf(receiver)});
        comeBack();
    }

    const Self &self;
    Hold &hold;
    const NameKey &name;
    Ref outputs;
    CallbackList callbacks;
    const Arguments &arguments;
    bool traced;
    bool hasEnded = false;
};

// What the signal ends in besides its delivery.
enum class Ending { sent, stopped, noOutputs, noSignal, noMemory };

Ending sendSignal(const Self &self, const NameKey &name, const Arguments &arguments) {
    Hold hold(self.ref());
    const auto *record = hold.record();
    auto stopped = false;
    if (record != nullptr && hasSpies(*record)) [[unlikely]] {
        hold.release();
        stopped = areSpiesAgainst(self, name);
        hold.acquire();
        record = hold.record();
    }
    if (record == nullptr || !record->outputs) return Ending::noOutputs;
    if (stopped) return Ending::stopped;
    const auto list = objectAt(record->outputs, name);
    record = hold.record();
    if (!list || record == nullptr) return Ending::noSignal;
    return Delivery(self, hold, *record, name, list, arguments).toAll() ? Ending::sent : Ending::noMemory;
}

} // namespace

// signal (name, up to 10 arguments) -> what the last receiver answers. A callback refuses a tenth argument (21). Raises
// 94 for what is no component, 95 when the signal is not defined, 111 when memory is short. How wide the returning item
// is, only the receivers know: a handler that answers nothing leaves it as it was.
Answer<void> signal(const Self &self, Returning answer, Name name, SignalArguments given) {
    const NameKey key(name);
    const auto ending = sendSignal(self, key, Arguments(answer, given));
    if (ending <= Ending::stopped) [[likely]]
        return {};
    if (ending == Ending::noMemory) return raise(Error::noWorkArea);
    std::uint64_t handled = 0;
    const Returning item{{reinterpret_cast<std::byte *>(&handled)}};
    if (ending == Ending::noSignal)
        raiseNamed(self, item, Error::noSignal, key);
    else
        sendSelf(SITE("raiseexception"), self, item, static_cast<Count>(Error::noOutputs));
    if (handled != 0) answer.put(handled);
    return {};
}

// signalstring (text object, up to 10 arguments) -> as signal with the text's value. Null ends in invalidparameter
// (33).
Answer<void> signalString(const Self &self, Returning answer, Ref name, SignalArguments given) {
    if (!isLive(name)) return pass(SITE("invalidparameter"));
    const auto value = textOf(name);
    const Bytes text{value.c_str()};
    const auto &a = given;
    sendSelf(SITE("signal"), self, answer, text, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    return {};
}

} // namespace oocobol::component
