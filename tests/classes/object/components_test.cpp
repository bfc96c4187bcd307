// Components: what they define, how they are connected, who receives a signal, and what is left when one goes.
#include <algorithm>
#include <atomic>
#include <random>

#include "classes/object/components.h"
#include "host/lock_order.h"
#include "tests/classes/object/components.h"
#include "tests/support/says.h"

namespace oocobol::test {
namespace {

using Numbers = std::vector<Count>;
using Components = Listening;

// ---- Definitions ---------------------------------------------------------------------------------------------------

TEST_F(Components, AreMadeOnceAndEndWithTheirObject) {
    const auto object = newListener();
    says(object, "iscomponent -> 0; makecomponent");
    const auto outputs = send<Ref>(SITE("getoutputs"), object);
    says(object,
         "makecomponent; iscomponent -> 1; getoutputs -> $1; copy -> it; it iscomponent -> 0; it finalize; finalize",
         {outputs});
    EXPECT_FALSE(isLive(outputs));
}

TEST_F(Components, KnowTheirSignalsByTheFirst32CharactersOfTheName) {
    const auto object = newListener();
    const std::string longest(32, 'n');
    says(object, "makecomponent; defineoutsignal 'short rest'; defineoutsignal '" + longest +
                     "x'; defineoutsignal ''; "
                     "isoutputsignal 'short' -> 1; isoutputsignal '' -> 1; isoutputsignal 'Short' -> 0; "
                     "getoutputs -> it; it size -> 3; defineinsocket 'in here'; defineinsignal 'go ', 'in ', 'note '; "
                     "isinputsignal 'in', 'go' -> 1; isinputsignal 'out', 'go' -> 0; isinputsignal 'in', 'stop' -> 0");
    EXPECT_TRUE(send<bool>(SITE("isoutputsignal"), object, Bytes(ExactBytes(longest))));
}

TEST_F(Components, DefineASignalAgainAsTheirDuplicatesFlagSays) {
    const auto source = newComponent(), target = newComponent();
    const auto list = send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{"go"});
    const auto socket = send<Ref>(SITE("getsocket"), target, Bytes{"in"});
    const auto handler = [&] { return send<Ref>(SITE("atornil"), socket, NameKey(Name{"go"}).element()); };
    const auto first = handler();
    says(source, "defineoutsignal 'go'; getoutputsignalcallbacks 'go' -> $1", {list});
    says(target, "defineinsignal 'go', 'in', 'NOTE'");
    EXPECT_EQ(handler(), first);
    says(target, "defineinsignal 'go', 'in', 'other'");
    EXPECT_NE(handler(), first);
    EXPECT_FALSE(isLive(first));
    says(source,
         "$exptnmgr cancel $1; $exptnmgr cancel $2; duplicatesnotok; $2 duplicatesnotok; "
         "defineoutsignal 'go' -> error 96; $2 defineinsignal 'go', 'in', 'note' -> error 98; "
         "duplicatesok; defineoutsignal 'go'",
         {source, target});
}

// ---- Connections ---------------------------------------------------------------------------------------------------

TEST_F(Components, AreConnectedOnceAndWhereNamesMatchAlsoToThemselves) {
    const auto source = newComponent(), target = newComponent();
    says(source,
         "defineoutsignal 'stop'; connectto $1, 'in'; connectto $1, 'in'; signal 'go', 5 -> 77; "
         "getsignalhandlers 'go' -> it; it size -> 1; it includes $1 -> 1; it finalize; "
         "$1 getsignaldependents -> it; it includes $2 -> 1",
         {target, source});
    EXPECT_EQ(connections(source), 1u);
    EXPECT_EQ(connections(source, "stop"), 0u);
    says(target, "$2 finalize; getsignaldependents -> it; it size -> 0; connectto $1, 'in'; signal 'go', 6 -> 77",
         {target, source});
    EXPECT_EQ(told.told, (std::vector<Told>{{target, "note", 5}, {target, "note", 6}}));
}

TEST_F(Components, LeaveOneAnotherWhenEitherEnds) {
    const auto source = newComponent();
    const auto receivers = receiversOf(source, 2);
    const auto callbacks = send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{"go"});
    const auto dependents = send<Ref>(SITE("getsignaldependents"), receivers[1]);
    says(source,
         "$4 finalize; $2 size -> 1; signal 'go'; disconnectsignal 'go', $1; $2 size -> 0; "
         "connectto $1, 'in'; $2 size -> 1; $1 disconnectinputs; $2 size -> 0; $3 size -> 0; "
         "connectto $1, 'in'; disconnectoutputs; $2 size -> 0; isoutputsignal 'go' -> 1; "
         "connectto $1, 'in'; $3 size -> 1; finalize; $3 size -> 0",
         {receivers[1], callbacks, dependents, receivers[0]});
    EXPECT_EQ(told.receivers(), Refs{receivers[1]});
}

