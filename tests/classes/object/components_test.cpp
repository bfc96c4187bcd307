// Components: what they define, how they are connected, who receives a signal, and what is left when one goes.
#include <algorithm>

#include "classes/object/components.h"
#include "runtime/memory.h"
#include "tests/classes/object/components.h"

namespace oocobol::test {
namespace {

using Refs = std::vector<Ref>;

class Components : public ::testing::Test {
protected:
    Components() { log = &told; }
    ~Components() override { log = nullptr; }
    static void SetUpTestSuite() { // what lives as long as the process is made now
        const RaisedErrors errors;
        finalize(newSource());
        finalize(newReceiver());
    }
    Log told;
};

// ---- Definitions ---------------------------------------------------------------------------------------------------

TEST_F(Components, AreMadeOnceAndEndWithTheirObject) {
    const LeakCheck leaks;
    const auto object = newListener();
    EXPECT_FALSE(send<bool>(SITE("iscomponent"), object));
    send(SITE("makecomponent"), object);
    const auto outputs = send<Ref>(SITE("getoutputs"), object);
    send(SITE("makecomponent"), object);
    EXPECT_TRUE(send<bool>(SITE("iscomponent"), object));
    EXPECT_EQ(send<Ref>(SITE("getoutputs"), object), outputs);
    const auto copy = send<Ref>(SITE("copy"), object);
    EXPECT_FALSE(send<bool>(SITE("iscomponent"), copy));
    finalize(copy);
    finalize(object);
    EXPECT_FALSE(isLive(outputs));
}

TEST_F(Components, KnowTheirSignalsByTheFirst32CharactersOfTheName) {
    const LeakCheck leaks;
    const auto object = newListener();
    send(SITE("makecomponent"), object);
    const std::string longest(32, 'n');
    for (const auto &name : {std::string("short rest"), longest + "x", std::string()})
        send(SITE("defineoutsignal"), object, Bytes{name.c_str()});
    char unterminated[32];
    std::memset(unterminated, 'n', sizeof unterminated);
    EXPECT_TRUE(send<bool>(SITE("isoutputsignal"), object, Bytes{"short"}));
    EXPECT_TRUE(send<bool>(SITE("isoutputsignal"), object, Bytes{unterminated}));
    EXPECT_TRUE(send<bool>(SITE("isoutputsignal"), object, Bytes{""}));
    EXPECT_FALSE(send<bool>(SITE("isoutputsignal"), object, Bytes{"Short"}));
    EXPECT_EQ(send<Count>(SITE("size"), send<Ref>(SITE("getoutputs"), object)), 3u);
    send(SITE("defineinsocket"), object, Bytes{"in here"});
    send(SITE("defineinsignal"), object, Bytes{"go "}, Bytes{"in "}, Bytes{"note "});
    EXPECT_TRUE(send<bool>(SITE("isinputsignal"), object, Bytes{"in"}, Bytes{"go"}));
    EXPECT_FALSE(send<bool>(SITE("isinputsignal"), object, Bytes{"out"}, Bytes{"go"}));
    EXPECT_FALSE(send<bool>(SITE("isinputsignal"), object, Bytes{"in"}, Bytes{"stop"}));
    finalize(object);
}

TEST_F(Components, DefineASignalAgainAsTheirDuplicatesFlagSays) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto source = newSource(), target = newReceiver();
    const auto list = send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{"go"});
    const auto socket = send<Ref>(SITE("getsocket"), target, Bytes{"in"});
    const auto define = [&](const char *method) {
        send(SITE("defineinsignal"), target, Bytes{"go"}, Bytes{"in"}, Bytes{method});
    };
    const auto handler = [&] { return send<Ref>(SITE("atornil"), socket, NameKey(Name{"go"}).element()); };
    send(SITE("defineoutsignal"), source, Bytes{"go"});
    EXPECT_EQ(send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{"go"}), list);
    const auto first = handler();
    define("NOTE");
    EXPECT_EQ(handler(), first);
    define("other");
    EXPECT_NE(handler(), first);
    EXPECT_FALSE(isLive(first));
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    send(SITE("duplicatesnotok"), source);
    send(SITE("duplicatesnotok"), target);
    send<Ref>(SITE("cancel"), CLASS("exptnmgr"), source);
    send<Ref>(SITE("cancel"), CLASS("exptnmgr"), target);
    send(SITE("defineoutsignal"), source, Bytes{"go"});
    define("note");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{96, 98}));
    send(SITE("duplicatesok"), source);
    send(SITE("defineoutsignal"), source, Bytes{"go"});
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    finalize(source);
    finalize(target);
}

