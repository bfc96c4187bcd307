#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

std::string notUnderstoodBy(Ref object) {
    const Temporary name(send<Ref>(SITE("whatdidntiunderstand"), object));
    return valueOf(name.ref());
}

TEST(Base, RemembersTheLastMessageThatItDidNotUnderstand) {
    RaisedErrors errors;
    const Temporary object(createInstance(CLASS("base")));
    for (const std::size_t length : {1, 29, 30, 31, 79, 80, 160, 161, 0}) { // as much of it as fits
        void *nothing[] = {nullptr};
        sendByName(object.ref(), std::string(length, 'x').c_str(), nullptr, nullptr, nothing, 1);
        EXPECT_EQ(notUnderstoodBy(object.ref()), std::string(std::min<std::size_t>(length, 160), 'x'));
    }
    EXPECT_EQ(errors.numbers(), std::vector<Count>(9, 24));
    // Errors of null are raised on the null object's class, those of bare data on its class: these are asked.
    std::string names;
    errors.action = [&](Ref raisedOn, Count) { names += notUnderstoodBy(raisedOn) + " "; };
    send(SITE("tonobody"), null);
    const std::int32_t item = 5;
    sendOver(SITE("overbaredata"), CLASS("comp5"), &item);
    EXPECT_EQ(names, "tonobody overbaredata ");
}

TEST(Base, DescribesObjectsClassesAndNull) {
    const Temporary object(createInstance(CLASS("base")));
    says(object.ref(), "description -> 'an object of class base'; $bag description -> 'class bag'; "
                       "nil description -> 'the null object (class nilobject)'");
}

TEST(Base, WritesTraceLinesOfUpTo255Bytes) {
    const auto before = traceLevel();
    const std::string longest(255, 'z');
    setTraceLevel(2);
    ::testing::internal::CaptureStderr();
    says(CLASS("base"), "new -> it; it writetrace '" + longest + "'; it writetrace '" + longest + "z' -> error 101; " +
                            "it writetrace 'one ', 'two', -, 'three '; it finalize");
    setTraceLevel(before);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), longest + "\nonetwothree\n");
}

// A line names the receiver's own class, also in a super send, and messages that no class knows.
TEST(Base, TracesSends) {
    const auto list = send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{1});
    ::testing::internal::CaptureStderr();
    setTraceLevel(traceSends);
    says(list, "soar -> error 24; finalize");
    setTraceLevel(0);
    const auto lines = ::testing::internal::GetCapturedStderr();
    for (const auto *line : {"orderedcollection soar #", "orderedcollection finalize #", ", super from "})
        EXPECT_NE(lines.find(line), std::string::npos) << line << " in\n" << lines;
    EXPECT_EQ(lines.find("dependent finalize"), std::string::npos) << lines;
}

// ---- What classes tell ---------------------------------------------------------------------------------------------

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
