// References: what is live, what is stale, and what never was one.
#include <random>

#include "tests/support/says.h"
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

TEST(References, BecomeWhatTheyAreExchangedForAndRaiseWhenStale) {
    const auto one = newObject(), other = text("other");
    says(one, "becomes $1; * -> 'other'; $1 class -> $base; finalize; copy -> error 106; finalize -> error 106",
         {other});
    EXPECT_TRUE(isLive(other));
    finalize(other);
}

TEST(References, CopiesContentsOnlyBetweenLikeObjects) {
    const RaisedErrors errors;
    const Temporary one(newObject()), other(newObject()), different(text("abc"));
    EXPECT_EQ(oopscopyobjectcontents(one.ref().bits, other.ref().bits), 1);
    EXPECT_EQ(oopscopyobjectcontents(one.ref().bits, different.ref().bits), 0);
    EXPECT_EQ(oopscopyobjectcontents(one.ref().bits, 0), 0);
}

TEST(References, ComponentSlotsFollowTheObject) {
    int data = 0;
    for (int i = 0; i < 2000; ++i) {
        const auto object = newObject().bits;
        EXPECT_EQ(oopsgetcomponentdata(object), nullptr) << "inherited from the object before it";
        oopssetcomponentdata(object, &data);
        EXPECT_EQ(oopsgetcomponentdata(object), &data);
        oopscancel(object);
        EXPECT_EQ(oopsgetcomponentdata(object), nullptr);
    }
}

} // namespace
} // namespace oocobol::test
