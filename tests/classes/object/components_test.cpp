// Components: what they define, how they are connected, who receives a signal, and what is left when one goes.
#include <algorithm>

#include "classes/object/components.h"
#include "runtime/memory.h"
#include "tests/classes/object/components.h"
#include "tests/support/says.h"

namespace oocobol::test {
namespace {

using Refs = std::vector<Ref>;
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
    const auto source = newSource(), target = newReceiver();
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
    const auto source = newSource(), target = newReceiver();
    says(source,
         "defineoutsignal 'stop'; connectto $1, 'in'; connectto $1, 'in'; signal 'go', 5 -> 77; "
         "getsignalhandlers 'go' -> it; it size -> 1; it includes $1 -> 1; it finalize; "
         "$1 getsignaldependents -> it; it includes $2 -> 1",
         {target, source});
    EXPECT_EQ(told.told, (std::vector<Told>{{target, "note", 5}}));
    EXPECT_EQ(connections(source), 1u);
    EXPECT_EQ(connections(source, "stop"), 0u);
    says(target,
         "$2 finalize; getsignaldependents -> it; it size -> 0; "
         "defineoutsignal 'go'; connectto $1, 'in'; signal 'go', 6 -> 77",
         {target, source});
    EXPECT_EQ(told.told, (std::vector<Told>{{target, "note", 5}, {target, "note", 6}}));
}

TEST_F(Components, LeaveOneAnotherWhenEitherEnds) {
    const auto source = newSource(), first = newReceiver(), second = newReceiver();
    connect(source, first);
    connect(source, second);
    const auto callbacks = send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{"go"});
    const auto dependents = send<Ref>(SITE("getsignaldependents"), second);
    says(source,
         "$4 finalize; $2 size -> 1; signal 'go'; disconnectsignal 'go', $1; $2 size -> 0; "
         "connectto $1, 'in'; $2 size -> 1; $1 disconnectinputs; $2 size -> 0; $3 size -> 0; "
         "connectto $1, 'in'; disconnectoutputs; $2 size -> 0; isoutputsignal 'go' -> 1; "
         "connectto $1, 'in'; $3 size -> 1; finalize; $3 size -> 0",
         {second, callbacks, dependents, first});
    EXPECT_EQ(told.receivers(), Refs{second});
}

// ---- Sending -------------------------------------------------------------------------------------------------------

std::vector<std::int64_t> seen;
using Argument = const std::int64_t *;
void onNine(const oops_ref *, void *, void *, Argument a, Argument b, Argument c, Argument d, Argument e, Argument f,
            Argument g, Argument h, Argument i) {
    for (const auto *item : {a, b, c, d, e, f, g, h, i}) seen.push_back(item != nullptr ? *item : -1);
}

TEST_F(Components, SendUpToNineArguments) {
    OutsideClass("cmlisten", "listener", classForProgram("base")).method("nine", asMethod(onNine), 10).extend();
    const Temporary name(text("go"));
    says(newSource(),
         "connectto $1, 'in'; signal 'go', 1, 2, 1, 2, 1, 2, 1, 2, 9; signalstring $2, 3, 4; "
         "signal 'go', 1, 2, 3, 4, 5, 6, 7, 8, 9, 10 -> error 21",
         {newReceiver("nine"), name.ref()});
    EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 2, 1, 2, 1, 2, 1, 2, 9, 3, 4, -1, -1, -1, -1, -1, -1, -1}));
}

// The receivers do something when they are told.
class Leaving : public Components, public ::testing::WithParamInterface<bool> {
protected:
    Leaving() { allowNativePaths(!GetParam()); }
    ~Leaving() override { allowNativePaths(true); }
};
INSTANTIATE_TEST_SUITE_P(NativelyAndDispatched, Leaving, ::testing::Bool());

TEST_P(Leaving, WhileASignalIsSentSkipsAndRepeatsNobody) {
    for (const auto how : {0, 1, 2, 3}) {
        const auto source = newSource();
        Refs receivers, expected;
        for (std::size_t i = 0; i < 40; ++i) {
            receivers.push_back(newReceiver());
            connect(source, receivers.back());
            if (how < 2 || i % 3 == 0 || i < 4 || i > 32) expected.push_back(receivers.back());
        }
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
    const auto source = newSource(), first = newReceiver(), late = newReceiver(), later = newReceiver();
    connect(source, first);
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
        const auto source = newSource(), first = newReceiver(), other = newListener();
        for (const auto receiver : {first, newReceiver()}) connect(source, receiver);
        told.action = [&](const Told &) { says(source, how, {other}); };
        tell(source, 1);
        EXPECT_EQ(told.receivers(), Refs{first}) << how;
        told = {};
    }
}

