#include "host/lock_order.h"

#if OOCOBOL_CHECKED

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace oocobol::host::lockOrder {
namespace {

constexpr std::size_t kinds = 5;
constexpr std::size_t mostHeld = 64; // deeper ones are not recorded

struct Held {
    MutexHandle handle;
    MutexKind kind;
};
struct HeldList {
    Held items[mostHeld];
    std::size_t count;
};
constinit thread_local HeldList list = {};
std::atomic<bool> pairs[kinds][kinds];

std::size_t indexOf(MutexKind kind) { return static_cast<std::size_t>(kind); }

void forget(std::size_t at) {
    std::copy(list.items + at + 1, list.items + list.count, list.items + at);
    --list.count;
}

void forgetClosed(IsOwned isOwned) {
    for (auto at = list.count; at-- > 0;)
        if (!isOwned(list.items[at].handle)) forget(at);
}

bool holdsComponent() {
    return std::any_of(list.items, list.items + list.count,
                       [](const Held &held) { return held.kind == MutexKind::component; });
}

[[noreturn]] void fail(std::string_view what) {
    report(what);
    std::abort();
}

} // namespace

void waits(IsOwned isOwned) noexcept {
    forgetClosed(isOwned);
    if (holdsComponent()) fail("oocobol: a thread waits for a mutex while it holds a component's\n");
}

void acquired(MutexHandle handle, MutexKind kind, IsOwned isOwned) noexcept {
    forgetClosed(isOwned);
    if (kind == MutexKind::component && holdsComponent()) fail("oocobol: a thread holds two components' mutexes\n");
    for (std::size_t at = 0; at < list.count; ++at)
        pairs[indexOf(list.items[at].kind)][indexOf(kind)].store(true, std::memory_order_relaxed);
    if (list.count < mostHeld) list.items[list.count++] = {handle, kind};
}

void released(MutexHandle handle) noexcept {
    for (auto at = list.count; at-- > 0;)
        if (list.items[at].handle == handle) return forget(at);
}

bool seen(MutexKind held, MutexKind taken) noexcept {
    return pairs[indexOf(held)][indexOf(taken)].load(std::memory_order_relaxed);
}

} // namespace oocobol::host::lockOrder

#endif
