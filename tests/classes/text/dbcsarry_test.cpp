// Text of characters of one or two bytes: how it is made, the protocol of sequences over its characters, conversion in
// place, and random texts against a list of characters. Errors last.
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
INSTANTIATE_TEST_SUITE_P(Classes, MixedText, onBothRoads("dbcsarry"), nameOfRoad);

// ---- Making, reading and writing ----------------------------------------------------------------------------------

TEST_P(MixedText, FactoriesAnswerTheClassThatTheCharactersAskFor) {
    const Temporary text(make(HA "b"));
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
         "withall $1 -> '" HA "b'; new 3 -> it; it getstoragerequirements -> 6; it * -> '\0\0\0'; it finalize; "
         "new -1 -> error 33; withbytelengthvalue -1, 'x' -> error 33; ofreferences 1 -> error 16; "
         "new 2147483647 -> error 23 -> nil"sv,
         {text.ref()});
}

TEST_P(MixedText, LengthsCountCharacters) {
    const Temporary text(make("a" HA "b"));
    says(text.ref(), "size -> 3; sizeinbytes -> 4; at 2 -> [" HA "]; atandbytelength 3, [b], [\1]; "
                     "containsdbcscharacters -> 1; copy -> 'a" HA "b'");
    says(mixedClass, "stringlengthinchars '" HA "b', 3 -> 2; stringlengthinbytes '" HA "b', 2 -> 3; "
                     "charlengthinbytes '" HA "' -> 2; isdbcsstringlengthvalue 2, 'a" HA "' -> 1; "
                     "isdbcsstringbytelengthvalue 1, 'a" HA "' -> 0; getdbcsspace -> [" SPACE2 "]");
    says(single, "charlengthinbytes 'x' -> 1");
}

TEST_P(MixedText, LongTextsHaveNoLimit) {
    const Index groups = isNative ? 20000 : 3000; // of five bytes, four characters
    std::string value;
    for (Index i = 0; i < groups; ++i) value += KA "xyz";
    const Temporary text(make(value + SPACE2 "  ")), turned(send<Ref>(SITE("reverse"), text.ref()));
    const auto size = 4 * groups + 3, last = 4 * groups - 3;
    EXPECT_EQ(send<Index>(SITE("size"), text.ref()), size);
    EXPECT_EQ(valueOfMade(send<Ref>(SITE("trimblanks"), text.ref())), value);
    EXPECT_EQ(characterAt(text.ref(), last), KA);
    EXPECT_EQ(characterAt(turned.ref(), size - last + 1), KA);
    EXPECT_EQ(send<Index>(SITE("occurrencesof"), text.ref(), area(std::string(KA))), groups);
}

TEST_P(MixedText, CharactersOfOneWidthReplaceThoseOfTheOther) {
    const Temporary text(make("a" HA "b")), longer(make(HA HI KA "x")), shorter(make(HI));
    says(text.ref(),
         "atput 2, 'x'; * -> 'axb'; atput 3, {" KA "}; atput 1, {" HI "}; * -> '" HI "x" KA "'; at 3 -> [" KA "]; "
         "setvalue {1" HA "3}; * -> '1" HA "3'; at 3 -> [3]; movevalue $1; * -> '" HA HI KA "'; "
         "movevalue $2; * -> '" HI "  '; resetvalue $1; * -> '" HA HI KA "x'; at 3 -> [" KA "]; at 4 -> [x]; "
         "growto 6 -> $3; * -> '" HA HI KA "x  '; growto 2 -> $3; * -> '" HA HI "'; at 2 -> [" HI "]; "
         "growto -1 -> error 33; basicgrow -1 -> error 33; growto 2147483647 -> error 32; * -> '" HA HI "'; "
         "grow; size -> 24; trimblanks -> '" HA HI "'",
         {longer.ref(), shorter.ref(), text.ref()});
}

