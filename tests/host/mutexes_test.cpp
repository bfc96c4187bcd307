// Mutexes behind handles and the threads that use them.
#include <array>
#include <atomic>
#include <chrono>
#include <random>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "host/host.h"
#include "host/lock_order.h"
#include "tests/support/support.h"

namespace oocobol::host::tests {
namespace {

using namespace std::chrono_literals;

// Whether another thread gets the mutex within the time.
bool othersGet(MutexHandle mutex, std::chrono::milliseconds time) {
    auto acquired = std::make_shared<std::atomic<bool>>(false);
    std::thread([=] {
        acquireMutex(mutex);
        *acquired = true;
        releaseMutex(mutex);
    }).detach();
    for (auto waited = 0ms; waited < time && !*acquired; waited += 2ms) std::this_thread::sleep_for(2ms);
    return *acquired;
}

// One that is closed in the end.
struct OwnMutex {
    explicit OwnMutex(MutexKind kind = MutexKind::other) : handle(openMutex(kind)) {}
    ~OwnMutex() { closeMutex(handle); }
    operator MutexHandle() const { return handle; }
    MutexHandle handle;
};

TEST(Mutex, onlyItsThreadMayAcquireItAgainAndMustReleaseItAsOften) {
    const OwnMutex mutex;
    acquireMutex(mutex);
    acquireMutex(mutex);
    std::thread([&] { releaseMutex(mutex); }).join();
    releaseMutex(mutex);
    EXPECT_FALSE(othersGet(mutex, 50ms));
    releaseMutex(mutex);
    EXPECT_TRUE(othersGet(mutex, 5s));
    std::thread([&] { acquireMutex(mutex); }).join();
    EXPECT_TRUE(othersGet(mutex, 5s)) << "an ending thread leaves none behind";
}

TEST(Mutex, staleAndGarbageHandlesAreLetBe) {
    const auto stale = openMutex();
    acquireMutex(stale);
    closeMutex(stale);
    const OwnMutex fresh; // in the same place, and free although the old one was not
    EXPECT_NE(stale, fresh);
    acquireMutex(fresh);
    const auto use = [](MutexHandle garbage) {
        acquireMutex(garbage);
        releaseMutex(garbage);
        closeMutex(garbage);
    };
    use(stale);
    EXPECT_FALSE(othersGet(fresh, 50ms));
    releaseMutex(fresh);
    EXPECT_TRUE(othersGet(fresh, 5s));
    std::mt19937_64 random(99);
    for (int i = 0; i < 100'000; ++i) use(i % 2 == 0 ? random() : random() % 1000);
}

TEST(Mutex, closingSendsWaitingThreadsOn) {
    const auto mutex = openMutex();
    acquireMutex(mutex);
    std::thread waiting([=] { acquireMutex(mutex); });
    std::this_thread::sleep_for(20ms);
    closeMutex(mutex);
    waiting.join();
}

TEST(Mutex, excludesThreadsWhileOthersOpenAndClose) {
    const OwnMutex mutex;
    int counter = 0;
    test::onThreads(4, [&](int) {
        for (int i = 0; i < 20'000; ++i) {
            const OwnMutex own;
            acquireMutex(mutex);
            acquireMutex(own);
            ++counter;
            releaseMutex(mutex);
        }
    });
    EXPECT_EQ(counter, 80'000);
}

TEST(Threads, getTheirOwnCopyOfTheBlockAndCleanUp) {
    struct Block {
        std::array<char, 64> text;
        std::atomic<std::uint64_t> *self;
    };
    static std::atomic<int> cleaned{0};
    std::array<std::atomic<std::uint64_t>, 8> selves{};
    for (auto &self : selves) {
        Block block{{"as it was"}, &self};
        const auto code = [](void *address) {
            const auto &mine = *static_cast<Block *>(address);
            atThreadExit([](void *counter) { ++*static_cast<std::atomic<int> *>(counter); }, &cleaned);
            *mine.self = std::string_view(mine.text.data()) == "as it was" ? threadSelf() : 0;
        };
        ASSERT_TRUE(createThread(code, &block, sizeof block));
        block.text = {"changed"};
    }
    for (int i = 0; i < 2000 && cleaned < 8; ++i) std::this_thread::sleep_for(1ms);
    EXPECT_EQ(cleaned, 8);
    std::set<std::uint64_t> distinct(selves.begin(), selves.end());
    distinct.insert({0, threadSelf()});
    EXPECT_EQ(distinct.size(), 10U);
}

// Two threads that take two mutexes crosswise, each holding one the yielding way, do not wait for each other.
TEST(YieldingHold, givesItsMutexUpWhileItsThreadWaits) {
    const OwnMutex mine(MutexKind::component), other;
    std::atomic<bool> holds{false}, done{false};
    test::onThreads(2, [&](int number) {
        if (number == 1) {
            acquireMutex(other);
            holds = true;
            std::this_thread::sleep_for(20ms);
            const YieldingHold hold(mine); // the first thread has it, and waits
            EXPECT_TRUE(hold);
            done = true;
            releaseMutex(other);
            return;
        }
        const YieldingHold hold(mine), again(mine);
        while (!holds) std::this_thread::yield();
        EXPECT_TRUE(acquireMutex(other));
        EXPECT_TRUE(done);
        releaseMutex(other);
        EXPECT_TRUE(hold);
    });
    EXPECT_TRUE(othersGet(mine, 5s));
}

TEST(YieldingHold, putsTheOuterOneAsideForAnother) {
    const OwnMutex outer(MutexKind::component), inner(MutexKind::component);
    YieldingHold first(outer);
    {
        const YieldingHold second(inner);
        EXPECT_TRUE(othersGet(outer, 5s));
        EXPECT_FALSE(othersGet(inner, 20ms));
    }
    EXPECT_FALSE(othersGet(outer, 20ms));
    first.release();
    EXPECT_TRUE(othersGet(outer, 5s));
    closeMutex(outer);
    EXPECT_FALSE(first.acquire());
    EXPECT_FALSE(YieldingHold(0));
}

#if OOCOBOL_CHECKED
TEST(LockOrderDeathTest, isRecordedByKindAndWhoHoldsTwoComponentsEndsTheRun) {
    const OwnMutex manager(MutexKind::manager), names(MutexKind::names), one(MutexKind::component),
        other(MutexKind::component);
    for (const MutexHandle mutex : {manager.handle, names.handle}) acquireMutex(mutex);
    EXPECT_TRUE(lockOrder::seen(MutexKind::manager, MutexKind::names));
    EXPECT_FALSE(lockOrder::seen(MutexKind::names, MutexKind::manager));
    for (const MutexHandle mutex : {names.handle, manager.handle}) releaseMutex(mutex);
    acquireMutex(one);
    EXPECT_DEATH(acquireMutex(other), "two components");
}
#endif

} // namespace
} // namespace oocobol::host::tests
