// Mutexes behind handles.
//
// A handle names a slot and the generation that the slot had when the mutex was opened: a stale or garbage handle
// finds no generation that fits and is let be. Slots are never given back to the heap, so that any number may be looked
// at without a lock; a mutex that is not contended costs two atomic operations.
#include <atomic>
#include <mutex>
#include <new>
#include <sys/single_threaded.h>

#include "host/gnucobol.h"
#include "host/host.h"

namespace oocobol::host {
namespace {

struct Slot {
    std::atomic<std::uint64_t> owner{0}; // a thread, 0 when free
    std::atomic<std::uint32_t> waiting{0};
    std::atomic<std::uint32_t> generation{0}; // odd while the mutex is open
    std::atomic<std::uint32_t> depth{0};      // how often the owner has acquired it again
    std::uint32_t nextFree = 0;
};

constexpr std::uint32_t chunkSize = 256, chunkCount = 4096;
constexpr std::uint32_t lastGeneration = 0xFFFFFFFE;

struct Table {
    std::mutex lock; // for opening and closing
    std::atomic<Slot *> chunks[chunkCount] = {};
    std::atomic<std::uint32_t> size{0};
    std::uint32_t firstFree = 0; // index + 1
};
constinit Table table;

Slot &slotAt(std::uint32_t index) {
    return table.chunks[index / chunkSize].load(std::memory_order_acquire)[index % chunkSize];
}

std::uint32_t generationOf(MutexHandle handle) { return static_cast<std::uint32_t>(handle >> 32); }

bool isOpen(const Slot &slot, MutexHandle handle) {
    return slot.generation.load(std::memory_order_acquire) == generationOf(handle);
}

// The slot of an open mutex, else null.
Slot *find(MutexHandle handle) {
    const auto position = static_cast<std::uint32_t>(handle); // index + 1
    if (position == 0 || position > table.size.load(std::memory_order_acquire)) return nullptr;
    if (generationOf(handle) % 2 == 0) return nullptr;
    auto &slot = slotAt(position - 1);
    return isOpen(slot, handle) ? &slot : nullptr;
}

// Under the table's lock: a position that no open mutex has, 0 when there is none.
std::uint32_t freePosition() {
    if (const auto position = table.firstFree) {
        table.firstFree = slotAt(position - 1).nextFree;
        return position;
    }
    const auto size = table.size.load(std::memory_order_relaxed);
    if (size == chunkSize * chunkCount) return 0;
    auto &chunk = table.chunks[size / chunkSize];
    if (!chunk.load(std::memory_order_relaxed)) {
        auto *slots = new (std::nothrow) Slot[chunkSize];
        if (!slots) return 0;
        chunk.store(slots, std::memory_order_release);
    }
    table.size.store(size + 1, std::memory_order_release);
    return size + 1;
}

// In a process of one thread nobody is raced, and locked instructions would be most of what a mutex costs.
bool isAlone() { return __libc_single_threaded != 0; }

// Frees the mutex if the thread still has it: it may have been closed, and opened for others, under its feet.
void setFree(Slot &slot, std::uint64_t self) {
    if (isAlone()) {
        if (slot.owner.load(std::memory_order_relaxed) == self) slot.owner.store(0, std::memory_order_relaxed);
        return;
    }
    if (!slot.owner.compare_exchange_strong(self, 0, std::memory_order_seq_cst)) return;
    if (slot.waiting.load(std::memory_order_seq_cst) != 0) slot.owner.notify_all();
}

bool tryAcquire(Slot &slot, std::uint64_t self) {
    if (isAlone()) {
        const auto free = slot.owner.load(std::memory_order_relaxed) == 0;
        if (free) slot.owner.store(self, std::memory_order_relaxed);
        return free;
    }
    std::uint64_t nobody = 0;
    return slot.owner.compare_exchange_strong(nobody, self, std::memory_order_seq_cst);
}

// Answers false when the mutex was closed meanwhile.
bool waitAndAcquire(Slot &slot, MutexHandle handle, std::uint64_t self) {
    const gnucobol::BlockingSection section;
    slot.waiting.fetch_add(1, std::memory_order_seq_cst);
    bool acquired = false;
    while (isOpen(slot, handle) && !(acquired = tryAcquire(slot, self)))
        if (const auto owner = slot.owner.load(std::memory_order_seq_cst)) slot.owner.wait(owner);
    slot.waiting.fetch_sub(1, std::memory_order_relaxed);
    return acquired;
}

// What a thread still holds when it ends is freed, for those who wait for it. The main thread ends with the process:
// then others had better go on waiting than meet what it was in the middle of.
void releaseAll(void *) {
    if (onMainThread()) return;
    const auto self = threadSelf();
    const auto size = table.size.load(std::memory_order_acquire);
    for (std::uint32_t index = 0; index < size; ++index)
        if (auto &slot = slotAt(index); slot.owner.load(std::memory_order_relaxed) == self) setFree(slot, self);
}

void releaseAllAtThreadExit() {
    [[gnu::tls_model("initial-exec")]] static thread_local bool asked = false;
    if (asked) return;
    asked = true;
    atThreadExit(releaseAll, nullptr);
}

} // namespace

MutexHandle openMutex() noexcept {
    const std::lock_guard lock(table.lock);
    const auto position = freePosition();
    if (position == 0) return 0;
    const auto generation = slotAt(position - 1).generation.fetch_add(1, std::memory_order_release) + 1;
    return MutexHandle{generation} << 32 | position;
}

void acquireMutex(MutexHandle handle) noexcept {
    auto *slot = find(handle);
    if (!slot) return;
    const auto self = threadSelf();
    if (slot->owner.load(std::memory_order_relaxed) == self) {
        slot->depth.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    releaseAllAtThreadExit();
    if (!tryAcquire(*slot, self) && !waitAndAcquire(*slot, handle, self)) return;
    if (isOpen(*slot, handle))
        slot->depth.store(0, std::memory_order_relaxed);
    else
        setFree(*slot, self); // closed just now
}

void releaseMutex(MutexHandle handle) noexcept {
    auto *slot = find(handle);
    const auto self = threadSelf();
    if (!slot || slot->owner.load(std::memory_order_relaxed) != self) return;
    if (slot->depth.load(std::memory_order_relaxed) > 0)
        slot->depth.fetch_sub(1, std::memory_order_relaxed);
    else
        setFree(*slot, self);
}

void closeMutex(MutexHandle handle) noexcept {
    const std::lock_guard lock(table.lock);
    auto *slot = find(handle);
    if (!slot) return;
    const auto generation = slot->generation.fetch_add(1, std::memory_order_seq_cst) + 1;
    slot->owner.store(0, std::memory_order_seq_cst);
    slot->owner.notify_all();
    if (generation == lastGeneration) return; // used up: its handles must not come again
    const auto position = static_cast<std::uint32_t>(handle);
    slot->nextFree = table.firstFree;
    table.firstFree = position;
}

} // namespace oocobol::host
