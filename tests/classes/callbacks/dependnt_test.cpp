// Dependents: who is told of a change, in chains and circles and while the list changes.

#include "tests/classes/object/components.h"
#include "tests/support/says.h"

namespace oocobol::test {
namespace {

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
