// Registration: records, names, the class tree, and what is refused.
#include <algorithm>
#include <set>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// What programs rely on: the name of each class, its program, its superclass, the sizes of its class and instance data.
constexpr const char *classTree =
    "array array arrayedcollection 0 49; arrayedcollection arrayed sequencedcollection 0 49; "
    "association associtn intrinsic 40 1; bag bag collection 0 72; base base - 0 0; behavior behavior base 0 0; "
    "bytearray bytearry array 0 49; callback callback entrycallback 0 260; characterarray chararry array 0 49; "
    "cobolcomp5 comp5 intrinsic 4 1; cobolcomp5association compasoc association 40 1; "
    "cobolcompx compx intrinsic 4 1; cobolpicx picx intrinsic 4 1; cobolpicx32 picx32 cobolpicx 4 1; "
    "collection collectn dependent 0 49; dbcscharacterarray dbcsarry dependent 0 17; "
    "dbcspicx dbcspicx cobolpicx 12 1; delegatemanager delegate base 8 0; dependent dependnt base 0 0; "
    "dictionary dictinry valueset 0 128; dynamicarrayedcollection dynarray sequencedcollection 0 68; "
    "entrycallback entrycll dependent 0 236; event event base 0 12; exceptionmanager exptnmgr dependent 56 0; "
    "filename filename base 0 25; identitydictionary idictnry dictionary 0 128; identityset iset valueset 0 68; "
    "intrinsic intrnsic base 4 1; messagefilehandler msgfh base 0 24; nilobject nil base 0 0; "
    "orderedcollection ordrdcll dynamicarrayedcollection 0 68; picxtoobject picxtoob association 40 1; "
    "recursiveset recurset base 16 16; sequencedcollection sequence collection 0 49; "
    "signedcobolcomp5 scomp5 cobolcomp5 4 1; sortedcollection srtdclln dynamicarrayedcollection 0 177; "
    "symboltable symbtab dictionary 0 0; systemdictionary systemd base 8 0; "
    "threadedcallback mcallbck callback 0 260; valueset valueset collection 0 68; ";

std::string nameOf(Ref classObject) {
    std::string name(30, ' ');
    oopsclassname(classObject.bits, name.data());
    return classObject ? name.substr(0, name.find(' ')) : "-";
}

TEST(ClassTree, IsWhatProgramsRelyOn) {
    std::set<std::string> rows;
    for (const auto *definition : libraryClasses()) {
        const auto classObject = classForProgram(definition->program);
        const auto *family = familyOfClass(classObject);
        rows.insert(nameOf(classObject) + " " + std::string(definition->program) + " " +
                    nameOf(superclassOf(classObject)) + " " + std::to_string(family->registeredClassData) + " " +
                    std::to_string(family->registeredInstanceData) + "; ");
    }
    std::string tree;
    for (const auto &row : rows) tree += row;
    EXPECT_EQ(tree, classTree);
}

TEST(ClassTree, EveryMethodIsRegisteredOnceInLowerCase) {
    for (const auto classObject : allClasses()) {
        for (const auto onClass : {true, false}) {
            std::set<std::string> names;
            for (const auto &method : familyOfClass(classObject)->methods(onClass).inOrder()) {
                const std::string name = selectorOf(method.selector).name;
                EXPECT_TRUE(names.insert(name).second) << nameOf(classObject) << " " << name;
                EXPECT_GE(method.parameters, 1);
                EXPECT_TRUE(std::ranges::none_of(name, [](char c) { return c >= 'A' && c <= 'Z'; })) << name;
            }
        }
    }
}

const auto nothing = +[](const oops_ref *, void *, void *) {};

TEST(Registration, WhatCannotBeRegisteredRaises107) {
    RaisedErrors errors;
    const auto base = classForProgram("base");
    EXPECT_EQ(OutsideClass("ordrdcll", "mine", base).registerIt(), null);
    EXPECT_EQ(OutsideClass("rtnosup", "nosuperclass", null).registerIt(), null);
    EXPECT_EQ(OutsideClass("rtgarb", "garbagesuperclass", Ref{0x2020202020202020}).registerIt(), null);
    EXPECT_EQ(OutsideClass("", "noprogram", base).registerIt(), null);
    EXPECT_EQ(OutsideClass("rthuge", "huge", base, 0, 0xFFFFFFF0).registerIt(), null);
    OutsideClass("rtnone", "none", base).method("nothing", nothing).extend();
    EXPECT_EQ(errors.numbers(), std::vector<Count>(6, 107));
}

TEST(Registration, RecordsKeepTheirOrderAndTheirRoom) {
    std::byte record[OOPS_RECORD_SIZE + 64];
    const auto add = [&](const char *name, int parameters, int flags) {
        return oopsrecordmethod(record, sizeof record, name, asMethod(nothing), parameters, flags);
    };
    oopsrecord(record, "program", "name", 0, 0, 0);
    EXPECT_EQ(add("one", 1, 0), 1);
    EXPECT_EQ(add("late", 1, OOPS_CLASS_METHOD), 0);
    EXPECT_EQ(add("toolongforwhatisleftofit", 1, 0), 0);
    EXPECT_EQ(add("zero", 0, 0), 0);
    EXPECT_EQ(add("two", 17, 0), 0);
}

} // namespace
} // namespace oocobol::test