TEST_P(Leaving, ByBecomingAnotherObjectHarmsNothing) {
    const auto source = newSource(), first = newReceiver(), second = newReceiver(), other = newListener();
    for (const auto receiver : {first, second}) connect(source, receiver);
    told.action = [&](const Told &entry) {
        if (entry.object == first) send(SITE("becomes"), first, other);
    };
    tell(source, 1);
    EXPECT_EQ(told.receivers(), (Refs{first, second}));
    for (const auto object : {first, other, second}) finalize(object);
    told = {};
    const RaisedErrors errors;
    tell(source, 2);
    EXPECT_TRUE(told.told.empty());
}

TEST_F(Components, MaySignalBackAndAgain) {
    const auto source = newSource(), first = newReceiver(), second = newReceiver();
    for (const auto receiver : {first, second}) connect(source, receiver);
    told.action = [&](const Told &entry) {
        if (entry.object == first && entry.argument == 1) tell(source, 2);
    };
    tell(source, 1);
    EXPECT_EQ(told.receivers(), (Refs{first, first, second, second}));
}

// ---- Spies ---------------------------------------------------------------------------------------------------------

TEST_F(Components, AreWatchedBySpiesThatMayStopASignal) {
    const auto source = newSource(), target = newReceiver(), friendly = newListener();
    Ref sender{}, name{};
    auto stops = false;
    std::string names;
    const auto spy = block([&](void **arguments) {
        std::memcpy(&sender, arguments[0], sizeof sender);
        std::memcpy(&name, arguments[1], sizeof name);
        names += valueOf(name) + " ";
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
    const struct {
        const char *spying, *signalling;
        std::size_t told;
    } ways[] = {{"raiseexception 33 -> error 33", "signal 'go'", 2},
                {"removespy $1", "signal 'go'", 2},
                {"finalize", "signal 'go' -> error 106", 1}};
    for (const auto &way : ways) {
        const auto source = newSource(), target = newReceiver(), watcher = newListener();
        says(source, "connectto $2, 'in'; addspy $1, 'other'", {watcher, target});
        told.action = [&](const Told &entry) {
            if (entry.object == watcher) says(source, way.spying, {watcher});
        };
        says(source, way.signalling);
        EXPECT_EQ(told.told.size(), way.told) << way.spying;
        told = {};
    }
}

// ---- Tracing -------------------------------------------------------------------------------------------------------

TEST_F(Components, WriteTraceLinesWhenMadeUnderSignalTracing) {
    setTraceLevel(traceSignals);
    ::testing::internal::CaptureStderr();
    says(newSource(), "connectto $1, 'in'; signal 'go'; finalize; $1 finalize", {newReceiver()});
    const auto lines = ::testing::internal::GetCapturedStderr();
    setTraceLevel(0);
    for (const auto *piece : {"Defining output signal", "Defining input socket", "Defining input signal go on in for",
                              "Connecting listener to listener at socket in", " sending signal go"})
        EXPECT_NE(lines.find(piece), std::string::npos) << piece << " in\n" << lines;
    EXPECT_EQ(told.told.size(), 1u);
}

// ---- Errors --------------------------------------------------------------------------------------------------------

TEST_F(Components, AreReportedByTheirHandlerWithTheNames) {
    finalize(newSource()); // the handler goes on working after the first component has gone
    const auto source = newSource(), target = newReceiver();
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
    send(SITE("signal"), source, Returning{{reinterpret_cast<std::byte *>(items)}}, Bytes{"nosuch"});
    ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(items[1], 0x22222222u) << "a narrow returning item";
}

TEST_F(Components, RaiseWhatIsMissing) {
    const auto source = newSource(), target = newReceiver(), plain = newListener(), stale = newListener();
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
    const RaisedErrors errors;
    ::testing::internal::CaptureStdout();
    sweep([] { return Refs{newListener()}; }, [](Refs &world) { send(SITE("makecomponent"), world[0]); },
          [&](Refs &world, std::uint64_t n) {
              const auto isOne = send<bool>(SITE("iscomponent"), world[0]);
              EXPECT_EQ(send<bool>(SITE("cancel"), CLASS("exptnmgr"), world[0]), isOne) << n;
              if (isOne) says(world[0], "defineoutsignal 'go'; isoutputsignal 'go' -> 1");
          });
    sweep(
        [] {
            Refs world{newSource(), newReceiver()};
            says(world[0], "defineoutsignal 'a'; defineoutsignal 'b'; defineoutsignal 'c'");
            for (const auto *name : {"a", "b", "c"})
                send(SITE("defineinsignal"), world[1], Bytes{name}, Bytes{"in"}, Bytes{"note"});
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
