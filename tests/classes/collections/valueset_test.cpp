// What sets do besides keeping their table as the model says (hash_model_test.cpp): creation, iteration, whole sets,
// and errors. The cases run on value sets and identity sets, with native loops and without.
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

struct Kind {
    const char *program;
    bool native;
};

class Sets : public KindsTest<Kind> {
protected:
    static Ref setOf(std::string_view words, Index size = 0) { return hashedOf(GetParam().program, words, size); }
    // In the order of slots.
    static std::string slotsOf(Ref set) {
        std::string words;
        for (Index slot = 1; slot <= static_cast<Index>(send<Count>(SITE("capacity"), set)); ++slot) {
            if (send<bool>(SITE("isoccuppiedat"), set, slot))
                words += (words.empty() ? "" : " ") + trimmed(answered(SITE("basicatnogc"), set, 4, slot));
        }
        return words;
    }
};
INSTANTIATE_TEST_SUITE_P(Kinds, Sets,
                         testing::Values(Kind{"valueset", true}, Kind{"valueset", false}, Kind{"iset", true},
                                         Kind{"iset", false}));

TEST_P(Sets, WalkACopyInTheOrderOfSlots) {
    const Temporary set(setOf("a b c d e"));
    int visits = 0;
    const auto change = [&](const std::string &word) {
        add(set.ref(), "new" + std::to_string(++visits));
        sendWord(SITE("remove"), set.ref(), word);
        return 0;
    };
    const auto stop = [&](const std::string &) {
        if (++visits == 2) send(SITE("quititeration"), set.ref());
        return 0;
    };
    Noting changing("w", change), stopping("w", stop), walk;
    const Block overwriting([](void **arguments) { return std::memset(arguments[0], '!', 4), 0; });
    const auto before = slotsOf(set.ref());
    says(set.ref(), "do $1; do $2; * -> (new1 new2 new3 new4 new5)", {changing.ref(), overwriting.ref()});
    EXPECT_EQ(changing.seen(), before);
    visits = 0;
    const auto after = slotsOf(set.ref());
    says(set.ref(), "do $1; dowithoutcopy $2; reversedo $2", {stopping.ref(), walk.ref()});
    EXPECT_EQ(stopping.seen(), after.substr(0, 9));
    EXPECT_EQ(walk.seen(), after + " " + after); // the flag is down again after each
}

TEST_P(Sets, AreMadeOfOtherCollections) {
    const Temporary list(listOf("b a b c")), set(setOf("c d"));
    says(set.ref(),
         "concat $1 -> (a b c d); minus $1 -> (d); replacecontentswith $1; * -> (a b c); "
         "replacecontentswith $2; size -> 3; addall $2; size -> 3; removeall $2; size -> 0",
         {list.ref(), set.ref()});
}

TEST_P(Sets, RefuseWhatCannotBe) {
    const Temporary set(setOf("a"));
    const auto gone = listOf("x", 2);
    says(set.ref(),
         "remove b -> error 12; privateat 0 -> error 3; privateat 13 -> error 3; "
         "fixcollisionsfrom -1 -> error 3; isoccuppiedat -2147483648 -> 0; add -> error 33; "
         "replacecontentswith $1 -> error 10; concat $1 -> error 10",
         {gone});
    finalize(gone);
    says(set.ref(), "replacecontentswith $1 -> error 106; replacecontentswith $2 -> error 33; * -> (a)", {gone, null});

    const auto ofProgram = classForProgram(GetParam().program);
    says(ofProgram, "ofvalues $1, -1 -> error 33 -> nil; ofreferences -2147483648 -> error 33 -> nil", {picX(4)});
    // Too large for its length to fit: a set without slots, until it grows.
    const Temporary large(send<Ref>(SITE("ofvalues"), ofProgram, picX(4), INT32_MAX));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{32}));
    says(large.ref(), "includes a -> 0; add a; includes a -> 1; capacity -> 10");
}

TEST_P(Sets, StayAsTheyWereWhenTheyCannotGrow) {
    const Temporary set(setOf("a b c d e f g", 10));
    allOrNothing(set.ref(), slotsOf, [&] { return add(set.ref(), "h"), null; });
    says(set.ref(), "includes h -> 1; size -> 8; occurrencesof h -> 1; isemptyat 15 -> 0; isemptyat 16 -> 1; "
                    "getstoragerequirements -> 124");
}

// ---- References -----------------------------------------------------------------------------------------------------

class ReferenceSets : public CollectionTest {};

TEST_F(ReferenceSets, CompareByEqualityOrIdentity) {
    const Temporary one(text("same")), other(text("same"));
    const Temporary byEquality(referencesOf("valueset", {one.ref(), one.ref(), other.ref()})),
        byIdentity(referencesOf("iset", {one.ref(), one.ref(), other.ref()}));
    says(byEquality.ref(), "size -> 1; includes $1 -> 1", {other.ref()});
    says(byIdentity.ref(), "size -> 2; remove $1; includes $1 -> 0; includes $2 -> 1", {other.ref(), one.ref()});
}

// An element that has been finalized equals nothing and is passed over; asking for one raises 106. An identity set
// asks nothing of its elements.
TEST_F(ReferenceSets, PassOverWhatIsGone) {
    const auto gone = text("gone");
    const Temporary kept(text("gone")), third(text("third"));
    const Temporary byEquality(referencesOf("valueset", {gone, third.ref()})),
        byIdentity(referencesOf("iset", {gone, third.ref()}));
    finalize(gone);
    says(byEquality.ref(),
         "includes $1 -> 0; add $1; size -> 3; includes $2 -> error 106 -> 0; add $3 -> error 7; size -> 3",
         {kept.ref(), gone, null});
    says(byIdentity.ref(), "remove $1; size -> 1", {gone});
}

// ---- Bags ----------------------------------------------------------------------------------------------------------

class Bags : public KindsTest<Kind> {};
INSTANTIATE_TEST_SUITE_P(Kinds, Bags, testing::Values(Kind{"bag", true}, Kind{"bag", false}));

TEST_P(Bags, WalkEqualElementsInARow) {
    const Temporary bag(hashedOf("bag", "a b a b a"));
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
    const Temporary bag(hashedOf("bag", "a a b")), copy(send<Ref>(SITE("copy"), bag.ref()));
    says(bag.ref(),
         "asvalueset -> (a b); $1 remove a; $1 * -> (a b); * -> (a a b); addwithoccurrences z, 3; add z; remove z; "
         "occurrencesof z -> 3; size -> 6; remove b; includes b -> 0; occurrencesof b -> 0; remove b -> error 12; "
         "size -> 5",
         {copy.ref()});

    const auto one = text("same"), other = text("same");
    const auto objects = send<Ref>(SITE("ofreferences"), CLASS("bag"), Index{0});
    says(objects, "add $1; add $2; occurrencesof $2 -> 2", {one, other});
    finalize(other);
    send<Ref>(SITE("deepfinalizewithdepth"), objects, Index{2}); // with the one element that it holds
    EXPECT_FALSE(isLive(one));
}

TEST_P(Bags, KeepTheirTotalWhenMemoryIsShort) {
    const Temporary bag(hashedOf("bag", "a b c d e f g a", 10));
    allOrNothing(bag.ref(), wordsIn, [&] { return add(bag.ref(), "h"), null; });
    says(bag.ref(), "size -> 10; remove z -> error 12; $bag ofvalues $1, -1 -> error 33 -> nil", {picX(4)});
}

} // namespace
} // namespace oocobol::test
