// Components used by many threads at once.
#include <atomic>
#include <random>

#include "host/lock_order.h"
#include "tests/classes/object/components.h"

namespace oocobol::test {
namespace {

std::atomic<std::uint64_t> received{0};

Ref newCounter() {
    static const auto counterClass =
        OutsideClass("cmcount", "counter", classForProgram("base"))
            .method("note", [](const oops_ref *, void *, void *, const std::int64_t *) { ++received; })
            .registerIt();
    return component(send<Ref>(SITE("new"), counterClass));
}

class ConcurrentComponents : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const RaisedErrors errors;
        finalize(newCounter());
    }
    LeakCheck leaks;
};

TEST_F(ConcurrentComponents, EveryThreadsSignalReachesAllReceivers) {
    constexpr int threads = 4, signals = 500, receivers = 5;
    const auto source = newCounter();
    Refs counters(receivers);
    for (auto &counter : counters) connect(source, counter = newCounter());
    received = 0;
    onThreads(threads, [&](int) {
        for (int i = 0; i < signals; ++i) tell(source, i);
    });
    EXPECT_EQ(received, std::uint64_t{threads} * signals * receivers);
    for (const auto counter : counters) finalize(counter);
    finalize(source);
}

TEST_F(ConcurrentComponents, AreMadeOnceByManyThreads) {
    for (int round = 0; round < 50; ++round) {
        const auto object = send<Ref>(SITE("new"), CLASS("cmcount"));
        onThreads(4, [&](int) { send(SITE("makecomponent"), object); });
        EXPECT_TRUE(send<bool>(SITE("iscomponent"), object));
        finalize(object);
    }
}

// Every thread signals, connects, disconnects and replaces components of one pool, crosswise; those in the first places
// stay. No order of locks may end in a deadlock, and nothing may be left over.
TEST_F(ConcurrentComponents, SignalConnectAndEndAtOnce) {
    constexpr std::size_t places = 12, staying = 4;
    constexpr int steps = 400;
    std::array<std::atomic<std::uint64_t>, places> pool;
    for (auto &place : pool) place = newCounter().bits;
    onThreads(4, [&](int number) {
        const RaisedErrors errors; // of objects that have just gone: 93, 94, 106
        std::mt19937 random(static_cast<unsigned>(number));
        const auto pick = [&] { return Ref{pool[random() % places].load()}; };
        for (int i = 0; i < steps; ++i) {
            const auto source = pick(), target = pick();
            const auto what = random() % 6;
            if (what < 2)
                tell(source, i);
            else if (what < 4)
                connect(source, target);
            else if (what == 4)
                send(SITE("disconnectsignal"), source, Bytes{"go"}, target);
            else
                finalize(Ref{pool[staying + random() % (places - staying)].exchange(newCounter().bits)});
        }
    });
    const RaisedErrors errors;
    for (auto &place : pool) finalize(Ref{place.load()});
#if OOCOBOL_CHECKED
    using host::MutexKind;
    EXPECT_FALSE(host::lockOrder::seen(MutexKind::component, MutexKind::component));
#endif
}

TEST_F(ConcurrentComponents, TwoThatEndEachOther) {
    for (int round = 0; round < 200; ++round) {
        Ref pair[2] = {newCounter(), newCounter()};
        connect(pair[0], pair[1]);
        connect(pair[1], pair[0]);
        onThreads(2, [&](int number) { finalize(pair[number]); });
    }
}

} // namespace
} // namespace oocobol::test
