#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

TEST(Behavior, TellsItsOwnMethodsFromInheritedOnes) {
    const auto answers = [](const std::string &message, const std::string &name, const char *answer) {
        const Temporary object(text(name));
        says(CLASS("ordrdcll"), message + " '" + name + " ' -> " + answer + "; " + message + " $1 -> " + answer,
             {object.ref()});
    };
    answers("implements", "AddFirst", "1");
    answers("implements", "equal", "0");
    answers("respondsto", "EQUAL", "1");
    answers("respondsto", "nosuchmessage", "0");
    for (const std::size_t length : {0, 1, 7, 8, 29, 30, 31, 79, 80, 160, 70000})
        answers("implements", std::string(length, 'x'), "0");
    const auto stale = text("addfirst");
    finalize(stale);
    says(CLASS("ordrdcll"), "implements $1 -> 0; implements nil -> 0; $nil implements 'new ' -> 1", {stale});
}

TEST(Behavior, ReadsNoFurtherThanANamesEnd) {
    const GuardedText guarded;
    for (const std::string name : {"", "x", "equal", "addfirst"})
        EXPECT_EQ(send<bool>(SITE("respondsto"), CLASS("ordrdcll"), Bytes{guarded.hold(name + '\0').data()}),
                  name.size() > 4)
            << name;
}

TEST(Behavior, ListsDirectInstancesWithoutTheListItself) {
    const Temporary one(send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{1}));
    const Temporary listed(send<Ref>(SITE("allinstances"), CLASS("ordrdcll")));
    EXPECT_EQ(send<Count>(SITE("size"), listed.ref()) + 1, send<Count>(SITE("getnumberofobjects"), CLASS("ordrdcll")));
    says(listed.ref(),
         "includes $1 -> 1; includes $2 -> 0; $dynarray allinstances -> it; it includes $1 -> 0; "
         "it finalize",
         {one.ref(), listed.ref()});
}

TEST(Behavior, KnowsTheTreeAsFarAsItsProgramsHaveRun) {
    for (const auto *program : {"bag", "sequence", "valueset"}) classForProgram(program);
    says(CLASS("ordrdcll"), "issubclass $collectn -> 1; issubclass $ordrdcll -> 0; isimmediatesubclass $sequence -> 0; "
                            "$nil issubclass $base -> 1; $base issubclass $base -> 0; "
                            "$collectn immediatesubclasses -> it; it size -> 3; it finalize");
    int runs = 0;
    const auto name = entryNamed([&](void **) { return std::int64_t{++runs}; });
    says(CLASS("base"), "handlefromfilename '" + name +
                            "' -> nil; handlefromfilename 'BAG  ' -> $bag; "
                            "handlefromfilename 'nosuch ' -> nil");
    EXPECT_EQ(runs, 1);
}

TEST(ClassSupport, IsFoundByADynamicCall) {
    says(CLASS("entrycll"), "new 'CVERSION' -> it; it invoke -> 0; it finalize; new 'CLVERSN' -> it; it invoke -> 1; "
                            "it finalize; new 'class' -> it; it invoke -> 1; it finalize");
}

} // namespace
} // namespace oocobol::test
