// Every method of the library, sent with what it needs left out, and with values that make no sense: an error or an
// answer, never a crash. Under the address sanitizer these find the most.
#include <set>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// Methods that take or keep a raw address by contract, as per-element ones do, or that speak to a person.
bool takesRawAddresses(const std::string &name) {
    static const std::set<std::string> known = {"dealloc", "setcollptr", "sort", "atandbytelength"};
    return known.contains(name) || name.find("bm") != std::string::npos;
}
const std::set<std::string> speaksToPeople = {"defaulthandler", "levelsofrecursion", "settracelevel"};

// A fresh instance of a class, made the way its class says.
Ref sample(const ClassFamily &family) {
    const std::string program = family.program;
    const auto self = family.classObject;
    if (program == "base" || program == "dependnt") return createInstance(self);
    if (program == "idictnry" || family.methods(true).find(findSelector("ofvaluesauto")) != nullptr)
        return send<Ref>(SITE("ofvaluesauto"), self, comp5(), comp5(), Index{3});
    if (program == "symbtab") return send<Ref>(SITE("new"), self);
    if (program == "chararry" || program == "bytearry" || program == "dbcsarry")
        return send<Ref>(SITE("withlengthvalue"), self, Index{3}, Bytes{"abc"});
    if (program == "callback" || program == "mcallbck") return send<Ref>(SITE("new"), self, self, Bytes{"isclass"});
    if (program == "entrycll") return send<Ref>(SITE("new"), self, Bytes{"nosuchentry"});
    if (program == "event") return send<Ref>(SITE("withobjecteventid"), self, null, Count{1});
    const auto *collections = familyOfClass(classForProgram("collectn"));
    if (family.isKindOf(*collections) && program != "collectn")
        return send<Ref>(SITE("ofvalues"), self, comp5(), Index{3});
    return createInstance(self);
}

// The memory is the caller's, who gives it back.
const std::set<std::string> answersMemory = {"malloc", "allocateelement", "allocateelements"};

// A number that is small or negative, and no reference by any reading: what claims a length must have it, so lengths
// beyond the areas are not among the fillers.
constexpr int small = 0x20, negative = 0xFF;

// Sends the message over areas of the filler, the one at `leftOut` omitted (0: the returning item, none: all given).
void sendOver(const std::string &name, Ref receiver, unsigned parameters, int filler, unsigned leftOut) {
    constexpr std::size_t width = 4096;
    std::vector<std::string> areas(parameters, std::string(width, static_cast<char>(filler)));
    areas[0].assign(width, '\0');
    for (unsigned i = 1; i < parameters; ++i) {
        if (filler == small) std::memcpy(areas[i].data(), "\3\0\0", 4);
        std::memcpy(areas[i].data() + width - 2, " ", 2); // texts end somewhere
    }
    if (leftOut < parameters) areas[leftOut].clear();
    const Sweep sweep;
    sendAreas(receiver, name, areas);
    if (answersMemory.contains(name) && !areas[0].empty()) release(valueIn<void *>(areas[0].data()));
}

// A method of every class, on a receiver that ends afterwards: the class or a sample of it.
struct Message {
    const ClassFamily &family;
    bool onClass;
    std::string name;
    unsigned parameters;

    Ref receiver() const { return onClass ? family.classObject : sample(family); }
    void end(Ref receiver) const {
        if (!onClass && isLive(receiver)) finalize(receiver);
    }
    void sendWith(unsigned given, int filler, unsigned leftOut) const {
        const auto sentTo = receiver();
        sendOver(name, sentTo, given, filler, leftOut);
        end(sentTo);
    }
};
template <class Action> void forEveryMethod(Action action) {
    mayLeaveObjects = true; // classes that were made and answered
    const RaisedErrors errors;
    ::testing::internal::CaptureStdout();
    for (const auto *definition : libraryClasses()) {
        const auto *family = familyOfClass(classForProgram(definition->program));
        ASSERT_NE(family, nullptr) << definition->program;
        for (const auto onClass : {true, false}) {
            for (const auto &method : family->methods(onClass).inOrder()) {
                const std::string name = selectorOf(method.selector).name;
                if (speaksToPeople.contains(name) || (onClass && name == "finalize")) continue;
                action(Message{*family, onClass, name, method.parameters});
            }
        }
    }
    ::testing::internal::GetCapturedStdout();
}

TEST(EveryMethod, SurvivesEachArgumentLeftOut) {
    forEveryMethod([](const Message &message) {
        if (answersMemory.contains(message.name)) return; // what is answered to nobody cannot be released by anybody
        for (unsigned leftOut = 0; leftOut < message.parameters; ++leftOut) {
            if (takesRawAddresses(message.name) && leftOut != 1) continue;
            message.sendWith(message.parameters, 0, leftOut);
        }
        message.sendWith(1, 0, 0);
    });
}

TEST(EveryMethod, SurvivesValuesThatMakeNoSenseAndReceiversThatAreNone) {
    const auto stale = createInstance(classForProgram("base"));
    cancelObject(stale);
    forEveryMethod([&](const Message &message) {
        if (takesRawAddresses(message.name)) return;
        for (const int filler : {small, negative}) message.sendWith(message.parameters, filler, maximumArguments);
        for (const auto receiver : {null, stale})
            sendOver(message.name, receiver, message.parameters, 0, maximumArguments);
    });
}

TEST(EveryMethod, SurvivesEachAllocationThatFails) {
    forEveryMethod([](const Message &message) {
        if (takesRawAddresses(message.name) || answersMemory.contains(message.name)) return;
        for (const auto andAllBehind : {false, true}) {
            auto hasFailed = true;
            for (std::uint64_t at = 1; hasFailed; ++at) {
                const auto receiver = message.receiver();
                hasFailed = fails(at, andAllBehind, [&] {
                    sendOver(message.name, receiver, message.parameters, small, maximumArguments);
                });
                message.end(receiver);
            }
        }
    });
}

} // namespace
} // namespace oocobol::test
