// What dictionaries do besides keeping their table as the model says (hash_model_test.cpp): both forms, by equality and
// by identity, with native loops and without.
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

struct Kind {
    const char *program;
    bool ofObjects;
    bool native;
};

class Dictionaries : public KindsTest<Kind> {
protected:
    Ref make(Ref keys, Ref data) const {
        auto &create = GetParam().ofObjects ? SITE("ofassociationsauto") : SITE("ofvaluesauto");
        return send<Ref>(create, ofProgram, keys, data, Index{0});
    }
    const Ref ofProgram = classForProgram(GetParam().program);
    // Of letters and the numbers behind them: "a1 b2".
    Ref dictionaryOf(std::string_view pairs) const {
        static const auto ofWords =
            send<Ref>(SITE("newclass"), CLASS("associtn"), picX(4), comp5()); // one class: the dictionaries go together
        auto &create = GetParam().ofObjects ? SITE("ofassociations") : SITE("ofvalues");
        return filled(send<Ref>(create, ofProgram, ofWords, Index{0}), pairs);
    }
    // As an element: the bytes, or the reference.
    template <class Result = void>
    Result sendAssociation(oops_site &message, Ref dictionary, const std::string &key, Count datum) const {
        const auto bytes = padded(key, 4) + bytesOf(datum);
        if (!GetParam().ofObjects) return send<Result>(message, dictionary, area(bytes));
        const Temporary other(filled(send<Ref>(SITE("copyempty"), dictionary), key + std::to_string(datum)));
        const Temporary association(send<Ref>(SITE("associationat"), other.ref(), area(bytes)));
        return send<Result>(message, dictionary, association.ref());
    }
};
INSTANTIATE_TEST_SUITE_P(Kinds, Dictionaries,
                         testing::Values(Kind{"dictinry", false, true}, Kind{"dictinry", true, true},
                                         Kind{"dictinry", false, false}, Kind{"dictinry", true, false},
                                         Kind{"idictnry", false, true}, Kind{"idictnry", true, true},
                                         Kind{"idictnry", true, false}));

TEST_P(Dictionaries, ReplaceDataByKeyAndKeepTheFirstOfEqualAssociations) {
    const Temporary own(dictionaryOf("a1 b2 a3"));
    sendAssociation(SITE("add"), own.ref(), "b", 9);
    sendAssociation(SITE("add"), own.ref(), "c", 4);
    says(own, "* -> (a3 b2 c4)");
    EXPECT_TRUE(sendAssociation<bool>(SITE("includesassociation"), own.ref(), "c", 77));
    sendAssociation(SITE("removeassociation"), own.ref(), "a", 77);
    EXPECT_FALSE(sendAssociation<bool>(SITE("includesassociation"), own.ref(), "a", 3));
    sendAssociation(SITE("removeassociation"), own.ref(), "a", 1);
    EXPECT_EQ(errors.numbers(), std::vector<Count>{12});
    says(own, "* -> (b2 c4)");
}

TEST_P(Dictionaries, LookAtDataAsACollection) {
    const Temporary own(dictionaryOf("a7 b8 c7"));
    std::string first; // in the order of slots
    for (Index slot = 12; slot >= 1; --slot) {
        if (send<Count>(SITE("basicdataat"), own.ref(), slot) == 7)
            first = answered(SITE("basickeyat"), own.ref(), 4, slot);
    }
    const Block isSeven([](void **arguments) { return numberIn(arguments) == 7; });
    says(own,
         "includes 8 -> 1; includes 9 -> 0; occurrencesof 7 -> 2; keyatdatabyidentity 8 -> [b   ]; keys -> (a b c); "
         "data -> it; it at 2 -> 8; it finalize; associations -> it; it size -> 3; it finalize; "
         "select $1 -> (a7 c7); reject $1 -> (b8); keyatdata 7 -> [" +
             first + "]",
         {isSeven});
}

TEST_P(Dictionaries, StopWalkingWhenTold) {
    const Temporary own(dictionaryOf("a1 b2 c3 d4"));
    int visits = 0;
    const Block stopping([&](void **) {
        if (++visits % 2 == 0) send(SITE("quititeration"), own.ref());
        return 0;
    });
    says(own, "do $1; dowithoutcopy $1; keysdo $1; keysanddatado $1; associationsdo $1; associationsdowithoutcopy $1",
         {stopping});
    EXPECT_EQ(visits, 12);
}

