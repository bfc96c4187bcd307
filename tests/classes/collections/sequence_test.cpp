// What every sequenced collection does, for arrays and lists, for narrow and wide elements, with native loops and
// without.
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

class Sequenced : public testing::TestWithParam<Kind> {
protected:
    Sequenced() { allowNativePaths(GetParam().native); }
    ~Sequenced() override { allowNativePaths(true); }

    Ref make(const Words &words) const {
        return isArray() ? arrayOf(words, GetParam().width) : listOf(words, GetParam().width);
    }
    bool isArray() const { return std::string_view(GetParam().program) == "array"; }
    std::size_t width() const { return static_cast<std::size_t>(GetParam().width); }

    LeakCheck leaks;
    RaisedErrors errors;
};

INSTANTIATE_TEST_SUITE_P(Kinds, Sequenced,
                         testing::Values(Kind{"array", 4, true}, Kind{"array", 40, true}, Kind{"array", 10, false},
                                         Kind{"ordrdcll", 4, true}, Kind{"ordrdcll", 300, true},
                                         Kind{"ordrdcll", 10, false}));

TEST_P(Sequenced, AnswersItsElements) {
    const auto own = make({"a", "b", "c"});
    EXPECT_EQ(sizeOf(own), 3);
    EXPECT_TRUE(send<bool>(SITE("issequenced"), own));
    EXPECT_TRUE(send<bool>(SITE("isindexed"), own));
    EXPECT_FALSE(send<bool>(SITE("isempty"), own));
    EXPECT_EQ(send<Count>(SITE("hash"), own), 3u);
    std::string first(width(), '?'), last(width(), '?');
    send(SITE("first"), own, Returning{{reinterpret_cast<std::byte *>(first.data())}});
    send(SITE("last"), own, Returning{{reinterpret_cast<std::byte *>(last.data())}});
    EXPECT_EQ(trimmed(first) + trimmed(last), "ac");
    sendWord(SITE("atallput"), own, "z");
    EXPECT_EQ(take(own), (Words{"z", "z", "z"}));
    EXPECT_TRUE(errors.all.empty());
}

TEST_P(Sequenced, Searches) {
    const auto own = make({"a", "b", "a", "c", "a"});
    const auto search = [&](oops_site &site, const char *word, Index from, Index to) {
        return sendWord<Index>(site, own, word, from, to);
    };
    EXPECT_EQ(search(SITE("firstindexof"), "a", 2, 5), 3);
    EXPECT_EQ(search(SITE("firstindexof"), "a", 4, INT32_MAX), 5);
    EXPECT_EQ(search(SITE("firstindexof"), "a", 4, 4), 0);
    EXPECT_EQ(search(SITE("firstindexof"), "a", 6, 9), 0);
    EXPECT_EQ(search(SITE("lastindexof"), "a", 1, 4), 3);
    EXPECT_EQ(search(SITE("firstindexofidentity"), "c", 1, 9), 4);
    EXPECT_EQ(sendWord<Count>(SITE("occurrencesof"), own, "a"), 3u);
    EXPECT_EQ(sendWord<Index>(SITE("indexof"), own, "c"), 4);
    EXPECT_TRUE(sendWord<bool>(SITE("includes"), own, "b"));
    EXPECT_FALSE(sendWord<bool>(SITE("includes"), own, "x"));
    sendWord(SITE("replaceall"), own, "a", area(padded("q", width())), Index{2}, Index{4});
    EXPECT_EQ(take(own), (Words{"a", "b", "q", "c", "a"}));
}

TEST_P(Sequenced, SearchesSubcollections) {
    const auto own = make({"a", "a", "b", "a", "b"});
    const auto pair = make({"a", "b"}), one = make({"b"}), none = make({});
    EXPECT_EQ(send<Index>(SITE("indexofsubcollection"), own, pair, Index{1}), 2);
    EXPECT_EQ(send<Index>(SITE("indexofsubcollection"), own, pair, Index{3}), 4);
    EXPECT_EQ(send<Index>(SITE("indexofsubcollection"), own, pair, Index{5}), 0);
    EXPECT_EQ(send<Index>(SITE("indexofsubcollection"), own, own, Index{1}), 1);
    EXPECT_EQ(take(send<Ref>(SITE("copyreplaceall"), own, pair, one)), (Words{"a", "b", "b"}));
    EXPECT_EQ(take(send<Ref>(SITE("copyreplaceall"), own, pair, none)), (Words{"a"}));
    EXPECT_TRUE(errors.all.empty());
    send<Index>(SITE("indexofsubcollection"), own, none, Index{1});
    EXPECT_TRUE(take(send<Ref>(SITE("copyreplaceall"), none, none, one)).empty());
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{11, 11}));
    for (const auto object : {own, pair, one, none}) finalize(object);
}

