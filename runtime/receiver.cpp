#include "runtime/receiver.h"

#include <cstring>

#include "runtime/thread_store.h"

namespace oocobol {

namespace {
[[gnu::noinline]] void *standInFor(Ref self, void *data) {
    if (self.isStatic()) return data; // the caller's bytes stay where they are
    auto &standIn = (ownStore() != nullptr ? *thread.store : noStore).standIn;
    std::memset(standIn, 0, sizeof standIn);
    return standIn;
}
} // namespace

void *resolveAgain(Ref self, void *data, const ClassFamily *layout, bool classSide) noexcept {
    auto *body = bodyOf(self);
    return body != nullptr && body == data ? body : resolveData(self, data, layout, classSide);
}

void *resolveData(Ref self, void *data, const ClassFamily *layout, bool classSide) noexcept {
    if (!isLive(self)) return standInFor(self, data);
    const auto &entry = objects.entries[self.index()];
    const auto &behaviour = behaviourAt(behaviourOf(entry.tag.load(std::memory_order_acquire)));
    const auto fits = behaviour.classSide == classSide &&
                      (behaviour.family == layout || (layout != nullptr && behaviour.family->isKindOf(*layout)));
    return fits ? entry.body.load(std::memory_order_relaxed) : standInFor(self, data);
}

#if OOCOBOL_CHECKED
void (*moveStorage)(Ref object, void *body) = nullptr;

namespace {
void jitter() {
    static thread_local std::uint32_t turn = 0;
    if (moveStorage == nullptr || ++turn % 3 != 0) return;
    for (const auto *receiver = thread.active; receiver != nullptr; receiver = receiver->enclosing()) {
        if (auto *body = bodyOf(receiver->ref())) moveStorage(receiver->ref(), body);
    }
}
} // namespace

void afterUserCode() noexcept {
    ++thread.epoch;
    jitter();
}
#endif

} // namespace oocobol
