// Text of characters of one or two bytes: how it is made, the protocol of sequences over its characters, conversion in
// place, and random texts against a list of characters. Errors last.
#include <algorithm>
#include <random>

#include "classes/text/mixed_text.h"
#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// Shift-JIS: hiragana a and i, katakana a (its second half is 'A'), the space.
#define HA "\x82\xA0"
#define HI "\x82\xA2"
#define KA "\x83\x41"
#define SPACE2 "\x81\x40"

using Characters = std::vector<std::string>;

std::string join(const Characters &parts) {
    std::string text;
    for (const auto &part : parts) text += part;
    return text;
}

// Every case runs with native paths and without.
class MixedText : public testing::TestWithParam<bool> {
protected:
    MixedText() { allowNativePaths(GetParam()); }
    ~MixedText() override { allowNativePaths(true); }
    InEnvironment environment{doubleByte};

    static Ref mixedClass() { return CLASS("dbcsarry"); }
    static Ref make(std::string_view value) {
        const ExactBytes exact(value);
        const auto count = static_cast<Index>(characters::count(value));
        return send<Ref>(SITE("withlengthvalue"), mixedClass(), count, Bytes(exact));
    }
    template <class... Sent> static std::string valueOfAnswer(oops_site &site, Ref object, const Sent &...sent) {
        const Temporary answered(send<Ref>(site, object, sent...));
        return answered ? valueOf(answered.ref()) : "nothing";
    }
    static std::string at(Ref text, Index position) {
        char area[9] = {};
        send(SITE("at"), text, Returning{{reinterpret_cast<std::byte *>(area)}}, position);
        return area;
    }
    static Characters charactersOf(Ref text) {
        Characters found;
        const auto size = send<Index>(SITE("size"), text);
        for (Index i = 1; i <= size; ++i) found.push_back(at(text, i));
        return found;
    }
    static Characters valuesOf(Ref collection) {
        Characters values;
        const auto size = send<Index>(SITE("size"), collection);
        for (Index i = 1; i <= size; ++i) values.push_back(valueOf(send<Ref>(SITE("at"), collection, i)));
        send<Ref>(SITE("deepfinalize"), collection);
        return values;
    }
};
INSTANTIATE_TEST_SUITE_P(Roads, MixedText, testing::Bool(),
                         [](const auto &road) { return std::string(road.param ? "Natively" : "BySends"); });

Element bytes(const char *value) { return {reinterpret_cast<const std::byte *>(value)}; }

// ---- Making texts -------------------------------------------------------------------------------------------------

TEST_P(MixedText, FactoriesAnswerTheClassThatTheCharactersAskFor) {
    const LeakCheck leaks;
    const auto single = CLASS("chararry");
    for (const auto factory : {single, mixedClass()}) {
        const Temporary mixed(send<Ref>(SITE("withvalue"), factory, Bytes{"a" HA}));
        EXPECT_EQ(classOf(mixed.ref()), mixedClass());
        EXPECT_EQ(charactersOf(mixed.ref()), (Characters{"a", HA}));
        const Temporary plain(send<Ref>(SITE("withvalue"), factory, Bytes{"ab"}));
        EXPECT_EQ(classOf(plain.ref()), single);
        EXPECT_EQ(valueOfAnswer(SITE("withspaceterminator"), factory, Bytes{HA "b" SPACE2 "c "}), HA "b");
        EXPECT_EQ(valueOfAnswer(SITE("withspaceterminator"), factory, Bytes{HA "b c"}), HA "b");
        EXPECT_EQ(valueOfAnswer(SITE("withspaceornullterminator"), factory, Bytes{KA SPACE2}), KA);
        EXPECT_EQ(valueOfAnswer(SITE("withspaceornullterminator"), factory, Bytes{KA "b"}), KA "b");
        EXPECT_EQ(valueOfAnswer(SITE("withbytelengthvalue"), factory, Index{4}, Bytes(ExactBytes(HA HI))), HA HI);
        EXPECT_EQ(valueOfAnswer(SITE("frombuffer"), factory, Index{7},
                                Bytes(ExactBytes(std::string_view(" " HA SPACE2 "\0 ", 7)))),
                  " " HA);
    }
    const Temporary text(make(HA "b"));
    EXPECT_EQ(valueOfAnswer(SITE("withall"), mixedClass(), text.ref()), HA "b");
    const Temporary empty(send<Ref>(SITE("new"), mixedClass(), Index{3}));
    EXPECT_EQ(valueOf(empty.ref()), std::string(3, '\0'));
    EXPECT_EQ(send<Count>(SITE("getstoragerequirements"), empty.ref()), 6U);
}

