// Texts of both classes: what their methods answer, how they fail, and that redefined messages are still sent.
#include <cctype>
#include <optional>
#include <random>

#include "classes/text/strings.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

struct Road {
    const char *program;
    bool isNative;
    // Without it the names of tests would hold addresses.
    friend std::ostream &operator<<(std::ostream &to, const Road &road) {
        return to << road.program << (road.isNative ? " natively" : " by sends");
    }
};

// Every case runs for both classes, with native paths and without.
class Text : public testing::TestWithParam<Road> {
protected:
    Text() { allowNativePaths(GetParam().isNative); }
    ~Text() override { allowNativePaths(true); }

    Ref ofClass = classForProgram(GetParam().program);
    Ref make(std::string_view value) {
        return send<Ref>(SITE("withlengthvalue"), ofClass, static_cast<Index>(value.size()), Bytes{value.data()});
    }
    // What a message answers, as a value; the object answered is finalized.
    template <class... Sent> std::string valueOfAnswer(oops_site &site, Ref object, const Sent &...sent) {
        const Temporary answered(send<Ref>(site, object, sent...));
        EXPECT_TRUE(answered);
        return answered ? valueOf(answered.ref()) : "nothing";
    }
    std::vector<std::string> valuesOf(Ref collection) {
        std::vector<std::string> values;
        const auto size = send<Index>(SITE("size"), collection);
        for (Index i = 1; i <= size; ++i) values.push_back(valueOf(send<Ref>(SITE("at"), collection, i)));
        send<Ref>(SITE("deepfinalize"), collection);
        return values;
    }
};
INSTANTIATE_TEST_SUITE_P(Classes, Text,
                         testing::Values(Road{"chararry", true}, Road{"chararry", false}, Road{"bytearry", true},
                                         Road{"bytearry", false}),
                         [](const auto &road) {
                             return std::string(road.param.program) + (road.param.isNative ? "Natively" : "BySends");
                         });

// ---- Making texts -------------------------------------------------------------------------------------------------

TEST_P(Text, FactoriesTakeWhatTheirTerminatorSays) {
    const LeakCheck leaks;
    EXPECT_EQ(valueOfAnswer(SITE("withvalue"), ofClass, Bytes{"ab cd"}), "ab cd");
    EXPECT_EQ(valueOfAnswer(SITE("withvalue"), ofClass, Bytes{""}), "");
    EXPECT_EQ(valueOfAnswer(SITE("withspaceterminator"), ofClass, Bytes{"ab\tcd ef"}), "ab\tcd");
    EXPECT_EQ(valueOfAnswer(SITE("withspaceterminator"), ofClass, Bytes{" x"}), "");
    EXPECT_EQ(valueOfAnswer(SITE("withspaceornullterminator"), ofClass, Bytes{"ab"}), "ab");
    EXPECT_EQ(valueOfAnswer(SITE("withspaceornullterminator"), ofClass, Bytes{"ab cd"}), "ab");
    EXPECT_EQ(valueOfAnswer(SITE("withbytelengthvalue"), ofClass, Index{3}, Bytes{"abcdef"}), "abc");
    EXPECT_EQ(valueOfAnswer(SITE("frombuffer"), ofClass, Index{5}, Bytes{"ab \0 "}), "ab");
    EXPECT_EQ(valueOfAnswer(SITE("frombuffer"), ofClass, Index{3}, Bytes{"   "}), "");
    EXPECT_EQ(valueOfAnswer(SITE("ofvalues"), ofClass, null, Index{2}), std::string(2, '\0'));
    const Temporary original(make("x y"));
    EXPECT_EQ(valueOfAnswer(SITE("withall"), ofClass, original.ref()), "x y");
}

