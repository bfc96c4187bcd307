#include "tests/support/support.h"

#include <cstdlib>
#include <map>
#include <mutex>

#include "host/host.h"
#include "tests/support/says.h"

namespace oocobol::test {

namespace {

thread_local RaisedErrors *innermost = nullptr;

// The system handler that all tests share: it answers to the innermost record of the thread.
void recordMethod(const oops_ref *, void *, void *returning, void *object, void *number, void *) {
    if (innermost == nullptr) return;
    RaisedErrors::Raised raised{};
    if (object != nullptr) std::memcpy(&raised.object, object, sizeof raised.object);
    if (number != nullptr) std::memcpy(&raised.number, number, sizeof raised.number);
    innermost->all.push_back(raised);
    if (innermost->action) innermost->action(raised.object, raised.number);
    if (innermost->answers && returning != nullptr)
        std::memcpy(returning, &innermost->answer, sizeof innermost->answer);
}

void installHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        const auto recorder = OutsideClass("testrec", "testrecorder", classForProgram("base"))
                                  .classMethod("record", recordMethod)
                                  .registerIt();
        // One for each error that is raised while others are being handled.
        for (int depth = 0; depth < 16; ++depth) {
            const auto handler = send<Ref>(SITE("new"), CLASS("callback"), recorder, Bytes{"record"});
            keepForLibrary(handler);
            send<Ref>(SITE("setsystemhandler"), CLASS("exptnmgr"), handler);
        }
    });
}

// Entries need addresses of their own; each slot is one.
constexpr std::size_t slots = 64;
std::function<std::int64_t(void **)> functions[slots];
std::size_t nextSlot = 0;

template <std::size_t slot, class... Addresses> std::int64_t slotEntry(Addresses... addresses) {
    void *arguments[] = {addresses...};
    return functions[slot](arguments);
}
template <std::size_t... slot> constexpr auto slotEntries(std::index_sequence<slot...>) {
    return std::array<host_entry, sizeof...(slot)>{slotEntry<slot>...};
}
constexpr auto entries = slotEntries(std::make_index_sequence<slots>{});

class LeakCheck : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override {
        installHandler();
        mayLeaveObjects = false;
        before = countInstances(null);
    }
    void OnTestEnd(const testing::TestInfo &) override {
        EXPECT_TRUE(mayLeaveObjects || countInstances(null) == before) << "live objects";
    }
    Count before = 0;
};

// Whole test programs run in either environment: they start as a program does that knows which one it is in.
class Start : public testing::Environment {
    void SetUp() override {
        testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
        if (std::getenv("OOCOBOL_DBCS") != nullptr) send(SITE("readyforapplicationstart"), classForProgram("base"));
    }
};
const auto *const start = testing::AddGlobalTestEnvironment(new Start);

} // namespace

bool mayLeaveObjects = false;

Ref picX(Index length) {
    static std::map<Index, Ref> made;
    auto &known = made[length];
    if (!known) known = send<Ref>(SITE("newclass"), CLASS("picx"), length);
    return known;
}

Ref comp5() { return CLASS("comp5"); }

std::string padded(std::string_view text, std::size_t length) {
    std::string bytes(text.substr(0, length));
    bytes.resize(length, ' ');
    return bytes;
}

void sendAreas(Ref receiver, std::string_view message, std::vector<std::string> &areas) {
    void *arguments[maximumArguments] = {};
    for (std::size_t i = 0; i < areas.size(); ++i) arguments[i] = areas[i].empty() ? nullptr : areas[i].data();
    send(receiver, siteOf(message), arguments, static_cast<std::uint32_t>(areas.size()));
}

Ref text(std::string_view value) {
    return send<Ref>(SITE("withbytelengthvalue"), CLASS("chararry"), static_cast<Index>(value.size()),
                     Bytes{value.data()});
}

std::string valueOf(Ref textObject) {
    std::string value(send<Count>(SITE("sizeinbytes"), textObject), '\0');
    send(SITE("getvalue"), textObject, into(value));
    return value;
}

