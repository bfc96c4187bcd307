// PIC X items: comparing, the texts made of them, single characters, and the same over bare bytes.
#include "classes/text/text_algorithms.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref item(std::string_view value) {
    return send<Ref>(SITE("withvalue"), picX(static_cast<Index>(value.size())), Bytes{value.data()});
}
template <class... Sent> std::string valueOfAnswer(oops_site &site, Ref object, const Sent &...sent) {
    const Temporary answered(send<Ref>(site, object, sent...));
    return answered ? valueOf(answered.ref()) : "nothing";
}

TEST(PicX, ComparesPadded) {
    const LeakCheck leaks;
    const Temporary ab(item("AB")), abd(item("ABD")), other(item("B"));
    EXPECT_TRUE(send<bool>(SITE("equalbylengthvalue"), ab.ref(), Index{3}, Bytes{"AB "}));
    EXPECT_TRUE(send<bool>(SITE("lessthanbylengthvalue"), ab.ref(), Index{3}, Bytes{"ABC"}));
    EXPECT_TRUE(send<bool>(SITE("greaterthanbylengthvalue"), ab.ref(), Index{2}, Bytes{"A\x1F"}));
    EXPECT_TRUE(send<bool>(SITE("greaterthanorequalbylengthvalue"), ab.ref(), Index{3}, Bytes{"AB "}));
    EXPECT_TRUE(send<bool>(SITE("lessthanorequalbylengthvalue"), ab.ref(), Index{3}, Bytes{"AB "}));
    EXPECT_EQ(send<Index>(SITE("compareto"), ab.ref(), other.ref()), -1);
    EXPECT_EQ(send<Index>(SITE("compareto"), abd.ref(), ab.ref()), 1);
    const Temporary lower(item("ab")), longer(item("AB "));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecase"), ab.ref(), lower.ref()));
    EXPECT_FALSE(send<bool>(SITE("equalsignorecase"), lower.ref(), longer.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecasebylengthvalue"), ab.ref(), Index{2}, Bytes{"aB"}));
    EXPECT_FALSE(send<bool>(SITE("equalsignorecasebylengthvalue"), ab.ref(), Index{3}, Bytes{"aB "}));
    EXPECT_EQ(send<Count>(SITE("hash"), lower.ref()), 98U * 47 + 97);
}

TEST(PicX, TextsMadeOfItHaveTheirOwnLength) {
    const LeakCheck leaks;
    const Temporary text(item("  Ab c  ")), blank(item("    ")), c(item("C"));
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), text.ref()), "Ab c");
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), blank.ref()), " ");
    EXPECT_EQ(valueOfAnswer(SITE("asuppercase"), text.ref()), "  AB C  ");
    EXPECT_EQ(valueOfAnswer(SITE("aslowercase"), text.ref()), "  ab c  ");
    EXPECT_EQ(valueOfAnswer(SITE("concat"), text.ref(), c.ref()), "  Ab c  C");
    EXPECT_EQ(valueOfAnswer(SITE("aspicx"), text.ref()), "  Ab c  ");
    EXPECT_EQ(valueOfAnswer(SITE("ascharacterarray"), c.ref()), "C");
    EXPECT_EQ(valueOfAnswer(SITE("description"), c.ref()), "\"C\"");
    EXPECT_EQ(valueOfAnswer(SITE("withlengthvalue"), CLASS("picx"), Index{2}, Bytes{"xyz"}), "xy");
    EXPECT_EQ(valueOfAnswer(SITE("withlength"), CLASS("picx"), Index{2}), std::string(2, '\0'));
    const Temporary trimmed(send<Ref>(SITE("trimblanks"), text.ref()));
    EXPECT_EQ(send<Count>(SITE("size"), classOf(trimmed.ref())), 4U);
    const Temporary upper(send<Ref>(SITE("asuppercase"), text.ref()));
    EXPECT_EQ(classOf(upper.ref()), picX(8));
}

