// PIC X items: comparing, the texts made of them, single characters, and the same over bare bytes.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

class PicX : public testing::Test {
    const LeakCheck leaks;
};

TEST_F(PicX, ComparesPadded) {
    says(
        Temporary(itemOf("AB")),
        "equalbylengthvalue 3, {AB } -> 1; lessthanbylengthvalue 3, {ABC} -> 1; "
        "greaterthanbylengthvalue 2, {A\x1F} -> 1; greaterthanorequalbylengthvalue 3, {AB } -> 1; "
        "lessthanorequalbylengthvalue 3, {AB } -> 1; compareto `B` -> -1; `ABD` compareto `AB` -> 1; "
        "equalsignorecase `ab` -> 1; `ab` equalsignorecase `AB ` -> 0; equalsignorecasebylengthvalue 2, {aB} -> 1; "
        "equalsignorecasebylengthvalue 3, {aB } -> 0; `ab` hash -> 4703; equal `AB ` -> 1; lessthanorequal `AB ` -> 1; "
        "greaterthanorequal `AB ` -> 1; lessthan chararry`AC` -> 1; greaterthan chararry`AC` -> 0; "
        "greaterthanorequal chararry`AC` -> 0");
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

} // namespace
} // namespace oocobol::test
