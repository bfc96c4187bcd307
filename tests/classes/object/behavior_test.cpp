#include <cstring>
#include <sys/mman.h>

#include "classes/text/text_values.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

bool ask(oops_site &question, Ref classObject, std::string_view name) {
    const Temporary object(text(name));
    const std::string bytes = std::string(name) + " ";
    const auto byObject = send<bool>(question, classObject, object.ref());
    EXPECT_EQ(send<bool>(question, classObject, Bytes{bytes.c_str()}), byObject) << name;
    return byObject;
}
bool implements(Ref classObject, std::string_view name) { return ask(SITE("implements"), classObject, name); }
bool respondsTo(Ref classObject, std::string_view name) { return ask(SITE("respondsto"), classObject, name); }

TEST(Behavior, TellsItsOwnMethodsFromInheritedOnes) {
    const auto ordered = CLASS("ordrdcll");
    EXPECT_TRUE(implements(ordered, "AddFirst"));
    EXPECT_FALSE(implements(ordered, "equal"));
    EXPECT_TRUE(respondsTo(ordered, "EQUAL"));
    EXPECT_TRUE(implements(CLASS("nil"), "new"));
    EXPECT_FALSE(respondsTo(ordered, "nosuchmessage"));
}

TEST(Behavior, TakesNamesOfAnyLength) {
    const RaisedErrors errors;
    const auto ordered = CLASS("ordrdcll");
    for (const std::size_t length : {0, 1, 7, 8, 29, 30, 31, 79, 80, 160, 70000})
        EXPECT_FALSE(implements(ordered, std::string(length, 'x'))) << length;
    const auto stale = text("addfirst");
    finalize(stale);
    EXPECT_FALSE(send<bool>(SITE("implements"), ordered, stale));
    EXPECT_FALSE(send<bool>(SITE("implements"), ordered, null));
}

TEST(Behavior, ReadsNoFurtherThanANamesEnd) {
    constexpr std::size_t page = 4096;
    auto *memory =
        static_cast<char *>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(memory, MAP_FAILED);
    mprotect(memory + page, page, PROT_NONE);
    for (const char *name : {"", "x", "equal", "addfirst"}) {
        auto *start = memory + page - std::strlen(name) - 1;
        std::memcpy(start, name, std::strlen(name) + 1);
        EXPECT_EQ(send<bool>(SITE("respondsto"), CLASS("ordrdcll"), Bytes{start}), std::strlen(name) > 4) << name;
    }
    munmap(memory, 2 * page);
}

TEST(Behavior, ListsDirectInstancesWithoutTheListItself) {
    const auto ordered = CLASS("ordrdcll");
    const auto one = send<Ref>(SITE("ofreferences"), ordered, Index{1});
    const auto listed = send<Ref>(SITE("allinstances"), ordered);
    const auto size = send<Count>(SITE("size"), listed);
    EXPECT_EQ(size + 1, send<Count>(SITE("getnumberofobjects"), ordered));
    EXPECT_TRUE(send<bool>(SITE("includes"), listed, one));
    EXPECT_FALSE(send<bool>(SITE("includes"), listed, listed));
    const auto above = send<Ref>(SITE("allinstances"), CLASS("dynarray"));
    EXPECT_FALSE(send<bool>(SITE("includes"), above, one));
    for (const auto made : {one, listed, above}) finalize(made);
}

TEST(Behavior, KnowsTheTree) {
    const auto issub = [](const char *sub, const char *super) {
        return send<bool>(SITE("issubclass"), classForProgram(sub), classForProgram(super));
    };
    EXPECT_TRUE(issub("ordrdcll", "collectn"));
    EXPECT_TRUE(issub("nil", "base"));
    EXPECT_FALSE(issub("ordrdcll", "ordrdcll"));
    EXPECT_FALSE(issub("base", "base"));
    EXPECT_FALSE(send<bool>(SITE("isimmediatesubclass"), CLASS("ordrdcll"), CLASS("sequence")));
    for (const auto *program : {"bag", "sequence", "valueset"}) classForProgram(program);
    const Temporary below(send<Ref>(SITE("immediatesubclasses"), CLASS("collectn")));
    EXPECT_EQ(send<Count>(SITE("size"), below.ref()), 3U);
}

TEST(Behavior, RunsAProgramOnceToFindItsClass) {
    int runs = 0;
    const auto name = entryNamed([&](void **) { return std::int64_t{++runs}; });
    EXPECT_EQ(send<Ref>(SITE("handlefromfilename"), CLASS("base"), Bytes{name.c_str()}), null);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(send<Ref>(SITE("handlefromfilename"), CLASS("base"), Bytes{"BAG  "}), CLASS("bag"));
    EXPECT_EQ(send<Ref>(SITE("handlefromfilename"), CLASS("base"), Bytes{"nosuch "}), null);
}

TEST(ClassSupport, IsFoundByADynamicCall) {
    const RaisedErrors errors;
    const auto answerOf = [](const char *program) {
        const Temporary callback(send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{program}));
        std::int64_t answer = -1;
        send(SITE("invoke"), callback.ref(), Returning{{reinterpret_cast<std::byte *>(&answer)}});
        return answer;
    };
    EXPECT_EQ(answerOf("CVERSION"), 0);
    EXPECT_EQ(answerOf("CLVERSN"), 1);
    EXPECT_EQ(answerOf("class"), 1);
}

} // namespace
} // namespace oocobol::test
