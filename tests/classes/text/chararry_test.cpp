// Texts of both classes: what their methods answer, how they fail, and that redefined messages are still sent.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

class Text : public OfClasses {
protected:
    Ref make(std::string_view value) const { return madeOf(ofClass, static_cast<Index>(value.size()), value); }
    const Temporary abc{make("abc")}, item{send<Ref>(SITE("withvalue"), picX(5), Bytes{"abc  "})};
    const Temporary number{send<Ref>(SITE("withvalue"), comp5(), Bytes{"abc "})};
};
INSTANTIATE_TEST_SUITE_P(Classes, Text, onBothRoads("chararry", "bytearry"), nameOfRoad);

TEST_P(Text, FactoriesTakeWhatTheirTerminatorSays) {
    says(ofClass,
         "withvalue 'ab cd' -> 'ab cd'; withvalue '' -> ''; withspaceterminator 'ab\tcd ef' -> 'ab\tcd'; "
         "withspaceterminator ' x' -> ''; withspaceornullterminator 'ab' -> 'ab'; "
         "withspaceornullterminator 'ab cd' -> 'ab'; withbytelengthvalue 3, {abc} -> 'abc'; "
         "frombuffer 5, {ab \0 } -> 'ab'; frombuffer 3, {   } -> ''; ofvalues 0, 2 -> '\0\0'; withall $1 -> 'abc'; "
         "new -1 -> error 33 -> nil; withlengthvalue -5, 'abc' -> error 33 -> nil; withvalue - -> error 33 -> nil; "
         "ofreferences 1 -> error 16 -> nil"sv,
         {abc.ref()});
}

TEST_P(Text, ComparesPaddedWithTextsAndItems) {
    const Temporary padded(make("abc  ")), above(make("abd")), below(make("abc\x1F")), upper(make("ABC "));
    says(abc.ref(),
         "hash -> 223394; $1 hash -> 223394; equal $1 -> 1; equal $5 -> 1; equal 0 -> 0; "
         "equal $6 -> 0; " // a number contains no characters
         "compareto $1 -> 0; compareto $2 -> -1; $2 compareto $4 -> 1; greaterthan $3 -> 1; $3 lessthan $4 -> 1; "
         "lessthanorequal $1 -> 1; greaterthanorequal $1 -> 1; equalbylengthvalue 4, {abc } -> 1; "
         "lessthanbylengthvalue 3, {abd} -> 1; greaterthanbylengthvalue -1, {zzz} -> 1; "
         "equal $7 -> 0; equalsignorecase $7 -> 1; equalsignorecasebylengthvalue 3, {aBc} -> 1; "
         "equalsignorecasebylengthvalue 3, {aBd} -> 0",
         {padded.ref(), above.ref(), below.ref(), abc.ref(), item.ref(), number.ref(), upper.ref()});
}

TEST_P(Text, ValuesAreCopiedToTheSizeAskedFor) {
    says(abc.ref(),
         "at 3 -> [c]; getvaluewithsize 2 -> [ab]; getvaluewithsize 5 -> [abc  ]; getvaluewithsize -1 -> []; "
         "getvaluewithsizeatposition 2, 2 -> [bc]; getvaluewithsizeatposition 2, 4 -> [bc  ]; "
         "getvaluewithsizeatposition 4, 2 -> [  ]; getvaluewithsizeatposition 5, 2 -> error 3 -> [  ]; "
         "getvaluewithsizeatposition 0, 6 -> error 3 -> [      ]");
    for (auto *site : {&SITE("getvaluez"), &SITE("asparameter")}) { // both end with a null byte
        std::string area(6, '#');
        send(*site, abc.ref(), Returning{{reinterpret_cast<std::byte *>(area.data())}});
        EXPECT_EQ(area, "abc\0##"s);
    }
}

TEST_P(Text, ValuesAreSetMovedReplacedAndGrown) {
    const Temporary longer(make("vwxyz")), shorter(make("q"));
    says(abc.ref(),
         "setvalue {xyz}; * -> 'xyz'; movevalue $1; * -> 'vwx'; movevalue $2; * -> 'q  '; movevalue $3; * -> 'q  '; "
         "atput 3, {!}; * -> 'q !'; atput 0, 'x' -> error 3; atput 4, 'x' -> error 3; * -> 'q !'; "
         "resetvalue $1; * -> 'vwxyz'; $1 * -> 'vwxyz'; growto 7 -> $3; * -> 'vwxyz  '; growto 1 -> $3; * -> 'v'; "
         "growto 0 -> $3; * -> ''; growto -1 -> error 33; size -> 0",
         {longer.ref(), shorter.ref(), abc.ref()});
}

