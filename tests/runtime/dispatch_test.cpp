// Sends: which method runs, with what arguments.
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

std::vector<std::string> log;

void note(const char *what) { log.emplace_back(what); }
std::vector<std::string> logged() {
    auto taken = log;
    log.clear();
    return taken;
}

struct Data {
    std::uint32_t number;
};

oops_super_site superDescribe = OOPS_SUPER_SITE("dtmiddle", "describe");

void rootDescribe(const oops_ref *, void *, void *) { note("root"); }
void middleDescribe(const oops_ref *self, void *data, void *) {
    note("middle");
    oopsresolvetosuper(&superDescribe, self, data, 1, nullptr);
}
void leafOther(const oops_ref *, void *, void *) { note("leaf other"); }
void addUp(const oops_ref *, Data *data, std::uint32_t *sum, const std::uint32_t *a, const std::uint32_t *b,
           const std::uint32_t *c) {
    *sum = data->number + (a ? *a : 100) + (b ? *b : 200) + (c ? *c : 300);
}
void setNumber(const oops_ref *, Data *data, void *, const std::uint32_t *value) { data->number = *value; }
void initialNumber(void *data) { static_cast<Data *>(data)->number = 7; }
int initialised = 0;
void initializeClass(const oops_ref *, void *, void *) { ++initialised; }
void classMade(const oops_ref *, std::uint32_t *classData, std::uint32_t *made) { *made = ++*classData; }

// Root, middle and leaf, each with data of its own.
struct Classes {
    Ref root, middle, leaf;
    static const Classes &get() {
        static const Classes classes = [] {
            Classes made;
            std::vector<std::byte> record(4096);
            oopsrecord(record.data(), "dtroot", "dispatchtestroot", classForProgram("base").bits, 4, sizeof(Data));
            oopsrecordmethod(record.data(), record.size(), "initializeclass", asMethod(initializeClass), 1,
                             OOPS_CLASS_METHOD);
            oopsrecordmethod(record.data(), record.size(), "made", asMethod(classMade), 1, OOPS_CLASS_METHOD);
            oopsrecordmethod(record.data(), record.size(), "describe", asMethod(rootDescribe), 1, 0);
            oopsrecordmethod(record.data(), record.size(), "addup", asMethod(addUp), 4, 0);
            oopsrecordmethod(record.data(), record.size(), "setnumber", asMethod(setNumber), 2, 0);
            const oops_initialiser initialiser = initialNumber;
            std::memcpy(record.data() + 40, &initialiser, sizeof initialiser);
            oops_ref result = 0;
            oopsnewclass2(record.data(), &result);
            made.root = Ref{result};
            made.middle = OutsideClass("dtmiddle", "dispatchtestmiddle", made.root, 0, 12)
                              .method("describe", asMethod(middleDescribe), 1)
                              .registerIt();
            made.leaf = OutsideClass("dtleaf", "dispatchtestleaf", made.middle).registerIt();
            return made;
        }();
        return classes;
    }
};

TEST(Sends, ASuperSendStartsAboveTheSendersClass) {
    logged();
    const auto leaf = createInstance(Classes::get().leaf);
    send(SITE("describe"), leaf);
    EXPECT_EQ(logged(), (std::vector<std::string>{"middle", "root"}));
    cancelObject(leaf);
}

TEST(Sends, NamesInDataMatchInAnyCaseUpToSpaceOrNull) {
    const auto object = createInstance(Classes::get().root);
    std::uint64_t cache = 0, second = 0;
    for (const char *name : {"DESCRIBE ", "describe", "DescriBe  junk behind"}) {
        logged();
        cobinvoke2(object.bits, name, &second, &cache, 1, nullptr);
        EXPECT_EQ(logged(), std::vector<std::string>{"root"}) << name;
    }
    // The cache word holds another message's lookup, or rubbish: the right method runs all the same.
    for (const auto left : {cache, std::uint64_t{0xFFFFFFFFFFFFFFFF}, std::uint64_t{12345}}) {
        auto word = left;
        std::uint32_t sum = 0, one = 1;
        cobinvoke2(object.bits, "addup", nullptr, &word, 2, &sum, &one);
        EXPECT_EQ(sum, 7u + 1 + 200 + 300);
    }
    oopsfreecache(&cache);
    EXPECT_EQ(cache, 0u);
    cancelObject(object);
}

TEST(Sends, ArgumentsLeftOutArriveAsNull) {
    const auto object = createInstance(Classes::get().root);
    static oops_site site = OOPS_SITE("addup");
    std::uint32_t sum = 0, a = 1, b = 2, c = 3;
    oopsresolve(&site, object.bits, 1, &sum);
    EXPECT_EQ(sum, 607u);
    oopsresolve(&site, object.bits, 3, &sum, &a, &b);
    EXPECT_EQ(sum, 7u + 1 + 2 + 300);
    oopsresolve(&site, object.bits, 4, &sum, nullptr, &b, &c);
    EXPECT_EQ(sum, 7u + 100 + 2 + 3);
    void *list[] = {&sum, &a, &b, &c};
    oopsresolvelist(object.bits, &site, list, 4);
    EXPECT_EQ(sum, 13u);
    cancelObject(object);
}

