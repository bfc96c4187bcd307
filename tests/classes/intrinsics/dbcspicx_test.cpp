// Items of characters of one or two bytes: lengths, characters, comparisons, the texts made of them, and how items of
// single bytes turn into them.
#include "classes/text/mixed_text.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

#define HA "\x82\xA0"
#define HI "\x82\xA2"
#define KA "\x83\x41"
#define SPACE2 "\x81\x40"

class MixedItem : public testing::TestWithParam<bool> {
protected:
    MixedItem() { allowNativePaths(GetParam()); }
    ~MixedItem() override { allowNativePaths(true); }
    InEnvironment environment{doubleByte};

    static Ref item(Index count, std::string_view value) {
        return send<Ref>(SITE("withlengthvalue"), CLASS("dbcspicx"), count, Bytes(ExactBytes(value)));
    }
    static Ref plain(std::string_view value) {
        return send<Ref>(SITE("withvalue"), picX(static_cast<Index>(value.size())), Bytes(ExactBytes(value)));
    }
    template <class... Sent> static std::string valueOfAnswer(oops_site &site, Ref object, const Sent &...sent) {
        const Temporary answered(send<Ref>(site, object, sent...));
        return answered ? valueOf(answered.ref()) : "nothing";
    }
    static std::string at(Ref object, Index position) {
        char area[9] = {};
        send(SITE("at"), object, Returning{{reinterpret_cast<std::byte *>(area)}}, position);
        return area;
    }
    static bool isMixed(Ref object) { return send<Ref>(SITE("baseclass"), classOf(object)) == CLASS("dbcspicx"); }
};
INSTANTIATE_TEST_SUITE_P(Roads, MixedItem, testing::Bool(),
                         [](const auto &road) { return std::string(road.param ? "Natively" : "BySends"); });

TEST_P(MixedItem, ClassesReserveTwoBytesACharacter) {
    const LeakCheck leaks;
    const auto four = send<Ref>(SITE("newclass"), CLASS("dbcspicx"), Index{4});
    EXPECT_EQ(send<Count>(SITE("size"), four), 4U);
    EXPECT_EQ(send<Count>(SITE("sizeinbytes"), four), 8U);
    EXPECT_EQ(send<Count>(SITE("size"), CLASS("dbcspicx")), 1U);
    {
        const InEnvironment single(singleByte); // the class is asked again
        EXPECT_EQ(send<Count>(SITE("sizeinbytes"), four), 4U);
        const Temporary text(send<Ref>(SITE("withvalue"), four, Bytes(ExactBytes("ab" KA))));
        EXPECT_EQ(send<Count>(SITE("sizeinbytes"), text.ref()), 4U);
        EXPECT_EQ(at(text.ref(), 4), "A");
    }
    const Temporary text(send<Ref>(SITE("withvalue"), four, Bytes(ExactBytes(HA HI "  "))));
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 4U);
    EXPECT_EQ(send<Count>(SITE("sizeinbytes"), text.ref()), 6U);
    const Temporary none(item(0, ""));
    EXPECT_EQ(send<Count>(SITE("sizeinbytes"), none.ref()), 0U);
}

TEST_P(MixedItem, CharactersAreReadReplacedAndFound) {
    const LeakCheck leaks;
    const Temporary text(item(4, "a" KA "b" HA)), wanted(plain("Ab")), b(plain("b")), wide(item(1, HA));
    EXPECT_EQ(at(text.ref(), 2), KA);
    EXPECT_EQ(at(text.ref(), 3), "b");
    EXPECT_EQ(send<Index>(SITE("indexofstring"), text.ref(), b.ref(), Index{1}), 3);
    EXPECT_EQ(send<Index>(SITE("indexofstring"), text.ref(), wide.ref(), Index{2}), 4);
    EXPECT_EQ(send<Index>(SITE("indexofstring"), text.ref(), wanted.ref(), Index{1}), 0); // half of a character, and b
    send(SITE("atput"), text.ref(), Index{1}, Bytes{HI});
    send(SITE("atput"), text.ref(), Index{4}, Bytes{"!"});
    EXPECT_EQ(valueOf(text.ref()), HI KA "b!");
    send(SITE("setvalue"), text.ref(), Bytes(ExactBytes("12" HA "4")));
    EXPECT_EQ(valueOf(text.ref()), "12" HA "4");
    EXPECT_TRUE(send<bool>(SITE("containsdbcscharacters"), text.ref()));
    RaisedErrors errors;
    for (const Index outside : {0, 5, -1}) {
        at(text.ref(), outside);
        send(SITE("atput"), text.ref(), outside, Bytes{"x"});
        send<Index>(SITE("indexofstring"), text.ref(), b.ref(), outside);
    }
    EXPECT_EQ(errors.numbers(), std::vector<Count>(9, 3));
}

