#include <set>

#include "classes/text/text_values.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref manager() { return CLASS("exptnmgr"); }
Ref newObject(const char *program = "base") { return createInstance(classForProgram(program)); }

void raiseOnObject(Ref object, Count error) { send<Ref>(SITE("raiseexception"), object, error); }

// A handler that counts, and answers 7.
class CountingHandler {
public:
    CountingHandler()
        : callback(block([this](void **) {
              ++calls;
              if (action) action();
              return std::int64_t{7};
          })) {}
    ~CountingHandler() {
        if (isLive(callback)) finalize(callback);
    }
    void handle(Ref object) const { send(SITE("register"), manager(), object, callback); }
    int calls = 0;
    std::function<void()> action;
    const Ref callback;
};
void forget(Ref object) { send<bool>(SITE("cancel"), manager(), object); }

// ---- Which handler ------------------------------------------------------------------------------------------------

TEST(ExceptionManager, PrefersTheObjectsHandlerThenItsClassesThenTheSystems) {
    RaisedErrors errors;
    CountingHandler ofObject, ofClass;
    const auto object = newObject(), other = newObject(), ofSubclass = newObject("dependnt");
    ofObject.handle(object);
    ofClass.handle(CLASS("base"));
    EXPECT_EQ(send<std::int64_t>(SITE("raiseexception"), object, Count{12}), 7);
    raiseOnObject(other, 12);
    EXPECT_EQ(ofObject.calls, 1);
    EXPECT_EQ(ofClass.calls, 1);
    EXPECT_TRUE(errors.numbers().empty());
    raiseOnObject(ofSubclass, 12);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{12}) << "a class's handler is not its subclasses'";
    EXPECT_TRUE(send<bool>(SITE("cancel"), manager(), object));
    EXPECT_FALSE(send<bool>(SITE("cancel"), manager(), object));
    raiseOnObject(object, 12);
    EXPECT_EQ(ofClass.calls, 2);
    forget(CLASS("base"));
    for (const auto made : {object, other, ofSubclass}) finalize(made);
}

TEST(ExceptionManager, PassesABusyHandlerOver) {
    RaisedErrors errors;
    CountingHandler handler;
    const auto object = newObject();
    handler.handle(object);
    handler.action = [&] { raiseOnObject(object, 13); };
    raiseOnObject(object, 12);
    EXPECT_EQ(handler.calls, 1);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{13});
    forget(object);
    finalize(object);
}

TEST(ExceptionManager, TriesSystemHandlersMostRecentFirst) {
    RaisedErrors errors;
    CountingHandler handler;
    const auto before = send<Ref>(SITE("getsystemhandler"), manager());
    EXPECT_EQ(send<Ref>(SITE("setsystemhandler"), manager(), handler.callback), before);
    EXPECT_EQ(send<Ref>(SITE("getsystemhandler"), manager()), handler.callback);
    raiseOnObject(CLASS("base"), 12);
    EXPECT_EQ(handler.calls, 1);
    finalize(handler.callback);
    raiseOnObject(CLASS("base"), 13);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{13}) << "a handler that is gone is passed over";
}

TEST(ExceptionManager, RefusesWhatIsNoHandler) {
    RaisedErrors errors;
    const auto object = newObject(), stale = newObject();
    finalize(stale);
    const auto before = send<Ref>(SITE("getsystemhandler"), manager());
    for (const auto wrong : {null, stale, object, CLASS("base")}) {
        send<Ref>(SITE("setsystemhandler"), manager(), wrong);
        send(SITE("register"), manager(), object, wrong);
        EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33}));
    }
    EXPECT_EQ(send<Ref>(SITE("getsystemhandler"), manager()), before);
    EXPECT_FALSE(send<bool>(SITE("cancel"), manager(), object));
    finalize(object);
}

TEST(ExceptionManager, KeepsAHandlerFromANewObjectInTheOldOnesPlace) {
    RaisedErrors errors;
    CountingHandler handler;
    auto object = newObject();
    const auto index = object.index();
    handler.handle(object);
    finalize(object);
    for (int tries = 0; tries < 1000000 && (object = newObject()).index() != index; ++tries) finalize(object);
    ASSERT_EQ(object.index(), index);
    raiseOnObject(object, 12);
    EXPECT_EQ(handler.calls, 0);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{12});
    finalize(object);
}

TEST(ExceptionManager, SurvivesAHandlerThatFinalizesItsOwnCallback) {
    RaisedErrors errors;
    CountingHandler handler;
    const auto object = newObject();
    handler.handle(object);
    handler.action = [&] { finalize(handler.callback); };
    EXPECT_EQ(send<std::int64_t>(SITE("raiseexception"), object, Count{12}), 7);
    EXPECT_FALSE(isLive(handler.callback));
    raiseOnObject(object, 13);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{13});
    forget(object);
    finalize(object);
}

