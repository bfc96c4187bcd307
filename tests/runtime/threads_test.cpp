// Threads: first use, shared sites, extension while others send, objects that end on another thread.
#include <atomic>
#include <thread>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

template <class Action> void onThreads(int count, Action action) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([&, i] { action(i); });
    for (auto &running : threads) running.join();
}

std::atomic<int> registrations{0};
std::int64_t threadProgram(void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                           void *, void *, void *, void *) {
    ++registrations;
    OutsideClass("thfirst", "threadfirst", classForProgram("base")).registerIt();
    return 0;
}

TEST(Threads, AClassIsRegisteredOnceHoweverManyUseItFirst) {
    host_register_entry("thfirst", threadProgram);
    std::atomic<std::uint64_t> seen{0};
    onThreads(8, [&](int) {
        const auto found = classForProgram("thfirst");
        EXPECT_TRUE(found);
        std::uint64_t expected = 0;
        const auto isFirst = seen.compare_exchange_strong(expected, found.bits);
        EXPECT_TRUE(isFirst || expected == found.bits);
    });
    EXPECT_EQ(registrations, 1);
    host_register_entry("thfirst", nullptr);
}

void answerOne(const oops_ref *, void *, std::uint32_t *answer) { *answer = 1; }
void answerTwo(const oops_ref *, void *, std::uint32_t *answer) { *answer = 2; }
void answerThree(const oops_ref *, void *, std::uint32_t *answer) { *answer = 3; }

TEST(Threads, OneSiteServesManyClassesAndAMethodReplacedMeanwhile) {
    const auto base = classForProgram("base");
    const auto one = OutsideClass("thone", "threadone", base).method("which", asMethod(answerOne), 1).registerIt();
    const auto two = OutsideClass("thtwo", "threadtwo", base).method("which", asMethod(answerTwo), 1).registerIt();
    const auto first = createInstance(one), second = createInstance(two);
    static oops_site site = OOPS_SITE("which");
    std::atomic<bool> replaced{false};
    std::atomic<int> wrong{0};
    onThreads(4, [&](int number) {
        if (number == 0) {
            OutsideClass("thone", "threadone", base).method("which", asMethod(answerThree), 1).extend();
            replaced = true;
            return;
        }
        for (int i = 0; i < 20000; ++i) {
            const bool after = replaced;
            std::uint32_t answer = 0;
            oopsresolve(&site, (i % 2 == 0 ? first : second).bits, 1, &answer);
            const bool right = i % 2 != 0 ? answer == 2 : answer == 3 || (answer == 1 && !after);
            if (!right) ++wrong;
        }
    });
    EXPECT_EQ(wrong, 0);
    cancelObject(first);
    cancelObject(second);
}

TEST(Threads, ObjectsMadeOnOneThreadEndOnAnother) {
    const LeakCheck leaks;
    const auto base = classForProgram("base");
    constexpr int count = 20000;
    std::vector<std::atomic<std::uint64_t>> mailbox(count);
    onThreads(2, [&](int number) {
        for (int i = 0; i < count; ++i) {
            if (number == 0) {
                mailbox[static_cast<std::size_t>(i)] = createInstance(base).bits;
                continue;
            }
            std::uint64_t bits = 0;
            while ((bits = mailbox[static_cast<std::size_t>(i)]) == 0) std::this_thread::yield();
            EXPECT_TRUE(cancelObject(Ref{bits}));
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
