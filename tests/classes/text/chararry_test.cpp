// Texts of all classes: what their methods answer, how they fail, and that redefined messages are still sent.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

class Text : public OfClasses {
protected:
    Ref make(std::string_view value) const { return madeOf(ofClass, static_cast<Index>(value.size()), value); }
    const Temporary abc{make("abc")}, number{send<Ref>(SITE("withvalue"), comp5(), Bytes{"abc "})};
};
class TextOfBytes : public Text {};
class TextOrItem : public Text {};
INSTANTIATE_TEST_SUITE_P(Classes, TextOrItem,
                         classesOnBothRoads("chararry", "bytearry", "dbcsarry", "picx", "dbcspicx"), nameOfRoad);
INSTANTIATE_TEST_SUITE_P(Classes, Text, classesOnBothRoads("chararry", "bytearry", "dbcsarry"), nameOfRoad);
INSTANTIATE_TEST_SUITE_P(Classes, TextOfBytes, classesOnBothRoads("chararry", "bytearry"), nameOfRoad);

TEST_P(Text, FactoriesTakeWhatTheirTerminatorSays) {
    says(ofClass,
         "withvalue 'ab cd' -> 'ab cd'; withvalue '' -> ''; withspaceterminator 'ab\tcd ef' -> 'ab\tcd'; "
         "withspaceterminator ' x' -> ''; withspaceornullterminator 'ab' -> 'ab'; "
         "withspaceornullterminator 'ab cd' -> 'ab'; withbytelengthvalue 3, {abc} -> 'abc'; "
         "frombuffer 5, {ab \0 } -> 'ab'; frombuffer 3, {   } -> ''; ofvalues 0, 2 -> '\0\0'; withall `abc` -> 'abc'; "
         "new -1 -> error 33 -> nil; withlengthvalue -5, 'abc' -> error 33 -> nil; withvalue - -> error 33 -> nil; "
         "ofreferences 1 -> error 16 -> nil"sv);
}

TEST_P(TextOrItem, ComparesPadded) {
    says(abc, "hash -> 223394; `abc  ` hash -> 223394; equal `abc  ` -> 1; equal picx`abc  ` -> 1; "
              "compareto `abc  ` -> 0; compareto `abd` -> -1; `abd` compareto `abc` -> 1; greaterthan `abc\x1F` -> 1; "
              "`abc\x1F` lessthan `abc` -> 1; lessthanorequal `abc  ` -> 1; greaterthanorequal `abc  ` -> 1; "
              "lessthan chararry`ad` -> 1; greaterthan chararry`ad` -> 0; greaterthanorequal chararry`ad` -> 0; "
              "equalbylengthvalue 4, {abc } -> 1; lessthanbylengthvalue 3, {abd} -> 1; "
              "greaterthanbylengthvalue 3, {ab\x1F} -> 1; equal `ABC ` -> 0; equalsignorecase `ABC` -> 1; "
              "equalsignorecasebylengthvalue 3, {aBc} -> 1; equalsignorecasebylengthvalue 3, {aBd} -> 0");
}

TEST_P(Text, ValuesAreCopiedToTheSizeAskedFor) {
    says(abc, "at 3 -> [c]; getvaluewithsize 2 -> [ab]; getvaluewithsize 5 -> [abc  ]; getvaluewithsize -1 -> []; "
              "getvaluewithsizeatposition 2, 2 -> [bc]; getvaluewithsizeatposition 2, 4 -> [bc  ]; "
              "getvaluewithsizeatposition 4, 2 -> [  ]; getvaluewithsizeatposition 5, 2 -> error 3 -> [  ]; "
              "getvaluewithsizeatposition 0, 6 -> error 3 -> [      ]");
    expectNullBehind(abc.ref());
}

TEST_P(Text, ValuesAreSetMovedReplacedAndGrown) {
    const Temporary longer(make("vwxyz"));
    says(abc,
         "setvalue {xyz}; * -> 'xyz'; movevalue $1; * -> 'vwx'; movevalue `q`; * -> 'q  '; movevalue $2; * -> 'q  '; "
         "atput 3, {!}; * -> 'q !'; atput 0, 'x' -> error 3; atput 4, 'x' -> error 3; * -> 'q !'; "
         "resetvalue $1; * -> 'vwxyz'; $1 * -> 'vwxyz'; growto 7 -> $2; * -> 'vwxyz  '; growto 1 -> $2; * -> 'v'; "
         "growto 0 -> $2; * -> ''; growto -1 -> error 33; size -> 0",
         {longer, abc});
}

