// Growing collections: where elements lie in the storage, adding and removing at every place, ranges. What is done at
// random, and every operation natively and by messages, is the fuzzer's.
#include "classes/collections/collection.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Growing : public CollectionTest {
protected:
    // The bytes of all slots, occupied or not: a letter, '_' for zeros, '.' for spaces.
    static std::string slotsOf(const Temporary &list) {
        std::string slots;
        for (Count slot = 1; slot <= send<Count>(SITE("capacity"), list.ref()); ++slot) {
            const auto first = answered(SITE("privateat"), list.ref(), 4, static_cast<Index>(slot))[0];
            slots += first == '\0' ? '_' : first == ' ' ? '.' : first;
        }
        return slots;
    }
};

TEST_F(Growing, GrowsWhereItIsFullAndSlidesWhereItIsNot) {
    const Temporary none(newCollection("dynarray", 4, 0)), three(listOf({"a", "b", "c"})),
        start(newCollection("ordrdcll", 4, 0)), four(listOf({"a", "b", "c", "d"}));
    add(none.ref(), "a");
    EXPECT_EQ(slotsOf(none), "a...................");
    add(three.ref(), "d");
    EXPECT_EQ(slotsOf(three), "abcd......................");
    says(start.ref(), "addfirst a");
    EXPECT_EQ(slotsOf(start), "_________a.........."); // grown to 20, half of it before
    says(start.ref(), "addfirst b; addlast c; * -> (b a c)");
    says(four.ref(), "removefirst 3; add e; * -> (d e)");
    EXPECT_EQ(slotsOf(four), "aded"); // half of the room at the start is now behind
    says(four.ref(), "addfirst x; addfirst y; * -> (y x d e)");
}

TEST_F(Growing, MovesTheNearerPart) {
    const Temporary list(newCollection("ordrdcll", 4, 6)), one(listOf({"a"}));
    says(list.ref(), "add a; add c; insertbeforeindex b, 1");
    EXPECT_EQ(slotsOf(list), "_bac__");
    says(list.ref(), "insertbeforeindex e, 4; insertbeforeindex d, 2");
    EXPECT_EQ(slotsOf(list), "bdace_");
    says(list.ref(), "* -> (b d a c e); removeatindex 2 -> d");
    EXPECT_EQ(slotsOf(list), "bace__");
    says(one.ref(), "removeatindex 1 -> a");
    EXPECT_EQ(slotsOf(one), "_");
    says(one.ref(), "add b; clear; size -> 0");
    EXPECT_EQ(slotsOf(one), "b");
}

TEST_F(Growing, RemovesAtBothEnds) {
    const Temporary list(listOf({"a", "b", "c", "d"}));
    says(list.ref(), "removefirst 0; removefirst 1; removelast 1; * -> (b c)");
    for (const Index count : {3, -1, INT32_MIN, INT32_MAX})
        says(list.ref(), about("removefirstandfinalize # -> error 33; removelastandfinalize # -> error 33", count));
    says(list.ref(), "* -> (b c); removefirst 2; * -> ()");

    const auto a = text("a"), b = text("b"), c = text("c");
    const auto objects = referencesOf("ordrdcll", {a, b, c});
    says(objects, "removefirstandfinalize 1; removelastandfinalize 1; size -> 1; at 1 -> $1", {b});
    EXPECT_TRUE(!isLive(a) && isLive(b) && !isLive(c));
    send<Ref>(SITE("deepfinalize"), objects);
    EXPECT_FALSE(isLive(b));
}

TEST_F(Growing, RemovesWhatABlockChooses) {
    const Temporary list(listOf({"a", "b", "b", "c"}));
    const Block isB([](void **arguments) { return wordIn(arguments) == "b" ? 1 : 0; });
    const Block any([](void **) { return 1; });
    const Block adding([&](void **) {
        add(list.ref(), "z");
        return 0;
    });
    // Ends although there is always one more.
    says(list.ref(),
         "removeallsuchthat $1; * -> (a c); removeallsuchthat $2; * -> (a c z z); removeallsuchthat $3; * -> ()",
         {isB.ref(), adding.ref(), any.ref()});
}

TEST_F(Growing, InsertsAndLooksBesideElementsAndIndexes) {
    const Temporary list(listOf({"a", "b", "c"})), other(listOf({"b", "d", "b"}));
    says(list.ref(), "after a -> b; before c -> b; after c -> error 13; before a -> error 14; after x -> error 12; "
                     "before x -> error 12; remove x -> error 12; remove b; * -> (a c)");
    says(other.ref(), "addbefore a, b; addafter c, b; * -> (a b c d b); addafterindex x, 0; addafterindex y, 6; "
                      "addbeforeindex z, 2; * -> (x z a b c d b y); addafter q, nope -> error 12");
    for (const Index index : {-1, 9, INT32_MAX, INT32_MIN})
        says(other.ref(), about("addafterindex q, # -> error 3", index));
    for (const Index index : {0, 10, INT32_MAX, INT32_MIN})
        says(other.ref(), about("addbeforeindex q, # -> error 3", index));
    says(other.ref(), "size -> 8");
}

TEST_F(Growing, TakesWholeCollectionsAndRangesItsOwnToo) {
    const Temporary list(listOf({"a"})), source(listOf({"p", "q", "r", "s"}));
    says(list.ref(),
         "addsubcollectionfirst $2, 2, 3; * -> (q r a); addsubcollectionlast $2, 4, 4; addsubcollectionlast $2, 3, 2; "
         "addallfirst $1; * -> (q r a s q r a s); clear; addalllast $2; addsubcollectionfirst $1, 1, 2; "
         "addsubcollectionlast $1, 1, 3; * -> (p q p q r s p q p); clear; "
         "addsubcollectionlast $2, 3, 2147483647 -> error 3; * -> (r s)", // up to the first index outside
         {list.ref(), source.ref()});
    const Temporary full(listOf({"a", "b"}));
    const auto *fields = fieldsOf<DynamicFields>(full.ref());
    send(SITE("add"), full.ref(), Element{fields->storage}); // grows, so the storage with the element moves
    says(full.ref(), "* -> (a b a)");
}

} // namespace
} // namespace oocobol::test
