// Growing collections: where elements lie in the storage, adding and removing at every place, ranges.
#include <random>

#include "classes/collections/collection.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

class Growing : public testing::Test {
protected:
    // The bytes of all slots, occupied or not: a letter, '_' for zeros, '.' for spaces.
    static std::string slotsOf(Ref list) {
        std::string slots;
        for (Count slot = 1; slot <= send<Count>(SITE("capacity"), list); ++slot) {
            std::string bytes(static_cast<std::size_t>(widthOf(list)), '?');
            send(SITE("privateat"), list, Returning{{reinterpret_cast<std::byte *>(bytes.data())}}, slot);
            slots += bytes[0] == '\0' ? '_' : bytes[0] == ' ' ? '.' : bytes[0];
        }
        return slots;
    }
    static void insert(Ref list, const char *word, Index index) {
        sendWord(SITE("insertbeforeindex"), list, word, index);
    }
    static std::string removeAt(Ref list, Index index) {
        std::string removed(static_cast<std::size_t>(widthOf(list)), '?');
        send(SITE("removeatindex"), list, Returning{{reinterpret_cast<std::byte *>(removed.data())}}, index);
        return trimmed(removed);
    }

    LeakCheck leaks;
    RaisedErrors errors;
};

TEST_F(Growing, GrowsAtTheEnd) {
    const auto none = newCollection("dynarray", 4, 0);
    add(none, "a");
    EXPECT_EQ(slotsOf(none), "a...................");
    finalize(none);
    const auto three = listOf({"a", "b", "c"});
    add(three, "d");
    EXPECT_EQ(slotsOf(three), "abcd......................");
    finalize(three);
}

TEST_F(Growing, SlidesWhenTheOtherEndHasRoom) {
    const auto list = listOf({"a", "b", "c", "d"});
    send(SITE("removefirst"), list, Index{3});
    add(list, "e");
    EXPECT_EQ(slotsOf(list), "aded"); // half of the room at the start is now behind
    EXPECT_EQ(wordsOf(list), (Words{"d", "e"}));
    sendWord(SITE("addfirst"), list, "x");
    sendWord(SITE("addfirst"), list, "y");
    EXPECT_EQ(wordsOf(list), (Words{"y", "x", "d", "e"}));
    finalize(list);
}

TEST_F(Growing, AddsAtTheStart) {
    const auto list = newCollection("ordrdcll", 4, 0);
    sendWord(SITE("addfirst"), list, "a");
    EXPECT_EQ(slotsOf(list), "_________a.........."); // grown to 20, half of it before
    sendWord(SITE("addfirst"), list, "b");
    sendWord(SITE("addlast"), list, "c");
    EXPECT_EQ(take(list), (Words{"b", "a", "c"}));
}

TEST_F(Growing, MovesTheNearerPart) {
    const auto list = newCollection("ordrdcll", 4, 6);
    add(list, "a");
    add(list, "c");
    insert(list, "b", 1);
    EXPECT_EQ(slotsOf(list), "_bac__");
    insert(list, "e", 4);
    insert(list, "d", 2);
    EXPECT_EQ(slotsOf(list), "bdace_");
    EXPECT_EQ(wordsOf(list), (Words{"b", "d", "a", "c", "e"}));
    EXPECT_EQ(removeAt(list, 2), "d");
    EXPECT_EQ(slotsOf(list), "bace__");
    EXPECT_TRUE(errors.all.empty());
    finalize(list);
}

TEST_F(Growing, ForgetsItsOnlyElement) {
    const auto list = listOf({"a"});
    EXPECT_EQ(removeAt(list, 1), "a");
    EXPECT_EQ(slotsOf(list), "_");
    add(list, "b");
    EXPECT_EQ(slotsOf(list), "b");
    send(SITE("clear"), list);
    EXPECT_EQ(slotsOf(list), "b");
    EXPECT_EQ(take(list), Words{});
}

