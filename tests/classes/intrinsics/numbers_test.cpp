// Binary items: every width against plain arithmetic, their bounds, and conversions.
#include <random>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

std::string nativeBytes(std::uint64_t number, std::size_t length) {
    std::string bytes(8, '\0');
    std::memcpy(bytes.data(), &number, 8);
    return bytes.substr(0, length);
}
std::string reversed(std::string bytes) { return {bytes.rbegin(), bytes.rend()}; }

// One of the number classes, and how it lays numbers out.
struct Kind {
    const char *program;
    bool isBigEndian;
    bool isSigned;
    std::string bytes(std::uint64_t number, std::size_t length) const {
        const auto native = nativeBytes(number, length);
        return isBigEndian ? reversed(native) : native;
    }
    Ref ofLength(Index length) const { return send<Ref>(SITE("newclass"), classForProgram(program), length); }
    Ref make(std::uint64_t number, Index length) const {
        return send<Ref>(SITE("withvalue"), ofLength(length),
                         Bytes{bytes(number, static_cast<std::size_t>(length)).data()});
    }
    friend std::ostream &operator<<(std::ostream &to, const Kind &kind) { return to << kind.program; }
};
constexpr Kind comp5Kind{"comp5", false, false}, compXKind{"compx", true, false}, signedKind{"scomp5", false, true};

std::string textOfAnswer(oops_site &site, Ref object) {
    const Temporary answered(send<Ref>(site, object));
    return valueOf(answered.ref());
}

class Numbers : public testing::TestWithParam<Kind> {};
INSTANTIATE_TEST_SUITE_P(Classes, Numbers, testing::Values(comp5Kind, compXKind, signedKind),
                         [](const auto &kind) { return kind.param.program; });

TEST_P(Numbers, EveryWidthAgreesWithPlainArithmetic) {
    const LeakCheck leaks;
    const auto &kind = GetParam();
    std::mt19937_64 random(5);
    for (int round = 0; round < 2000; ++round) {
        const auto length = 1 + static_cast<Index>(random() % 8), otherLength = 1 + static_cast<Index>(random() % 8);
        const auto number = random() >> (64 - 8 * length),
                   other = random() % 4 == 0 && otherLength >= length ? number : random() >> (64 - 8 * otherLength);
        // 4-byte signed items are of `cobolcomp5` when made by newclass: they run the signed methods over bare bytes.
        const auto bytes = kind.bytes(number, static_cast<std::size_t>(length));
        const auto otherBytes = kind.bytes(other, static_cast<std::size_t>(otherLength));
        const auto ofLength = length == 4 ? classForProgram(kind.program) : kind.ofLength(length);
        const auto is = [&](oops_site &site) {
            return sendOver<bool>(site, ofLength, bytes.data(), otherLength, Bytes{otherBytes.data()});
        };
        const auto one = static_cast<std::int32_t>(number), two = static_cast<std::int32_t>(other);
        const auto order = kind.isSigned ? (one > two) - (one < two) : (number > other) - (number < other);
        ASSERT_EQ(is(SITE("equalbylengthvalue")), number == other);
        ASSERT_EQ(is(SITE("lessthanbylengthvalue")), order < 0);
        ASSERT_EQ(is(SITE("greaterthanbylengthvalue")), order > 0);
        ASSERT_EQ(is(SITE("lessthanorequalbylengthvalue")), order < 0 || number == other);
        ASSERT_EQ(sendOver<Count>(SITE("hash"), ofLength, bytes.data()),
                  static_cast<Count>(std::abs(std::int64_t{one})));
        const Temporary digits(sendOver<Ref>(SITE("ascharacterarray"), ofLength, bytes.data()));
        ASSERT_EQ(valueOf(digits.ref()),
                  kind.isSigned ? std::to_string(one) : std::to_string(number % 1'000'000'000'000'000'000));
    }
}

TEST_P(Numbers, LengthsOutsideAreReadAsNearestPossible) {
    const auto &kind = GetParam();
    const Temporary item(kind.make(0, 8));
    EXPECT_TRUE(send<bool>(SITE("equalbylengthvalue"), item.ref(), Index{-1}, Bytes{"x"}));
    EXPECT_TRUE(send<bool>(SITE("equalbylengthvalue"), item.ref(), Index{1000}, Bytes{"\0\0\0\0\0\0\0"}));
}

TEST(NumberClass, FourBytesAreTheClassItself) {
    EXPECT_EQ(comp5Kind.ofLength(4), CLASS("comp5"));
    EXPECT_EQ(signedKind.ofLength(4), CLASS("comp5"));
    EXPECT_EQ(compXKind.ofLength(4), CLASS("compx"));
    EXPECT_NE(signedKind.ofLength(8), CLASS("scomp5"));
    EXPECT_EQ(send<Ref>(SITE("baseclass"), signedKind.ofLength(8)), CLASS("scomp5"));
    EXPECT_EQ(send<Ref>(SITE("baseclass"), compXKind.ofLength(2)), CLASS("compx"));
    EXPECT_TRUE(send<bool>(SITE("iscomp5"), comp5Kind.ofLength(2)));
    EXPECT_TRUE(send<bool>(SITE("testcomp5order"), CLASS("comp5")));
    EXPECT_TRUE(send<bool>(SITE("testcomp5order"), CLASS("scomp5")));
    EXPECT_EQ(send<Count>(SITE("size"), CLASS("scomp5")), 4U);
}

TEST(NumberClass, ConvertsBetweenItsForms) {
    const LeakCheck leaks;
    const Temporary native(comp5Kind.make(0x010203, 3)), bigEndian(compXKind.make(0x010203, 3));
    EXPECT_EQ(send<Ref>(SITE("ascomp5"), native.ref()), native.ref());
    EXPECT_EQ(send<Ref>(SITE("ascompx"), bigEndian.ref()), bigEndian.ref());
    EXPECT_EQ(textOfAnswer(SITE("ascompx"), native.ref()), "\x01\x02\x03");
    EXPECT_EQ(textOfAnswer(SITE("ascomp5"), bigEndian.ref()), "\x03\x02\x01");
    EXPECT_EQ(textOfAnswer(SITE("ashex"), native.ref()), "010203");
    EXPECT_EQ(textOfAnswer(SITE("aspicx"), native.ref()), "66051");
    EXPECT_TRUE(send<bool>(SITE("iscompx"), bigEndian.ref()));
    testing::internal::CaptureStdout();
    send(SITE("display"), native.ref());
    const Index negative = -42;
    sendOver(SITE("display"), CLASS("scomp5"), &negative);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "66051-42");
}

std::string written;
void writeNoIndent(const oops_ref *, void *, void *, const Index *length, const char *text) {
    written.assign(text, static_cast<std::size_t>(*length));
}

TEST(NumberClass, WritesTenDigitsToAStream) {
    const auto stream = OutsideClass("digitstr", "digitstream", CLASS("base"))
                            .classMethod("writenoindent", asMethod(writeNoIndent), 3)
                            .registerIt();
    const Count all = 0xFFFFFFFF;
    sendOver(SITE("streamoutcpt"), CLASS("comp5"), &all, stream);
    EXPECT_EQ(written, "4294967295");
    sendOver(SITE("streamoutcpt"), CLASS("scomp5"), &all, stream);
    EXPECT_EQ(written, "-0000000001");
    const Count one = 1;
    sendOver(SITE("streamoutcpt"), CLASS("scomp5"), &one, stream);
    EXPECT_EQ(written, "+0000000001");
}

} // namespace
} // namespace oocobol::test
