// The objects that a thread is inside of: each thread has its own, and leaves nothing behind.
#include <thread>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

bool visits(Ref object) { return send<bool>(SITE("includes"), CLASS("recurset"), object); }

TEST(RecursiveSet, KnowsObjectsByIdentity) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto one = text("a"), equal = text("a");
    EXPECT_FALSE(visits(one));
    send(SITE("add"), CLASS("recurset"), one);
    send(SITE("add"), CLASS("recurset"), one);
    EXPECT_TRUE(visits(one));
    EXPECT_FALSE(visits(equal));
    send(SITE("remove"), CLASS("recurset"), one);
    EXPECT_FALSE(visits(one));
    EXPECT_TRUE(errors.all.empty());
    send(SITE("remove"), CLASS("recurset"), one);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12}));
    finalize(one);
    finalize(equal);
}

TEST(RecursiveSet, IsEachThreadsOwn) {
    const LeakCheck leaks;
    const auto one = text("a");
    send(SITE("add"), CLASS("recurset"), one);
    std::thread([&] {
        EXPECT_FALSE(visits(one));
        send(SITE("add"), CLASS("recurset"), one);
        EXPECT_TRUE(visits(one));
    }).join();
    EXPECT_TRUE(visits(one));
    send(SITE("remove"), CLASS("recurset"), one);
    finalize(one);
}

TEST(RecursiveSet, MovesIntoAnIdentitySetWhenItIsAskedFor) {
    const LeakCheck leaks;
    std::thread([] {
        const auto before = countInstances(CLASS("recurset"));
        const auto one = text("a");
        send(SITE("add"), CLASS("recurset"), one);
        const auto own = send<Ref>(SITE("getset"), CLASS("recurset"));
        EXPECT_EQ(send<Ref>(SITE("getset"), CLASS("recurset")), own);
        EXPECT_EQ(countInstances(CLASS("recurset")), before + 1);
        EXPECT_TRUE(send<bool>(SITE("includes"), own, one));
        EXPECT_TRUE(send<bool>(SITE("includes"), send<Ref>(SITE("getset"), own), one));
        send(SITE("remove"), CLASS("recurset"), one);
        EXPECT_FALSE(visits(one));
        finalize(one);
    }).join();
}

} // namespace
} // namespace oocobol::test