TEST_P(MixedText, ValuesAreCutBetweenCharacters) {
    const Temporary text(make("a" HA "b")), two(make("a" HA)), item(send<Ref>(SITE("aspicx"), text.ref()));
    says(text.ref(),
         "getvaluewithsize 2 -> [a ]; getvaluewithsize 5 -> [a" HA "b ]; "
         "getvaluewithsizeatposition 2, 2 -> [" HA "]; getvaluewithsizeatposition 3, 3 -> [ b ]; "
         "$1 * -> 'a" HA "'; $2 aspicx -> 'a '",
         {item.ref(), two.ref()});
    EXPECT_EQ(send<Ref>(SITE("baseclass"), classOf(item.ref())), CLASS("picx"));
    for (auto *site : {&SITE("getvaluez"), &SITE("asparameter")}) { // both end with a null byte
        std::string area(6, '#');
        send(*site, text.ref(), Returning{{reinterpret_cast<std::byte *>(area.data())}});
        EXPECT_EQ(area, "a" HA "b\0#"s);
    }
}

// ---- Comparing, and other texts made of it --------------------------------------------------------------------------

TEST_P(MixedText, ComparesAndHashes) {
    const Temporary text(make("a" HA)), padded(make("a" HA "  ")), wide(make("a" HA SPACE2)), above(make("a" HI));
    const auto hash = send<Count>(SITE("hash"), text.ref());
    says(text.ref(),
         "equal $1 -> 1; equal $2 -> 0; equal 0 -> 0; compareto $2 -> -1; lessthan $2 -> 1; "
         "greaterthanorequal $1 -> 1; equalbylengthvalue 2, {a" HA "} -> 1; "
         "lessthanbylengthvalue 2, {a" HI "} -> 1; greaterthanbylengthvalue 1, {a} -> 1",
         {padded.ref(), above.ref()});
    const Temporary plain(test::text("AB ")), mixed(make("AB")), lower(make("a" KA)), upper(make("A" KA));
    const Temporary other(make("a\x83\x61")); // another katakana
    for (const auto same : {padded.ref(), wide.ref()}) EXPECT_EQ(send<Count>(SITE("hash"), same), hash);
    EXPECT_EQ(send<Count>(SITE("hash"), plain.ref()), send<Count>(SITE("hash"), mixed.ref()));
    says(lower.ref(),
         "equalsignorecase $1 -> 1; equalsignorecase $2 -> 0; "
         "equalsignorecasebylengthvalue 2, {A" KA "} -> 1; $3 equal $4 -> 1",
         {upper.ref(), other.ref(), plain.ref(), mixed.ref()});
}

TEST_P(MixedText, NewTextsHaveWholeCharacters) {
    const Temporary text(make(SPACE2 " a" KA "\n" SPACE2 "b ")), other(make(HI "!")), plain(test::text("xy"));
    const Temporary upper(send<Ref>(SITE("asuppercase"), other.ref())), digits(make("12"));
    const Temporary trimmed(make("ab" SPACE2)), shortened(send<Ref>(SITE("trimblanks"), trimmed.ref()));
    testing::internal::CaptureStdout();
    says(other.ref(),
         "$1 trimblanks -> 'a" KA "\n" SPACE2 "b'; $1 asuppercase -> '" SPACE2 " A" KA "\n" SPACE2 "B '; "
         "aslowercase -> '" HI "!'; $2 concat $3 -> 'xy" HI "!'; concat $2 -> '" HI "!xy'; "
         "concatz '" KA "' -> '" HI "!" KA "'; description -> '\"" HI "!\"'; asinternalfilename -> '" HI "!'; display; "
         "$4 class -> $5; $6 class -> $7; $8 ashex -> 18; $8 ascomp5object -> '\f\0\0\0'"sv,
         {text.ref(), plain.ref(), other.ref(), upper.ref(), mixedClass, shortened.ref(), single, digits.ref()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), HI "!");
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asseparatelines"), text.ref())), (Characters{SPACE2 " a" KA, SPACE2 "b "}));
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asarrayofsubstrings"), text.ref())), (Characters{"a" KA "\n", "b"}));
}

// ---- The protocol of sequences --------------------------------------------------------------------------------------

