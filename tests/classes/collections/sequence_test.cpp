// What every sequenced collection does, for arrays and lists, for narrow and wide elements, with native loops and
// without.
#include "classes/collections/collection.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

struct Kind {
    const char *program;
    Index width;
    bool native;
    // Without it the names of tests would hold addresses.
    friend std::ostream &operator<<(std::ostream &to, const Kind &kind) {
        return to << kind.program << ' ' << kind.width << (kind.native ? " natively" : " by sends");
    }
};

class Sequenced : public KindsTest<Kind> {
protected:
    Ref make(std::string_view words) const {
        return isArray() ? arrayOf(words, GetParam().width) : listOf(words, GetParam().width);
    }
    bool isArray() const { return std::string_view(GetParam().program) == "array"; }
    std::size_t width() const { return static_cast<std::size_t>(GetParam().width); }
    Ref ofProgram() const { return classForProgram(GetParam().program); }
};

INSTANTIATE_TEST_SUITE_P(Kinds, Sequenced,
                         testing::Values(Kind{"array", 4, true}, Kind{"array", 40, true}, Kind{"array", 10, false},
                                         Kind{"ordrdcll", 4, true}, Kind{"ordrdcll", 300, true},
                                         Kind{"ordrdcll", 10, false}));

// What is read, replaced, removed and copied at every place is compared with a model by the fuzzer.
TEST_P(Sequenced, FindsReplacesAndCopies) {
    const Temporary own(make("a b a c a")), subs(make("a a b a b")), same(make("a a a")), none(make("")),
        other(make("x y")), foreign(isArray() ? listOf("x y", GetParam().width) : arrayOf("x y", GetParam().width));
    says(own.ref(),
         "issequenced -> 1; isindexed -> 1; isempty -> 0; hash -> 5; first -> a; last -> a; "
         "firstindexof a, 2, 5 -> 3; firstindexof a, 4, 2147483647 -> 5; firstindexof a, 4, 4 -> 0; "
         "firstindexof a, 6, 9 -> 0; lastindexof a, 1, 4 -> 3; firstindexofidentity c, 1, 9 -> 4; includes x -> 0; "
         "copyfromto 3, 2 -> (); copywith z -> (a b a c a z); copyreplace 2, 1, $1 -> (a x y b a c a); "
         "$1 concat $2 -> (x y a b a c a); $1 concat $1 -> (x y x y); equal $2 -> 1; equal (a b a c a) -> 1; "
         "equal (a b a c c) -> 0; equal - -> 0; $1 equal $3 -> 0; "
         "replaceall a, q, 2, 4; * -> (a b q c a); atallput z; * -> (z z z z z)",
         {other.ref(), own.ref(), foreign.ref()});
    says(subs.ref(),
         "indexofsubcollection (a b), 1 -> 2; indexofsubcollection (a b), 3 -> 4; indexofsubcollection (a b), 5 -> 0; "
         "indexofsubcollection $1, 1 -> 1; indexofsubcollection (), 1 -> error 11; "
         "copyreplaceall (a b), (b) -> (a b b); copyreplaceall (a b), () -> (a); "
         "$2 copyreplaceall (a a), (b) -> (b a); $3 copyreplaceall $3, (b) -> error 11 -> ()",
         {subs.ref(), same.ref(), none.ref()});
    EXPECT_EQ(send<Count>(SITE("getstoragerequirements"), same.ref()), 3 * width());
    if (isArray()) says(own.ref(), "add b -> error 1; remove z -> error 5; $array withall $1 -> ()", {none.ref()});
}

TEST_P(Sequenced, WalksInEveryDirectionUntilItIsToldToStop) {
    const Temporary own(make("a b c"));
    Noting words("w", {}, width()), keyed("nw", {}, width()), both("ww", {}, width());
    says(own.ref(), "do $1; reversedo $1; dowithoutcopy $1; keysanddatado $2; withdo (x y z), $3",
         {words.ref(), keyed.ref(), both.ref()});
    EXPECT_EQ(words.seen() + "|" + keyed.seen() + "|" + both.seen(), "a b c c b a a b c|1a 2b 3c|ax by cz");
    const auto quit = [&](const std::string &word) {
        if (word == "b") send(SITE("quititeration"), own.ref());
        return 1;
    };
    Noting quitAtB("w", quit, width());
    says(own.ref(), "do $1; dowithoutcopy $1; reversedo $1; select $1 -> (a b)", {quitAtB.ref()});
    EXPECT_EQ(quitAtB.seen(), "a b a b c b a b");
}