TEST(Sends, EachClassOfAChainHasItsOwnData) {
    const auto object = createInstance(Classes::get().leaf);
    std::uint32_t value = 41, sum = 0, zero = 0;
    send(SITE("setnumber"), object, value);
    static oops_site site = OOPS_SITE("addup");
    oopsresolve(&site, object.bits, 4, &sum, &zero, &zero, &zero);
    EXPECT_EQ(sum, 41u);
    EXPECT_EQ(headerOf(bodyOf(object))->size, 8u + 12u);
    cancelObject(object);
}

TEST(Sends, AStaticSendRunsOverBareData) {
    Data data{30};
    static oops_site site = OOPS_SITE("addup");
    std::uint32_t sum = 0, one = 1;
    oopsresolvestatic(&site, Classes::get().root.bits, &data, 4, &sum, &one, &one, &one);
    EXPECT_EQ(sum, 33u);
}

TEST(Sends, ClassObjectsAnswerWhatBehaviorAndBaseAnswer) {
    const auto leaf = Classes::get().leaf;
    EXPECT_EQ(send<Ref>(SITE("superclass"), leaf), Classes::get().middle);
    EXPECT_TRUE(send<bool>(SITE("isclass"), leaf));
    EXPECT_EQ(send<Ref>(SITE("class"), leaf), classForProgram("behavior"));
    const auto made = send<Ref>(SITE("new"), leaf);
    EXPECT_EQ(send<Ref>(SITE("class"), made), leaf);
    cancelObject(made);
}

TEST(Sends, NullAnswersAsBaseThenAsTheNullObject) {
    RaisedErrors errors;
    EXPECT_EQ(send<Count>(SITE("sizeinbytes"), null), 8u);  // base
    EXPECT_FALSE(send<bool>(SITE("storingobjects"), null)); // nilobject
    EXPECT_TRUE(errors.all.empty());
    send<Ref>(SITE("copy"), null);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{27});
    send<bool>(SITE("equal"), null, null);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{7});
    send(SITE("nosuchmessage"), null);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
}

TEST(Sends, WhatNobodyUnderstandsRaises24AndIsRemembered) {
    RaisedErrors errors;
    const auto object = createInstance(Classes::get().root);
    for (int i = 0; i < 3; ++i) send(SITE("nosuchmessage"), object);
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{24, 24, 24}));
    const auto name = send<Ref>(SITE("whatdidntiunderstand"), object);
    EXPECT_EQ(valueOf(name), "nosuchmessage");
    finalize(name);
    finalize(object);
}

TEST(Sends, AnExtensionReachesSitesThatHaveResolvedBefore) {
    RaisedErrors errors;
    const auto leaf = createInstance(Classes::get().leaf);
    static oops_site site = OOPS_SITE("other");
    logged();
    oopsresolve(&site, leaf.bits, 1, nullptr);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
    OutsideClass("dtroot", "dispatchtestroot", classForProgram("base"))
        .method("other", asMethod(leafOther), 1)
        .extend();
    oopsresolve(&site, leaf.bits, 1, nullptr);
    EXPECT_EQ(logged(), std::vector<std::string>{"leaf other"});
    EXPECT_TRUE(errors.all.empty());
    finalize(leaf);
}

TEST(Sends, ClassDataAndInitializeClassAreEachClassesOwn) {
    const auto &classes = Classes::get();
    EXPECT_EQ(initialised, 3) << "once for the class and once for each subclass that inherits it";
    const auto before = send<Count>(SITE("made"), classes.root);
    EXPECT_EQ(send<Count>(SITE("made"), classes.root), before + 1);
    EXPECT_EQ(send<Count>(SITE("made"), classes.leaf), 1u);
}

void throwing(const oops_ref *, void *, void *) { throw 1; }

TEST(Sends, AnExceptionStopsAtTheMethodThatLetItOut) {
    RaisedErrors errors;
    const auto thrower = OutsideClass("dtthrow", "dispatchtestthrower", classForProgram("base"))
                             .classMethod("throw", asMethod(throwing), 1)
                             .registerIt();
    send(SITE("throw"), thrower);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{109});
}

void again(const oops_ref *self, void *data, void *) {
    static oops_site site = OOPS_SITE("again");
    oopsresolveself(&site, self, data, 1, nullptr);
}

TEST(Sends, EndlessRecursionEndsInAnErrorAndTheRunGoesOn) {
    RaisedErrors errors;
    const auto endless = OutsideClass("dtagain", "dispatchtestagain", classForProgram("base"))
                             .classMethod("again", asMethod(again), 1)
                             .registerIt();
    for (int i = 0; i < 2; ++i) {
        send(SITE("again"), endless);
        EXPECT_EQ(errors.numbers(), std::vector<Count>{108});
    }
}

TEST(Sends, MethodsThatLoseTheirObjectWorkOnNothing) {
    // The handler of an error inside a method finalizes the receiver of that very method.
    LeakCheck leaks;
    RaisedErrors errors;
    const auto collection = send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), comp5(), Index{4});
    errors.action = [&](Ref object, Count) {
        if (object == collection) send<Ref>(SITE("finalize"), collection);
    };
    Count element = 0;
    send(SITE("at"), collection, Returning{{reinterpret_cast<std::byte *>(&element)}}, Index{9});
    EXPECT_EQ(errors.numbers().front(), 3u);
    EXPECT_FALSE(isLive(collection));
}

} // namespace
} // namespace oocobol::test
