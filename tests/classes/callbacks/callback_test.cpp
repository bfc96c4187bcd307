// Callbacks: on entries, on messages, on threads of their own.
#include <atomic>
#include <thread>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// What the last invocation brought, as references.
std::vector<std::uint64_t> brought;
Ref reached;
std::function<void()> action;

std::uint64_t valueAt(const void *address) {
    std::uint64_t value;
    std::memcpy(&value, address, sizeof value);
    return value;
}

// A class whose method `sortbyname` records its receiver and arguments, changes a 101 to 1, and answers 77.
Ref takerClass() {
    static const auto made =
        OutsideClass("taker", "taker", CLASS("base"))
            .method("sortbyname",
                    asMethod(+[](const oops_ref *self, void *, void *answer, void *a, void *b, void *c, void *d) {
                        reached = Ref{*self};
                        brought.clear();
                        for (auto *argument : {a, b, c, d}) {
                            if (argument != nullptr) brought.push_back(valueAt(argument));
                        }
                        if (a != nullptr && valueAt(a) == 101) std::memset(a, 1, 1);
                        const std::uint64_t value = 77;
                        if (answer != nullptr) std::memcpy(answer, &value, sizeof value);
                        if (action) action();
                    }),
                    5)
            .registerIt();
    return made;
}

using Values = std::vector<std::uint64_t>;

class Callbacks : public testing::Test {
protected:
    Callbacks() : taker(send<Ref>(SITE("new"), takerClass())) { action = {}; }
    ~Callbacks() override { finalize(taker); }

    template <class... Stored> static Ref on(Ref receiver, const char *method, const Stored &...stored) {
        return send<Ref>(SITE("new"), CLASS("callback"), receiver, Bytes{method}, stored...);
    }
    static std::string messageOf(Ref callback) {
        std::string name(81, '?');
        send(SITE("getmessage"), callback, Returning{{reinterpret_cast<std::byte *>(name.data())}});
        return name;
    }
    template <class... Arguments> static std::uint64_t invoke(Ref callback, const Arguments &...arguments) {
        return send<std::uint64_t>(SITE("invoke"), callback, arguments...);
    }

    LeakCheck leaks;
    RaisedErrors errors;
    Ref taker;
    const std::uint64_t s1 = 101, s2 = 102, a = 103, b = 104;
};

TEST_F(Callbacks, SendStoredArgumentsBeforeThoseOfTheInvocation) {
    const auto both = on(taker, "SortByName ", s1, s2);
    EXPECT_EQ(invoke(both, a), 77u);
    EXPECT_EQ(reached, taker);
    EXPECT_EQ(brought, (Values{101, 102, 103}));
    EXPECT_EQ(messageOf(both), "sortbyname" + std::string(71, '\0'));
    // What the method changes in a stored argument stays changed.
    EXPECT_EQ(send<std::uint64_t>(SITE("getparameter"), both, Index{1}), 1u);
    EXPECT_EQ(send<std::uint64_t>(SITE("getparameter"), both, Index{2}), 102u);
    EXPECT_EQ(s1, 101u);
    EXPECT_TRUE(errors.all.empty());
    for (const Index index : {3, 0, -1, INT32_MAX, INT32_MIN}) {
        send<std::uint64_t>(SITE("getparameter"), both, index);
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{17}));
    }
    finalize(both);
}

TEST_F(Callbacks, TakeTheReceiverFromTheFirstArgumentWhenNoneIsStored) {
    const auto open = on(null, "sortbyname");
    EXPECT_EQ(invoke(open, taker, a, b), 77u);
    EXPECT_EQ(reached, taker);
    EXPECT_EQ(brought, (Values{103, 104}));
    const auto gap = on(taker, "sortbyname", s1, omitted, s2);
    invoke(gap, omitted, a);
    EXPECT_EQ(brought, Values{101}); // nothing behind a gap in what is stored, or a receiver that is left out
    invoke(gap, a, omitted, b);
    EXPECT_EQ(brought, (Values{1, 103, 104}));
    EXPECT_TRUE(errors.all.empty());
    finalize(open);
    finalize(gap);
}

