#include "runtime/object_table.h"

#include <deque>
#include <mutex>

#include "runtime/memory.h"
#include "runtime/thread_state.h"

namespace oocobol {

constinit ObjectTable objects;

namespace {

#ifndef OOCOBOL_GENERATION_BITS
#define OOCOBOL_GENERATION_BITS 31
#endif
constexpr std::uint32_t lastGeneration = (std::uint32_t{1} << OOCOBOL_GENERATION_BITS) - 1;

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

std::uint32_t takeIndex() {
    auto &own = thread;
    const auto index = own.freeIndexes[own.indexHead % ThreadState::indexRing];
    ++own.indexHead;
    --own.indexCount;
    return index;
}

void putIndex(std::uint32_t index) {
    auto &own = thread;
    own.freeIndexes[(own.indexHead + own.indexCount) % ThreadState::indexRing] = index;
    ++own.indexCount;
}

// Fresh indexes first; then those that other threads freed; then the thread's own, however few.
std::uint32_t refillIndexes() {
    prepareThread();
    const std::lock_guard guard(tableLock);
    auto &waiting = waitingIndexes();
    if (waiting.size() > ThreadState::indexReserve) {
        const auto index = waiting.front();
        waiting.pop_front();
        for (std::uint32_t i = 0; i < freshBatch && thread.indexCount < ThreadState::indexRing; ++i) {
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
    return thread.indexCount > 0 ? takeIndex() : 0;
}

std::uint32_t allocateIndex() {
    if (thread.indexCount > ThreadState::indexReserve) [[likely]] return takeIndex();
    if (thread.freshIndex < thread.freshEnd) return thread.freshIndex++;
    return refillIndexes();
}

void shareIndexes(std::uint32_t count) {
    const std::lock_guard guard(tableLock);
    auto &waiting = waitingIndexes();
    while (count-- > 0) waiting.push_back(takeIndex());
}

void freeIndex(std::uint32_t index) {
    if (thread.indexCount == ThreadState::indexRing) [[unlikely]] shareIndexes(freshBatch);
    putIndex(index);
}

} // namespace

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

Ref enterObject(std::byte *body, std::uint32_t behaviour) noexcept {
    const auto index = allocateIndex();
    if (index == 0) return null;
    auto &entry = objects.entries[index];
    const auto generation = static_cast<std::uint32_t>(entry.tag.load(std::memory_order_relaxed)) + 1;
    headerOf(body)->index = index;
    entry.body.store(body, std::memory_order_relaxed);
    entry.tag.store(makeTag(generation, behaviour), std::memory_order_release);
    return {index | std::uint64_t{generation} << 32};
}

std::byte *removeObject(Ref ref) noexcept {
    auto *entry = findEntry(ref);
    if (entry == nullptr) return nullptr;
    auto tag = entry->tag.load(std::memory_order_acquire);
    if (static_cast<std::uint32_t>(tag) != ref.generation()) return nullptr;
    if (!entry->tag.compare_exchange_strong(tag, makeTag(ref.generation() + 1, 0), std::memory_order_acq_rel))
        return nullptr;
    auto *body = entry->body.load(std::memory_order_relaxed);
    entry->body.store(nullptr, std::memory_order_relaxed);
    if ((headerOf(body)->marks & markComponent) != 0) components[ref.index()] = nullptr;
    ++thread.epoch;
    if (ref.generation() + 1 < lastGeneration) freeIndex(ref.index());
    return body;
}

Ref referenceAt(std::uint32_t index) noexcept {
    if (index >= objects.limit.load(std::memory_order_acquire)) return null;
    const auto generation =
        static_cast<std::uint32_t>(objects.entries[index].tag.load(std::memory_order_acquire));
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
    while (thread.indexCount > 0) waiting.push_back(takeIndex());
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