// ---- Connections ---------------------------------------------------------------------------------------------------

TEST_F(Components, AreConnectedOnceAndWhereNamesMatch) {
    const LeakCheck leaks;
    const auto source = newSource(), target = newReceiver();
    send(SITE("defineoutsignal"), source, Bytes{"stop"});
    connect(source, target);
    connect(source, target);
    EXPECT_EQ(connections(source), 1u);
    EXPECT_EQ(connections(source, "stop"), 0u);
    EXPECT_EQ(tell(source, 5), 77);
    EXPECT_EQ(told.told, (std::vector<Told>{{target, "note", 5}}));
    const auto handlers = send<Ref>(SITE("getsignalhandlers"), source, Bytes{"go"});
    EXPECT_EQ(send<Count>(SITE("size"), handlers), 1u);
    EXPECT_TRUE(send<bool>(SITE("includes"), handlers, target));
    finalize(handlers);
    EXPECT_TRUE(send<bool>(SITE("includes"), send<Ref>(SITE("getsignaldependents"), target), source));
    finalize(source);
    EXPECT_EQ(send<Count>(SITE("size"), send<Ref>(SITE("getsignaldependents"), target)), 0u);
    finalize(target);
}

TEST_F(Components, ReachThemselves) {
    const LeakCheck leaks;
    const auto object = newReceiver();
    send(SITE("defineoutsignal"), object, Bytes{"go"});
    connect(object, object);
    tell(object, 1);
    EXPECT_EQ(told.receivers(), Refs{object});
    finalize(object);
}

TEST_F(Components, LeaveOneAnotherWhenEitherEnds) {
    const LeakCheck leaks;
    const auto source = newSource(), first = newReceiver(), second = newReceiver();
    connect(source, first);
    connect(source, second);
    finalize(first);
    EXPECT_EQ(connections(source), 1u);
    tell(source, 1);
    EXPECT_EQ(told.receivers(), Refs{second});
    send(SITE("disconnectsignal"), source, Bytes{"go"}, second);
    EXPECT_EQ(connections(source), 0u);
    connect(source, second);
    send(SITE("disconnectinputs"), second);
    EXPECT_EQ(connections(source), 0u);
    EXPECT_EQ(send<Count>(SITE("size"), send<Ref>(SITE("getsignaldependents"), second)), 0u);
    connect(source, second);
    send(SITE("disconnectoutputs"), source);
    EXPECT_EQ(connections(source), 0u);
    EXPECT_TRUE(send<bool>(SITE("isoutputsignal"), source, Bytes{"go"}));
    connect(source, second);
    finalize(source);
    EXPECT_EQ(send<Count>(SITE("size"), send<Ref>(SITE("getsignaldependents"), second)), 0u);
    finalize(second);
}

// ---- Sending -------------------------------------------------------------------------------------------------------

