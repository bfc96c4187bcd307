// Where the mutexes are, for whoever takes the same one over and over: in a process of one thread that is a handful of
// instructions in line, and acquireMutex and releaseMutex do the rest.
//
// A handle names a slot and the generation that the slot had when the mutex was opened: a stale or garbage handle
// finds no generation that fits and is let be. Slots are never given back to the heap, so that any number may be looked
// at without a lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <sys/single_threaded.h>

#include "host/host.h"
#include "host/lock_order.h"

namespace oocobol::host::mutexes {

struct Slot {
    std::atomic<std::uint64_t> owner{0}; // a thread, 0 when free
    std::atomic<std::uint32_t> waiting{0};
    std::atomic<std::uint32_t> generation{0}; // odd while the mutex is open
    std::atomic<std::uint32_t> depth{0};      // how often the owner has acquired it again
    std::atomic<MutexKind> kind{MutexKind::other};
    std::uint32_t nextFree = 0;
};

inline constexpr std::uint32_t chunkSize = 256, chunkCount = 4096;

struct Table {
    std::mutex lock; // for opening and closing
    std::atomic<Slot *> chunks[chunkCount] = {};
    std::atomic<std::uint32_t> size{0};
    std::uint32_t firstFree = 0; // index + 1
};
[[gnu::visibility("hidden")]] extern constinit Table table;

inline Slot &slotAt(std::uint32_t index) {
    return table.chunks[index / chunkSize].load(std::memory_order_acquire)[index % chunkSize];
}

inline std::uint32_t generationOf(MutexHandle handle) { return static_cast<std::uint32_t>(handle >> 32); }

inline bool isOpen(const Slot &slot, MutexHandle handle) {
    return slot.generation.load(std::memory_order_acquire) == generationOf(handle);
}

// The slot of an open mutex, else null.
[[gnu::always_inline]] inline Slot *find(MutexHandle handle) {
    const auto position = static_cast<std::uint32_t>(handle); // index + 1
    if (position == 0 || position > table.size.load(std::memory_order_acquire)) return nullptr;
    if (generationOf(handle) % 2 == 0) return nullptr;
    auto &slot = slotAt(position - 1);
    return isOpen(slot, handle) ? &slot : nullptr;
}

// In a process of one thread nobody is raced, and locked instructions would be most of what a mutex costs.
inline bool isAlone() { return __libc_single_threaded != 0; }

// The thread's number once what it holds when it ends is going to be freed: from the first mutex on that it acquires.
[[gnu::visibility("hidden")]] extern constinit thread_local std::uint64_t holder [[gnu::tls_model("initial-exec")]];

// Holds a mutex for a scope; none for a handle that names none.
class Hold {
public:
    explicit Hold(MutexHandle wanted) noexcept : handle(wanted), slot(find(wanted)) {
        if (slot == nullptr) return;
        if (isChecked || !isAlone() || slot->owner.load(std::memory_order_relaxed) != 0 || holder == 0) [[unlikely]] {
            if (!acquireMutex(handle)) slot = nullptr;
            return;
        }
        slot->owner.store(holder, std::memory_order_relaxed);
        slot->depth.store(0, std::memory_order_relaxed);
    }
    ~Hold() { release(); }
    Hold(const Hold &) = delete;
    Hold &operator=(const Hold &) = delete;

    void release() noexcept {
        if (slot == nullptr) return;
        // The mutex may have been closed meanwhile, and the slot be another's.
        if (isChecked || !isAlone() || !isOpen(*slot, handle) || slot->depth.load(std::memory_order_relaxed) != 0 ||
            slot->owner.load(std::memory_order_relaxed) != holder) [[unlikely]]
            releaseMutex(handle);
        else
            slot->owner.store(0, std::memory_order_relaxed);
        slot = nullptr;
    }

private:
    static constexpr bool isChecked = OOCOBOL_CHECKED; // the order in which mutexes are taken is recorded
    MutexHandle handle;
    Slot *slot;
};

} // namespace oocobol::host::mutexes
