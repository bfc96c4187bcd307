// What collections share beyond their elements: storage, display, conversions, joined text; and subclasses written
// outside the library that redefine parts of it.
#include "classes/collections/collection.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Collections : public testing::Test {
protected:
    template <class Do> static std::string shown(Do deed) {
        testing::internal::CaptureStdout();
        deed();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    static std::string display(Ref object) {
        return shown([&] { send(SITE("display"), object); });
    }

    LeakCheck leaks;
    RaisedErrors errors;
};

TEST_F(Collections, ShowThemselvesOnOneLine) {
    const auto none = listOf({}), words = listOf({"a", "bb"}, 2), array = arrayOf({"x"}, 1);
    const auto one = text("one");
    const auto objects = referencesOf("ordrdcll", {one, one});
    EXPECT_EQ(display(none), "()");
    EXPECT_EQ(display(words), "(a  bb )");
    EXPECT_EQ(display(objects), "(one one )");
    EXPECT_EQ(shown([&] { send(SITE("displaykeysanddata"), words); }), "(1->a  2->bb )");
    EXPECT_EQ(shown([&] { send(SITE("displaykeysanddata"), objects); }), "(1->one 2->one )");
    EXPECT_EQ(display(array), "(x )");
    for (const auto object : {none, words, array, objects, one}) finalize(object);
}

TEST_F(Collections, SurviveATemplateThatBecomesLonger) {
    const Index longer = 1000;
    const auto growing = send<Ref>(SITE("newclass"), CLASS("picx"), Index{2});
    const auto made = [&](const char *program) {
        return send<Ref>(SITE("ofvalues"), classForProgram(program), growing, Index{2});
    };
    const auto list = made("ordrdcll"), sorted = made("srtdclln");
    const auto dictionary = send<Ref>(SITE("ofvaluesauto"), CLASS("dictinry"), growing, growing, Index{3});
    send(SITE("atput"), dictionary, Bytes{"kk"}, Bytes{"vv"});
    send(SITE("add"), list, Bytes{"aa"});
    for (const auto *word : {"cc", "aa"}) send(SITE("add"), sorted, Bytes{word});
    send(SITE("setlength"), growing, longer);
    const std::string behind(longer - 2, '\0');
    EXPECT_EQ(display(list), "(aa" + behind + " )");
    EXPECT_EQ(shown([&] { send(SITE("displaykeysanddata"), list); }), "(1->aa" + behind + " )");
    EXPECT_EQ(shown([&] { send(SITE("displaykeysanddata"), dictionary); }), "(kk" + behind + "->vv" + behind + " )");
    send(SITE("add"), sorted, Bytes{"bb"});
    EXPECT_EQ(display(sorted), "(aa" + behind + " bb" + behind + " cc" + behind + " )");
    EXPECT_TRUE(errors.all.empty());
    for (const auto object : {list, sorted, dictionary}) finalize(object);
    cancelObject(growing);
}

// A byte copy shares the storage, whichever of the two ends or grows first.
TEST_F(Collections, ShareStorageUntilTheLastIsGone) {
    for (const auto originalEndsFirst : {true, false}) {
        const auto original = listOf({"a", "b", "c"}, 1), other = listOf({"z"}, 1);
        const auto copy = send<Ref>(SITE("basiccopy"), original);
        EXPECT_TRUE(send<bool>(SITE("copycontents"), other, original));
        EXPECT_TRUE(send<bool>(SITE("copycontents"), original, original));
        finalize(originalEndsFirst ? original : copy);
        const auto left = originalEndsFirst ? copy : original;
        EXPECT_EQ(display(left), "(a b c )");
        for (int i = 0; i < 100; ++i) add(left, "d");
        EXPECT_EQ(send<Index>(SITE("size"), left), 103);
        EXPECT_EQ(display(other), "(a b c )");
        finalize(left);
        EXPECT_EQ(display(other), "(a b c )");
        finalize(other);
    }
    EXPECT_TRUE(errors.numbers().empty());
}

TEST_F(Collections, ShowThatTheyContainThemselves) {
    const auto outer = referencesOf("ordrdcll", {}), inner = referencesOf("ordrdcll", {outer});
    send(SITE("add"), outer, inner);
    const auto text = display(outer);
    EXPECT_EQ(text.substr(0, 2), "((");
    EXPECT_EQ(text.substr(text.size() - 4), " ) )");
    EXPECT_EQ(display(outer), text); // and are shown again
    finalize(outer);
    finalize(inner);
}

