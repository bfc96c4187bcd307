// Classes of data items: making them, decoding descriptions, and how long they live.
#include <random>

#include "classes/intrinsics/intrinsic.h"
#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Count sizeOf(Ref classObject) { return send<Count>(SITE("size"), classObject); }

TEST(IntrinsicClass, StandsForOneLength) {
    const auto one = send<Ref>(SITE("newclass"), CLASS("picx"), Index{12});
    const Temporary item(send<Ref>(SITE("new"), one));
    EXPECT_NE(send<Ref>(SITE("newclass"), CLASS("picx"), Index{12}), one);
    says(
        one,
        "size -> 12; storingobjects -> 0; $picx size -> 1; $picx32 size -> 32; $intrnsic size -> 0; $scomp5 size -> 4; "
        "$picx newclass 268435455 -> it; it size -> 268435455; $1 class -> $2; $1 isindexed -> 1",
        {item.ref(), one});
    EXPECT_EQ(valueOf(item.ref()), std::string(12, '\0'));
}

// All descriptions there are, alphanumeric and numeric, against the rules written out once more.
TEST(IntrinsicClass, EveryDataDescriptionIsDecoded) {
    const auto pic9 = classForProgram("pic9disp"), packed = classForProgram("comp3");
    RaisedErrors errors;
    for (unsigned description = 0; description < 0x10000; ++description) {
        const unsigned first = description >> 8, second = description & 0xFF;
        const char bytes[2] = {static_cast<char>(first), static_cast<char>(second)};
        auto &site = SITE("getclassfromdatadescription");
        const auto text = send<Ref>(site, CLASS("picx"), Bytes{bytes}, Flag{0});
        const auto length = first < 0x80 ? first % 32 + 1 : first % 32 * 256 + second + 1;
        ASSERT_EQ(sizeOf(text), length) << description;

        errors.all.clear();
        const auto number = send<Ref>(site, CLASS("picx"), Bytes{bytes}, Flag{1});
        const bool isBinary = first >= 0xC0 && (second & 0x60) == 0;
        if (!isBinary) {
            ASSERT_EQ(number.isNull(), first >= 0xC0 ? packed.isNull() : pic9.isNull()) << description;
            continue;
        }
        const auto low = first % 32, bytesLong = low < 19 ? low + 1 : low + (second & 0x1C) - 19;
        ASSERT_EQ(errors.all.size(), bytesLong > 8 ? 1U : 0U) << description;
        if (bytesLong > 8) continue;
        ASSERT_EQ(familyOfClass(number), familyOfClass(CLASS("compx")));
        ASSERT_EQ(sizeOf(number), bytesLong);
    }
}

TEST(IntrinsicClass, RefusesWhatItCannotHold) {
    const auto negative = send<Ref>(SITE("newclass"), CLASS("picx"), Index{-1});
    const Temporary bare(send<Ref>(SITE("new"), send<Ref>(SITE("newclass"), CLASS("intrnsic"), Index{3})));
    says(CLASS("intrnsic"),
         "$picx newclass 268435456 -> error 30 -> nil; $comp5 newclass 9 -> error 30 -> nil; "
         "$compx newclass 9 -> error 30 -> nil; withvalue 'x' -> error 7 -> nil; "
         "$1 equalbylengthvalue 3, {abc} -> error 7; $1 lessthanbylengthvalue 3, {abc} -> error 7",
         {bare.ref()});
    RaisedErrors errors;
    Ref unset{42};
    send(SITE("getclassfromname"), CLASS("intrnsic"), into(unset), Bytes{"cobolcomp3"}, Bytes{"nosuchpg"}, Index{3});
    EXPECT_EQ(unset, Ref{42});
    EXPECT_FALSE(send<Ref>(SITE("new"), negative));
    ASSERT_FALSE(errors.all.empty());
    EXPECT_EQ(errors.all.front().number, 23U);
}

TEST(IntrinsicClass, ElementsAreAllocatedZeroFilled) {
    const Temporary item(send<Ref>(SITE("withvalue"), picX(5), Bytes{"abcde"}));
    for (auto *address : {send<Address>(SITE("allocateelement"), item.ref()),
                          send<Address>(SITE("allocateelements"), item.ref(), Index{3})}) {
        ASSERT_NE(address, nullptr);
        EXPECT_EQ(std::string(static_cast<char *>(address), 5), std::string(5, '\0'));
        send(SITE("dealloc"), item.ref(), address);
    }
    says(item.ref(), "allocateelements -1 -> error 33 -> nil");
}

Count classObjects() {
    Count count = 0;
    forEachObject([&](Ref, std::uint32_t, std::uint32_t marks) { count += (marks & markClass) != 0; });
    return count;
}

// A class that only the library knows goes with its last instance; once answered it stays.
TEST(IntrinsicClass, MadeForOneItemGoesWithIt) {
    for (const auto *program : {"chararry", "picx", "comp5"}) classForProgram(program); // first use makes class objects
    mayLeaveObjects = true;                                                             // the class in the end
    const auto report = [] {
        says(CLASS("picx"), "withlengthvalue 3, 'abc' -> it; it raiseexception 12 -> error 12; "
                            "it nosuchmessage -> error 24; it istypeof $intrnsic -> 1; it classname -> 'cobolpicx'; "
                            "it finalize");
    };
    report();
    const Temporary padded(test::text("  abc "));
    finalize(send<Ref>(SITE("aspicx"), padded.ref()));
    const auto before = classObjects();
    const auto item = send<Ref>(SITE("withlengthvalue"), CLASS("picx"), Index{5}, Bytes{" abc "});
    EXPECT_EQ(classObjects(), before + 1);
    const auto trimmed = send<Ref>(SITE("trimblanks"), item), copy = send<Ref>(SITE("copy"), item),
               upper = send<Ref>(SITE("asuppercase"), item), number = send<Ref>(SITE("withvalue"), CLASS("comp5"), 7);
    const auto joined = send<Ref>(SITE("concat"), upper, trimmed), digits = send<Ref>(SITE("aspicx"), number);
    EXPECT_EQ(classObjects(), before + 4);
    finalize(item);
    finalize(copy);
    EXPECT_EQ(classObjects(), before + 4); // `upper` is of the same class
    EXPECT_EQ(valueOf(upper), " ABC ");
    for (const auto object : {upper, trimmed, joined, digits, number}) finalize(object);
    report(); // which keeps it neither
    EXPECT_EQ(classObjects(), before);

    const auto asked = send<Ref>(SITE("aspicx"), padded.ref());
    const auto itsClass = send<Ref>(SITE("class"), asked);
    says(asked, "finalize; $1 size -> 6; $1 new -> it; it class -> $1; it finalize", {itsClass});
}

// ---- Numbers -------------------------------------------------------------------------------------------------------

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
