// Threads: first use, shared sites, extension while others send, objects that end on another thread.
#include <atomic>
#include <random>

#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

TEST(Threads, AClassIsRegisteredOnceHoweverManyUseItFirst) {
    std::atomic<int> registrations{0};
    const auto entry = entryNamed(
        [&](void **) {
            OutsideClass("thfirst", "threadfirst", classForProgram("base")).registerIt();
            return ++registrations;
        },
        "thfirst");
    std::array<Ref, 8> seen;
    onThreads(8, [&](int number) { seen[static_cast<std::size_t>(number)] = classForProgram("thfirst"); });
    host_register_entry(entry.c_str(), nullptr);
    EXPECT_TRUE(seen[0]);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), seen[0]), 8);
    EXPECT_EQ(registrations, 1);
}

template <std::uint32_t which> void answerWhich(const oops_ref *, void *, std::uint32_t *answer) { *answer = which; }

TEST(Threads, OneSiteServesManyClassesAndAMethodReplacedMeanwhile) {
    const auto base = classForProgram("base");
    const Temporary first(
        createInstance(OutsideClass("thone", "threadone", base).method("which", answerWhich<1>).registerIt())),
        second(createInstance(OutsideClass("thtwo", "threadtwo", base).method("which", answerWhich<2>).registerIt()));
    static oops_site site = OOPS_SITE("which");
    std::atomic<bool> replaced{false};
    std::atomic<int> wrong{0};
    onThreads(4, [&](int number) {
        if (number == 0) {
            OutsideClass("thone", "threadone", base).method("which", answerWhich<3>).extend();
            replaced = true;
            return;
        }
        for (int i = 0; i < 20000; ++i) {
            const bool after = replaced;
            std::uint32_t answer = 0;
            oopsresolve(&site, (i % 2 == 0 ? first : second).ref().bits, 1, &answer);
            const bool right = i % 2 != 0 ? answer == 2 : answer == 3 || (answer == 1 && !after);
            if (!right) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(Threads, ObjectsMadeOnOneThreadEndOnAnother) {
    const auto base = classForProgram("base");
    std::vector<std::atomic<std::uint64_t>> mailbox(20000);
    onThreads(2, [&](int number) {
        for (auto &letter : mailbox) {
            if (number == 0) {
                letter = createInstance(base).bits;
                continue;
            }
            while (letter == 0) std::this_thread::yield();
            EXPECT_TRUE(cancelObject(Ref{letter}));
        }
    });
}

TEST(Threads, OfManyThatFinalizeOneObjectOneSucceeds) {
    const auto base = classForProgram("base");
    for (int round = 0; round < 200; ++round) {
        const auto object = createInstance(base);
        std::atomic<int> successes{0};
        onThreads(3, [&](int) { successes += cancelObject(object) ? 1 : 0; });
        EXPECT_EQ(successes, 1);
    }
}

// ---- What is live, what is stale, and what never was a reference ---------------------------------------------------

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

} // namespace
} // namespace oocobol::test
