// Text of characters of one or two bytes: how it is made, the protocol of sequences over its characters, conversion in
// place, and random texts against a list of characters. What it does as any text does is in chararry_test.cpp.
#include <algorithm>
#include <random>

#include "classes/text/mixed_text.h"
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

class MixedText : public OfMixedClasses {
protected:
    const Ref mixedClass = ofClass, single = CLASS("chararry");
    Ref make(std::string_view value) const {
        return madeOf(mixedClass, static_cast<Index>(characters::count(value)), value);
    }
    static Characters charactersOf(Ref text) {
        Characters found;
        const auto size = send<Index>(SITE("size"), text);
        for (Index i = 1; i <= size; ++i) found.push_back(characterAt(text, i));
        return found;
    }
};
INSTANTIATE_TEST_SUITE_P(Classes, MixedText, classesOnBothRoads("dbcsarry"), nameOfRoad);

// ---- Making, reading and writing ----------------------------------------------------------------------------------

TEST_P(MixedText, FactoriesAnswerTheClassThatTheCharactersAskFor) {
    for (const auto factory : {single, mixedClass})
        says(factory,
             "withvalue 'a" HA "' -> it; it class -> $dbcsarry; it size -> 2; it at 2 -> [" HA "]; it finalize; "
             "withvalue 'ab' -> it; it class -> $chararry; it finalize; "
             "withspaceterminator '" HA "b" SPACE2 "c ' -> '" HA "b'; "
             "withspaceterminator '" HA "b c' -> '" HA "b'; withspaceornullterminator '" KA SPACE2 "' -> '" KA "'; "
             "withspaceornullterminator '" KA "b' -> '" KA "b'; withbytelengthvalue 4, {" HA HI "} -> '" HA HI "'; "
             "frombuffer 7, { " HA SPACE2 "\0 } -> ' " HA "'; withbytelengthvalue 3, {" HA "\x82} -> error 91; "
             "frombuffer 3, {" HA "\x82} -> error 91; withbytelengthvalue 1, {\x82} -> error 91"sv);
    says(mixedClass,
         "withall `" HA "b` -> '" HA "b'; new 3 -> it; it getstoragerequirements -> 6; it * -> '\0\0\0'; it finalize; "
         "withbytelengthvalue -1, 'x' -> error 33; new 2147483647 -> error 23 -> nil; `a" HA "b` sizeinbytes -> 4; "
         "`a" HA "b` atandbytelength 3, [b], [\1]; `a" HA "b` copy -> 'a" HA "b'; "
         "`a" HA "b` containsdbcscharacters -> 1; stringlengthinchars '" HA "b', 3 -> 2; "
         "stringlengthinbytes '" HA "b', 2 -> 3; charlengthinbytes '" HA
         "' -> 2; $chararry charlengthinbytes 'x' -> 1; "
         "isdbcsstringlengthvalue 2, 'a" HA "' -> 1; isdbcsstringbytelengthvalue 1, 'a" HA "' -> 0; "
         "getdbcsspace -> [" SPACE2 "]"sv);
}

TEST_P(MixedText, CharactersOfOneWidthReplaceThoseOfTheOther) {
    const Temporary text(make("a" HA "b"));
    says(text,
         "atput 2, 'x'; * -> 'axb'; atput 3, {" KA "}; atput 1, {" HI "}; * -> '" HI "x" KA "'; at 3 -> [" KA "]; "
         "setvalue {1" HA "3}; * -> '1" HA "3'; at 3 -> [3]; movevalue `" HA HI KA "x`; * -> '" HA HI KA "'; "
         "movevalue `" HI "`; * -> '" HI "  '; resetvalue `" HA HI KA "x`; * -> '" HA HI KA "x'; at 3 -> [" KA "]; "
         "at 4 -> [x]; growto 6 -> $1; * -> '" HA HI KA "x  '; growto 2 -> $1; * -> '" HA HI "'; at 2 -> [" HI "]; "
         "basicgrow -1 -> error 33; growto 2147483647 -> error 32; * -> '" HA HI "'; grow; size -> 24; "
         "trimblanks -> '" HA HI "'",
         {text});
}

// ---- Comparing, and other texts made of it --------------------------------------------------------------------------

class MixedTextOrItem : public MixedText {};
INSTANTIATE_TEST_SUITE_P(Classes, MixedTextOrItem, classesOnBothRoads("dbcsarry", "dbcspicx"), nameOfRoad);