TEST_P(Dictionaries, OwnWhatTheyHold) {
    const Temporary own(dictionaryOf("a1 b2"));
    if (GetParam().ofObjects) {
        const Temporary copy(send<Ref>(SITE("associationat"), own.ref(), area(padded("a", 4))));
        says(copy.ref(), "setdata 99; $1 at a -> 1", {own.ref()});
    }
    const Temporary copied(send<Ref>(SITE("copy"), own.ref()));
    const auto deep = send<Ref>(SITE("deepcopy"), own.ref());
    says(own,
         "$1 atput a, 6; $2 atput c, 7; * -> (a1 b2); $2 * -> (a1 b2 c7); replacecontentswith $2; * -> (a1 b2 c7); "
         "removeallassociations $1; * -> (c7); $2 deepfinalize",
         {copied, deep});

    const auto objects = make(null, null);
    says(objects, "atput $1, $2; atput $3, $4", {text("key"), text("datum"), text("other"), null});
    send<Ref>(SITE("deepfinalizewithdepth"), objects, Index{2});
}

TEST_P(Dictionaries, CarryAssociationsOver) {
    const Temporary own(dictionaryOf("a1")), other(dictionaryOf("a2 b2")), data(send<Ref>(SITE("data"), own.ref())),
        wider(make(picX(8), comp5()));
    const Block any([](void **) { return 1; });
    says(own,
         "concat $4 -> (a1 b2); $4 addall $5; $4 * -> (a2 b2); "
         "addall $1 -> error 10; concat $1 -> error 10; collect $2 -> error 10; detect $2 -> error 10; "
         "removeallassociations $3 -> error 10; replacecontentswith $3 -> error 10; * -> (a1)",
         {data, any, wider, other, own});
}

TEST_P(Dictionaries, SaySoWhenAKeyIsAbsent) {
    const Temporary own(dictionaryOf("a1"));
    errors.answers = true;
    errors.answer = 0x1122334455667788;
    EXPECT_EQ(send<Count>(SITE("at"), own.ref(), area(padded("b", 4))), 0x55667788u);
    std::string key(5, '?');
    send(SITE("keyatdata"), own.ref(), into(key), Count{3});
    EXPECT_EQ(key, "\x88\x77\x66\x55?");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12, 12}));
    errors.answers = false;
    EXPECT_EQ(answered(SITE("keyatdatabyidentity"), own.ref(), 4, 3), std::string(4, '\0'));
    EXPECT_EQ(errors.numbers(), std::vector<Count>{12});
    says(own, "atornil b -> 0; removekey b -> error 12; associationat b -> error 12; remove -> error 16; "
              "copyemptywithsize -1 -> error 33; * -> (a1)");
    says(ofProgram,
         "ofreferences -> error 16; withall -> error 16; ofvalues $1, -1 -> error 33; "
         "ofassociations $2, 1 -> error 33",
         {CLASS("associtn"), picX(4)});
}

TEST_P(Dictionaries, ChangeWhollyOrNotAtAllWhenMemoryIsShort) {
    const Temporary own(dictionaryOf("a1 b2 c3 d4 e5 f6 g7 h8"));
    says(own, "capacity -> 12");
    allOrNothing(own.ref(), wordsIn, [&] { return filled(own.ref(), "i9"), null; });
    allOrNothing(own.ref(), wordsIn, [&] { return send<Ref>(SITE("copy"), own.ref()); });
}

class IdentityDictionary : public CollectionTest {};

TEST_F(IdentityDictionary, MatchesObjectsByIdentityAndKeysByEveryByte) {
    const Temporary one(text("same")), own(send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("associtn"), Index{0}));
    const auto other = text("same");
    says(own.ref(), "atput $1, $2; atput $2, $1; at $1 -> $2", {one.ref(), other});
    finalize(other); // what is gone keeps its identity
    says(own.ref(), "at $2 -> $1; removekey $2; atornil $2 -> nil; at $1 -> $2", {one.ref(), other});

    const Temporary names(send<Ref>(SITE("ofvaluesauto"), CLASS("idictnry"), picX(2), comp5(), Index{10000}));
    // "ab" hashes to 97 * 47 + 98; "a" has a null behind it.
    says(names.ref(), "atput 'ab', 1; atput 'a ', 2; atput 'a', 3; size -> 3; isoccuppiedat 4658 -> 1");
}

} // namespace
} // namespace oocobol::test
