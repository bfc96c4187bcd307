// Classes of data items: making them, decoding descriptions, values and comparisons.
#include "classes/intrinsics/intrinsic.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref newClass(const char *program, Index length) {
    return send<Ref>(SITE("newclass"), classForProgram(program), length);
}
Count sizeOf(Ref classObject) { return send<Count>(SITE("size"), classObject); }

TEST(IntrinsicClass, StandsForOneLength) {
    const LeakCheck leaks;
    const auto one = newClass("picx", 12), two = newClass("picx", 12);
    EXPECT_NE(one, two);
    EXPECT_EQ(sizeOf(one), 12U);
    EXPECT_EQ(sizeOf(two), 12U);
    EXPECT_EQ(sizeOf(CLASS("picx")), 1U);
    EXPECT_EQ(sizeOf(CLASS("picx32")), 32U);
    EXPECT_EQ(sizeOf(CLASS("intrnsic")), 0U);
    EXPECT_FALSE(send<bool>(SITE("storingobjects"), one));
    EXPECT_EQ(sizeOf(newClass("picx", longestItem)), 268435455U);
    const Temporary item(send<Ref>(SITE("new"), one));
    EXPECT_EQ(valueOf(item.ref()), std::string(12, '\0'));
    EXPECT_EQ(classOf(item.ref()), one);
    EXPECT_TRUE(send<bool>(SITE("isindexed"), item.ref()));
}

// All descriptions there are, alphanumeric and numeric, against the rules written out once more.
TEST(IntrinsicClass, EveryDataDescriptionIsDecoded) {
    const LeakCheck leaks;
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
        const auto low = first % 32;
        const auto bytesLong = low < 19 ? low + 1 : low + (second & 0x1C) - 19;
        ASSERT_EQ(errors.all.size(), bytesLong > 8 ? 1U : 0U) << description;
        if (bytesLong > 8) continue;
        ASSERT_EQ(familyOfClass(number), familyOfClass(CLASS("compx")));
        ASSERT_EQ(sizeOf(number), bytesLong);
    }
}

TEST(IntrinsicClass, ItemsAreComparedThroughTheirValues) {
    const LeakCheck leaks;
    const Temporary one(send<Ref>(SITE("withvalue"), picX(2), Bytes{"AB"}));
    const Temporary same(send<Ref>(SITE("withvalue"), picX(3), Bytes{"AB "}));
    const Temporary above(test::text("AC"));
    EXPECT_TRUE(send<bool>(SITE("equal"), one.ref(), same.ref()));
    EXPECT_TRUE(send<bool>(SITE("lessthanorequal"), one.ref(), same.ref()));
    EXPECT_TRUE(send<bool>(SITE("greaterthanorequal"), one.ref(), same.ref()));
    EXPECT_TRUE(send<bool>(SITE("lessthan"), one.ref(), above.ref()));
    EXPECT_FALSE(send<bool>(SITE("greaterthan"), one.ref(), above.ref()));
    EXPECT_FALSE(send<bool>(SITE("greaterthanorequal"), one.ref(), above.ref()));
}

TEST(IntrinsicClass, ElementsAreAllocatedZeroFilled) {
    const Temporary item(send<Ref>(SITE("withvalue"), picX(5), Bytes{"abcde"}));
    for (auto *address : {send<Address>(SITE("allocateelement"), item.ref()),
                          send<Address>(SITE("allocateelements"), item.ref(), Index{3})}) {
        ASSERT_NE(address, nullptr);
        EXPECT_EQ(std::string_view(static_cast<char *>(address), 5), std::string_view("\0\0\0\0\0", 5));
        send(SITE("dealloc"), item.ref(), address);
    }
    RaisedErrors errors;
    EXPECT_EQ(send<Address>(SITE("allocateelements"), item.ref(), Index{-1}), nullptr);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{33});
}

