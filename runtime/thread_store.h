// The larger part of what the runtime keeps per thread: made at the thread's first use of the runtime, given back when
// the thread ends. A thread without memory for it goes on with `noStore`, in which nothing is ever kept.
#pragma once

#include "runtime/literal_cache.h"
#include "runtime/memory.h"
#include "runtime/object_pool.h"
#include "runtime/object_table.h"
#include "runtime/thread_state.h"

namespace oocobol {

// A message that an object did not understand.
struct NotUnderstood {
    Ref receiver{};
    char name[161] = {};
};

struct ThreadStore {
    constexpr ThreadStore() {
        for (auto &pool : pools) pool = &noPool;
    }

    ObjectPool *pools[bodyClasses + 1]; // by body size; 0: indexes alone
    BodyCache bodies[bodyClasses + 1];
    IndexRange fresh; // indexes that no object has had yet

    LiteralCache literals;

    static constexpr std::size_t rememberedMessages = 4;
    NotUnderstood notUnderstood[rememberedMessages]; // the last ones, newest at the head
    std::uint32_t notUnderstoodNext = 0;

    // What a method that has lost its object works on.
    alignas(16) std::byte standIn[standInSize] = {};
};

// The thread's own store, made if need be; null when there is no memory for it.
inline ThreadStore *ownStore() noexcept {
    if (thread.store == &noStore) prepareThread();
    return thread.store != &noStore ? thread.store : nullptr;
}

} // namespace oocobol
