#include "runtime/receiver.h"

#include <cstring>

#include "runtime/thread_store.h"

namespace oocobol {

void *resolveData(Ref self, void *data, const ClassFamily *layout, bool classSide) noexcept {
    if (self.isStatic()) return data; // the caller's bytes stay where they are
    const auto *behaviour = behaviourOfObject(self);
    if (behaviour != nullptr && layout != nullptr && behaviour->classSide == classSide &&
        behaviour->family->isKindOf(*layout))
        return bodyOf(self);
    auto &standIn = (ownStore() != nullptr ? *thread.store : noStore).standIn;
    std::memset(standIn, 0, sizeof standIn);
    return standIn;
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
