// Components: objects that publish output signals, take input signals on sockets, and are watched by spies.
//
// What makes an object one is its signal record. A record's mutex is held while the record and its collections are
// looked at or changed, and never while code that the program may have written is run on its behalf: receivers, spies,
// other components. Messages to the collections of the record are sent under it; should one of them have been redefined
// and wait for another mutex, this one is given up meanwhile (see YieldingHold in host.h).
//
// The methods are rows of the tables of `base` and `ebase`; each file has one concern.
#pragma once

#include <initializer_list>
#include <mutex>
#include <optional>
#include <string_view>
#include <sys/single_threaded.h>

#include "classes/collections/dictionary.h"
#include "classes/collections/names.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol::component {

using Self = Receiver;

struct [[gnu::packed]] SignalRecord {
    host::MutexHandle lock; // made when it is first held
    Ref outputs;            // identity dictionary: signal name to an ordered collection of callbacks
    Ref sockets;            // identity dictionary: socket name to an identity dictionary: signal name to a callback
    Ref dependents;         // identity set: the objects whose signals reach this one
    Ref spies;              // ordered collection of callbacks, made for the first one
    Flag duplicates;        // whether a signal may be defined again
    Flag trace;
};
static_assert(sizeof(SignalRecord) == 42);

// Stands between looking a record up and holding its mutex, so that no other thread frees it in between. It is held for
// a moment, and nothing is sent or waited for meanwhile; objects share the few there are.
class SlotGuard {
public:
    explicit SlotGuard(Ref object) noexcept
        : lock(__libc_single_threaded != 0 ? nullptr : &locks[object.index() % std::size(locks)]) {
        if (lock != nullptr) lock->lock();
    }
    ~SlotGuard() {
        if (lock != nullptr) lock->unlock();
    }
    SlotGuard(const SlotGuard &) = delete;
    SlotGuard &operator=(const SlotGuard &) = delete;

private:
    static std::mutex locks[64];
    std::mutex *lock;
};

// Holds a component's mutex for a scope. A process of one thread has nobody to hold it against: the mutex is made and
// taken when there is a second one.
class Hold {
public:
    explicit Hold(Ref component) noexcept : object(component) {
        if (__libc_single_threaded == 0)
            take();
        else
            known = static_cast<SignalRecord *>(componentSlot(object));
    }

    // Null when the object is no component, or is none any more. To be asked for again after every message. A record
    // cannot go while its mutex is held by another thread; by this one it can, in every message.
    SignalRecord *record() const noexcept {
        if (known == nullptr) return nullptr;
        const auto alone = !mutex && __libc_single_threaded != 0;
        if (alone && seen == thread.epoch) return known; // nothing has been finalized since
        if (!alone && !mutex) take();
        const auto holds = alone || *mutex;
        if (!holds || componentSlot(object) != known) return nullptr;
        seen = thread.epoch;
        return known;
    }
    void release() noexcept {
        if (mutex) mutex->release();
    }
    void acquire() noexcept {
        if (mutex) mutex->acquire();
    }

private:
    void take() const noexcept;

    Ref object;
    mutable SignalRecord *known = nullptr;
    mutable std::uint64_t seen = thread.epoch; // when the record was known to be there
    mutable std::optional<host::YieldingHold> mutex;
};

// Whether the component has not left yet: its lists are its own as long as the mutex is held.
inline bool hasOutputs(const Hold &hold) noexcept { return hold.record() != nullptr && hold.record()->outputs; }

inline bool isOne(Ref object) noexcept { return componentSlot(object) != nullptr; }

// Ends what an object is as a component, for `finalize`.
void end(const Self &self);

// ---- Errors and trace lines -----------------------------------------------------------------------------------------

// Raises an error with names as inserts; `answer` takes the handler's 8 bytes.
void raiseNamed(const Self &self, Returning answer, Error error, const NameKey &first);
void raiseNamed(const Self &self, Returning answer, Error error, const NameKey &first, const NameKey &second);
// The same for a method that answers an object.
Ref raiseNamedForObject(const Self &self, Error error, const NameKey &name);

// Writes the pieces as one line to the trace when the component is traced.
void traceIfWanted(const Self &self, std::initializer_list<std::string_view> pieces);
std::string_view classNameOf(Ref object) noexcept;

// ---- The collections of a record, all under the component's mutex --------------------------------------------------

// A new table of names: signals' or sockets'. Null, and nothing made, when memory is short.
Ref newNameTable(Index capacity);
// Frees what could not be filled; answers null.
Ref ifComplete(Ref table);
// The object under a name, null without one or without a table.
Ref objectAt(Ref table, const NameKey &name) noexcept;
// False when there was no memory: that has been raised.
bool putObject(Ref table, const NameKey &name, Ref object);

// An ordered collection of callbacks, read natively as long as it is the library's. Positions start at 1.
class CallbackList {
public:
    explicit CallbackList(Ref wanted) noexcept : list(wanted) {}
    Count size() const noexcept;
    Ref at(Count position) const noexcept;
    // Where that very callback is, 0 when it is not there: expected at `position` or just before it.
    Count find(Ref callback, Count position = 1) const noexcept;
    // False when there was no memory: that has been raised.
    bool append(Ref callback) const;
    void removeAt(Count position) const;
    bool remove(Ref callback) const;

