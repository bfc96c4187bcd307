// PIC X items: comparing, the texts made of them, single characters, and the same over bare bytes.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

class PicX : public testing::Test {};

// Lengths are looked at before the value is.
TEST_F(PicX, RefusesLengthsThatNoItemHas) {
    for (const auto environment : {singleByte, doubleByte}) {
        const InEnvironment in(environment);
        onBothRoads([] {
            says(Temporary(itemOf("abc")), "$picx withlengthvalue 268435456, {abc} -> error 30 -> nil; "
                                           "equalsignorecasebylengthvalue 268435456, {abc} -> error 30 -> 0; "
                                           "equalsignorecasebylengthvalue 2147483647, {abc} -> error 30 -> 0; "
                                           "equalsignorecasebylengthvalue -1, {abc} -> error 23 23 -> 0");
        });
    }
}

TEST_F(PicX, HasTheLengthThatItsClassHasNow) {
    onBothRoads([] {
        const auto ofEight = send<Ref>(SITE("newclass"), CLASS("picx"), Index{8});
        const Temporary item(send<Ref>(SITE("withvalue"), ofEight, Bytes{"abcdefgh"}));
        says(item,
             "$1 setlength 4; size -> 4; sizeinbytes -> 4; getvalue -> [abcd]; equal `abcd` -> 1; "
             "$1 setlength 90; size -> 90; getvalue -> [abcdefgh]; $1 setlength 8; equal `abcdefgh` -> 1",
             {ofEight});
    });
}

TEST_F(PicX, TextsMadeOfItHaveTheirOwnLength) {
    const Temporary text(itemOf("  Ab c  ")), lines(itemOf("a\n\nb\n"));
    const Temporary trimmed(send<Ref>(SITE("trimblanks"), text.ref()));
    says(text,
         "$1 * -> 'Ab c'; `    ` trimblanks -> ' '; asuppercase -> '  AB C  '; asuppercase -> it; it class -> $2; "
         "it finalize; aslowercase -> '  ab c  '; concat `C` -> '  Ab c  C'; aspicx -> '  Ab c  '; "
         "`C` ascharacterarray -> 'C'; `C` description -> '\"C\"'; $picx withlengthvalue 2, {xy} -> 'xy'; "
         "$picx withlength 2 -> '\0\0'; $3 size -> 4"sv,
         {trimmed, picX(8), classOf(trimmed.ref())});
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asseparatelines"), lines.ref())), (Characters{"a", "b"}));
}

TEST_F(PicX, CharactersAreFoundReadAndReplaced) {
    const Temporary text(itemOf("ABAB"));
    says(text, "indexofstring 1, `B` -> 2; indexofstring 2, `B` -> 2; indexofstring 3, `B` -> 4; "
               "indexofstring 1, `ABABA` -> 0; at 4 -> [B]; atput 4, {!}; * -> 'ABA!'; setvalue {wxyz}; * -> 'wxyz'; "
               "indexofstring 0, `B` -> error 3; indexofstring 5, `B` -> error 3; at 0 -> error 3; at 5 -> error 3; "
               "atput -1, '?' -> error 3; * -> 'wxyz'");
    RaisedErrors errors;
    errors.answers = true;
    errors.answer = 0x4242424242424242; // only as much as the answer is wide
    char around[3] = {'<', '?', '>'};
    send(SITE("at"), text.ref(), Returning{{reinterpret_cast<std::byte *>(around + 1)}}, Index{9});
    EXPECT_EQ(std::string_view(around, 3), "<B>");
}

TEST_F(PicX, WorksOverBareBytes) {
    const char bytes[] = " ab  ";
    testing::internal::CaptureStdout();
    sendOver(SITE("display"), picX(5), bytes);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), bytes);
    const Temporary copy(sendOver<Ref>(SITE("aspicx"), picX(5), bytes));
    EXPECT_EQ(valueOf(copy.ref()), bytes);
    EXPECT_TRUE(sendOver<bool>(SITE("equal"), picX(5), bytes, copy.ref()));
    EXPECT_EQ(sendOver<Count>(SITE("hash"), picX(5), bytes), (98U * 47 + 97) * 47 + 32);
    EXPECT_TRUE(sendOver<bool>(SITE("equalbylengthvalue"), picX(5), bytes, Index{3}, Bytes(ExactBytes(" ab"))));
    EXPECT_EQ(sendOver<char>(SITE("at"), picX(5), bytes, Index{3}), 'b');
    RaisedErrors errors;
    sendOver<char>(SITE("at"), picX(5), bytes, Index{6});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{3});
}

// ---- Items of characters of one or two bytes -----------------------------------------------------------------------

class MixedItem : public OfMixedClasses {
protected:
    static Ref item(Index count, std::string_view value) { return madeOf(CLASS("dbcspicx"), count, value); }
    static bool isMixed(Ref object) { return send<Ref>(SITE("baseclass"), classOf(object)) == CLASS("dbcspicx"); }
};
INSTANTIATE_TEST_SUITE_P(Classes, MixedItem, classesOnBothRoads("dbcspicx"), nameOfRoad);

TEST_P(MixedItem, ClassesReserveTwoBytesACharacter) {
    const auto four = send<Ref>(SITE("newclass"), CLASS("dbcspicx"), Index{4});
    says(four,
         "size -> 4; sizeinbytes -> 8; withvalue {" HA HI "  } -> it; it size -> 4; it sizeinbytes -> 6; it finalize; "
         "$dbcspicx size -> 1; $dbcspicx withlengthvalue 0, '' -> it; it sizeinbytes -> 0; it finalize");
    const InEnvironment single(singleByte); // the class is asked again
    says(four, "sizeinbytes -> 4; withvalue {ab" KA "} -> it; it sizeinbytes -> 4; it at 4 -> [A]; it finalize");
}

