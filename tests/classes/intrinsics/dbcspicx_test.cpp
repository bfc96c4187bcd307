// Items of characters of one or two bytes: lengths, characters, comparisons, the texts made of them, and how items of
// single bytes turn into them.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

class MixedItem : public OfMixedClasses {
protected:
    static Ref item(Index count, std::string_view value) { return madeOf(CLASS("dbcspicx"), count, value); }
    static bool isMixed(Ref object) { return send<Ref>(SITE("baseclass"), classOf(object)) == CLASS("dbcspicx"); }
};
INSTANTIATE_TEST_SUITE_P(Classes, MixedItem, onBothRoads("dbcspicx"), nameOfRoad);

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
         "lessthan `" HI "a` -> 1; `" HI "a` greaterthan `" HA "b ` -> 1; equalbylengthvalue 2, {" HA "b} -> 1; "
         "picx`b` lessthan $1 -> 1; picx`b` equal $1 -> 0; " // an item of bytes compares bytes
         "greaterthan picx`b` -> 1; `" KA "aB` equalsignorecase `" KA "Ab` -> 1; "
         "`" KA "aB` equalsignorecase `\x83\x61"
         "ab` -> 0; " // another katakana
         "`" KA "aB` equalsignorecasebylengthvalue 3, {" KA "ab} -> 1; "
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
    const LeakCheck leaks;
    const InEnvironment environment(singleByte);
    says(CLASS("dbcspicx"), "`" HA " b` at 2 -> [\xA0]; `" HA " b` copy -> '" HA " b'");
    EXPECT_EQ(classOf(Temporary(itemOf(HA)).ref()), picX(2));
}

} // namespace
} // namespace oocobol::test
