// Components used by many threads at once.
#include <atomic>
#include <random>
#include <thread>

#include "host/lock_order.h"
#include "tests/classes/object/components.h"

namespace oocobol::test {
namespace {

std::atomic<std::uint64_t> received{0};
void onCount(const oops_ref *, void *, void *, const std::int64_t *) { ++received; }

Ref counterClass() {
    static const auto made =
        OutsideClass("cmcount", "counter", classForProgram("base")).method("note", asMethod(onCount), 2).registerIt();
    return made;
}
Ref newCounter() {
    const auto made = send<Ref>(SITE("new"), counterClass());
    send(SITE("makecomponent"), made);
    send(SITE("defineoutsignal"), made, Bytes{"go"});
    send(SITE("defineinsocket"), made, Bytes{"in"});
    send(SITE("defineinsignal"), made, Bytes{"go"}, Bytes{"in"}, Bytes{"note"});
    return made;
}

template <class Action> void onThreads(int count, Action action) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            const RaisedErrors errors; // of objects that have just gone: 93, 94, 106
            action(i);
        });
    }
    for (auto &running : threads) running.join();
}

class ConcurrentComponents : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const RaisedErrors errors;
        finalize(newCounter());
    }
};

TEST_F(ConcurrentComponents, EveryThreadsSignalReachesAllReceivers) {
    const LeakCheck leaks;
    constexpr int threads = 4, signals = 500, receivers = 5;
    const auto source = newCounter();
    std::vector<Ref> counters;
    for (int i = 0; i < receivers; ++i) {
        counters.push_back(newCounter());
        connect(source, counters.back());
    }
    received = 0;
    onThreads(threads, [&](int) {
        for (int i = 0; i < signals; ++i) tell(source, i);
    });
    EXPECT_EQ(received, std::uint64_t{threads} * signals * receivers);
    for (const auto counter : counters) finalize(counter);
    finalize(source);
}

TEST_F(ConcurrentComponents, AreMadeOnceByManyThreads) {
    const LeakCheck leaks;
    for (int round = 0; round < 50; ++round) {
        const auto object = send<Ref>(SITE("new"), counterClass());
        onThreads(4, [&](int) { send(SITE("makecomponent"), object); });
        EXPECT_TRUE(send<bool>(SITE("iscomponent"), object));
        finalize(object);
    }
}

// Every thread signals, connects, disconnects and replaces components of one pool, crosswise; those in the first places
// stay. No order of locks may end in a deadlock, and nothing may be left over.
TEST_F(ConcurrentComponents, SignalConnectAndEndAtOnce) {
    const LeakCheck leaks;
    constexpr std::size_t places = 12, staying = 4;
    constexpr int steps = 400;
    std::array<std::atomic<std::uint64_t>, places> pool;
    for (auto &place : pool) place = newCounter().bits;
    onThreads(4, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        const auto pick = [&] { return Ref{pool[random() % places].load()}; };
        for (int i = 0; i < steps; ++i) {
            const auto source = pick(), target = pick();
            switch (random() % 6) {
            case 0:
            case 1:
                tell(source, i);
                break;
            case 2:
            case 3:
                connect(source, target);
                break;
            case 4:
                send(SITE("disconnectsignal"), source, Bytes{"go"}, target);
                break;
            default: {
                const auto fresh = newCounter();
                const auto former = pool[staying + random() % (places - staying)].exchange(fresh.bits);
                finalize(Ref{former});
            }
            }
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
    const LeakCheck leaks;
    for (int round = 0; round < 200; ++round) {
        Ref pair[2] = {newCounter(), newCounter()};
        connect(pair[0], pair[1]);
        connect(pair[1], pair[0]);
        onThreads(2, [&](int number) { finalize(pair[number]); });
    }
}

} // namespace
} // namespace oocobol::test
