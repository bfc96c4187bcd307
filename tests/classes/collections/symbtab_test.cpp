// The two registries of named objects, and how each makes a key of a name.
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

} // namespace
} // namespace oocobol::test
