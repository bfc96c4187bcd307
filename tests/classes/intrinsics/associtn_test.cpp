// Associations: their classes, their parts, comparing by key, texts, and going deeper.
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Associations : public testing::Test {
protected:
    static Ref classFor(Ref key, Ref datum) { return send<Ref>(SITE("newclass"), CLASS("associtn"), key, datum); }
    static Ref association(Ref ofClass, const std::string &key, Count datum) {
        return send<Ref>(SITE("keydata"), ofClass, area(key), datum);
    }
    static Count sizeInBytes(Ref object) { return send<Count>(SITE("sizeinbytes"), object); }

    LeakCheck leaks;
    RaisedErrors errors;
};

TEST_F(Associations, HaveAClassForEachPairOfTemplates) {
    EXPECT_EQ(classFor(null, null), CLASS("associtn"));
    EXPECT_EQ(classFor(comp5(), null), CLASS("compasoc"));
    EXPECT_EQ(classFor(null, comp5()), classFor(null, comp5()));
    EXPECT_NE(classFor(picX(10), comp5()), classFor(picX(10), comp5()));
    const struct {
        Ref ofClass;
        Count length, key, datum;
    } sizes[] = {{CLASS("associtn"), 16, 8, 8},
                 {CLASS("compasoc"), 12, 4, 8},
                 {CLASS("picxtoob"), 40, 32, 8},
                 {classFor(picX(10), comp5()), 14, 10, 4}};
    for (const auto &expected : sizes) {
        EXPECT_EQ(sizeInBytes(expected.ofClass), expected.length);
        EXPECT_EQ(send<Count>(SITE("getkeysize"), expected.ofClass), expected.key);
        EXPECT_EQ(send<Count>(SITE("getdatasize"), expected.ofClass), expected.datum);
        EXPECT_FALSE(send<bool>(SITE("storingobjects"), expected.ofClass));
    }
    EXPECT_EQ(send<Ref>(SITE("getkeytemplate"), CLASS("picxtoob")), CLASS("picx32"));
    EXPECT_EQ(send<Ref>(SITE("baseclass"), classFor(picX(10), null)), CLASS("associtn"));
    EXPECT_TRUE(errors.all.empty());
    EXPECT_FALSE(classFor(picX(0x0FFFFFFF), comp5()));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{30}));
}

TEST_F(Associations, CompareAndHashByKey) {
    const auto ofClass = classFor(picX(4), comp5());
    const auto one = association(ofClass, "k   ", 1), other = association(ofClass, "k   ", 2);
    const auto later = association(ofClass, "m   ", 1);
    EXPECT_TRUE(send<bool>(SITE("equal"), one, other));
    EXPECT_TRUE(send<bool>(SITE("lessthan"), one, later));
    EXPECT_TRUE(send<bool>(SITE("greaterthan"), later, other));
    EXPECT_EQ(send<Count>(SITE("hash"), one), send<Count>(SITE("hash"), other));
    EXPECT_EQ(send<Count>(SITE("hash"), one), Count{'k'});
    EXPECT_TRUE(sendOver<bool>(SITE("equalbylengthvalue"), ofClass, "k   1234", Index{8}, Bytes{"k   5678"}));
    const auto text = send<Ref>(SITE("ascharacterarray"), one);
    EXPECT_EQ(valueOf(text), "(\"k   \"->1)");
    send(SITE("setvalue"), one, Bytes{"w   abcd"});
    char value[8];
    send(SITE("getvalue"), one, Returning{{reinterpret_cast<std::byte *>(value)}});
    EXPECT_EQ(std::string(value, 8), "w   abcd");
    EXPECT_TRUE(errors.all.empty());
    for (const auto made : {one, other, later, text}) finalize(made);
}

TEST_F(Associations, ReachTheirObjects) {
    const auto key = text("key"), datum = text("datum");
    const auto alone = send<Ref>(SITE("key"), CLASS("associtn"), key);
    EXPECT_FALSE(send<Ref>(SITE("getdata"), alone));
    const auto both = send<Ref>(SITE("keydata"), CLASS("associtn"), key, datum);
    EXPECT_TRUE(send<bool>(SITE("equal"), alone, both));
    const auto copy = send<Ref>(SITE("deepcopy"), both);
    EXPECT_EQ(valueOf(send<Ref>(SITE("getdata"), copy)), "datum");
    EXPECT_NE(send<Ref>(SITE("getkey"), copy), key);
    send<Ref>(SITE("deepfinalizewithdepth"), copy, Index{1});
    send<Ref>(SITE("deepfinalizewithdepth"), alone, Index{0});
    EXPECT_TRUE(isLive(key));
    const auto bare = send<Ref>(SITE("deepcopy"), Temporary(send<Ref>(SITE("key"), CLASS("associtn"), null)).ref());
    send<Ref>(SITE("deepfinalize"), bare);
    EXPECT_TRUE(errors.all.empty());
    send<Ref>(SITE("deepfinalize"), both);
    EXPECT_FALSE(isLive(key) || isLive(datum));
}

// What is shorter or longer than its class says by now is neither read nor written beyond its end.
TEST_F(Associations, SurviveAClassThatChanges) {
    const auto ofClass = classFor(picX(4), comp5());
    const auto made = association(ofClass, "key ", 7);
    const auto table = send<Ref>(SITE("ofassociations"), CLASS("dictinry"), ofClass, Index{10});
    send(SITE("atput"), table, area(std::string("key ")), Count{7});
    send(SITE("setkeytype"), ofClass, picX(400));
    char key[400];
    send(SITE("getkey"), made, Returning{{reinterpret_cast<std::byte *>(key)}});
    send<Count>(SITE("hash"), made);
    send<Count>(SITE("at"), table, area(std::string("key ")));
    finalize(send<Ref>(SITE("copy"), table));
    finalize(table);
    finalize(made);
}

} // namespace
} // namespace oocobol::test
