// What sets do besides keeping their table as the model says (hash_model_test.cpp): creation, iteration, whole sets,
// and errors. The cases run on value sets and identity sets, with native loops and without.
#include <algorithm>

#include "tests/classes/collections/hash_model.h"

namespace oocobol::test {
namespace {

struct Kind {
    const char *program;
    bool native;
};

class Sets : public testing::TestWithParam<Kind> {
protected:
    Sets() { allowNativePaths(GetParam().native); }
    ~Sets() override { allowNativePaths(true); }

    Ref setOf(const Words &words, Index size = 0) const {
        const auto set = newCollection(GetParam().program, 4, size);
        for (const auto &word : words) add(set, word);
        return set;
    }
    // In the order of slots.
    static Words slotsOf(Ref set) {
        Words words;
        for (Index slot = 1; slot <= static_cast<Index>(send<Count>(SITE("capacity"), set)); ++slot) {
            if (send<bool>(SITE("isoccuppiedat"), set, slot))
                words.push_back(trimmed(answered(SITE("basicatnogc"), set, 4, slot)));
        }
        return words;
    }
    static Words sorted(Words words) {
        std::sort(words.begin(), words.end());
        return words;
    }
    static bool includes(Ref set, const char *word) { return sendWord<bool>(SITE("includes"), set, word); }

    LeakCheck leaks;
    RaisedErrors errors;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Sets,
                         testing::Values(Kind{"valueset", true}, Kind{"valueset", false}, Kind{"iset", true},
                                         Kind{"iset", false}));

TEST_P(Sets, GrowAtSevenTenths) {
    const auto empty = setOf({});
    EXPECT_EQ(send<Count>(SITE("capacity"), empty), 1u);
    add(empty, "a");
    EXPECT_EQ(send<Count>(SITE("capacity"), empty), 12u);
    EXPECT_EQ(send<Count>(SITE("getstoragerequirements"), empty), 12u * 4 + 2);
    const auto ten = setOf({"1", "2", "3", "4", "5", "6", "7"}, 10);
    EXPECT_EQ(send<Count>(SITE("capacity"), ten), 10u);
    add(ten, "7");
    EXPECT_EQ(send<Count>(SITE("capacity"), ten), 30u);
    EXPECT_EQ(send<Count>(SITE("size"), ten), 7u);
    finalize(empty);
    finalize(ten);
}

TEST_P(Sets, KeepWhatFollowsARemovedElement) {
    // One-letter words hash as their letters: these three meet in slot 5 of 12.
    const auto set = setOf({"d", "p", "|"}, 12);
    sendWord(SITE("remove"), set, "d");
    EXPECT_EQ(trimmed(answered(SITE("privateat"), set, 4, 5)), "p");
    EXPECT_EQ(trimmed(answered(SITE("privateat"), set, 4, 6)), "|");
    EXPECT_TRUE(send<bool>(SITE("isemptyat"), set, Index{7}));
    EXPECT_EQ(sendWord<Count>(SITE("occurrencesof"), set, "|"), 1u);
    EXPECT_EQ(sendWord<Count>(SITE("occurrencesof"), set, "d"), 0u);
    finalize(set);
}

TEST_P(Sets, WalkACopyInTheOrderOfSlots) {
    const auto set = setOf({"a", "b", "c", "d", "e"});
    Words seen;
    const Block changing([&](void **arguments) {
        seen.push_back(wordIn(arguments));
        add(set, "new" + std::to_string(seen.size()));
        sendWord(SITE("remove"), set, seen.back());
        std::memset(arguments[0], '!', 4);
        return 0;
    });
    const auto before = slotsOf(set);
    send(SITE("do"), set, changing.ref());
    EXPECT_EQ(seen, before);
    EXPECT_EQ(sorted(slotsOf(set)), (Words{"new1", "new2", "new3", "new4", "new5"}));
    seen.clear();
    const Block stopping([&](void **arguments) {
        seen.push_back(wordIn(arguments));
        if (seen.size() == 2) send(SITE("quititeration"), set);
        return 0;
    });
    for (auto *walk : {&SITE("do"), &SITE("dowithoutcopy"), &SITE("reversedo")}) send(*walk, set, stopping.ref());
    const auto slots = slotsOf(set);
    EXPECT_EQ(Words(seen.begin(), seen.begin() + 2), Words(slots.begin(), slots.begin() + 2));
    EXPECT_EQ(seen.size(), 2 + 5u + 5u); // the flag is down again after each
    finalize(set);
}

TEST_P(Sets, AreMadeOfOtherCollections) {
    const auto list = listOf({"b", "a", "b", "c"});
    const auto set = setOf({"c", "d"});
    const auto both = send<Ref>(SITE("concat"), set, list);
    const auto rest = send<Ref>(SITE("minus"), set, list);
    EXPECT_EQ(sorted(slotsOf(both)), (Words{"a", "b", "c", "d"}));
    EXPECT_EQ(slotsOf(rest), (Words{"d"}));
    send(SITE("replacecontentswith"), set, list);
    EXPECT_EQ(sorted(slotsOf(set)), (Words{"a", "b", "c"}));
    send(SITE("replacecontentswith"), set, set);
    EXPECT_EQ(send<Count>(SITE("size"), set), 3u);
    send(SITE("addall"), set, set);
    send(SITE("removeall"), set, set);
    EXPECT_EQ(send<Count>(SITE("size"), set), 0u);
    EXPECT_TRUE(errors.all.empty());
    for (const auto made : {list, set, both, rest}) finalize(made);
}

TEST_P(Sets, RefuseWhatCannotBe) {
    const auto set = setOf({"a"});
    sendWord(SITE("remove"), set, "b");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12}));
    answered(SITE("privateat"), set, 4, 0);
    answered(SITE("privateat"), set, 4, 13);
    send(SITE("fixcollisionsfrom"), set, Index{-1});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3}));
    EXPECT_FALSE(send<bool>(SITE("isoccuppiedat"), set, INT32_MIN));
    send(SITE("add"), set);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33}));
    const auto narrow = listOf({"x"}, 2);
    send(SITE("replacecontentswith"), set, narrow);
    send<Ref>(SITE("concat"), set, narrow);
    finalize(narrow);
    send(SITE("replacecontentswith"), set, narrow);
    send(SITE("replacecontentswith"), set, null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{10, 10, 106, 33}));
    EXPECT_EQ(slotsOf(set), (Words{"a"}));
    finalize(set);

    const auto ofProgram = classForProgram(GetParam().program);
    EXPECT_FALSE(send<Ref>(SITE("ofvalues"), ofProgram, picX(4), Index{-1}));
    EXPECT_FALSE(send<Ref>(SITE("ofreferences"), ofProgram, INT32_MIN));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33}));
    // Too large for its length to fit: a set without slots, until it grows.
    const auto large = send<Ref>(SITE("ofvalues"), ofProgram, picX(4), INT32_MAX);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{32}));
    EXPECT_FALSE(includes(large, "a"));
    add(large, "a");
    EXPECT_TRUE(includes(large, "a"));
    EXPECT_EQ(send<Count>(SITE("capacity"), large), 10u);
    finalize(large);
}