TEST_P(MixedText, LengthsCountCharacters) {
    const LeakCheck leaks;
    const Temporary text(make("a" HA "b"));
    says(text.ref(),
         "size -> 3; sizeinbytes -> 4; at 2 -> [" HA "]; atandbytelength 3, [b], [\1]; containsdbcscharacters -> 1; "
         "* -> 'a" HA "b'; copy -> 'a" HA "b'",
         {text.ref()});
    says(mixedClass(), "stringlengthinchars '" HA "b', 3 -> 2; stringlengthinbytes '" HA "b', 2 -> 3; "
                       "charlengthinbytes '" HA "' -> 2; isdbcsstringlengthvalue 2, 'a" HA "' -> 1; "
                       "isdbcsstringbytelengthvalue 1, 'a" HA "' -> 0; getdbcsspace -> [" SPACE2 "]");
}

TEST_P(MixedText, LongTextsHaveNoLimit) {
    const LeakCheck leaks;
    const Index groups = GetParam() ? 20000 : 3000; // of five bytes, four characters
    std::string value;
    for (Index i = 0; i < groups; ++i) value += KA "xyz";
    const Temporary text(make(value + SPACE2 "  "));
    const auto size = 4 * groups + 3, last = 4 * groups - 3;
    EXPECT_EQ(send<Index>(SITE("size"), text.ref()), size);
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), text.ref()), value);
    EXPECT_EQ(at(text.ref(), last), KA);
    const Temporary turned(send<Ref>(SITE("reverse"), text.ref()));
    EXPECT_EQ(at(turned.ref(), size - last + 1), KA);
    EXPECT_EQ(send<Index>(SITE("occurrencesof"), text.ref(), bytes(KA)), groups);
}

// ---- Reading and writing --------------------------------------------------------------------------------------------

TEST_P(MixedText, CharactersOfOneWidthReplaceThoseOfTheOther) {
    const LeakCheck leaks;
    const Temporary text(make("a" HA "b"));
    send(SITE("atput"), text.ref(), Index{2}, Bytes{"x"});
    EXPECT_EQ(valueOf(text.ref()), "axb");
    send(SITE("atput"), text.ref(), Index{3}, Bytes{KA});
    send(SITE("atput"), text.ref(), Index{1}, Bytes{HI});
    EXPECT_EQ(charactersOf(text.ref()), (Characters{HI, "x", KA}));
    send(SITE("setvalue"), text.ref(), Bytes(ExactBytes("1" HA "3")));
    EXPECT_EQ(charactersOf(text.ref()), (Characters{"1", HA, "3"}));
    const Temporary longer(make(HA HI KA "x")), shorter(make(HI));
    send(SITE("movevalue"), text.ref(), longer.ref());
    EXPECT_EQ(valueOf(text.ref()), HA HI KA);
    send(SITE("movevalue"), text.ref(), shorter.ref());
    EXPECT_EQ(valueOf(text.ref()), HI "  ");
    send(SITE("resetvalue"), text.ref(), longer.ref());
    EXPECT_EQ(charactersOf(text.ref()), (Characters{HA, HI, KA, "x"}));
    EXPECT_EQ(send<Ref>(SITE("growto"), text.ref(), Index{6}), text.ref());
    EXPECT_EQ(valueOf(text.ref()), HA HI KA "x  ");
    EXPECT_EQ(send<Ref>(SITE("growto"), text.ref(), Index{2}), text.ref());
    EXPECT_EQ(charactersOf(text.ref()), (Characters{HA, HI}));
    send(SITE("grow"), text.ref());
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 24U);
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), text.ref()), HA HI);
}