TEST_P(Text, NewTextsAreTrimmedJoinedAndConverted) {
    const Temporary text(make("  A b "));
    says(text,
         "equal 0 -> 0; concat `cd` -> '  A b cd'; concat $1 -> '  A b   A b '; concatz 'z!' -> '  A b z!'; "
         "copyfromto 3, 5 -> 'A b'; copyfromto 3, 3 -> 'A'; trimblanks -> 'A b'; "
         "`` trimblanks -> ''; `   ` trimblanks -> ''; asuppercase -> '  A B '; aslowercase -> '  a b '; "
         "`cd` description -> '\"cd\"'; `cd` concat picx`abc  ` -> 'cdabc  '",
         {text});
}

TEST_P(TextOfBytes, AnswersItsOwnClassAndRefusesPartsOutside) {
    says(abc,
         "equal $1 -> 0; " // a number contains no characters
         "equalsignorecase `ABC ` -> 1; greaterthanbylengthvalue -1, {zzz} -> 1; "
         "copyfromto 2, 1 -> error 3 -> nil; copyfromto 0, 1 -> error 3 -> nil; copyfromto 2, 4 -> error 3 -> nil; "
         "concat `cd` -> it; it class -> $2; it finalize",
         {number, ofClass});
    RaisedErrors errors; // what their handler answers instead is answered
    errors.answers = true;
    errors.answer = number.ref().bits;
    EXPECT_EQ(send<Ref>(SITE("copyfromto"), abc.ref(), Index{2}, Index{1}), number.ref());
}

TEST_P(Text, FindsTextsInIt) {
    says(Temporary(make("xabab")),
         "indexofsubcollection `ab`, 1 -> 2; indexofsubcollection `ab`, 2 -> 2; indexofsubcollection `ab`, 3 -> 4; "
         "indexofsubcollection `ab`, 4 -> 4; indexofsubcollection `ab`, 5 -> 0; "
         "indexofsubcollection `ab`, 900 -> 0; indexofsubcollection `xababc`, 1 -> 0; "
         "indexofsubcollection ``, 1 -> error 11; indexofsubcollection $1, 1 -> error 10; "
         "indexofsubcollection `ab`, 0 -> error 3",
         {number});
}

TEST_P(TextOfBytes, SplitsIntoLinesAndWords) {
    const auto pieces = [&](oops_site &message, std::string_view value) {
        return valuesOfMade(send<Ref>(message, Temporary(make(value)).ref()));
    };
    EXPECT_EQ(pieces(SITE("asseparatelines"), "\none\n\nlast\r\nend\n"), (Characters{"one", "last\r", "end"}));
    EXPECT_EQ(pieces(SITE("asarrayofsubstrings"), " a  bc\ta_word_longer_than_sixteen_characters "),
              (Characters{"a", "bc", "a_word_longer_than_sixteen_characters"}));
    EXPECT_EQ(pieces(SITE("asarrayofsubstrings"), " \n "), Characters{});
}

TEST_P(Text, ConvertsToNumbersItemsAndNames) {
    testing::internal::CaptureStdout();
    says(Temporary(make("0042")),
         "`1f` ashex -> 31; `99DEADbeef` ashex -> -559038737; `2 ` ashex -> 32; ascomp5 -> 42; "
         "`42 ` ascomp5 -> 420; `4294967297` ascomp5 -> 1; ascomp5object -> '\x2A\0\0\0'; aspicx -> '0042'; display; "
         "`\"a b.txt\"  ` asinternalfilename -> 'a b.txt'"sv);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0042");
}

// ---- What only one of the classes answers ---------------------------------------------------------------------------