TEST_F(Callbacks, AreEqualByNameAndReceiver) {
    const auto equal = [](Ref one, Ref other) { return send<bool>(SITE("equal"), one, other); };
    const auto one = on(taker, "go"), same = on(taker, "GO", s1), other = on(taker, "stop"), elsewhere = on(null, "go");
    EXPECT_TRUE(equal(one, same));
    EXPECT_FALSE(equal(one, other));
    EXPECT_FALSE(equal(one, elsewhere));
    EXPECT_FALSE(equal(one, null));
    const auto entry = send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{"go "});
    const auto twin = send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{"go"}, s1);
    const auto inCapitals = send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{"GO"});
    EXPECT_TRUE(equal(entry, twin));
    EXPECT_FALSE(equal(entry, inCapitals));
    EXPECT_FALSE(equal(entry, one));
    const auto description = send<Ref>(SITE("description"), entry);
    const auto told = valueOf(description);
    EXPECT_EQ(told.substr(told.size() - 160), " for code entitled go" + std::string(139, ' '));
    EXPECT_TRUE(errors.all.empty());
    for (const auto object : {one, same, other, elsewhere, entry, twin, inCapitals, description}) finalize(object);
}

TEST_F(Callbacks, KeepNamesAsTheyMustBe) {
    const auto nameOf = [](const char *program, const std::string &name) {
        const auto made = std::string_view(program) == "callback"
                              ? on(null, name.c_str())
                              : send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{name.c_str()});
        auto message = messageOf(made);
        finalize(made);
        return message;
    };
    const std::string longest(79, 'N'), lower(79, 'n');
    EXPECT_EQ(nameOf("callback", longest), lower + std::string(2, '\0'));
    EXPECT_EQ(nameOf("entrycll", longest + " rest"), longest + "  ");
    EXPECT_EQ(nameOf("callback", longest + "N"), padded("callbackmethodnametoolong", 81));
    EXPECT_EQ(nameOf("entrycll", longest + "N"), padded("entryCallbackMethodNameTooLong", 81));
    EXPECT_EQ(nameOf("entrycll", "\"two words\"behind"), padded("\"two words\"", 81));
    EXPECT_EQ(nameOf("entrycll", "\"" + longest), padded("entryCallbackMethodNameTooLong", 81));
}

TEST_F(Callbacks, EndAfterTheInvocationThatFinalizesThem) {
    auto onMessage = on(taker, "sortbyname");
    action = [&] {
        EXPECT_EQ(send<Ref>(SITE("finalize"), onMessage), null);
        EXPECT_TRUE(send<bool>(SITE("active"), onMessage));
        action = {};
        invoke(onMessage, a); // an inner invocation is not the last one
        EXPECT_TRUE(isLive(onMessage));
    };
    EXPECT_EQ(invoke(onMessage, b), 77u);
    EXPECT_FALSE(isLive(onMessage));
    Ref onEntry;
    onEntry = block([&](void **) {
        finalize(onEntry);
        return send<bool>(SITE("active"), onEntry) ? 5 : 0;
    });
    EXPECT_FALSE(send<bool>(SITE("active"), onEntry));
    EXPECT_EQ(invoke(onEntry), 5u);
    EXPECT_FALSE(isLive(onEntry));
    EXPECT_TRUE(errors.all.empty());
}

TEST_F(Callbacks, OnThreadsReturnBeforeTheMessageHasRun) {
    static std::atomic<bool> mayRun, hasRun;
    mayRun = hasRun = false;
    action = [] {
        while (!mayRun) std::this_thread::yield();
        hasRun = true;
    };
    const auto threaded = send<Ref>(SITE("new"), CLASS("mcallbck"), taker, Bytes{"sortbyname"}, s1);
    std::uint64_t answer = 9;
    send(SITE("invoke"), threaded, Returning{{reinterpret_cast<std::byte *>(&answer)}}, a);
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(answer, 9u);
    finalize(threaded); // the message goes its way
    mayRun = true;
    while (!hasRun) std::this_thread::yield();
    EXPECT_EQ(brought, (Values{101, 103}));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

TEST_F(Callbacks, RefuseTooManyArguments) {
    EXPECT_EQ(on(taker, "sortbyname", a, a, a, a, a, a, a), null);
    EXPECT_EQ(send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{"go"}, a, a, a, a, a, a, a), null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{20, 20}));
    brought.clear();
    const auto onMessage = on(taker, "sortbyname"), onEntry = block([](void **) { return 1; });
    invoke(onMessage, a, a, a, a, a, a, a, a, a, a);
    invoke(onEntry, a, a, a, a, a, a, a, a, a, a);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{21, 21}));
    EXPECT_TRUE(brought.empty());
    const auto nowhere = send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{"no-such-entry-anywhere"});
    const auto unknown = on(taker, "nosuchmessage");
    invoke(nowhere);
    invoke(unknown);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{110, 24}));
    for (const auto object : {onMessage, onEntry, nowhere, unknown}) finalize(object);
}

} // namespace
} // namespace oocobol::test
