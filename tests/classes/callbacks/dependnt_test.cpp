// Dependents: who is told of a change, in chains and circles and while the list changes.

#include "tests/classes/object/components.h"

namespace oocobol::test {
namespace {

class Dependents : public ::testing::Test {
protected:
    Dependents() { log = &told; }
    ~Dependents() override { log = nullptr; }
    static void SetUpTestSuite() {
        const RaisedErrors errors;
        finalize(newSource());
    }
    static Ref newModel() { return send<Ref>(SITE("new"), CLASS("dependnt")); }
    static void add(Ref model, Ref dependent) { send(SITE("adddependent"), model, dependent); }
    static void change(Ref model, std::int64_t argument) { send(SITE("changed"), model, argument); }
    Log told;
};

TEST_F(Dependents, AreToldOfChangeAndDeletionUntilTheyAreRemoved) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto model = newModel(), first = newListener(), second = newListener();
    change(model, 1);
    EXPECT_EQ(send<Ref>(SITE("getdependents"), model), null);
    send(SITE("removedependent"), model, first);
    send(SITE("removedependencies"), model);
    add(model, first);
    add(model, second);
    add(model, second);
    change(model, 2);
    EXPECT_EQ(told.told, (std::vector<Told>{{first, "changed", 2}, {second, "changed", 2}}));
    told = {};
    const auto dependents = send<Ref>(SITE("getdependents"), model);
    EXPECT_EQ(send<Count>(SITE("size"), dependents), 2u);
    finalize(dependents);
    send(SITE("removedependent"), model, first);
    send(SITE("removedependent"), model, null);
    send(SITE("deleted"), model, std::int64_t{3});
    EXPECT_EQ(told.told, (std::vector<Told>{{second, "deleted", 3}}));
    told = {};
    add(model, first);
    send(SITE("removedependencies"), model);
    change(model, 4);
    EXPECT_TRUE(told.told.empty());
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    for (const auto bad : {null, second}) {
        if (bad) finalize(second);
        add(model, bad);
    }
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 106}));
    finalize(model);
    finalize(first);
}

TEST_F(Dependents, PassNotificationsOnInChainsAndOnceRoundACircle) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto model = newModel(), middle = newModel(), end = newListener();
    add(model, middle);
    add(middle, end);
    change(model, 5);
    EXPECT_EQ(told.told, (std::vector<Told>{{end, "changed", 5}}));
    add(middle, model);
    add(model, model);
    told = {};
    change(middle, 6);
    EXPECT_EQ(told.told, (std::vector<Told>{{end, "changed", 6}}));
    told = {};
    told.action = [&](const Told &entry) { // a change of its own within a change gets through
        if (entry.argument == 7) change(middle, 8);
    };
    change(middle, 7);
    EXPECT_EQ(told.told, (std::vector<Told>{{end, "changed", 7}, {end, "changed", 8}}));
    EXPECT_EQ(errors.numbers(), std::vector<Count>());
    for (const auto object : {model, middle, end}) finalize(object);
}

TEST_F(Dependents, MayBeRemovedWhileTheyAreTold) {
    const LeakCheck leaks;
    const auto model = newModel();
    std::vector<Ref> dependents;
    for (int i = 0; i < 10; ++i) add(model, dependents.emplace_back(newListener()));
    told.action = [&](const Told &entry) {
        if (entry.argument == 1) send(SITE("removedependent"), model, entry.object);
        if (entry.argument == 2) send(SITE("removedependencies"), model);
    };
    change(model, 1);
    EXPECT_EQ(told.receivers(), dependents);
    for (const auto dependent : dependents) add(model, dependent);
    told.told.clear();
    change(model, 2);
    EXPECT_EQ(told.receivers(), std::vector<Ref>{dependents[0]});
    for (const auto dependent : dependents) finalize(dependent);
    finalize(model);
}

// Twice as many take no more than about twice as long to be told and to be removed.
// Quadratic work would show as a timeout here; how long it takes is the benchmarks' concern.
TEST_F(Dependents, AreToldAndRemovedByTheThousand) {
    constexpr std::size_t count = 5000;
    const auto model = newModel();
    std::vector<Ref> dependents;
    for (std::size_t i = 0; i < count; ++i) add(model, dependents.emplace_back(newListener()));
    told = {};
    for (int i = 0; i < 5; ++i) change(model, i);
    EXPECT_EQ(told.told.size(), 5 * count);
    send(SITE("removedependencies"), model);
    change(model, 6);
    EXPECT_EQ(told.told.size(), 5 * count);
    for (const auto dependent : dependents) finalize(dependent);
    finalize(model);
}

} // namespace
} // namespace oocobol::test