TEST_F(Growing, RemovesAtBothEnds) {
    const auto list = listOf({"a", "b", "c", "d"});
    send(SITE("removefirst"), list, Index{0});
    send(SITE("removefirst"), list, Index{1});
    send(SITE("removelast"), list, Index{1});
    EXPECT_EQ(wordsOf(list), (Words{"b", "c"}));
    for (const Index count : {3, -1, INT32_MIN, INT32_MAX}) {
        for (auto *site : {&SITE("removefirst"), &SITE("removelast"), &SITE("removefirstandfinalize"),
                           &SITE("removelastandfinalize")})
            send(*site, list, count);
        EXPECT_EQ(errors.numbers(), std::vector<Count>(4, 33));
    }
    EXPECT_EQ(wordsOf(list), (Words{"b", "c"}));
    send(SITE("removefirst"), list, Index{2});
    EXPECT_EQ(take(list), Words{});
}

TEST_F(Growing, FinalizesWhatItRemoves) {
    const auto a = text("a"), b = text("b"), c = text("c");
    const auto list = referencesOf("ordrdcll", {a, b, c});
    send(SITE("removefirstandfinalize"), list, Index{1});
    send(SITE("removelastandfinalize"), list, Index{1});
    EXPECT_FALSE(isLive(a));
    EXPECT_TRUE(isLive(b));
    EXPECT_FALSE(isLive(c));
    EXPECT_EQ(referenceAt(list, 1), b);
    send<Ref>(SITE("deepfinalize"), list);
    EXPECT_FALSE(isLive(b));
}

TEST_F(Growing, RemovesWhatABlockChooses) {
    const auto list = listOf({"a", "b", "b", "c"});
    const Block isB([](void **arguments) { return wordIn(arguments) == "b" ? 1 : 0; });
    const Block any([](void **) { return 1; });
    send(SITE("removeallsuchthat"), list, isB.ref());
    EXPECT_EQ(wordsOf(list), (Words{"a", "c"}));
    const Block adding([&](void **) {
        add(list, "z");
        return 0;
    });
    send(SITE("removeallsuchthat"), list, adding.ref()); // ends although there is always one more
    EXPECT_EQ(sizeOf(list), 4);
    send(SITE("removeallsuchthat"), list, any.ref());
    EXPECT_EQ(take(list), Words{});
}

TEST_F(Growing, KnowsNeighbours) {
    const auto list = listOf({"a", "b", "c"});
    const auto beside = [&](oops_site &site, const char *word) {
        std::string found = "????";
        const auto bytes = padded(word, 4);
        send(site, list, Returning{{reinterpret_cast<std::byte *>(found.data())}}, area(bytes));
        return trimmed(found);
    };
    EXPECT_EQ(beside(SITE("after"), "a") + beside(SITE("before"), "c"), "bb");
    beside(SITE("after"), "c");
    beside(SITE("before"), "a");
    beside(SITE("after"), "x");
    beside(SITE("before"), "x");
    sendWord(SITE("remove"), list, "x");
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{13, 14, 12, 12, 12}));
    sendWord(SITE("remove"), list, "b");
    EXPECT_EQ(take(list), (Words{"a", "c"}));
}

TEST_F(Growing, InsertsBesideElementsAndIndexes) {
    const auto list = listOf({"b", "d", "b"});
    const auto a = padded("a", 4), c = padded("c", 4);
    sendWord(SITE("addbefore"), list, "a", area(padded("b", 4)));
    sendWord(SITE("addafter"), list, "c", area(padded("b", 4)));
    EXPECT_EQ(wordsOf(list), (Words{"a", "b", "c", "d", "b"}));
    sendWord(SITE("addafterindex"), list, "x", Index{0});
    sendWord(SITE("addafterindex"), list, "y", Index{6});
    sendWord(SITE("addbeforeindex"), list, "z", Index{2});
    EXPECT_EQ(wordsOf(list), (Words{"x", "z", "a", "b", "c", "d", "b", "y"}));
    for (const Index index : {-1, 9, INT32_MAX, INT32_MIN}) sendWord(SITE("addafterindex"), list, "q", index);
    for (const Index index : {0, 10, INT32_MAX, INT32_MIN}) sendWord(SITE("addbeforeindex"), list, "q", index);
    EXPECT_EQ(errors.numbers(), std::vector<Count>(8, 3));
    sendWord(SITE("addafter"), list, "q", area(padded("nope", 4)));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{12}));
    EXPECT_EQ(sizeOf(list), 8);
    finalize(list);
}

