// What only byte arrays and what only character arrays answer.
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

TEST(ByteArray, ConvertsToItsOwnKindOnly) {
    const LeakCheck leaks;
    const Temporary bytes(send<Ref>(SITE("withvalue"), CLASS("bytearry"), Bytes{"\x83\x41x"}));
    const Temporary copy(send<Ref>(SITE("asbytearray"), bytes.ref()));
    EXPECT_NE(copy.ref(), bytes.ref());
    EXPECT_EQ(classOf(copy.ref()), CLASS("bytearry"));
    EXPECT_TRUE(send<bool>(SITE("equal"), bytes.ref(), copy.ref()));
    const Temporary characters(text("\x83\x41x"));
    EXPECT_EQ(send<Count>(SITE("hash"), bytes.ref()), send<Count>(SITE("hash"), characters.ref()));
    RaisedErrors errors;
    send<Ref>(SITE("ascharacterarray"), bytes.ref());
    EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
}

TEST(CharacterArray, KnowsTheClassesOfBothCharacterWidths) {
    const LeakCheck leaks;
    const Temporary characters(text("x"));
    EXPECT_EQ(send<Ref>(SITE("getsbcsclass"), CLASS("chararry")), CLASS("chararry"));
    EXPECT_EQ(send<Ref>(SITE("getsbcsclass"), characters.ref()), CLASS("chararry"));
    EXPECT_EQ(send<Ref>(SITE("getdbcsclass"), characters.ref()), classForProgram("dbcsarry"));
    EXPECT_EQ(send<Count>(SITE("charlengthinbytes"), CLASS("chararry"), Bytes{"x"}), 1U);
    const Temporary copy(send<Ref>(SITE("ascharacterarray"), characters.ref()));
    EXPECT_EQ(valueOf(copy.ref()), "x");
}

} // namespace
} // namespace oocobol::test
