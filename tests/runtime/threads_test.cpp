// Threads: first use, shared sites, extension while others send, objects that end on another thread.
#include <atomic>

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
    const LeakCheck leaks;
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

} // namespace
} // namespace oocobol::test
