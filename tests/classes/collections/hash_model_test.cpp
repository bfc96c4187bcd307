// Random operations on every kind of table, compared slot for slot with one that is written as plainly as it can be.
// OOCOBOL_TEST_OPERATIONS sets how many.
#include <cstdlib>
#include <map>
#include <random>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

using Hash = std::uint32_t (*)(const std::string &key);

// The table of sets and dictionaries, whose elements begin with their keys.
class TableModel {
public:
    TableModel(std::uint32_t size, std::size_t widthOfKeys, Hash hashOfKeys, bool byAdding)
        : keyWidth(widthOfKeys), hash(hashOfKeys), copiesByAdding(byAdding) {
        resize(size == 0 ? 1 : size);
    }

    std::uint32_t capacity = 0, count = 0;
    std::vector<std::string> slots; // 1 to capacity; empty: ""

    std::uint32_t find(const std::string &element) const {
        const auto key = element.substr(0, keyWidth);
        auto slot = hash(key) % capacity + 1;
        while (!slots[slot].empty() && slots[slot].substr(0, keyWidth) != key) slot = slot % capacity + 1;
        return slot;
    }
    // What is there already stays, or is replaced.
    void add(const std::string &element, bool replaces = false) {
        if (count >= 7 * capacity / 10) {
            if (copiesByAdding) resize(capacity);
            resize((capacity + 5) * 2);
        }
        auto &slot = slots[find(element)];
        if (slot.empty()) ++count;
        if (slot.empty() || replaces) slot = element;
    }
    bool remove(const std::string &element) {
        const auto freed = find(element);
        if (slots[freed].empty()) return false;
        slots[freed].clear();
        --count;
        for (auto i = freed % capacity + 1; !slots[i].empty(); i = i % capacity + 1) {
            const auto moved = std::exchange(slots[i], {});
            slots[find(moved)] = moved;
        }
        return true;
    }

private:
    // What was in the slots is added in their order.
    void resize(std::uint32_t wanted) {
        const auto former = std::exchange(slots, std::vector<std::string>(wanted + 1));
        capacity = wanted;
        count = 0;
        for (const auto &element : former) {
            if (!element.empty()) add(element);
        }
    }

    std::size_t keyWidth;
    Hash hash;
    bool copiesByAdding; // as dictionaries of association objects are
};

std::uint32_t madePositive(std::uint32_t hash) { return (hash >> 31) != 0 ? 0 - hash : hash; }
// As the keys of identity dictionaries are hashed: from the first byte to the last.
std::uint32_t byteHash(const std::string &bytes) {
    std::uint32_t hash = 0;
    for (const auto byte : bytes) hash = hash * 47 + static_cast<unsigned char>(byte);
    return madePositive(hash);
}
// As texts are: from the last byte that is no space to the first.
std::uint32_t textHash(const std::string &text) {
    const auto shorter = trimmed(text);
    return byteHash({shorter.rbegin(), shorter.rend()});
}
std::uint32_t lowHalf(const std::string &bytes) { return valueIn<std::uint32_t>(bytes.data()); }
std::uint32_t numberHash(const std::string &bytes) { return madePositive(lowHalf(bytes)); }
std::uint32_t bigEndianHash(const std::string &bytes) { return madePositive(__builtin_bswap32(lowHalf(bytes))); }
std::uint32_t hashOfObject(const std::string &reference) { return textHash(valueOf(valueIn<Ref>(reference.data()))); }

// Objects that stand for the keys of reference tables; made once.
Ref objectFor(unsigned number) {
    static std::map<unsigned, Ref> made;
    auto &known = made[number];
    if (!known) {
        known = text("key " + std::to_string(number));
        keepForLibrary(known);
    }
    return known;
}

struct Kind {
    const char *name;
    const char *program;
    Index width; // of keys: 0 references, 4 numbers, -4 big-endian ones, else of characters
    Hash hash;
    bool ofAssociations = false;
};
constexpr Kind kinds[] = {{"texts", "valueset", 10, textHash},
                          {"longTexts", "valueset", 40, textHash},
                          {"numbers", "valueset", 4, numberHash},
                          {"bigEndianNumbers", "valueset", -4, bigEndianHash},
                          {"objects", "valueset", 0, hashOfObject},
                          {"texts", "iset", 10, textHash},
                          {"objects", "iset", 0, lowHalf},
                          {"texts", "dictinry", 10, textHash},
                          {"numbers", "dictinry", 4, numberHash},
                          {"objects", "dictinry", 0, hashOfObject},
                          {"textAssociations", "dictinry", 40, textHash, true},
                          {"objectAssociations", "dictinry", 0, hashOfObject, true},
                          {"texts", "idictnry", 10, byteHash},
                          {"objects", "idictnry", 0, lowHalf},
                          {"textAssociations", "idictnry", 10, byteHash, true},
                          {"objectAssociations", "idictnry", 0, lowHalf, true}};

