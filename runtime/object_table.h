// The object table: which references reach a live object, and where its body is.
//
// A reference holds a generation and an index. The entry at the index holds the same generation while the object
// lives; finalizing moves the generation on, so that a stale reference can only meet a mismatch, and an index whose
// generations are used up is never used again. Nothing derived from a reference is dereferenced before its index has
// passed the bound and its generation the comparison.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <sys/single_threaded.h>

#include "runtime/memory.h"
#include "runtime/thread_state.h"
#include "runtime/types.h"

namespace oocobol {

struct alignas(16) Entry {
    std::atomic<std::byte *> body{nullptr};
    // Generation (low half: odd while live, even while free) and behaviour (high half), compared as one by sends.
    std::atomic<std::uint64_t> tag{0};
};

constexpr std::uint64_t makeTag(std::uint32_t generation, std::uint32_t behaviour) {
    return generation | std::uint64_t{behaviour} << 32;
}
constexpr std::uint32_t behaviourOf(std::uint64_t tag) { return static_cast<std::uint32_t>(tag >> 32); }

struct ObjectTable {
    Entry *entries = nullptr;
    // Indexes below it can be live.
    std::atomic<std::uint32_t> limit{0};
    // What sends compare with: the limit, or 0 while every send must take the slow road (tracing, before start-up).
    std::atomic<std::uint32_t> gate{0};
    std::uint32_t capacity = 0;
};
OOCOBOL_LOCAL extern constinit ObjectTable objects;

// Reserves the table. Called once, by the start of the runtime. False when there is no address space.
bool reserveObjectTable() noexcept;

// Any value may be asked for.
inline bool isLive(Ref ref) noexcept {
    if (ref.index() >= objects.limit.load(std::memory_order_acquire)) return false;
    const auto tag = objects.entries[ref.index()].tag.load(std::memory_order_acquire);
    return static_cast<std::uint32_t>(tag) == ref.generation() && (ref.generation() & 1) != 0;
}
// The entry of a live reference, null for any other value.
inline Entry *findEntry(Ref ref) noexcept { return isLive(ref) ? &objects.entries[ref.index()] : nullptr; }
inline std::byte *bodyOf(Ref ref) noexcept {
    auto *entry = findEntry(ref);
    return entry != nullptr ? entry->body.load(std::memory_order_relaxed) : nullptr;
}

namespace detail {

#ifndef OOCOBOL_GENERATION_BITS
#define OOCOBOL_GENERATION_BITS 31
#endif
inline constexpr std::uint32_t lastGeneration = (std::uint32_t{1} << OOCOBOL_GENERATION_BITS) - 1;

void clearComponentSlot(std::uint32_t index) noexcept;

// Takes the entry of a live object to free; of several threads that try, one succeeds. The locked instruction costs
// more than the rest of finalizing, and a process of one thread has nobody to race.
inline bool claim(Entry &entry, std::uint32_t generation) noexcept {
    const auto ended = makeTag(generation + 1, 0);
    if (__libc_single_threaded != 0) {
        entry.tag.store(ended, std::memory_order_release);
        return true;
    }
    auto tag = entry.tag.load(std::memory_order_acquire);
    return static_cast<std::uint32_t>(tag) == generation &&
           entry.tag.compare_exchange_strong(tag, ended, std::memory_order_acq_rel);
}

// The entry's body is in place: from here on the new reference reaches it.
inline Ref makeLive(std::uint32_t index, Entry &entry, std::uint32_t behaviour) noexcept {
    const auto generation = static_cast<std::uint32_t>(entry.tag.load(std::memory_order_relaxed)) + 1;
    entry.tag.store(makeTag(generation, behaviour), std::memory_order_release);
    return {index | std::uint64_t{generation} << 32};
}

} // namespace detail

// A range of indexes that no object has had yet.
struct IndexRange {
    std::uint32_t first = 0, end = 0;
};
// At most `count` of them; none when the table is full.
IndexRange reserveIndexes(std::uint32_t count) noexcept;

// Makes an index the object's and publishes it: the reference, or null when the table is full.
Ref enterObject(std::byte *body, std::uint32_t behaviour) noexcept;

// Ends the reference of a live object whose entry this is; answers the body, or null when another thread was first. The
// index stays with the body.
std::byte *endObject(Ref ref, Entry &entry) noexcept;
// The same, and gives the index away.
std::byte *removeObject(Ref ref, Entry &entry) noexcept;

// The reference that reaches the object at an index now; null when it is free.
inline Ref referenceAt(std::uint32_t index) noexcept {
    if (index >= objects.limit.load(std::memory_order_acquire)) return null;
    const auto generation = static_cast<std::uint32_t>(objects.entries[index].tag.load(std::memory_order_acquire));
    return (generation & 1) != 0 ? Ref{index | std::uint64_t{generation} << 32} : null;
}

// All sends take the slow road while closed.
void closeGate(bool closed) noexcept;

// One pointer per object, in a table of its own that is touched only where it is used.
void *componentSlot(Ref ref) noexcept;
void setComponentSlot(Ref ref, void *pointer) noexcept;

} // namespace oocobol
