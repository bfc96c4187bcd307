#include "runtime/object_pool.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

#include "runtime/object_table.h"
#include "runtime/thread_store.h"

namespace oocobol {

constinit ObjectPool noPool;

namespace {

constexpr std::uint32_t sharedBatch = 256;

// What threads had too many of, in a queue that needs no memory: each index names the next one in its free body, or in
// its table entry when it has none.
class SharedQueue {
public:
    // May be asked without the lock, as a hint: most of the time there is nothing.
    bool isRested() const { return count.load(std::memory_order_relaxed) > ObjectPool::reserve; }
    bool isEmpty() const { return count.load(std::memory_order_relaxed) == 0; }

    void put(std::uint32_t index, bool hasBody) {
        if (isEmpty())
            head = index;
        else
            link(tail, index, hasBody);
        tail = index;
        count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    std::uint32_t take(bool hasBody) {
        const auto index = head;
        const auto left = count.load(std::memory_order_relaxed) - 1;
        if (left > 0) head = next(index, hasBody);
        count.store(left, std::memory_order_relaxed);
        return index;
    }

private:
    static void link(std::uint32_t from, std::uint32_t to, bool hasBody) {
        auto &entry = objects.entries[from];
        if (hasBody)
            headerOf(entry.body.load(std::memory_order_relaxed))->index = to;
        else
            entry.body.store(reinterpret_cast<std::byte *>(std::uintptr_t{to}), std::memory_order_relaxed);
    }
    static std::uint32_t next(std::uint32_t from, bool hasBody) {
        auto *body = objects.entries[from].body.load(std::memory_order_relaxed);
        return hasBody ? headerOf(body)->index : static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(body));
    }

    std::uint32_t head = 0, tail = 0;
    std::atomic<std::uint32_t> count{0};
};

constinit std::mutex lock; // of the shared queues
constinit SharedQueue shared[bodyClasses + 1];

ObjectPool *poolOf(std::size_t sizeClass) {
    auto *store = ownStore();
    if (store == nullptr) return nullptr;
    auto *&pool = store->pools[sizeClass];
    if (pool == &noPool) {
        auto *memory = std::malloc(sizeof(ObjectPool));
        if (memory == nullptr) return nullptr;
        pool = new (memory) ObjectPool;
        pool->lookAgain();
    }
    return pool;
}

// The oldest go first, so that what is shared has rested longest.
void share(ObjectPool &pool, std::size_t sizeClass, std::uint32_t count) {
    const std::lock_guard guard(lock);
    for (; count > 0; --count) shared[sizeClass].put(pool.take(), sizeClass != 0);
}

// Takes over what others shared: to the end of the queue, behind the thread's own.
void refill(ObjectPool &pool, std::size_t sizeClass) {
    auto &queue = shared[sizeClass];
    if (!queue.isRested()) return;
    const std::lock_guard guard(lock);
    while (queue.isRested() && pool.waiting() < ObjectPool::reserve + 2 * ObjectPool::batch)
        pool.put(queue.take(sizeClass != 0));
}

std::uint32_t takeFresh(ThreadStore *store) {
    if (store == nullptr) return reserveIndexes(1).first;
    if (store->fresh.first == store->fresh.end) store->fresh = reserveIndexes(ObjectPool::batch);
    return store->fresh.first < store->fresh.end ? store->fresh.first++ : 0;
}

// Without its body, which goes back to the bodies.
std::uint32_t takeApart(std::uint32_t index, std::size_t sizeClass) {
    if (sizeClass != 0) {
        auto *body = objects.entries[index].body.load(std::memory_order_relaxed);
        headerOf(body)->size = static_cast<std::uint32_t>(sizeClass * detail::bodyStep - sizeof(BodyHeader));
        freeBody(body);
    }
    return index;
}

// The table is full: whatever waits anywhere, rested or not.
std::uint32_t takeAny(ThreadStore *store) {
    for (std::size_t sizeClass = 0; sizeClass <= bodyClasses; ++sizeClass) {
        auto *pool = store != nullptr ? store->pools[sizeClass] : &noPool;
        if (pool->waiting() > 0) {
            const auto index = pool->take();
            pool->lookAgain();
            return takeApart(index, sizeClass);
        }
        std::uint32_t index = 0;
        {
            const std::lock_guard guard(lock);
            if (!shared[sizeClass].isEmpty()) index = shared[sizeClass].take(sizeClass != 0);
        }
        if (index != 0) return takeApart(index, sizeClass);
    }
    return 0;
}

} // namespace

ObjectPool *restedPool(std::size_t sizeClass) noexcept {
    auto *pool = poolOf(sizeClass);
    if (pool == nullptr) return nullptr;
    pool->lookAgain();
    if (!pool->hasRested()) refill(*pool, sizeClass);
    pool->lookAgain();
    return pool->hasRested() ? pool : nullptr;
}

ObjectPool *roomyPool(std::size_t sizeClass) noexcept {
    auto *pool = poolOf(sizeClass);
    if (pool == nullptr) return nullptr;
    pool->lookAgain();
    if (!pool->hasRoom()) share(*pool, sizeClass, sharedBatch);
    pool->lookAgain();
    return pool;
}

std::uint32_t takeIndex() noexcept {
    if (auto *pool = restedPool(0)) return pool->take();
    auto *store = ownStore();
    const auto fresh = takeFresh(store);
    return fresh != 0 ? fresh : takeAny(store);
}

void putIndex(std::uint32_t index) noexcept {
    if (auto *pool = roomyPool(0)) return pool->put(index);
    const std::lock_guard guard(lock);
    shared[0].put(index, false);
}

void returnObjects(ThreadStore &store) noexcept {
    for (std::size_t sizeClass = 0; sizeClass <= bodyClasses; ++sizeClass) {
        auto *pool = std::exchange(store.pools[sizeClass], &noPool);
        if (pool == &noPool) continue;
        share(*pool, sizeClass, pool->waiting());
        std::free(pool);
    }
    const std::lock_guard guard(lock);
    while (store.fresh.first < store.fresh.end) shared[0].put(store.fresh.first++, false);
}

} // namespace oocobol
