#include "runtime/memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sys/mman.h>

#if OOCOBOL_CHECKED
#include <malloc.h>
#endif

#include "runtime/thread_state.h"

namespace oocobol {

namespace {

using detail::bodyCacheLimit;
using detail::bodyStep;

constexpr std::size_t slabSize = std::size_t{64} * 1024;
constexpr std::uint32_t batch = bodyCacheLimit / 2;

#if OOCOBOL_CHECKED
std::atomic<std::uint64_t> allocations{0};
std::atomic<std::uint64_t> faultAt{0};
std::atomic<bool> faultPersists{false};
std::atomic<std::int64_t> inUse{0};

bool mayAllocate() {
    const auto at = faultAt.load(std::memory_order_relaxed);
    const auto now = allocations.fetch_add(1, std::memory_order_relaxed) + 1;
    return at == 0 || now < at || (now > at && !faultPersists.load(std::memory_order_relaxed));
}
void countAllocated(void *memory) { inUse += static_cast<std::int64_t>(malloc_usable_size(memory)); }
void countReleased(void *memory) { inUse -= static_cast<std::int64_t>(malloc_usable_size(memory)); }
#else
constexpr bool mayAllocate() { return true; }
constexpr void countAllocated(void *) {}
constexpr void countReleased(void *) {}
#endif

// What one thread has too many of waits here for another, by size class.
struct SharedBodies {
    std::mutex lock;
    FreeBody *chains[ThreadState::bodyClasses + 1][64] = {};
    std::uint32_t counts[ThreadState::bodyClasses + 1] = {};
};
SharedBodies &shared() {
    static auto *bodies = new SharedBodies; // outlives every thread
    return *bodies;
}

// Cuts the next body from the thread's slab of that class. Only what is handed out is touched.
std::byte *cut(ThreadState::BodyCache &cache, std::size_t sizeClass) {
    const auto bytes = sizeClass * bodyStep;
    if (static_cast<std::size_t>(cache.end - cache.next) < bytes) {
        auto *slab = static_cast<std::byte *>(std::aligned_alloc(bodyStep, slabSize));
        if (slab == nullptr) return nullptr;
        cache.next = slab;
        cache.end = slab + slabSize;
    }
    auto *body = cache.next;
    cache.next += bytes;
    return body;
}

std::byte *takeShared(ThreadState::BodyCache &cache, std::size_t sizeClass) {
    auto &all = shared();
    const std::lock_guard guard(all.lock);
    if (all.counts[sizeClass] == 0) return nullptr;
    cache.free = all.chains[sizeClass][--all.counts[sizeClass]];
    cache.count = batch;
    auto *body = cache.free;
    cache.free = body->next;
    --cache.count;
    return reinterpret_cast<std::byte *>(body);
}

void giveShared(ThreadState::BodyCache &cache, std::size_t sizeClass) {
    auto &all = shared();
    const std::lock_guard guard(all.lock);
    if (all.counts[sizeClass] == std::size(all.chains[sizeClass])) return; // keep them: the others have plenty
    auto *chain = cache.free;
    auto *last = chain;
    for (std::uint32_t i = 1; i < batch; ++i) last = last->next;
    cache.free = last->next;
    last->next = nullptr;
    cache.count -= batch;
    all.chains[sizeClass][all.counts[sizeClass]++] = chain;
}

[[gnu::noinline]] std::byte *refill(ThreadState::BodyCache &cache, std::size_t sizeClass) {
    prepareThread();
    if (cache.next == cache.end) {
        if (auto *body = takeShared(cache, sizeClass)) return body;
    }
    return cut(cache, sizeClass);
}

} // namespace

// The C library hands small areas that were released out again at once to malloc, not to calloc.
constexpr std::size_t smallArea = 1024;

void *allocate(std::size_t size) noexcept {
    if (!mayAllocate()) return nullptr;
    void *memory = nullptr;
    if (size > smallArea)
        memory = std::calloc(size, 1);
    else if ((memory = std::malloc(size == 0 ? 1 : size)) != nullptr)
        std::memset(memory, 0, size);
    if (memory != nullptr) countAllocated(memory);
    return memory;
}

void *reallocate(void *memory, std::size_t size) noexcept {
    if (!mayAllocate()) return nullptr;
    if (memory != nullptr) countReleased(memory);
    auto *resized = std::realloc(memory, size == 0 ? 1 : size);
    if (resized != nullptr || memory != nullptr) countAllocated(resized != nullptr ? resized : memory);
    return resized;
}

void release(void *memory) noexcept {
    if (memory == nullptr) return;
    countReleased(memory);
    std::free(memory);
}

namespace detail {

std::byte *allocateBodySlowly(std::uint32_t size) noexcept {
    const auto sizeClass = bodyClassOf(size);
    const auto cached = hasBodyCaches && sizeClass <= ThreadState::bodyClasses;
    auto *memory = cached ? refill(thread.bodies[sizeClass], sizeClass)
                          : static_cast<std::byte *>(allocate(sizeof(BodyHeader) + size));
    if (memory == nullptr) return nullptr;
    if (cached) clearSteps(memory, sizeClass);
    auto *body = memory + sizeof(BodyHeader);
    headerOf(body)->size = size;
    return body;
}

void freeBodySlowly(void *body) noexcept {
    const auto sizeClass = bodyClassOf(headerOf(body)->size);
    if (!hasBodyCaches || sizeClass > ThreadState::bodyClasses) return release(headerOf(body));
    auto &cache = thread.bodies[sizeClass];
    auto *free = reinterpret_cast<FreeBody *>(headerOf(body));
    free->next = cache.free;
    cache.free = free;
    ++cache.count;
    giveShared(cache, sizeClass);
}

} // namespace detail

void returnBodies() noexcept {
    for (std::size_t sizeClass = 1; sizeClass <= ThreadState::bodyClasses; ++sizeClass) {
        auto &cache = thread.bodies[sizeClass];
        while (cache.count >= batch) {
            const auto before = cache.count;
            giveShared(cache, sizeClass);
            if (cache.count == before) break;
        }
    }
}

void *reserveRange(std::size_t bytes) noexcept {
    auto *range = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) return nullptr;
    madvise(range, bytes, MADV_DONTDUMP);
    return range;
}

void AllocationFaults::failAt([[maybe_unused]] std::uint64_t n, [[maybe_unused]] bool persistent) noexcept {
#if OOCOBOL_CHECKED
    allocations = 0;
    faultPersists = persistent;
    faultAt = n;
#endif
}

std::uint64_t AllocationFaults::count() noexcept {
#if OOCOBOL_CHECKED
    return allocations;
#else
    return 0;
#endif
}

std::int64_t bytesInUse() noexcept {
#if OOCOBOL_CHECKED
    return inUse;
#else
    return 0;
#endif
}

} // namespace oocobol