TEST_P(Text, IsAnArrayOfOneByteElements) {
    const LeakCheck leaks;
    const Temporary text(make("abc"));
    const auto *fields = fieldsOf<CollectionFields>(text.ref());
    ASSERT_NE(fields, nullptr);
    EXPECT_EQ(fields->elementSize, 1U);
    EXPECT_EQ(fields->slotCount, 3U);
    EXPECT_EQ(fields->storageLength, 3U);
    EXPECT_EQ(fields->elementTemplate, CLASS("picx"));
    EXPECT_EQ(send<char>(SITE("at"), text.ref(), Index{3}), 'c');
    char parameter[4];
    send(SITE("asparameter"), text.ref(), Returning{{reinterpret_cast<std::byte *>(parameter)}});
    EXPECT_EQ(std::string_view(parameter, 4), std::string_view("abc\0", 4));
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

TEST_P(Text, ComparesPaddedWithTextsAndItems) {
    const LeakCheck leaks;
    const Temporary abc(make("abc")), padded(make("abc  ")), above(make("abd")), below(make("abc\x1F"));
    EXPECT_TRUE(send<bool>(SITE("equal"), abc.ref(), padded.ref()));
    EXPECT_EQ(send<Count>(SITE("hash"), abc.ref()), send<Count>(SITE("hash"), padded.ref()));
    EXPECT_EQ(send<Index>(SITE("compareto"), abc.ref(), above.ref()), -1);
    EXPECT_EQ(send<Index>(SITE("compareto"), above.ref(), abc.ref()), 1);
    EXPECT_EQ(send<Index>(SITE("compareto"), abc.ref(), padded.ref()), 0);
    EXPECT_TRUE(send<bool>(SITE("lessthan"), below.ref(), abc.ref()));
    EXPECT_TRUE(send<bool>(SITE("greaterthan"), abc.ref(), below.ref()));
    EXPECT_TRUE(send<bool>(SITE("lessthanorequal"), abc.ref(), padded.ref()));
    EXPECT_TRUE(send<bool>(SITE("greaterthanorequal"), abc.ref(), padded.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalbylengthvalue"), abc.ref(), Index{4}, Bytes{"abc x"}));
    EXPECT_TRUE(send<bool>(SITE("lessthanbylengthvalue"), abc.ref(), Index{3}, Bytes{"abd"}));
    EXPECT_TRUE(send<bool>(SITE("greaterthanbylengthvalue"), abc.ref(), Index{-1}, Bytes{"zzz"}));

    const Temporary item(send<Ref>(SITE("withvalue"), picX(5), Bytes{"abc  "}));
    EXPECT_TRUE(send<bool>(SITE("equal"), abc.ref(), item.ref()));
    const Temporary number(send<Ref>(SITE("withvalue"), comp5(), Bytes{"abc "}));
    EXPECT_FALSE(send<bool>(SITE("equal"), abc.ref(), number.ref())); // it contains no characters
    EXPECT_FALSE(send<bool>(SITE("equal"), abc.ref(), null));
}

TEST_P(Text, ComparesWithoutRegardToCase) {
    const LeakCheck leaks;
    const Temporary lower(make("abc")), upper(make("ABC "));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecase"), lower.ref(), upper.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecasebylengthvalue"), lower.ref(), Index{3}, Bytes{"aBc"}));
    EXPECT_FALSE(send<bool>(SITE("equalsignorecasebylengthvalue"), lower.ref(), Index{3}, Bytes{"aBd"}));
}

// ---- Reading and writing --------------------------------------------------------------------------------------------

TEST_P(Text, ValuesAreCopiedToTheSizeAskedFor) {
    const LeakCheck leaks;
    const Temporary text(make("abc"));
    const auto filled = [&](auto &&sendIt) {
        std::string area(6, '#');
        sendIt(Returning{{reinterpret_cast<std::byte *>(area.data())}});
        return area;
    };
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluez"), text.ref(), area); }), std::string("abc\0##", 6));
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluewithsize"), text.ref(), area, Index{2}); }), "ab####");
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluewithsize"), text.ref(), area, Index{5}); }), "abc  #");
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluewithsize"), text.ref(), area, Index{-1}); }), "######");
    auto &site = SITE("getvaluewithsizeatposition");
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{2}, Index{2}); }), "bc####");
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{2}, Index{4}); }), "bc  ##");
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{4}, Index{2}); }), "  ####");
    RaisedErrors errors;
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{5}, Index{2}); }), "  ####");
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{0}, Index{6}); }), "      ");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3}));
}

TEST_P(Text, ValuesAreSetMovedAndReplaced) {
    const LeakCheck leaks;
    const Temporary text(make("abc")), longer(make("vwxyz")), shorter(make("q"));
    send(SITE("setvalue"), text.ref(), Bytes{"xyzzz"});
    EXPECT_EQ(valueOf(text.ref()), "xyz");
    send(SITE("movevalue"), text.ref(), longer.ref());
    EXPECT_EQ(valueOf(text.ref()), "vwx");
    send(SITE("movevalue"), text.ref(), shorter.ref());
    EXPECT_EQ(valueOf(text.ref()), "q  ");
    send(SITE("movevalue"), text.ref(), text.ref());
    EXPECT_EQ(valueOf(text.ref()), "q  ");
    send(SITE("atput"), text.ref(), Index{3}, Bytes{"!"});
    EXPECT_EQ(valueOf(text.ref()), "q !");
    send(SITE("resetvalue"), text.ref(), longer.ref());
    EXPECT_EQ(valueOf(text.ref()), "vwxyz");
    EXPECT_EQ(valueOf(longer.ref()), "vwxyz");
}

