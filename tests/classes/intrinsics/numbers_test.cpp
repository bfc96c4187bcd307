// Binary items: every width against plain arithmetic, their bounds, and conversions.
#include <random>

#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// One of the number classes, and how it lays numbers out.
struct Kind {
    const char *program;
    bool isBigEndian, isSigned;
    std::string bytes(std::uint64_t number, Index length) const {
        std::string native(sizeof number, '\0');
        std::memcpy(native.data(), &number, sizeof number);
        native.resize(static_cast<std::size_t>(length));
        return isBigEndian ? std::string(native.rbegin(), native.rend()) : native;
    }
    Ref ofLength(Index length) const { return send<Ref>(SITE("newclass"), classForProgram(program), length); }
    Ref make(std::uint64_t number, Index length) const {
        return send<Ref>(SITE("withvalue"), ofLength(length), area(bytes(number, length)));
    }
    friend std::ostream &operator<<(std::ostream &to, const Kind &kind) { return to << kind.program; }
};
constexpr Kind comp5Kind{"comp5", false, false}, compXKind{"compx", true, false}, signedKind{"scomp5", false, true};

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
        const auto bytes = kind.bytes(number, length), otherBytes = kind.bytes(other, otherLength);
        const auto ofLength = length == 4 ? classForProgram(kind.program) : kind.ofLength(length);
        const auto is = [&](oops_site &site) {
            return sendOver<bool>(site, ofLength, bytes.data(), otherLength, area(otherBytes));
        };
        const auto one = static_cast<std::int32_t>(number), two = static_cast<std::int32_t>(other);
        const auto order = kind.isSigned ? (one > two) - (one < two) : (number > other) - (number < other);
        ASSERT_EQ(is(SITE("equalbylengthvalue")), number == other);
        ASSERT_EQ(is(SITE("lessthanbylengthvalue")), order < 0);
        ASSERT_EQ(is(SITE("greaterthanbylengthvalue")), order > 0);
        ASSERT_EQ(is(SITE("lessthanorequalbylengthvalue")), order < 0 || number == other);
        ASSERT_EQ(sendOver<std::int64_t>(SITE("hash"), ofLength, bytes.data()), std::abs(std::int64_t{one}));
        const Temporary digits(sendOver<Ref>(SITE("ascharacterarray"), ofLength, bytes.data()));
        ASSERT_EQ(valueOf(digits.ref()),
                  kind.isSigned ? std::to_string(one) : std::to_string(number % 1'000'000'000'000'000'000));
    }
    const Temporary zero(kind.make(0, 8)); // lengths outside are read as the nearest that are possible
    says(zero, "equalbylengthvalue -1, 'x' -> 1; equalbylengthvalue 1000, 0 -> 1");
}

TEST(NumberClass, FourBytesAreTheClassItself) {
    EXPECT_NE(signedKind.ofLength(8), CLASS("scomp5"));
    says(CLASS("comp5"),
         "newclass 4 -> $comp5; $scomp5 newclass 4 -> $comp5; $compx newclass 4 -> $compx; "
         "$scomp5 newclass 8 -> it; it baseclass -> $scomp5; $compx newclass 2 -> it; it baseclass -> $compx; "
         "newclass 2 -> it; it iscomp5 -> 1; testcomp5order -> 1; $scomp5 testcomp5order -> 1");
}

TEST(NumberClass, ConvertsBetweenItsForms) {
    const LeakCheck leaks;
    const Temporary native(comp5Kind.make(0x010203, 3)), bigEndian(compXKind.make(0x010203, 3)),
        zero(comp5Kind.make(0, 1)), narrow(comp5Kind.make(15, 2)), wide(comp5Kind.make(1'000'000'000'000'000'005, 8));
    testing::internal::CaptureStdout();
    says(native,
         "ascomp5 -> $1; $2 ascompx -> $2; ascompx -> '\1\2\3'; $2 ascomp5 -> '\3\2\1'; ashex -> '010203'; "
         "aspicx -> '66051'; $2 iscompx -> 1; $3 ashex -> '0'; "
         "$4 ashex -> '0F'; $5 ashex -> '0DE0B6B3A7640005'; $5 aspicx -> '5'; display",
         {native, bigEndian, zero, narrow, wide});
    const Index negative = -42;
    sendOver(SITE("display"), CLASS("scomp5"), &negative);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "66051-42");
}

std::string written;
void writeNoIndent(const oops_ref *, void *, void *, const Index *length, const char *text) {
    written += std::string(text, static_cast<std::size_t>(*length)) + ' ';
}

TEST(NumberClass, WritesTenDigitsToAStream) {
    const auto stream = OutsideClass("digitstr", "digitstream", CLASS("base"))
                            .classMethod("writenoindent", asMethod(writeNoIndent), 3)
                            .registerIt();
    const Count all = 0xFFFFFFFF, one = 1;
    sendOver(SITE("streamoutcpt"), CLASS("comp5"), &all, stream);
    sendOver(SITE("streamoutcpt"), CLASS("scomp5"), &all, stream);
    sendOver(SITE("streamoutcpt"), CLASS("scomp5"), &one, stream);
    EXPECT_EQ(written, "4294967295 -0000000001 +0000000001 ");
}

} // namespace
} // namespace oocobol::test
