#include "runtime/object_table.h"

#include <algorithm>
#include <mutex>

#include "runtime/memory.h"
#include "runtime/object_pool.h"
#include "runtime/thread_state.h"

namespace oocobol {

constinit ObjectTable objects;

namespace {

constexpr std::uint32_t largestCapacity = (std::uint32_t{1} << 28) / owningRangeDivisor;
constexpr std::uint32_t smallestCapacity = std::uint32_t{1} << 20;

std::mutex tableLock;
std::uint32_t nextIndex = 1; // 0 is null's
void **components = nullptr;
bool gateClosed = false;

} // namespace

namespace detail {
void clearComponentSlot(std::uint32_t index) noexcept {
    __atomic_store_n(&components[index], nullptr, __ATOMIC_RELEASE);
}
} // namespace detail

IndexRange reserveIndexes(std::uint32_t count) noexcept {
    const std::lock_guard guard(tableLock);
    const IndexRange range{nextIndex, nextIndex + std::min(count, objects.capacity - nextIndex)};
    nextIndex = range.end;
    objects.limit.store(nextIndex, std::memory_order_release);
    if (!gateClosed) objects.gate.store(nextIndex, std::memory_order_release);
    return range.first < range.end ? range : IndexRange{};
}

Ref enterObject(std::byte *body, std::uint32_t behaviour) noexcept {
    const auto index = takeIndex();
    if (index == 0) return null;
    headerOf(body)->index = index;
    auto &entry = objects.entries[index];
    entry.body.store(body, std::memory_order_relaxed);
    return detail::makeLive(index, entry, behaviour);
}

std::byte *endObject(Ref ref, Entry &entry) noexcept {
    if (!detail::claim(entry, ref.generation())) return nullptr;
    auto *body = entry.body.load(std::memory_order_relaxed);
    if (isMarked(*headerOf(body), markComponent)) detail::clearComponentSlot(ref.index());
    ++thread.epoch;
    return body;
}

std::byte *removeObject(Ref ref, Entry &entry) noexcept {
    auto *body = endObject(ref, entry);
    // An index whose generations are used up is never used again.
    if (body != nullptr && ref.generation() + 1 < detail::lastGeneration) putIndex(ref.index());
    return body;
}

bool reserveObjectTable() noexcept {
    for (auto capacity = largestCapacity; capacity >= smallestCapacity; capacity /= 2) {
        objects.entries = static_cast<Entry *>(reserveOwningRange(std::size_t{capacity} * sizeof(Entry)));
        if (objects.entries == nullptr) continue;
        components = static_cast<void **>(reserveOwningRange(std::size_t{capacity} * sizeof(void *)));
        if (components == nullptr) return false;
        objects.capacity = capacity;
        objects.limit = 1;
        return true;
    }
    return false;
}

void closeGate(bool closed) noexcept {
    const std::lock_guard guard(tableLock);
    gateClosed = closed;
    objects.gate.store(closed ? 0 : objects.limit.load(), std::memory_order_release);
}

void *componentSlot(Ref ref) noexcept {
    return isLive(ref) ? __atomic_load_n(&components[ref.index()], __ATOMIC_ACQUIRE) : nullptr;
}

void setComponentSlot(Ref ref, void *pointer) noexcept {
    auto *body = bodyOf(ref);
    if (body == nullptr) return;
    mark(*headerOf(body), markComponent);
    __atomic_store_n(&components[ref.index()], pointer, __ATOMIC_RELEASE);
}

} // namespace oocobol
