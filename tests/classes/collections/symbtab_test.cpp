// The two registries of named objects, and how each makes a key of a name.
#include <thread>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Registries : public testing::Test {
protected:
    LeakCheck leaks;
    RaisedErrors errors;
    const Ref registry = CLASS("systemd");
    const Ref one = text("one"), other = text("other");
    ~Registries() override {
        finalize(one);
        finalize(other);
    }
    static Bytes name(const char *text) { return {text}; }
};
constexpr char longName[] = "a-name-of-forty-characters-without-a-end";

TEST_F(Registries, SymbolTablesTakeTheTerminatorIntoTheKey) {
    const auto table = send<Ref>(SITE("new"), CLASS("symbtab"));
    const auto second = send<Ref>(SITE("new"), CLASS("symbtab"));
    send(SITE("atput"), table, name("abc"), one);
    send(SITE("atput"), table, name(longName), other);
    EXPECT_EQ(send<Ref>(SITE("atornil"), table, name("abc")), one);
    EXPECT_FALSE(send<Ref>(SITE("atornil"), second, name("abc")));
    EXPECT_EQ(send<Ref>(SITE("at"), table, area(padded({"abc\0", 4}, 32))), one);
    EXPECT_EQ(send<Ref>(SITE("at"), table, area(padded(longName, 32))), other);
    EXPECT_TRUE(errors.all.empty());
    EXPECT_FALSE(send<Ref>(SITE("at"), table, area(padded("abc", 32))));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12}));
    finalize(table);
    finalize(second);
}

TEST_F(Registries, TheSystemDictionaryLeavesItOut) {
    send(SITE("atzput"), registry, name("abc"), one);
    send(SITE("atzput"), registry, name(longName), other);
    EXPECT_EQ(send<Ref>(SITE("at"), registry, area(padded("abc", 32))), one);
    EXPECT_EQ(send<Ref>(SITE("at"), registry, area(padded(longName, 32))), other);
    EXPECT_EQ(send<Ref>(SITE("atz"), registry, name(longName)), other);
    send(SITE("removekeyz"), registry, name("abd"));
    send(SITE("removekeyz"), registry, name("abc"));
    send(SITE("removekey"), registry, area(padded(longName, 32)));
    EXPECT_FALSE(send<Ref>(SITE("atz"), registry, name("abc")));
    EXPECT_FALSE(send<Ref>(SITE("atz"), registry, name(longName)));
    EXPECT_TRUE(errors.all.empty());
    send<Ref>(SITE("new"), registry);
    send(SITE("atzput"), registry, nullptr, one);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{16, 33}));
}

TEST_F(Registries, TheSystemDictionaryServesThreads) {
    constexpr int threads = 4, names = 200;
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            for (int i = 0; i < names; ++i) {
                const auto own = "thread " + std::to_string(t) + " " + std::to_string(i);
                send(SITE("atzput"), registry, name(own.c_str()), one);
            }
        });
    }
    for (auto &thread : running) thread.join();
    int found = 0;
    for (int t = 0; t < threads; ++t) {
        for (int i = 0; i < names; ++i) {
            const auto own = "thread " + std::to_string(t) + " " + std::to_string(i);
            found += send<Ref>(SITE("atz"), registry, name(own.c_str())) == one;
            send(SITE("removekeyz"), registry, name(own.c_str()));
        }
    }
    EXPECT_EQ(found, threads * names);
}

} // namespace
} // namespace oocobol::test
