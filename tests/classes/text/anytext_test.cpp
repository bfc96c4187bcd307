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
    const auto isMixed = ofClass == CLASS("dbcsarry") || ofClass == CLASS("dbcspicx");
    const auto value = std::string(300, 'a') + (isMixed ? KA : "A") + "\n " + std::string(298, 'b') + "\n c";
    const Temporary text(madeOf(ofClass, 604, value));
    const auto show = [](Ref object) {
        const auto isList = familyOfClass(classOf(object))->isKindOf(*familyOfClass(classForProgram("dynarray")));
        return isList || classOf(object) == CLASS("array") ? wordsIn(object) : valueOf(object);
    };
    allOrNothing(text.ref(), show, [&] { return madeOf(ofClass, 1, KA); });
    allOrNothing(text.ref(), show, [&] { return send<Ref>(SITE("concat"), text.ref(), text.ref()); });
    for (const std::string made : {"copyfromto", "asuppercase", "description", "aspicx", "trimblanks", "copy",
                                   "asseparatelines", "asarrayofsubstrings"}) {
        if (!send<bool>(SITE("respondsto"), ofClass, Bytes{(made + " ").c_str()})) continue; // items have no parts
        allOrNothing(text.ref(), show, [&] { return send<Ref>(siteOf(made), text.ref(), Index{290}, Index{303}); });
    }
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
