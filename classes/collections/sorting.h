// Sorting records of one width.
//
// Two sorts. The prescribed one is a quicksort whose sequence of comparisons is fixed: whoever compares sees it. The
// other sorts by a known order under which equal records have equal bytes, so that nobody can tell which way they went.
#pragma once

#include "classes/collections/elements.h"

namespace oocobol {

// Orders that need no one to be asked.
enum class Order {
    none,
    bytes,          // byte by byte, unsigned: texts, and numbers with the most significant byte first
    littleUnsigned, // numbers of up to 8 bytes, the least significant byte first
    littleSigned,   // of 4 bytes
};

// Below 0, 0 or above 0.
int compareInOrder(const std::byte *one, const std::byte *other, std::size_t width, Order order) noexcept;

// Never fails: short of memory it sorts in place.
void sortInOrder(std::byte *records, std::size_t count, std::size_t width, Order order) noexcept;

// ---- The prescribed sort ------------------------------------------------------------------------------------------

// Records with room for two more beside them. `compare(a, b)` says whether a may stand in front of b; once it says
// that it has failed, the sort stops and the records are in no order and not complete.
template <class Compare> class PrescribedSort {
public:
    PrescribedSort(std::byte *first, std::size_t recordWidth, std::byte *pivotArea, std::byte *swapArea,
                   Compare &comparison) noexcept
        : records(first), width(recordWidth), pivot(pivotArea), swapped(swapArea), compare(comparison) {}

    void sort(std::ptrdiff_t low, std::ptrdiff_t high) {
        while (high - low > 1 && !compare.hasFailed()) {
            const auto middle = (low + high) / 2;
            const auto store = partition(low, high);
            if (middle < store) {
                sort(store + 1, high);
                high = store - 1;
            } else {
                sort(low, store - 1);
                low = store + 1;
            }
        }
        if (high - low == 1) sortTwo(low, high);
    }

    // Around the middle one of at least three records; answers where that went.
    std::ptrdiff_t partition(std::ptrdiff_t low, std::ptrdiff_t high) {
        const auto middle = (low + high) / 2;
        copyElement(pivot, at(middle), width);
        copyElement(at(middle), at(low), width);
        auto store = low;
        for (auto i = low + 1; i <= high && !compare.hasFailed(); ++i) {
            if (!compare(at(i), pivot)) continue;
            ++store;
            if (i != store) exchange(i, store);
        }
        copyElement(at(low), at(store), width);
        copyElement(at(store), pivot, width);
        return store;
    }

    void sortTwo(std::ptrdiff_t low, std::ptrdiff_t high) {
        if (compare.hasFailed()) return;
        copyElement(pivot, at(high), width);
        if (compare(pivot, at(low))) exchange(low, high);
    }

private:
    std::byte *at(std::ptrdiff_t position) const { return records + static_cast<std::size_t>(position) * width; }
    void exchange(std::ptrdiff_t one, std::ptrdiff_t other) {
        copyElement(swapped, at(one), width);
        copyElement(at(one), at(other), width);
        copyElement(at(other), swapped, width);
    }

    std::byte *records;
    std::size_t width;
    std::byte *pivot;
    std::byte *swapped;
    Compare &compare;
};

} // namespace oocobol
