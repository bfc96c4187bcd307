// Invocations in progress. A callback that is finalized while there are any lives on until the last of them ends, on
// whichever thread that is.
#pragma once

#include "classes/callbacks/callback.h"

namespace oocobol {

// One invocation, from where it is made until it ends.
class Use {
public:
    // The fields are the callback's; null for what is none, where nothing is counted.
    Use(Ref callback, EntryCallbackFields *fields) noexcept;
    Use(const Use &) = delete;
    Use &operator=(const Use &) = delete;
    // To be called once. The callback when it is to be finalized now, mostly null. It goes by another reference when
    // it has changed places with another object meanwhile.
    [[nodiscard]] Ref end() noexcept;

private:
    EntryCallbackFields *fieldsNow() noexcept;

    Ref callback;
    const std::byte *body; // never read: it tells where the callback is now
};

bool isInUse(const EntryCallbackFields &fields) noexcept;
// Whether `finalize` may end the callback now; otherwise the last use will send it again.
bool mayEnd(EntryCallbackFields &fields) noexcept;

} // namespace oocobol