TEST(IntrinsicClass, RefusesWhatItCannotHold) {
    const LeakCheck leaks;
    RaisedErrors errors;
    EXPECT_FALSE(newClass("picx", longestItem + 1));
    EXPECT_FALSE(newClass("comp5", 9));
    EXPECT_FALSE(newClass("compx", 9));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{30, 30, 30}));
    EXPECT_FALSE(send<Ref>(SITE("withvalue"), CLASS("intrnsic"), Bytes{"x"}));
    EXPECT_EQ(errors.numbers(), std::vector<Count>{7});
    const auto negative = newClass("picx", -1);
    EXPECT_TRUE(negative);
    EXPECT_TRUE(errors.all.empty());
    EXPECT_FALSE(send<Ref>(SITE("new"), negative));
    ASSERT_FALSE(errors.all.empty());
    EXPECT_EQ(errors.all.front().number, 23U);
    errors.all.clear();

    const Temporary bare(send<Ref>(SITE("new"), newClass("intrnsic", 3)));
    send<bool>(SITE("equalbylengthvalue"), bare.ref(), Index{3}, Bytes{"abc"});
    send<bool>(SITE("lessthanbylengthvalue"), bare.ref(), Index{3}, Bytes{"abc"});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{7, 7}));
}

struct LengthAndDigits {
    Count length, digits;
} described;
void notePictures(const oops_ref *self, void *data, void *returning, void *length) {
    static oops_super_site super = OOPS_SUPER_SITE("pic9disp", "newclass");
    std::memcpy(&described, length, sizeof described);
    oopsresolvetosuper(&super, self, data, 2, returning, length);
}

// Classes that programs bring along for numeric display items get the digit count behind the length.
TEST(IntrinsicClass, NumericDisplayIsTheProgramsOwnClass) {
    const auto pic9 = OutsideClass("pic9disp", "pic9display", CLASS("picx"))
                          .classMethod("newclass", asMethod(notePictures), 2)
                          .registerIt();
    const auto made = send<Ref>(SITE("getclassfromdatadescription"), CLASS("intrnsic"), Bytes{"\x87\x04"}, Flag{1});
    EXPECT_EQ(familyOfClass(made), familyOfClass(pic9));
    EXPECT_EQ(sizeOf(made), 8U);
    EXPECT_EQ(described.length, 8U);
    EXPECT_EQ(described.digits, 5U);
    Ref unset{42};
    send(SITE("getclassfromname"), CLASS("intrnsic"), Returning{{reinterpret_cast<std::byte *>(&unset)}},
         Bytes{"cobolcomp3"}, Bytes{"nosuchpg"}, Index{3});
    EXPECT_EQ(unset, Ref{42});
}

Count classObjects() {
    Count count = 0;
    forEachObject([&](Ref, std::uint32_t, std::uint32_t marks) { count += (marks & markClass) != 0; });
    return count;
}

// A class that only the library knows goes with its last instance; once answered it stays.
TEST(IntrinsicClass, MadeForOneItemGoesWithIt) {
    for (const auto *program : {"chararry", "picx", "comp5"}) classForProgram(program); // first use makes class objects
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
    EXPECT_EQ(classObjects(), before);

    const auto asked = send<Ref>(SITE("aspicx"), padded.ref());
    const auto itsClass = send<Ref>(SITE("class"), asked);
    finalize(asked);
    EXPECT_TRUE(isLive(itsClass));
    EXPECT_EQ(sizeOf(itsClass), 6U);
    const Temporary another(send<Ref>(SITE("new"), itsClass));
    EXPECT_EQ(classOf(another.ref()), itsClass);
}

void claimMuch(const oops_ref *, void *, void *returning) {
    const Count claimed = 100000;
    if (returning != nullptr) std::memcpy(returning, &claimed, sizeof claimed);
}

TEST(IntrinsicClass, SizesThatASubclassClaimsAreNotReadBeyondTheValue) {
    const auto liar = OutsideClass("liarpicx", "liaritem", CLASS("picx"), 0, 0)
                          .method("sizeinbytes", asMethod(claimMuch), 1)
                          .registerIt();
    const Temporary item(send<Ref>(SITE("withvalue"), liar, Bytes{"a"})), other(test::text("b"));
    std::string area(100000, '#');
    send(SITE("getvalue"), item.ref(), Returning{{reinterpret_cast<std::byte *>(area.data())}});
    EXPECT_EQ(area.substr(0, 3), "a##");
    EXPECT_TRUE(send<bool>(SITE("lessthan"), item.ref(), other.ref()));
    EXPECT_EQ(send<Index>(SITE("compareto"), other.ref(), item.ref()), 1);
}

} // namespace
} // namespace oocobol::test
