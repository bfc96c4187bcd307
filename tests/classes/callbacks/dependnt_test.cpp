// Dependents: who is told of a change, in chains and circles and while the list changes.

#include "tests/classes/object/components.h"
#include "tests/support/says.h"

namespace oocobol::test {
namespace {

class Dependents : public ::testing::Test {
protected:
    Dependents() { log = &told; }
    ~Dependents() override { log = nullptr; }
    static void SetUpTestSuite() {
        const RaisedErrors errors;
        finalize(newComponent());
    }
    static Ref newModel() { return send<Ref>(SITE("new"), CLASS("dependnt")); }
    // What has been told since it was last asked.
    std::vector<Told> takeTold() { return std::exchange(told.told, {}); }
    Log told;
};

TEST_F(Dependents, AreToldOfChangeAndDeletionUntilTheyAreRemoved) {
    const LeakCheck leaks;
    const Temporary model(newModel()), first(newListener());
    const auto second = newListener();
    says(
        model.ref(),
        "changed 1; getdependents -> nil; removedependent $1; removedependencies; adddependent $1; adddependent $2; "
        "adddependent $2; changed 2; getdependents -> it; it size -> 2; it finalize; removedependent $1; "
        "removedependent nil; deleted 3; adddependent $1; removedependencies; changed 4; adddependent nil -> error 33; "
        "$2 finalize; adddependent $2 -> error 106",
        {first.ref(), second});
    EXPECT_EQ(takeTold(),
              (std::vector<Told>{{first.ref(), "changed", 2}, {second, "changed", 2}, {second, "deleted", 3}}));
}

TEST_F(Dependents, PassNotificationsOnInChainsAndOnceRoundACircle) {
    const LeakCheck leaks;
    const Temporary model(newModel()), middle(newModel()), end(newListener());
    told.action = [&](const Told &entry) { // a change of its own within a change gets through
        if (entry.argument == 7) send(SITE("changed"), middle.ref(), std::int64_t{8});
    };
    says(model.ref(),
         "adddependent $1; $1 adddependent $2; changed 5; $1 adddependent $3; adddependent $3; $1 changed 6; "
         "$1 changed 7",
         {middle.ref(), end.ref(), model.ref()});
    EXPECT_EQ(takeTold(), (std::vector<Told>{{end.ref(), "changed", 5},
                                             {end.ref(), "changed", 6},
                                             {end.ref(), "changed", 7},
                                             {end.ref(), "changed", 8}}));
}

TEST_F(Dependents, MayBeRemovedWhileTheyAreTold) {
    const LeakCheck leaks;
    const Temporary model(newModel());
    std::vector<Ref> dependents(10);
    for (auto &dependent : dependents) dependent = newListener();
    told.action = [&](const Told &entry) {
        if (entry.argument == 1) send(SITE("removedependent"), model.ref(), entry.object);
        if (entry.argument == 2) send(SITE("removedependencies"), model.ref());
    };
    for (const auto &[change, expected] : {std::pair{"changed 1", dependents}, {"changed 2", {dependents[0]}}}) {
        for (const auto dependent : dependents) send(SITE("adddependent"), model.ref(), dependent);
        says(model.ref(), change);
        EXPECT_EQ(told.receivers(), expected);
        told.told.clear();
    }
    for (const auto dependent : dependents) finalize(dependent);
}

// Quadratic work would show as a timeout here; how long it takes is the benchmarks' concern.
TEST_F(Dependents, AreToldAndRemovedByTheThousand) {
    constexpr std::size_t count = 5000;
    const Temporary model(newModel());
    std::vector<Ref> dependents(count);
    for (auto &dependent : dependents) send(SITE("adddependent"), model.ref(), dependent = newListener());
    says(model.ref(), "changed 1; changed 2; changed 3; changed 4; changed 5; removedependencies; changed 6");
    EXPECT_EQ(told.told.size(), 5 * count);
    for (const auto dependent : dependents) finalize(dependent);
}

} // namespace
} // namespace oocobol::test
