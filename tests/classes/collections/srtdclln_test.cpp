// Sorted collections: order by default, by methods and by entries, and comparisons with bad manners.
#include <algorithm>
#include <random>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Sorted : public testing::Test {
protected:
    static Ref byEntry(const Words &words, const std::string &entry, Index width = 4) {
        const auto sorted = newCollection("srtdclln", width, 0);
        send(SITE("setsortentry"), sorted, Bytes{entry.c_str()});
        for (const auto &word : words) add(sorted, word);
        return sorted;
    }
    static void fill(Ref sorted, const Words &words) {
        for (const auto &word : words) sendWord(SITE("addnosort"), sorted, word);
    }

    LeakCheck leaks;
    RaisedErrors errors;
};

TEST_F(Sorted, KeepsElementsInOrder) {
    const auto sorted = sortedOf({"c", "a", "d", "b", "a"});
    EXPECT_EQ(wordsOf(sorted), (Words{"a", "a", "b", "c", "d"}));
    const auto search = [&](const char *word, Index from, Index to) {
        return sendWord<Index>(SITE("firstindexof"), sorted, word, from, to);
    };
    EXPECT_EQ(search("a", 1, 5), 1);
    EXPECT_EQ(search("a", 2, 5), 2);
    EXPECT_EQ(search("a", 3, 5), 0);
    EXPECT_EQ(search("d", 1, 4), 0);
    EXPECT_EQ(search("d", 1, INT32_MAX), 5);
    EXPECT_EQ(search("x", 1, 5), 0);
    EXPECT_EQ(sendWord<Count>(SITE("occurrencesof"), sorted, "a"), 2u);
    sendWord(SITE("replaceall"), sorted, "a", area(padded("e", 4)), Index{1}, Index{1});
    EXPECT_EQ(wordsOf(sorted), (Words{"a", "b", "c", "d", "e"}));
    sendWord(SITE("atallput"), sorted, "x");
    EXPECT_EQ(take(sorted), Words(5, "x"));
}

TEST_F(Sorted, SortsEveryTemplateAsItCompares) {
    std::mt19937_64 random(7);
    const auto newClass = [](const char *program, Index length) {
        return length == 4 ? classForProgram(program) : send<Ref>(SITE("newclass"), classForProgram(program), length);
    };
    for (const auto *program : {"comp5", "scomp5", "compx"}) {
        for (Index width = 1; width <= 8; ++width) {
            if (std::string_view(program) == "scomp5" && width == 4) continue; // answers the unsigned class
            const auto elementTemplate = newClass(program, width);
            const auto sorted = send<Ref>(SITE("ofvalues"), CLASS("srtdclln"), elementTemplate, Index{0});
            const auto source = send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), elementTemplate, Index{0});
            for (int i = 0; i < 2500; ++i) {
                const auto value = random();
                send(SITE("add"), source, value);
            }
            send(SITE("addall"), sorted, source);
            std::uint64_t before = 0, next = 0;
            send(SITE("at"), sorted, Returning{{reinterpret_cast<std::byte *>(&before)}}, Index{1});
            for (Index i = 2; i <= 2500; ++i, before = next) {
                send(SITE("at"), sorted, Returning{{reinterpret_cast<std::byte *>(&next)}}, i);
                ASSERT_TRUE(
                    sendOver<bool>(SITE("lessthanorequalbylengthvalue"), elementTemplate, &before, width, area(next)))
                    << program << width;
            }
            finalize(sorted);
            finalize(source);
        }
    }
}

TEST_F(Sorted, SortsByAMethodOfAnyObject) {
    const auto up = sortedOf({"b", "a"}), down = newCollection("srtdclln", 4, 0);
    const auto backwards =
        OutsideClass("sortdown", "sortdown", CLASS("base"))
            .classMethod("AtLeast", asMethod(+[](const oops_ref *, void *, void *answer, const char *a, const char *b) {
                             *static_cast<char *>(answer) = std::memcmp(a, b, 4) >= 0 ? 1 : 0;
                         }),
                         3)
            .registerIt();
    send(SITE("setsortmethod"), down, backwards, Bytes{"AtLeast "});
    for (const auto *word : {"a", "c", "b"}) add(down, word);
    EXPECT_EQ(wordsOf(down), (Words{"c", "b", "a"}));
    const auto converted = send<Ref>(SITE("assortedcollectionwithsort"), up, backwards, Bytes{"atleast"});
    EXPECT_EQ(wordsOf(converted), (Words{"b", "a"}));
    send(SITE("setsortmethod"), down, down, Bytes{"defaultSortMethod"});
    EXPECT_EQ(wordsOf(down), (Words{"a", "b", "c"}));
    for (const auto object : {up, down, converted}) finalize(object);
    EXPECT_TRUE(errors.all.empty());
}