TEST_P(Sequenced, ReplacesOccurrencesThatDoNotOverlap) {
    const auto own = make({"a", "a", "a"}), old = make({"a", "a"}), replacement = make({"b"});
    EXPECT_EQ(take(send<Ref>(SITE("copyreplaceall"), own, old, replacement)), (Words{"b", "a"}));
    for (const auto object : {own, old, replacement}) finalize(object);
}

TEST_P(Sequenced, AnswersChangedCopies) {
    const auto own = make({"a", "b", "c", "b"});
    const auto other = make({"x", "y"});
    EXPECT_EQ(take(send<Ref>(SITE("copyfromto"), own, Index{2}, Index{3})), (Words{"b", "c"}));
    EXPECT_EQ(take(send<Ref>(SITE("copyfromto"), own, Index{3}, Index{2})), Words{});
    EXPECT_EQ(take(sendWord<Ref>(SITE("copywith"), own, "z")), (Words{"a", "b", "c", "b", "z"}));
    EXPECT_EQ(take(sendWord<Ref>(SITE("copywithout"), own, "b")), (Words{"a", "c"}));
    EXPECT_EQ(take(send<Ref>(SITE("copyreplace"), own, Index{2}, Index{3}, other)), (Words{"a", "x", "y", "b"}));
    EXPECT_EQ(take(send<Ref>(SITE("copyreplace"), own, Index{2}, Index{1}, other)),
              (Words{"a", "x", "y", "b", "c", "b"}));
    EXPECT_EQ(take(send<Ref>(SITE("reverse"), own)), (Words{"b", "c", "b", "a"}));
    EXPECT_EQ(take(send<Ref>(SITE("concat"), other, own)), (Words{"x", "y", "a", "b", "c", "b"}));
    EXPECT_EQ(take(send<Ref>(SITE("concat"), other, other)), (Words{"x", "y", "x", "y"}));
    EXPECT_EQ(take(send<Ref>(SITE("insertallafter"), own, Index{4}, own)),
              (Words{"a", "b", "c", "b", "a", "b", "c", "b"}));
    EXPECT_TRUE(errors.all.empty());
    EXPECT_EQ(take(own), (Words{"a", "b", "c", "b"}));
    finalize(other);
}

TEST_P(Sequenced, MovesOverlappingRanges) {
    const auto replaced = [&](Index start, Index stop, Index from) {
        const auto own = make({"a", "b", "c", "d"});
        send(SITE("replacesubcollection"), own, start, stop, own, from);
        return take(own);
    };
    EXPECT_EQ(replaced(2, 4, 1), (Words{"a", "a", "b", "c"}));
    EXPECT_EQ(replaced(1, 3, 2), (Words{"b", "c", "d", "d"}));
    EXPECT_EQ(replaced(1, 0, 3), (Words{"a", "b", "c", "d"}));
    EXPECT_EQ(replaced(3, -7, 1), (Words{"a", "b", "c", "d"}));
    EXPECT_TRUE(errors.all.empty());
}

TEST_P(Sequenced, IsEqualElementForElementWithinOneClass) {
    const auto own = make({"a", "b"}), same = make({"a", "b"}), other = make({"a", "c"});
    const auto foreign = isArray() ? listOf({"a", "b"}, GetParam().width) : arrayOf({"a", "b"}, GetParam().width);
    const auto equal = [&](Ref with) { return send<bool>(SITE("equal"), own, with); };
    EXPECT_TRUE(equal(own));
    EXPECT_TRUE(equal(same));
    EXPECT_FALSE(equal(other));
    EXPECT_FALSE(equal(foreign));
    EXPECT_FALSE(equal(null));
    for (const auto object : {own, same, other, foreign}) finalize(object);
}

