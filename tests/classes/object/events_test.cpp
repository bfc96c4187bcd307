// Events, delegates, and that neither they nor handlers outlive their object.
#include "tests/classes/object/components.h"

namespace oocobol::test {
namespace {

class Events : public ::testing::Test {
protected:
    Events() {
        log = &told;
        finalize(subject()); // the tables of the process are made
    }
    ~Events() override { log = nullptr; }

    static Ref subject() {
        const auto made = newListener();
        send(SITE("seteventto"), made, Count{7}, made, Bytes{"note"});
        return made;
    }
    static std::int64_t occurs(Ref object, Count number) { return send<std::int64_t>(SITE("doevent"), object, number); }
    Log told;
};

TEST_F(Events, RunTheCallbackOfTheirNumber) {
    const LeakCheck leaks;
    const auto object = newListener(), other = newListener();
    EXPECT_EQ(occurs(object, 7), 0);
    send(SITE("seteventto"), object, Count{7}, other, Bytes{"note"});
    EXPECT_EQ(occurs(object, 7), 77);
    EXPECT_EQ(occurs(object, 8), 0);
    EXPECT_EQ(occurs(other, 7), 0);
    EXPECT_EQ(told.receivers(), std::vector<Ref>{other});
    const std::int64_t stored = 41;
    send(SITE("seteventto"), object, Count{7}, other, Bytes{"other"}, stored); // replaces
    occurs(object, 7);
    EXPECT_EQ(told.told.back(), (Told{other, "other", 41}));
    const auto event = send<Ref>(SITE("withobjecteventid"), CLASS("event"), object, Count{7});
    EXPECT_EQ(send<std::int64_t>(SITE("dispatchevent"), other, event), 0);
    EXPECT_EQ(send<std::int64_t>(SITE("dispatchevent"), object, event), 77);
    for (const auto made : {event, object, other}) finalize(made);
}

TEST_F(Events, AreTranslatedForOtherObjectsAndIntoSignals) {
    const LeakCheck leaks;
    const auto object = subject(), other = newListener();
    send(SITE("seteventto"), other, Count{9}, other, Bytes{"other"});
    send(SITE("translateevent"), object, Count{7}, other, Count{8});
    send(SITE("translateevent"), object, Count{7}, other, Count{9});
    EXPECT_EQ(occurs(object, 7), 77);
    EXPECT_EQ(told.receivers(), (std::vector<Ref>{object, other}));
    const auto source = newSource(), target = newReceiver();
    connect(source, target);
    const std::int64_t argument = 5;
    for (int i = 0; i < 2; ++i)
        send(SITE("translateeventtosignal"), object, Count{3}, source, Bytes{"go on"}, argument);
    occurs(object, 3);
    EXPECT_EQ(told.told.back(), (Told{target, "note", 5}));
    for (const auto made : {object, other, source, target}) finalize(made);
}

TEST_F(Events, MayEndWhateverTheyReach) {
    const LeakCheck leaks;
    const auto object = subject(), other = subject();
    send(SITE("translateevent"), object, Count{7}, other, Count{7});
    told.action = [&](const Told &entry) {
        if (entry.object == object) {
            finalize(other);
            finalize(object);
        }
    };
    occurs(object, 7);
    EXPECT_EQ(told.receivers(), std::vector<Ref>{object});
}

TEST_F(Events, RefuseWhatIsNoCallbackTargetOrEvent) {
    RaisedErrors errors;
    const auto object = newListener(), stale = newListener();
    finalize(stale);
    for (const auto bad : {null, stale}) {
        send(SITE("setevent"), object, Count{1}, bad);
        send(SITE("translateevent"), object, Count{1}, bad, Count{2});
        send(SITE("dispatchevent"), object, bad);
    }
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33, 33, 106, 106, 106}));
    finalize(object);
}

// ---- What an object leaves behind -----------------------------------------------------------------------------------