TEST_F(Sorted, ComparesAsPrescribed) {
    std::string calls;
    const auto entry = entryNamed([&](void **arguments) {
        calls += wordIn(arguments) + wordIn(arguments, 4, 1) + " ";
        return std::memcmp(arguments[0], arguments[1], 4) <= 0 ? 1 : 0;
    });
    const auto sorted = newCollection("srtdclln", 4, 0);
    fill(sorted, {"d", "a", "c", "e", "b"});
    send(SITE("setsortentry"), sorted, Bytes{entry.c_str()});
    // The middle one, c, against the others; then the parts on both sides of it.
    EXPECT_EQ(calls, "ac dc ec bc ab de ");
    EXPECT_EQ(wordsOf(sorted), (Words{"a", "b", "c", "d", "e"}));
    calls.clear();
    add(sorted, "cc");
    EXPECT_EQ(calls, "ccc dcc ");
    for (const auto native : {true, false}) {
        allowNativePaths(native);
        calls.clear();
        send(SITE("resort"), sorted);
        static std::string first;
        if (native) first = calls;
        EXPECT_EQ(calls, first);
    }
    allowNativePaths(true);
    finalize(sorted);
}

TEST_F(Sorted, CountsAmongElementsThatOnlyCompareEqual) {
    const auto byLetter = entryNamed([](void **arguments) {
        return *static_cast<char *>(arguments[0]) <= *static_cast<char *>(arguments[1]) ? 1 : 0;
    });
    const auto sorted = byEntry({"a1", "b1", "b2", "b1", "b3", "c1"}, byLetter);
    for (const auto native : {true, false}) {
        allowNativePaths(native);
        const auto count = [&](const char *word) { return sendWord<Count>(SITE("occurrencesof"), sorted, word); };
        EXPECT_EQ(count("a1"), 1u);
        EXPECT_EQ(count("b1"), 2u);
        EXPECT_EQ(count("b2"), 1u);
        EXPECT_EQ(count("b4"), 0u);
    }
    allowNativePaths(true);
    finalize(sorted);
}

TEST_F(Sorted, AnswersListsAndCopies) {
    const auto sorted = sortedOf({"b", "a", "c"});
    const Block yes([](void **) { return 1; });
    const auto classOfAnswer = [](Ref made) {
        const auto found = send<Ref>(SITE("class"), made);
        finalize(made);
        return found;
    };
    EXPECT_EQ(classOfAnswer(send<Ref>(SITE("select"), sorted, yes.ref())), CLASS("ordrdcll"));
    EXPECT_EQ(classOfAnswer(send<Ref>(SITE("copyfromto"), sorted, Index{1}, Index{2})), CLASS("ordrdcll"));
    const auto with = sendWord<Ref>(SITE("copywith"), sorted, "aa");
    EXPECT_EQ(send<Ref>(SITE("class"), with), CLASS("srtdclln"));
    EXPECT_EQ(take(with), (Words{"a", "aa", "b", "c"}));
    EXPECT_EQ(take(send<Ref>(SITE("reverse"), sorted)), (Words{"c", "b", "a"}));
    const auto copied = send<Ref>(SITE("copy"), sorted);
    finalize(sorted);
    add(copied, "ab"); // by its own method: the original is gone
    EXPECT_EQ(take(copied), (Words{"a", "ab", "b", "c"}));
    EXPECT_TRUE(errors.all.empty());
}

