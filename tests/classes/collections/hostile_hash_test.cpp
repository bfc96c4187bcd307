// Elements, keys and blocks with bad manners: tables that are changed, finalized and exchanged while they are probed,
// grown or walked. What is looked for are crashes, endless loops and lost memory; the sanitizers look on.
#include <functional>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

// What the elements' `hash` and `equal` do and answer.
std::function<Count()> whenHashed;
std::function<bool()> whenCompared;
int calls = 0;

void hashMethod(const oops_ref *, void *, void *answer) {
    const Count value = ++calls < 2000 && whenHashed ? whenHashed() : 1;
    if (answer != nullptr) std::memcpy(answer, &value, sizeof value);
}
void equalMethod(const oops_ref *, void *, void *answer, void *) {
    const Flag value = ++calls < 2000 && whenCompared ? whenCompared() : 0;
    if (answer != nullptr) std::memcpy(answer, &value, sizeof value);
}

Ref hostileClass() {
    static const auto made = OutsideClass("hostile", "hostileelement", CLASS("base"))
                                 .method("hash", asMethod(hashMethod), 1)
                                 .method("equal", asMethod(equalMethod), 2)
                                 .registerIt();
    return made;
}

struct Hostility {
    const char *name;
    std::function<void(Ref table, Ref element)> act;
};
const Hostility hostilities[] = {
    {"nothing", [](Ref, Ref) {}},
    {"adds",
     [](Ref table, Ref) {
         const Ref association[] = {send<Ref>(SITE("new"), CLASS("base")), null}; // or, in front, an element
         send(SITE("add"), table, area(association));
     }},
    {"removes", [](Ref table, Ref element) { send(SITE("remove"), table, element); }},
    {"grows",
     [](Ref table, Ref) {
         if (send<Count>(SITE("capacity"), table) < 5000) send(SITE("grow"), table);
     }},
    {"empties",
     [](Ref table, Ref) {
         const Temporary none(send<Ref>(SITE("copyemptywithsize"), table, Index{1}));
         send(SITE("replacecontentswith"), table, none.ref());
     }},
    {"finalizes the table", [](Ref table, Ref) { finalize(table); }},
    {"finalizes the element", [](Ref, Ref element) { finalize(element); }},
    {"becomes", [](Ref table, Ref) { send(SITE("becomes"), table, text("exchanged")); }},
    {"marks",
     [](Ref table, Ref) {
         for (Index slot = 1; slot < 40; ++slot) send(SITE("setoccuppied"), table, slot);
     }},
};

// Objects that were made on the way and were not finalized; hostile blocks leave all kinds of things behind.
class Sweep {
public:
    Sweep() {
        forEachObject([&](Ref object, std::uint32_t, std::uint32_t) { before.push_back(object); });
    }
    ~Sweep() {
        std::vector<Ref> left;
        forEachObject([&](Ref object, std::uint32_t, std::uint32_t marks) {
            if ((marks & (markClass | markLibrary)) == 0) left.push_back(object);
        });
        for (const auto object : left) {
            if (isLive(object) && !std::binary_search(before.begin(), before.end(), object, byBits)) finalize(object);
        }
    }

private:
    static bool byBits(Ref one, Ref other) { return one.index() < other.index(); }
    std::vector<Ref> before;
};

struct Kind {
    const char *program;
    bool ofObjects;
};
class Hostile : public testing::TestWithParam<Kind> {
protected:
    ~Hostile() override {
        whenHashed = nullptr;
        whenCompared = nullptr;
    }
    static bool isDictionary() { return std::string_view(GetParam().program) == "dictinry"; }
    static Ref make() {
        if (!isDictionary()) return send<Ref>(SITE("ofreferences"), classForProgram(GetParam().program), Index{10});
        auto &create = GetParam().ofObjects ? SITE("ofassociations") : SITE("ofvalues");
        return send<Ref>(create, CLASS("dictinry"), CLASS("associtn"), Index{10});
    }
    static void put(Ref table, Ref element) {
        if (isDictionary())
            send(SITE("atput"), table, element, null);
        else
            send(SITE("add"), table, element);
    }
    static void take(Ref table, Ref element) {
        auto &message = isDictionary() ? SITE("removekey") : SITE("remove");
        send(message, table, element);
    }
    static void tryElements();
    static void tryBlocks();
    RaisedErrors errors;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Hostile,
                         testing::Values(Kind{"valueset", false}, Kind{"bag", false}, Kind{"dictinry", false},
                                         Kind{"dictinry", true}));