TEST_P(MixedItem, ItemsWithTheSameCharactersAreEqual) {
    const LeakCheck leaks;
    const Temporary text(item(3, HA "b ")), longer(item(5, HA "b   ")), above(item(2, HI "a"));
    const Temporary bytes(send<Ref>(SITE("withlengthvalue"), CLASS("bytearry"), Index{4}, Bytes{HA "b "}));
    const Temporary mixedText(send<Ref>(SITE("withvalue"), CLASS("chararry"), Bytes{HA "b"})), small(plain("b"));
    for (const auto other : {longer.ref(), bytes.ref(), mixedText.ref()}) {
        EXPECT_TRUE(send<bool>(SITE("equal"), text.ref(), other));
        EXPECT_FALSE(send<bool>(SITE("lessthan"), text.ref(), other));
        EXPECT_FALSE(send<bool>(SITE("greaterthan"), text.ref(), other));
        EXPECT_EQ(send<Index>(SITE("compareto"), text.ref(), other), 0);
    }
    EXPECT_TRUE(send<bool>(SITE("lessthan"), text.ref(), above.ref()));
    EXPECT_TRUE(send<bool>(SITE("greaterthan"), above.ref(), text.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalbylengthvalue"), text.ref(), Index{2}, Bytes(ExactBytes(HA "b"))));
    EXPECT_TRUE(send<bool>(SITE("lessthan"), small.ref(), text.ref())); // an item of bytes compares bytes
    EXPECT_FALSE(send<bool>(SITE("equal"), small.ref(), text.ref()));
    EXPECT_TRUE(send<bool>(SITE("greaterthan"), text.ref(), small.ref()));
    const Temporary spaces(item(4, HA "b" SPACE2 " "));
    EXPECT_EQ(send<Count>(SITE("hash"), text.ref()), send<Count>(SITE("hash"), spaces.ref()));
    const Temporary upper(item(3, KA "aB")), lower(item(3, KA "Ab")),
        other(item(3, "\x83\x61"
                      "ab"));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecase"), upper.ref(), lower.ref()));
    EXPECT_FALSE(send<bool>(SITE("equalsignorecase"), upper.ref(), other.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecasebylengthvalue"), upper.ref(), Index{3}, Bytes(ExactBytes(KA "ab"))));
}

TEST_P(MixedItem, TextsMadeOfItHaveWholeCharacters) {
    const LeakCheck leaks;
    const Temporary text(item(6, SPACE2 " a" KA "b ")), two(item(2, "a" HA)), blank(item(2, SPACE2 " "));
    const Temporary trimmed(send<Ref>(SITE("trimblanks"), text.ref()));
    EXPECT_EQ(valueOf(trimmed.ref()), "a" KA "b");
    EXPECT_EQ(send<Count>(SITE("size"), trimmed.ref()), 3U);
    EXPECT_TRUE(isMixed(trimmed.ref()));
    EXPECT_EQ(valueOfAnswer(SITE("trimblanks"), blank.ref()), " ");
    EXPECT_EQ(valueOfAnswer(SITE("asuppercase"), two.ref()), "A" HA);
    EXPECT_EQ(valueOfAnswer(SITE("ascharacterarray"), two.ref()), "a" HA);
    EXPECT_EQ(valueOfAnswer(SITE("description"), two.ref()), "\"a" HA "\"");
    EXPECT_EQ(valueOfAnswer(SITE("aspicx"), two.ref()), "a" HA);
    const Temporary joined(send<Ref>(SITE("concat"), two.ref(), two.ref())); // a HA a HA in four bytes
    EXPECT_EQ(valueOf(joined.ref()), "a" HA "a");
    EXPECT_FALSE(isMixed(joined.ref()));
    const Temporary single(plain("xy"));
    EXPECT_EQ(valueOfAnswer(SITE("concat"), two.ref(), single.ref()), "a" HA "x");
    EXPECT_EQ(valueOfAnswer(SITE("concat"), single.ref(), two.ref()), "xya ");
    const Temporary lines(item(5, KA "\n\nb" HA));
    const auto list = send<Ref>(SITE("asseparatelines"), lines.ref());
    ASSERT_EQ(send<Count>(SITE("size"), list), 2U);
    EXPECT_EQ(valueOf(send<Ref>(SITE("at"), list, Index{1})), KA);
    EXPECT_EQ(valueOf(send<Ref>(SITE("at"), list, Index{2})), "b" HA);
    send<Ref>(SITE("deepfinalize"), list);
}

TEST_P(MixedItem, ItemsOfSingleBytesTurnIntoThem) {
    const LeakCheck leaks;
    const Temporary put(plain("abc")), set(plain("abc"));
    send(SITE("atput"), put.ref(), Index{2}, Bytes{HA});
    EXPECT_TRUE(isMixed(put.ref()));
    EXPECT_EQ(valueOf(put.ref()), "a" HA "c");
    send(SITE("setvalue"), set.ref(), Bytes(ExactBytes("1" KA HA)));
    EXPECT_EQ(valueOf(set.ref()), "1" KA HA);
    send(SITE("setvalue"), set.ref(), Bytes(ExactBytes("123")));
    EXPECT_EQ(valueOf(set.ref()), "123");
    const Temporary made(send<Ref>(SITE("withlengthvalue"), CLASS("picx"), Index{2}, Bytes(ExactBytes(HA "b"))));
    EXPECT_TRUE(isMixed(made.ref()));
    EXPECT_EQ(valueOf(made.ref()), HA "b");
    char raw[4] = {'a', 'b', 'c', 'd'}; // bare bytes turn into nothing
    sendOver(SITE("setvalue"), picX(4), raw, Bytes{HA HI});
    EXPECT_EQ(std::string_view(raw, 4), HA HI);
    RaisedErrors errors;
    sendOver(SITE("atput"), picX(4), raw, Index{4}, Bytes{HA});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{91});
}

// Elements are as wide as their class reserves; comparisons of theirs read no more.
TEST_P(MixedItem, AreElementsAndKeysOfCollections) {
    const LeakCheck leaks;
    const auto three = send<Ref>(SITE("newclass"), CLASS("dbcspicx"), Index{3});
    const auto element = [](std::string_view value) { return ExactBytes(padded(value, 6)); };
    for (auto *kind : {"valueset", "bag", "srtdclln", "ordrdcll"}) {
        const Temporary all(send<Ref>(SITE("ofvalues"), classForProgram(kind), three, Index{2}));
        ASSERT_TRUE(all) << kind;
        for (const auto *value : {HA HI KA, "b", HA HI, HA HI KA})
            send(SITE("add"), all.ref(), Element(element(value)));
        EXPECT_TRUE(send<bool>(SITE("includes"), all.ref(), Element(element(HA HI KA)))) << kind;
        EXPECT_FALSE(send<bool>(SITE("includes"), all.ref(), Element(element(HA HI HI)))) << kind;
    }
    const Temporary names(send<Ref>(SITE("ofvaluesauto"), CLASS("dictinry"), three, three, Index{3}));
    send(SITE("atput"), names.ref(), Element(element(HA HI KA)), Element(element("x" HA)));
    char datum[6];
    send(SITE("at"), names.ref(), Returning{{reinterpret_cast<std::byte *>(datum)}}, Element(element(HA HI KA)));
    EXPECT_EQ(std::string_view(datum, 6), "x" HA "   ");
    const auto pair = send<Ref>(SITE("newclass"), CLASS("associtn"), picX(2), picX(1));
    EXPECT_FALSE(sendOver<bool>(SITE("greaterthanbylengthvalue"), pair, HA "x", Index{3}, Bytes(ExactBytes(HA "y"))));
}

TEST(MixedItemEnvironment, ASingleByteEnvironmentMakesThemItemsOfBytes) {
    const LeakCheck leaks;
    const InEnvironment environment(singleByte);
    const Temporary text(send<Ref>(SITE("withlengthvalue"), CLASS("dbcspicx"), Index{4}, Bytes(ExactBytes(HA " b"))));
    EXPECT_EQ(valueOf(text.ref()), HA " b");
    EXPECT_EQ(send<char>(SITE("at"), text.ref(), Index{2}), '\xA0');
    const Temporary plain(send<Ref>(SITE("withvalue"), picX(2), Bytes(ExactBytes(HA))));
    EXPECT_EQ(classOf(plain.ref()), picX(2));
}

} // namespace
} // namespace oocobol::test
