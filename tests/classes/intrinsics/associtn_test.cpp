// Associations: their classes, their parts, comparing by key, texts, and going deeper.
#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

Ref classFor(Ref key, Ref datum) { return send<Ref>(SITE("newclass"), CLASS("associtn"), key, datum); }
Ref association(Ref ofClass, const char *key, Count datum) {
    return send<Ref>(SITE("keydata"), ofClass, Bytes{key}, datum);
}

TEST(Associations, HaveAClassForEachPairOfTemplates) {
    const auto ofItems = classFor(picX(10), comp5());
    EXPECT_NE(classFor(picX(10), comp5()), ofItems);
    EXPECT_EQ(classFor(null, comp5()), classFor(null, comp5()));
    says(CLASS("associtn"),
         "newclass nil, nil -> $associtn; newclass $comp5, nil -> $compasoc; newclass $1, $comp5 -> error 30 -> nil; "
         "sizeinbytes -> 16; getkeysize -> 8; getdatasize -> 8; storingobjects -> 0; "
         "$compasoc sizeinbytes -> 12; $compasoc getkeysize -> 4; $compasoc getdatasize -> 8; "
         "$picxtoob sizeinbytes -> 40; $picxtoob getkeysize -> 32; $picxtoob getkeytemplate -> $picx32; "
         "$2 sizeinbytes -> 14; $2 getkeysize -> 10; $2 getdatasize -> 4; $2 baseclass -> $associtn",
         {picX(0x0FFFFFFF), ofItems});
}

TEST(Associations, CompareAndHashByKey) {
    const auto ofClass = classFor(picX(4), comp5());
    const Temporary one(association(ofClass, "k   ", 1)), other(association(ofClass, "k   ", 2));
    says(one,
         "equal $1 -> 1; lessthan $2 -> 1; $2 greaterthan $1 -> 1; hash -> 107; $1 hash -> 107; "
         "ascharacterarray -> '(\"k   \"->1)'; setvalue {w   abcd}; getvalue -> [w   abcd]",
         {other, Temporary(association(ofClass, "m   ", 1))});
    EXPECT_TRUE(sendOver<bool>(SITE("equalbylengthvalue"), ofClass, "k   1234", Index{8}, Bytes{"k   5678"}));
}

TEST(Associations, ReachTheirObjects) {
    const auto key = text("key"), datum = text("datum");
    const auto both = send<Ref>(SITE("keydata"), CLASS("associtn"), key, datum);
    const Temporary bare(send<Ref>(SITE("key"), CLASS("associtn"), null));
    const auto copy = send<Ref>(SITE("deepcopy"), both);
    says(copy, "getdata -> it; it * -> 'datum'; deepfinalizewithdepth 1; $1 * -> 'key'", {key});
    says(CLASS("associtn"),
         "key $1 -> it; it getdata -> nil; it equal $2 -> 1; it deepfinalizewithdepth 0; "
         "$3 deepcopy -> it; it deepfinalize; $1 * -> 'key'",
         {key, both, bare.ref()});
    send<Ref>(SITE("deepfinalize"), both);
    EXPECT_FALSE(isLive(key) || isLive(datum));
}

// What is shorter or longer than its class says by now is neither read nor written beyond its end.
TEST(Associations, SurviveAClassThatChanges) {
    const auto ofClass = classFor(picX(4), comp5());
    const Temporary made(association(ofClass, "key ", 7));
    const Temporary table(send<Ref>(SITE("ofassociations"), CLASS("dictinry"), ofClass, Index{10}));
    says(table.ref(), "atput {key }, 7; $1 setkeytype $2; $3 getkey; $3 hash; copy -> it; it finalize",
         {ofClass, picX(400), made.ref()});
    const RaisedErrors errors;
    send<Count>(SITE("at"), table.ref(), area(std::string("key ")));
}

} // namespace
} // namespace oocobol::test