TEST_P(Sequenced, ChoosesAndFinds) {
    const Temporary own(make("a b c b"));
    const Block isB([&](void **arguments) { return wordIn(arguments, width()) == "b" ? 1 : 0; });
    const Block never([](void **) { return 0; });
    says(own.ref(),
         "select $1 -> (b b); reject $1 -> (a c); findfirst $1 -> 2; findlast $1 -> 4; findfirst $2 -> 0; "
         "detect $1 -> b; detect $2 -> error 12 -> zeros",
         {isB.ref(), never.ref()});
    const Temporary numbers(send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), comp5(), Index{0}));
    for (Index i = 1; i <= 40; ++i) send(SITE("add"), numbers.ref(), i);
    const Block twice([](void **arguments) { return 2 * numberIn(arguments); });
    const Temporary doubled(send<Ref>(SITE("collect"), numbers.ref(), twice.ref()));
    says(doubled.ref(), "at 1 -> 2; at 40 -> 80; size -> 40");
}

TEST_P(Sequenced, VisitsWhatWasThereWhateverTheBlockDoes) {
    for (const auto *deed : {"clear", "finalize", "grow"}) {
        const auto own = make("a b c");
        auto done = false;
        const auto act = [&](const std::string &) {
            if (!std::exchange(done, true)) send<Ref>(siteOf(deed), own);
            return 1;
        };
        Noting hostile("w", act, width());
        send(SITE("do"), own, hostile.ref());
        EXPECT_EQ(hostile.seen(), "a b c") << deed;
        if (isLive(own)) finalize(own);
    }
    errors.all.clear(); // an array does not understand `clear`
}

TEST_P(Sequenced, CopiesObjectsDeeply) {
    const auto one = text("one"), own = referencesOf(GetParam().program, {one});
    const auto deep = send<Ref>(SITE("deepcopy"), own);
    const Temporary shallow(send<Ref>(SITE("copy"), own));
    says(shallow.ref(), "at 1 -> $1; equal $2 -> 1", {one, deep});
    EXPECT_NE(referenceAt(deep, 1), one);
    for (const auto made : {own, deep}) send<Ref>(SITE("deepfinalize"), made);
}

TEST_P(Sequenced, RefusesIndexesOutside) {
    const Temporary own(make("a b"));
    for (const Index index : {0, -1, 3, INT32_MAX, INT32_MIN}) {
        says(own.ref(), about("at # -> error 3 -> untouched; atput #, z -> error 3; isat [], # -> error 3 -> 0; "
                              "isatidentity a, # -> 0; atnogc # -> untouched",
                              index));
    }
    says(own.ref(), "firstindexof a, 0, 2 -> error 3; insertallafter 3, $1 -> error 3; copyreplace 2, 0, $1 -> error 3",
         {own.ref()});
    says(own.ref(), "* -> (a b)");
}

TEST_P(Sequenced, TakesOnlySizesThatCanBe) {
    const auto picture = picX(GetParam().width);
    for (const Index size : {-1, INT32_MIN, 538976288, INT32_MAX})
        says(ofProgram(), about("ofvalues $1, # -> error 33 -> nil; ofreferences # -> error 33 -> nil", size),
             {picture});
    if (width() > 8) says(ofProgram(), "ofvalues $1, 538976287 -> error 32 -> nil", {picture});
    says(ofProgram(), "ofvalues $1, 0 -> ()", {picture});

    const Temporary own(make("a b"));
    says(own.ref(), "growto -1 -> error 33 32 -> nil; * -> (a b)");
    // More bytes than a storage length can say.
    if (width() > 4) says(own.ref(), "growto 2147483647 -> error 32; * -> (a b)");
}

