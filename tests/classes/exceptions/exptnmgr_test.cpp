#include <set>

#include "tests/host/temporary_folder.h"
#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref manager() { return CLASS("exptnmgr"); }

// ---- Which handler ------------------------------------------------------------------------------------------------

class ExceptionManager : public ::testing::Test {
protected:
    ~ExceptionManager() override {
        says(manager(), "cancel $1", {object});
        for (const auto made : {object, handler}) {
            if (isLive(made)) finalize(made);
        }
    }
    RaisedErrors errors; // has its handler on the stack before the test looks
    const Ref object = createInstance(CLASS("base"));
    // Counts, does what it is told to do, and answers 7.
    int calls = 0;
    std::function<void()> action;
    const Ref handler = block([this](void **) {
        ++calls;
        if (action) action();
        return std::int64_t{7};
    });
};

TEST_F(ExceptionManager, PrefersTheObjectsHandlerThenItsClassesThenTheSystems) {
    const Temporary ofClass(block([](void **) { return std::int64_t{8}; })), other(createInstance(CLASS("base"))),
        ofSubclass(createInstance(CLASS("dependnt")));
    says(object,
         "$exptnmgr register $1, $2; $exptnmgr register $base, $3; raiseexception 12 -> 7; $4 raiseexception 12 -> 8; "
         "$5 raiseexception 12 -> error 12; $exptnmgr cancel $1 -> 1; $exptnmgr cancel $1 -> 0; "
         "raiseexception 12 -> 8; $exptnmgr cancel $base -> 1; raiseexception 12 -> error 12",
         {object, handler, ofClass.ref(), other.ref(), ofSubclass.ref()});
    EXPECT_EQ(calls, 1);
}

TEST_F(ExceptionManager, PassesBusyAndFinalizedHandlersOver) {
    action = [&] { says(object, "raiseexception 13 -> error 13; $1 finalize", {handler}); };
    says(object, "$exptnmgr register $1, $2; raiseexception 12 -> 7; raiseexception 14 -> error 14", {object, handler});
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(isLive(handler));
}

TEST_F(ExceptionManager, TriesSystemHandlersMostRecentFirst) {
    const auto before = send<Ref>(SITE("getsystemhandler"), manager());
    says(manager(),
         "setsystemhandler $1 -> $2; getsystemhandler -> $1; $base raiseexception 12 -> 7; $1 finalize; "
         "$base raiseexception 13 -> error 13",
         {handler, before});
}

TEST_F(ExceptionManager, RefusesWhatIsNoHandlerAndRaisesOnWhatIsNoObject) {
    const auto stale = createInstance(CLASS("base"));
    finalize(stale);
    const auto before = send<Ref>(SITE("getsystemhandler"), manager());
    for (const std::string wrong : {"nil", "$1", "$2", "$base"})
        says(manager(), "setsystemhandler " + wrong + " -> error 33; register $1, " + wrong + " -> error 33",
             {object, stale});
    says(manager(),
         "getsystemhandler -> $1; cancel $2 -> 0; raise $3, 12, nil -> error 12; raise nil, 13, nil -> error 13",
         {before, object, stale});
}

TEST_F(ExceptionManager, ShowsInsertsThatAHandlerMayFinalize) {
    const Temporary showing(block([&](void **arguments) {
        says(valueIn<Ref>(arguments[2]), "* -> (one two); deepfinalize");
        ++calls;
        return std::int64_t{0};
    }));
    says(object, "$exptnmgr register $1, $2; raiseexceptionwithtextz 12, 'one', 'two', -, 'four'; $exptnmgr cancel $1",
         {object, showing.ref()});
    EXPECT_EQ(calls, 1);
}

TEST_F(ExceptionManager, TellsWhetherAClassMethodRaised) {
    errors.action = [&](Ref raisedOn, Count) {
        says(manager(), raisedOn == CLASS("base") ? "raisedstatic -> 0; raisedreference -> 1"
                                                  : "raisedstatic -> 1; raisedreference -> 0");
    };
    for (const auto on : {CLASS("base"), null}) send<Ref>(SITE("raiseexception"), on, Count{12});
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12, 12}));
}

// ---- Texts ----------------------------------------------------------------------------------------------------------

std::string errorText(Count number) {
    const Temporary text(send<Ref>(SITE("errormessage"), manager(), number));
    return text ? valueOf(text.ref()) : "";
}

TEST(MessageTexts, AreNumberedAsStringsAndFiles) {
    const Temporary given(text("the tank is empty"));
    const auto first = send<Count>(SITE("registermessagestring"), manager(), given.ref());
    EXPECT_GE(first, 65537U);
    says(manager(),
         "errormessage " + std::to_string(first) + " -> 'the tank is empty'; " +
             "registermessagestring nil -> error 27 -> 0; " + // and no number is lost
             "registermessagestring $1 -> " + std::to_string(first + 1) +
             "; querymessagefile '      ', 'nosuch  ' -> 0; errormessage 10012 -> ''",
         {given.ref()});
    const auto number = send<Count>(SITE("registermessagefile"), manager(), Bytes{"      "}, Bytes{"oocobol unused"});
    EXPECT_GE(number, 131072U);
    EXPECT_EQ(number % 65536, 0U);
    const auto known = std::to_string(number), twelve = errorText(12);
    says(manager(), "querymessagefile '      ', 'oocobol ' -> " + known + "; registermessagefile '', 'oocobol' -> " +
                        known + "; errormessage " + std::to_string(number + 12) + " -> '" + twelve +
                        "'; errormessage " + std::to_string(number + 10012) + " -> '" + twelve + "'");
}

TEST(MessageTexts, AreThereForEveryNumberInBothLanguages) {
    std::set<std::string> texts;
    for (const auto *locale : {"C", "de_DE.UTF-8"}) {
        const host::tests::Environment language("LC_ALL", locale);
        for (const Count number :
             {1,  3,  4,  5,  6,  7,  10, 11, 12, 13, 14,  15,  16,  17,  18,  20,  21,  23,  24,  27,  30, 32,
              33, 39, 88, 91, 93, 94, 95, 96, 97, 98, 101, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113}) {
            const auto text = errorText(number);
            EXPECT_GE(text.size(), 20U) << number << " " << locale;
            EXPECT_TRUE(text.ends_with('.')) << "cut short: " << text;
            EXPECT_TRUE(texts.insert(text).second) << text;
        }
    }
}

// ---- Message files -------------------------------------------------------------------------------------------------

TEST(MessageFileHandler, PutsInsertsInUpToTheFirstOneLeftOut) {
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
    says(CLASS("msgfh"), "registermessagefilez 'folder', 'oocobol.lng' -> it; "
                         "it setlanguagefilename nil -> error 33; it setlanguagelibrary nil -> error 27; "
                         "it getlanguagefilename -> 'oocobol.lng'; it getlanguagelibrary -> 'folder'; it finalize");
}

} // namespace
} // namespace oocobol::test