TEST(PicX, SplitsIntoLines) {
    const LeakCheck leaks;
    const Temporary text(item("a\n\nb\n"));
    const auto lines = send<Ref>(SITE("asseparatelines"), text.ref());
    ASSERT_EQ(send<Count>(SITE("size"), lines), 2U);
    EXPECT_EQ(valueOf(send<Ref>(SITE("at"), lines, Index{1})), "a");
    EXPECT_EQ(valueOf(send<Ref>(SITE("at"), lines, Index{2})), "b");
    send<Ref>(SITE("deepfinalize"), lines);
}

TEST(PicX, AnswersAllLinesOrNoneWhenMemoryIsShort) {
    if (!OOCOBOL_CHECKED) GTEST_SKIP() << "allocations can only be made to fail in checked builds";
    const Temporary text(item(std::string(400, 'a') + "\n" + std::string(400, 'b') + "\nc"));
    RaisedErrors errors;
    for (std::uint64_t at = 1;; ++at) {
        const LeakCheck leaks;
        AllocationFaults::failAt(at, false);
        const auto lines = send<Ref>(SITE("asseparatelines"), text.ref());
        const auto reached = AllocationFaults::count();
        AllocationFaults::failAt(0, false);
        if (lines) {
            EXPECT_EQ(send<Count>(SITE("size"), lines), 3U) << "allocation " << at;
            send<Ref>(SITE("deepfinalize"), lines);
        }
        if (reached < at) break;
    }
}

TEST(PicX, CharactersAreFoundReadAndReplaced) {
    const LeakCheck leaks;
    const Temporary text(item("ABAB")), b(item("B")), longer(item("ABABA"));
    auto &site = SITE("indexofstring");
    EXPECT_EQ(send<Index>(site, text.ref(), Index{1}, b.ref()), 2);
    EXPECT_EQ(send<Index>(site, text.ref(), Index{3}, b.ref()), 4);
    EXPECT_EQ(send<Index>(site, text.ref(), Index{1}, longer.ref()), 0);
    EXPECT_EQ(send<char>(SITE("at"), text.ref(), Index{4}), 'B');
    send(SITE("atput"), text.ref(), Index{4}, Bytes{"!"});
    EXPECT_EQ(valueOf(text.ref()), "ABA!");
    send(SITE("setvalue"), text.ref(), Bytes{"wxyz+"});
    EXPECT_EQ(valueOf(text.ref()), "wxyz");

    RaisedErrors errors;
    send<Index>(site, text.ref(), Index{0}, b.ref());
    send<Index>(site, text.ref(), Index{5}, b.ref());
    send<char>(SITE("at"), text.ref(), Index{0});
    send<char>(SITE("at"), text.ref(), Index{5});
    send(SITE("atput"), text.ref(), Index{-1}, Bytes{"?"});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3, 3, 3}));
    EXPECT_EQ(valueOf(text.ref()), "wxyz");
    errors.answers = true;
    errors.answer = 0x4242424242424242; // only as much as the answer is wide
    char around[3] = {'<', '?', '>'};
    send(SITE("at"), text.ref(), Returning{{reinterpret_cast<std::byte *>(around + 1)}}, Index{9});
    EXPECT_EQ(std::string_view(around, 3), "<B>");
}

TEST(PicX, WorksOverBareBytes) {
    const LeakCheck leaks;
    const char bytes[] = " ab  ";
    EXPECT_EQ(sendOver<Count>(SITE("hash"), picX(5), bytes), hashText(" ab"));
    EXPECT_TRUE(sendOver<bool>(SITE("equalbylengthvalue"), picX(5), bytes, Index{3}, Bytes{" ab"}));
    EXPECT_EQ(sendOver<char>(SITE("at"), picX(5), bytes, Index{3}), 'b');
    const Temporary copy(sendOver<Ref>(SITE("aspicx"), picX(5), bytes));
    EXPECT_EQ(valueOf(copy.ref()), " ab  ");
    EXPECT_TRUE(sendOver<bool>(SITE("equal"), picX(5), bytes, copy.ref()));
    testing::internal::CaptureStdout();
    sendOver(SITE("display"), picX(5), bytes);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " ab  ");
    RaisedErrors errors;
    sendOver<char>(SITE("at"), picX(5), bytes, Index{6});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{3});
}

} // namespace
} // namespace oocobol::test