TEST_P(MixedTextOrItem, ComparesAndHashesCharacters) {
    says(Temporary(make("a" HA)),
         "equal `a" HA "  ` -> 1; equal `a" HI "` -> 0; compareto `a" HI "` -> -1; lessthan `a" HI "` -> 1; "
         "greaterthanorequal `a" HA "  ` -> 1; equalbylengthvalue 2, {a" HA "} -> 1; "
         "lessthanbylengthvalue 2, {a" HI "} -> 1; hash -> 359647; `a" HA "  ` hash -> 359647; "
         "`a" HA SPACE2 "` hash -> 359647; `" KA "` equalsignorecase `\x83\x61` -> 0; " // another katakana
         "`a" KA "` equalsignorecase `A" KA "` -> 1; `a" KA "` equalsignorecasebylengthvalue 2, {A" KA "} -> 1");
}

TEST_P(MixedText, ValuesAreCutBetweenCharacters) {
    const Temporary text(make("a" HA "b")), item(send<Ref>(SITE("aspicx"), text.ref()));
    says(text,
         "getvaluewithsize 2 -> [a ]; getvaluewithsizeatposition 2, 2 -> [" HA "]; "
         "getvaluewithsizeatposition 3, 3 -> [ b ]; $1 * -> 'a" HA "'; $2 baseclass -> $picx; `a" HA
         "` aspicx -> 'a '; "
         "chararry`AB ` equal dbcsarry`AB` -> 1; chararry`AB ` hash -> 3167; `AB` hash -> 3167",
         {item, classOf(item.ref())});
}

TEST_P(MixedText, NewTextsHaveWholeCharacters) {
    const Temporary text(make(SPACE2 " a" KA "\n" SPACE2 "b ")), other(make(HI "!"));
    testing::internal::CaptureStdout();
    says(other,
         "$1 trimblanks -> 'a" KA "\n" SPACE2 "b'; $1 asuppercase -> '" SPACE2 " A" KA "\n" SPACE2 "B '; "
         "chararry`xy` concat $2 -> 'xy" HI "!'; concat chararry`xy` -> '" HI "!xy'; "
         "concatz '" KA "' -> '" HI "!" KA "'; description -> '\"" HI "!\"'; asinternalfilename -> '" HI "!'; display; "
         "`ab" SPACE2 "` trimblanks -> it; it class -> $chararry; it finalize"sv,
         {text, other});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), HI "!");
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asseparatelines"), text.ref())), (Characters{SPACE2 " a" KA, SPACE2 "b "}));
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asarrayofsubstrings"), text.ref())), (Characters{"a" KA "\n", "b"}));
}

// ---- The protocol of sequences --------------------------------------------------------------------------------------

TEST_P(MixedText, BlocksGetOneCharacterAfterAnother) {
    const Temporary text(make("a" HA KA "b")), other(make("1" HI "23"));
    std::string seen;
    const auto noting = [&seen](const char *kinds) {
        return block([&seen, kinds](void **arguments) {
            for (auto i = 0; kinds[i] != '\0'; ++i) {
                const auto *given = static_cast<const char *>(arguments[i]);
                seen += kinds[i] == 'n' ? std::to_string(*given) : given;
            }
            seen += ".";
            return 0;
        });
    };
    const Temporary each(noting("c")), keyed(noting("nc")), both(noting("cc")), once(block([&](void **) {
        send(SITE("quititeration"), text.ref());
        seen += "!";
        return 0;
    }));
    says(text, "do $1; dowithoutcopy $1; reversedo $1; do $2; keysanddatado $3; withdo $4, $5",
         {each, once, keyed, other, both});
    EXPECT_EQ(seen,
              "a." HA "." KA ".b.a." HA "." KA ".b.b." KA "." HA ".a.!1a.2" HA ".3" KA ".4b.a1." HA HI "." KA "2.b3.");

    const Temporary isWide(
        block([](void **arguments) { return characters::lengthAt(static_cast<const char *>(arguments[0])) == 2; }));
    const Temporary widen(block([](void **arguments) { // the answer's bytes are the character
        return *static_cast<const char *>(arguments[0]) == 'a' ? std::int64_t{0xA282} : 'z';
    }));
    says(text,
         "select $1 -> '" HA KA "'; reject $1 -> 'ab'; findfirst $1 -> 2; findlast $1 -> 3; detect $1 -> [" HA "]; "
         "collect $2 -> '" HI "zzz'",
         {isWide, widen});
}

TEST_P(MixedText, CollectionsOfCharactersCompareThem) {
    const Temporary text(make("b" KA "a" KA "b"));
    says(text, "asvalueset -> it; it size -> 3; it finalize; asidentityset -> it; it size -> 3; it finalize; "
               "asbag -> it; it size -> 5; it finalize; asorderedcollection -> it; it size -> 5; it finalize");
    for (auto *site : {&SITE("assortedcollection"), &SITE("asdefaultsortedcollection")}) {
        const Temporary sorted(send<Ref>(*site, text.ref()));
        EXPECT_EQ(charactersOf(sorted.ref()), (Characters{"a", "b", "b", KA, KA}));
    }
}

