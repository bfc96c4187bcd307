#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

TEST(MessageFileHandler, PutsInsertsInUpToTheFirstOneLeftOut) {
    const LeakCheck leaks;
    const Temporary library(text("    ")), file(text("oocobol.lng         "));
    const Temporary handler(send<Ref>(SITE("registermessagefile"), CLASS("msgfh"), library.ref(), file.ref()));
    const Temporary one(text("ONE")), two(text("TWO")), three(text("THREE"));
    const auto message = [&](auto second) {
        const Temporary text(
            send<Ref>(SITE("getmessage"), handler.ref(), Index{2}, Index{25}, one.ref(), second, three.ref()));
        return valueOf(text.ref());
    };
    const auto all = message(two.ref()), stopped = message(omitted);
    EXPECT_NE(all.find("ONE"), std::string::npos);
    EXPECT_NE(all.find("THREE"), std::string::npos);
    EXPECT_NE(stopped.find("ONE"), std::string::npos);
    EXPECT_EQ(stopped.find("THREE"), std::string::npos);
    says(handler.ref(), "getlanguagefilename -> 'oocobol.lng'; getmessage 2, 9999 -> ''; getmessage -1, -1 -> ''");
}

TEST(MessageFileHandler, KeepsItsNamesWhenTheNewOneIsNone) {
    const LeakCheck leaks;
    says(CLASS("msgfh"), "registermessagefilez 'folder', 'oocobol.lng' -> it; "
                         "it setlanguagefilename nil -> error 33; it setlanguagelibrary nil -> error 27; "
                         "it getlanguagefilename -> 'oocobol.lng'; it getlanguagelibrary -> 'folder'; it finalize");
}

} // namespace
} // namespace oocobol::test