TEST_P(Sequenced, RefusesCollectionsThatDoNotFit) {
    const Temporary own(make("a b")), other(listOf("x y", GetParam().width + 1));
    says(own.ref(),
         "iscompatible $1 -> 0; concat $1 -> error 10; insertallafter 0, $1 -> error 10; copyreplace 1, 1, $1 -> error "
         "10; indexofsubcollection $1, 1 -> error 10; replacesubcollection 1, 1, $1, 1 -> error 10; addall $1 -> error "
         "10; replacesubcollection 1, 2, (x), 1 -> error 4; withdo (x), - -> error 6; * -> (a b)",
         {other.ref()});
}

TEST_P(Sequenced, TriesABlockThatIsGoneOnce) {
    const Temporary own(make("a b c"));
    const auto gone = block([](void **) { return 0; });
    finalize(gone);
    says(own.ref(),
         "do $1 -> error 106; dowithoutcopy $1 -> error 106; keysanddatado $1 -> error 106; do $2 -> error 24",
         {gone, null});
    finalize(send<Ref>(SITE("collect"), own.ref(), gone));
    EXPECT_EQ(errors.numbers(), std::vector<Count>{106});
}

TEST_P(Sequenced, SurvivesEveryFailingAllocation) {
    const Temporary own(make("b a c"));
    const Block yes([](void **) { return 1; });
    for (const std::string made : {"copy", "reverse", "select", "asarray", "assortedcollection", "grow"})
        allOrNothing(own.ref(), wordsIn, [&] { return send<Ref>(siteOf(made), own.ref(), yes.ref()); });
    allOrNothing(own.ref(), wordsIn, [&] { return send<Ref>(SITE("insertallafter"), own.ref(), Index{1}, own.ref()); });
}

// ---- Only arrays ----------------------------------------------------------------------------------------------------

class Array : public CollectionTest {};

TEST_F(Array, AnswersWhatAHandlerAnswersForAnIndexOutside) {
    const Temporary narrow(arrayOf("a", 3)), wide(arrayOf("a", 20)), objects(referencesOf("array", {null}));
    errors.answers = true;
    errors.answer = 0x4141414141414141;
    EXPECT_EQ(answered(SITE("at"), narrow.ref(), 4, 2), "AAA?");
    EXPECT_EQ(referenceAt(objects.ref(), 2).bits, errors.answer);
    EXPECT_EQ(answered(SITE("at"), wide.ref(), 20, 2), std::string(20, '?'));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3}));
}

// ---- Where elements lie in the storage of what grows, ends and ranges ----------------------------------------------

class Growing : public CollectionTest {
protected:
    // The bytes of all slots, occupied or not: a letter, '_' for zeros, '.' for spaces.
    static std::string slotsOf(const Temporary &list) {
        std::string slots;
        for (Count slot = 1; slot <= send<Count>(SITE("capacity"), list.ref()); ++slot) {
            const auto first = answered(SITE("privateat"), list.ref(), 4, static_cast<Index>(slot))[0];
            slots += first == '\0' ? '_' : first == ' ' ? '.' : first;
        }
        return slots;
    }
};

TEST_F(Growing, GrowsWhereItIsFullAndSlidesWhereItIsNot) {
    const Temporary none(newCollection("dynarray", 4, 0)), three(listOf("a b c")),
        start(newCollection("ordrdcll", 4, 0)), four(listOf("a b c d"));
    add(none.ref(), "a");
    EXPECT_EQ(slotsOf(none), "a...................");
    add(three.ref(), "d");
    EXPECT_EQ(slotsOf(three), "abcd......................");
    says(start.ref(), "addfirst a");
    EXPECT_EQ(slotsOf(start), "_________a.........."); // grown to 20, half of it before
    says(start.ref(), "addfirst b; addlast c; * -> (b a c)");
    says(four.ref(), "removefirst 3; add e; * -> (d e)");
    EXPECT_EQ(slotsOf(four), "aded"); // half of the room at the start is now behind
    says(four.ref(), "addfirst x; addfirst y; * -> (y x d e)");
}

