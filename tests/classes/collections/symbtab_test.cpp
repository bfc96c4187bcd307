// The two registries of named objects, and how each makes a key of a name.
#include <thread>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Registries : public CollectionTest {
protected:
    const Ref registry = CLASS("systemd");
    const Temporary one{text("one")}, other{text("other")};
};
// The key is cut to its first 32 characters.
#define LONG_NAME "a-name-of-forty-characters-without-a-end"
#define LONG_KEY "a-name-of-forty-characters-witho"
#define ABC_KEY "abc                             "

TEST_F(Registries, SymbolTablesTakeTheTerminatorIntoTheKey) {
    const Temporary table(send<Ref>(SITE("new"), CLASS("symbtab"))), second(send<Ref>(SITE("new"), CLASS("symbtab")));
    says(table.ref(),
         "atput 'abc', $1; atput '" LONG_NAME "', $2; atornil 'abc' -> $1; $3 atornil 'abc' -> nil; "
         "at '" LONG_KEY "' -> $2; at '" ABC_KEY "' -> error 12 -> nil",
         {one.ref(), other.ref(), second.ref()});
    EXPECT_EQ(send<Ref>(SITE("at"), table.ref(), area(padded({"abc\0", 4}, 32))), one.ref());
}

TEST_F(Registries, TheSystemDictionaryLeavesItOut) {
    says(registry,
         "atzput 'abc', $1; atzput '" LONG_NAME "', $2; at '" ABC_KEY "' -> $1; at '" LONG_KEY "' -> $2; "
         "atz '" LONG_NAME "' -> $2; removekeyz 'abd'; removekeyz 'abc'; removekey '" LONG_KEY "'; atz 'abc' -> nil; "
         "atz '" LONG_NAME "' -> nil; new -> error 16; atzput -, $1 -> error 33",
         {one.ref(), other.ref()});
}

TEST_F(Registries, TheSystemDictionaryServesThreads) {
    constexpr int threads = 4, names = 200;
    const auto name = [](int thread, int i) { return "thread " + std::to_string(thread) + " " + std::to_string(i); };
    onThreads(threads, [&](int t) {
        for (int i = 0; i < names; ++i) send(SITE("atzput"), registry, Bytes{name(t, i).c_str()}, one.ref());
    });
    for (int t = 0; t < threads; ++t) {
        for (int i = 0; i < names; ++i)
            says(registry, "atz '" + name(t, i) + "' -> $1; removekeyz '" + name(t, i) + "'", {one.ref()});
    }
}

// ---- The objects that a thread is inside of ------------------------------------------------------------------------

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