TEST(ByteArray, ConvertsToItsOwnKindOnly) {
    const Temporary characters(text(KA "x"));
    says(Temporary(madeOf(CLASS("bytearry"), 3, KA "x")),
         "hash -> 268266; $1 hash -> 268266; equal $1 -> 1; "
         "asbytearray -> it; it class -> $bytearry; it finalize; asbytearray -> '" KA "x'; "
         "ascharacterarray -> error 24; chararry`x` getsbcsclass -> $chararry; chararry`x` getdbcsclass -> $dbcsarry; "
         "chararry`x` ascharacterarray -> 'x'",
         {characters});
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

// ---- Texts and items of every class --------------------------------------------------------------------------------

class AnyText : public OfMixedClasses {};
INSTANTIATE_TEST_SUITE_P(Classes, AnyText, classesOnBothRoads("chararry", "bytearry", "dbcsarry", "picx", "dbcspicx"),
                         nameOfRoad);

TEST_P(AnyText, ArgumentsOfEveryKindAreSurvived) {
    const Temporary text(madeOf(ofClass, 3, "a" HA "b"));
    RaisedErrors errors;
    const Ref dead = madeOf(ofClass, 1, "x");
    finalize(dead);
    for (const auto argument : {null, dead, Ref{0x2020202020202020}, CLASS("picx"), CLASS("base"), ofClass}) {
        for (auto *site : {&SITE("equal"), &SITE("lessthan"), &SITE("compareto"), &SITE("equalsignorecase")})
            send<Index>(*site, text.ref(), argument);
        send<Index>(SITE("indexofsubcollection"), text.ref(), argument, Index{1});
        send(SITE("movevalue"), text.ref(), argument);
        finalize(send<Ref>(SITE("concat"), text.ref(), argument));
        finalize(send<Ref>(SITE("copyreplaceall"), text.ref(), argument, argument));
    }
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 3U);
}

TEST(SingleByteText, HasNoCharactersWhereElementsHaveNoWidth) {
    for (const auto ofClass : {CLASS("chararry"), CLASS("bytearry")})
        says(Temporary(madeOf(ofClass, 3, "abc")),
             "initialize 100000, $1, 0; hash -> 0; asuppercase -> ''; setvalue {x}; equalbylengthvalue 1, { } -> 1; "
             "atput 1, 'x' -> error 3",
             {picX(1)});
}

TEST_P(AnyText, EveryFailingAllocationIsSurvived) {
    const auto isMixed = ofClass == CLASS("dbcsarry") || ofClass == CLASS("dbcspicx");
    const auto value = std::string(300, 'a') + (isMixed ? KA : "A") + "\n " + std::string(298, 'b') + "\n c";
    const Temporary text(madeOf(ofClass, 604, value));
    const auto show = [](Ref object) {
        const auto isList = classOf(object) == CLASS("array") || classOf(object) == CLASS("ordrdcll");
        if (isList) says(object, "size -> 3"); // all pieces or none
        return isList ? wordsIn(object) : valueOf(object);
    };
    const auto survives = [&](const std::function<Ref()> &make) {
        allOrNothing(text.ref(), show, [&] {
            const auto made = make();
            if (!made)
                send<Ref>(SITE("raiseexception"), text.ref(), Count{32}); // which need not say itself that it failed
            return made;
        });
    };
    survives([&] { return madeOf(ofClass, 1, KA); });
    survives([&] { return send<Ref>(SITE("concat"), text.ref(), text.ref()); });
    for (const std::string made : {"copyfromto", "asuppercase", "description", "aspicx", "trimblanks", "copy",
                                   "asseparatelines", "asarrayofsubstrings"}) {
        if (!send<bool>(SITE("respondsto"), ofClass, Bytes{(made + " ").c_str()})) continue; // items have no parts
        survives([&] { return send<Ref>(siteOf(made), text.ref(), Index{290}, Index{303}); });
    }
}

// A subclass of texts, or of items, that claims to be longer than it is.
void claimMuch(const oops_ref *, void *, void *returning) {
    const Count claimed = 100000;
    if (returning != nullptr) std::memcpy(returning, &claimed, sizeof claimed);
}
Ref liarOf(const char *program, const char *name, Ref superclass) {
    return OutsideClass(program, name, superclass).method("sizeinbytes", asMethod(claimMuch), 1).registerIt();
}

TEST(TextSubclass, SizesThatItClaimsAreNotReadBeyondItsValue) {
    const Temporary lying(madeOf(liarOf("liartxt", "liartext", CLASS("chararry")), 3, "a b")), abc(text("abc"));
    const Temporary item(send<Ref>(SITE("withvalue"), liarOf("liarpicx", "liaritem", CLASS("picx")), Bytes{"a"}));
    says(abc,
         "lessthan $1 -> 0; greaterthan $1 -> 1; concat $1 -> it; it size -> 100003; it finalize; "
         "$1 asarrayofsubstrings -> it; it deepfinalize; $2 lessthan $3 -> 1; compareto $2 -> 1",
         {lying, item, abc});
    std::string area(100000, '#');
    send(SITE("getvalue"), item.ref(), into(area));
    EXPECT_EQ(area.substr(0, 3), "a##");
}

} // namespace
} // namespace oocobol::test