TEST_P(Text, GrowsAndShrinksInPlace) {
    const LeakCheck leaks;
    const Temporary text(make("ab"));
    EXPECT_EQ(send<Ref>(SITE("growto"), text.ref(), Index{5}), text.ref());
    EXPECT_EQ(valueOf(text.ref()), "ab   ");
    EXPECT_EQ(send<Ref>(SITE("growto"), text.ref(), Index{1}), text.ref());
    EXPECT_EQ(valueOf(text.ref()), "a");
    EXPECT_EQ(send<Ref>(SITE("growto"), text.ref(), Index{0}), text.ref());
    EXPECT_EQ(valueOf(text.ref()), "");
    RaisedErrors errors;
    send<Ref>(SITE("growto"), text.ref(), Index{-1});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{33});
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 0U);
}

// ---- Other texts made of it -----------------------------------------------------------------------------------------

TEST_P(Text, NewTextsAreOfItsOwnClass) {
    const LeakCheck leaks;
    const Temporary text(make("  A b ")), other(make("cd"));
    EXPECT_EQ(valueOfAnswer(SITE("concat"), text.ref(), other.ref()), "  A b cd");
    EXPECT_EQ(valueOfAnswer(SITE("concat"), text.ref(), text.ref()), "  A b   A b ");
    EXPECT_EQ(valueOfAnswer(SITE("concatz"), text.ref(), Bytes{"z!"}), "  A b z!");
    EXPECT_EQ(valueOfAnswer(SITE("copyfromto"), text.ref(), Index{3}, Index{5}), "A b");
    EXPECT_EQ(valueOfAnswer(SITE("copyfromto"), text.ref(), Index{3}, Index{3}), "A");
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), text.ref()), "A b");
    EXPECT_EQ(valueOfAnswer(SITE("asuppercase"), text.ref()), "  A B ");
    EXPECT_EQ(valueOfAnswer(SITE("aslowercase"), text.ref()), "  a b ");
    EXPECT_EQ(valueOfAnswer(SITE("description"), other.ref()), "\"cd\"");
    const Temporary item(send<Ref>(SITE("withvalue"), picX(2), Bytes{"xy"}));
    EXPECT_EQ(valueOfAnswer(SITE("concat"), other.ref(), item.ref()), "cdxy");
    const Temporary empty(make("")), blank(make("   "));
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), empty.ref()), "");
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), blank.ref()), "");
    const Temporary joined(send<Ref>(SITE("concat"), text.ref(), other.ref()));
    EXPECT_EQ(classOf(joined.ref()), ofClass);
}

TEST_P(Text, FindsTextsInIt) {
    const LeakCheck leaks;
    const Temporary text(make("xabab")), wanted(make("ab")), longer(make("xababc")), empty(make(""));
    auto &site = SITE("indexofsubcollection");
    EXPECT_EQ(send<Index>(site, text.ref(), wanted.ref(), Index{1}), 2);
    EXPECT_EQ(send<Index>(site, text.ref(), wanted.ref(), Index{3}), 4);
    EXPECT_EQ(send<Index>(site, text.ref(), wanted.ref(), Index{5}), 0);
    EXPECT_EQ(send<Index>(site, text.ref(), wanted.ref(), Index{900}), 0);
    EXPECT_EQ(send<Index>(site, text.ref(), longer.ref(), Index{1}), 0);
    const Temporary number(send<Ref>(SITE("withvalue"), comp5(), Bytes{"abc "}));
    RaisedErrors errors;
    send<Index>(site, text.ref(), empty.ref(), Index{1});
    send<Index>(site, text.ref(), number.ref(), Index{1});
    send<Index>(site, text.ref(), wanted.ref(), Index{0});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{11, 10, 3}));
}