TEST_P(MixedText, ValuesAreCutBetweenCharacters) {
    const LeakCheck leaks;
    const Temporary text(make("a" HA "b"));
    const auto filled = [&](auto &&sendIt) {
        std::string area(6, '#');
        sendIt(Returning{{reinterpret_cast<std::byte *>(area.data())}});
        return area;
    };
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluewithsize"), text.ref(), area, Index{2}); }), "a ####");
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluewithsize"), text.ref(), area, Index{5}); }),
              "a" HA "b #");
    auto &site = SITE("getvaluewithsizeatposition");
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{2}, Index{2}); }), HA "####");
    EXPECT_EQ(filled([&](Returning area) { send(site, text.ref(), area, Index{3}, Index{3}); }), " b ###");
    EXPECT_EQ(filled([&](Returning area) { send(SITE("getvaluez"), text.ref(), area); }),
              std::string("a" HA "b\0#", 6));
    EXPECT_EQ(filled([&](Returning area) { send(SITE("asparameter"), text.ref(), area); }),
              std::string("a" HA "b\0#", 6));
    const Temporary item(send<Ref>(SITE("aspicx"), text.ref()));
    EXPECT_EQ(valueOf(item.ref()), "a" HA);
    EXPECT_EQ(send<Ref>(SITE("baseclass"), classOf(item.ref())), CLASS("picx"));
    const Temporary two(make("a" HA));
    EXPECT_EQ(valueOfAnswer(SITE("aspicx"), two.ref()), "a ");
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

TEST_P(MixedText, ComparesAndHashes) {
    const LeakCheck leaks;
    const Temporary text(make("a" HA)), padded(make("a" HA "  ")), wide(make("a" HA SPACE2)), above(make("a" HI));
    EXPECT_TRUE(send<bool>(SITE("equal"), text.ref(), padded.ref()));
    EXPECT_FALSE(send<bool>(SITE("equal"), text.ref(), above.ref()));
    EXPECT_FALSE(send<bool>(SITE("equal"), text.ref(), null));
    EXPECT_EQ(send<Index>(SITE("compareto"), text.ref(), above.ref()), -1);
    EXPECT_TRUE(send<bool>(SITE("lessthan"), text.ref(), above.ref()));
    EXPECT_TRUE(send<bool>(SITE("greaterthanorequal"), text.ref(), padded.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalbylengthvalue"), text.ref(), Index{2}, Bytes(ExactBytes("a" HA))));
    EXPECT_TRUE(send<bool>(SITE("lessthanbylengthvalue"), text.ref(), Index{2}, Bytes(ExactBytes("a" HI))));
    EXPECT_TRUE(send<bool>(SITE("greaterthanbylengthvalue"), text.ref(), Index{1}, Bytes(ExactBytes("a"))));
    for (const auto other : {padded.ref(), wide.ref()})
        EXPECT_EQ(send<Count>(SITE("hash"), text.ref()), send<Count>(SITE("hash"), other));
    const Temporary single(test::text("AB ")), mixed(make("AB"));
    EXPECT_TRUE(send<bool>(SITE("equal"), single.ref(), mixed.ref()));
    EXPECT_EQ(send<Count>(SITE("hash"), single.ref()), send<Count>(SITE("hash"), mixed.ref()));

    const Temporary lower(make("a" KA)), upper(make("A" KA)), other(make("a\x83\x61"));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecase"), lower.ref(), upper.ref()));
    EXPECT_FALSE(send<bool>(SITE("equalsignorecase"), lower.ref(), other.ref())); // another katakana
    EXPECT_TRUE(send<bool>(SITE("equalsignorecasebylengthvalue"), lower.ref(), Index{2}, Bytes(ExactBytes("A" KA))));
}

// ---- Other texts made of it -----------------------------------------------------------------------------------------

TEST_P(MixedText, NewTextsHaveWholeCharacters) {
    const LeakCheck leaks;
    const Temporary text(make(SPACE2 " a" KA "\n" SPACE2 "b ")), other(make(HI "!")), plain(test::text("xy"));
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), text.ref()), "a" KA "\n" SPACE2 "b");
    EXPECT_EQ(valueOfAnswer(SITE("asuppercase"), text.ref()), SPACE2 " A" KA "\n" SPACE2 "B ");
    EXPECT_EQ(valueOfAnswer(SITE("aslowercase"), other.ref()), HI "!");
    EXPECT_EQ(valueOfAnswer(SITE("concat"), plain.ref(), other.ref()), "xy" HI "!");
    EXPECT_EQ(valueOfAnswer(SITE("concat"), other.ref(), plain.ref()), HI "!xy");
    EXPECT_EQ(valueOfAnswer(SITE("concatz"), other.ref(), Bytes{KA}), HI "!" KA);
    EXPECT_EQ(valueOfAnswer(SITE("description"), other.ref()), "\"" HI "!\"");
    EXPECT_EQ(valuesOf(send<Ref>(SITE("asseparatelines"), text.ref())), (Characters{SPACE2 " a" KA, SPACE2 "b "}));
    EXPECT_EQ(valuesOf(send<Ref>(SITE("asarrayofsubstrings"), text.ref())), (Characters{"a" KA "\n", "b"}));
    const Temporary upper(send<Ref>(SITE("asuppercase"), other.ref()));
    EXPECT_EQ(classOf(upper.ref()), mixedClass());
    const Temporary trimmed(make("ab" SPACE2)), shortened(send<Ref>(SITE("trimblanks"), trimmed.ref()));
    EXPECT_EQ(classOf(shortened.ref()), CLASS("chararry"));
    const Temporary digits(make("1f"));
    EXPECT_EQ(send<Count>(SITE("ashex"), digits.ref()), 31U);
    const Temporary number(send<Ref>(SITE("ascomp5object"), digits.ref()));
    EXPECT_EQ(valueOf(number.ref()).size(), 4U);
    EXPECT_EQ(valueOfAnswer(SITE("asinternalfilename"), other.ref()), HI "!");
    testing::internal::CaptureStdout();
    send(SITE("display"), other.ref());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), HI "!");
}