TEST_P(MixedText, BlocksGetOneCharacterAfterAnother) {
    const Temporary text(make("a" HA KA "b")), other(make("1" HI "23"));
    std::string seen;
    const auto noting = [&](bool isFirstPosition, bool isSecondCharacter, bool stops) {
        return block([&seen, &text, isFirstPosition, isSecondCharacter, stops](void **arguments) {
            const auto *first = static_cast<const char *>(arguments[0]);
            seen += isFirstPosition ? std::to_string(*first) : first;
            seen += isSecondCharacter ? static_cast<const char *>(arguments[1]) : ".";
            if (stops) send(SITE("quititeration"), text.ref());
            return 0;
        });
    };
    const Temporary each(noting(false, false, false)), pairs(noting(true, true, false)),
        both(noting(false, true, false));
    const Temporary once(noting(false, false, true));
    says(text.ref(), "do $1; dowithoutcopy $1; reversedo $1; do $2; keysanddatado $3; withdo $4, $5",
         {each.ref(), once.ref(), pairs.ref(), other.ref(), both.ref()});
    EXPECT_EQ(seen, "a." HA "." KA ".b.a." HA "." KA ".b.b." KA "." HA ".a.a.1a2" HA "3" KA "4ba1" HA HI KA "2b3");

    const Temporary isWide(
        block([](void **arguments) { return characters::lengthAt(static_cast<const char *>(arguments[0])) == 2; }));
    const Temporary widen(block([](void **arguments) { // the answer's bytes are the character
        return *static_cast<const char *>(arguments[0]) == 'a' ? std::int64_t{0xA282} : 'z';
    }));
    says(text.ref(),
         "select $1 -> '" HA KA "'; reject $1 -> 'ab'; findfirst $1 -> 2; findlast $1 -> 3; detect $1 -> [" HA "]; "
         "collect $2 -> '" HI "zzz'",
         {isWide.ref(), widen.ref()});
}

TEST_P(MixedText, CollectionsOfCharactersCompareThem) {
    const Temporary text(make("b" KA "a" KA "b"));
    says(text.ref(), "asvalueset -> it; it size -> 3; it finalize; asidentityset -> it; it size -> 3; it finalize; "
                     "asbag -> it; it size -> 5; it finalize; asorderedcollection -> it; it size -> 5; it finalize");
    for (auto *site : {&SITE("assortedcollection"), &SITE("asdefaultsortedcollection")}) {
        const Temporary sorted(send<Ref>(*site, text.ref()));
        EXPECT_EQ(charactersOf(sorted.ref()), (Characters{"a", "b", "b", KA, KA}));
    }
}

// ---- Conversion in place --------------------------------------------------------------------------------------------

TEST_P(MixedText, SingleByteTextTurnsIntoMixedTextWhereverItIs) {
    const Temporary kept(text("abc")), key(text("abk")), second(text("abc")), third(text("abc")), fourth(text("abcd"));
    const Temporary given(make(HI "q")), list(send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{1}));
    const Temporary names(send<Ref>(SITE("ofvalues"), CLASS("dictinry"), CLASS("associtn"), Index{3}));
    says(kept.ref(),
         "$1 add $2; $3 atput $4, $2; $4 atput 3, '" KA "'; $4 * -> 'ab" KA "'; "
         "atput 2, '" HA "'; class -> $5; $1 at 1 -> $2; * -> 'a" HA "c'; setvalue {" KA "xy}; * -> '" KA "xy'",
         {list.ref(), kept.ref(), names.ref(), key.ref(), mixedClass});
    says(second.ref(), "setvalue {1" HA "3}; * -> '1" HA "3'; at 3 -> [3]");
    says(third.ref(), "movevalue $1; * -> '" HI "q '; at 2 -> [q]", {given.ref()});
    // The receiver of the running method: the text that is being put together changes its class half way.
    says(fourth.ref(), "replacesubcollection 2, 3, $1, 1; class -> $2; * -> 'a" HI "qd'", {given.ref(), mixedClass});
}

