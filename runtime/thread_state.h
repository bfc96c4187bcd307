// What the runtime keeps per thread.
//
// Sends and allocation read it at a fixed offset from the thread pointer. A library that is loaded while the process
// runs gets little room there (some 500 bytes for all that it declares), so this block is small, and what is larger
// lives behind its `store`.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/types.h"

namespace oocobol {

// The data that a static send's user code works on, so that a message to its marked self finds it again.
struct StaticFrame {
    Ref self;
    void *data;
    const StaticFrame *outer;
};

class Receiver;
struct ThreadStore;

inline constexpr std::size_t standInSize = 1024; // of what a method that has lost its object works on

OOCOBOL_LOCAL extern constinit ThreadStore noStore; // of a thread that has none (yet): all lists are empty

struct ThreadState {
    // Sends below this address are too deep. It starts above every stack, so that the first send of a thread takes
    // the slow road and finds the real limit.
    std::uintptr_t stackLimit = UINTPTR_MAX;
    // Rises whenever user code has run and whenever an object was released or exchanged: what was read from an
    // object's body before must be read again.
    std::uint64_t epoch = 1;
    ThreadStore *store = &noStore;
    std::uint32_t misses = 0; // of send sites, to relink a site now and then only
    std::uint32_t depth = 0;  // of traced sends
    const StaticFrame *staticFrames = nullptr;
    std::uintptr_t stackEnd = 0, stackBase = 0; // of the thread's stack: lowest address, and one above the highest
    std::uint32_t recursionLevels = 0;          // counted by `levelsofrecursion`
    bool handlingOverflow = false;
    bool exitHookSet = false;
#if OOCOBOL_CHECKED
    const Receiver *active = nullptr; // receivers of the methods on this thread's stack, innermost first
#endif
};
static_assert(sizeof(ThreadState) <= 128);

OOCOBOL_LOCAL extern constinit thread_local ThreadState thread [[gnu::tls_model("initial-exec")]];

// Finds the stack limit, makes the store, and arranges that it is handed back when the thread ends.
void prepareThread() noexcept;

} // namespace oocobol
