// What dictionaries do besides keeping their table as the model says (hash_model_test.cpp): both forms, by equality and
// by identity, with native loops and without.
#include <algorithm>

#include "tests/classes/collections/hash_model.h"

namespace oocobol::test {
namespace {

using Pairs = std::vector<std::pair<std::string, Count>>;

struct Kind {
    const char *program;
    bool ofObjects;
    bool native;
};

class Dictionaries : public testing::TestWithParam<Kind> {
protected:
    Dictionaries() { allowNativePaths(GetParam().native); }
    ~Dictionaries() override { allowNativePaths(true); }

    Ref make(Ref keyTemplate, Ref dataTemplate, Index size = 0) const {
        auto &create = GetParam().ofObjects ? SITE("ofassociationsauto") : SITE("ofvaluesauto");
        return send<Ref>(create, classForProgram(GetParam().program), keyTemplate, dataTemplate, size);
    }
    Ref dictionaryOf(const Pairs &pairs) const {
        static const auto ofWords =
            send<Ref>(SITE("newclass"), CLASS("associtn"), picX(4), comp5()); // one class: the dictionaries go together
        auto &create = GetParam().ofObjects ? SITE("ofassociations") : SITE("ofvalues");
        const auto made = send<Ref>(create, classForProgram(GetParam().program), ofWords, Index{0});
        for (const auto &[key, datum] : pairs) put(made, key, datum);
        return made;
    }
    static void put(Ref dictionary, const std::string &key, Count datum) {
        send(SITE("atput"), dictionary, area(padded(key, 4)), datum);
    }
    static Count at(Ref dictionary, const std::string &key) {
        return send<Count>(SITE("at"), dictionary, area(padded(key, 4)));
    }
    static std::string keyAt(Ref dictionary, oops_site &message, Count datum) {
        std::string key(4, '?');
        send(message, dictionary, Returning{{reinterpret_cast<std::byte *>(key.data())}}, datum);
        return key;
    }
    static Pairs pairsOf(Ref dictionary) {
        Pairs pairs;
        const Block note([&](void **arguments) {
            pairs.emplace_back(wordIn(arguments), static_cast<Count>(numberIn(arguments, 1)));
            return 0;
        });
        send(SITE("keysanddatado"), dictionary, note.ref());
        std::sort(pairs.begin(), pairs.end());
        return pairs;
    }
    Ref newAssociation(const std::string &key, Count datum, Ref dictionary) const {
        const Temporary other(send<Ref>(SITE("copyempty"), dictionary));
        put(other.ref(), key, datum);
        return send<Ref>(SITE("associationat"), other.ref(), area(padded(key, 4)));
    }
    // As an element: the bytes, or the reference.
    template <class Result = void>
    Result sendAssociation(oops_site &message, Ref dictionary, const std::string &key, Count datum) const {
        const auto bytes = padded(key, 4) + bytesOf(datum);
        if (!GetParam().ofObjects) return send<Result>(message, dictionary, area(bytes));
        const Temporary association(newAssociation(key, datum, dictionary));
        return send<Result>(message, dictionary, association.ref());
    }

