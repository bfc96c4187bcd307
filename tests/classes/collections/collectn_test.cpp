// What collections share beyond their elements: storage, display, conversions, joined text; and subclasses written
// outside the library that redefine parts of it.
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Collections : public CollectionTest {
protected:
    static std::string shown(Ref object, oops_site &message = SITE("display")) {
        testing::internal::CaptureStdout();
        send(message, object);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(Collections, ShowThemselvesOnOneLine) {
    const Temporary none(listOf("")), words(listOf("a bb", 2)), array(arrayOf("x", 1)), one(text("one"));
    const Temporary objects(referencesOf("ordrdcll", {one.ref(), one.ref()}));
    auto &withKeys = SITE("displaykeysanddata");
    EXPECT_EQ(shown(none.ref()) + shown(words.ref()) + shown(objects.ref()), "()(a  bb )(one one )");
    EXPECT_EQ(shown(words.ref(), withKeys) + shown(objects.ref(), withKeys), "(1->a  2->bb )(1->one 2->one )");
    EXPECT_EQ(shown(array.ref()), "(x )");

    const Temporary outer(referencesOf("ordrdcll", {})), inner(referencesOf("ordrdcll", {outer.ref()}));
    send(SITE("add"), outer.ref(), inner.ref());
    const auto nested = shown(outer.ref());
    EXPECT_EQ(nested.substr(0, 2) + "|" + nested.substr(nested.size() - 4), "((| ) )");
    EXPECT_EQ(shown(outer.ref()), nested); // and are shown again
}

TEST_F(Collections, SurviveATemplateThatBecomesLonger) {
    const Index longer = 1000;
    const auto growing = send<Ref>(SITE("newclass"), CLASS("picx"), Index{2});
    const auto list = send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), growing, Index{2}),
               sorted = send<Ref>(SITE("ofvalues"), CLASS("srtdclln"), growing, Index{2}),
               dictionary = send<Ref>(SITE("ofvaluesauto"), CLASS("dictinry"), growing, growing, Index{3});
    says(list, "$1 atput 'kk', 'vv'; add 'aa'; $2 add 'cc'; $2 add 'aa'", {dictionary, sorted});
    send(SITE("setlength"), growing, longer);
    auto &withKeys = SITE("displaykeysanddata");
    const std::string behind(longer - 2, '\0');
    EXPECT_EQ(shown(list), "(aa" + behind + " )");
    EXPECT_EQ(shown(list, withKeys), "(1->aa" + behind + " )");
    EXPECT_EQ(shown(dictionary, withKeys), "(kk" + behind + "->vv" + behind + " )");
    send(SITE("add"), sorted, Bytes{"bb"});
    EXPECT_EQ(shown(sorted), "(aa" + behind + " bb" + behind + " cc" + behind + " )");
    for (const auto object : {list, sorted, dictionary}) finalize(object);
    cancelObject(growing);
}

// A byte copy shares the storage, whichever of the two ends or grows first.
TEST_F(Collections, ShareStorageUntilTheLastIsGone) {
    for (const auto originalEndsFirst : {true, false}) {
        const auto original = listOf("a b c", 1), other = listOf("z", 1);
        const auto copy = send<Ref>(SITE("basiccopy"), original);
        says(other, "copycontents $1 -> 1; $1 copycontents $1 -> 1; copycontents $base -> 0; copycontents nil -> 0",
             {original});
        finalize(originalEndsFirst ? original : copy);
        const auto left = originalEndsFirst ? copy : original;
        says(left, "* -> (a b c)");
        for (int i = 0; i < 100; ++i) add(left, "d");
        says(left, "size -> 103; $1 * -> (a b c)", {other});
        finalize(left);
        says(other, "* -> (a b c)");
        finalize(other);
    }
}

TEST_F(Collections, KeepTheirStorageWhateverIsSentToThem) {
    const Temporary list(listOf("a b")), bare(send<Ref>(SITE("new"), CLASS("ordrdcll"))),
        abstract(send<Ref>(SITE("new"), CLASS("collectn")));
    // The slots remain: no shorter than they are.
    says(list.ref(), "basicgrow 100 -> 1; basicgrow 1 -> 1; at 1 -> a; at 2 -> [    ]; basicgrow -1 -> error 33 -> 0");
    send(SITE("setcollptr"), list.ref(), Address{nullptr});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{33});
    says(list.ref(), "initialize 3, $1, 2; size -> 0; add z; * -> (z)", {picX(2)});
    says(bare.ref(), "size -> 0; add $1; size -> 1", {null});
    says(abstract.ref(),
         "add $1 -> error 7; remove $1 -> error 7; dowithoutcopy $1 -> error 7; errorinbounds -> error 3", {null});
}

