// Events: numbers that an object reacts to, by running a callback or by passing another number on to another object.
//
// One table for the process, in the system dictionary: for each object an association of its callbacks and of its
// translations, both tables by event number. What an object has in it goes when the object is finalized. One mutex is
// held while the tables are looked at or changed, and for nothing else; it is given up like a component's.
#include "classes/callbacks/callback.h"
#include "classes/collections/dictionary.h"
#include "classes/object/components.h"

namespace oocobol::component {

namespace {

constexpr char tableName[] = "QXCLEventHandlers";
constexpr Index tableCapacity = 1024, numbersCapacity = 20;

class EventsHold {
public:
    EventsHold() noexcept : hold(mutex()) {}

private:
    static host::MutexHandle mutex() {
        static const auto handle = host::openMutex(host::MutexKind::component);
        return handle;
    }
    host::YieldingHold hold;
};

// A callback that was made for a signal has a text of its own for the signal's name.
void finalizeEventCallback(Ref callback) {
    if (!isLive(callback)) return;
    const auto *fields = fieldsOf<CallbackFields>(callback);
    const auto text = fields != nullptr && fields->owned == 1 ? Ref{fields->parameters[0]} : null;
    send<Ref>(SITE("finalize"), callback);
    finalizeLive(text);
}

// ---- The tables: all under the mutex -------------------------------------------------------------------------------

Ref eventTable() { return send<Ref>(SITE("atz"), CLASS("systemd"), Bytes{tableName}); }

Ref obtainEventTable() {
    if (const auto known = eventTable()) return known;
    const auto made = ifComplete(send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("associtn"), tableCapacity));
    if (!made) return null;
    send(SITE("atzput"), CLASS("systemd"), Bytes{tableName}, made);
    if (eventTable() != made) {
        finalizeLive(made);
        return null;
    }
    keepForLibrary(made);
    return made;
}

// What an object has in the table: an association of its two tables by number.
enum class Kind { callbacks, translations };

Ref entryOf(Ref object) {
    const auto table = eventTable();
    return table ? send<Ref>(SITE("atornil"), table, object) : null;
}

Ref numbersIn(Ref entry, Kind kind) {
    if (!entry) return null;
    return kind == Kind::callbacks ? send<Ref>(SITE("getkey"), entry) : send<Ref>(SITE("getdata"), entry);
}

Ref newNumbers() {
    return ifComplete(send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("compasoc"), numbersCapacity));
}

// The object's entry, made when it has none. Null, and nothing made, when memory is short.
Ref obtainEntry(Ref object) {
    if (const auto known = entryOf(object)) return known;
    const auto table = obtainEventTable();
    if (!table) return null;
    Temporary callbacks(newNumbers());
    Temporary translations(callbacks ? newNumbers() : null);
    if (!translations) return null;
    Temporary entry(send<Ref>(SITE("keydata"), CLASS("associtn"), callbacks.ref(), translations.ref()));
    if (!entry) return null;
    send(SITE("atput"), table, object, entry.ref());
    if (send<Ref>(SITE("atornil"), table, object) != entry.ref()) return null;
    watchObject(object);
    callbacks.giveAway();
    translations.giveAway();
    return entry.giveAway();
}

// Puts an item in the place of what is under a number; answers that. The item itself comes back when memory is short.
Ref exchange(Ref object, Kind kind, Count number, Ref item) {
    const auto numbers = numbersIn(obtainEntry(object), kind);
    if (!numbers) return item;
    const auto former = send<Ref>(SITE("atornil"), numbers, number);
    send(SITE("atput"), numbers, number, item);
    return send<Ref>(SITE("atornil"), numbers, number) == item ? former : item;
}

Ref itemOf(Ref object, Kind kind, Count number) {
    const auto numbers = numbersIn(entryOf(object), kind);
    return numbers ? send<Ref>(SITE("atornil"), numbers, number) : null;
}

Answer<void> refuseDead(Ref object) { return raise(object.isNull() ? Error::invalidParameter : Error::staleReference); }

} // namespace

// ---- Setting -------------------------------------------------------------------------------------------------------

// setevent (number, callback). A copy of it is kept, in the place of an earlier one. Raises 33 for a null callback or
// receiver, 106 for a dead callback.
Answer<void> setEvent(const Self &self, Count number, Ref callback) {
    if (!isLive(callback)) return refuseDead(callback);
    if (!isLive(self.ref())) return raise(Error::invalidParameter);
    const auto copy = send<Ref>(SITE("copy"), callback);
    if (!copy) return raise(Error::noStorage);
    Ref former{};
    {
        const EventsHold hold;
        former = exchange(self.ref(), Kind::callbacks, number, copy);
    }
    if (former != copy)
        finalizeEventCallback(former);
    else
        finalizeLive(copy);
    return {};
}

