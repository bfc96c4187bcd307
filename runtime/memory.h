// Memory: raw areas, objects' bodies, and reserved address ranges.
//
// Every allocation of the library passes through here, so that tests can make any of them fail. Raw areas come from
// the C library. Bodies come from per-thread lists by size, are cut from slabs that are never given back (a stale
// reader on another thread always meets mapped memory of the same size class), and are zero when handed out.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

#include "runtime/types.h"

namespace oocobol {

struct ThreadStore;

// Zero-filled, aligned to 16 bytes; null when it cannot be had. Size 0 gives an area too.
void *allocate(std::size_t size) noexcept;
// The same, but holding anything: for what is filled at once.
void *allocateUncleared(std::size_t size) noexcept;
// Resizes an area, which may move; what is new holds anything. Null, and the area stays, when it cannot be done.
void *reallocate(void *memory, std::size_t size) noexcept;
void release(void *memory) noexcept;

// Stands before an object's data. 16 bytes.
struct BodyHeader {
    std::uint32_t index;      // the object's own, in the object table
    std::uint32_t classIndex; // its class object's; a class outlives its instances
    std::uint32_t size;       // of the data, indexed data included
    std::uint16_t marks;
    std::uint16_t pool; // where it waits when it has ended (object_pool.h); 0: ending it takes more than that
};
static_assert(sizeof(BodyHeader) == 16);

// Marks of a body.
inline constexpr std::uint16_t markLibrary = 1;   // the library's own singleton: not counted as the program's
inline constexpr std::uint16_t markClass = 2;     // a class object
inline constexpr std::uint16_t markCopied = 4;    // a class object made by copying
inline constexpr std::uint16_t markComponent = 8; // its component slot has been set
// A class object that nobody has a reference to but its instances, and such an instance: see tieClass in objects.h.
inline constexpr std::uint16_t markTied = 16;
inline constexpr std::uint16_t markWatched = 32; // some registry has an entry for it: see watchObject in objects.h

// One thread may mark an object while others look at it.
inline std::uint16_t marksOf(const BodyHeader &header) {
    return std::atomic_ref(const_cast<BodyHeader &>(header).marks).load(std::memory_order_relaxed);
}
inline bool isMarked(const BodyHeader &header, std::uint16_t marks) { return (marksOf(header) & marks) != 0; }

inline void mark(BodyHeader &header, std::uint16_t marks) {
    std::atomic_ref(header.marks).fetch_or(marks, std::memory_order_relaxed);
    if ((marks & (markClass | markComponent | markTied)) != 0) header.pool = 0;
}

inline BodyHeader *headerOf(void *body) {
    return reinterpret_cast<BodyHeader *>(static_cast<std::byte *>(body) - sizeof(BodyHeader));
}

namespace detail {

inline constexpr std::size_t bodyStep = 16;
constexpr std::size_t bodyClassOf(std::size_t size) { return (sizeof(BodyHeader) + size + bodyStep - 1) / bodyStep; }

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
inline constexpr bool isSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool isSanitized = false;
#endif
// Sanitizers watch each body on its own, and checked builds count every allocation.
inline constexpr bool hasBodyCaches = !isSanitized && !OOCOBOL_CHECKED;

// A handful of stores: for bodies' sizes a call of memset takes longer, and so does what compilers make of a plain
// loop.
inline void clearSteps(std::byte *memory, std::size_t steps) {
    auto *end = memory + steps * bodyStep;
    while (end != memory) {
        end -= bodyStep;
        _mm_store_si128(reinterpret_cast<__m128i *>(end), _mm_setzero_si128());
        __asm__("" : "+r"(end));
    }
}

} // namespace detail

struct FreeBody {
    FreeBody *next;
};

inline constexpr std::size_t bodyClasses = 64; // by size, in steps of 16 bytes; larger bodies are raw areas

// A thread's free bodies of one size, and the rest of the slab that new ones are cut from.
struct BodyCache {
    FreeBody *free = nullptr;
    std::byte *next = nullptr;
    std::byte *end = nullptr;
};

// A body for `size` bytes of data, zero-filled, its header's size set; the address is the data's. Null when memory
// is short.
std::byte *allocateBody(std::uint32_t size) noexcept;
void freeBody(void *body) noexcept;

// Hands the free bodies of a thread that ends to the others.
void returnBodies(ThreadStore &store) noexcept;

// An address range that costs memory only where it is touched; null when it cannot be had.
void *reserveRange(std::size_t bytes) noexcept;
// The same for a range that owns areas, which leak checkers are told of.
void *reserveOwningRange(std::size_t bytes) noexcept;
// How many times smaller the owning ranges of sanitizer builds are: a leak check reads them whole.
inline constexpr std::uint32_t owningRangeDivisor = detail::isSanitized ? 256 : 1;

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