std::vector<std::string> valuesOfMade(Ref collection) {
    std::vector<std::string> values;
    const auto size = send<Index>(SITE("size"), collection);
    for (Index i = 1; i <= size; ++i) values.push_back(valueOf(send<Ref>(SITE("at"), collection, i)));
    send<Ref>(SITE("deepfinalize"), collection);
    return values;
}

void finalize(Ref object) { send<Ref>(SITE("finalize"), object); }

InEnvironment::InEnvironment(std::uint8_t status) : before(*host::externalByte("DBCSENVIRONMENTSTATUS")) {
    *host::externalByte("DBCSENVIRONMENTSTATUS") = status;
}
InEnvironment::~InEnvironment() { *host::externalByte("DBCSENVIRONMENTSTATUS") = before; }

RaisedErrors::RaisedErrors() {
    installHandler();
    outer = innermost;
    innermost = this;
}
RaisedErrors::~RaisedErrors() { innermost = outer; }

std::vector<Count> RaisedErrors::numbers() {
    std::vector<Count> found;
    for (const auto &raised : all) found.push_back(raised.number);
    all.clear();
    return found;
}

std::set<std::uint64_t> Sweep::objects() {
    std::set<std::uint64_t> found;
    forEachObject([&](Ref object, std::uint32_t, std::uint32_t marks) {
        if ((marks & (markLibrary | markClass)) == 0) found.insert(object.bits);
    });
    return found;
}
Sweep::~Sweep() {
    for (const auto bits : objects()) {
        if (!before.contains(bits) && isLive(Ref{bits})) finalize(Ref{bits});
    }
}

namespace {
struct Outcome {
    std::string held, made;
    bool raised;
};
} // namespace
void allOrNothing(bool andAllBehind, Ref receiver, const std::function<std::string(Ref)> &show,
                  const std::function<Ref()> &deed) {
    std::vector<Outcome> outcomes{{show(receiver), "", true}};
    for (auto reached = true; reached;) {
        const auto before = countInstances(null);
        const RaisedErrors errors;
        Ref made;
        reached = fails(outcomes.size(), andAllBehind, [&] { made = deed(); });
        outcomes.push_back({show(receiver), made ? show(made) : "", !errors.all.empty()});
        if (made) send<Ref>(SITE("deepfinalize"), made);
        ASSERT_TRUE(countInstances(null) == before || !reached) << "allocation " << outcomes.size() - 1;
    }
    const auto &first = outcomes.front(), &last = outcomes.back();
    for (const auto &[held, made, raised] : outcomes) {
        EXPECT_TRUE(held == last.held || (raised && held == first.held)) << held;
        EXPECT_TRUE(made == last.made || raised) << made;
    }
    EXPECT_FALSE(last.raised);
}
void allOrNothing(Ref receiver, const std::function<std::string(Ref)> &show, const std::function<Ref()> &deed) {
    for (const auto andAllBehind : {true, false}) allOrNothing(andAllBehind, receiver, show, deed);
}

std::string entryNamed(std::function<std::int64_t(void **)> function, std::string name) {
    const auto slot = nextSlot++ % slots;
    functions[slot] = std::move(function);
    if (name.empty()) name = "testentry" + std::to_string(slot);
    host_register_entry(name.c_str(), entries[slot]);
    return name;
}

Ref block(std::function<std::int64_t(void **)> function) {
    return send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{entryNamed(std::move(function)).c_str()});
}

OutsideClass::OutsideClass(const char *program, const char *name, Ref superclass, std::uint32_t classData,
                           std::uint32_t instanceData)
    : record(8192) {
    oopsrecord(record.data(), program, name, superclass.bits, classData, instanceData);
}
OutsideClass &OutsideClass::add(const char *name, oops_method code, int parameters, int flags) {
    EXPECT_EQ(oopsrecordmethod(record.data(), record.size(), name, code, parameters, flags), 1);
    return *this;
}
OutsideClass &OutsideClass::initialiser(oops_initialiser code) {
    std::memcpy(record.data() + 40, &code, sizeof code);
    return *this;
}
Ref OutsideClass::registerIt() {
    oops_ref made = 0;
    oopsnewclass2(record.data(), &made);
    return Ref{made};
}
void OutsideClass::extend() { oopsextendclass2(record.data()); }

} // namespace oocobol::test
