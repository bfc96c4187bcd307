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
    static void put(Ref table, Ref element) {
        if (isDictionary())
            send(SITE("atput"), table, element, null);
        else
            send(SITE("add"), table, element);
    }
    // With these elements, nine of them.
    static Ref tableOf(const std::vector<Ref> &elements) {
        auto &create = GetParam().ofObjects ? SITE("ofassociations") : SITE("ofvalues");
        const auto table = isDictionary()
                               ? send<Ref>(create, CLASS("dictinry"), CLASS("associtn"), Index{10})
                               : send<Ref>(SITE("ofreferences"), classForProgram(GetParam().program), Index{10});
        for (const auto element : elements) put(table, element);
        return table;
    }
    static void tryElements(const Hostility &hostility, bool inHash);
    static void tryBlocks(const Hostility &hostility, oops_site &walk);
    RaisedErrors errors;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Hostile,
                         testing::Values(Kind{"valueset", false}, Kind{"bag", false}, Kind{"dictinry", false},
                                         Kind{"dictinry", true}));

void Hostile::tryElements(const Hostility &hostility, bool inHash) {
    const Sweep sweep;
    std::vector<Ref> elements;
    for (int i = 0; i < 9; ++i) elements.push_back(send<Ref>(SITE("new"), hostileClass()));
    const auto table = tableOf(elements); // all in one chain
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
        send(isDictionary() ? SITE("removekey") : SITE("remove"), table, element);
        send<bool>(SITE("includes"), table, element);
    }
    whenHashed = nullptr;
    whenCompared = nullptr;
    EXPECT_LT(calls, 100000) << hostility.name;
}

void Hostile::tryBlocks(const Hostility &hostility, oops_site &walk) {
    const Sweep sweep;
    std::vector<Ref> elements;
    for (int i = 0; i < 9; ++i) elements.push_back(text(std::to_string(i)));
    const auto table = tableOf(elements);
    int visits = 0;
    const Block acting([&](void **) {
        if (++visits < 20) hostility.act(table, elements[2]);
        return 1;
    });
    send<Ref>(walk, table, acting.ref());
    EXPECT_LT(visits, 1000) << hostility.name << " in " << walk.method;
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
    repeat([] {
        for (const auto &hostility : hostilities) {
            for (const auto inHash : {true, false}) tryElements(hostility, inHash);
        }
    });
}

TEST_P(Hostile, BlocksDoNoDamage) {
    repeat([] {
        for (const auto &hostility : hostilities) {
            for (auto *walk :
                 {&SITE("do"), &SITE("dowithoutcopy"), &SITE("select"), &SITE("reject"), &SITE("keysanddatado"),
                  &SITE("associationsdowithoutcopy"), &SITE("keysdo"), &SITE("associationsdo"), &SITE("collect")})
                tryBlocks(hostility, *walk);
        }
    });
}

class FullTables : public CollectionTest {};

// A table whose slots are all marked as occupied is searched once round, and says so.
TEST_F(FullTables, EndEverySearch) {
    for (const auto native : {true, false}) {
        allowNativePaths(native);
        const Temporary set(newCollection("valueset", 4, 10));
        for (Index slot = 1; slot <= 10; ++slot) send(SITE("setoccuppied"), set.ref(), slot);
        says(set.ref(), "includes a -> error 112 -> 0; add a -> error 112; remove a -> error 112");
    }
    allowNativePaths(true);
}

// A set that does not grow takes elements as long as one slot stays empty.
TEST_F(FullTables, ThatDoNotGrowFillUpToTheLastSlotButOne) {
    const auto ofClass = OutsideClass("nogrow", "neverlargerset", CLASS("valueset"))
                             .method("grow", asMethod(+[](const oops_ref *, void *, void *) {}), 1)
                             .registerIt();
    const Temporary set(send<Ref>(SITE("ofvalues"), ofClass, picX(4), Index{10}));
    for (int i = 0; i < 9; ++i) add(set.ref(), std::to_string(i));
    says(set.ref(), "size -> 9; add j -> error 112; add k -> error 112; add l -> error 112; size -> 9");
}

} // namespace
} // namespace oocobol::test