TEST_P(Sequenced, WalksInEveryDirection) {
    const auto own = make({"a", "b", "c"});
    std::string seen;
    const Block collect([&](void **arguments) {
        seen += wordIn(arguments, width());
        return 0;
    });
    send(SITE("do"), own, collect.ref());
    send(SITE("reversedo"), own, collect.ref());
    send(SITE("dowithoutcopy"), own, collect.ref());
    EXPECT_EQ(seen, "abccbaabc");
    const Block keyed([&](void **arguments) {
        seen += std::to_string(numberIn(arguments)) + wordIn(arguments, width(), 1);
        return 0;
    });
    seen.clear();
    send(SITE("keysanddatado"), own, keyed.ref());
    EXPECT_EQ(seen, "1a2b3c");
    const Block both([&](void **arguments) {
        seen += wordIn(arguments, width()) + wordIn(arguments, width(), 1);
        return 0;
    });
    const auto other = make({"x", "y", "z"});
    seen.clear();
    send(SITE("withdo"), own, other, both.ref());
    EXPECT_EQ(seen, "axbycz");
    finalize(own);
    finalize(other);
}

TEST_P(Sequenced, StopsWhenToldTo) {
    const auto own = make({"a", "b", "c"});
    std::string seen;
    const Block quitAtB([&](void **arguments) {
        seen += wordIn(arguments, width());
        if (seen.back() == 'b') send(SITE("quititeration"), own);
        return 1;
    });
    for (auto *site : {&SITE("do"), &SITE("dowithoutcopy"), &SITE("reversedo")}) send(*site, own, quitAtB.ref());
    EXPECT_EQ(seen, "ababcb");
    const auto chosen = take(send<Ref>(SITE("select"), own, quitAtB.ref()));
    EXPECT_EQ(chosen, (Words{"a", "b"}));
    finalize(own);
}

TEST_P(Sequenced, ChoosesAndFinds) {
    const auto own = make({"a", "b", "c", "b"});
    const Block isB([&](void **arguments) { return wordIn(arguments, width()) == "b" ? 1 : 0; });
    const Block never([](void **) { return 0; });
    EXPECT_EQ(take(send<Ref>(SITE("select"), own, isB.ref())), (Words{"b", "b"}));
    EXPECT_EQ(take(send<Ref>(SITE("reject"), own, isB.ref())), (Words{"a", "c"}));
    EXPECT_EQ(send<Index>(SITE("findfirst"), own, isB.ref()), 2);
    EXPECT_EQ(send<Index>(SITE("findlast"), own, isB.ref()), 4);
    EXPECT_EQ(send<Index>(SITE("findfirst"), own, never.ref()), 0);
    std::string found(width(), '?');
    send(SITE("detect"), own, Returning{{reinterpret_cast<std::byte *>(found.data())}}, isB.ref());
    EXPECT_EQ(trimmed(found), "b");
    EXPECT_TRUE(errors.all.empty());
    send(SITE("detect"), own, Returning{{reinterpret_cast<std::byte *>(found.data())}}, never.ref());
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12}));
    EXPECT_EQ(found, std::string(width(), '\0'));
    finalize(own);
}

TEST_P(Sequenced, VisitsWhatWasThereWhateverTheBlockDoes) {
    for (const auto *deed : {"clear", "finalize", "grow"}) {
        const auto own = make({"a", "b", "c"});
        std::string seen;
        auto done = false;
        const Block hostile([&](void **arguments) {
            seen += wordIn(arguments, width());
            oops_site site = OOPS_SITE(deed);
            if (!done) send<Ref>(site, own);
            done = true;
            return 1;
        });
        send(SITE("do"), own, hostile.ref());
        EXPECT_EQ(seen, "abc") << deed;
        if (isLive(own)) finalize(own);
    }
    errors.all.clear(); // an array does not understand `clear`
}