TEST_F(Growing, MovesTheNearerPart) {
    const Temporary list(newCollection("ordrdcll", 4, 6)), one(listOf("a"));
    says(list.ref(), "add a; add c; insertbeforeindex b, 1");
    EXPECT_EQ(slotsOf(list), "_bac__");
    says(list.ref(), "insertbeforeindex e, 4; insertbeforeindex d, 2");
    EXPECT_EQ(slotsOf(list), "bdace_");
    says(list.ref(), "* -> (b d a c e); removeatindex 2 -> d");
    EXPECT_EQ(slotsOf(list), "bace__");
    says(one.ref(), "removeatindex 1 -> a");
    EXPECT_EQ(slotsOf(one), "_");
    says(one.ref(), "add b; clear; size -> 0");
    EXPECT_EQ(slotsOf(one), "b");
}

TEST_F(Growing, RemovesAtBothEnds) {
    const Temporary list(listOf("a b c d"));
    says(list.ref(), "removefirst 0; removefirst 1; removelast 1; * -> (b c)");
    for (const Index count : {3, -1, INT32_MIN, INT32_MAX})
        says(list.ref(), about("removefirstandfinalize # -> error 33; removelastandfinalize # -> error 33", count));
    says(list.ref(), "* -> (b c); removefirst 2; * -> ()");

    const auto a = text("a"), b = text("b"), c = text("c");
    const auto objects = referencesOf("ordrdcll", {a, b, c});
    says(objects, "removefirstandfinalize 1; removelastandfinalize 1; size -> 1; at 1 -> $1", {b});
    EXPECT_TRUE(!isLive(a) && isLive(b) && !isLive(c));
    send<Ref>(SITE("deepfinalize"), objects);
    EXPECT_FALSE(isLive(b));
}

TEST_F(Growing, RemovesWhatABlockChooses) {
    const Temporary list(listOf("a b b c"));
    const Block isB([](void **arguments) { return wordIn(arguments) == "b" ? 1 : 0; });
    const Block any([](void **) { return 1; });
    const Block adding([&](void **) {
        add(list.ref(), "z");
        return 0;
    });
    // Ends although there is always one more.
    says(list.ref(),
         "removeallsuchthat $1; * -> (a c); removeallsuchthat $2; * -> (a c z z); removeallsuchthat $3; * -> ()",
         {isB.ref(), adding.ref(), any.ref()});
}

TEST_F(Growing, InsertsAndLooksBesideElementsAndIndexes) {
    const Temporary list(listOf("a b c")), other(listOf("b d b"));
    says(list.ref(), "after a -> b; before c -> b; after c -> error 13; before a -> error 14; after x -> error 12; "
                     "before x -> error 12; remove x -> error 12; remove b; * -> (a c)");
    says(other.ref(), "addbefore a, b; addafter c, b; * -> (a b c d b); addafterindex x, 0; addafterindex y, 6; "
                      "addbeforeindex z, 2; * -> (x z a b c d b y); addafter q, nope -> error 12");
    for (const Index index : {-1, 9, INT32_MAX, INT32_MIN})
        says(other.ref(), about("addafterindex q, # -> error 3", index));
    for (const Index index : {0, 10, INT32_MAX, INT32_MIN})
        says(other.ref(), about("addbeforeindex q, # -> error 3", index));
    says(other.ref(), "size -> 8");
}

TEST_F(Growing, TakesWholeCollectionsAndRangesItsOwnToo) {
    const Temporary list(listOf("a")), source(listOf("p q r s"));
    says(list.ref(),
         "addsubcollectionfirst $2, 2, 3; * -> (q r a); addsubcollectionlast $2, 4, 4; addsubcollectionlast $2, 3, 2; "
         "addallfirst $1; * -> (q r a s q r a s); clear; addalllast $2; addsubcollectionfirst $1, 1, 2; "
         "addsubcollectionlast $1, 1, 3; * -> (p q p q r s p q p); clear; "
         "addsubcollectionlast $2, 3, 2147483647 -> error 3; * -> (r s)", // up to the first index outside
         {list.ref(), source.ref()});
    const Temporary full(listOf("a b"));
    const auto *fields = fieldsOf<DynamicFields>(full.ref());
    send(SITE("add"), full.ref(), Element{fields->storage}); // grows, so the storage with the element moves
    says(full.ref(), "* -> (a b a)");
}

} // namespace
} // namespace oocobol::test
