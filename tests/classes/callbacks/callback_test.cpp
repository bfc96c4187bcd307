// Callbacks: on entries, on messages, on threads of their own.
#include <atomic>
#include <thread>

#include "tests/classes/object/components.h"
#include "tests/support/says.h"

namespace oocobol::test {
namespace {

using Values = std::vector<std::int64_t>;

class Callbacks : public Listening {
protected:
    template <class... Stored> static Ref on(Ref receiver, std::string method, const Stored &...stored) {
        return send<Ref>(SITE("new"), CLASS("callback"), receiver, Bytes{method.c_str()}, stored...);
    }
    static Ref onEntry(const std::string &entry) {
        return send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{entry.c_str()}, s1);
    }
    // The name field of a callback, which ends.
    static std::string nameOf(Ref made) {
        std::string name(81, '?');
        send(SITE("getmessage"), Temporary(made).ref(), into(name));
        return name;
    }
    static constexpr std::int64_t s1 = 101, s2 = 102;
    const Temporary taker{newListener()};
};

TEST_F(Callbacks, SendStoredArgumentsBeforeThoseOfTheInvocation) {
    const Temporary both(on(taker.ref(), "All ", s1, s2));
    told.action = [&](const Told &) { *told.first = 1; };
    says(both,
         "invoke 103 -> 77; getmessage -> [all]; "
         "getparameter 1 -> 1; getparameter 2 -> 102; " // what the method changes in a stored argument stays changed
         "getparameter 3 -> error 17; getparameter 0 -> error 17; getparameter -1 -> error 17; "
         "getparameter 2147483647 -> error 17; getparameter -2147483648 -> error 17");
    EXPECT_EQ(told.told, (std::vector<Told>{{taker.ref(), "all", 101}}));
    EXPECT_EQ(told.arguments, (Values{101, 102, 103}));
    EXPECT_EQ(s1, 101u);
}

TEST_F(Callbacks, TakeTheReceiverFromTheFirstArgumentWhenNoneIsStored) {
    const Temporary open(on(null, "all")), gap(on(taker.ref(), "all", s1, omitted, s2));
    says(open, "invoke $1, 103, 104 -> 77", {taker});
    EXPECT_EQ(told.told, (std::vector<Told>{{taker.ref(), "all", 103}}));
    EXPECT_EQ(told.arguments, (Values{103, 104}));
    says(gap, "invoke -, 103");
    EXPECT_EQ(told.arguments, Values{101}); // nothing behind a gap in what is stored, or a receiver that is left out
    says(gap, "invoke 103, -, 104");
    EXPECT_EQ(told.arguments, (Values{101, 103, 104}));
}

TEST_F(Callbacks, AreEqualByNameAndReceiver) {
    const Temporary one(on(taker.ref(), "go")), same(on(taker.ref(), "GO", s1)), other(on(taker.ref(), "stop"));
    const Temporary elsewhere(on(null, "go")), entry(onEntry("go ")), twin(onEntry("go")), capitals(onEntry("GO"));
    says(one,
         "equal $1 -> 1; equal $2 -> 0; equal $3 -> 0; equal nil -> 0; "
         "$4 equal $5 -> 1; $4 equal $6 -> 0; $4 equal $7 -> 0",
         {same, other, elsewhere, entry, twin, capitals, one});
    const auto described = valueOf(Temporary(send<Ref>(SITE("description"), entry.ref())).ref());
    EXPECT_EQ(described.substr(described.size() - 160), padded(" for code entitled go", 160));
}

TEST_F(Callbacks, KeepNamesAsTheyMustBe) {
    const std::string longest(79, 'N'), lower(79, 'n'), tooLong = "entryCallbackMethodNameTooLong";
    const std::pair<Ref, std::string> names[] = {
        {on(null, "Short "), "short" + std::string(76, '\0')},
        {on(null, longest), lower + std::string(2, '\0')},
        {onEntry(longest + " rest"), longest + "  "},
        {on(null, longest + "N"), padded("callbackmethodnametoolong", 81)},
        {onEntry(longest + "N"), padded(tooLong, 81)},
        {onEntry("\"two words\"behind"), padded("\"two words\"", 81)},
        {onEntry("\"" + longest), padded(tooLong, 81)},
    };
    for (const auto &[made, expected] : names) EXPECT_EQ(nameOf(made), expected);
}

TEST_F(Callbacks, EndAfterTheInvocationThatFinalizesThem) {
    const auto onMessage = on(taker.ref(), "all");
    told.action = [&](const Told &entry) {
        if (entry.argument != 104) return;
        says(onMessage, "finalize -> nil; active -> 1; invoke 103; active -> 1"); // an inner one is not the last
    };
    says(onMessage, "invoke 104 -> 77");
    EXPECT_FALSE(isLive(onMessage));
    Ref itself;
    itself = block([&](void **) {
        finalize(itself);
        return send<bool>(SITE("active"), itself) ? 5 : 0;
    });
    says(itself, "active -> 0; invoke -> 5");
    EXPECT_FALSE(isLive(itself));
}

// An entry name ends with its closing quote, whatever bytes the environment takes for halves of characters.
TEST_F(Callbacks, TakeNamesByTheEnvironmentsCharacters) {
    const std::string_view quoted = "\"caf\xE9\"", spaced = "abc\x81\x40"
                                                            "def";
    {
        const InEnvironment single(singleByte);
        const GuardedText guarded;
        const Bytes tight{guarded.hold(std::string(quoted)).data()};
        EXPECT_EQ(nameOf(send<Ref>(SITE("new"), CLASS("entrycll"), tight)), padded(quoted, 81));
        EXPECT_EQ(nameOf(onEntry(std::string(spaced))), padded(spaced, 81));
    }
    const InEnvironment both(doubleByte);
    EXPECT_EQ(nameOf(onEntry(std::string(spaced))), padded("abc", 81));
    EXPECT_EQ(nameOf(on(null, std::string(spaced))), "abc" + std::string(78, '\0'));
}

TEST_F(Callbacks, CanBeInitializedAnew) {
    const auto other = entryNamed([](void **) { return 22; });
    const Temporary entry(block([](void **) { return 11; }));
    says(entry, "invoke -> 11; initialize '" + other + "'; invoke -> 22");
}

// A copy starts as one of its own, and takes nothing from the original when it goes.
TEST_F(Callbacks, AreCopiedAndExchangedDuringAnInvocation) {
    Ref itself, copy, other;
    const auto change = [&] {
        copy = send<Ref>(SITE("copy"), itself);
        says(copy, "active -> 0; finalize");
        other = on(taker.ref(), "other");
        send(SITE("becomes"), itself, other);
    };
    told.action = [&](const Told &) { change(); };
    for (const bool ofEntry : {false, true}) {
        itself = ofEntry ? block([&](void **) { return change(), 5; }) : on(taker.ref(), "all");
        says(itself, ofEntry ? "invoke -> 5" : "invoke -> 77");
        for (const auto each : {itself, other}) says(each, "active -> 0; finalize");
        EXPECT_FALSE(isLive(copy) || isLive(itself) || isLive(other));
    }
}

TEST_F(Callbacks, OfSeveralThreadsAreCountedAndEnd) {
    static std::atomic<int> inside, atOnce;
    const Temporary entry(block([](void **) {
        atOnce = std::max(atOnce.load(), ++inside);
        std::this_thread::yield();
        return --inside;
    }));
    says(entry, "invoke; copy -> it; it invoke; it finalize"); // which has closed no mutex but its own
    const auto shared = on(CLASS("base"), "hash");
    onThreads(3, [&](int) {
        for (int i = 0; i < 200000; ++i) send(SITE("invoke"), shared);
        for (int i = 0; i < 2000; ++i) send(SITE("invoke"), entry.ref());
    });
    EXPECT_EQ(atOnce, 1);
    says(shared, "active -> 0; finalize");
    EXPECT_FALSE(isLive(shared));
}

TEST_F(Callbacks, OnThreadsReturnBeforeTheMessageHasRun) {
    static std::atomic<bool> mayRun, hasRun;
    mayRun = hasRun = false;
    told.action = [](const Told &) {
        while (!mayRun) std::this_thread::yield();
        hasRun = true;
    };
    const auto threaded = send<Ref>(SITE("new"), CLASS("mcallbck"), taker.ref(), Bytes{"all"}, s1);
    std::uint64_t answer = 9;
    const std::int64_t given = 103; // is the caller's until the message has run
    send(SITE("invoke"), threaded, into(answer), given);
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(answer, 9u);
    finalize(threaded); // the message goes its way
    mayRun = true;
    while (!hasRun) std::this_thread::yield();
    EXPECT_EQ(told.arguments, (Values{101, 103}));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

TEST_F(Callbacks, RefuseTooManyArgumentsAndWhatIsNotThere) {
    const Temporary onMessage(on(taker.ref(), "all")), onBlock(block([](void **) { return 1; }));
    const Temporary nowhere(onEntry("no-such-entry-anywhere")), unknown(on(taker.ref(), "nosuchmessage"));
    says(taker,
         "$callback new $1, 'all', 1, 1, 1, 1, 1, 1, 1 -> error 20 -> nil; "
         "$entrycll new 'go', 1, 1, 1, 1, 1, 1, 1 -> error 20 -> nil; "
         "$2 invoke 1, 1, 1, 1, 1, 1, 1, 1, 1, 1 -> error 21; $3 invoke 1, 1, 1, 1, 1, 1, 1, 1, 1, 1 -> error 21; "
         "$4 invoke -> error 110; $5 invoke -> error 24",
         {taker, onMessage, onBlock, nowhere, unknown});
    EXPECT_TRUE(told.told.empty());
}

// ---- Dependents: who is told of a change, in chains and circles and while the list changes -------------------------

class Dependents : public Listening {
protected:
    static Ref newModel() { return send<Ref>(SITE("new"), CLASS("dependnt")); }
    const Temporary model{newModel()};
};

TEST_F(Dependents, AreToldOfChangeAndDeletionUntilTheyAreRemoved) {
    const auto first = newListener(), second = newListener();
    says(
        model,
        "changed 1; getdependents -> nil; removedependent $1; removedependencies; adddependent $1; adddependent $2; "
        "adddependent $2; changed 2; getdependents -> it; it size -> 2; it finalize; removedependent $1; "
        "removedependent nil; deleted 3; adddependent $1; removedependencies; changed 4; adddependent nil -> error 33; "
        "$2 finalize; adddependent $2 -> error 106",
        {first, second});
    EXPECT_EQ(told.told, (std::vector<Told>{{first, "changed", 2}, {second, "changed", 2}, {second, "deleted", 3}}));
}

TEST_F(Dependents, PassNotificationsOnInChainsAndOnceRoundACircle) {
    const Temporary middle(newModel()), last(newListener());
    const auto end = last.ref();
    told.action = [&](const Told &entry) { // a change of its own within a change gets through
        if (entry.argument == 7) send(SITE("changed"), middle.ref(), std::int64_t{8});
    };
    says(model,
         "adddependent $1; $1 adddependent $2; changed 5; $1 adddependent $3; adddependent $3; $1 changed 6; "
         "$1 changed 7",
         {middle, end, model});
    EXPECT_EQ(told.told,
              (std::vector<Told>{{end, "changed", 5}, {end, "changed", 6}, {end, "changed", 7}, {end, "changed", 8}}));
}

TEST_F(Dependents, MayBeRemovedWhileTheyAreTold) {
    std::vector<Ref> dependents(10);
    for (auto &dependent : dependents) dependent = newListener();
    told.action = [&](const Told &entry) {
        if (entry.argument == 1) send(SITE("removedependent"), model.ref(), entry.object);
        if (entry.argument == 2) send(SITE("removedependencies"), model.ref());
    };
    for (const auto &[change, expected] : {std::pair{"changed 1", dependents}, {"changed 2", {dependents[0]}}}) {
        for (const auto dependent : dependents) send(SITE("adddependent"), model.ref(), dependent);
        says(model, change);
        EXPECT_EQ(told.receivers(), expected);
        told.told.clear();
    }
}

} // namespace
} // namespace oocobol::test
