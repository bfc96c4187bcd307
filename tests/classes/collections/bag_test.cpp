// Bags: counting, walking, copying and their contents' ownership; with native loops and without.
#include <algorithm>
#include <map>
#include <random>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Bags : public testing::TestWithParam<bool> {
protected:
    Bags() { allowNativePaths(GetParam()); }
    ~Bags() override { allowNativePaths(true); }

    static Ref bagOf(const Words &words, Index size = 0) {
        const auto bag = newCollection("bag", 4, size);
        for (const auto &word : words) add(bag, word);
        return bag;
    }
    static Count count(Ref bag, std::string_view word) { return sendWord<Count>(SITE("occurrencesof"), bag, word); }
    static Words walked(Ref bag, oops_site &walk = SITE("do")) {
        Words words;
        const Block note([&](void **arguments) {
            words.push_back(wordIn(arguments));
            return 0;
        });
        send(walk, bag, note.ref());
        return words;
    }

    LeakCheck leaks;
    RaisedErrors errors;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Bags, testing::Bool());

TEST_P(Bags, CountLikeAMap) {
    std::mt19937 random(3);
    std::map<std::string, Count> model;
    Count total = 0;
    const auto bag = bagOf({});
    for (int i = 0; i < 3000; ++i) {
        const auto word = std::to_string(random() % 60);
        if (random() % 3 == 0) {
            sendWord(SITE("remove"), bag, word);
            ASSERT_EQ(errors.numbers().empty(), model.count(word) != 0);
            if (model.count(word) == 0) continue;
            if (--model[word] == 0) model.erase(word);
            --total;
        } else {
            const Count times = random() % 4 == 0 ? 5 : 1;
            sendWord(SITE("addwithoccurrences"), bag, word, times);
            model[word] += times;
            total += times;
        }
        ASSERT_EQ(count(bag, word), model.count(word) != 0 ? model[word] : 0);
        ASSERT_EQ(sendWord<bool>(SITE("includes"), bag, word), model.count(word) != 0);
        ASSERT_EQ(static_cast<Count>(sizeOf(bag)), total);
    }
    std::map<std::string, Count> seen;
    for (const auto &word : walked(bag)) ++seen[word];
    EXPECT_EQ(seen, model);
    finalize(bag);
}

TEST_P(Bags, WalkEqualElementsInARow) {
    const auto bag = bagOf({"a", "b", "a", "b", "a"});
    const auto words = walked(bag);
    EXPECT_EQ(words.size(), 5u);
    EXPECT_TRUE(words == (Words{"a", "a", "a", "b", "b"}) || words == (Words{"b", "b", "a", "a", "a"}));
    EXPECT_FALSE(send<bool>(SITE("isindexed"), bag));
    int visits = 0;
    const Block stopping([&](void **) {
        ++visits;
        send(SITE("quititeration"), bag);
        return 0;
    });
    send(SITE("do"), bag, stopping.ref());
    send(SITE("dowithoutcopy"), bag, stopping.ref());
    EXPECT_EQ(visits, 2);
    EXPECT_EQ(walked(bag).size(), 5u); // nothing of it is left
    const Block isB([](void **arguments) { return wordIn(arguments) == "b"; });
    std::string found(4, '?');
    send(SITE("detect"), bag, Returning{{reinterpret_cast<std::byte *>(found.data())}}, isB.ref());
    EXPECT_EQ(found, "b   ");
    const Block emptying([&](void **arguments) {
        sendWord(SITE("remove"), bag, wordIn(arguments));
        return 0;
    });
    send(SITE("do"), bag, emptying.ref());
    EXPECT_EQ(sizeOf(bag), 0);
    EXPECT_TRUE(errors.all.empty());
    finalize(bag);
}

TEST_P(Bags, HaveContentsOfTheirOwn) {
    const auto bag = bagOf({"a", "a", "b"});
    const auto copy = send<Ref>(SITE("copy"), bag);
    const auto chosen = send<Ref>(SITE("asvalueset"), bag);
    sendWord(SITE("remove"), copy, "a");
    EXPECT_EQ(count(bag, "a"), 2u);
    EXPECT_EQ(count(copy, "a"), 1u);
    EXPECT_EQ(sizeOf(chosen), 2);
    for (const auto made : {bag, copy, chosen}) finalize(made);

    const auto objects = send<Ref>(SITE("ofreferences"), CLASS("bag"), Index{0});
    const auto one = text("same"), other = text("same");
    send(SITE("add"), objects, one);
    send(SITE("add"), objects, other);
    EXPECT_EQ(send<Count>(SITE("occurrencesof"), objects, other), 2u);
    finalize(other);
    send<Ref>(SITE("deepfinalizewithdepth"), objects, Index{2}); // with the one element that it holds
    EXPECT_FALSE(isLive(one));
    EXPECT_TRUE(errors.all.empty());
}

TEST_P(Bags, KeepTheirTotalWhenMemoryIsShort) {
    const auto bag = bagOf({"a", "b", "c", "d", "e", "f", "g", "a"}, 10);
    for (std::uint64_t n = 1;; ++n) {
        const auto objects = countInstances(null);
        AllocationFaults::failAt(n, true);
        add(bag, "h");
        const auto reached = AllocationFaults::count() >= n;
        AllocationFaults::failAt(0, false);
        if (!reached) break;
        ASSERT_FALSE(errors.numbers().empty()) << n;
        ASSERT_EQ(countInstances(null), objects) << n;
        ASSERT_EQ(sizeOf(bag), 8) << n;
        ASSERT_EQ(count(bag, "a"), 2u) << n;
    }
    EXPECT_EQ(count(bag, "h"), 1u);
    sendWord(SITE("remove"), bag, "z");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12}));
    EXPECT_FALSE(send<Ref>(SITE("ofvalues"), CLASS("bag"), picX(4), Index{-1}));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33}));
    finalize(bag);
}

} // namespace
} // namespace oocobol::test