    // Their references as they lie in the list; none when they must be asked for. Good until the next message.
    std::optional<Run> run() const noexcept {
        if (entry == nullptr || entry->tag.load(std::memory_order_acquire) != tag) {
            if (!learn()) return {};
        }
        if (!isPristine(behaviourAt(behaviourOf(tag)), {"at", "size"})) return {};
        const auto all = runOf(*reinterpret_cast<DynamicFields *>(entry->body.load(std::memory_order_relaxed)));
        return all.width == sizeof(Ref) ? std::optional(all) : std::nullopt;
    }

private:
    // Finds the list's entry in the object table; false for what is no dynamic collection.
    bool learn() const noexcept;

    Ref list;
    mutable const Entry *entry = nullptr;
    mutable std::uint64_t tag = 0; // which the entry has as long as the list is what it was
};

// Calls visit(signal name, callback list) for each signal of a table of outputs. `visit` may let go of the mutex.
template <class Visit> void forEachOutput(Ref outputs, Visit visit) {
    visitOccupied(outputs, UINT32_MAX, [&](Count slot) {
        NameKey name;
        Ref callbacks{};
        const auto asBytes = [](auto &item) { return reinterpret_cast<std::byte *>(&item); };
        if (readPartAt(outputs, slot, Part::key, asBytes(name), sizeof name) &&
            readPartAt(outputs, slot, Part::data, asBytes(callbacks), sizeof callbacks))
            visit(name, callbacks);
        return true;
    });
}

// ---- Callbacks -----------------------------------------------------------------------------------------------------

// A callback's receiver; null for one that has none, as those on entries.
Ref receiverOf(Ref callback);
// Finalizes a callback that others may be about to invoke: under the mutex of the component that it belongs to.
void finalizeCallback(Ref owner, Ref callback);

// Whether the object's methods of these names are those of `base`.
bool runsOwn(Ref object, std::initializer_list<std::string_view> messages) noexcept;

// ---- Methods: components.cpp ---------------------------------------------------------------------------------------

Answer<void> makeComponent(const Self &self);
void allowDuplicates(const Self &self);
void refuseDuplicates(const Self &self);
void componentException(const Self &self, Returning answer, Ref object, Count error, Ref inserts);

// ---- definitions.cpp -----------------------------------------------------------------------------------------------

Answer<void> defineOutSignal(const Self &self, Name signal);
void defineInSocket(const Self &self, Name socket);
void defineInSignal(const Self &self, Name signal, Name socket, Name method);
Ref getSocket(const Self &self, Name socket);
Ref getOutputs(const Self &self);
Answer<Ref> getOutputSignalCallbacks(const Self &self, Name signal);
bool isOutputSignal(const Self &self, Name signal);
bool isInputSignal(const Self &self, Name socket, Name signal);
Ref getSignalHandlers(const Self &self, Name signal);
void addReceiver(const Self &self, Ref collection, Ref callback);

// Whether a signal reaches the object. Drops the callbacks for a signal whose receivers are in the set, all at once.
bool reaches(const Self &self, Name signal, Ref object);
void disconnectAll(const Self &self, Name signal, Ref receivers);

// ---- connections.cpp, disconnections.cpp ---------------------------------------------------------------------------

Answer<void> connect(const Self &self, Ref source, Ref target, Name socket);
void connectTo(const Self &self, Ref target, Name socket);
void copyConnection(const Self &self, Ref target, Name socket, Name signal, Ref callbacks);
Answer<void> addSignalDependant(const Self &self, Ref object);
void removeSignalDependant(const Self &self, Ref object);
Ref getSignalDependents(const Self &self);

void disconnect(const Self &self);
void disconnectInputs(const Self &self);
void disconnectOutputs(const Self &self);
void disconnectInstance(const Self &self, Ref object);
void removeHandler(const Self &self, Ref object);
void disconnectSignals(const Self &self, Ref object, Ref callbacks);
void disconnectCallback(const Self &self, Ref callbacks, Ref object, Ref callback);
void disconnectSignal(const Self &self, Name signal, Ref object);
void removeSignalDependents(const Self &self, Ref callbacks);
void doRemoveSignalDependant(const Self &self, Ref callback);

// ---- signals.cpp ---------------------------------------------------------------------------------------------------

using SignalArguments = Areas<10>;
Answer<void> signal(const Self &self, Returning answer, Name name, SignalArguments given);
Answer<void> signalString(const Self &self, Returning answer, Ref name, SignalArguments given);

// ---- spies.cpp -----------------------------------------------------------------------------------------------------

// Whether the component has spies; asks them whether the signal is to be stopped.
bool hasSpies(const SignalRecord &record) noexcept;
bool areSpiesAgainst(const Self &self, const NameKey &signal);

Answer<void> addSpy(const Self &self, Ref receiver, Name method);
Answer<void> addSpyCallback(const Self &self, Ref callback);
void removeSpy(const Self &self, Ref object);
void removeSpyCallback(const Self &self, Ref object, Ref spy);
void sendToSpy(const Self &self, Area signal, Area flag, Ref spy);
// Lets the spies go that the component made itself.
void finalizeSpies(Ref spies);

// ---- events.cpp ----------------------------------------------------------------------------------------------------

Answer<void> setEvent(const Self &self, Count number, Ref callback);
Answer<void> translateEvent(const Self &self, Count number, Ref target, Count translated);
void doEvent(const Self &self, Returning answer, Count number);
Answer<void> dispatchEvent(const Self &self, Returning answer, Ref event);
void setEventTo(const Self &self, Count number, Ref receiver, Name method, Area first, Area second);
void translateEventToSignal(const Self &self, Count number, Ref receiver, Name signal, Area argument);
// Drops all events of an object that is being finalized.
void forgetEvents(Ref object);

} // namespace oocobol::component