TEST_F(Components, SendUpToNineArguments) {
    static std::vector<std::int64_t> seen;
    const auto nine = [](const oops_ref *, void *, void *, std::int64_t *a, std::int64_t *b, std::int64_t *c,
                         std::int64_t *d, std::int64_t *e, std::int64_t *f, std::int64_t *g, std::int64_t *h,
                         std::int64_t *i) {
        for (const auto *item : {a, b, c, d, e, f, g, h, i}) seen.push_back(item != nullptr ? *item : -1);
    };
    using Nine =
        void (*)(const oops_ref *, void *, void *, std::int64_t *, std::int64_t *, std::int64_t *, std::int64_t *,
                 std::int64_t *, std::int64_t *, std::int64_t *, std::int64_t *, std::int64_t *);
    OutsideClass("cmlisten", "listener", classForProgram("base")).method("nine", asMethod(Nine(nine)), 10).extend();
    RaisedErrors errors;
    const auto source = newSource(), target = newReceiver("go", "nine");
    connect(source, target);
    const std::int64_t one = 1, two = 2, nineth = 9;
    auto &signal = SITE("signal");
    send(signal, source, Bytes{"go"}, one, two, one, two, one, two, one, two, nineth);
    EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 2, 1, 2, 1, 2, 1, 2, 9}));
    seen.clear();
    const auto name = text("go");
    send(SITE("signalstring"), source, name, one, two);
    EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 2, -1, -1, -1, -1, -1, -1, -1}));
    seen.clear();
    send(signal, source, Bytes{"go"}, one, two, one, two, one, two, one, two, nineth, one);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(errors.numbers(), std::vector<Count>{21});
    for (const auto object : {name, source, target}) finalize(object);
}

// The receivers do something when they are told; then a second signal shows who is left.
class Leaving : public Components, public ::testing::WithParamInterface<bool> {
protected:
    Leaving() {
        if (GetParam()) allowNativePaths(false);
    }
    ~Leaving() override { allowNativePaths(true); }
};
INSTANTIATE_TEST_SUITE_P(NativelyAndDispatched, Leaving, ::testing::Bool());

TEST_P(Leaving, WhileASignalIsSentSkipsAndRepeatsNobody) {
    constexpr int count = 40;
    for (const auto how : {0, 1, 2, 3}) {
        const LeakCheck leaks;
        const auto source = newSource();
        Refs receivers;
        for (int i = 0; i < count; ++i) {
            receivers.push_back(newReceiver());
            connect(source, receivers.back());
        }
        const auto leave = [&](Ref object) {
            if (!isLive(object)) return;
            if (how % 2 == 0)
                send(SITE("disconnectsignal"), source, Bytes{"go"}, object);
            else
                finalize(object);
        };
        Refs expected;
        if (how < 2) { // each leaves itself
            told.action = [&](const Told &entry) { leave(entry.object); };
            expected = receivers;
        } else { // each of the first ten takes along two behind and one before
            told.action = [&](const Told &entry) {
                const auto at = std::find(receivers.begin(), receivers.end(), entry.object) - receivers.begin();
                if (at == 0 || at % 3 != 0 || at > 30) return;
                leave(receivers[static_cast<std::size_t>(at + 1)]);
                leave(receivers[static_cast<std::size_t>(at + 2)]);
                leave(receivers[static_cast<std::size_t>(at - 1)]);
            };
            for (std::size_t i = 0; i < receivers.size(); ++i) {
                const auto isTaken = i % 3 != 0 && i > 3 && i < 33;
                if (!isTaken) expected.push_back(receivers[i]);
            }
        }
        tell(source, how);
        EXPECT_EQ(told.receivers(), expected) << "way " << how;
        told = {};
        for (const auto object : receivers) {
            if (isLive(object)) finalize(object);
        }
        finalize(source);
    }
}

TEST_P(Leaving, ReachesThoseWhoComeMeanwhileOnce) {
    const LeakCheck leaks;
    const auto source = newSource(), first = newReceiver(), late = newReceiver(), later = newReceiver();
    connect(source, first);
    told.action = [&](const Told &entry) {
        if (entry.object == first) { // leaves and comes back: it has been served
            send(SITE("disconnectsignal"), source, Bytes{"go"}, first);
            connect(source, first);
            connect(source, late);
        } else {
            connect(source, later);
        }
    };
    tell(source, 1);
    EXPECT_EQ(told.receivers(), (Refs{first, late}));
    for (const auto object : {source, first, late, later}) finalize(object);
}

