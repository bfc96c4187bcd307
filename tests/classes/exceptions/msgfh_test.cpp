#include "classes/text/text_values.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref handlerOf(const char *library, const char *file) {
    return send<Ref>(SITE("registermessagefilez"), CLASS("msgfh"), Bytes{library}, Bytes{file});
}
std::string fileNameOf(Ref handler) {
    const Temporary name(send<Ref>(SITE("getlanguagefilename"), handler));
    return textOf(name.ref());
}
template <class... Inserts> std::string message(Ref handler, Index set, Index number, const Inserts &...inserts) {
    const Temporary text(send<Ref>(SITE("getmessage"), handler, set, number, inserts...));
    return textOf(text.ref());
}

TEST(MessageFileHandler, PutsInsertsInUpToTheFirstOneLeftOut) {
    const LeakCheck leaks;
    const Temporary handler(handlerOf("", "oocobol.lng"));
    const Temporary one(text("ONE")), two(text("TWO")), three(text("THREE"));
    const auto all = message(handler.ref(), 2, 25, one.ref(), two.ref(), three.ref());
    EXPECT_NE(all.find("ONE"), std::string::npos);
    EXPECT_NE(all.find("THREE"), std::string::npos);
    const auto stopped = message(handler.ref(), 2, 25, one.ref(), omitted, three.ref());
    EXPECT_NE(stopped.find("ONE"), std::string::npos);
    EXPECT_EQ(stopped.find("THREE"), std::string::npos);
    EXPECT_EQ(message(handler.ref(), 2, 9999), "");
    EXPECT_EQ(message(handler.ref(), -1, -1), "");
}

TEST(MessageFileHandler, TakesNamesFilledWithSpaces) {
    const LeakCheck leaks;
    const Temporary library(text("    ")), file(text("oocobol.lng         "));
    const Temporary handler(send<Ref>(SITE("registermessagefile"), CLASS("msgfh"), library.ref(), file.ref()));
    EXPECT_EQ(fileNameOf(handler.ref()), "oocobol.lng");
    EXPECT_NE(message(handler.ref(), 2, 12), "");
}

TEST(MessageFileHandler, KeepsItsNamesWhenTheNewOneIsNone) {
    RaisedErrors errors;
    const LeakCheck leaks;
    const Temporary handler(handlerOf("folder", "oocobol.lng"));
    send(SITE("setlanguagefilename"), handler.ref(), null);
    send(SITE("setlanguagelibrary"), handler.ref(), null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 27}));
    EXPECT_EQ(fileNameOf(handler.ref()), "oocobol.lng");
    const Temporary library(send<Ref>(SITE("getlanguagelibrary"), handler.ref()));
    EXPECT_EQ(textOf(library.ref()), "folder");
}

} // namespace
} // namespace oocobol::test