// ---- Conversion in place --------------------------------------------------------------------------------------------

TEST_P(MixedText, SingleByteTextTurnsIntoMixedTextWhereverItIs) {
    const Temporary kept(text("abc")), key(text("abk")), second(text("abc")), third(text("abc")), fourth(text("abcd"));
    const Temporary list(send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{1}));
    const Temporary names(send<Ref>(SITE("ofvalues"), CLASS("dictinry"), CLASS("associtn"), Index{3}));
    says(kept,
         "$1 add $2; $3 atput $4, $2; $4 atput 3, '" KA "'; $4 * -> 'ab" KA "'; "
         "$3 atput $4, $2; $3 at dbcsarry`ab" KA "  ` -> $2; dbcsarry`" HA "b" SPACE2 "` hash -> 224132; "
         "atput 2, '" HA "'; class -> $dbcsarry; $1 at 1 -> $2; * -> 'a" HA "c'; setvalue {" KA "xy}; * -> '" KA "xy'; "
         "$5 setvalue {1" HA "3}; $5 * -> '1" HA "3'; $5 at 3 -> [3]; "
         "$6 movevalue dbcsarry`" HI "q`; $6 * -> '" HI "q '; $6 at 2 -> [q]; "
         // The receiver of the running method: the text that is being put together changes its class half way.
         "$7 replacesubcollection 2, 3, dbcsarry`" HI "q`, 1; $7 class -> $dbcsarry; $7 * -> 'a" HI "qd'",
         {list, kept, names, key, second, third, fourth});
}

// ---- Random texts against a list of characters ---------------------------------------------------------------------

class RandomMixedText : public MixedText {
protected:
    std::size_t upTo(std::size_t limit) { return random() % (limit + 1); }
    std::string character() {
        static const Characters kinds{"a", "B", " ", HA, KA, SPACE2, "\xE0\x81", "\x81\x81", "\xB1", "\n"};
        return kinds[random() % kinds.size()];
    }
    Characters list(std::size_t limit) {
        Characters parts(upTo(limit));
        for (auto &part : parts) part = character();
        return parts;
    }
    // The characters from a 0-based position to another, joined.
    std::string part(std::size_t from, std::size_t to) const {
        return join(
            {model.begin() + static_cast<std::ptrdiff_t>(from), model.begin() + static_cast<std::ptrdiff_t>(to)});
    }
    static Index index(std::size_t position) { return static_cast<Index>(position); }
    // One of five changes of the text, and of the model.
    void change(const std::string &given) {
        const auto size = model.size(), from = upTo(size), count = upTo(size - from), source = upTo(size - count);
        const auto at = model.begin() + static_cast<std::ptrdiff_t>(from);
        const ExactBytes element(given);
        const auto which = random() % 5;
        if (which == 0) {
            model = list(12);
            send(SITE("becomes"), own, Temporary(make(join(model))).ref());
        } else if (which == 1 && from < size) {
            *at = given;
            send(SITE("atput"), own, index(from + 1), Element(element));
        } else if (which == 2) {
            std::replace(model.begin(), model.end(), given, std::string("z"));
            send(SITE("replaceall"), own, Element(element), area(std::string("z")), Index{1}, index(size));
        } else if (which == 3) {
            model.resize(upTo(14), " ");
            send<Ref>(SITE("growto"), own, index(model.size()));
        } else if (which == 4 && count > 0) {
            const auto old = model;
            std::copy_n(old.begin() + static_cast<std::ptrdiff_t>(source), count, at);
            send(SITE("replacesubcollection"), own, index(from + 1), index(from + count), own, index(source + 1));
        }
    }

    std::mt19937 random{3};
    Characters model = list(12);
    const Temporary text{make(join(model))};
    const Ref own = text.ref();
};
INSTANTIATE_TEST_SUITE_P(Classes, RandomMixedText, classesOnBothRoads("dbcsarry"), nameOfRoad);