TEST_F(Collections, JoinTexts) {
    const auto joined = [](std::initializer_list<const char *> words) {
        std::vector<Ref> objects;
        for (const auto *word : words) objects.push_back(text(word));
        const auto list = referencesOf("ordrdcll", objects);
        const auto comma = text(", ");
        const auto line = send<Ref>(SITE("asseparatedstring"), list, comma);
        const auto lines = send<Ref>(SITE("as0aseparatedstring"), list);
        const auto both = valueOf(line) + "|" + valueOf(lines);
        for (const auto object : {line, lines, comma}) finalize(object);
        send<Ref>(SITE("deepfinalize"), list);
        return both;
    };
    EXPECT_EQ(joined({}), "|");
    EXPECT_EQ(joined({"one"}), "one|one");
    EXPECT_EQ(joined({"ab", "", "cd"}), "ab, , cd|ab\n\ncd");
}

TEST_F(Collections, JoinNoMoreThanWasMeasured) {
    static Count claimed;
    const auto liar =
        OutsideClass("liar", "liar", CLASS("base"))
            .method("sizeinbytes", asMethod(+[](const oops_ref *, void *, void *size) {
                        claimed = claimed * 3 + 1;
                        std::memcpy(size, &claimed, sizeof claimed);
                    }),
                    1)
            .method("getvalue",
                    asMethod(+[](const oops_ref *, void *, void *value) { std::memset(value, 'L', claimed); }), 1)
            .registerIt();
    const auto object = send<Ref>(SITE("new"), liar);
    const auto list = referencesOf("ordrdcll", {object, object, object});
    const auto comma = text(",");
    claimed = 0;
    finalize(send<Ref>(SITE("asseparatedstring"), list, comma)); // sizes 1 4 13, then 40 121 364
    claimed = 0x7FFFFFFF;
    EXPECT_EQ(send<Ref>(SITE("asseparatedstring"), list, comma), null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{32}));
    for (const auto made : {object, list, comma}) finalize(made);
}

TEST_F(Collections, CompareReferencesByAsking) {
    const auto one = text("one"), same = text("one"), other = text("two");
    const auto list = referencesOf("ordrdcll", {one, other});
    EXPECT_TRUE(send<bool>(SITE("includes"), list, same));
    EXPECT_EQ(send<Index>(SITE("firstindexofidentity"), list, same, Index{1}, Index{2}), 0);
    EXPECT_EQ(send<Index>(SITE("firstindexofidentity"), list, other, Index{1}, Index{2}), 2);
    EXPECT_FALSE(send<bool>(SITE("containscharacters"), list));
    finalize(one);
    EXPECT_FALSE(send<bool>(SITE("includes"), list, same)); // the first element is gone: asked, and passed over
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{106}));
    for (const auto object : {same, other, list}) finalize(object);
}

TEST_F(Collections, StopWhenTheyEndWhileElementsAreCompared) {
    static Ref list;
    const auto hostile = OutsideClass("endsit", "endsit", CLASS("base"))
                             .method("equal", asMethod(+[](const oops_ref *, void *, void *, void *) {
                                         if (isLive(list)) finalize(list);
                                     }),
                                     2)
                             .registerIt();
    const auto object = send<Ref>(SITE("new"), hostile);
    for (const auto native : {true, false}) {
        allowNativePaths(native);
        list = referencesOf("ordrdcll", {object, object, object});
        EXPECT_FALSE(send<bool>(SITE("includes"), list, object));
        list = referencesOf("array", {object, object});
        EXPECT_EQ(send<Count>(SITE("occurrencesof"), list, object), 0u);
    }
    allowNativePaths(true);
    finalize(object);
    errors.all.clear();
}