// ---- The protocol of sequences --------------------------------------------------------------------------------------

TEST_P(MixedText, BlocksGetOneCharacterAfterAnother) {
    const LeakCheck leaks;
    const Temporary text(make("a" HA KA "b")), other(make("1" HI "23"));
    Characters seen;
    const auto note = [&](void **arguments) {
        seen.emplace_back(static_cast<const char *>(arguments[0]));
        return std::int64_t{0};
    };
    const Temporary noting(block(note));
    for (auto *walk : {&SITE("do"), &SITE("dowithoutcopy"), &SITE("reversedo")}) send(*walk, text.ref(), noting.ref());
    EXPECT_EQ(seen, (Characters{"a", HA, KA, "b", "a", HA, KA, "b", "b", KA, HA, "a"}));

    seen.clear();
    const Temporary pairing(block([&](void **arguments) {
        Index position;
        std::memcpy(&position, arguments[0], sizeof position);
        seen.push_back(std::to_string(position) + static_cast<const char *>(arguments[1]));
        return std::int64_t{0};
    }));
    send(SITE("keysanddatado"), text.ref(), pairing.ref());
    EXPECT_EQ(seen, (Characters{"1a", "2" HA, "3" KA, "4b"}));

    seen.clear();
    const Temporary both(block([&](void **arguments) {
        seen.push_back(std::string(static_cast<const char *>(arguments[0])) + static_cast<const char *>(arguments[1]));
        return std::int64_t{0};
    }));
    send(SITE("withdo"), text.ref(), other.ref(), both.ref());
    EXPECT_EQ(seen, (Characters{"a1", HA HI, KA "2", "b3"}));

    const Temporary isWide(block([&](void **arguments) {
        return std::int64_t{characters::lengthAt(static_cast<const char *>(arguments[0])) == 2};
    }));
    EXPECT_EQ(valueOfAnswer(SITE("select"), text.ref(), isWide.ref()), HA KA);
    EXPECT_EQ(valueOfAnswer(SITE("reject"), text.ref(), isWide.ref()), "ab");
    EXPECT_EQ(send<Index>(SITE("findfirst"), text.ref(), isWide.ref()), 2);
    EXPECT_EQ(send<Index>(SITE("findlast"), text.ref(), isWide.ref()), 3);
    char found[9] = {};
    send(SITE("detect"), text.ref(), Returning{{reinterpret_cast<std::byte *>(found)}}, isWide.ref());
    EXPECT_STREQ(found, HA);
    const Temporary widen(block([](void **arguments) {
        std::int64_t answer = 0;
        const auto *character = static_cast<const char *>(arguments[0]);
        std::memcpy(&answer, *character == 'a' ? HI : "z", *character == 'a' ? 2 : 1);
        return answer;
    }));
    EXPECT_EQ(valueOfAnswer(SITE("collect"), text.ref(), widen.ref()), HI "zzz");
    seen.clear();
    const Temporary stopping(block([&](void **arguments) {
        send(SITE("quititeration"), text.ref());
        return note(arguments);
    }));
    send(SITE("do"), text.ref(), stopping.ref());
    EXPECT_EQ(seen, Characters{"a"});
}

