#include "classes/text/text_values.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

std::string notUnderstoodBy(Ref object) {
    const Temporary name(send<Ref>(SITE("whatdidntiunderstand"), object));
    return textOf(name.ref());
}
void sendNamed(Ref receiver, const std::string &name) {
    void *nothing[] = {nullptr};
    sendByName(receiver, name.c_str(), nullptr, nullptr, nothing, 1);
}

TEST(Base, RemembersTheLastMessageThatItDidNotUnderstand) {
    const RaisedErrors errors;
    const auto object = createInstance(CLASS("base"));
    for (const std::size_t length : {1, 29, 30, 31, 79, 80, 160}) {
        sendNamed(object, std::string(length, 'x'));
        EXPECT_EQ(notUnderstoodBy(object), std::string(length, 'x'));
    }
    sendNamed(object, std::string(161, 'y'));
    EXPECT_EQ(notUnderstoodBy(object), std::string(160, 'y')) << "as much of it as fits";
    sendNamed(object, "");
    EXPECT_EQ(notUnderstoodBy(object), "");
    finalize(object);
}

// Errors of null are raised on the null object's class, those of bare data on its class: these are asked for the name.
TEST(Base, RemembersMessagesToNullAndOverBareData) {
    RaisedErrors errors;
    std::vector<std::string> names;
    errors.action = [&](Ref object, Count) { names.push_back(notUnderstoodBy(object)); };
    sendNamed(null, "toNobody");
    const std::int32_t item = 5;
    sendOver(SITE("overbaredata"), CLASS("comp5"), &item);
    EXPECT_EQ(names, (std::vector<std::string>{"toNobody", "overbaredata"}));
}

TEST(Base, DescribesObjectsClassesAndNull) {
    const LeakCheck leaks;
    const auto object = createInstance(CLASS("base"));
    const auto described = [](Ref of) {
        const Temporary text(send<Ref>(SITE("description"), of));
        return textOf(text.ref());
    };
    EXPECT_EQ(described(object), "an object of class base");
    EXPECT_EQ(described(CLASS("bag")), "class bag");
    EXPECT_EQ(described(null), "the null object (class nilobject)");
    finalize(object);
}

TEST(Base, WritesTraceLinesOfUpTo255Bytes) {
    RaisedErrors errors;
    const auto object = createInstance(CLASS("base"));
    const std::string longest(255, 'z'), tooLong(256, 'z');
    const auto before = traceLevel();
    setTraceLevel(2);
    ::testing::internal::CaptureStderr();
    send(SITE("writetrace"), object, Bytes{longest.c_str()});
    send(SITE("writetrace"), object, Bytes{tooLong.c_str()});
    send(SITE("writetrace"), object, Bytes{"one "}, Bytes{"two"}, omitted, Bytes{"three "});
    setTraceLevel(before);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), longest + "\nonetwothree\n");
    EXPECT_EQ(errors.numbers(), std::vector<Count>{101});
    finalize(object);
}

// A line names the receiver's own class, also in a super send, and messages that no class knows.
TEST(Base, TracesSends) {
    const RaisedErrors errors;
    const auto list = send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{1});
    ::testing::internal::CaptureStderr();
    setTraceLevel(traceSends);
    sendNamed(list, "soar");
    finalize(list);
    setTraceLevel(0);
    const auto lines = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("orderedcollection soar #"), std::string::npos) << lines;
    EXPECT_NE(lines.find("orderedcollection finalize #"), std::string::npos) << lines;
    EXPECT_NE(lines.find(", super from "), std::string::npos) << lines;
    EXPECT_EQ(lines.find("dependent finalize"), std::string::npos) << lines;
}

} // namespace
} // namespace oocobol::test