// Makes objects until one takes the place of the one that has gone.
Ref successorOf(Ref gone) {
    std::vector<Ref> others;
    Ref found{};
    for (int i = 0; i < 100000 && !found; ++i) {
        const auto made = newListener();
        if (made.index() == gone.index())
            found = made;
        else
            others.push_back(made);
        if (others.size() > 600) { // freed indexes come round again
            for (const auto other : others) cancelObject(other);
            others.clear();
        }
    }
    for (const auto other : others) cancelObject(other);
    return found;
}

TEST_F(Events, DelegatesHandlersAndDependentsGoWithTheirObject) {
    RaisedErrors errors;
    const auto object = subject(), other = newReceiver();
    const auto manager = CLASS("delegate");
    auto handled = 0;
    const auto handler = block([&](void **) { return ++handled; });
    send(SITE("setdelegate"), object, other);
    send(SITE("register"), CLASS("exptnmgr"), object, handler);
    send(SITE("makecomponent"), object);
    send(SITE("defineoutsignal"), object, Bytes{"go"});
    connect(object, other);
    finalize(object);
    EXPECT_EQ(send<Ref>(SITE("getdelegatefor"), manager, object), null);
    EXPECT_FALSE(send<bool>(SITE("cancel"), CLASS("exptnmgr"), object));
    const auto fresh = successorOf(object);
    ASSERT_TRUE(fresh);
    EXPECT_EQ(occurs(fresh, 7), 0);
    EXPECT_FALSE(send<bool>(SITE("iscomponent"), fresh));
    static oops_site unknown = OOPS_SITE("nosuchmessage");
    send(unknown, fresh);
    send(SITE("raiseexception"), fresh, Count{12});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{24, 12}));
    EXPECT_EQ(handled, 0);
    EXPECT_TRUE(told.told.empty());
    for (const auto made : {fresh, other, handler}) finalize(made);
}

// ---- Delegates -----------------------------------------------------------------------------------------------------

void onSpecial(const oops_ref *self, void *, std::int64_t *answer, std::int64_t *a, std::int64_t *, std::int64_t *,
               std::int64_t *, std::int64_t *, std::int64_t *, std::int64_t *g) {
    note(self, "special", answer, a);
    if (g != nullptr && answer != nullptr) *answer = *a + *g;
    // A method that the delegate understands may send the same message again.
    static oops_site special = OOPS_SITE("special");
    if (a != nullptr && *a > 1000) {
        const Ref back{static_cast<std::uint64_t>(*g)};
        const std::int64_t less = *a - 1;
        send(special, back, less, less, less, less, less, less, back);
    }
}
Ref helperClass() {
    static const auto made = OutsideClass("cmhelper", "helper", classForProgram("base"))
                                 .method("special", asMethod(onSpecial), 8)
                                 .registerIt();
    return made;
}

TEST_F(Events, ADelegateGetsWhatItsObjectDoesNotUnderstandWithSevenArguments) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto helper = send<Ref>(SITE("new"), helperClass());
    const auto first = newListener(), second = newListener();
    static oops_site special = OOPS_SITE("special");
    const std::int64_t one = 1, seven = 7;
    const auto ask = [&] { return send<std::int64_t>(special, first, one, one, one, one, one, one, seven); };
    send(SITE("setdelegate"), first, second);
    send(SITE("setdelegate"), second, helper);
    EXPECT_EQ(ask(), 8);
    EXPECT_EQ(told.receivers(), std::vector<Ref>{helper});
    const std::int64_t more = 1003;
    send(special, first, more, one, one, one, one, one, first);
    EXPECT_EQ(told.told.size(), 5u); // 1, then 1003 to 1000
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    finalize(helper);
    ask();
    EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
    send(SITE("setdelegate"), second, first); // round and round
    ask();
    EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
    send(SITE("removedelegate"), first);
    send(SITE("removedelegate"), first);
    ask();
    EXPECT_EQ(errors.all.size(), 1u);
    EXPECT_EQ(errors.all.front().object, first);
    finalize(first);
    finalize(second);
}

} // namespace
} // namespace oocobol::test
