// What the runtime keeps per thread. One block, so that a send pays for one thread-pointer offset.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/types.h"

namespace oocobol {

struct FreeBody;

// The data that a static send's user code works on, so that a message to its marked self finds it again.
struct StaticFrame {
    Ref self;
    void *data;
    const StaticFrame *outer;
};

class Receiver;

struct ThreadState {
    static constexpr std::size_t bodyClasses = 64;
    static constexpr std::uint32_t indexRing = 512;
    static constexpr std::uint32_t indexReserve = 256; // a freed index rests until so many others wait before it

    // Sends below this address are too deep. It starts above every stack, so that the first send of a thread takes
    // the slow road and finds the real limit.
    std::uintptr_t stackLimit = UINTPTR_MAX;
    // Rises whenever user code has run and whenever an object was released or exchanged: what was read from an
    // object's body before must be read again.
    std::uint64_t epoch = 1;
    std::uint32_t misses = 0; // of send sites, to relink a site now and then only
    std::uint32_t depth = 0;  // of traced sends
    const StaticFrame *staticFrames = nullptr;

    // Bodies by size, in steps of 16 bytes, and the rest of the slab that new ones are cut from.
    struct BodyCache {
        FreeBody *free = nullptr;
        std::uint32_t count = 0;
        std::byte *next = nullptr;
        std::byte *end = nullptr;
    };
    BodyCache bodies[bodyClasses + 1];

    std::uint32_t freeIndexes[indexRing] = {};
    // Counted up for ever, taken modulo the ring: each end has a counter of its own, because a length that both ends
    // change makes every create wait for the finalize before it (12.4 against 4.1 ns for the pair).
    std::uint32_t indexHead = 0; // next to hand out
    std::uint32_t indexTail = 0; // next to be put
    std::uint32_t waitingIndexes() const { return indexTail - indexHead; }
    std::uint32_t freshIndex = 0, freshEnd = 0;

    std::uintptr_t stackEnd = 0, stackBase = 0; // of the thread's stack: lowest address, and one above the highest
    bool handlingOverflow = false;
    bool exitHookSet = false;

    // The last messages not understood, newest at the head.
    struct NotUnderstood {
        Ref receiver{};
        char name[161] = {};
    };
    static constexpr std::size_t rememberedMessages = 4;
    NotUnderstood notUnderstood[rememberedMessages] = {};
    std::uint32_t notUnderstoodNext = 0;

    std::uint32_t recursionLevels = 0; // counted by `levelsofrecursion`
#if OOCOBOL_CHECKED
    const Receiver *active = nullptr; // receivers of the methods on this thread's stack, innermost first
#endif
};

OOCOBOL_LOCAL extern constinit thread_local ThreadState thread [[gnu::tls_model("initial-exec")]];

// Finds the stack limit and arranges that the caches are handed back when the thread ends.
void prepareThread() noexcept;

} // namespace oocobol
