#include "runtime/object_table.h"

#include <deque>
#include <mutex>

#include "runtime/memory.h"
#include "runtime/thread_state.h"

namespace oocobol {

constinit ObjectTable objects;

namespace {

constexpr std::uint32_t largestCapacity = std::uint32_t{1} << 28;
constexpr std::uint32_t smallestCapacity = std::uint32_t{1} << 20;
constexpr std::uint32_t freshBatch = 64;

std::mutex tableLock;
std::uint32_t nextIndex = 1; // 0 is null's
std::deque<std::uint32_t> &waitingIndexes() {
    static auto *waiting = new std::deque<std::uint32_t>; // outlives every thread
    return *waiting;
}
void **components = nullptr;
bool gateClosed = false;

} // namespace

namespace detail {

// Fresh indexes first; then those that other threads freed; then the thread's own, however few.
std::uint32_t refillIndexes() noexcept {
    prepareThread();
    const std::lock_guard guard(tableLock);
    auto &waiting = waitingIndexes();
    if (waiting.size() > ThreadState::indexReserve) {
        const auto index = waiting.front();
        waiting.pop_front();
        for (std::uint32_t i = 0; i < freshBatch && thread.waitingIndexes() < ThreadState::indexRing; ++i) {
            putIndex(waiting.front());
            waiting.pop_front();
        }
        return index;
    }
    if (nextIndex < objects.capacity) {
        thread.freshIndex = nextIndex;
        thread.freshEnd = nextIndex + freshBatch < objects.capacity ? nextIndex + freshBatch : objects.capacity;
        nextIndex = thread.freshEnd;
        objects.limit.store(nextIndex, std::memory_order_release);
        if (!gateClosed) objects.gate.store(nextIndex, std::memory_order_release);
        return thread.freshIndex++;
    }
    if (!waiting.empty()) {
        const auto index = waiting.front();
        waiting.pop_front();
        return index;
    }
    return thread.waitingIndexes() > 0 ? takeIndex() : 0;
}

void shareIndexes() noexcept {
    const std::lock_guard guard(tableLock);
    auto &waiting = waitingIndexes();
    for (std::uint32_t i = 0; i < freshBatch; ++i) waiting.push_back(takeIndex());
}

void clearComponentSlot(std::uint32_t index) noexcept { components[index] = nullptr; }

} // namespace detail

bool reserveObjectTable() noexcept {
    for (auto capacity = largestCapacity; capacity >= smallestCapacity; capacity /= 2) {
        objects.entries = static_cast<Entry *>(reserveRange(std::size_t{capacity} * sizeof(Entry)));
        if (objects.entries == nullptr) continue;
        components = static_cast<void **>(reserveRange(std::size_t{capacity} * sizeof(void *)));
        if (components == nullptr) return false;
        objects.capacity = capacity;
        objects.limit = 1;
        return true;
    }
    return false;
}

Ref referenceAt(std::uint32_t index) noexcept {
    if (index >= objects.limit.load(std::memory_order_acquire)) return null;
    const auto generation = static_cast<std::uint32_t>(objects.entries[index].tag.load(std::memory_order_acquire));
    return (generation & 1) != 0 ? Ref{index | std::uint64_t{generation} << 32} : null;
}

void closeGate(bool closed) noexcept {
    const std::lock_guard guard(tableLock);
    gateClosed = closed;
    objects.gate.store(closed ? 0 : objects.limit.load(), std::memory_order_release);
}

void returnIndexes() noexcept {
    const std::lock_guard guard(tableLock);
    auto &waiting = waitingIndexes();
    while (thread.waitingIndexes() > 0) waiting.push_back(detail::takeIndex());
    while (thread.freshIndex < thread.freshEnd) waiting.push_back(thread.freshIndex++);
}

void *componentSlot(Ref ref) noexcept {
    return isLive(ref) ? __atomic_load_n(&components[ref.index()], __ATOMIC_ACQUIRE) : nullptr;
}

void setComponentSlot(Ref ref, void *pointer) noexcept {
    auto *body = bodyOf(ref);
    if (body == nullptr) return;
    headerOf(body)->marks |= markComponent;
    __atomic_store_n(&components[ref.index()], pointer, __ATOMIC_RELEASE);
}

} // namespace oocobol