TEST_P(Leaving, TheSenderItselfEndsTheSignal) {
    const LeakCheck leaks;
    for (const auto how : {0, 1, 2}) {
        const auto source = newSource(), first = newReceiver(), second = newReceiver(), other = newListener();
        connect(source, first);
        connect(source, second);
        told.action = [&](const Told &entry) {
            if (entry.object != first) return;
            if (how == 0) finalize(source);
            if (how == 1) send(SITE("disconnect"), source);
            if (how == 2) send(SITE("becomes"), source, other);
        };
        tell(source, 1);
        EXPECT_EQ(told.receivers(), Refs{first}) << "way " << how;
        told = {};
        for (const auto object : {source, first, second, other}) {
            if (isLive(object)) finalize(object);
        }
    }
}

TEST_P(Leaving, ByBecomingAnotherObjectHarmsNothing) {
    const auto source = newSource(), first = newReceiver(), second = newReceiver(), other = newListener();
    connect(source, first);
    connect(source, second);
    told.action = [&](const Told &entry) {
        if (entry.object == first) send(SITE("becomes"), first, other);
    };
    tell(source, 1);
    EXPECT_EQ(told.receivers(), (Refs{first, second}));
    for (const auto object : {first, other, second}) finalize(object);
    told = {};
    RaisedErrors errors;
    tell(source, 2);
    EXPECT_TRUE(told.told.empty());
    finalize(source);
}

TEST_F(Components, MaySignalBackAndAgain) {
    const LeakCheck leaks;
    const auto source = newSource(), first = newReceiver(), second = newReceiver();
    connect(source, first);
    connect(source, second);
    told.action = [&](const Told &entry) {
        if (entry.object == first && entry.argument == 1) tell(source, 2);
    };
    tell(source, 1);
    EXPECT_EQ(told.receivers(), (Refs{first, first, second, second}));
    for (const auto object : {source, first, second}) finalize(object);
}

// ---- Spies ---------------------------------------------------------------------------------------------------------

TEST_F(Components, AreWatchedBySpiesThatMayStopASignal) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto source = newSource(), target = newReceiver(), friendly = newListener();
    connect(source, target);
    std::string seen;
    auto stops = false;
    const auto spy = block([&](void **arguments) {
        Ref sender{}, name{};
        std::memcpy(&sender, arguments[0], sizeof sender);
        std::memcpy(&name, arguments[1], sizeof name);
        EXPECT_EQ(sender, source);
        seen = valueOf(name);
        if (stops) *static_cast<Flag *>(arguments[2]) = 1;
        return 0;
    });
    send(SITE("addspycallback"), source, spy);
    send(SITE("addspy"), source, friendly, Bytes{"other"});
    tell(source, 1);
    EXPECT_EQ(seen, "go");
    EXPECT_EQ(told.receivers(), (Refs{friendly, target}));
    told = {};
    stops = true;
    tell(source, 1);
    EXPECT_EQ(told.receivers(), Refs{friendly});
    tell(source, 1, "nosuchsignal"); // stopped before it is looked up
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    told = {};
    send(SITE("removespy"), source, friendly);
    send(SITE("removespycallback"), source, null, spy);
    EXPECT_FALSE(isLive(spy));
    send(SITE("addspy"), source, friendly, Bytes{"other"}); // goes with the component
    for (const auto object : {source, target, friendly}) finalize(object);
}

TEST_F(Components, SurviveSpiesThatRaiseRemoveThemselvesAndEndTheSender) {
    const LeakCheck leaks;
    for (const auto how : {0, 1, 2}) {
        RaisedErrors errors;
        const auto source = newSource(), target = newReceiver(), watcher = newListener();
        connect(source, target);
        send(SITE("addspy"), source, watcher, Bytes{"other"});
        told.action = [&](const Told &entry) {
            if (entry.object != watcher) return;
            if (how == 0) send(SITE("raiseexception"), source, Count{33});
            if (how == 1) send(SITE("removespy"), source, watcher);
            if (how == 2) finalize(source);
        };
        tell(source, 1);
        EXPECT_EQ(told.told.size(), how == 2 ? 1u : 2u) << "way " << how;
        EXPECT_EQ(errors.numbers(), how == 0   ? std::vector<Count>{33}
                                    : how == 2 ? std::vector<Count>{106}
                                               : std::vector<Count>{});
        told = {};
        for (const auto object : {source, target, watcher}) {
            if (isLive(object)) finalize(object);
        }
    }
}