TEST_P(MixedText, CollectionsOfCharactersCompareThem) {
    const LeakCheck leaks;
    const Temporary text(make("b" KA "a" KA "b"));
    const auto sizeOf = [&](oops_site &site) {
        const Temporary made(send<Ref>(site, text.ref()));
        return send<Index>(SITE("size"), made.ref());
    };
    EXPECT_EQ(sizeOf(SITE("asvalueset")), 3);
    EXPECT_EQ(sizeOf(SITE("asidentityset")), 3);
    EXPECT_EQ(sizeOf(SITE("asbag")), 5);
    EXPECT_EQ(sizeOf(SITE("asorderedcollection")), 5);
    for (auto *site : {&SITE("assortedcollection"), &SITE("asdefaultsortedcollection")}) {
        const Temporary sorted(send<Ref>(*site, text.ref()));
        EXPECT_EQ(charactersOf(sorted.ref()), (Characters{"a", "b", "b", KA, KA}));
    }
}

// ---- Conversion in place --------------------------------------------------------------------------------------------

TEST_P(MixedText, SingleByteTextTurnsIntoMixedTextWhereverItIs) {
    const LeakCheck leaks;
    const auto kept = test::text("abc"), key = test::text("abk");
    const Temporary list(send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{1}));
    send(SITE("add"), list.ref(), kept);
    const Temporary names(send<Ref>(SITE("ofvalues"), CLASS("dictinry"), CLASS("associtn"), Index{3}));
    send(SITE("atput"), names.ref(), key, kept);
    send(SITE("atput"), key, Index{3}, Bytes{KA});
    EXPECT_EQ(valueOf(key), "ab" KA);
    EXPECT_TRUE(isLive(key));

    send(SITE("atput"), kept, Index{2}, Bytes{HA});
    EXPECT_EQ(classOf(kept), mixedClass());
    EXPECT_EQ(valueOf(send<Ref>(SITE("at"), list.ref(), Index{1})), "a" HA "c");
    send(SITE("setvalue"), kept, Bytes(ExactBytes(KA "xy")));
    EXPECT_EQ(valueOf(kept), KA "xy");

    const auto second = test::text("abc"), third = test::text("abc");
    const Temporary given(make(HI "q"));
    send(SITE("setvalue"), second, Bytes(ExactBytes("1" HA "3")));
    EXPECT_EQ(charactersOf(second), (Characters{"1", HA, "3"}));
    send(SITE("movevalue"), third, given.ref());
    EXPECT_EQ(charactersOf(third), (Characters{HI, "q", " "}));
    // The receiver of the running method: the text that is being put together changes its class half way.
    const auto fourth = test::text("abcd");
    send(SITE("replacesubcollection"), fourth, Index{2}, Index{3}, given.ref(), Index{1});
    EXPECT_EQ(classOf(fourth), mixedClass());
    EXPECT_EQ(valueOf(fourth), "a" HI "qd");
    for (const auto object : {kept, key, second, third, fourth}) finalize(object);
}

TEST_P(MixedText, AKeyThatHasTurnedIsFoundByItsCharacters) {
    const LeakCheck leaks;
    const Temporary names(send<Ref>(SITE("ofvalues"), CLASS("dictinry"), CLASS("associtn"), Index{5}));
    const Temporary key(test::text("ab")), datum(test::text("datum")), asked(make(HA "b" SPACE2));
    send(SITE("atput"), key.ref(), Index{1}, Bytes{HA});
    send(SITE("atput"), names.ref(), key.ref(), datum.ref());
    const Temporary same(make(HA "b  "));
    EXPECT_EQ(send<Ref>(SITE("at"), names.ref(), same.ref()), datum.ref());
    EXPECT_EQ(send<Count>(SITE("hash"), asked.ref()), send<Count>(SITE("hash"), key.ref()));
}

// ---- Random texts against a list of characters ---------------------------------------------------------------------