TEST_P(Text, SplitsIntoLinesAndWords) {
    const LeakCheck leaks;
    const auto lines = [&](std::string_view value) {
        const Temporary text(make(value));
        return valuesOf(send<Ref>(SITE("asseparatelines"), text.ref()));
    };
    const auto words = [&](std::string_view value) {
        const Temporary text(make(value));
        return valuesOf(send<Ref>(SITE("asarrayofsubstrings"), text.ref()));
    };
    using Values = std::vector<std::string>;
    EXPECT_EQ(lines("one\n\ntwo\n"), (Values{"one", "two"}));
    EXPECT_EQ(lines("\nlast\r\nend"), (Values{"last\r", "end"}));
    EXPECT_EQ(lines(""), Values{});
    EXPECT_EQ(words(" a  bc\td "), (Values{"a", "bc", "d"}));
    EXPECT_EQ(words("a longer word than sixteen_characters_in_a_row"),
              (Values{"a", "longer", "word", "than", "sixteen_characters_in_a_row"}));
    EXPECT_EQ(words(" \n "), Values{});
}

// ---- Conversions --------------------------------------------------------------------------------------------------

TEST_P(Text, ConvertsToNumbersItemsAndNames) {
    const LeakCheck leaks;
    const Temporary hex(make("1f")), decimal(make("0042")), name(make("\"a b.txt\"  "));
    EXPECT_EQ(send<Count>(SITE("ashex"), hex.ref()), 31U);
    EXPECT_EQ(send<Count>(SITE("ascomp5"), decimal.ref()), 42U);
    const Temporary object(send<Ref>(SITE("ascomp5object"), decimal.ref()));
    EXPECT_EQ(valueOf(object.ref()), std::string("\x2A\0\0\0", 4));
    EXPECT_EQ(valueOfAnswer(SITE("aspicx"), decimal.ref()), "0042");
    EXPECT_EQ(valueOfAnswer(SITE("asinternalfilename"), name.ref()), "a b.txt");
    testing::internal::CaptureStdout();
    send(SITE("display"), decimal.ref());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0042");
}

// ---- Random texts against std::string -----------------------------------------------------------------------------

TEST_P(Text, AgreesWithStandardStrings) {
    const LeakCheck leaks;
    std::mt19937 random(1);
    const auto randomText = [&] {
        std::string text(random() % 100, ' ');
        for (auto &character : text) character = "ab AB\n\xC4"[random() % 7];
        return text;
    };
    for (int round = 0; round < 300; ++round) {
        const auto one = randomText(), two = randomText();
        const Temporary first(make(one)), second(make(two));
        ASSERT_EQ(valueOfAnswer(SITE("concat"), first.ref(), second.ref()), one + two);
        auto upper = one;
        for (auto &c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        ASSERT_EQ(valueOfAnswer(SITE("asuppercase"), first.ref()), upper);
        if (!two.empty() && !one.empty()) {
            const auto from = random() % one.size(), part = 1 + random() % 3;
            const Temporary wanted(make(two.substr(0, part)));
            const auto found = one.find(two.substr(0, part), from);
            ASSERT_EQ(
                send<Count>(SITE("indexofsubcollection"), first.ref(), wanted.ref(), static_cast<Index>(from + 1)),
                found == std::string::npos ? 0 : found + 1);
        }
    }
}

// ---- Errors -------------------------------------------------------------------------------------------------------

TEST_P(Text, RefusesSizesAndPositionsOutside) {
    const LeakCheck leaks;
    const Temporary text(make("abc"));
    RaisedErrors errors;
    EXPECT_FALSE(send<Ref>(SITE("new"), ofClass, Index{-1}));
    EXPECT_FALSE(send<Ref>(SITE("withlengthvalue"), ofClass, Index{-5}, Bytes{"abc"}));
    EXPECT_FALSE(send<Ref>(SITE("withvalue"), ofClass, omitted));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33, 33}));
    EXPECT_FALSE(send<Ref>(SITE("ofreferences"), ofClass, Index{1}));
    EXPECT_EQ(errors.numbers(), std::vector<Count>{16});
    send(SITE("atput"), text.ref(), Index{0}, Bytes{"x"});
    send(SITE("atput"), text.ref(), Index{4}, Bytes{"x"});
    EXPECT_FALSE(send<Ref>(SITE("copyfromto"), text.ref(), Index{2}, Index{1}));
    EXPECT_FALSE(send<Ref>(SITE("copyfromto"), text.ref(), Index{0}, Index{1}));
    EXPECT_FALSE(send<Ref>(SITE("copyfromto"), text.ref(), Index{2}, Index{4}));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3, 3, 3}));
    EXPECT_EQ(valueOf(text.ref()), "abc");
    errors.answers = true;
    errors.answer = text.ref().bits;
    EXPECT_EQ(send<Ref>(SITE("copyfromto"), text.ref(), Index{2}, Index{1}), text.ref());
}

