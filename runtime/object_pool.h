// Ended objects that wait to be made anew.
//
// A free index keeps the body that it had, so that making an object of the same size touches one list, and a queue,
// because the object that ended last would make every create wait for the finalize before it. The rest that an index
// takes in the queue also keeps a stale reference meeting "free" instead of the next object for a good while.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/types.h"

namespace oocobol {

struct ThreadStore;

struct ObjectPool {
    static constexpr std::uint32_t capacity = 512;
    static constexpr std::uint32_t reserve = 256; // an ended object rests until so many others wait behind it
    static constexpr std::uint32_t batch = 64;

    // Counted up for ever, taken modulo the capacity: each end has a counter of its own, because a length that both
    // ends change would chain creates to finalizes too. How far each may go before it must look at the other:
    std::uint32_t head = 0, headLimit = 0; // next to hand out
    std::uint32_t tail = 0, tailLimit = 0; // next to be put
    std::uint32_t indexes[capacity] = {};

    std::uint32_t waiting() const { return tail - head; }
    // Whether the next may be taken, or put, at once; if not, see restedPool and roomyPool below.
    bool hasRested() const { return head != headLimit; }
    bool hasRoom() const { return tail != tailLimit; }
    std::uint32_t take() { return indexes[head++ % capacity]; }
    void put(std::uint32_t index) { indexes[tail++ % capacity] = index; }

    void lookAgain() {
        // A good number at once, so that a program that ends as many objects as it makes seldom looks.
        headLimit = waiting() >= reserve + batch ? tail - reserve : head;
        tailLimit = head + capacity;
    }
};

OOCOBOL_LOCAL extern constinit ObjectPool noPool;

// The thread's pool for bodies of that size class (0: for indexes without a body), with something to take that has
// rested, as far as other threads have shared enough. Null when there is nothing.
ObjectPool *restedPool(std::size_t sizeClass) noexcept;
// The thread's pool for that size class, with room for one more; null when there is no memory for a pool.
ObjectPool *roomyPool(std::size_t sizeClass) noexcept;

// An index without a body that no object has at present; 0 when all are taken.
std::uint32_t takeIndex() noexcept;
// Gives one back. The entry is free already.
void putIndex(std::uint32_t index) noexcept;

// Hands what a thread that ends has waiting to the others.
void returnObjects(ThreadStore &store) noexcept;

} // namespace oocobol
