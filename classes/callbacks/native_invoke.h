// Invoking a callback without the message `invoke`, where that would run the library's code: whoever walks a collection
// or sends a signal invokes the same callback over and over.
//
// A list is an invocation's arguments as a send takes them: `maximumArguments` addresses, the returning item's in
// front, null where there is none.
#pragma once

#include "classes/callbacks/callback.h"

namespace oocobol {

// `invoke` of a callback of the very class. False, and nothing done, when only the message can: there are stored
// arguments, the stack is at its end, or there is no receiver that understands the callback's message.
bool invokeEntryNatively(Ref callback, EntryCallbackFields &fields, void *const *list) noexcept;
bool invokeMessageNatively(Ref callback, CallbackFields &fields, void *const *list) noexcept;

// A callback that is invoked over and over: what kind of one it is is found out once.
class Invoker {
public:
    explicit Invoker(Ref wanted) noexcept : callback(wanted) { findOut(); }

    Ref ref() const noexcept { return callback; }
    bool isLive() const noexcept { return known.isSame() ? kind != Kind::dead : oocobol::isLive(callback); }
    // Does what `invoke` does with that list. False, and nothing done, when only the message can.
    bool invoke(void *const *list) noexcept {
        if (!known.isSame()) [[unlikely]]
            findOut();
        if (kind == Kind::entryCallback)
            return invokeEntryNatively(callback, *reinterpret_cast<EntryCallbackFields *>(known.body()), list);
        return kind == Kind::callback &&
               invokeMessageNatively(callback, *reinterpret_cast<CallbackFields *>(known.body()), list);
    }

private:
    enum class Kind : std::uint8_t { dead, byMessage, callback, entryCallback };

    void findOut() noexcept;

    Ref callback;
    KnownObject known;
    Kind kind = Kind::dead;
};

// The steps of it, for those who have more to do between them.

// Whether an object of that behaviour is of the very class that lays out these fields, and its `invoke` is not
// redefined.
template <class Fields> bool invokesNatively(const Behaviour &behaviour) noexcept {
    const auto *family = layoutOf<Fields>;
    return family != nullptr && &behaviour == family->instances && isPristine(behaviour, {"invoke"});
}
// The cell of a callback's message for its receiver, remembered in the callback; null when it takes the slow road.
const Cell *cellOfMessage(CallbackFields &fields, const Entry &receiver) noexcept;
// Runs what the cell was found for. A receiver that has gone by now gets nothing, and nothing is raised.
void sendThrough(const Cell &cell, Ref receiver, void *const *list) noexcept;

} // namespace oocobol