TEST_P(Text, NewTextsAreOfItsOwnClass) {
    const Temporary text(make("  A b ")), other(make("cd")), empty(make("")), blank(make("   "));
    const Temporary joined(send<Ref>(SITE("concat"), text.ref(), other.ref()));
    says(text.ref(),
         "concat $1 -> '  A b cd'; concat $2 -> '  A b   A b '; concatz 'z!' -> '  A b z!'; copyfromto 3, 5 -> 'A b'; "
         "copyfromto 3, 3 -> 'A'; copyfromto 2, 1 -> error 3 -> nil; copyfromto 0, 1 -> error 3 -> nil; "
         "copyfromto 2, 7 -> error 3 -> nil; trimblanks -> 'A b'; $3 trimblanks -> ''; $4 trimblanks -> ''; "
         "asuppercase -> '  A B '; aslowercase -> '  a b '; $1 description -> '\"cd\"'; $1 concat $5 -> 'cdabc  '; "
         "$6 class -> $7",
         {other.ref(), text.ref(), empty.ref(), blank.ref(), item.ref(), joined.ref(), ofClass});
    RaisedErrors errors; // what their handler answers instead is answered
    errors.answers = true;
    errors.answer = other.ref().bits;
    EXPECT_EQ(send<Ref>(SITE("copyfromto"), text.ref(), Index{2}, Index{1}), other.ref());
}

TEST_P(Text, FindsTextsInIt) {
    const Temporary text(make("xabab")), wanted(make("ab")), longer(make("xababc")), empty(make(""));
    says(text.ref(),
         "indexofsubcollection $1, 1 -> 2; indexofsubcollection $1, 2 -> 2; indexofsubcollection $1, 3 -> 4; "
         "indexofsubcollection $1, 4 -> 4; indexofsubcollection $1, 5 -> 0; "
         "indexofsubcollection $1, 900 -> 0; indexofsubcollection $2, 1 -> 0; "
         "indexofsubcollection $3, 1 -> error 11; indexofsubcollection $4, 1 -> error 10; "
         "indexofsubcollection $1, 0 -> error 3",
         {wanted.ref(), longer.ref(), empty.ref(), number.ref()});
}

TEST_P(Text, SplitsIntoLinesAndWords) {
    const auto lines = [&](std::string_view value) {
        return valuesOfMade(send<Ref>(SITE("asseparatelines"), Temporary(make(value)).ref()));
    };
    const auto words = [&](std::string_view value) {
        return valuesOfMade(send<Ref>(SITE("asarrayofsubstrings"), Temporary(make(value)).ref()));
    };
    EXPECT_EQ(lines("one\n\ntwo\n"), (Characters{"one", "two"}));
    EXPECT_EQ(lines("\nlast\r\nend"), (Characters{"last\r", "end"}));
    EXPECT_EQ(lines(""), Characters{});
    EXPECT_EQ(words(" a  bc\td "), (Characters{"a", "bc", "d"}));
    EXPECT_EQ(words("a word longer_than_sixteen_characters"),
              (Characters{"a", "word", "longer_than_sixteen_characters"}));
    EXPECT_EQ(words(" \n "), Characters{});
}

TEST_P(Text, ConvertsToNumbersItemsAndNames) {
    const Temporary hex(make("1f")), decimal(make("0042")), name(make("\"a b.txt\"  "));
    testing::internal::CaptureStdout();
    says(decimal.ref(),
         "$1 ashex -> 31; ascomp5 -> 42; ascomp5object -> '\x2A\0\0\0'; aspicx -> '0042'; display; "
         "$2 asinternalfilename -> 'a b.txt'"sv,
         {hex.ref(), name.ref()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0042");
}

// ---- What only one of the classes answers ---------------------------------------------------------------------------

TEST(ByteArray, ConvertsToItsOwnKindOnly) {
    const LeakCheck leaks;
    const Temporary bytes(madeOf(CLASS("bytearry"), 3, KA "x")), characters(text(KA "x"));
    const Temporary copy(send<Ref>(SITE("asbytearray"), bytes.ref()));
    EXPECT_EQ(send<Count>(SITE("hash"), bytes.ref()), send<Count>(SITE("hash"), characters.ref()));
    says(bytes.ref(), "equal $1 -> 1; $1 class -> $bytearry; asbytearray -> '" KA "x'; ascharacterarray -> error 24",
         {copy.ref()});
    says(Temporary(text("x")).ref(), "getsbcsclass -> $chararry; getdbcsclass -> $dbcsarry; ascharacterarray -> 'x'");
}

// ---- Redefined messages -------------------------------------------------------------------------------------------

int settingsSeen = 0;
void noteSetValue(const oops_ref *self, void *data, void *returning, void *value) {
    static oops_super_site super = OOPS_SUPER_SITE("loudtxt", "setvalue");
    ++settingsSeen;
    oopsresolvetosuper(&super, self, data, 2, returning, value);
}

TEST(TextSubclass, ItsOwnMethodsAreSent) {
    const auto loud = OutsideClass("loudtxt", "loudtext", CLASS("chararry"))
                          .method("setvalue", asMethod(noteSetValue), 2)
                          .registerIt();
    const Temporary text(madeOf(loud, 3, "a b")), upper(send<Ref>(SITE("asuppercase"), text.ref()));
    EXPECT_EQ(settingsSeen, 2);
    EXPECT_EQ(valueOf(upper.ref()), "A B");
    EXPECT_EQ(classOf(upper.ref()), loud);
}

} // namespace
} // namespace oocobol::test