TEST_P(MixedText, AKeyThatHasTurnedIsFoundByItsCharacters) {
    const Temporary names(send<Ref>(SITE("ofvalues"), CLASS("dictinry"), CLASS("associtn"), Index{5}));
    const Temporary key(text("ab")), datum(text("datum")), asked(make(HA "b" SPACE2)), same(make(HA "b  "));
    says(names.ref(), "$1 atput 1, {" HA "}; atput $1, $2; at $3 -> $2", {key.ref(), datum.ref(), same.ref()});
    EXPECT_EQ(send<Count>(SITE("hash"), asked.ref()), send<Count>(SITE("hash"), key.ref()));
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
    void change(const std::string &given, const ExactBytes &element) {
        const auto own = text.ref();
        const auto size = model.size(), from = upTo(size), count = upTo(size - from), source = upTo(size - count);
        const auto at = model.begin() + static_cast<std::ptrdiff_t>(from);
        switch (random() % 5) {
        case 0:
            model = list(12);
            return send(SITE("becomes"), own, Temporary(make(join(model))).ref());
        case 1:
            if (from == size) return;
            *at = given;
            return send(SITE("atput"), own, index(from + 1), Element(element));
        case 2:
            std::replace(model.begin(), model.end(), given, std::string("z"));
            return send(SITE("replaceall"), own, Element(element), area(std::string("z")), Index{1}, index(size));
        case 3:
            model.resize(upTo(14), " ");
            send<Ref>(SITE("growto"), own, index(model.size()));
            return;
        default:
            if (count == 0) return;
            const auto old = model;
            std::copy_n(old.begin() + static_cast<std::ptrdiff_t>(source), count, at);
            send(SITE("replacesubcollection"), own, index(from + 1), index(from + count), own, index(source + 1));
        }
    }

    std::mt19937 random{3};
    Characters model = list(12);
    const Temporary text{make(join(model))};
};
INSTANTIATE_TEST_SUITE_P(Classes, RandomMixedText, onBothRoads("dbcsarry"), nameOfRoad);

TEST_P(RandomMixedText, AgreesWithAListOfCharacters) {
    const auto own = text.ref();
    for (int step = 0; step < 1200; ++step) {
        const auto given = character();
        const ExactBytes element(given);
        change(given, element);
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
    const Temporary text(make("a" HA)), empty(make("")), never(block([](void **) { return 0; }));
    for (const auto *outside : {"0", "3", "-1", "2147483647", "-2147483648"})
        says(text.ref(), "at "s + outside + " -> error 3; atput " + outside + ", 'x' -> error 3");
    says(text.ref(),
         "$1 at 1 -> error 3; add 'x' -> error 1; remove 'x' -> error 5; indexofsubcollection $1, 1 -> error 11; "
         "concat $2 -> error 10; detect $3 -> error 12; withdo $1, $3 -> error 6; * -> 'a" HA "'",
         {empty.ref(), comp5(), never.ref()});
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
    for (const std::size_t length : {1U, 2U, 63U, 64U, 65U, 128U}) { // lead bytes only
        const Temporary leads(madeOf(CLASS("bytearry"), static_cast<Index>(length), std::string(length, '\x81')));
        const Temporary joined(send<Ref>(SITE("concat"), plain.ref(), leads.ref()));
        EXPECT_EQ(send<Count>(SITE("size"), joined.ref()), 2 + (length + 1) / 2);
        says(joined.ref(), "indexofsubcollection $1, 1; occurrencesof {\x81\x81}", {joined.ref()});
    }
}

// ---- A single-byte environment, and one that changes ----------------------------------------------------------------

TEST(MixedTextEnvironment, ASingleByteEnvironmentHasNoDoubleByteCharacters) {
    const LeakCheck leaks;
    const InEnvironment environment(singleByte);
    const Temporary text(send<Ref>(SITE("withvalue"), CLASS("dbcsarry"), Bytes{HA "\x82"}));
    const Temporary mixed(madeOf(CLASS("dbcsarry"), 3, HA "\x82"));
    says(text.ref(), "class -> $1; $2 sizeinbytes -> 3; atput 1, '\x83'; class -> $1",
         {CLASS("chararry"), mixed.ref()});
}

TEST(MixedTextEnvironment, TextsOutliveAChangeOfTheEnvironment) {
    const LeakCheck leaks;
    const auto madeIn = [](std::uint8_t status, Index count) {
        const InEnvironment environment(status);
        return madeOf(CLASS("dbcsarry"), count, HA HI);
    };
    const Temporary made(madeIn(doubleByte, 2)), other(madeIn(singleByte, 4));
    const RaisedErrors errors;
    for (const auto status : {singleByte, doubleByte}) {
        const InEnvironment environment(status);
        for (const auto text : {made.ref(), other.ref()}) {
            EXPECT_EQ(valueOf(text), HA HI);
            for (Index i = 0; i < 6; ++i) characterAt(text, i);
            finalize(send<Ref>(SITE("reverse"), text));
        }
    }
}

} // namespace
} // namespace oocobol::test
