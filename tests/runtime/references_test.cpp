// References: what is live, what is stale, and what never was one.
#include <random>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref newObject() { return createInstance(classForProgram("base")); }

TEST(References, AFinalizedObjectIsNotMetAgain) {
    const auto first = newObject();
    ASSERT_TRUE(isLive(first));
    EXPECT_TRUE(cancelObject(first));
    EXPECT_FALSE(isLive(first));
    EXPECT_FALSE(cancelObject(first)) << "released twice";
    // Whatever comes to use the index after it, the old reference stays dead. Small generations, as one of the builds
    // has them, make the indexes wear out on the way.
    for (int i = 0; i < 200000; ++i) {
        const auto other = newObject();
        ASSERT_TRUE(isLive(other));
        ASSERT_FALSE(isLive(first));
        ASSERT_TRUE(cancelObject(other));
        ASSERT_FALSE(isLive(other));
    }
}

TEST(References, GarbageIsNeverAnObject) {
    RaisedErrors errors;
    std::mt19937_64 random(7);
    auto isKnown = [](std::uint64_t bits) { return referenceAt(Ref{bits}.index()) == Ref{bits}; };
    for (int i = 0; i < 20000; ++i) {
        std::uint64_t bits = random();
        if (i % 4 == 1) bits &= 0xFFFFFFFFFFULL;      // a small index and a small generation
        if (i % 4 == 2) bits = 0x2020202020202020ULL; // spaces
        if (isKnown(bits)) continue;
        EXPECT_FALSE(isLive(Ref{bits}));
        std::uint64_t answer = 0x5A5A5A5A5A5A5A5AULL;
        static oops_site site = OOPS_SITE("hash");
        oopsresolve(&site, bits, 1, &answer);
        EXPECT_EQ(answer, 0x5A5A5A5A5A5A5A5AULL);
    }
    const auto raised = errors.numbers();
    ASSERT_FALSE(raised.empty());
    for (const auto number : raised) EXPECT_TRUE(number == 106 || number == 7) << number;
}

TEST(References, AStaleReceiverRaisesItsOwnErrorWithTheMessage) {
    RaisedErrors errors;
    const auto object = newObject();
    finalize(object);
    send<Ref>(SITE("copy"), object);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{106});
    finalize(object);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{106}) << "finalized twice";
}

TEST(References, BecomesExchangesWhatTheyReach) {
    const auto one = newObject();
    const auto other = text("other");
    send(SITE("becomes"), one, other);
    EXPECT_EQ(valueOf(one), "other");
    EXPECT_EQ(classOf(other), classForProgram("base"));
    finalize(one);
    EXPECT_TRUE(isLive(other));
    finalize(other);
}

TEST(References, CopiesContentsOnlyBetweenLikeObjects) {
    RaisedErrors errors;
    const auto one = newObject(), other = newObject(), different = text("abc");
    EXPECT_EQ(oopscopyobjectcontents(one.bits, other.bits), 1);
    EXPECT_EQ(oopscopyobjectcontents(one.bits, different.bits), 0);
    EXPECT_EQ(oopscopyobjectcontents(one.bits, 0), 0);
    for (const auto object : {one, other, different}) finalize(object);
}

TEST(References, ComponentSlotsFollowTheObject) {
    int data = 0;
    const auto object = newObject();
    EXPECT_EQ(oopsgetcomponentdata(object.bits), nullptr);
    oopssetcomponentdata(object.bits, &data);
    EXPECT_EQ(oopsgetcomponentdata(object.bits), &data);
    oopscancel(object.bits);
    EXPECT_EQ(oopsgetcomponentdata(object.bits), nullptr);
    for (int i = 0; i < 2000; ++i) {
        const auto next = newObject();
        EXPECT_EQ(oopsgetcomponentdata(next.bits), nullptr) << "inherited from the object before it";
        oopscancel(next.bits);
    }
}

} // namespace
} // namespace oocobol::test
