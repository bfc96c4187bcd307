#include "runtime/memory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <utility>

#if OOCOBOL_CHECKED
#include <malloc.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "runtime/thread_store.h"

namespace oocobol {

namespace {

using detail::bodyStep;

constexpr std::size_t slabSize = std::size_t{64} * 1024;

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

// The bodies of threads that ended wait here for the others, with the slabs that were not used up.
struct SlabRest {
    SlabRest *next;
    std::byte *end;
};
struct SharedBodies {
    std::mutex lock;
    FreeBody *free = nullptr;
    SlabRest *slabs = nullptr;
};
constinit SharedBodies shared[bodyClasses + 1];

// The C library's memory, in which only what is handed out is touched.
void beginSlab(BodyCache &cache) {
    auto *slab = static_cast<std::byte *>(std::aligned_alloc(bodyStep, slabSize));
    if (slab == nullptr) return;
    cache.next = slab;
    cache.end = slab + slabSize;
}

void takeShared(BodyCache &cache, std::size_t sizeClass) {
    auto &others = shared[sizeClass];
    const std::lock_guard guard(others.lock);
    cache.free = std::exchange(others.free, nullptr);
    if (cache.free != nullptr || others.slabs == nullptr) return;
    cache.next = reinterpret_cast<std::byte *>(others.slabs);
    cache.end = others.slabs->end;
    others.slabs = others.slabs->next;
}

std::byte *takeBody(BodyCache &cache, std::size_t sizeClass) {
    const auto bytes = sizeClass * bodyStep;
    const auto isUsedUp = [&] { return static_cast<std::size_t>(cache.end - cache.next) < bytes; };
    if (cache.free == nullptr && isUsedUp()) takeShared(cache, sizeClass);
    if (auto *body = cache.free) {
        cache.free = body->next;
        return reinterpret_cast<std::byte *>(body);
    }
    if (isUsedUp()) beginSlab(cache);
    return isUsedUp() ? nullptr : std::exchange(cache.next, cache.next + bytes);
}

void giveShared(BodyCache &cache, std::size_t sizeClass) {
    auto &others = shared[sizeClass];
    const std::lock_guard guard(others.lock);
    while (auto *body = cache.free) {
        cache.free = body->next;
        body->next = std::exchange(others.free, body);
    }
    if (static_cast<std::size_t>(cache.end - cache.next) < sizeClass * bodyStep) return;
    others.slabs = new (cache.next) SlabRest{others.slabs, cache.end};
}

bool isPooled(std::size_t sizeClass) { return detail::hasBodyCaches && sizeClass <= bodyClasses; }

} // namespace

namespace {

// The C library hands small areas that were released out again at once to malloc, not to calloc.
constexpr std::size_t smallArea = 1024;

// Large areas are tables that are looked into at random, or long lists. In pages of 2 MiB their addresses are found
// without a walk through the page tables, and a first touch costs a fraction of what 512 small pages take. Only whole
// large pages are asked for, so that an area holds no more memory than it would have.
void *inLargePages(void *memory, std::size_t size) noexcept {
    constexpr std::size_t largePage = std::size_t{2} << 20;
    if (detail::isSanitized || memory == nullptr || size < 2 * largePage) return memory;
    const auto start = (reinterpret_cast<std::uintptr_t>(memory) + largePage - 1) / largePage * largePage;
    const auto end = (reinterpret_cast<std::uintptr_t>(memory) + size) / largePage * largePage;
    madvise(reinterpret_cast<void *>(start), end - start, MADV_HUGEPAGE); // a wish: nothing depends on it
    return memory;
}

} // namespace

void *allocate(std::size_t size) noexcept {
    if (size <= smallArea) {
        auto *memory = allocateUncleared(size);
        return memory != nullptr ? std::memset(memory, 0, size) : nullptr;
    }
    auto *memory = mayAllocate() ? inLargePages(std::calloc(size, 1), size) : nullptr;
    if (memory != nullptr) countAllocated(memory);
    return memory;
}

void *allocateUncleared(std::size_t size) noexcept {
    auto *memory = mayAllocate() ? inLargePages(std::malloc(size == 0 ? 1 : size), size) : nullptr;
    if (memory != nullptr) countAllocated(memory);
    return memory;
}

void *reallocate(void *memory, std::size_t size) noexcept {
    if (!mayAllocate()) return nullptr;
    if (memory != nullptr) countReleased(memory);
    auto *resized = inLargePages(std::realloc(memory, size == 0 ? 1 : size), size);
    if (resized != nullptr || memory != nullptr) countAllocated(resized != nullptr ? resized : memory);
    return resized;
}

void release(void *memory) noexcept {
    if (memory == nullptr) return;
    countReleased(memory);
    std::free(memory);
}

std::byte *allocateBody(std::uint32_t size) noexcept {
    const auto sizeClass = detail::bodyClassOf(size);
    std::byte *memory = nullptr;
    if (!isPooled(sizeClass)) {
        // At least one byte: to a leak checker an address behind an area's end does not hold the area.
        memory = static_cast<std::byte *>(allocate(sizeof(BodyHeader) + std::max(size, 1U)));
    } else if (auto *store = ownStore()) {
        memory = takeBody(store->bodies[sizeClass], sizeClass);
        if (memory != nullptr) detail::clearSteps(memory, sizeClass);
    }
    if (memory == nullptr) return nullptr;
    auto *body = memory + sizeof(BodyHeader);
    headerOf(body)->size = size;
    if (isPooled(sizeClass)) headerOf(body)->pool = static_cast<std::uint16_t>(sizeClass);
    return body;
}

void freeBody(void *body) noexcept {
    const auto sizeClass = detail::bodyClassOf(headerOf(body)->size);
    if (!isPooled(sizeClass)) return release(headerOf(body));
    auto *free = reinterpret_cast<FreeBody *>(headerOf(body));
    if (auto *store = ownStore()) {
        free->next = std::exchange(store->bodies[sizeClass].free, free);
        return;
    }
    const std::lock_guard guard(shared[sizeClass].lock);
    free->next = std::exchange(shared[sizeClass].free, free);
}

void returnBodies(ThreadStore &store) noexcept {
    for (std::size_t sizeClass = 1; sizeClass <= bodyClasses; ++sizeClass)
        giveShared(store.bodies[sizeClass], sizeClass);
}

void *reserveRange(std::size_t bytes) noexcept {
    auto *range = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (range == MAP_FAILED) return nullptr;
    madvise(range, bytes, MADV_DONTDUMP);
    return range;
}

void *reserveOwningRange(std::size_t bytes) noexcept {
    auto *range = reserveRange(bytes);
#if defined(__SANITIZE_ADDRESS__)
    if (range != nullptr) __lsan_register_root_region(range, bytes);
#endif
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
