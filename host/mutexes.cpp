// Mutexes behind handles: opening and closing them, waiting for them, and giving them up for others.
//
// A mutex that is not contended costs two atomic operations, and in a process of one thread none.
#include <new>
#include <utility>

#include "host/gnucobol.h"
#include "host/mutex_slots.h"

namespace oocobol::host {

constinit mutexes::Table mutexes::table;
constinit thread_local std::uint64_t mutexes::holder [[gnu::tls_model("initial-exec")]] = 0;

namespace {

using namespace mutexes;

constexpr std::uint32_t lastGeneration = 0xFFFFFFFE;

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

bool owns(MutexHandle handle) {
    const auto *slot = find(handle);
    return slot != nullptr && slot->owner.load(std::memory_order_relaxed) == threadSelf();
}

[[gnu::tls_model("initial-exec")]] constinit thread_local YieldingHold *innermost = nullptr;

// While it stands, what the thread holds in a yielding way is put aside. When it comes back the thread may have what it
// waited for; but whoever has it now is not waiting for that, or he would have put it aside.
class Aside {
public:
    Aside() : hold(innermost) {
        if (hold != nullptr) hold->putAside();
    }
    ~Aside() {
        if (hold != nullptr) hold->takeBack();
    }
    Aside(const Aside &) = delete;
    Aside &operator=(const Aside &) = delete;

private:
    YieldingHold *hold;
};

// Answers false when the mutex was closed meanwhile.
bool waitAndAcquire(Slot &slot, MutexHandle handle, std::uint64_t self) {
    const Aside aside;
    const gnucobol::BlockingSection section;
    lockOrder::waits(owns);
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

void freeAtThreadExit() {
    if (holder != 0) return;
    holder = threadSelf();
    atThreadExit(releaseAll, nullptr);
}

} // namespace

MutexHandle openMutex(MutexKind kind) noexcept {
    const std::lock_guard lock(table.lock);
    const auto position = freePosition();
    if (position == 0) return 0;
    auto &slot = slotAt(position - 1);
    slot.kind.store(kind, std::memory_order_relaxed);
    const auto generation = slot.generation.fetch_add(1, std::memory_order_release) + 1;
    return MutexHandle{generation} << 32 | position;
}

bool acquireMutex(MutexHandle handle) noexcept {
    auto *slot = find(handle);
    if (!slot) return false;
    const auto self = threadSelf();
    if (slot->owner.load(std::memory_order_relaxed) == self) {
        slot->depth.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    freeAtThreadExit();
    if (!tryAcquire(*slot, self) && !waitAndAcquire(*slot, handle, self)) return false;
    if (!isOpen(*slot, handle)) { // closed just now
        setFree(*slot, self);
        return false;
    }
    slot->depth.store(0, std::memory_order_relaxed);
    lockOrder::acquired(handle, slot->kind.load(std::memory_order_relaxed), owns);
    return true;
}

void releaseMutex(MutexHandle handle) noexcept {
    auto *slot = find(handle);
    if (!slot) return;
    const auto self = threadSelf();
    if (slot->owner.load(std::memory_order_relaxed) != self) return;
    if (slot->depth.load(std::memory_order_relaxed) > 0) {
        slot->depth.fetch_sub(1, std::memory_order_relaxed);
        return;
    }
    lockOrder::released(handle);
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

YieldingHold::YieldingHold(MutexHandle wanted) noexcept : handle(wanted) {
    if (handle == 0) return;
    outer = innermost;
    if (outer != nullptr && outer->handle != handle) outer->putAside();
    innermost = this;
    acquire();
}

YieldingHold::~YieldingHold() {
    if (handle == 0) return;
    release();
    innermost = outer;
    if (outer != nullptr && outer->handle != handle) outer->takeBack();
}

bool YieldingHold::acquire() noexcept { return held = acquireMutex(handle); }

void YieldingHold::release() noexcept {
    if (held) releaseMutex(handle);
    held = false;
}

void YieldingHold::putAside() noexcept {
    for (; owns(handle); ++aside) releaseMutex(handle);
}

void YieldingHold::takeBack() noexcept {
    for (auto count = std::exchange(aside, 0); count > 0 && held; --count) held = acquireMutex(handle);
}

} // namespace oocobol::host
