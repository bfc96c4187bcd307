// The sorts themselves, against std::sort, for every way they can take.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classes/collections/sorting.h"
#include "runtime/memory.h"

namespace oocobol::test {
namespace {

std::vector<std::string> recordsOf(const std::string &bytes, std::size_t width) {
    std::vector<std::string> records;
    for (std::size_t at = 0; at < bytes.size(); at += width) records.push_back(bytes.substr(at, width));
    return records;
}

void expectSorted(std::size_t count, std::size_t width, Order order, unsigned distinct, std::size_t common) {
    std::mt19937 random(static_cast<unsigned>(count * 31 + width));
    std::string bytes(count * width, 'c');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % width >= common) bytes[i] = static_cast<char>(random() % distinct);
    }
    auto expected = recordsOf(bytes, width);
    const auto address = [](const std::string &record) { return reinterpret_cast<const std::byte *>(record.data()); };
    std::sort(expected.begin(), expected.end(), [&](const auto &one, const auto &other) {
        return compareInOrder(address(one), address(other), width, order) < 0;
    });
    sortInOrder(reinterpret_cast<std::byte *>(bytes.data()), count, width, order);
    ASSERT_EQ(recordsOf(bytes, width), expected) << count << " of " << width;
}

TEST(Sorting, OrdersRecordsOfEveryWidthAndNumber) {
    for (const std::size_t count : {0, 1, 2, 3, 24, 25, 300, 1999, 2000, 5000}) {
        for (const std::size_t width : {1, 3, 4, 7, 8, 9, 10, 16, 17, 20, 36, 65, 300}) {
            expectSorted(count, width, Order::bytes, 256, 0);
            expectSorted(count, width, Order::bytes, 2, width / 2);
        }
        for (const std::size_t width : {1, 2, 3, 4, 5, 8}) expectSorted(count, width, Order::littleUnsigned, 256, 0);
        expectSorted(count, 4, Order::littleSigned, 256, 0);
    }
}

TEST(Sorting, OrdersWithoutMemory) {
    if (!OOCOBOL_CHECKED) GTEST_SKIP() << "allocations fail in checked builds only";
    AllocationFaults::failAt(1, true);
    expectSorted(3000, 20, Order::bytes, 4, 0);
    expectSorted(3000, 4, Order::littleSigned, 256, 0);
    AllocationFaults::failAt(0, false);
}

} // namespace
} // namespace oocobol::test