TEST_F(Collections, JoinTexts) {
    const Temporary comma(text(", "));
    const auto joined = [&](std::initializer_list<const char *> words, const std::string &line, const char *lines) {
        std::vector<Ref> objects;
        for (const auto *word : words) objects.push_back(text(word));
        const auto list = referencesOf("ordrdcll", objects);
        says(list, "asseparatedstring $1 -> '" + line + "'; as0aseparatedstring -> '" + lines + "'", {comma.ref()});
        send<Ref>(SITE("deepfinalize"), list);
    };
    joined({}, "", "");
    joined({"one"}, "one", "one");
    joined({"ab", "", "cd"}, "ab, , cd", "ab\n\ncd");
}

TEST_F(Collections, JoinNoMoreThanWasMeasured) {
    static Count claimed;
    const auto liar =
        OutsideClass("liar", "liar", CLASS("base"))
            .method("sizeinbytes",
                    [](const oops_ref *, void *, void *size) {
                        claimed = claimed * 3 + 1;
                        std::memcpy(size, &claimed, sizeof claimed);
                    })
            .method("getvalue", [](const oops_ref *, void *, void *value) { std::memset(value, 'L', claimed); })
            .registerIt();
    const Temporary object(send<Ref>(SITE("new"), liar)), comma(text(","));
    const Temporary list(referencesOf("ordrdcll", {object.ref(), object.ref(), object.ref()}));
    claimed = 0;
    finalize(send<Ref>(SITE("asseparatedstring"), list.ref(), comma.ref())); // sizes 1 4 13, then 40 121 364
    claimed = 0x7FFFFFFF;
    says(list.ref(), "asseparatedstring $1 -> error 32 -> nil", {comma.ref()});
}

TEST_F(Collections, CompareReferencesByAsking) {
    const auto one = text("one");
    const Temporary same(text("one")), other(text("two")), list(referencesOf("ordrdcll", {one, other.ref()}));
    says(list.ref(),
         "includes $1 -> 1; firstindexofidentity $1, 1, 2 -> 0; firstindexofidentity $2, 1, 2 -> 2; "
         "containscharacters -> 0",
         {same.ref(), other.ref()});
    finalize(one);
    says(list.ref(), "includes $1 -> error 106 -> 0", {same.ref()}); // the one that is gone: asked, and passed over
}

TEST_F(Collections, StopWhenTheyEndWhileElementsAreCompared) {
    static Ref list;
    const auto hostile = OutsideClass("endsit", "endsit", CLASS("base"))
                             .method("equal",
                                     [](const oops_ref *, void *, void *, void *) {
                                         if (isLive(list)) finalize(list);
                                     })
                             .registerIt();
    const Temporary object(send<Ref>(SITE("new"), hostile));
    onBothRoads([&] {
        list = referencesOf("ordrdcll", {object.ref(), object.ref(), object.ref()});
        EXPECT_FALSE(send<bool>(SITE("includes"), list, object.ref()));
        list = referencesOf("array", {object.ref(), object.ref()});
        EXPECT_EQ(send<Count>(SITE("occurrencesof"), list, object.ref()), 0u);
    });
    errors.all.clear();
}

TEST_F(Collections, NoticeAMethodThatAppearsInTheMiddle) {
    static int asked;
    const auto late = OutsideClass("latelist", "latelist", CLASS("ordrdcll")).registerIt();
    const Temporary list(send<Ref>(SITE("ofvalues"), late, picX(4), Index{4}));
    const Block extending([&](void **) {
        if (asked++ == 0) {
            OutsideClass("latelist", "latelist", CLASS("ordrdcll"))
                .method("at",
                        [](const oops_ref *, void *, void *element, void *) {
                            asked += 100;
                            if (element != nullptr) std::memset(element, 'l', 4);
                        })
                .extend();
        }
        return 0;
    });
    says(list.ref(), "add a; add b; add c; add d; do $1", {extending.ref()});
    EXPECT_EQ(asked, 304); // four blocks, and three elements by the new method
    says(list.ref(), "includes llll -> 1; reverse -> (llll llll llll llll)");
    EXPECT_EQ(asked, 1204); // the first, all, and all of what is answered
}

TEST_F(Collections, FinalizeDeeply) {
    const auto leaf = text("leaf"), inner = referencesOf("array", {leaf}), outer = referencesOf("array", {inner});
    send<Ref>(SITE("deepfinalizewithdepth"), outer, Index{1});
    EXPECT_FALSE(isLive(inner));
    EXPECT_TRUE(isLive(leaf));
    send<Ref>(SITE("reallydeepfinalize"), referencesOf("ordrdcll", {leaf, null}));
    EXPECT_FALSE(isLive(leaf));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{27}));
    const auto own = referencesOf("ordrdcll", {});
    send(SITE("add"), own, own);
    send<Ref>(SITE("deepfinalize"), own);
    EXPECT_FALSE(isLive(own));
}

} // namespace
} // namespace oocobol::test
