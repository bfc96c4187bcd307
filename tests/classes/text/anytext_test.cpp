// What texts and items of every class survive: arguments of every kind, memory that is short, subclasses that lie.
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

class AnyText : public OfMixedClasses {};
INSTANTIATE_TEST_SUITE_P(Classes, AnyText, onBothRoads("chararry", "bytearry", "dbcsarry", "picx", "dbcspicx"),
                         nameOfRoad);

TEST_P(AnyText, ArgumentsOfEveryKindAreSurvived) {
    const Temporary text(madeOf(ofClass, 3, "a" HA "b"));
    RaisedErrors errors;
    const Ref dead = madeOf(ofClass, 1, "x");
    finalize(dead);
    for (const auto argument : {null, dead, Ref{0x2020202020202020}, CLASS("picx"), CLASS("base"), ofClass}) {
        for (auto *site : {&SITE("equal"), &SITE("lessthan"), &SITE("compareto"), &SITE("equalsignorecase")})
            send<Index>(*site, text.ref(), argument);
        send<Index>(SITE("indexofsubcollection"), text.ref(), argument, Index{1});
        send(SITE("movevalue"), text.ref(), argument);
        finalize(send<Ref>(SITE("concat"), text.ref(), argument));
        finalize(send<Ref>(SITE("copyreplaceall"), text.ref(), argument, argument));
    }
    EXPECT_EQ(send<Count>(SITE("size"), text.ref()), 3U);
}

TEST_P(AnyText, EveryFailingAllocationIsSurvived) {
    if (!OOCOBOL_CHECKED) GTEST_SKIP() << "allocations can only be made to fail in checked builds";
    const auto isMixed = ofClass == CLASS("dbcsarry") || ofClass == CLASS("dbcspicx");
    const auto value = std::string(300, 'a') + (isMixed ? KA : "A") + "\n " + std::string(298, 'b') + "\n c";
    const Temporary text(madeOf(ofClass, 604, value));
    const RaisedErrors errors;
    auto before = countInstances(null);
    for (std::uint64_t at = 0, reached = 1; at <= reached; ++at) { // the first time none fails
        AllocationFaults::failAt(at, false);
        std::vector<Ref> made{madeOf(ofClass, 1, KA), send<Ref>(SITE("concat"), text.ref(), text.ref()),
                              send<Ref>(SITE("copyfromto"), text.ref(), Index{290}, Index{303})};
        for (auto *site : {&SITE("asuppercase"), &SITE("description"), &SITE("aspicx"), &SITE("trimblanks"),
                           &SITE("copy"), &SITE("asseparatelines"), &SITE("asarrayofsubstrings")})
            made.push_back(send<Ref>(*site, text.ref()));
        if (at != 0) reached = AllocationFaults::count();
        AllocationFaults::failAt(0, false);
        for (const auto pieces : {made[made.size() - 2], made.back()}) {
            ASSERT_EQ(pieces ? send<Count>(SITE("size"), pieces) : 3U, 3U) << "all or none, allocation " << at;
        }
        for (const auto object : made) {
            if (object) send<Ref>(SITE("deepfinalize"), object);
        }
        if (at == 0) before = countInstances(null);
        ASSERT_EQ(countInstances(null), before) << "allocation " << at;
    }
    EXPECT_EQ(valueOf(text.ref()), value);
}

// A subclass of texts, or of items, that claims to be longer than it is.
void claimMuch(const oops_ref *, void *, void *returning) {
    const Count claimed = 100000;
    if (returning != nullptr) std::memcpy(returning, &claimed, sizeof claimed);
}
Ref liarOf(const char *program, const char *name, Ref superclass) {
    return OutsideClass(program, name, superclass).method("sizeinbytes", asMethod(claimMuch), 1).registerIt();
}

TEST(TextSubclass, SizesThatItClaimsAreNotReadBeyondItsValue) {
    const Temporary lying(madeOf(liarOf("liartxt", "liartext", CLASS("chararry")), 3, "a b")), abc(text("abc"));
    const Temporary item(send<Ref>(SITE("withvalue"), liarOf("liarpicx", "liaritem", CLASS("picx")), Bytes{"a"}));
    says(abc,
         "lessthan $1 -> 0; greaterthan $1 -> 1; concat $1 -> it; it size -> 100003; it finalize; "
         "$1 asarrayofsubstrings -> it; it deepfinalize; $2 lessthan $3 -> 1; compareto $2 -> 1",
         {lying, item, abc});
    std::string area(100000, '#');
    send(SITE("getvalue"), item.ref(), Returning{{reinterpret_cast<std::byte *>(area.data())}});
    EXPECT_EQ(area.substr(0, 3), "a##");
}

} // namespace
} // namespace oocobol::test