TEST_P(Text, ArgumentsOfEveryKindAreSurvived) {
    const Temporary text(make("abc"));
    RaisedErrors errors;
    const Ref dead = make("x");
    finalize(dead);
    for (const auto argument : {null, dead, Ref{0x2020202020202020}, CLASS("picx"), CLASS("base"), ofClass}) {
        send<bool>(SITE("equal"), text.ref(), argument);
        send<bool>(SITE("lessthan"), text.ref(), argument);
        send<Index>(SITE("compareto"), text.ref(), argument);
        send<bool>(SITE("equalsignorecase"), text.ref(), argument);
        send(SITE("movevalue"), text.ref(), argument);
        finalize(send<Ref>(SITE("concat"), text.ref(), argument));
        send<Index>(SITE("indexofsubcollection"), text.ref(), argument, Index{1});
    }
    EXPECT_TRUE(isLive(text.ref()));
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 3U);
}

TEST_P(Text, EveryFailingAllocationIsSurvived) {
    if (!OOCOBOL_CHECKED) GTEST_SKIP() << "allocations can only be made to fail in checked builds";
    const Temporary text(make(std::string(400, 'a') + "\n" + std::string(400, 'b')));
    const auto work = [&] {
        std::vector<Ref> made;
        for (auto *site : {&SITE("asuppercase"), &SITE("description"), &SITE("aspicx"), &SITE("trimblanks"),
                           &SITE("asseparatelines"), &SITE("asarrayofsubstrings")})
            made.push_back(send<Ref>(*site, text.ref()));
        made.push_back(send<Ref>(SITE("concat"), text.ref(), text.ref()));
        made.push_back(make("short"));
        const auto reached = AllocationFaults::count();
        AllocationFaults::failAt(0, false);
        for (const auto object : made) {
            if (object) send<Ref>(SITE("deepfinalize"), object);
        }
        return reached;
    };
    work();
    RaisedErrors errors;
    const auto before = countInstances(null);
    for (std::uint64_t at = 1;; ++at) {
        AllocationFaults::failAt(at, false);
        const auto reached = work();
        ASSERT_EQ(valueOf(text.ref()).size(), 801U);
        ASSERT_EQ(countInstances(null), before) << "allocation " << at;
        if (reached < at) break;
    }
}

// ---- Redefined messages -------------------------------------------------------------------------------------------

int settingsSeen = 0;
void noteSetValue(const oops_ref *self, void *data, void *returning, void *value) {
    static oops_super_site super = OOPS_SUPER_SITE("loudtxt", "setvalue");
    ++settingsSeen;
    oopsresolvetosuper(&super, self, data, 2, returning, value);
}
void claimMuch(const oops_ref *, void *, void *returning) {
    const Count claimed = 100000;
    if (returning != nullptr) std::memcpy(returning, &claimed, sizeof claimed);
}

TEST(TextSubclass, ItsOwnMethodsAreSent) {
    const auto loud = OutsideClass("loudtxt", "loudtext", CLASS("chararry"))
                          .method("setvalue", asMethod(noteSetValue), 2)
                          .registerIt();
    const Temporary text(send<Ref>(SITE("withlengthvalue"), loud, Index{3}, Bytes{"a b"}));
    EXPECT_EQ(settingsSeen, 1);
    const Temporary upper(send<Ref>(SITE("asuppercase"), text.ref()));
    EXPECT_EQ(settingsSeen, 2);
    EXPECT_EQ(valueOf(upper.ref()), "A B");
    EXPECT_EQ(classOf(upper.ref()), loud);
}

TEST(TextSubclass, SizesThatItClaimsAreNotReadBeyondItsStorage) {
    const auto liar = OutsideClass("liartxt", "liartext", CLASS("chararry"))
                          .method("sizeinbytes", asMethod(claimMuch), 1)
                          .registerIt();
    const Temporary lying(send<Ref>(SITE("withlengthvalue"), liar, Index{3}, Bytes{"a b"})), text(test::text("abc"));
    EXPECT_TRUE(send<bool>(SITE("lessthan"), text.ref(), lying.ref()) ||
                send<bool>(SITE("greaterthan"), text.ref(), lying.ref()));
    const Temporary joined(send<Ref>(SITE("concat"), text.ref(), lying.ref()));
    EXPECT_EQ(send<Count>(SITE("size"), joined.ref()), 100003U);
    send<Ref>(SITE("deepfinalize"), send<Ref>(SITE("asarrayofsubstrings"), lying.ref()));
}

} // namespace
} // namespace oocobol::test