// translateevent (number, target, other number). Raises 33 for a null target or receiver, 106 for a dead target.
Answer<void> translateEvent(const Self &self, Count number, Ref target, Count translated) {
    if (!isLive(target)) return refuseDead(target);
    if (!isLive(self.ref())) return raise(Error::invalidParameter);
    const auto translation = send<Ref>(SITE("keydata"), CLASS("compasoc"), translated, target);
    if (!translation) return {};
    Ref former{};
    {
        const EventsHold hold;
        former = exchange(self.ref(), Kind::translations, number, translation);
    }
    finalizeLive(former);
    return {};
}

// seteventto (number, receiver, method, two arguments).
void setEventTo(const Self &self, Count number, Ref receiver, Name method, Area first, Area second) {
    const Temporary callback(send<Ref>(SITE("new"), CLASS("callback"), receiver, method, first, second));
    if (callback) sendSelf(SITE("setevent"), self, number, callback.ref());
}

// translateeventtosignal (number, receiver, signal, argument). When the event occurs, the receiver sends that signal.
void translateEventToSignal(const Self &self, Count number, Ref receiver, Name signal, Area argument) {
    const auto text = send<Ref>(SITE("withspaceornullterminator"), CLASS("chararry"), signal);
    if (!text) return;
    sendSelf(SITE("seteventto"), self, number, receiver, Bytes{"signalString"}, text, argument);
    const EventsHold hold;
    auto *fields = changeableFields<CallbackFields>(itemOf(self.ref(), Kind::callbacks, number));
    if (fields != nullptr && fields->parameterCount != 0 && fields->parameters[0] == text.bits)
        fields->owned = 1; // the text goes with it
    else
        finalizeLive(text);
}

// ---- Events --------------------------------------------------------------------------------------------------------

// doevent (number) -> what dispatching the event answers.
void doEvent(const Self &self, Returning answer, Count number) {
    const auto event = send<Ref>(SITE("withobjecteventid"), CLASS("event"), self.ref(), number);
    if (!event) return;
    sendSelf(SITE("dispatchevent"), self, answer, event);
    finalizeLive(event);
}

namespace {

// What is to be done for a number, as it is when the event occurs.
struct Reaction {
    Ref callback{};
    Ref target{};
    Count translated = 0;
};

Reaction reactionTo(Ref object, Count number) {
    const EventsHold hold;
    Reaction reaction{itemOf(object, Kind::callbacks, number)};
    if (const auto translation = itemOf(object, Kind::translations, number)) {
        reaction.target = send<Ref>(SITE("getdata"), translation);
        reaction.translated = send<Count>(SITE("getkey"), translation);
    }
    return reaction;
}

} // namespace

// dispatchevent (event) -> what the object's callback for it answers. Then a translation is passed on. Raises 33 for
// null, 106 for a dead event.
Answer<void> dispatchEvent(const Self &self, Returning answer, Ref event) {
    if (!isLive(event)) return refuseDead(event);
    if (!isWatched(self.ref())) return {};
    const auto number = send<Count>(SITE("getid"), event);
    const auto reaction = reactionTo(self.ref(), number);
    if (isLive(reaction.callback)) send(SITE("invoke"), reaction.callback, answer, event);
    if (isLive(reaction.target)) send(SITE("doevent"), reaction.target, Returning{}, reaction.translated);
    return {};
}

// ---- Forgetting ----------------------------------------------------------------------------------------------------

namespace {

// Takes the object's entry out of the table.
Ref takeEntry(Ref object) {
    const EventsHold hold;
    const auto entry = entryOf(object);
    if (entry) send(SITE("removekey"), eventTable(), object);
    return entry;
}

void finalizeNumbers(Ref numbers, Kind kind) {
    visitOccupied(numbers, UINT32_MAX, [&](Count slot) {
        Ref item{};
        if (!readPartAt(numbers, slot, Part::data, reinterpret_cast<std::byte *>(&item), sizeof item)) return false;
        if (kind == Kind::callbacks)
            finalizeEventCallback(item);
        else
            finalizeLive(item);
        return true;
    });
    finalizeLive(numbers);
}

} // namespace

void forgetEvents(Ref object) {
    const auto entry = takeEntry(object);
    if (!isLive(entry)) return;
    finalizeNumbers(numbersIn(entry, Kind::callbacks), Kind::callbacks);
    finalizeNumbers(numbersIn(entry, Kind::translations), Kind::translations);
    finalizeLive(entry);
}

} // namespace oocobol::component