TEST_P(RandomMixedText, AgreesWithAListOfCharacters) {
    for (int step = 0; step < 1200; ++step) {
        const auto given = character();
        const ExactBytes element(given);
        change(given);
        const auto size = model.size(), from = upTo(size), to = from + upTo(size - from);
        const auto all = join(model), next = character(), others = join(list(4));
        ASSERT_EQ(valueOf(own), all) << step;
        ASSERT_EQ(charactersOf(own), model) << step;

        const Temporary wanted(make(given + next)), inserted(make(others));
        Characters without = model, turned(model.rbegin(), model.rend());
        std::erase(without, given);
        std::string replaced;
        for (std::size_t i = 0; i < size; ++i) {
            const auto hit = i + 1 < size && model[i] == given && model[i + 1] == next;
            replaced += hit ? others : model[i];
            i += hit ? 1 : 0;
        }
        const std::pair<Ref, std::string> answers[] = {
            {send<Ref>(SITE("reverse"), own), join(turned)},
            {send<Ref>(SITE("copyfromto"), own, index(from + 1), index(to)), part(from, to)},
            {send<Ref>(SITE("copywithout"), own, Element(element)), join(without)},
            {send<Ref>(SITE("copywith"), own, Element(element)), all + given},
            {send<Ref>(SITE("concat"), own, inserted.ref()), all + others},
            {send<Ref>(SITE("copyreplaceall"), own, wanted.ref(), inserted.ref()), replaced},
            {send<Ref>(SITE("copyreplace"), own, index(from + 1), index(to), inserted.ref()),
             part(0, from) + others + part(to, size)},
            {send<Ref>(SITE("insertallafter"), own, index(from), inserted.ref()),
             part(0, from) + others + part(from, size)}};
        for (const auto &[answer, expected] : answers) ASSERT_EQ(valueOfMade(answer), expected) << step;
        auto first = from, last = size;
        while (first < size && model[first] != given) ++first;
        while (last > 0 && model[last - 1] != given) --last;
        ASSERT_EQ(send<Count>(SITE("occurrencesof"), own, Element(element)), size - without.size());
        ASSERT_EQ(send<bool>(SITE("includes"), own, Element(element)), last != 0);
        ASSERT_EQ(send<Index>(SITE("lastindexof"), own, Element(element), Index{1}, index(size)), index(last));
        if (from == size) continue;
        ASSERT_EQ(send<Index>(SITE("firstindexof"), own, Element(element), index(from + 1), index(size)),
                  first == size ? 0 : index(first + 1));
    }
}

// ---- Errors -------------------------------------------------------------------------------------------------------

TEST_P(MixedText, RefusesPositionsAndArgumentsOfTheWrongKind) {
    const Temporary text(make("a" HA)), never(block([](void **) { return 0; }));
    for (const auto *outside : {"0", "3", "-1", "2147483647", "-2147483648"})
        says(text, "at "s + outside + " -> error 3; atput " + outside + ", 'x' -> error 3");
    says(text,
         "`` at 1 -> error 3; add 'x' -> error 1; remove 'x' -> error 5; concat $comp5 -> error 10; detect $1 -> error "
         "12; withdo ``, $1 -> error 6; * -> 'a" HA "'",
         {never});
}

// Half a character at the end of bytes that are no text of this kind is a character of one byte.
TEST_P(MixedText, HalvesAtTheEndAreKeptAndNothingBehindThemIsRead) {
    const Temporary raw(madeOf(CLASS("bytearry"), 3, "ab\x82")), plain(text("xy")), mixed(make(HA));
    for (const auto object : {plain.ref(), mixed.ref()}) {
        const auto value = valueOf(object);
        const Temporary joined(send<Ref>(SITE("concat"), object, raw.ref()));
        const auto size = send<Index>(SITE("size"), joined.ref());
        EXPECT_EQ(valueOf(joined.ref()), value + "ab\x82");
        EXPECT_EQ(characterAt(joined.ref(), size), "\x82");
        for (auto *site : {&SITE("reverse"), &SITE("aspicx"), &SITE("trimblanks")})
            finalize(send<Ref>(*site, joined.ref()));
        finalize(send<Ref>(SITE("copyfromto"), joined.ref(), size, size));
        EXPECT_EQ(valueOfMade(send<Ref>(SITE("description"), joined.ref())), '"' + value + "ab \"");
        send<Ref>(SITE("growto"), joined.ref(), size + 1);
        EXPECT_EQ(valueOf(joined.ref()), value + "ab  ");
    }
}

// ---- A single-byte environment, and one that changes ----------------------------------------------------------------

TEST(MixedTextEnvironment, ASingleByteEnvironmentHasNoDoubleByteCharacters) {
    const InEnvironment environment(singleByte);
    says(CLASS("dbcsarry"), "withvalue '" HA "\x82' -> it; it class -> $chararry; it atput 1, '\x83'; "
                            "it class -> $chararry; it finalize; `" HA "\x82` sizeinbytes -> 3");
}

} // namespace
} // namespace oocobol::test