TEST_F(Collections, AskSubclassesForTheirElements) {
    static std::string asked;
    const auto mirror = OutsideClass("mirrored", "mirroredlist", CLASS("ordrdcll"))
                            .method("at", asMethod(+[](const oops_ref *, void *, void *element, void *index) {
                                        asked += std::to_string(*static_cast<Index *>(index));
                                        if (element != nullptr) std::memcpy(element, "same", 4);
                                    }),
                                    2)
                            .registerIt();
    const auto list = send<Ref>(SITE("ofvalues"), mirror, picX(4), Index{2});
    add(list, "a");
    add(list, "b");
    asked.clear();
    EXPECT_TRUE(sendWord<bool>(SITE("includes"), list, "same"));
    EXPECT_EQ(asked, "1");
    std::string seen;
    const Block collect([&](void **arguments) {
        seen += wordIn(arguments);
        return 0;
    });
    send(SITE("do"), list, collect.ref());
    EXPECT_EQ(seen, "samesame");
    EXPECT_EQ(take(send<Ref>(SITE("reverse"), list)), (Words{"same", "same"}));
    finalize(list);
}

TEST_F(Collections, NoticeAMethodThatAppearsInTheMiddle) {
    static int asked;
    const auto late = OutsideClass("latelist", "latelist", CLASS("array")).registerIt();
    const auto list = send<Ref>(SITE("ofvalues"), late, picX(4), Index{4});
    const Block extending([&](void **) {
        if (asked++ == 0) {
            OutsideClass("latelist", "latelist", CLASS("array"))
                .method("at", asMethod(+[](const oops_ref *, void *, void *element, void *) {
                            asked += 100;
                            if (element != nullptr) std::memset(element, 'l', 4);
                        }),
                        2)
                .extend();
        }
        return 0;
    });
    send(SITE("do"), list, extending.ref());
    EXPECT_EQ(asked, 304); // four blocks, and three elements by the new method
    finalize(list);
}

TEST_F(Collections, KeepTheirStorageWhateverIsSentToThem) {
    const auto list = listOf({"a", "b"});
    EXPECT_TRUE(send<bool>(SITE("basicgrow"), list, Index{100}));
    EXPECT_TRUE(send<bool>(SITE("basicgrow"), list, Index{1})); // the slots remain: no shorter than they are
    EXPECT_EQ(wordAt(list, 1), "a");
    EXPECT_EQ(elementAt(list, 2), "    ");
    EXPECT_FALSE(send<bool>(SITE("basicgrow"), list, Index{-1}));
    send(SITE("setcollptr"), list, Address{nullptr});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33}));
    send(SITE("initialize"), list, Count{3}, picX(2), Count{2});
    EXPECT_EQ(sizeOf(list), 0);
    add(list, "z");
    EXPECT_EQ(take(list), (Words{"z"}));
    const auto bare = send<Ref>(SITE("new"), CLASS("ordrdcll"));
    EXPECT_EQ(sizeOf(bare), 0);
    send(SITE("add"), bare, Ref{});
    EXPECT_EQ(sizeOf(bare), 1);
    finalize(bare);
}

TEST_F(Collections, LeaveToSubclassesWhatTheyCannotDo) {
    const auto bare = send<Ref>(SITE("new"), CLASS("collectn"));
    send(SITE("add"), bare, Ref{});
    send(SITE("remove"), bare, Ref{});
    send(SITE("dowithoutcopy"), bare, null);
    send(SITE("errorinbounds"), bare);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{7, 7, 7, 3}));
    finalize(bare);
}

TEST_F(Collections, FinalizeDeeply) {
    const auto leaf = text("leaf");
    const auto inner = referencesOf("array", {leaf}), outer = referencesOf("array", {inner});
    send<Ref>(SITE("deepfinalizewithdepth"), outer, Index{1});
    EXPECT_FALSE(isLive(inner));
    EXPECT_TRUE(isLive(leaf));
    const auto again = referencesOf("ordrdcll", {leaf, null});
    send<Ref>(SITE("reallydeepfinalize"), again);
    EXPECT_FALSE(isLive(leaf));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{27}));
    const auto own = referencesOf("ordrdcll", {});
    send(SITE("add"), own, own);
    send<Ref>(SITE("deepfinalize"), own);
    EXPECT_FALSE(isLive(own));
}

TEST_F(Collections, RefuseSourcesThatAreNone) {
    const auto gone = listOf({"a"});
    finalize(gone);
    for (const auto *program : {"array", "ordrdcll", "srtdclln"}) {
        EXPECT_EQ(send<Ref>(SITE("withall"), classForProgram(program), gone), null);
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{106}));
    }
    EXPECT_EQ(send<Ref>(SITE("ofvalues"), CLASS("array"), gone, Index{3}), null); // as a template
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{106}));
}

} // namespace
} // namespace oocobol::test