TEST_F(Sorted, KeepsItsElementsWhateverAComparisonDoes) {
    Ref sorted;
    int calls = 0;
    const std::pair<const char *, std::function<std::int64_t(void **)>> comparisons[] = {
        {"always", [](void **) { return 1; }},
        {"never", [](void **) { return 0; }},
        {"at random", [&](void **) { return std::int64_t{0x55AA5A >> (calls % 20) & 1}; }},
        {"writes",
         [](void **arguments) {
             std::memset(arguments[0], 'w', 4);
             std::memset(arguments[1], 'w', 4);
             return 1;
         }},
        {"resorts",
         [&](void **) {
             if (calls == 5) send(SITE("resort"), sorted);
             return calls & 1;
         }},
        {"grows",
         [&](void **) {
             if (calls % 7 == 0) send(SITE("makeroomatstart"), sorted);
             return calls & 1;
         }},
    };
    for (const auto &comparison : comparisons) {
        for (const auto native : {true, false}) {
            allowNativePaths(native);
            calls = 0;
            const auto entry = entryNamed([&](void **arguments) {
                ++calls;
                return comparison.second(arguments);
            });
            Words words;
            for (int i = 0; i < 70; ++i) words.push_back(std::to_string(i * 37 % 70));
            sorted = newCollection("srtdclln", 4, 0);
            fill(sorted, words);
            send(SITE("setsortentry"), sorted, Bytes{entry.c_str()});
            add(sorted, "new");
            words.push_back("new");
            auto found = wordsOf(sorted);
            std::sort(found.begin(), found.end());
            std::sort(words.begin(), words.end());
            EXPECT_EQ(found, words) << comparison.first;
            finalize(sorted);
        }
    }
    allowNativePaths(true);
}

TEST_F(Sorted, SurvivesAComparisonThatEndsOrChangesIt) {
    for (const auto *deed : {"finalize", "clear", "removefirst", "grow", "copy"}) {
        Ref sorted;
        const auto entry = entryNamed([&](void **) {
            oops_site site = OOPS_SITE(deed);
            const auto made = send<Ref>(site, sorted, Index{1});
            if (std::string_view(deed) == "copy") finalize(made);
            return 1;
        });
        sorted = newCollection("srtdclln", 4, 0);
        fill(sorted, {"c", "b", "a", "d"});
        send(SITE("setsortentry"), sorted, Bytes{entry.c_str()});
        if (isLive(sorted)) add(sorted, "e");
        if (isLive(sorted)) sendWord<Index>(SITE("indexof"), sorted, "e");
        if (isLive(sorted)) finalize(sorted);
    }
    errors.all.clear();
}

TEST_F(Sorted, AsksOnceForWhatIsNotThere) {
    const auto sorted = sortedOf({"c", "b", "a"});
    const std::string tooLong(85, 'n');
    send(SITE("setsortmethod"), sorted, sorted, Bytes{tooLong.c_str()});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{24}));
    send(SITE("setsortentry"), sorted, Bytes{"nosuchentryatall"});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{110}));
    send(SITE("setsortmethod"), sorted, Ref{0x2020202020202020}, Bytes{"compare"});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{106}));
    EXPECT_EQ(wordsOf(sorted), (Words{"a", "b", "c"}));
    send(SITE("setsortmethod"), sorted, sorted, Bytes{"defaultsortmethod"});
    send(SITE("setsortentry"), sorted, Bytes{tooLong.c_str()});
    put(sorted, 1, "z");
    send<Ref>(SITE("insertallafter"), sorted, Index{0}, sorted);
    sendWord<Index>(SITE("firstindexof"), sorted, "a", Index{0}, Index{3});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 16, 16, 3}));
    add(sorted, "bb");
    EXPECT_EQ(take(sorted), (Words{"a", "b", "bb", "c"}));
}

TEST_F(Sorted, SendsSortToASubclassThatRedefinesIt) {
    static int sorts;
    static constinit oops_super_site up = OOPS_SUPER_SITE("counting", "sort");
    const auto counting = OutsideClass("counting", "countingcollection", CLASS("srtdclln"))
                              .method("sort",
                                      asMethod(+[](const oops_ref *self, void *data, void *, void *low, void *high,
                                                   void *pivot, void *swap) {
                                          ++sorts;
                                          oopsresolvetosuper(&up, self, data, 5, nullptr, low, high, pivot, swap);
                                      }),
                                      5)
                              .registerIt();
    const auto sorted = send<Ref>(SITE("ofvalues"), counting, picX(4), Index{0});
    fill(sorted, {"d", "a", "c", "e", "b", "g", "f"});
    sorts = 0;
    send(SITE("resort"), sorted);
    EXPECT_GE(sorts, 3);
    EXPECT_EQ(take(sorted), (Words{"a", "b", "c", "d", "e", "f", "g"}));
    EXPECT_TRUE(errors.all.empty());
}

} // namespace
} // namespace oocobol::test
