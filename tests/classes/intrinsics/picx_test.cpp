// PIC X items: comparing, the texts made of them, single characters, and the same over bare bytes.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

TEST(PicX, ComparesPadded) {
    const LeakCheck leaks;
    const Temporary ab(itemOf("AB")), abd(itemOf("ABD")), other(itemOf("B")), lower(itemOf("ab")),
        longer(itemOf("AB "));
    const Temporary above(test::text("AC"));
    says(ab.ref(),
         "equalbylengthvalue 3, {AB } -> 1; lessthanbylengthvalue 3, {ABC} -> 1; "
         "greaterthanbylengthvalue 2, {A\x1F} -> 1; greaterthanorequalbylengthvalue 3, {AB } -> 1; "
         "lessthanorequalbylengthvalue 3, {AB } -> 1; compareto $1 -> -1; $2 compareto $3 -> 1; "
         "equalsignorecase $4 -> 1; $4 equalsignorecase $5 -> 0; equalsignorecasebylengthvalue 2, {aB} -> 1; "
         "equalsignorecasebylengthvalue 3, {aB } -> 0; $4 hash -> 4703; equal $5 -> 1; lessthanorequal $5 -> 1; "
         "greaterthanorequal $5 -> 1; lessthan $6 -> 1; greaterthan $6 -> 0; greaterthanorequal $6 -> 0",
         {other.ref(), abd.ref(), ab.ref(), lower.ref(), longer.ref(), above.ref()});
}

TEST(PicX, TextsMadeOfItHaveTheirOwnLength) {
    const LeakCheck leaks;
    const Temporary text(itemOf("  Ab c  ")), blank(itemOf("    ")), c(itemOf("C")), lines(itemOf("a\n\nb\n"));
    const Temporary trimmed(send<Ref>(SITE("trimblanks"), text.ref())),
        upper(send<Ref>(SITE("asuppercase"), text.ref()));
    says(text.ref(),
         "$1 * -> 'Ab c'; $2 trimblanks -> ' '; $3 * -> '  AB C  '; aslowercase -> '  ab c  '; "
         "concat $4 -> '  Ab c  C'; aspicx -> '  Ab c  '; $4 ascharacterarray -> 'C'; $4 description -> '\"C\"'; "
         "$picx withlengthvalue 2, {xy} -> 'xy'; $picx withlength 2 -> '\0\0'"sv,
         {trimmed.ref(), blank.ref(), upper.ref(), c.ref()});
    EXPECT_EQ(send<Count>(SITE("size"), classOf(trimmed.ref())), 4U);
    EXPECT_EQ(classOf(upper.ref()), picX(8));
    EXPECT_EQ(valuesOfMade(send<Ref>(SITE("asseparatelines"), lines.ref())), (Characters{"a", "b"}));
}

TEST(PicX, CharactersAreFoundReadAndReplaced) {
    const LeakCheck leaks;
    const Temporary text(itemOf("ABAB")), b(itemOf("B")), longer(itemOf("ABABA"));
    says(text.ref(),
         "indexofstring 1, $1 -> 2; indexofstring 2, $1 -> 2; indexofstring 3, $1 -> 4; indexofstring 1, $2 -> 0; at 4 "
         "-> [B]; "
         "atput 4, {!}; * -> 'ABA!'; setvalue {wxyz}; * -> 'wxyz'; indexofstring 0, $1 -> error 3; "
         "indexofstring 5, $1 -> error 3; at 0 -> error 3; at 5 -> error 3; atput -1, '?' -> error 3; * -> 'wxyz'",
         {b.ref(), longer.ref()});
    RaisedErrors errors;
    errors.answers = true;
    errors.answer = 0x4242424242424242; // only as much as the answer is wide
    char around[3] = {'<', '?', '>'};
    send(SITE("at"), text.ref(), Returning{{reinterpret_cast<std::byte *>(around + 1)}}, Index{9});
    EXPECT_EQ(std::string_view(around, 3), "<B>");
}

TEST(PicX, WorksOverBareBytes) {
    const LeakCheck leaks;
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