TEST_P(Sets, StayAsTheyWereWhenTheyCannotGrow) {
    const Words words{"a", "b", "c", "d", "e", "f", "g"};
    const auto set = setOf(words, 10);
    const auto before = slotsOf(set);
    for (std::uint64_t n = 1;; ++n) {
        AllocationFaults::failAt(n, true);
        add(set, "h");
        const auto reached = AllocationFaults::count() >= n;
        AllocationFaults::failAt(0, false);
        // What failed may have been but the memory to remember a lookup: then the element is in.
        if (!reached || errors.numbers().empty()) break;
        ASSERT_EQ(slotsOf(set), before) << n;
        ASSERT_EQ(send<Count>(SITE("size"), set), 7u) << n;
        ASSERT_EQ(send<Count>(SITE("capacity"), set), 10u) << n;
    }
    EXPECT_TRUE(includes(set, "h"));
    finalize(set);
}

// ---- References -----------------------------------------------------------------------------------------------------

class ReferenceSets : public testing::Test {
protected:
    LeakCheck leaks;
    RaisedErrors errors;
};

TEST_F(ReferenceSets, CompareByEqualityOrIdentity) {
    const auto one = text("same"), other = text("same");
    const auto byEquality = referencesOf("valueset", {one, one, other});
    const auto byIdentity = referencesOf("iset", {one, one, other});
    EXPECT_EQ(send<Count>(SITE("size"), byEquality), 1u);
    EXPECT_EQ(send<Count>(SITE("size"), byIdentity), 2u);
    EXPECT_TRUE(send<bool>(SITE("includes"), byEquality, other));
    send(SITE("remove"), byIdentity, other);
    EXPECT_FALSE(send<bool>(SITE("includes"), byIdentity, other));
    EXPECT_TRUE(send<bool>(SITE("includes"), byIdentity, one));
    for (const auto made : {byEquality, byIdentity, one, other}) finalize(made);
    EXPECT_TRUE(errors.all.empty());
}

// An element that has been finalized equals nothing and is passed over; asking for one raises 106. An identity set
// asks nothing of its elements.
TEST_F(ReferenceSets, PassOverWhatIsGone) {
    const auto gone = text("gone"), kept = text("gone"), third = text("third");
    const auto byEquality = referencesOf("valueset", {gone, third});
    const auto byIdentity = referencesOf("iset", {gone, third});
    finalize(gone);
    EXPECT_FALSE(send<bool>(SITE("includes"), byEquality, kept));
    EXPECT_TRUE(errors.all.empty());
    send(SITE("add"), byEquality, kept);
    EXPECT_EQ(send<Count>(SITE("size"), byEquality), 3u);
    EXPECT_FALSE(send<bool>(SITE("includes"), byEquality, gone));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{106}));
    send(SITE("add"), byEquality, null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{7}));
    EXPECT_EQ(send<Count>(SITE("size"), byEquality), 3u);
    send(SITE("remove"), byIdentity, gone);
    EXPECT_EQ(send<Count>(SITE("size"), byIdentity), 1u);
    EXPECT_TRUE(errors.all.empty());
    for (const auto made : {byEquality, byIdentity, kept, third}) finalize(made);
}

// Fresh objects have places of their own: adding them one after the other never meets an occupied slot.
TEST_F(ReferenceSets, OfFreshObjectsDoNotCollide) {
    const auto set = send<Ref>(SITE("ofreferences"), CLASS("iset"), Index{1000});
    std::vector<Ref> objects;
    std::size_t displaced = 0;
    for (int i = 0; i < 700; ++i) {
        objects.push_back(send<Ref>(SITE("new"), CLASS("base")));
        send(SITE("add"), set, objects.back());
        const auto slot = send<Index>(SITE("findelement"), set, objects.back());
        displaced += slot != static_cast<Index>(objects.back().index() % 1000 + 1);
    }
    EXPECT_EQ(send<Count>(SITE("capacity"), set), 1000u);
    EXPECT_LE(displaced, 35u);
    for (const auto object : objects) finalize(object);
    finalize(set);
}

} // namespace
} // namespace oocobol::test