    LeakCheck leaks;
    RaisedErrors errors;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Dictionaries,
                         testing::Values(Kind{"dictinry", false, true}, Kind{"dictinry", true, true},
                                         Kind{"dictinry", false, false}, Kind{"dictinry", true, false},
                                         Kind{"idictnry", false, true}, Kind{"idictnry", true, true},
                                         Kind{"idictnry", true, false}));

TEST_P(Dictionaries, ReplaceDataByKeyAndKeepTheFirstOfEqualAssociations) {
    const auto own = dictionaryOf({{"a", 1}, {"b", 2}, {"a", 3}});
    sendAssociation(SITE("add"), own, "b", 9);
    sendAssociation(SITE("add"), own, "c", 4);
    EXPECT_EQ(pairsOf(own), (Pairs{{"a", 3}, {"b", 2}, {"c", 4}}));
    EXPECT_TRUE(sendAssociation<bool>(SITE("includesassociation"), own, "c", 77));
    sendAssociation(SITE("removeassociation"), own, "a", 77);
    EXPECT_FALSE(sendAssociation<bool>(SITE("includesassociation"), own, "a", 3));
    EXPECT_EQ(pairsOf(own), (Pairs{{"b", 2}, {"c", 4}}));
    EXPECT_TRUE(errors.all.empty());
    finalize(own);
}

TEST_P(Dictionaries, LookAtDataAsACollection) {
    const auto own = dictionaryOf({{"a", 7}, {"b", 8}, {"c", 7}});
    EXPECT_TRUE(send<bool>(SITE("includes"), own, Count{8}));
    EXPECT_FALSE(send<bool>(SITE("includes"), own, Count{9}));
    EXPECT_EQ(send<Count>(SITE("occurrencesof"), own, Count{7}), 2u);
    std::string first; // in the order of slots
    for (Index slot = 12; slot >= 1; --slot) {
        if (send<Count>(SITE("basicdataat"), own, slot) == 7) first = answered(SITE("basickeyat"), own, 4, slot);
    }
    EXPECT_EQ(keyAt(own, SITE("keyatdata"), 7), first);
    EXPECT_EQ(keyAt(own, SITE("keyatdatabyidentity"), 8), "b   ");
    const auto keys = send<Ref>(SITE("keys"), own);
    const auto data = send<Ref>(SITE("data"), own);
    const auto associations = send<Ref>(SITE("associations"), own);
    EXPECT_TRUE(sendWord<bool>(SITE("includes"), keys, "c"));
    EXPECT_EQ(send<Count>(SITE("size"), keys), 3u);
    EXPECT_EQ(send<Count>(SITE("at"), data, Index{2}), 8u);
    EXPECT_EQ(sizeOf(associations), 3);
    const Block isSeven([](void **arguments) { return numberIn(arguments) == 7; });
    const auto selected = send<Ref>(SITE("select"), own, isSeven.ref());
    const auto rejected = send<Ref>(SITE("reject"), own, isSeven.ref());
    EXPECT_EQ(pairsOf(selected), (Pairs{{"a", 7}, {"c", 7}}));
    EXPECT_EQ(pairsOf(rejected), (Pairs{{"b", 8}}));
    EXPECT_TRUE(errors.all.empty());
    for (const auto made : {own, keys, data, associations, selected, rejected}) finalize(made);
}

TEST_P(Dictionaries, StopWalkingWhenTold) {
    const auto own = dictionaryOf({{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}});
    int visits = 0;
    const Block stopping([&](void **) {
        if (++visits % 2 == 0) send(SITE("quititeration"), own);
        return 0;
    });
    for (auto *walk : {&SITE("do"), &SITE("dowithoutcopy"), &SITE("keysdo"), &SITE("keysanddatado"),
                       &SITE("associationsdo"), &SITE("associationsdowithoutcopy")}) {
        visits = 0;
        send(*walk, own, stopping.ref());
        EXPECT_EQ(visits, 2) << (*walk).method;
    }
    finalize(own);
}

TEST_P(Dictionaries, OwnWhatTheyHold) {
    auto own = dictionaryOf({{"a", 1}, {"b", 2}});
    if (GetParam().ofObjects) {
        const auto handedOut = newAssociation("a", 5, own);
        const auto copy = send<Ref>(SITE("associationat"), own, area(padded("a", 4)));
        send(SITE("setdata"), copy, Count{99});
        EXPECT_EQ(at(own, "a"), 1u);
        for (const auto association : {handedOut, copy}) finalize(association);
    }
    const auto copied = send<Ref>(SITE("copy"), own);
    const auto deep = send<Ref>(SITE("deepcopy"), own);
    put(copied, "a", 6);
    put(deep, "c", 7);
    EXPECT_EQ(pairsOf(own), (Pairs{{"a", 1}, {"b", 2}}));
    EXPECT_EQ(pairsOf(deep), (Pairs{{"a", 1}, {"b", 2}, {"c", 7}}));
    send(SITE("replacecontentswith"), own, deep);
    EXPECT_EQ(pairsOf(own), pairsOf(deep));
    send(SITE("removeallassociations"), own, copied);
    EXPECT_EQ(pairsOf(own), (Pairs{{"c", 7}}));
    EXPECT_TRUE(errors.all.empty());
    for (const auto made : {own, copied}) finalize(made);
    send<Ref>(SITE("deepfinalize"), deep);
}

TEST_P(Dictionaries, CarryAssociationsOver) {
    const auto own = dictionaryOf({{"a", 1}});
    const auto other = dictionaryOf({{"a", 2}, {"b", 2}});
    const auto both = send<Ref>(SITE("concat"), own, other);
    EXPECT_EQ(pairsOf(both), (Pairs{{"a", 1}, {"b", 2}}));
    send(SITE("addall"), other, own);
    EXPECT_EQ(pairsOf(other), (Pairs{{"a", 2}, {"b", 2}}));
    EXPECT_TRUE(errors.all.empty());
    const Block any([](void **) { return 1; });
    const auto data = send<Ref>(SITE("data"), own);
    const auto wider = make(picX(8), comp5());
    send(SITE("addall"), own, data);
    send<Ref>(SITE("concat"), own, data);
    send<Ref>(SITE("collect"), own, any.ref());
    send<Ref>(SITE("detect"), own, any.ref());
    send(SITE("removeallassociations"), own, wider);
    send(SITE("replacecontentswith"), own, wider);
    EXPECT_EQ(errors.numbers(), std::vector<Count>(6, 10));
    EXPECT_EQ(pairsOf(own), (Pairs{{"a", 1}}));
    for (const auto made : {own, other, both, data, wider}) finalize(made);
}

TEST_P(Dictionaries, FinalizeTheirObjectsInDepth) {
    const auto own = make(null, null);
    send(SITE("atput"), own, text("key"), text("datum"));
    send(SITE("atput"), own, text("other"), null);
    send<Ref>(SITE("deepfinalizewithdepth"), own, Index{2});
    EXPECT_TRUE(errors.all.empty());
}

TEST_P(Dictionaries, SaySoWhenAKeyIsAbsent) {
    const auto own = dictionaryOf({{"a", 1}});
    errors.answers = true;
    errors.answer = 0x1122334455667788;
    EXPECT_EQ(at(own, "b"), 0x55667788u);
    EXPECT_EQ(send<Count>(SITE("atornil"), own, area(padded("b", 4))), 0u);
    EXPECT_EQ(keyAt(own, SITE("keyatdata"), 3), "\x88\x77\x66\x55");
    errors.answers = false;
    EXPECT_EQ(keyAt(own, SITE("keyatdatabyidentity"), 3), std::string(4, '\0'));
    send(SITE("removekey"), own, area(padded("b", 4)));
    send<Ref>(SITE("associationat"), own, area(padded("b", 4)));
    sendAssociation(SITE("removeassociation"), own, "b", 1);
    EXPECT_EQ(errors.numbers(), std::vector<Count>(6, 12));
    send(SITE("remove"), own);
    send<Ref>(SITE("ofreferences"), classForProgram(GetParam().program));
    send<Ref>(SITE("withall"), classForProgram(GetParam().program));
    EXPECT_EQ(errors.numbers(), std::vector<Count>(3, 16));
    send<Ref>(SITE("ofvalues"), classForProgram(GetParam().program), CLASS("associtn"), Index{-1});
    send<Ref>(SITE("ofassociations"), classForProgram(GetParam().program), picX(4), Index{1});
    send<Ref>(SITE("copyemptywithsize"), own, Index{-1});
    EXPECT_EQ(errors.numbers(), std::vector<Count>(3, 33));
    EXPECT_EQ(pairsOf(own), (Pairs{{"a", 1}}));
    finalize(own);
}

TEST_P(Dictionaries, StayAsTheyWereWhenMemoryIsShort) {
    const auto own = dictionaryOf({{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}, {"e", 5}, {"f", 6}, {"g", 7}, {"h", 8}});
    ASSERT_EQ(send<Count>(SITE("capacity"), own), 12u);
    const auto before = pairsOf(own);
    for (std::uint64_t n = 1;; ++n) {
        const auto objects = countInstances(null);
        AllocationFaults::failAt(n, true);
        put(own, "i", 9);
        const auto reached = AllocationFaults::count() >= n;
        AllocationFaults::failAt(0, false);
        // What failed may have been but the memory to remember a lookup: then the association is in.
        if (!reached || errors.numbers().empty()) break;
        ASSERT_EQ(countInstances(null), objects) << n;
        ASSERT_EQ(pairsOf(own), before) << n;
    }
    EXPECT_EQ(at(own, "i"), 9u);
    for (std::uint64_t n = 1;; ++n) {
        const auto objects = countInstances(null);
        AllocationFaults::failAt(n, false);
        const auto copy = send<Ref>(SITE("copy"), own);
        const auto reached = AllocationFaults::count() >= n;
        AllocationFaults::failAt(0, false);
        if (copy) {
            EXPECT_EQ(pairsOf(copy), pairsOf(own)) << n;
            finalize(copy);
        }
        ASSERT_EQ(countInstances(null), objects) << n;
        if (!reached) break;
    }
    finalize(own);
}

TEST(IdentityDictionary, MatchesObjectsByIdentityAndKeysByEveryByte) {
    const LeakCheck leaks;
    const RaisedErrors errors;
    const auto one = text("same"), other = text("same");
    const auto own = send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("associtn"), Index{0});
    send(SITE("atput"), own, one, other);
    send(SITE("atput"), own, other, one);
    EXPECT_EQ(send<Ref>(SITE("at"), own, one), other);
    finalize(other);
    EXPECT_EQ(send<Ref>(SITE("at"), own, other), one); // what is gone keeps its identity
    send(SITE("removekey"), own, other);
    EXPECT_FALSE(send<Ref>(SITE("atornil"), own, other));
    EXPECT_EQ(send<Ref>(SITE("at"), own, one), other);
    finalize(own);
    finalize(one);

    const auto names = send<Ref>(SITE("ofvaluesauto"), CLASS("idictnry"), picX(2), comp5(), Index{10000});
    send(SITE("atput"), names, area(std::string("ab")), Count{1});
    send(SITE("atput"), names, area(std::string("a ")), Count{2});
    send(SITE("atput"), names, area(std::string("a\0", 2)), Count{3});
    EXPECT_EQ(send<Count>(SITE("size"), names), 3u);
    EXPECT_TRUE(send<bool>(SITE("isoccuppiedat"), names, Index{97 * 47 + 98 + 1}));
    EXPECT_TRUE(errors.all.empty());
    finalize(names);
}

} // namespace
} // namespace oocobol::test