TEST_F(Growing, TakesWholeCollectionsAndRanges) {
    const auto list = listOf({"a"}), source = listOf({"p", "q", "r", "s"});
    send(SITE("addsubcollectionfirst"), list, source, Index{2}, Index{3});
    EXPECT_EQ(wordsOf(list), (Words{"q", "r", "a"}));
    send(SITE("addsubcollectionlast"), list, source, Index{4}, Index{4});
    send(SITE("addsubcollectionlast"), list, source, Index{3}, Index{2});
    send(SITE("addallfirst"), list, list);
    EXPECT_EQ(wordsOf(list), (Words{"q", "r", "a", "s", "q", "r", "a", "s"}));
    send(SITE("clear"), list);
    send(SITE("addalllast"), list, source);
    send(SITE("addsubcollectionfirst"), list, list, Index{1}, Index{2});
    send(SITE("addsubcollectionlast"), list, list, Index{1}, Index{3});
    EXPECT_EQ(wordsOf(list), (Words{"p", "q", "p", "q", "r", "s", "p", "q", "p"}));
    EXPECT_TRUE(errors.all.empty());
    send(SITE("clear"), list);
    send(SITE("addsubcollectionlast"), list, source, Index{3}, INT32_MAX); // up to the first index outside
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{3}));
    EXPECT_EQ(wordsOf(list), (Words{"r", "s"}));
    for (const auto object : {list, source}) finalize(object);
}

TEST_F(Growing, KeepsAnElementThatLiesInItsOwnStorage) {
    const auto list = listOf({"a", "b"});
    const auto *fields = fieldsOf<DynamicFields>(list);
    send(SITE("add"), list, Element{fields->storage}); // grows, so the storage moves
    EXPECT_EQ(take(list), (Words{"a", "b", "a"}));
}

TEST_F(Growing, AgreesWithAVectorWhateverIsDone) {
    std::mt19937 random(5);
    for (const auto native : {true, false}) {
        allowNativePaths(native);
        const auto list = newCollection("ordrdcll", 4, 2);
        Words model;
        for (int step = 0; step < 3000; ++step) {
            const auto size = static_cast<Index>(model.size());
            const auto index = static_cast<Index>(random() % static_cast<unsigned>(size + 1)) + 1;
            const auto word = std::to_string(random() % 50);
            switch (random() % 6) {
            case 0:
                add(list, word), model.push_back(word);
                break;
            case 1:
                sendWord(SITE("addfirst"), list, word), model.insert(model.begin(), word);
                break;
            case 2:
                insert(list, word.c_str(), index), model.insert(model.begin() + index - 1, word);
                break;
            case 3:
                if (index > size) break;
                EXPECT_EQ(removeAt(list, index), model[static_cast<std::size_t>(index - 1)]);
                model.erase(model.begin() + index - 1);
                break;
            case 4: {
                const auto found = std::find(model.begin(), model.end(), word) - model.begin();
                EXPECT_EQ(sendWord<Index>(SITE("indexof"), list, word), found == size ? 0 : found + 1);
                break;
            }
            default:
                if (size < 40) break;
                send(SITE("removefirst"), list, Index{20});
                model.erase(model.begin(), model.begin() + 20);
            }
            ASSERT_EQ(sizeOf(list), static_cast<Index>(model.size()));
        }
        EXPECT_EQ(take(list), model);
    }
    allowNativePaths(true);
    EXPECT_TRUE(errors.all.empty());
}

} // namespace
} // namespace oocobol::test
