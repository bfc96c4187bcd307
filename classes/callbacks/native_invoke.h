// Invoking a callback without the message `invoke`, where that would run the library's code: whoever walks a collection
// or sends a signal invokes the same callback over and over.
//
// A list is an invocation's arguments as a send takes them: `maximumArguments` addresses, the returning item's in
// front, null where there is none.
#pragma once

#include "classes/callbacks/callback.h"

namespace oocobol {

// Does what `invoke` does with that list. False, and nothing done, when only the message can.
bool invokeNatively(Ref callback, void *const *list) noexcept;

// The steps of it, for those who have more to do between them.

// Whether an object of that behaviour is a callback of the very class whose `invoke` is known, and that is not
// redefined.
bool isPlainCallback(const Behaviour &behaviour) noexcept;
// The cell of a callback's message for its receiver, remembered in the callback; null when it takes the slow road.
const Cell *cellOfMessage(CallbackFields &fields, const Entry &receiver) noexcept;
// Runs what the cell was found for. A receiver that has gone by now gets nothing, and nothing is raised.
void sendThrough(const Cell &cell, Ref receiver, void *const *list) noexcept;

// `invoke` of an entry callback, when its class's is not redefined; otherwise false, and nothing done.
bool invokeEntryNatively(Ref callback, const Entry &entry, void *const *list) noexcept;

} // namespace oocobol
