// Registration: records, names, the class tree, and what is refused.
#include <map>
#include <set>

#include "tests/support/support.h"

namespace oocobol::test {
namespace {

struct Row {
    const char *name, *program, *super;
    std::uint32_t classData, instanceData;
};
constexpr Row classTree[] = {
    {"base", "base", "", 0, 0},
    {"behavior", "behavior", "base", 0, 0},
    {"delegatemanager", "delegate", "base", 8, 0},
    {"dependent", "dependnt", "base", 0, 0},
    {"collection", "collectn", "dependent", 0, 49},
    {"bag", "bag", "collection", 0, 72},
    {"sequencedcollection", "sequence", "collection", 0, 49},
    {"arrayedcollection", "arrayed", "sequencedcollection", 0, 49},
    {"array", "array", "arrayedcollection", 0, 49},
    {"bytearray", "bytearry", "array", 0, 49},
    {"characterarray", "chararry", "array", 0, 49},
    {"dynamicarrayedcollection", "dynarray", "sequencedcollection", 0, 68},
    {"orderedcollection", "ordrdcll", "dynamicarrayedcollection", 0, 68},
    {"sortedcollection", "srtdclln", "dynamicarrayedcollection", 0, 177},
    {"valueset", "valueset", "collection", 0, 68},
    {"dictionary", "dictinry", "valueset", 0, 128},
    {"identitydictionary", "idictnry", "dictionary", 0, 128},
    {"symboltable", "symbtab", "dictionary", 0, 0},
    {"identityset", "iset", "valueset", 0, 68},
    {"dbcscharacterarray", "dbcsarry", "dependent", 0, 17},
    {"entrycallback", "entrycll", "dependent", 0, 236},
    {"callback", "callback", "entrycallback", 0, 260},
    {"threadedcallback", "mcallbck", "callback", 0, 260},
    {"exceptionmanager", "exptnmgr", "dependent", 56, 0},
    {"event", "event", "base", 0, 12},
    {"filename", "filename", "base", 0, 25},
    {"intrinsic", "intrnsic", "base", 4, 1},
    {"association", "associtn", "intrinsic", 40, 1},
    {"cobolcomp5association", "compasoc", "association", 40, 1},
    {"picxtoobject", "picxtoob", "association", 40, 1},
    {"cobolcomp5", "comp5", "intrinsic", 4, 1},
    {"cobolcompx", "compx", "intrinsic", 4, 1},
    {"signedcobolcomp5", "scomp5", "cobolcomp5", 4, 1},
    {"cobolpicx", "picx", "intrinsic", 4, 1},
    {"cobolpicx32", "picx32", "cobolpicx", 4, 1},
    {"dbcspicx", "dbcspicx", "cobolpicx", 12, 1},
    {"messagefilehandler", "msgfh", "base", 0, 24},
    {"nilobject", "nil", "base", 0, 0},
    {"recursiveset", "recurset", "base", 16, 16},
    {"systemdictionary", "systemd", "base", 8, 0},
};

std::string nameOf(Ref classObject) {
    char buffer[30];
    oopsclassname(classObject.bits, buffer);
    const std::string_view view(buffer, sizeof buffer);
    return std::string(view.substr(0, view.find_last_not_of(' ') + 1));
}

TEST(ClassTree, HasAllFortyClassesWithTheirSuperclassesAndSizes) {
    EXPECT_EQ(libraryClasses().size(), std::size(classTree));
    for (const auto &row : classTree) {
        const auto classObject = classForProgram(row.program);
        ASSERT_TRUE(classObject) << row.program;
        EXPECT_EQ(nameOf(classObject), row.name);
        EXPECT_EQ(nameOf(superclassOf(classObject)), row.super) << row.name;
        const auto *family = familyOfClass(classObject);
        EXPECT_EQ(family->registeredClassData, row.classData) << row.name;
        EXPECT_EQ(family->registeredInstanceData, row.instanceData) << row.name;
    }
}

TEST(ClassTree, EveryMethodIsRegisteredOnceInLowerCase) {
    for (const auto classObject : allClasses()) {
        const auto *family = familyOfClass(classObject);
        for (const auto onClass : {true, false}) {
            std::set<std::string> names;
            for (const auto &method : family->methods(onClass).inOrder()) {
                const std::string name = selectorOf(method.selector).name;
                EXPECT_TRUE(names.insert(name).second) << family->name << " " << name;
                EXPECT_GE(method.parameters, 1);
                for (const char c : name) EXPECT_FALSE(c >= 'A' && c <= 'Z') << name;
            }
        }
    }
}

TEST(Registration, AClassProgramIsFoundInAnyCaseUpToASpace) {
    oops_ref one = 0, other = 0, missing = 5;
    oopsgetclassobject(&one, "ordrdcll");
    oopsgetclassobject(&other, "ORDRDCLL  ");
    oopsgetclassobject(&missing, "nosuchprogram");
    EXPECT_NE(one, 0u);
    EXPECT_EQ(one, other);
    EXPECT_EQ(missing, 0u);
}

void nothing(const oops_ref *, void *, void *) {}

TEST(Registration, RegisteringTwiceAnswersTheSameClass) {
    const auto first = OutsideClass("rttwice", "registrationtwice", classForProgram("base"))
                           .method("nothing", asMethod(nothing), 1)
                           .registerIt();
    const auto again = OutsideClass("rttwice", "registrationtwice", classForProgram("base")).registerIt();
    EXPECT_EQ(first, again);
}

TEST(Registration, WhatCannotBeRegisteredRaises107) {
    RaisedErrors errors;
    EXPECT_EQ(OutsideClass("ordrdcll", "mine", classForProgram("base")).registerIt(), null);
    EXPECT_EQ(OutsideClass("rtnosup", "nosuperclass", null).registerIt(), null);
    EXPECT_EQ(OutsideClass("rtgarb", "garbagesuperclass", Ref{0x2020202020202020}).registerIt(), null);
    EXPECT_EQ(OutsideClass("", "noprogram", classForProgram("base")).registerIt(), null);
    EXPECT_EQ(OutsideClass("rthuge", "huge", classForProgram("base"), 0, 0xFFFFFFF0).registerIt(), null);
    OutsideClass("rtnone", "none", classForProgram("base")).method("nothing", asMethod(nothing), 1).extend();
    EXPECT_EQ(errors.numbers(), std::vector<Count>(6, 107));
}

TEST(Registration, RecordsKeepTheirOrderAndTheirRoom) {
    std::byte record[OOPS_RECORD_SIZE + 64];
    oopsrecord(record, "program", "name", 0, 0, 0);
    EXPECT_EQ(oopsrecordmethod(record, sizeof record, "one", asMethod(nothing), 1, 0), 1);
    EXPECT_EQ(oopsrecordmethod(record, sizeof record, "late", asMethod(nothing), 1, OOPS_CLASS_METHOD), 0);
    EXPECT_EQ(oopsrecordmethod(record, sizeof record, "toolongforwhatisleftofit", asMethod(nothing), 1, 0), 0);
    EXPECT_EQ(oopsrecordmethod(record, sizeof record, "zero", asMethod(nothing), 0, 0), 0);
    EXPECT_EQ(oopsrecordmethod(record, sizeof record, "two", asMethod(nothing), 17, 0), 0);
}

} // namespace
} // namespace oocobol::test
