// Random operations on every kind of table, compared with the plain model slot for slot. OOCOBOL_TEST_OPERATIONS sets
// how many.
#include <cstdlib>
#include <map>
#include <random>

#include "tests/classes/collections/hash_model.h"

namespace oocobol::test {
namespace {

int operations() {
    const char *wanted = std::getenv("OOCOBOL_TEST_OPERATIONS");
    return wanted != nullptr ? std::atoi(wanted) : 4000;
}

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
std::uint32_t hashOfObject(const std::string &reference) {
    Ref object{};
    std::memcpy(&object, reference.data(), sizeof object);
    return textHash(valueOf(object));
}

struct Kind {
    const char *name;
    const char *program;
    Ref (*keyTemplate)();
    TableModel::Hash hash;
    bool ofAssociations = false;
};
Ref picX10() { return picX(10); }
Ref picX40() { return picX(40); }
Ref bigEndian() { return CLASS("compx"); }
Ref none() { return null; }
std::uint32_t bigEndianHash(const std::string &bytes) { return madePositive(__builtin_bswap32(lowHalf(bytes))); }

const Kind sets[] = {
    {"texts", "valueset", picX10, textHash},     {"longTexts", "valueset", picX40, textHash},
    {"numbers", "valueset", comp5, numberHash},  {"bigEndianNumbers", "valueset", bigEndian, bigEndianHash},
    {"objects", "valueset", none, hashOfObject}, {"identityTexts", "iset", picX10, textHash},
    {"identityObjects", "iset", none, lowHalf},
};
const Kind dictionaries[] = {
    {"texts", "dictinry", picX10, textHash},
    {"numbers", "dictinry", comp5, numberHash},
    {"objects", "dictinry", none, hashOfObject},
    {"textAssociations", "dictinry", picX40, textHash, true},
    {"objectAssociations", "dictinry", none, hashOfObject, true},
    {"identityTexts", "idictnry", picX10, byteHash},
    {"identityObjects", "idictnry", none, lowHalf},
    {"identityTextAssociations", "idictnry", picX10, byteHash, true},
    {"identityObjectAssociations", "idictnry", none, lowHalf, true},
};

struct Case {
    Kind kind;
    bool native;
};
std::vector<Case> casesOf(std::span<const Kind> kinds) {
    std::vector<Case> cases;
    for (const auto &kind : kinds) {
        cases.push_back({kind, true});
        cases.push_back({kind, false});
    }
    return cases;
}
std::string nameOf(const testing::TestParamInfo<Case> &info) {
    return std::string(info.param.kind.name) + (info.param.native ? "" : "ByMessages");
}

class Tables : public testing::TestWithParam<Case> {
protected:
    Tables() : random(20) { allowNativePaths(GetParam().native); }
    ~Tables() override { allowNativePaths(true); }

    std::size_t keyWidth() const {
        const auto ofKeys = GetParam().kind.keyTemplate();
        return ofKeys ? send<Count>(SITE("sizeinbytes"), ofKeys) : sizeof(Ref);
    }
    unsigned below(unsigned limit) { return static_cast<unsigned>(random() % limit); }
    std::string anyKey() {
        const auto number = below(300);
        if (!GetParam().kind.keyTemplate()) return bytesOf(objectFor(number));
        if (keyWidth() == 4) return bytesOf(number * 977 + (number % 7 == 0 ? 0x80000000U : 0));
        return padded((number % 2 == 0 ? "k" : "kkkkkkkk") + std::to_string(number), keyWidth());
    }

    LeakCheck leaks;
    RaisedErrors errors;
    std::mt19937 random;
};
class SetTables : public Tables {};
class DictionaryTables : public Tables {};
INSTANTIATE_TEST_SUITE_P(Sets, SetTables, testing::ValuesIn(casesOf(sets)), nameOf);
INSTANTIATE_TEST_SUITE_P(Dictionaries, DictionaryTables, testing::ValuesIn(casesOf(dictionaries)), nameOf);

TEST_P(SetTables, AreThoseOfTheModel) {
    const auto &kind = GetParam().kind;
    const auto width = keyWidth();
    auto set = send<Ref>(SITE("ofvalues"), classForProgram(kind.program), kind.keyTemplate(), Index{0});
    TableModel model(0, width, kind.hash);
    const auto read = [&](Index slot) { return answered(SITE("privateat"), set, width, slot); };
    for (int i = 0; i < operations(); ++i) {
        const auto key = anyKey();
        switch (below(8)) {
        case 0:
        case 1:
        case 2:
            send(SITE("add"), set, area(key));
            model.add(key);
            break;
        case 3:
        case 4:
            send(SITE("remove"), set, area(key));
            ASSERT_EQ(errors.numbers().empty(), model.remove(key));
            break;
        case 5: {
            const auto copy = send<Ref>(SITE("copy"), set);
            finalize(set);
            set = copy;
            break;
        }
        default:
            ASSERT_EQ(send<bool>(SITE("includes"), set, area(key)), model.includes(key));
            ASSERT_EQ(send<Index>(SITE("findelement"), set, area(key)), static_cast<Index>(model.find(key)));
        }
        if (i % 16 == 0) {
            ASSERT_NO_FATAL_FAILURE(expectSame(set, model, read)) << "operation " << i;
        }
    }
    ASSERT_NO_FATAL_FAILURE(expectSame(set, model, read));
    finalize(set);
}

TEST_P(DictionaryTables, AreThoseOfTheModel) {
    const auto &kind = GetParam().kind;
    const auto width = keyWidth();
    auto &create = kind.ofAssociations ? SITE("ofassociationsauto") : SITE("ofvaluesauto");
    const auto dictionary = send<Ref>(create, classForProgram(kind.program), kind.keyTemplate(), comp5(), Index{10});
    TableModel model(10, width, kind.hash);
    model.copiesByAdding = kind.ofAssociations;
    const auto read = [&](Index slot) {
        return answered(SITE("basickeyat"), dictionary, width, slot) +
               answered(SITE("basicdataat"), dictionary, sizeof(Count), slot);
    };
    for (int i = 0; i < operations(); ++i) {
        const auto key = anyKey();
        const Count datum = below(50);
        switch (below(6)) {
        case 0:
        case 1:
            send(SITE("atput"), dictionary, area(key), datum);
            model.add(key + bytesOf(datum), true);
            break;
        case 2:
            send(SITE("removekey"), dictionary, area(key));
            ASSERT_EQ(errors.numbers().empty(), model.remove(key));
            break;
        case 3:
            ASSERT_EQ(send<bool>(SITE("includeskey"), dictionary, area(key)), model.includes(key));
            break;
        case 4: {
            const auto found = send<Count>(SITE("at"), dictionary, area(key));
            const auto expected = model.slots[model.find(key)];
            ASSERT_EQ(errors.numbers().empty(), !expected.empty());
            if (!expected.empty()) {
                ASSERT_EQ(bytesOf(found), expected.substr(width));
            }
            break;
        }
        default:
            const auto expected = model.slots[model.find(key)];
            ASSERT_EQ(bytesOf(send<Count>(SITE("atornil"), dictionary, area(key))),
                      expected.empty() ? std::string(4, '\0') : expected.substr(width));
        }
        if (i % 16 == 0) {
            ASSERT_NO_FATAL_FAILURE(expectSame(dictionary, model, read)) << "operation " << i;
        }
    }
    ASSERT_NO_FATAL_FAILURE(expectSame(dictionary, model, read));
    finalize(dictionary);
}

} // namespace
} // namespace oocobol::test
