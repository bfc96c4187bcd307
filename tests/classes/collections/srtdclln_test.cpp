// Sorted collections: order by default, by methods and by entries, and comparisons with bad manners. (Those that end or
// change the collection are the fuzzer's.)
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "classes/collections/sorting.h"
#include "runtime/memory.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Sorted : public CollectionTest {
protected:
    static Ref unsorted(const Words &words, Ref ofClass = CLASS("srtdclln")) {
        const auto sorted = send<Ref>(SITE("ofvalues"), ofClass, picX(4), Index{0});
        for (const auto &word : words) sendWord(SITE("addnosort"), sorted, word);
        return sorted;
    }
};

TEST_F(Sorted, KeepsElementsInOrder) {
    const Temporary sorted(sortedOf("c a d b a"));
    says(sorted.ref(), "* -> (a a b c d); firstindexof a, 1, 5 -> 1; firstindexof a, 2, 5 -> 2; "
                       "firstindexof a, 3, 5 -> 0; firstindexof d, 1, 4 -> 0; firstindexof d, 1, 2147483647 -> 5; "
                       "firstindexof x, 1, 5 -> 0; firstindexof a, 0, 3 -> error 3; occurrencesof a -> 2; "
                       "replaceall a, e, 1, 1; * -> (a b c d e); atallput x; * -> (x x x x x)");
}

TEST_F(Sorted, SortsEveryTemplateAsItCompares) {
    std::mt19937_64 random(7);
    for (const auto *program : {"comp5", "scomp5", "compx"}) {
        for (Index width = 1; width <= 8; ++width) {
            if (std::string_view(program) == "scomp5" && width == 4) continue; // answers the unsigned class
            const auto ofProgram = classForProgram(program);
            const auto elements = width == 4 ? ofProgram : send<Ref>(SITE("newclass"), ofProgram, width);
            const Temporary sorted(send<Ref>(SITE("ofvalues"), CLASS("srtdclln"), elements, Index{0})),
                source(send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), elements, Index{0}));
            for (int i = 0; i < 2500; ++i) send(SITE("add"), source.ref(), random());
            send(SITE("addall"), sorted.ref(), source.ref());
            std::uint64_t before = 0, next = 0;
            send(SITE("at"), sorted.ref(), into(before), Index{1});
            for (Index i = 2; i <= 2500; ++i, before = next) {
                send(SITE("at"), sorted.ref(), into(next), i);
                ASSERT_TRUE(sendOver<bool>(SITE("lessthanorequalbylengthvalue"), elements, &before, width, area(next)))
                    << program << width;
            }
        }
    }
}

TEST_F(Sorted, SortsByAMethodOfAnyObject) {
    const auto backwards =
        OutsideClass("sortdown", "sortdown", CLASS("base"))
            .classMethod("AtLeast", asMethod(+[](const oops_ref *, void *, void *answer, const char *a, const char *b) {
                             *static_cast<char *>(answer) = std::memcmp(a, b, 4) >= 0 ? 1 : 0;
                         }),
                         3)
            .registerIt();
    const Temporary up(sortedOf("b a")), down(newCollection("srtdclln", 4, 0));
    says(down.ref(),
         "setsortmethod $1, 'AtLeast '; add a; add c; add b; * -> (c b a); $3 assortedcollectionwithsort $1, 'atleast' "
         "-> (b a); setsortmethod $2, 'defaultSortMethod'; * -> (a b c)",
         {backwards, down.ref(), up.ref()});
}

TEST_F(Sorted, ComparesAsPrescribed) {
    std::string calls;
    const auto entry = entryNamed([&](void **arguments) {
        calls += wordIn(arguments) + wordIn(arguments, 4, 1) + " ";
        return std::memcmp(arguments[0], arguments[1], 4) <= 0 ? 1 : 0;
    });
    const Temporary sorted(unsorted({"d", "a", "c", "e", "b"}));
    says(sorted.ref(), "setsortentry '" + entry + "'; * -> (a b c d e)");
    // The middle one, c, against the others; then the parts on both sides of it.
    EXPECT_EQ(std::exchange(calls, {}), "ac dc ec bc ab de ");
    add(sorted.ref(), "cc");
    EXPECT_EQ(std::exchange(calls, {}), "ccc dcc ");
    send(SITE("resort"), sorted.ref());
    const auto natively = std::exchange(calls, {});
    const Road sent(false);
    send(SITE("resort"), sorted.ref());
    EXPECT_EQ(calls, natively);
}

TEST_F(Sorted, CountsAmongElementsThatOnlyCompareEqual) {
    const auto byLetter = entryNamed([](void **arguments) {
        return *static_cast<char *>(arguments[0]) <= *static_cast<char *>(arguments[1]) ? 1 : 0;
    });
    const Temporary sorted(newCollection("srtdclln", 4, 0));
    says(sorted.ref(), "setsortentry '" + byLetter + "'; add a1; add b1; add b2; add b1; add b3; add c1");
    onBothRoads([&] {
        says(sorted.ref(),
             "occurrencesof a1 -> 1; occurrencesof b1 -> 2; occurrencesof b2 -> 1; occurrencesof b4 -> 0");
    });
}

TEST_F(Sorted, KeepsItsElementsWhateverAComparisonDoes) {
    Ref sorted;
    int calls = 0;
    const auto sendNow = [&](bool now, oops_site &site) {
        if (now) send(site, sorted);
        return std::int64_t{calls & 1};
    };
    const std::pair<const char *, std::function<std::int64_t(void **)>> comparisons[] = {
        {"at random", [&](void **) { return std::int64_t{0x55AA5A >> (calls % 20) & 1}; }},
        {"writes",
         [](void **arguments) {
             for (int i = 0; i < 2; ++i) std::memset(arguments[i], 'w', 4);
             return 1;
         }},
        {"resorts", [&](void **) { return sendNow(calls == 5, SITE("resort")); }},
        {"grows", [&](void **) { return sendNow(calls % 7 == 0, SITE("makeroomatstart")); }},
    };
    Words words;
    for (int i = 0; i < 71; ++i) words.push_back(std::to_string(i * 37 % 71));
    for (const auto &comparison : comparisons) {
        onBothRoads([&] {
            calls = 0;
            sorted = unsorted({words.begin(), words.end() - 1});
            const auto entry = entryNamed([&](void **arguments) { return ++calls, comparison.second(arguments); });
            says(sorted, "setsortentry '" + entry + "'");
            add(sorted, words.back());
            Words found;
            for (Index i = 1; i <= sizeOf(sorted); ++i) found.push_back(trimmed(answered(SITE("at"), sorted, 4, i)));
            EXPECT_TRUE(std::is_permutation(words.begin(), words.end(), found.begin(), found.end()))
                << comparison.first;
            finalize(sorted);
        });
    }
}

TEST_F(Sorted, AsksOnceForWhatIsNotThere) {
    const Temporary sorted(sortedOf("c b a"));
    const auto tooLong = "'" + std::string(85, 'n') + "'";
    says(sorted.ref(),
         "setsortmethod $1, " + tooLong + " -> error 24; setsortentry 'nosuchentryatall' -> error 110; " +
             "setsortmethod $2, 'compare' -> error 106; * -> (a b c); setsortmethod $1, 'defaultsortmethod'; " +
             "setsortentry " + tooLong + " -> error 33; atput 1, z -> error 16; insertallafter 0, $1 -> error 16; " +
             "add bb; * -> (a b bb c)",
         {sorted.ref(), Ref{0x2020202020202020}});
}

// ---- The sorts themselves, against std::sort, for every way they can take ------------------------------------------

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
