// The objects that a thread is inside of: each thread has its own, and leaves nothing behind.
#include <thread>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class RecursiveSet : public CollectionTest {
protected:
    const Temporary one{text("a")}, equal{text("a")};
};

TEST_F(RecursiveSet, KnowsObjectsByIdentityForEachThreadOfItsOwn) {
    says(CLASS("recurset"), "includes $1 -> 0; add $1; add $1; includes $1 -> 1; includes $2 -> 0",
         {one.ref(), equal.ref()});
    std::thread([&] { says(CLASS("recurset"), "includes $1 -> 0; add $1; includes $1 -> 1", {one.ref()}); }).join();
    says(CLASS("recurset"), "includes $1 -> 1; remove $1; includes $1 -> 0; remove $1 -> error 12", {one.ref()});
}

TEST_F(RecursiveSet, MovesIntoAnIdentitySetWhenItIsAskedForByAThread) {
    std::thread([&] {
        const auto before = countInstances(CLASS("recurset"));
        send(SITE("add"), CLASS("recurset"), one.ref());
        const auto own = send<Ref>(SITE("getset"), CLASS("recurset"));
        says(CLASS("recurset"), "getset -> $1; $1 includes $2 -> 1", {own, one.ref()});
        says(send<Ref>(SITE("getset"), own), "includes $1 -> 1", {one.ref()});
        EXPECT_EQ(countInstances(CLASS("recurset")), before + 1);
        says(CLASS("recurset"), "remove $1; includes $1 -> 0", {one.ref()});
    }).join();
}

} // namespace
} // namespace oocobol::test