// ---- Tracing -------------------------------------------------------------------------------------------------------

TEST_F(Components, WriteTraceLinesWhenMadeUnderSignalTracing) {
    const LeakCheck leaks;
    setTraceLevel(traceSignals);
    ::testing::internal::CaptureStderr();
    const auto source = newSource(), target = newReceiver();
    connect(source, target);
    tell(source, 1);
    finalize(source);
    finalize(target);
    const auto lines = ::testing::internal::GetCapturedStderr();
    setTraceLevel(0);
    for (const auto *piece : {"Defining output signal", "Defining input socket", "Defining input signal go on in for",
                              "Connecting listener to listener at socket in", " sending signal go"})
        EXPECT_NE(lines.find(piece), std::string::npos) << piece << " in\n" << lines;
    EXPECT_EQ(told.told.size(), 1u);
}

// ---- Errors --------------------------------------------------------------------------------------------------------

TEST_F(Components, AreReportedByTheirHandlerWithTheNames) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto first = newSource();
    finalize(first); // the handler goes on working after the first component has gone
    const auto source = newSource(), target = newReceiver();
    send(SITE("duplicatesnotok"), target);
    const auto shown = [&](auto action) {
        ::testing::internal::CaptureStdout();
        action();
        return ::testing::internal::GetCapturedStdout();
    };
    const auto mentions = [](const std::string &text, const char *what) {
        return text.find(what) != std::string::npos && text.find("listener") != std::string::npos;
    };
    EXPECT_TRUE(mentions(shown([&] { tell(source, 1, "nosuch"); }), "nosuch"));
    EXPECT_TRUE(mentions(shown([&] { send(SITE("connectto"), source, target, Bytes{"nosocket"}); }), "nosocket"));
    const auto twice = shown([&] { send(SITE("defineinsignal"), target, Bytes{"go"}, Bytes{"in"}, Bytes{"note"}); });
    EXPECT_TRUE(mentions(twice, "go")) << twice;
    EXPECT_TRUE(mentions(twice, "in"));
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    send(SITE("raiseexception"), source, Count{12}); // goes on to the system handlers
    EXPECT_EQ(errors.all.size(), 1u);
    EXPECT_EQ(errors.all.front().object, source);
    finalize(source);
    finalize(target);
}

TEST_F(Components, RaiseWhatIsMissing) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto plain = newListener(), source = newSource(), target = newReceiver();
    const auto stale = newListener();
    finalize(stale);
    for (const auto object : {source, target}) send<bool>(SITE("cancel"), CLASS("exptnmgr"), object);
    const auto raised = [&](auto action) {
        action();
        return errors.numbers();
    };
    using Numbers = std::vector<Count>;
    EXPECT_EQ(raised([&] { tell(plain, 1); }), Numbers{94});
    EXPECT_EQ(raised([&] { tell(source, 1, "nosuch"); }), Numbers{95});
    EXPECT_EQ(raised([&] { send(SITE("defineoutsignal"), plain, Bytes{"go"}); }), Numbers{94});
    EXPECT_EQ(raised([&] { send(SITE("defineinsocket"), plain, Bytes{"in"}); }), Numbers{93});
    EXPECT_EQ(raised([&] { send<Ref>(SITE("getsocket"), plain, Bytes{"in"}); }), Numbers{93});
    EXPECT_EQ(raised([&] { EXPECT_EQ(send<Ref>(SITE("getsocket"), target, Bytes{"out"}), null); }), Numbers{});
    EXPECT_EQ(raised([&] { send(SITE("defineinsignal"), target, Bytes{"a"}, Bytes{"out"}, Bytes{"note"}); }),
              Numbers{93});
    EXPECT_EQ(raised([&] { send<Ref>(SITE("getoutputsignalcallbacks"), plain, Bytes{"go"}); }), Numbers{94});
    EXPECT_EQ(raised([&] { send<Ref>(SITE("getsignalhandlers"), source, Bytes{"nosuch"}); }), Numbers{95});
    EXPECT_EQ(raised([&] { connect(source, plain); }), Numbers{93});
    EXPECT_EQ(raised([&] { connect(source, null); }), Numbers{93});
    EXPECT_EQ(raised([&] { connect(source, stale); }), Numbers{106});
    EXPECT_EQ(raised([&] { send(SITE("connect"), source, null, target, Bytes{"in"}); }), Numbers{94});
    EXPECT_EQ(raised([&] { send(SITE("connect"), source, stale, target, Bytes{"in"}); }), Numbers{106});
    EXPECT_EQ(raised([&] { connect(plain, target); }), Numbers{94});
    EXPECT_EQ(raised([&] { send(SITE("copyconnection"), source, target, Bytes{"in"}, Bytes{"go"}, null); }),
              Numbers{97});
    EXPECT_EQ(raised([&] { send(SITE("addsignaldependant"), target, null); }), Numbers{33});
    EXPECT_EQ(raised([&] { send(SITE("makecomponent"), null); }), Numbers{27});
    EXPECT_EQ(raised([&] { send(SITE("signalstring"), source, null); }), Numbers{33});
    send(SITE("disconnect"), source);
    EXPECT_EQ(raised([&] { tell(source, 1); }), Numbers{94});
    for (const auto object : {plain, source, target}) finalize(object);
}

