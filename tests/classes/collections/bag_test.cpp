// Bags: counting, walking, copying and their contents' ownership; with native loops and without.
#include <map>
#include <random>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Bags : public KindsTest<Road> {};
INSTANTIATE_TEST_SUITE_P(Kinds, Bags, testing::Values(Road{true}, Road{false}));

TEST_P(Bags, CountLikeAMap) {
    std::mt19937 random(3);
    std::map<std::string, Count> model;
    Count total = 0;
    const Temporary bag(newCollection("bag", 4, 0));
    for (int i = 0; i < 3000; ++i) {
        const auto word = "w" + std::to_string(random() % 60);
        const auto known = model.contains(word);
        if (random() % 3 == 0) {
            says(bag.ref(), "remove " + word + (known ? "" : " -> error 12"));
            if (known) --total;
            if (known && --model[word] == 0) model.erase(word);
        } else {
            const Count times = random() % 4 == 0 ? 5 : 1;
            sendWord(SITE("addwithoccurrences"), bag.ref(), word, times);
            model[word] += times;
            total += times;
        }
        ASSERT_EQ(sendWord<Count>(SITE("occurrencesof"), bag.ref(), word), model.contains(word) ? model[word] : 0);
        ASSERT_EQ(sendWord<bool>(SITE("includes"), bag.ref(), word), model.contains(word));
        ASSERT_EQ(static_cast<Count>(sizeOf(bag.ref())), total);
    }
    std::string expected;
    for (const auto &[word, times] : model) {
        for (Count i = 0; i < times; ++i) expected += (expected.empty() ? "" : " ") + word;
    }
    says(bag.ref(), "* -> (" + expected + ")");
}

TEST_P(Bags, WalkEqualElementsInARow) {
    const Temporary bag(hashedOf("bag", {"a", "b", "a", "b", "a"}));
    Noting walk, stopping("w", [&](const std::string &) { return send(SITE("quititeration"), bag.ref()), 0; }),
        emptying("w", [&](const std::string &word) { return sendWord(SITE("remove"), bag.ref(), word), 0; });
    const Block isB([](void **arguments) { return wordIn(arguments) == "b"; });
    says(bag.ref(), "do $1; isindexed -> 0; do $2; dowithoutcopy $2", {walk.ref(), stopping.ref()});
    const auto seen = walk.seen();
    EXPECT_TRUE(seen == "a a a b b" || seen == "b b a a a");
    EXPECT_EQ(stopping.seen().size(), 3u);
    says(bag.ref(), "* -> (a a a b b); detect $1 -> b; do $2; size -> 0", {isB.ref(), emptying.ref()});
}

TEST_P(Bags, HaveContentsOfTheirOwn) {
    const Temporary bag(hashedOf("bag", {"a", "a", "b"})), copy(send<Ref>(SITE("copy"), bag.ref()));
    says(bag.ref(), "asvalueset -> (a b); $1 remove a; $1 * -> (a b); * -> (a a b)", {copy.ref()});

    const auto one = text("same"), other = text("same");
    const auto objects = send<Ref>(SITE("ofreferences"), CLASS("bag"), Index{0});
    says(objects, "add $1; add $2; occurrencesof $2 -> 2", {one, other});
    finalize(other);
    send<Ref>(SITE("deepfinalizewithdepth"), objects, Index{2}); // with the one element that it holds
    EXPECT_FALSE(isLive(one));
}

TEST_P(Bags, KeepTheirTotalWhenMemoryIsShort) {
    const Temporary bag(hashedOf("bag", {"a", "b", "c", "d", "e", "f", "g", "a"}, 10));
    allOrNothing(bag.ref(), wordsIn, [&] { return add(bag.ref(), "h"), null; });
    says(bag.ref(), "size -> 10; remove z -> error 12; $bag ofvalues $1, -1 -> error 33 -> nil", {picX(4)});
}

} // namespace
} // namespace oocobol::test