TEST_P(MixedItem, CharactersAreReadReplacedAndFound) {
    const Temporary text(item(4, "a" KA "b" HA));
    says(text,
         "at 2 -> [" KA "]; at 3 -> [b]; indexofstring picx`b`, 1 -> 3; indexofstring `" HA "`, 2 -> 4; "
         "indexofstring picx`Ab`, 1 -> 0; " // half of a character, and b
         "atput 1, {" HI "}; atput 4, '!'; * -> '" HI KA "b!'; setvalue {12" HA "4}; * -> '12" HA "4'; "
         "containsdbcscharacters -> 1");
    for (const std::string outside : {"0", "5", "-1"})
        says(text, "at " + outside + " -> error 3; atput " + outside + ", 'x' -> error 3; indexofstring picx`b`, " +
                       outside + " -> error 3");
}

TEST_P(MixedItem, ItemsWithTheSameCharactersAreEqual) {
    const Temporary text(item(3, HA "b "));
    for (const std::string same : {"`" HA "b   `", "bytearry`" HA "b `", "dbcsarry`" HA "b`"})
        says(text, "equal " + same + " -> 1; lessthan " + same + " -> 0; greaterthan " + same + " -> 0; compareto " +
                       same + " -> 0");
    says(text,
         "`" HI "a` greaterthan `" HA "b ` -> 1; greaterthan picx`b` -> 1; picx`b` lessthan $1 -> 1; "
         "picx`b` equal $1 -> 0; " // an item of bytes compares bytes
         "hash -> 224132; `" HA "b" SPACE2 " ` hash -> 224132",
         {text});
}

TEST_P(MixedItem, TextsMadeOfItHaveWholeCharacters) {
    const Temporary text(item(6, SPACE2 " a" KA "b ")), two(item(2, "a" HA)), lines(item(5, KA "\n\nb" HA));
    const Temporary trimmed(send<Ref>(SITE("trimblanks"), text.ref()));
    const Temporary joined(send<Ref>(SITE("concat"), two.ref(), two.ref()));
    EXPECT_TRUE(isMixed(trimmed.ref()));
    EXPECT_FALSE(isMixed(joined.ref())); // a HA a HA in four bytes
    says(two,
         "$1 * -> 'a" KA "b'; $1 size -> 3; `" SPACE2 " ` trimblanks -> ' '; asuppercase -> 'A" HA "'; "
         "ascharacterarray -> 'a" HA "'; description -> '\"a" HA "\"'; aspicx -> 'a" HA "'; $2 * -> 'a" HA "a'; "
         "concat picx`xy` -> 'a" HA "x'; picx`xy` concat $3 -> 'xya '",
         {trimmed, joined, two});
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asseparatelines"), lines.ref())), (Characters{KA, "b" HA}));
}

TEST_P(MixedItem, ItemsOfSingleBytesTurnIntoThem) {
    const Temporary put(itemOf("abc")), set(itemOf("abc")), made(madeOf(CLASS("picx"), 2, HA "b"));
    says(put,
         "atput 2, '" HA "'; * -> 'a" HA "c'; $1 setvalue {1" KA HA "}; $1 * -> '1" KA HA "'; $1 setvalue {123}; "
         "$1 * -> '123'; $2 * -> '" HA "b'",
         {set, made});
    EXPECT_TRUE(isMixed(put.ref()) && isMixed(made.ref()));
    char raw[4] = {'a', 'b', 'c', 'd'}; // bare bytes turn into nothing
    RaisedErrors errors;
    sendOver(SITE("setvalue"), picX(4), raw, Bytes{HA HI});
    sendOver(SITE("atput"), picX(4), raw, Index{4}, Bytes{HA});
    EXPECT_EQ(std::string_view(raw, 4), HA HI);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{91});
}

// Elements are as wide as their class reserves; comparisons of theirs read no more.
TEST_P(MixedItem, AreElementsAndKeysOfCollections) {
    const auto three = send<Ref>(SITE("newclass"), CLASS("dbcspicx"), Index{3});
    for (auto *kind : {"valueset", "bag", "srtdclln", "ordrdcll"}) {
        const Temporary all(send<Ref>(SITE("ofvalues"), classForProgram(kind), three, Index{2}));
        says(all, "add {" HA HI KA "}; add {b     }; add {" HA HI "  }; add {" HA HI KA "}; "
                  "includes {" HA HI KA "} -> 1; includes {" HA HI HI "} -> 0");
    }
    const Temporary names(send<Ref>(SITE("ofvaluesauto"), CLASS("dictinry"), three, three, Index{3}));
    says(names, "atput {" HA HI KA "}, {x" HA "   }; at {" HA HI KA "} -> [x" HA "   ]");
    const auto pair = send<Ref>(SITE("newclass"), CLASS("associtn"), picX(2), picX(1));
    EXPECT_FALSE(sendOver<bool>(SITE("greaterthanbylengthvalue"), pair, HA "x", Index{3}, Bytes(ExactBytes(HA "y"))));
}

TEST(MixedItemEnvironment, ASingleByteEnvironmentMakesThemItemsOfBytes) {
    const InEnvironment environment(singleByte);
    says(CLASS("dbcspicx"), "`" HA " b` at 2 -> [\xA0]; `" HA " b` copy -> '" HA " b'");
    EXPECT_EQ(classOf(Temporary(itemOf(HA)).ref()), picX(2));
}

} // namespace
} // namespace oocobol::test
