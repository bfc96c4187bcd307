// Events, delegates, and that neither they nor handlers outlive their object.
#include "tests/classes/object/components.h"
#include "tests/support/says.h"

namespace oocobol::test {
namespace {

class Events : public Listening {
protected:
    static void SetUpTestSuite() {
        Listening::SetUpTestSuite();
        finalize(subject());
    }
    static Ref subject() {
        const auto made = newListener();
        send(SITE("seteventto"), made, Count{7}, made, Bytes{"note"});
        return made;
    }
};

TEST_F(Events, RunTheCallbackOfTheirNumber) {
    const auto object = newListener(), other = newListener();
    says(object,
         "doevent 7 -> 0; seteventto 7, $1, 'note'; doevent 7 -> 77; doevent 8 -> 0; $1 doevent 7 -> 0; "
         "seteventto 7, $1, 'other', 41; doevent 7 -> 77; $event withobjecteventid $2, 7 -> it; "
         "$1 dispatchevent it -> 0; dispatchevent it -> 77; it finalize",
         {other, object});
    EXPECT_EQ(told.receivers(), (Refs{other, other, other}));
    EXPECT_EQ(told.told.back(), (Told{other, "other", 41}));
    finalize(other);
    says(object,
         "setevent 1, nil -> error 33; setevent 1, $1 -> error 106; translateevent 1, nil, 2 -> error 33; "
         "translateevent 1, $1, 2 -> error 106; dispatchevent nil -> error 33; dispatchevent $1 -> error 106",
         {other});
}

TEST_F(Events, AreTranslatedForOtherObjectsAndIntoSignals) {
    const auto object = subject(), other = newListener(), target = newComponent();
    says(object,
         "$1 seteventto 9, $1, 'other'; translateevent 7, $1, 8; translateevent 7, $1, 9; doevent 7 -> 77; "
         "$2 connectto $3, 'in'; translateeventtosignal 3, $2, 'go on', 5; translateeventtosignal 3, $2, 'go on', 5; "
         "doevent 3",
         {other, newComponent(), target});
    EXPECT_EQ(told.receivers(), (Refs{object, other, target}));
    EXPECT_EQ(told.told.back(), (Told{target, "note", 5}));
}

// ---- What an object leaves behind -----------------------------------------------------------------------------------

// Makes objects until one takes the place of the one that has gone.
Ref successorOf(Ref gone) {
    for (int i = 0; i < 1000000; ++i) {
        const auto made = newListener();
        if (made.index() == gone.index()) return made;
        if (i % 600 == 0) // freed indexes come round again
            for (const auto other : std::exchange(listeners, {})) cancelObject(other);
    }
    return null;
}

TEST_F(Events, DelegatesHandlersAndDependentsGoWithTheirObject) {
    const auto object = subject(), other = newComponent();
    listeners.clear(); // these stay
    auto handled = 0;
    const Temporary handler(block([&](void **) { return ++handled; }));
    says(object,
         "setdelegate $1; $exptnmgr register $2, $3; makecomponent; defineoutsignal 'go'; connectto $1, 'in'; "
         "finalize; $delegate getdelegatefor $2 -> nil; $exptnmgr cancel $2 -> 0",
         {other, object, handler.ref()});
    const auto fresh = successorOf(object);
    ASSERT_TRUE(fresh);
    says(fresh, "doevent 7 -> 0; iscomponent -> 0; nosuchmessage -> error 24; raiseexception 12 -> error 12");
    EXPECT_EQ(handled, 0);
    EXPECT_TRUE(told.told.empty());
    finalize(other);
}

// ---- Delegates -----------------------------------------------------------------------------------------------------

void onSpecial(const oops_ref *self, void *, std::int64_t *answer, std::int64_t *a, std::int64_t *, std::int64_t *,
               std::int64_t *, std::int64_t *, std::int64_t *, std::int64_t *g) {
    note(self, "special", answer, a);
    if (answer != nullptr) *answer = *a + *g;
    if (*a <= 1000) return;
    // A method that the delegate understands may send the same message again.
    const Ref back{static_cast<std::uint64_t>(*g)};
    const std::int64_t less = *a - 1;
    send(SITE("special"), back, less, less, less, less, less, less, back);
}

TEST_F(Events, ADelegateGetsWhatItsObjectDoesNotUnderstandWithSevenArguments) {
    static const auto helperClass = OutsideClass("cmhelper", "helper", classForProgram("base"))
                                        .method("special", asMethod(onSpecial), 8)
                                        .registerIt();
    const auto helper = send<Ref>(SITE("new"), helperClass), first = newListener(), second = newListener();
    const std::initializer_list<Ref> named = {first, second, helper};
    says(first, "setdelegate $2; $2 setdelegate $3; special 1, 1, 1, 1, 1, 1, 7 -> 8; special 1003, 1, 1, 1, 1, 1, $1",
         named);
    EXPECT_EQ(told.receivers(), Refs(5, helper)); // 1, then 1003 to 1000
    says(first,
         "$3 finalize; special 1, 1, 1, 1, 1, 1, 7 -> error 24; $2 setdelegate $1; "
         "special 1, 1, 1, 1, 1, 1, 7 -> error 24; removedelegate; removedelegate",
         named); // round and round
    RaisedErrors errors;
    send(SITE("special"), first);
    ASSERT_EQ(errors.all.size(), 1u);
    EXPECT_EQ(errors.all.front().object, first);
}

} // namespace
} // namespace oocobol::test