TEST_P(MixedText, AgreesWithAListOfCharacters) {
    const LeakCheck leaks;
    std::mt19937 random(3);
    const auto upTo = [&](std::size_t limit) { return random() % (limit + 1); };
    const auto character = [&] {
        static const Characters kinds{"a", "B", " ", HA, KA, SPACE2, "\xE0\x81", "\x81\x81", "\xB1", "\n"};
        return kinds[random() % kinds.size()];
    };
    const auto list = [&](std::size_t limit) {
        Characters parts(upTo(limit));
        for (auto &part : parts) part = character();
        return parts;
    };
    const auto part = [](const Characters &parts, std::size_t from, std::size_t to) {
        return Characters(parts.begin() + static_cast<std::ptrdiff_t>(from),
                          parts.begin() + static_cast<std::ptrdiff_t>(to));
    };
    const auto index = [](std::size_t position) { return static_cast<Index>(position); };
    auto model = list(12);
    Temporary text(make(join(model)));
    for (int step = 0; step < 3000; ++step) {
        if (random() % 20 == 0) { // another text
            model = list(12);
            const Temporary next(make(join(model)));
            send(SITE("becomes"), text.ref(), next.ref());
        }
        const auto own = text.ref();
        const auto given = character();
        const ExactBytes element(given);
        const auto size = model.size();
        switch (random() % 11) {
        case 0:
            if (size == 0) break;
            model[upTo(size - 1)] = given;
            for (std::size_t i = size; i > 0; --i)
                if (model[i - 1] != at(own, index(i))) send(SITE("atput"), own, index(i), Element(element));
            break;
        case 1: {
            auto turned = model;
            std::reverse(turned.begin(), turned.end());
            ASSERT_EQ(valueOfAnswer(SITE("reverse"), own), join(turned));
            break;
        }
        case 2: {
            const auto from = upTo(size), to = from + upTo(size - from);
            ASSERT_EQ(valueOfAnswer(SITE("copyfromto"), own, index(from + 1), index(to)), join(part(model, from, to)));
            break;
        }
        case 3: {
            auto without = model;
            std::erase(without, given);
            ASSERT_EQ(valueOfAnswer(SITE("copywithout"), own, Element(element)), join(without));
            ASSERT_EQ(send<Count>(SITE("occurrencesof"), own, Element(element)), size - without.size());
            ASSERT_EQ(valueOfAnswer(SITE("copywith"), own, Element(element)), join(model) + given);
            break;
        }
        case 4: {
            const auto from = upTo(size), to = from + upTo(size - from);
            const auto others = list(4);
            const Temporary inserted(make(join(others)));
            const auto expected = join(part(model, 0, from)) + join(others) + join(part(model, to, size));
            ASSERT_EQ(valueOfAnswer(SITE("copyreplace"), own, index(from + 1), index(to), inserted.ref()), expected);
            ASSERT_EQ(valueOfAnswer(SITE("insertallafter"), own, index(from), inserted.ref()),
                      join(part(model, 0, from)) + join(others) + join(part(model, from, size)));
            break;
        }
        case 5: {
            const auto from = size == 0 ? 0 : upTo(size - 1);
            const auto found = std::find(model.begin() + static_cast<std::ptrdiff_t>(from), model.end(), given);
            const auto expected = found == model.end() ? 0 : found - model.begin() + 1;
            ASSERT_EQ(send<Index>(SITE("firstindexof"), own, Element(element), index(from + 1), index(size)), expected);
            auto last = size;
            while (last > 0 && model[last - 1] != given) --last;
            ASSERT_EQ(send<Index>(SITE("lastindexof"), own, Element(element), Index{1}, index(size)), index(last));
            ASSERT_EQ(send<bool>(SITE("includes"), own, Element(element)), last != 0);
            break;
        }
        case 6: {
            const auto old = Characters{given, character()};
            const auto others = list(3);
            const Temporary wanted(make(join(old))), replacement(make(join(others)));
            Characters expected;
            for (std::size_t i = 0; i < size;) {
                const auto hit = i + 1 < size && model[i] == old[0] && model[i + 1] == old[1];
                if (hit)
                    expected.insert(expected.end(), others.begin(), others.end());
                else
                    expected.push_back(model[i]);
                i += hit ? 2 : 1;
            }
            ASSERT_EQ(valueOfAnswer(SITE("copyreplaceall"), own, wanted.ref(), replacement.ref()), join(expected));
            break;
        }
        case 7:
            send(SITE("replaceall"), own, Element(element), bytes("z"), Index{1}, index(size));
            std::replace(model.begin(), model.end(), given, std::string("z"));
            break;
        case 8: {
            const auto wanted = upTo(14);
            send<Ref>(SITE("growto"), own, index(wanted));
            model.resize(wanted, " ");
            break;
        }
        case 9: {
            if (size == 0) break;
            const auto from = upTo(size - 1), count = upTo(size - from), source = upTo(size - count);
            const auto moved = part(model, source, source + count);
            std::copy(moved.begin(), moved.end(), model.begin() + static_cast<std::ptrdiff_t>(from));
            send(SITE("replacesubcollection"), own, index(from + 1), index(from + count), own, index(source + 1));
            break;
        }
        default: {
            const auto others = list(4);
            const Temporary added(make(join(others)));
            ASSERT_EQ(valueOfAnswer(SITE("concat"), own, added.ref()), join(model) + join(others));
            break;
        }
        }
        ASSERT_EQ(valueOf(own), join(model)) << step;
        ASSERT_EQ(send<Count>(SITE("size"), own), model.size());
        if (!model.empty()) {
            const auto position = upTo(model.size() - 1);
            ASSERT_EQ(at(own, index(position + 1)), model[position]) << step;
        }
    }
}

