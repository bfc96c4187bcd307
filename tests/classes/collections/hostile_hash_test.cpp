// Elements, keys and blocks with bad manners: tables that are changed, finalized and exchanged while they are probed,
// grown or walked. What is looked for are crashes, endless loops and lost memory; the sanitizers look on.
#include <algorithm>
#include <functional>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

// What the elements do when they are asked for their hash, or compared.
std::function<void()> whenHashed, whenCompared;
int calls = 0;

template <class T> void answerAs(void *answer, T value) {
    if (answer != nullptr) std::memcpy(answer, &value, sizeof value);
}
bool acts(const std::function<void()> &action) {
    if (++calls >= 2000 || !action) return false;
    action();
    return true;
}
Ref hostileClass() {
    static const auto made =
        OutsideClass("hostile", "hostileelement", CLASS("base"))
            .method("hash", [](const oops_ref *, void *,
                               void *answer) { answerAs(answer, acts(whenHashed) ? Count{0x80000000U} : Count{1}); })
            .method("equal",
                    [](const oops_ref *, void *, void *answer, void *) {
                        acts(whenCompared);
                        answerAs(answer, Flag{0});
                    })
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

struct Kind {
    const char *program;
    bool ofObjects;
};
class Hostile : public testing::TestWithParam<Kind> {
protected:
    const bool isDictionary = std::string_view(GetParam().program) == "dictinry";
    void put(Ref element) {
        if (isDictionary)
            send(SITE("atput"), table, element, null);
        else
            send(SITE("add"), table, element);
    }
    // A table of nine elements of a kind.
    template <class Make> void fillTable(Make make) {
        auto &create = GetParam().ofObjects ? SITE("ofassociations") : SITE("ofvalues");
        table = isDictionary ? send<Ref>(create, CLASS("dictinry"), CLASS("associtn"), Index{10})
                             : send<Ref>(SITE("ofreferences"), classForProgram(GetParam().program), Index{10});
        elements.clear();
        for (int i = 0; i < 9; ++i) put(elements.emplace_back(make(i)));
    }
    // Runs the scenario with each hostility, three times; from the second time on, no memory may stay behind.
    template <class Scenario> void repeat(Scenario scenario) {
        std::int64_t before = 0;
        for (int i = 0; i < 3; ++i) {
            before = bytesInUse();
            for (const auto &hostility : hostilities) scenario(hostility);
        }
        EXPECT_EQ(bytesInUse(), before);
    }
    Ref table;
    std::vector<Ref> elements;
    RaisedErrors errors;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Hostile,
                         testing::Values(Kind{"valueset", false}, Kind{"bag", false}, Kind{"dictinry", false},
                                         Kind{"dictinry", true}));

TEST_P(Hostile, ElementsDoNoDamage) {
    repeat([&](const Hostility &hostility) {
        for (auto *asked : {&whenHashed, &whenCompared}) {
            const Sweep sweep; // hostile code leaves all kinds of things behind
            fillTable([](int) { return send<Ref>(SITE("new"), hostileClass()); }); // all in one chain
            calls = 0;
            int depth = 0, turn = 0;
            *asked = [&] {
                if (++turn % 3 != 0 || depth > 3) return;
                ++depth;
                hostility.act(table, elements[2]);
                --depth;
            };
            for (const auto element : elements) {
                put(element);
                send(isDictionary ? SITE("removekey") : SITE("remove"), table, element);
                send<bool>(SITE("includes"), table, element);
            }
            *asked = nullptr;
            EXPECT_LT(calls, 100000) << hostility.name;
        }
    });
}

TEST_P(Hostile, BlocksDoNoDamage) {
    repeat([&](const Hostility &hostility) {
        for (auto *walk :
             {&SITE("do"), &SITE("dowithoutcopy"), &SITE("select"), &SITE("reject"), &SITE("keysanddatado"),
              &SITE("associationsdowithoutcopy"), &SITE("keysdo"), &SITE("associationsdo"), &SITE("collect")}) {
            const Sweep sweep;
            fillTable([](int i) { return text(std::to_string(i)); });
            int visits = 0;
            const Block acting([&](void **) {
                if (++visits < 20) hostility.act(table, elements[2]);
                return 1;
            });
            send<Ref>(*walk, table, acting.ref());
            EXPECT_LT(visits, 1000) << hostility.name << " in " << walk->method;
        }
    });
}

class FullTables : public CollectionTest {};

// A table whose slots are all marked as occupied is searched once round, and says so.
TEST_F(FullTables, EndEverySearch) {
    onBothRoads([] {
        const Temporary set(newCollection("valueset", 4, 10));
        for (Index slot = 1; slot <= 10; ++slot) send(SITE("setoccuppied"), set.ref(), slot);
        says(set.ref(), "includes a -> error 112 -> 0; add a -> error 112; remove a -> error 112");
    });
}

// A set that does not grow takes elements as long as one slot stays empty.
TEST_F(FullTables, ThatDoNotGrowFillUpToTheLastSlotButOne) {
    const auto ofClass = OutsideClass("nogrow", "neverlargerset", CLASS("valueset"))
                             .method("grow", [](const oops_ref *, void *, void *) {})
                             .registerIt();
    const Temporary set(send<Ref>(SITE("ofvalues"), ofClass, picX(4), Index{10}));
    for (int i = 0; i < 9; ++i) add(set.ref(), std::to_string(i));
    says(set.ref(), "size -> 9; add j -> error 112; add k -> error 112; add l -> error 112; size -> 9");
}

} // namespace
} // namespace oocobol::test
