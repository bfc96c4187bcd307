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
    const LeakCheck leaks;
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

} // namespace
} // namespace oocobol::test