TEST(ExceptionManager, ShowsInsertsThatAHandlerMayFinalize) {
    RaisedErrors errors;
    const LeakCheck leaks;
    const auto object = newObject();
    std::vector<std::string> shown;
    const auto callback = block([&](void **arguments) {
        Ref inserts;
        std::memcpy(&inserts, arguments[2], sizeof inserts);
        const auto count = send<Index>(SITE("size"), inserts);
        for (Index i = 1; i <= count; ++i) shown.push_back(valueOf(send<Ref>(SITE("at"), inserts, i)));
        send<Ref>(SITE("deepfinalize"), inserts);
        return std::int64_t{0};
    });
    send(SITE("register"), manager(), object, callback);
    send(SITE("raiseexceptionwithtextz"), object, Count{12}, Bytes{"one"}, Bytes{"two"}, omitted, Bytes{"four"});
    EXPECT_EQ(shown, (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(errors.numbers().empty());
    forget(object);
    for (const auto made : {object, callback}) finalize(made);
}

TEST(ExceptionManager, HandsNullAndStaleObjectsToTheSystemHandler) {
    RaisedErrors errors;
    const auto stale = newObject();
    finalize(stale);
    send<Ref>(SITE("raise"), manager(), stale, Count{12}, null);
    send<Ref>(SITE("raise"), manager(), null, Count{13}, null);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12, 13}));
}

TEST(ExceptionManager, DoesNotKeepAClassThatWasMadeForOneItem) {
    const RaisedErrors errors;
    const auto classObjects = [] {
        std::size_t count = 0;
        forEachObject([&](Ref, std::uint32_t, std::uint32_t marks) { count += (marks & markClass) != 0 ? 1 : 0; });
        return count;
    };
    const auto ask = [] {
        const auto item = send<Ref>(SITE("withlengthvalue"), CLASS("picx"), Index{3}, Bytes{"abc"});
        raiseOnObject(item, 12);
        send(SITE("nosuchmessage"), item);
        EXPECT_TRUE(send<bool>(SITE("istypeof"), item, CLASS("intrnsic")));
        finalize(send<Ref>(SITE("classname"), item));
        finalize(item);
    };
    ask();
    const auto before = classObjects();
    ask();
    EXPECT_EQ(classObjects(), before);
}

TEST(ExceptionManager, TellsWhetherAClassMethodRaised) {
    RaisedErrors errors;
    std::vector<bool> byClass;
    errors.action = [&](Ref, Count) {
        byClass.push_back(send<bool>(SITE("raisedstatic"), manager()));
        EXPECT_NE(send<bool>(SITE("raisedreference"), manager()), byClass.back());
    };
    raiseOnObject(CLASS("base"), 12);
    raiseOnObject(null, 12);
    EXPECT_EQ(byClass, (std::vector<bool>{false, true}));
}

// ---- Texts ----------------------------------------------------------------------------------------------------------

std::string errorText(Count number) {
    const Temporary text(send<Ref>(SITE("errormessage"), manager(), number));
    return textOf(text.ref());
}

TEST(ExceptionManager, NumbersMessageStringsAndAnswersCopies) {
    RaisedErrors errors;
    const Temporary given(text("the tank is empty"));
    const auto first = send<Count>(SITE("registermessagestring"), manager(), given.ref());
    EXPECT_GE(first, 65537U);
    EXPECT_EQ(errorText(first), "the tank is empty");
    EXPECT_EQ(send<Count>(SITE("registermessagestring"), manager(), null), 0U);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{27});
    EXPECT_EQ(send<Count>(SITE("registermessagestring"), manager(), given.ref()), first + 1) << "no number was lost";
}

TEST(ExceptionManager, NumbersMessageFiles) {
    const auto query = [](const char *file) {
        return send<Count>(SITE("querymessagefile"), manager(), Bytes{"      "}, Bytes{file});
    };
    EXPECT_EQ(query("nosuch  "), 0U);
    const auto number = send<Count>(SITE("registermessagefile"), manager(), Bytes{"      "}, Bytes{"oocobol unused"});
    EXPECT_GE(number, 131072U);
    EXPECT_EQ(number % 65536, 0U);
    EXPECT_EQ(query("oocobol "), number);
    EXPECT_EQ(send<Count>(SITE("registermessagefile"), manager(), Bytes{""}, Bytes{"oocobol"}), number);
    EXPECT_EQ(errorText(number + 12), errorText(12));
    EXPECT_EQ(errorText(number + 10012), errorText(12));
    EXPECT_FALSE(errorText(12).empty());
    EXPECT_EQ(errorText(10012), "") << "there is no user file here";
}

TEST(ExceptionManager, HasATextForEveryNumberInBothLanguages) {
    constexpr Count numbers[] = {1,  3,  4,   5,   6,   7,   10,  11,  12,  13,  14,  15,  16, 17, 18,
                                 20, 21, 23,  24,  27,  30,  32,  33,  39,  88,  91,  93,  94, 95, 96,
                                 97, 98, 101, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113};
    std::set<std::string> texts;
    const auto *before = std::getenv("LC_ALL");
    const std::string kept = before != nullptr ? before : "";
    for (const auto *locale : {"C", "de_DE.UTF-8"}) {
        setenv("LC_ALL", locale, 1);
        for (const auto number : numbers) {
            const auto text = errorText(number);
            EXPECT_GE(text.size(), 20U) << number << " " << locale;
            EXPECT_EQ(text.back(), '.') << "cut short: " << text;
            EXPECT_TRUE(texts.insert(text).second) << text;
        }
    }
    kept.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", kept.c_str(), 1);
}

} // namespace
} // namespace oocobol::test