class Tables : public testing::TestWithParam<Kind>, protected ErrorsAndLeaks {
protected:
    void makeTable() {
        const auto width = GetParam().width;
        const auto keys = width == 0 ? null : width == 4 ? comp5() : width == -4 ? CLASS("compx") : picX(width);
        auto &create = GetParam().ofAssociations ? SITE("ofassociationsauto") : SITE("ofvaluesauto");
        const auto ofProgram = classForProgram(GetParam().program);
        table = isDictionary ? send<Ref>(create, ofProgram, keys, comp5(), Index{10})
                             : send<Ref>(SITE("ofvalues"), ofProgram, keys, Index{0});
    }
    unsigned below(unsigned limit) { return static_cast<unsigned>(random() % limit); }
    std::string anyKey() {
        const auto number = below(300);
        if (GetParam().width == 0) return bytesOf(objectFor(number));
        if (keyWidth == 4) return bytesOf(number * 977 + (number % 7 == 0 ? 0x80000000U : 0));
        return padded((number % 2 == 0 ? "k" : "kkkkkkkk") + std::to_string(number), keyWidth);
    }
    std::string slotAt(Index slot) const {
        if (!isDictionary) return answered(SITE("privateat"), table, keyWidth, slot);
        return answered(SITE("basickeyat"), table, keyWidth, slot) +
               answered(SITE("basicdataat"), table, sizeof(Count), slot);
    }
    void expectSame(const TableModel &model) const {
        ASSERT_EQ(send<Count>(SITE("capacity"), table), model.capacity);
        ASSERT_EQ(send<Count>(SITE("size"), table), model.count);
        for (std::uint32_t slot = 1; slot <= model.capacity; ++slot) {
            const auto at = static_cast<Index>(slot);
            const auto isOccupied = send<bool>(SITE("isoccuppiedat"), table, at);
            ASSERT_EQ(isOccupied ? slotAt(at) : "", model.slots[slot]) << "slot " << slot;
        }
    }

    std::mt19937 random;
    const std::size_t keyWidth =
        GetParam().width == 0 ? sizeof(Ref) : static_cast<std::size_t>(std::abs(GetParam().width));
    const bool isDictionary = std::string_view(GetParam().program).ends_with("nry");
    Ref table;
};
INSTANTIATE_TEST_SUITE_P(Kinds, Tables, testing::ValuesIn(kinds),
                         [](const auto &of) { return std::string(of.param.name) + "In" + of.param.program; });

TEST_P(Tables, AreThoseOfTheModel) {
    onBothRoads([&] {
        makeTable();
        random.seed(20);
        TableModel model(isDictionary ? 10 : 0, keyWidth, GetParam().hash, GetParam().ofAssociations);
        const char *wanted = std::getenv("OOCOBOL_TEST_OPERATIONS");
        const auto operations = wanted != nullptr ? std::atoi(wanted) : 4000;
        for (int i = 0; i < operations; ++i) {
            const auto key = anyKey();
            const Count datum = below(50);
            const auto &found = model.slots[model.find(key)];
            const auto doing = below(8);
            if (doing < 3 && isDictionary) {
                send(SITE("atput"), table, area(key), datum);
                model.add(key + bytesOf(datum), true);
            } else if (doing < 3) {
                send(SITE("add"), table, area(key));
                model.add(key);
            } else if (doing < 5) {
                send(isDictionary ? SITE("removekey") : SITE("remove"), table, area(key));
                ASSERT_EQ(errors.numbers().empty(), model.remove(key));
            } else if (isDictionary) {
                ASSERT_EQ(send<bool>(SITE("includeskey"), table, area(key)), !found.empty());
                const auto expected = found.empty() ? bytesOf(Count{0}) : found.substr(keyWidth);
                ASSERT_EQ(bytesOf(send<Count>(SITE("atornil"), table, area(key))), expected);
                const auto at = send<Count>(SITE("at"), table, area(key));
                ASSERT_EQ(errors.numbers().empty(), !found.empty());
                ASSERT_EQ(found.empty() ? expected : bytesOf(at), expected);
            } else if (doing == 5) {
                finalize(std::exchange(table, send<Ref>(SITE("copy"), table)));
            } else {
                ASSERT_EQ(send<bool>(SITE("includes"), table, area(key)), !found.empty());
                ASSERT_EQ(send<Index>(SITE("findelement"), table, area(key)), static_cast<Index>(model.find(key)));
            }
            if (i % 16 != 0) continue;
            ASSERT_NO_FATAL_FAILURE(expectSame(model)) << "operation " << i;
        }
        ASSERT_NO_FATAL_FAILURE(expectSame(model));
        finalize(table);
    });
}

} // namespace
} // namespace oocobol::test