// ---- Errors -------------------------------------------------------------------------------------------------------

TEST_P(MixedText, RefusesHalvesPositionsAndSizes) {
    const LeakCheck leaks;
    const Temporary text(make("a" HA)), empty(make(""));
    RaisedErrors errors;
    for (const auto factory : {CLASS("chararry"), mixedClass()}) {
        send<Ref>(SITE("withbytelengthvalue"), factory, Index{3}, Bytes(ExactBytes(HA "\x82")));
        send<Ref>(SITE("frombuffer"), factory, Index{3}, Bytes(ExactBytes(HA "\x82")));
        send<Ref>(SITE("withbytelengthvalue"), factory, Index{1}, Bytes(ExactBytes("\x82")));
    }
    EXPECT_EQ(errors.numbers(), std::vector<Count>(6, 91));
    send<Ref>(SITE("new"), mixedClass(), Index{-1});
    send<Ref>(SITE("withbytelengthvalue"), mixedClass(), Index{-1}, Bytes{"x"});
    send<Ref>(SITE("growto"), text.ref(), Index{-1});
    send<bool>(SITE("basicgrow"), text.ref(), Index{-1});
    EXPECT_EQ(errors.numbers(), std::vector<Count>(4, 33));
    for (const Index outside : {0, 3, -1, INT32_MAX, INT32_MIN}) {
        at(text.ref(), outside);
        send(SITE("atput"), text.ref(), outside, Bytes{"x"});
    }
    at(empty.ref(), 1);
    EXPECT_EQ(errors.numbers(), std::vector<Count>(11, 3));
    const auto dead = make("x");
    finalize(dead);
    send(SITE("add"), text.ref(), bytes("x"));
    send(SITE("remove"), text.ref(), bytes("x"));
    send<Ref>(SITE("ofreferences"), mixedClass(), Index{1});
    send<Index>(SITE("indexofsubcollection"), text.ref(), empty.ref(), Index{1});
    send<Ref>(SITE("concat"), text.ref(), comp5());
    const Temporary never(block([](void **) { return std::int64_t{0}; }));
    char found[8];
    send(SITE("detect"), text.ref(), Returning{{reinterpret_cast<std::byte *>(found)}}, never.ref());
    send(SITE("withdo"), text.ref(), empty.ref(), never.ref());
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{1, 5, 16, 11, 10, 12, 6}));
    EXPECT_EQ(valueOf(text.ref()), "a" HA);
    EXPECT_FALSE(send<Ref>(SITE("new"), mixedClass(), Index{INT32_MAX}));
    EXPECT_EQ(errors.numbers(), std::vector<Count>{23});
    send<Ref>(SITE("growto"), text.ref(), Index{INT32_MAX});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{32});
    EXPECT_EQ(valueOf(text.ref()), "a" HA);
    for (const auto argument : {null, dead, Ref{0x2020202020202020}, CLASS("picx"), mixedClass()}) {
        send<bool>(SITE("equal"), text.ref(), argument);
        send<bool>(SITE("lessthan"), text.ref(), argument);
        send(SITE("movevalue"), text.ref(), argument);
        finalize(send<Ref>(SITE("concat"), text.ref(), argument));
        const Temporary replaced(send<Ref>(SITE("copyreplaceall"), text.ref(), argument, argument));
    }
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 2U);
}

