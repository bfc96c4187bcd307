// Sends: which method runs, with what arguments.
#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

std::string log;

struct Data {
    std::uint32_t number;
};
int initialised = 0;

void middleDescribe(const oops_ref *self, void *data, void *) {
    static oops_super_site super = OOPS_SUPER_SITE("dtmiddle", "describe");
    log += "middle ";
    oopsresolvetosuper(&super, self, data, 1, nullptr);
}
void addUp(const oops_ref *, Data *data, std::uint32_t *sum, const std::uint32_t *a, const std::uint32_t *b,
           const std::uint32_t *c) {
    *sum = data->number + (a ? *a : 100) + (b ? *b : 200) + (c ? *c : 300);
}
void again(const oops_ref *self, void *data, void *) {
    static oops_site site = OOPS_SITE("again");
    oopsresolveself(&site, self, data, 1, nullptr);
}

// Root, middle and leaf, each with data of its own.
class Sends : public ::testing::Test {
protected:
    Sends() { log.clear(); }
    ~Sends() override { cancelObject(object); }
    static inline Ref root, middle, leaf;
    static void SetUpTestSuite() {
        using Self = const oops_ref *;
        root = OutsideClass("dtroot", "dispatchtestroot", classForProgram("base"), 4, sizeof(Data))
                   .classMethod("initializeclass", [](Self, void *, void *) { ++initialised; })
                   .classMethod("made", [](Self, Count *classData, Count *made) { *made = ++*classData; })
                   .classMethod("throw", [](Self, void *, void *) { throw 1; })
                   .classMethod("again", again)
                   .method("describe", [](Self, void *, void *) { log += "root "; })
                   .method("addup", addUp)
                   .method("setnumber", [](Self, Data *data, void *, const Count *value) { data->number = *value; })
                   .initialiser([](void *data) { static_cast<Data *>(data)->number = 7; })
                   .registerIt();
        middle =
            OutsideClass("dtmiddle", "dispatchtestmiddle", root, 0, 12).method("describe", middleDescribe).registerIt();
        leaf = OutsideClass("dtleaf", "dispatchtestleaf", middle).registerIt();
    }
    const Ref object = createInstance(leaf);
};

TEST_F(Sends, RunTheNearestMethodOverItsClassesData) {
    says(object,
         "describe; addup -> 607; addup 1, 2 -> 310; addup -, 2, 3 -> 112; setnumber 41; addup 0, 0, 0 -> 41; "
         "class -> $1; $1 superclass -> $2; $1 isclass -> 1; $1 class -> $behavior; "
         "nosuchmessage -> error 24; nosuchmessage -> error 24; whatdidntiunderstand -> 'nosuchmessage'",
         {leaf, middle});
    EXPECT_EQ(log, "middle root ");
    EXPECT_EQ(headerOf(bodyOf(object))->size, 8u + 12u);
}

TEST_F(Sends, NamesInDataMatchInAnyCaseUpToSpaceOrNull) {
    std::uint64_t cache = 0, second = 0;
    for (const char *name : {"DESCRIBE ", "describe", "DescriBe  junk behind"})
        cobinvoke2(object.bits, name, &second, &cache, 1, nullptr);
    EXPECT_EQ(log, "middle root middle root middle root ");
    // The cache word holds another message's lookup, or rubbish: the right method runs all the same.
    for (const auto left : {cache, std::uint64_t{0xFFFFFFFFFFFFFFFF}, std::uint64_t{12345}}) {
        auto word = left;
        std::uint32_t sum = 0, one = 1;
        cobinvoke2(object.bits, "addup", nullptr, &word, 2, &sum, &one);
        EXPECT_EQ(sum, 7u + 1 + 200 + 300);
    }
    oopsfreecache(&cache);
    EXPECT_EQ(cache, 0u);
}

TEST_F(Sends, PassArgumentsInListsOfAllKindsAndOverBareData) {
    static oops_site site = OOPS_SITE("addup");
    std::uint32_t sum = 0, a = 1, b = 2, c = 3;
    oopsresolve(&site, object.bits, 1, &sum);
    EXPECT_EQ(sum, 607u);
    oopsresolve(&site, object.bits, 4, &sum, nullptr, &b, &c);
    EXPECT_EQ(sum, 7u + 100 + 2 + 3);
    oopsresolve(&site, object.bits, 0, &sum); // a count that is none
    EXPECT_EQ(sum, 607u);
    const Temporary inOrder(block([](void **arguments) {
        std::int64_t digits = 0;
        for (int i = 0; i < 9; ++i) digits = digits * 10 + valueIn<std::int64_t>(arguments[i]);
        return digits;
    }));
    static oops_site invoke = OOPS_SITE("invoke");
    std::int64_t digits = 0, n[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    oopsresolve(&invoke, inOrder.ref().bits, 10, &digits, n, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8);
    EXPECT_EQ(digits, 123456789);
    void *list[] = {&sum, &a, &b, &c};
    oopsresolvelist(object.bits, &site, list, 4);
    EXPECT_EQ(sum, 13u);
    Data data{30};
    oopsresolvestatic(&site, root.bits, &data, 4, &sum, &a, &a, &a);
    EXPECT_EQ(sum, 33u);
}

TEST_F(Sends, ToNullAreAnsweredByBaseThenByTheNullObject) {
    says(null,
         "sizeinbytes -> 8; storingobjects -> 0; copy -> error 27; equal nil -> error 7; nosuchmessage -> error 24");
}

TEST_F(Sends, ReachAnExtensionFromSitesThatHaveResolvedBefore) {
    says(object, "other -> error 24");
    OutsideClass("dtroot", "dispatchtestroot", classForProgram("base"))
        .method("other", [](const oops_ref *, void *, void *) { log += "other "; })
        .extend();
    says(object, "other");
    EXPECT_EQ(log, "other ");
}

TEST_F(Sends, ClassDataAndInitializeClassAreEachClassesOwn) {
    EXPECT_EQ(initialised, 3) << "once for the class and once for each subclass that inherits it";
    says(root, "made -> 1; made -> 2; $1 made -> 1", {leaf});
}

TEST_F(Sends, StopExceptionsAndEndlessRecursionAndTheRunGoesOn) {
    says(root, "throw -> error 109; again -> error 108; again -> error 108");
}

} // namespace
} // namespace oocobol::test