TEST_P(Sequenced, CollectsAnswers) {
    const auto numbers = send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), comp5(), Index{0});
    for (Index i = 1; i <= 40; ++i) send(SITE("add"), numbers, i);
    const Block twice([](void **arguments) { return 2 * numberIn(arguments); });
    const auto doubled = send<Ref>(SITE("collect"), numbers, twice.ref());
    EXPECT_EQ(send<Index>(SITE("at"), doubled, Index{40}), 80);
    EXPECT_EQ(sizeOf(doubled), 40);
    finalize(numbers);
    finalize(doubled);
}

TEST_P(Sequenced, CopiesObjectsDeeply) {
    const auto one = text("one");
    const auto own = referencesOf(GetParam().program, {one});
    const auto shallow = send<Ref>(SITE("copy"), own);
    const auto deep = send<Ref>(SITE("deepcopy"), own);
    EXPECT_EQ(referenceAt(shallow, 1), one);
    EXPECT_NE(referenceAt(deep, 1), one);
    EXPECT_TRUE(send<bool>(SITE("equal"), own, deep));
    send<Ref>(SITE("deepfinalize"), deep);
    finalize(shallow);
    send<Ref>(SITE("deepfinalize"), own);
}

TEST_P(Sequenced, GrowsWithSpaces) {
    const auto own = make({"a", "b", "c"});
    const auto before = send<Count>(SITE("capacity"), own);
    send(SITE("grow"), own);
    EXPECT_EQ(send<Count>(SITE("capacity"), own), (before + 10) * 2);
    EXPECT_EQ(wordAt(own, 3), "c");
    EXPECT_EQ(send<Ref>(SITE("growto"), own, Index{2}), own);
    EXPECT_EQ(send<Count>(SITE("getstoragerequirements"), own), 2 * width());
    EXPECT_EQ(wordsOf(own), (Words{"a", "b"}));
    send<Ref>(SITE("growto"), own, Index{0});
    EXPECT_EQ(sizeOf(own), 0);
    send<Ref>(SITE("growto"), own, Index{4});
    EXPECT_EQ(send<Count>(SITE("capacity"), own), 4u);
    if (isArray()) {
        EXPECT_EQ(elementAt(own, 4), std::string(width(), ' '));
    }
    EXPECT_TRUE(errors.all.empty());
    finalize(own);
}

TEST_P(Sequenced, RefusesIndexesOutside) {
    const auto own = make({"a", "b"});
    for (const Index index : {0, -1, 3, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(elementAt(own, index), std::string(width(), '?'));
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{3}));
        put(own, index, "z");
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{3}));
        EXPECT_FALSE(send<bool>(SITE("isat"), own, area(std::string(width(), '\0')), index));
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{3}));
        EXPECT_FALSE(sendWord<bool>(SITE("isatidentity"), own, "a", index));
        std::string untouched(width(), '?');
        send(SITE("atnogc"), own, Returning{{reinterpret_cast<std::byte *>(untouched.data())}}, index);
        EXPECT_EQ(untouched, std::string(width(), '?'));
        EXPECT_TRUE(errors.all.empty());
    }
    sendWord<Index>(SITE("firstindexof"), own, "a", Index{0}, Index{2});
    send<Ref>(SITE("insertallafter"), own, Index{3}, own);
    send<Ref>(SITE("copyreplace"), own, Index{2}, Index{0}, own);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3}));
    EXPECT_EQ(take(own), (Words{"a", "b"}));
}

TEST_P(Sequenced, LeavesItsSizeAloneWhenItCannotGrow) {
    const auto own = make({"a", "b"});
    EXPECT_EQ(send<Ref>(SITE("growto"), own, Index{-1}), null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 32}));
    if (width() > 4) {
        send<Ref>(SITE("growto"), own, INT32_MAX); // more bytes than a storage length can say
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{32}));
    }
    if (OOCOBOL_CHECKED) { // only checked builds can make an allocation fail
        AllocationFaults::failAt(1, true);
        send(SITE("grow"), own);
        AllocationFaults::failAt(0, false);
        EXPECT_EQ(errors.numbers(), std::vector<Count>{32});
    }
    EXPECT_EQ(take(own), (Words{"a", "b"}));
}

