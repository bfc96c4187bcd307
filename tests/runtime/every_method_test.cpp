// Every method of the library, sent with what it needs left out, and with values that make no sense: an error or an
// answer, never a crash. Under the address sanitizer these find the most.
#include <map>
#include <set>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// Methods that take or keep a raw address by contract, that end or stop the run, or that speak to a person.
const std::set<std::string> takesAddresses = {"dealloc", "setcollptr", "sort", "atandbytelength"};
// Per-element methods get what the library's own callbacks carry, addresses among it.
bool takesRawAddresses(const std::string &name) {
    return takesAddresses.contains(name) || name.find("bm") != std::string::npos;
}
const std::set<std::string> speaksToPeople = {"defaulthandler", "levelsofrecursion", "settracelevel"};

// A fresh instance of a class, made the way its class says.
Ref sample(const ClassFamily &family) {
    const std::string program = family.program;
    const auto self = family.classObject;
    if (program == "base" || program == "dependnt") return createInstance(self);
    if (family.methods(true).find(findSelector("ofvaluesauto")) != nullptr)
        return send<Ref>(SITE("ofvaluesauto"), self, comp5(), comp5(), Index{3});
    if (program == "idictnry") return send<Ref>(SITE("ofvaluesauto"), self, comp5(), comp5(), Index{3});
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

struct Area {
    alignas(16) std::byte bytes[4096];
    explicit Area(int filler) { std::memset(bytes, filler, sizeof bytes); }
};

// What a method answers is the caller's, who does not look at it here: objects are finalized, memory is given back.
const std::set<std::string> answersMemory = {"malloc", "allocateelement", "allocateelements"};

std::set<std::uint64_t> ownedObjects() {
    std::set<std::uint64_t> owned;
    forEachObject([&](Ref object, std::uint32_t, std::uint32_t marks) {
        if ((marks & markLibrary) == 0) owned.insert(object.bits);
    });
    return owned;
}
void endWhatWasMade(const std::set<std::uint64_t> &before) {
    for (const auto bits : ownedObjects()) {
        if (!before.contains(bits) && isLive(Ref{bits})) finalize(Ref{bits});
    }
}

// A number that is small or negative, and no reference by any reading: what claims a length must have it, so lengths
// beyond the areas are not among the fillers.
constexpr int small = 0x20, negative = 0xFF;

// Sends the message over the given areas, the one at `leftOut` omitted (0: the returning item, none: all given).
void sendOver(const char *name, Ref receiver, unsigned parameters, int filler, unsigned leftOut) {
    Area returning(0);
    std::vector<Area> areas(parameters, Area(filler));
    void *arguments[maximumArguments] = {};
    for (unsigned i = 0; i < parameters; ++i) {
        if (i == leftOut) continue;
        arguments[i] = i == 0 ? returning.bytes : areas[i].bytes;
        if (filler == small) std::memcpy(areas[i].bytes, "\3\0\0", 4);
        if (i != 0) std::memcpy(areas[i].bytes + sizeof areas[i].bytes - 2, " ", 2); // texts end somewhere
    }
    const auto before = ownedObjects();
    sendByName(receiver, name, nullptr, nullptr, arguments, parameters);
    if (answersMemory.contains(name)) {
        void *memory = nullptr;
        std::memcpy(&memory, returning.bytes, sizeof memory);
        release(memory);
    }
    endWhatWasMade(before);
}

template <class Action> void forEveryMethod(Action action) {
    for (const auto *definition : libraryClasses()) {
        const auto *family = familyOfClass(classForProgram(definition->program));
        ASSERT_NE(family, nullptr) << definition->program;
        for (const auto onClass : {true, false}) {
            for (const auto &method : family->methods(onClass).inOrder()) {
                const std::string name = selectorOf(method.selector).name;
                if (speaksToPeople.contains(name)) continue;
                if (onClass && name == "finalize") continue;
                action(*family, onClass, name, method.parameters);
            }
        }
    }
}

Ref receiverFor(const ClassFamily &family, bool onClass) { return onClass ? family.classObject : sample(family); }

void endSample(Ref receiver, bool onClass) {
    if (!onClass && isLive(receiver)) send<Ref>(SITE("finalize"), receiver);
}

bool handsOutMemory(const std::string &name) { return name == "malloc" || name.rfind("allocate", 0) == 0; }

TEST(EveryMethod, SurvivesEachArgumentLeftOut) {
    const RaisedErrors errors;
    ::testing::internal::CaptureStdout();
    forEveryMethod([&](const ClassFamily &family, bool onClass, const std::string &name, unsigned parameters) {
        if (handsOutMemory(name)) return; // an area that is answered to nobody cannot be released by anybody
        for (unsigned leftOut = 0; leftOut < parameters; ++leftOut) {
            if (takesRawAddresses(name) && leftOut != 1) continue;
            const auto receiver = receiverFor(family, onClass);
            sendOver(name.c_str(), receiver, parameters, 0, leftOut);
            endSample(receiver, onClass);
        }
        const auto receiver = receiverFor(family, onClass);
        void *nothing[maximumArguments] = {};
        const auto before = ownedObjects();
        sendByName(receiver, name.c_str(), nullptr, nullptr, nothing, 1);
        endWhatWasMade(before);
        endSample(receiver, onClass);
    });
    ::testing::internal::GetCapturedStdout();
}

TEST(EveryMethod, SurvivesValuesThatMakeNoSense) {
    const RaisedErrors errors;
    ::testing::internal::CaptureStdout();
    for (const int filler : {small, negative}) {
        forEveryMethod([&](const ClassFamily &family, bool onClass, const std::string &name, unsigned parameters) {
            if (takesRawAddresses(name)) return;
            const auto receiver = receiverFor(family, onClass);
            sendOver(name.c_str(), receiver, parameters, filler, maximumArguments);
            endSample(receiver, onClass);
        });
    }
    ::testing::internal::GetCapturedStdout();
}

TEST(EveryMethod, SurvivesANullAndAStaleReceiver) {
    const RaisedErrors errors;
    const auto stale = createInstance(classForProgram("base"));
    cancelObject(stale);
    ::testing::internal::CaptureStdout();
    forEveryMethod([&](const ClassFamily &, bool, const std::string &name, unsigned parameters) {
        if (takesRawAddresses(name)) return;
        sendOver(name.c_str(), null, parameters, 0, maximumArguments);
        sendOver(name.c_str(), stale, parameters, 0, maximumArguments);
    });
    ::testing::internal::GetCapturedStdout();
}

} // namespace
} // namespace oocobol::test