// Half a character at the end of bytes that are no text of this kind is a character of one byte.
TEST_P(MixedText, HalvesAtTheEndAreKeptAndNothingBehindThemIsRead) {
    const LeakCheck leaks;
    const ExactBytes half("ab\x82");
    const Temporary raw(send<Ref>(SITE("withlengthvalue"), CLASS("bytearry"), Index{3}, Bytes(half)));
    const Temporary plain(test::text("xy")), mixed(make(HA));
    for (const auto object : {plain.ref(), mixed.ref()}) {
        const Temporary joined(send<Ref>(SITE("concat"), object, raw.ref()));
        EXPECT_EQ(valueOf(joined.ref()), valueOf(object) + "ab\x82");
        const auto size = send<Index>(SITE("size"), joined.ref());
        EXPECT_EQ(at(joined.ref(), size), "\x82");
        finalize(send<Ref>(SITE("reverse"), joined.ref()));
        finalize(send<Ref>(SITE("copyfromto"), joined.ref(), size, size));
        finalize(send<Ref>(SITE("aspicx"), joined.ref()));
        finalize(send<Ref>(SITE("trimblanks"), joined.ref()));
        EXPECT_EQ(valueOfAnswer(SITE("description"), joined.ref()), '"' + valueOf(object) + "ab \"");
        send<Ref>(SITE("growto"), joined.ref(), size + 1);
        EXPECT_EQ(valueOf(joined.ref()), valueOf(object) + "ab  ");
    }
    for (const std::size_t length : {1U, 2U, 63U, 64U, 65U, 128U}) { // lead bytes only
        const std::string leads(length, '\x81');
        const Temporary bytes(send<Ref>(SITE("withlengthvalue"), CLASS("bytearry"), static_cast<Index>(length),
                                        Bytes(ExactBytes(leads))));
        const Temporary joined(send<Ref>(SITE("concat"), plain.ref(), bytes.ref()));
        EXPECT_EQ(send<Count>(SITE("size"), joined.ref()), 2 + (length + 1) / 2);
        send<Index>(SITE("indexofsubcollection"), joined.ref(), joined.ref(), Index{1});
        send<Count>(SITE("occurrencesof"), joined.ref(), test::area(std::string("\x81\x81")));
    }
}

TEST_P(MixedText, EveryFailingAllocationIsSurvived) {
    if (!OOCOBOL_CHECKED) GTEST_SKIP() << "allocations can only be made to fail in checked builds";
    const Temporary text(make(std::string(300, 'a') + KA "\n" + std::string(300, 'b')));
    const Temporary any(block([](void **) { return std::int64_t{1}; }));
    const auto work = [&] {
        std::vector<Ref> made;
        for (auto *site : {&SITE("asuppercase"), &SITE("description"), &SITE("aspicx"), &SITE("trimblanks"),
                           &SITE("asseparatelines"), &SITE("asarrayofsubstrings"), &SITE("copy")})
            made.push_back(send<Ref>(*site, text.ref()));
        made.push_back(send<Ref>(SITE("concat"), text.ref(), text.ref()));
        made.push_back(send<Ref>(SITE("copyfromto"), text.ref(), Index{290}, Index{303}));
        made.push_back(make(KA));
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
        ASSERT_EQ(valueOf(text.ref()).size(), 603U);
        ASSERT_EQ(countInstances(null), before) << "allocation " << at;
        if (reached < at) break;
    }
}

// ---- A single-byte environment, and none that is known -------------------------------------------------------------

TEST(MixedTextEnvironment, ASingleByteEnvironmentHasNoDoubleByteCharacters) {
    const LeakCheck leaks;
    const InEnvironment environment(singleByte);
    const Temporary text(send<Ref>(SITE("withvalue"), CLASS("dbcsarry"), Bytes{HA "\x82"}));
    EXPECT_EQ(classOf(text.ref()), CLASS("chararry"));
    const Temporary mixed(send<Ref>(SITE("withlengthvalue"), CLASS("dbcsarry"), Index{3}, Bytes{HA "\x82"}));
    EXPECT_EQ(send<Count>(SITE("sizeinbytes"), mixed.ref()), 3U);
    send(SITE("atput"), text.ref(), Index{1}, Bytes{"\x83"});
    EXPECT_EQ(classOf(text.ref()), CLASS("chararry"));
}

TEST(MixedTextEnvironment, TextsOutliveAChangeOfTheEnvironment) {
    const LeakCheck leaks;
    const Temporary made([] {
        const InEnvironment environment(doubleByte);
        return send<Ref>(SITE("withlengthvalue"), CLASS("dbcsarry"), Index{2}, Bytes{HA HI});
    }());
    const Temporary other([] {
        const InEnvironment environment(singleByte);
        return send<Ref>(SITE("withlengthvalue"), CLASS("dbcsarry"), Index{4}, Bytes{HA HI});
    }());
    RaisedErrors errors;
    for (const auto status : {singleByte, doubleByte}) {
        const InEnvironment environment(status);
        for (const auto text : {made.ref(), other.ref()}) {
            EXPECT_EQ(valueOf(text), HA HI);
            char area[8];
            for (Index i = 0; i < 6; ++i) send(SITE("at"), text, Returning{{reinterpret_cast<std::byte *>(area)}}, i);
            finalize(send<Ref>(SITE("reverse"), text));
        }
    }
}

} // namespace
} // namespace oocobol::test