TEST_F(Components, LeaveANarrowReturningItemAloneWhenASignalFails) {
    RaisedErrors errors;
    const auto source = newSource();
    std::uint32_t items[2] = {0x11111111, 0x22222222};
    ::testing::internal::CaptureStdout();
    send(SITE("signal"), source, Returning{{reinterpret_cast<std::byte *>(items)}}, Bytes{"nosuch"});
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(items[1], 0x22222222u);
    finalize(source);
}

// ---- Memory --------------------------------------------------------------------------------------------------------

// Fails the n-th allocation of an action, for every n until none fails.
template <class Prepare, class Action, class Check> void sweep(Prepare prepare, Action action, Check check) {
    for (std::uint64_t n = 1; n < 400; ++n) {
        for (const auto persistent : {false, true}) {
            const LeakCheck leaks;
            auto world = prepare();
            AllocationFaults::failAt(n, persistent);
            action(world);
            const auto reached = AllocationFaults::count() >= n;
            AllocationFaults::failAt(0, false);
            check(world, n);
            for (const auto object : world) finalize(object);
            if (!reached && persistent) return;
        }
    }
    FAIL() << "the action never completes";
}

TEST_F(Components, LeaveNothingHalfMadeWhenMemoryFails) {
    RaisedErrors errors;
    ::testing::internal::CaptureStdout();
    const auto registered = [](Ref object) { return send<bool>(SITE("cancel"), CLASS("exptnmgr"), object); };
    sweep([] { return Refs{newListener()}; }, [](Refs &world) { send(SITE("makecomponent"), world[0]); },
          [&](Refs &world, std::uint64_t n) {
              const auto isOne = send<bool>(SITE("iscomponent"), world[0]);
              EXPECT_EQ(registered(world[0]), isOne) << n;
              if (!isOne) return;
              send(SITE("defineoutsignal"), world[0], Bytes{"go"});
              EXPECT_TRUE(send<bool>(SITE("isoutputsignal"), world[0], Bytes{"go"})) << n;
          });
    sweep(
        [] {
            Refs world{newSource(), newReceiver()};
            for (const auto *name : {"a", "b", "c"}) {
                send(SITE("defineoutsignal"), world[0], Bytes{name});
                send(SITE("defineinsignal"), world[1], Bytes{name}, Bytes{"in"}, Bytes{"note"});
            }
            return world;
        },
        [](Refs &world) { connect(world[0], world[1]); },
        [&](Refs &world, std::uint64_t n) {
            const auto joined = connections(world[0]);
            for (const auto *name : {"a", "b", "c"}) EXPECT_EQ(connections(world[0], name), joined) << n;
            const auto dependents = send<Ref>(SITE("getsignaldependents"), world[1]);
            EXPECT_EQ(send<Count>(SITE("size"), dependents), joined) << n;
        });
    ::testing::internal::GetCapturedStdout();
}

} // namespace
} // namespace oocobol::test
