// Arrays: fixed size, filled by index or from another collection.
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Array : public CollectionTest {};

TEST_F(Array, IsMadeOfAnotherCollectionAndDoesNotGrowByElements) {
    const Temporary list(listOf({"c", "a", "b"})), array(send<Ref>(SITE("asarray"), list.ref())),
        copied(send<Ref>(SITE("asarray"), array.ref())), zeros(newCollection("array", 10, 3));
    says(array.ref(), "class -> $1; $2 atput 1, z; * -> (c a b); add b -> error 1; remove a -> error 5; * -> (c a b)",
         {CLASS("array"), copied.ref()});
    says(zeros.ref(), "at 3 -> zeros; size -> 3");
    const Temporary none(listOf({}));
    says(CLASS("array"), "withall $1 -> ()", {none.ref()});
}

TEST_F(Array, AnswersWhatAHandlerAnswersForAnIndexOutside) {
    const Temporary narrow(arrayOf({"a"}, 3)), wide(arrayOf({"a"}, 20)), objects(referencesOf("array", {null}));
    errors.answers = true;
    errors.answer = 0x4141414141414141;
    EXPECT_EQ(answered(SITE("at"), narrow.ref(), 4, 2), "AAA?");
    EXPECT_EQ(referenceAt(objects.ref(), 2).bits, errors.answer);
    EXPECT_EQ(answered(SITE("at"), wide.ref(), 20, 2), std::string(20, '?'));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3}));
}

} // namespace
} // namespace oocobol::test
