// Memory: raw areas, objects' bodies, and reserved address ranges.
//
// Every allocation of the library passes through here, so that tests can make any of them fail. Raw areas come from
// the C library. Bodies come from per-thread lists by size, are cut from slabs that are never given back (a stale
// reader on another thread always meets mapped memory of the same size class), and are zero when handed out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

#include "runtime/thread_state.h"
#include "runtime/types.h"

namespace oocobol {

// Zero-filled, aligned to 16 bytes; null when it cannot be had. Size 0 gives an area too.
void *allocate(std::size_t size) noexcept;
// Resizes an area, which may move; what is new holds anything. Null, and the area stays, when it cannot be done.
void *reallocate(void *memory, std::size_t size) noexcept;
void release(void *memory) noexcept;

// Stands before an object's data. 16 bytes.
struct BodyHeader {
    std::uint32_t index;      // the object's own, in the object table
    std::uint32_t classIndex; // its class object's; a class outlives its instances
    std::uint32_t size;       // of the data, indexed data included
    std::uint32_t marks;
};
static_assert(sizeof(BodyHeader) == 16);

// Marks of a body.
inline constexpr std::uint32_t markLibrary = 1;   // the library's own singleton: not counted as the program's
inline constexpr std::uint32_t markClass = 2;     // a class object
inline constexpr std::uint32_t markCopied = 4;    // a class object made by copying
inline constexpr std::uint32_t markComponent = 8; // its component slot has been set
// A class object that nobody has a reference to but its instances, and such an instance: see tieClass in objects.h.
inline constexpr std::uint32_t markTied = 16;

inline BodyHeader *headerOf(void *body) {
    return reinterpret_cast<BodyHeader *>(static_cast<std::byte *>(body) - sizeof(BodyHeader));
}

namespace detail {

inline constexpr std::size_t bodyStep = 16;
constexpr std::size_t bodyClassOf(std::size_t size) { return (sizeof(BodyHeader) + size + bodyStep - 1) / bodyStep; }

// Sanitizers watch each body on its own, and checked builds count every allocation.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || OOCOBOL_CHECKED
inline constexpr bool hasBodyCaches = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool hasBodyCaches = false;
#else
inline constexpr bool hasBodyCaches = true;
#endif
#else
inline constexpr bool hasBodyCaches = true;
#endif
inline constexpr std::uint32_t bodyCacheLimit = 1024; // above it half goes to the other threads

std::byte *allocateBodySlowly(std::uint32_t size) noexcept;
void freeBodySlowly(void *body) noexcept;

// A handful of stores: for bodies' sizes a call of memset takes longer, and so does what compilers make of a plain
// loop.
inline void clearSteps(std::byte *memory, std::size_t steps) {
    auto *end = memory + steps * bodyStep;
    do {
        end -= bodyStep;
        _mm_store_si128(reinterpret_cast<__m128i *>(end), _mm_setzero_si128());
        __asm__("" : "+r"(end));
    } while (end != memory);
}

} // namespace detail

struct FreeBody {
    FreeBody *next;
};

// A body for `size` bytes of data, zero-filled, its header's size set; the address is the data's. Null when memory
// is short.
inline std::byte *allocateBody(std::uint32_t size) noexcept {
    const auto sizeClass = detail::bodyClassOf(size);
    if (!detail::hasBodyCaches || sizeClass > ThreadState::bodyClasses) return detail::allocateBodySlowly(size);
    auto &cache = thread.bodies[sizeClass];
    if (cache.free == nullptr) [[unlikely]]
        return detail::allocateBodySlowly(size);
    auto *memory = reinterpret_cast<std::byte *>(cache.free);
    cache.free = cache.free->next;
    --cache.count;
    detail::clearSteps(memory, sizeClass);
    auto *body = memory + sizeof(BodyHeader);
    headerOf(body)->size = size;
    return body;
}

inline void freeBody(void *body) noexcept {
    const auto sizeClass = detail::bodyClassOf(headerOf(body)->size);
    if (!detail::hasBodyCaches || sizeClass > ThreadState::bodyClasses) return detail::freeBodySlowly(body);
    auto &cache = thread.bodies[sizeClass];
    if (cache.count >= detail::bodyCacheLimit) [[unlikely]]
        return detail::freeBodySlowly(body);
    auto *free = reinterpret_cast<FreeBody *>(headerOf(body));
    free->next = cache.free;
    cache.free = free;
    ++cache.count;
}

// Hands the calling thread's free bodies to the others.
void returnBodies() noexcept;

// An address range that costs memory only where it is touched; null when it cannot be had.
void *reserveRange(std::size_t bytes) noexcept;

// ---- For tests: failing allocations ------------------------------------------------------------------------------

struct AllocationFaults {
    // The n-th allocation from now fails (1: the next one), and all after it while `persistent`. 0 lifts the fault.
    static void failAt(std::uint64_t n, bool persistent) noexcept;
    // Allocations made since failAt.
    static std::uint64_t count() noexcept;
};

// Bytes of raw areas and bodies now in use, for leak checks; counted in checked builds only, else 0.
std::int64_t bytesInUse() noexcept;

} // namespace oocobol