// ---- Sending -------------------------------------------------------------------------------------------------------

TEST_F(Components, SendUpToNineArguments) {
    const Temporary name(text("go"));
    const auto source = newComponent();
    says(source, "connectto $1, 'in'; signal 'go', 1, 2, 1, 2, 1, 2, 1, 2, 9", {newComponent("all")});
    EXPECT_EQ(told.arguments, (std::vector<std::int64_t>{1, 2, 1, 2, 1, 2, 1, 2, 9}));
    says(source, "signalstring $1, 3, 4; signal 'go', 1, 2, 3, 4, 5, 6, 7, 8, 9, 10 -> error 21", {name.ref()});
    EXPECT_EQ(told.arguments, (std::vector<std::int64_t>{3, 4}));
}

// The receivers do something when they are told.
class Leaving : public Components, public ::testing::WithParamInterface<bool> {
protected:
    const Road road{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(NativelyAndDispatched, Leaving, ::testing::Bool());

TEST_P(Leaving, WhileASignalIsSentSkipsAndRepeatsNobody) {
    for (const auto how : {0, 1, 2, 3}) {
        const auto source = newComponent();
        const auto receivers = receiversOf(source, 40);
        Refs expected;
        for (std::size_t i = 0; i < receivers.size(); ++i)
            if (how < 2 || i % 3 == 0 || i < 4 || i > 32) expected.push_back(receivers[i]);
        const auto leave = [&](Ref object) {
            if (how % 2 == 0)
                send(SITE("disconnectsignal"), source, Bytes{"go"}, object);
            else if (isLive(object))
                finalize(object);
        };
        told.action = [&](const Told &entry) {
            if (how < 2) return leave(entry.object);
            const auto at = std::find(receivers.begin(), receivers.end(), entry.object);
            const auto place = at - receivers.begin();
            if (place == 0 || place % 3 != 0 || place > 30) return;
            for (const auto other : {at + 1, at + 2, at - 1}) leave(*other);
        };
        tell(source, how);
        EXPECT_EQ(told.receivers(), expected) << "way " << how;
        told = {};
    }
}

TEST_P(Leaving, ReachesThoseWhoComeMeanwhileOnce) {
    const auto source = newComponent(), first = receiversOf(source, 1)[0], late = newComponent(),
               later = newComponent();
    told.action = [&](const Told &entry) {
        if (entry.object == first) // leaves and comes back: it has been served
            says(source, "disconnectsignal 'go', $1; connectto $1, 'in'; connectto $2, 'in'", {first, late});
        else
            connect(source, later);
    };
    tell(source, 1);
    EXPECT_EQ(told.receivers(), (Refs{first, late}));
}

TEST_P(Leaving, TheSenderItselfEndsTheSignal) {
    for (const auto *how : {"finalize", "disconnect", "becomes $1"}) {
        const auto source = newComponent(), other = newListener(), first = receiversOf(source, 2)[0];
        told.action = [&](const Told &) { says(source, how, {other}); };
        tell(source, 1);
        EXPECT_EQ(told.receivers(), Refs{first}) << how;
        told = {};
    }
}

// ---- Spies ---------------------------------------------------------------------------------------------------------

TEST_F(Components, AreWatchedBySpiesThatMayStopASignal) {
    const auto source = newComponent(), target = newComponent(), friendly = newListener();
    Ref sender{};
    auto stops = false;
    std::string names;
    const auto spy = block([&](void **arguments) {
        sender = valueIn<Ref>(arguments[0]);
        names += valueOf(valueIn<Ref>(arguments[1])) + " ";
        if (stops) *static_cast<Flag *>(arguments[2]) = 1;
        return 0;
    });
    const std::initializer_list<Ref> named = {target, friendly, spy};
    says(source, "connectto $1, 'in'; addspycallback $3; addspy $2, 'other'; signal 'go'", named);
    EXPECT_EQ(sender, source);
    EXPECT_EQ(told.receivers(), (Refs{friendly, target}));
    stops = true;
    says(source, "signal 'go'; signal 'nosuch'", named); // stopped before it is looked up
    EXPECT_EQ(told.receivers(), (Refs{friendly, target, friendly, friendly}));
    EXPECT_EQ(names, "go go nosuch ");
    says(source, "removespy $2; removespycallback nil, $3; addspy $2, 'other'", named); // goes with the component
    EXPECT_FALSE(isLive(spy));
}

TEST_F(Components, SurviveSpiesThatRaiseRemoveThemselvesAndEndTheSender) {
    for (const std::string way : {"raiseexception 33 -> error 33", "removespy $1", "finalize"}) {
        const auto source = newComponent(), watcher = newListener(), target = receiversOf(source, 1)[0];
        told.action = [&](const Told &entry) {
            if (entry.object == watcher) says(source, way, {watcher});
        };
        const auto ends = way == "finalize";
        says(source, std::string("addspy $1, 'other'; signal 'go'") + (ends ? " -> error 106" : ""), {watcher});
        EXPECT_EQ(told.receivers(), ends ? Refs{watcher} : (Refs{watcher, target})) << way;
        told = {};
    }
}

// ---- Tracing -------------------------------------------------------------------------------------------------------

TEST_F(Components, WriteTraceLinesWhenMadeUnderSignalTracing) {
    setTraceLevel(traceSignals);
    ::testing::internal::CaptureStderr();
    says(newComponent(), "connectto $1, 'in'; signal 'go'; finalize; $1 finalize", {newComponent()});
    const auto lines = ::testing::internal::GetCapturedStderr();
    setTraceLevel(0);
    for (const auto *piece : {"Defining output signal", "Defining input socket", "Defining input signal go on in for",
                              "Connecting listener to listener at socket in", " sending signal go"})
        EXPECT_NE(lines.find(piece), std::string::npos) << piece << " in\n" << lines;
    EXPECT_EQ(told.told.size(), 1u);
}

// ---- Errors --------------------------------------------------------------------------------------------------------

TEST_F(Components, AreReportedByTheirHandlerWithTheNames) {
    finalize(newComponent()); // the handler goes on working after the first component has gone
    const auto source = newComponent(), target = newComponent();
    const auto reported = [&](const char *message, std::initializer_list<const char *> pieces) {
        ::testing::internal::CaptureStdout();
        says(source, message, {target});
        const auto text = ::testing::internal::GetCapturedStdout();
        for (const auto *piece : pieces) EXPECT_NE(text.find(piece), std::string::npos) << piece << " in " << text;
    };
    reported("signal 'nosuch'", {"listener", "nosuch"});
    reported("connectto $1, 'nosocket'", {"listener", "nosocket"});
    reported("$1 duplicatesnotok; $1 defineinsignal 'go', 'in', 'note'", {"listener", "go", "in"});
    RaisedErrors errors;
    send(SITE("raiseexception"), source, Count{12}); // goes on to the system handlers
    EXPECT_EQ(errors.all.front().object, source);
    EXPECT_EQ(errors.numbers(), Numbers{12});
    std::uint32_t items[2] = {0x11111111, 0x22222222};
    ::testing::internal::CaptureStdout();
    send(SITE("signal"), source, into(items), Bytes{"nosuch"});
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(items[1], 0x22222222u) << "a narrow returning item";
}

TEST_F(Components, RaiseWhatIsMissing) {
    const auto source = newComponent(), target = newComponent(), plain = newListener(), stale = newListener();
    finalize(stale);
    says(source,
         "$exptnmgr cancel $1; $exptnmgr cancel $2; signal 'nosuch' -> error 95; "
         "getsignalhandlers 'nosuch' -> error 95; connectto $3, 'in' -> error 93; connectto nil, 'in' -> error 93; "
         "connectto $4, 'in' -> error 106; connect nil, $2, 'in' -> error 94; connect $4, $2, 'in' -> error 106; "
         "copyconnection $2, 'in', 'go', nil -> error 97; signalstring nil -> error 33; "
         "$2 getsocket 'out' -> nil; $2 defineinsignal 'a', 'out', 'note' -> error 93; "
         "$2 addsignaldependant nil -> error 33; nil makecomponent -> error 27; "
         "$3 signal 'go' -> error 94; $3 defineoutsignal 'go' -> error 94; $3 defineinsocket 'in' -> error 93; "
         "$3 getsocket 'in' -> error 93; $3 getoutputsignalcallbacks 'go' -> error 94; "
         "$3 connectto $2, 'in' -> error 94; disconnect; signal 'go' -> error 94",
         {source, target, plain, stale});
}

// ---- Memory --------------------------------------------------------------------------------------------------------

TEST_F(Components, AreMadeAndConnectedWhollyOrNotAtAllWhenMemoryFails) {
    const auto source = newComponent(), target = newComponent();
    says(source,
         "defineoutsignal 'a'; defineoutsignal 'b'; $2 defineinsignal 'a', 'in', 'note'; "
         "$2 defineinsignal 'b', 'in', 'note'; $exptnmgr cancel $1; $exptnmgr cancel $2",
         {source, target});
    const auto show = [&](Ref) {
        auto shown = std::to_string(send<Count>(SITE("size"), send<Ref>(SITE("getsignaldependents"), target)));
        for (const auto *name : {"go", "a", "b"}) shown += " " + std::to_string(connections(source, name));
        return shown;
    };
    allOrNothing(source, show, [&] {
        connect(source, target);
        if (connections(source) == 0)
            send<Ref>(SITE("raiseexception"), source, Count{32}); // which it need not say itself
        return null;
    });
    EXPECT_EQ(show(source), "1 1 1 1");
    const auto isWhole = [](Ref object) {
        says(object, "defineoutsignal 'go'; isoutputsignal 'go' -> 1");
        return std::to_string(send<bool>(SITE("cancel"), CLASS("exptnmgr"), object)); // of the handler that it has got
    };
    ::testing::internal::CaptureStdout();
    allOrNothing(
        CLASS("base"), [&](Ref shown) { return shown == CLASS("base") ? "" : isWhole(shown); },
        [&] {
            const auto object = newListener();
            send(SITE("makecomponent"), object);
            if (send<bool>(SITE("iscomponent"), object)) return object;
            EXPECT_FALSE(send<bool>(SITE("cancel"), CLASS("exptnmgr"), object));
            if (isLive(object)) finalize(object);
            return null;
        });
    ::testing::internal::GetCapturedStdout();
}

// ---- Many threads at once ------------------------------------------------------------------------------------------

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

} // namespace
} // namespace oocobol::test