TEST_P(Sequenced, AsksForTheStorageThatANegativeSizeWouldBe) {
    static Index asked;
    const auto greedy =
        OutsideClass("greedy", "greedy", classForProgram(GetParam().program))
            .method("basicgrow",
                    asMethod(+[](const oops_ref *, void *, void *, const Index *bytes) { asked = *bytes; }), 2)
            .registerIt();
    const auto own = send<Ref>(SITE("ofvalues"), greedy, picX(GetParam().width), Index{1});
    send<Ref>(SITE("growto"), own, Index{-3});
    EXPECT_EQ(asked, -3 * GetParam().width);
    finalize(own);
}

TEST_P(Sequenced, RefusesCollectionsOfAnotherTemplate) {
    const auto own = make({"a", "b"}), other = listOf({"x", "y"}, GetParam().width + 1);
    EXPECT_FALSE(send<bool>(SITE("iscompatible"), own, other));
    send<Ref>(SITE("concat"), own, other);
    send<Ref>(SITE("insertallafter"), own, Index{0}, other);
    send<Ref>(SITE("copyreplace"), own, Index{1}, Index{1}, other);
    send<Index>(SITE("indexofsubcollection"), own, other, Index{1});
    send(SITE("replacesubcollection"), own, Index{1}, Index{1}, other, Index{1});
    send(SITE("addall"), own, other);
    EXPECT_EQ(errors.numbers(), std::vector<Count>(6, 10));
    const auto shorter = make({"x"});
    send(SITE("replacesubcollection"), own, Index{1}, Index{2}, shorter, Index{1});
    send(SITE("withdo"), own, shorter, null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{4, 6}));
    EXPECT_EQ(take(own), (Words{"a", "b"}));
    finalize(other);
    finalize(shorter);
}

TEST_P(Sequenced, TriesABlockThatIsGoneOnce) {
    const auto own = make({"a", "b", "c"});
    const auto gone = block([](void **) { return 0; });
    finalize(gone);
    for (auto *site : {&SITE("do"), &SITE("dowithoutcopy"), &SITE("keysanddatado")}) send(*site, own, gone);
    finalize(send<Ref>(SITE("collect"), own, gone));
    EXPECT_EQ(errors.numbers(), std::vector<Count>(4, 106));
    send(SITE("do"), own, null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{24}));
    finalize(own);
}

TEST_P(Sequenced, TakesOnlySizesThatCanBe) {
    const auto sized = [&](Index size) {
        return send<Ref>(SITE("ofvalues"), classForProgram(GetParam().program), picX(GetParam().width), size);
    };
    for (const Index size : {-1, INT32_MIN, 538976288, INT32_MAX}) {
        EXPECT_EQ(sized(size), null);
        EXPECT_EQ(send<Ref>(SITE("ofreferences"), classForProgram(GetParam().program), size), null);
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33}));
    }
    if (width() > 8) {
        EXPECT_EQ(sized(538976287), null);
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{32}));
    }
    finalize(sized(0));
    EXPECT_TRUE(errors.all.empty());
}

TEST_P(Sequenced, SurvivesEveryFailingAllocation) {
    if (!OOCOBOL_CHECKED) GTEST_SKIP() << "allocations fail in checked builds only";
    const auto own = make({"b", "a", "c"});
    const Block yes([](void **) { return 1; });
    const std::function<Ref()> scenes[] = {
        [&] { return send<Ref>(SITE("copy"), own); },
        [&] { return send<Ref>(SITE("reverse"), own); },
        [&] { return send<Ref>(SITE("select"), own, yes.ref()); },
        [&] { return send<Ref>(SITE("insertallafter"), own, Index{1}, own); },
        [&] { return send<Ref>(SITE("asarray"), own); },
        [&] { return send<Ref>(SITE("assortedcollection"), own); },
    };
    for (const auto &scene : scenes) {
        for (std::uint64_t at = 1;; ++at) {
            AllocationFaults::failAt(at, false);
            const auto made = scene();
            const auto reached = AllocationFaults::count() >= at;
            AllocationFaults::failAt(0, false);
            if (isLive(made)) finalize(made);
            EXPECT_EQ(wordsOf(own), (Words{"b", "a", "c"}));
            if (!reached) break;
        }
    }
    errors.all.clear();
    finalize(own);
}

} // namespace
} // namespace oocobol::test
