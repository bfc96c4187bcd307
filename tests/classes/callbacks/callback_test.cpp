// Callbacks: on entries, on messages, on threads of their own.
#include <atomic>
#include <thread>

#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// Who got the last message, with which arguments, and what it is to do then.
std::vector<std::uint64_t> brought;
Ref reached;
std::function<void()> action;

// Records its receiver and arguments, changes a 101 to 1, and answers 77.
void sortByName(const oops_ref *self, void *, std::uint64_t *answer, std::uint64_t *a, const std::uint64_t *b,
                const std::uint64_t *c, const std::uint64_t *d) {
    reached = Ref{*self};
    brought.clear();
    for (const auto *argument : {static_cast<const std::uint64_t *>(a), b, c, d}) {
        if (argument != nullptr) brought.push_back(*argument);
    }
    if (a != nullptr && *a == 101) *a = 1;
    if (answer != nullptr) *answer = 77;
    if (action) action();
}

using Values = std::vector<std::uint64_t>;

class Callbacks : public testing::Test {
protected:
    Callbacks() { action = {}; }
    template <class... Stored> static Ref on(Ref receiver, std::string method, const Stored &...stored) {
        return send<Ref>(SITE("new"), CLASS("callback"), receiver, Bytes{method.c_str()}, stored...);
    }
    static Ref onEntry(const std::string &entry) {
        return send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{entry.c_str()}, s1);
    }

    static Ref newTaker() {
        static const auto takers =
            OutsideClass("taker", "taker", CLASS("base")).method("sortbyname", asMethod(sortByName), 5).registerIt();
        return send<Ref>(SITE("new"), takers);
    }
    static constexpr std::uint64_t s1 = 101, s2 = 102;
    const LeakCheck leaks;
    const Temporary taker{newTaker()};
};

TEST_F(Callbacks, SendStoredArgumentsBeforeThoseOfTheInvocation) {
    const Temporary both(on(taker.ref(), "SortByName ", s1, s2));
    says(both,
         "invoke 103 -> 77; getmessage -> [sortbyname]; "
         "getparameter 1 -> 1; getparameter 2 -> 102; " // what the method changes in a stored argument stays changed
         "getparameter 3 -> error 17; getparameter 0 -> error 17; getparameter -1 -> error 17; "
         "getparameter 2147483647 -> error 17; getparameter -2147483648 -> error 17");
    EXPECT_EQ(reached, taker.ref());
    EXPECT_EQ(brought, (Values{101, 102, 103}));
    EXPECT_EQ(s1, 101u);
}

TEST_F(Callbacks, TakeTheReceiverFromTheFirstArgumentWhenNoneIsStored) {
    const Temporary open(on(null, "sortbyname")), gap(on(taker.ref(), "sortbyname", s1, omitted, s2));
    says(open, "invoke $1, 103, 104 -> 77", {taker});
    EXPECT_EQ(reached, taker.ref());
    EXPECT_EQ(brought, (Values{103, 104}));
    says(gap, "invoke -, 103");
    EXPECT_EQ(brought, Values{101}); // nothing behind a gap in what is stored, or a receiver that is left out
    says(gap, "invoke 103, -, 104");
    EXPECT_EQ(brought, (Values{1, 103, 104}));
}

TEST_F(Callbacks, AreEqualByNameAndReceiver) {
    const Temporary one(on(taker.ref(), "go")), same(on(taker.ref(), "GO", s1)), other(on(taker.ref(), "stop"));
    const Temporary elsewhere(on(null, "go")), entry(onEntry("go ")), twin(onEntry("go")), capitals(onEntry("GO"));
    says(one,
         "equal $1 -> 1; equal $2 -> 0; equal $3 -> 0; equal nil -> 0; "
         "$4 equal $5 -> 1; $4 equal $6 -> 0; $4 equal $7 -> 0",
         {same, other, elsewhere, entry, twin, capitals, one});
    const auto told = valueOf(Temporary(send<Ref>(SITE("description"), entry.ref())).ref());
    EXPECT_EQ(told.substr(told.size() - 160), padded(" for code entitled go", 160));
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
    for (const auto &[made, expected] : names) {
        std::string name(81, '?');
        send(SITE("getmessage"), made, Returning{{reinterpret_cast<std::byte *>(name.data())}});
        EXPECT_EQ(name, expected);
        finalize(made);
    }
}

TEST_F(Callbacks, EndAfterTheInvocationThatFinalizesThem) {
    const auto onMessage = on(taker.ref(), "sortbyname");
    action = [&] {
        action = {};
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

TEST_F(Callbacks, OnThreadsReturnBeforeTheMessageHasRun) {
    static std::atomic<bool> mayRun, hasRun;
    mayRun = hasRun = false;
    action = [] {
        while (!mayRun) std::this_thread::yield();
        hasRun = true;
    };
    const auto threaded = send<Ref>(SITE("new"), CLASS("mcallbck"), taker.ref(), Bytes{"sortbyname"}, s1);
    std::uint64_t answer = 9;
    const std::uint64_t given = 103; // is the caller's until the message has run
    send(SITE("invoke"), threaded, Returning{{reinterpret_cast<std::byte *>(&answer)}}, given);
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(answer, 9u);
    finalize(threaded); // the message goes its way
    mayRun = true;
    while (!hasRun) std::this_thread::yield();
    EXPECT_EQ(brought, (Values{101, 103}));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

TEST_F(Callbacks, RefuseTooManyArgumentsAndWhatIsNotThere) {
    const Temporary onMessage(on(taker.ref(), "sortbyname")), onBlock(block([](void **) { return 1; }));
    const Temporary nowhere(onEntry("no-such-entry-anywhere")), unknown(on(taker.ref(), "nosuchmessage"));
    brought.clear();
    says(taker,
         "$callback new $1, 'sortbyname', 1, 1, 1, 1, 1, 1, 1 -> error 20 -> nil; "
         "$entrycll new 'go', 1, 1, 1, 1, 1, 1, 1 -> error 20 -> nil; "
         "$2 invoke 1, 1, 1, 1, 1, 1, 1, 1, 1, 1 -> error 21; $3 invoke 1, 1, 1, 1, 1, 1, 1, 1, 1, 1 -> error 21; "
         "$4 invoke -> error 110; $5 invoke -> error 24",
         {taker, onMessage, onBlock, nowhere, unknown});
    EXPECT_TRUE(brought.empty());
}

} // namespace
} // namespace oocobol::test
