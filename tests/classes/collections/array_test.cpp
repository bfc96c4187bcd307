// Arrays: fixed size, filled by index or from another collection.
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

TEST(Array, IsMadeOfAnotherCollectionInItsOrder) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto list = listOf({"c", "a", "b"}), none = listOf({});
    const auto array = send<Ref>(SITE("asarray"), list);
    EXPECT_EQ(send<Ref>(SITE("class"), array), CLASS("array"));
    EXPECT_EQ(wordsOf(array), (Words{"c", "a", "b"}));
    const auto copied = send<Ref>(SITE("asarray"), array);
    put(copied, 1, "z");
    EXPECT_EQ(wordAt(array, 1), "c");
    EXPECT_EQ(take(send<Ref>(SITE("withall"), CLASS("array"), none)), Words{});
    for (const auto object : {list, none, array, copied}) finalize(object);
    EXPECT_TRUE(errors.all.empty());
}

TEST(Array, StartsWithZeros) {
    const auto array = newCollection("array", 10, 3);
    EXPECT_EQ(elementAt(array, 3), std::string(10, '\0'));
    finalize(array);
}

TEST(Array, AnswersWhatAHandlerAnswersForAnIndexOutside) {
    RaisedErrors errors;
    errors.answers = true;
    errors.answer = 0x4141414141414141;
    const auto narrow = arrayOf({"a"}, 3), wide = arrayOf({"a"}, 20), objects = referencesOf("array", {null});
    std::string guarded = "----";
    send(SITE("at"), narrow, Returning{{reinterpret_cast<std::byte *>(guarded.data())}}, Index{2});
    EXPECT_EQ(guarded, "AAA-");
    EXPECT_EQ(referenceAt(objects, 2).bits, errors.answer);
    EXPECT_EQ(elementAt(wide, 2), std::string(20, '?'));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3, 3, 3}));
    for (const auto object : {narrow, wide, objects}) finalize(object);
}

TEST(Array, RefusesToGrowByElements) {
    RaisedErrors errors;
    const auto array = arrayOf({"a"});
    add(array, "b");
    sendWord(SITE("remove"), array, "a");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{1, 5}));
    EXPECT_EQ(take(array), (Words{"a"}));
}

} // namespace
} // namespace oocobol::test