void Hostile::tryElements() {
    for (const auto &hostility : hostilities) {
        for (const auto inHash : {true, false}) {
            const Sweep sweep;
            const auto table = make();
            std::vector<Ref> elements;
            for (int i = 0; i < 9; ++i) elements.push_back(send<Ref>(SITE("new"), hostileClass()));
            for (const auto element : elements) put(table, element); // all in one chain
            calls = 0;
            int depth = 0, turn = 0;
            const auto act = [&] {
                if (++turn % 3 != 0 || depth > 3) return;
                ++depth;
                hostility.act(table, elements[2]);
                --depth;
            };
            if (inHash)
                whenHashed = [&] { return act(), Count{0x80000000U}; };
            else
                whenCompared = [&] { return act(), false; };
            for (const auto element : elements) {
                put(table, element);
                take(table, element);
                send<bool>(SITE("includes"), table, element);
            }
            whenHashed = nullptr;
            whenCompared = nullptr;
            SCOPED_TRACE(hostility.name);
            EXPECT_LT(calls, 100000);
        }
    }
}

void Hostile::tryBlocks() {
    oops_site *const walks[] = {&SITE("do"),     &SITE("dowithoutcopy"),  &SITE("select"),
                                &SITE("reject"), &SITE("keysanddatado"),  &SITE("associationsdowithoutcopy"),
                                &SITE("keysdo"), &SITE("associationsdo"), &SITE("collect")};
    for (const auto &hostility : hostilities) {
        for (auto *walk : walks) {
            const Sweep sweep;
            const auto table = make();
            std::vector<Ref> elements;
            for (int i = 0; i < 9; ++i) elements.push_back(text(std::to_string(i)));
            for (const auto element : elements) put(table, element);
            int visits = 0;
            const Block acting([&](void **) {
                if (++visits < 20) hostility.act(table, elements[2]);
                return 1;
            });
            send<Ref>(*walk, table, acting.ref());
            EXPECT_LT(visits, 1000) << hostility.name << " in " << walk->method;
        }
    }
}

// Runs the scenario three times; from the second time on, no memory may stay behind.
void repeat(const std::function<void()> &scenario) {
    scenario();
    scenario();
    const auto before = bytesInUse();
    scenario();
    EXPECT_EQ(bytesInUse(), before);
}

TEST_P(Hostile, ElementsDoNoDamage) {
    repeat([] { tryElements(); });
}

TEST_P(Hostile, BlocksDoNoDamage) {
    repeat([] { tryBlocks(); });
}

// A table whose slots are all marked as occupied is searched once round, and says so.
TEST(FullTables, EndEverySearch) {
    const LeakCheck leaks;
    RaisedErrors errors;
    for (const auto native : {true, false}) {
        allowNativePaths(native);
        const auto set = newCollection("valueset", 4, 10);
        for (Index slot = 1; slot <= 10; ++slot) send(SITE("setoccuppied"), set, slot);
        EXPECT_FALSE(sendWord<bool>(SITE("includes"), set, "a"));
        add(set, "a");
        sendWord(SITE("remove"), set, "a");
        EXPECT_EQ(errors.numbers(), std::vector<Count>(3, 112));
        finalize(set);
    }
    allowNativePaths(true);
}

void doNotGrow(const oops_ref *, void *, void *) {}

// A set that does not grow takes elements as long as one slot stays empty.
TEST(SetsThatDoNotGrow, FillUpToTheLastSlotButOne) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto ofClass =
        OutsideClass("nogrow", "neverlargerset", CLASS("valueset")).method("grow", asMethod(doNotGrow), 1).registerIt();
    const auto set = send<Ref>(SITE("ofvalues"), ofClass, picX(4), Index{10});
    for (int i = 0; i < 12; ++i) add(set, std::to_string(i));
    EXPECT_EQ(sizeOf(set), 9);
    EXPECT_EQ(errors.numbers(), std::vector<Count>(3, 112));
    finalize(set);
}

} // namespace
} // namespace oocobol::test
