// Invocations in progress. A callback that is finalized while there are any lives on until the last of them ends, on
// whichever thread that is.
#pragma once

#include <atomic>
#include <cstddef>
#include <sys/single_threaded.h>

#include "classes/callbacks/callback.h"

namespace oocobol {

// One invocation, from where it is made until it ends.
class Use {
public:
    // The fields are the callback's; null for what is none, where nothing is counted.
    Use(Ref used, EntryCallbackFields *fields) noexcept
        : callback(fields != nullptr ? used : null), body(reinterpret_cast<std::byte *>(fields)) {
        if (fields != nullptr) add(activeOf(*fields), 1);
    }
    Use(const Use &) = delete;
    Use &operator=(const Use &) = delete;
    // To be called once. The callback when it is to be finalized now, mostly null. It goes by another reference when
    // it has changed places with another object meanwhile.
    [[nodiscard, gnu::always_inline]] Ref end() noexcept {
        auto *now = bodyOf(callback);
        if (now != body) [[unlikely]]
            now = findAgain();
        return now != nullptr ? leave(*reinterpret_cast<EntryCallbackFields *>(now)) : null;
    }

private:
    // The fields are packed, but this one is aligned all the same: several threads may count in it.
    static std::atomic_ref<Count> activeOf(EntryCallbackFields &fields) noexcept {
        constexpr auto offset = offsetof(EntryCallbackFields, active);
        static_assert(offset % std::atomic_ref<Count>::required_alignment == 0);
        return std::atomic_ref(*reinterpret_cast<Count *>(reinterpret_cast<std::byte *>(&fields) + offset));
    }
    // Answers the count as it is then.
    static Count add(std::atomic_ref<Count> count, Count change) noexcept {
        if (__libc_single_threaded == 0) [[unlikely]]
            return count += change;
        const auto now = count.load(std::memory_order_relaxed) + change;
        count.store(now, std::memory_order_relaxed);
        return now;
    }
    Ref leave(EntryCallbackFields &fields) const noexcept {
        const auto active = activeOf(fields);
        if (active == 0) return null; // it was initialized anew
        if (add(active, static_cast<Count>(-1)) != 0 || pendingOf(fields) == 0) [[likely]]
            return null;
        return takePending(fields) ? callback : null;
    }
    static std::atomic_ref<Flag> pendingOf(EntryCallbackFields &fields) noexcept {
        return std::atomic_ref(fields.finalizePending);
    }
    std::byte *findAgain() noexcept;
    static bool takePending(EntryCallbackFields &fields) noexcept;

    friend bool isInUse(const EntryCallbackFields &fields) noexcept;
    friend bool mayEnd(EntryCallbackFields &fields) noexcept;

    Ref callback;
    const std::byte *body; // tells where the callback is now; never read
};

bool isInUse(const EntryCallbackFields &fields) noexcept;
// Whether `finalize` may end the callback now; otherwise the last use will send it again.
bool mayEnd(EntryCallbackFields &fields) noexcept;

} // namespace oocobol
