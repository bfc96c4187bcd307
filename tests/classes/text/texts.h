// What the tests of texts and items share: characters of one and two bytes, tests that run on both roads.
#pragma once

#include <string>
#include <vector>

#include "tests/support/says.h"
#include "tests/support/support.h"

// Shift-JIS: hiragana a and i, katakana a (its second half is 'A'), the space.
#define HA "\x82\xA0"
#define HI "\x82\xA2"
#define KA "\x83\x41"
#define SPACE2 "\x81\x40"

namespace oocobol::test {

using Characters = std::vector<std::string>;

inline std::string join(const Characters &parts) {
    std::string text;
    for (const auto &part : parts) text += part;
    return text;
}

// Every case runs for each of some classes, with native paths and without.
class OfClasses : public testing::TestWithParam<std::tuple<std::string, bool>> {
protected:
    const bool isNative = std::get<bool>(GetParam());
    const Road road{isNative};
    const Ref ofClass = classForProgram(std::get<std::string>(GetParam()).c_str());
};
// Where there are characters of two bytes.
class OfMixedClasses : public OfClasses {
    const InEnvironment environment{doubleByte};
};
inline std::string nameOfRoad(const testing::TestParamInfo<std::tuple<std::string, bool>> &road) {
    return std::get<0>(road.param) + (std::get<1>(road.param) ? "Natively" : "BySends");
}
template <class... Programs> auto classesOnBothRoads(Programs... programs) {
    return testing::Combine(testing::Values(programs...), testing::Bool());
}

// An object made by `factory` of so many characters.
inline Ref madeOf(Ref factory, Index count, std::string_view value) {
    return send<Ref>(SITE("withlengthvalue"), factory, count, Bytes(ExactBytes(value)));
}
inline Ref itemOf(std::string_view value) {
    return send<Ref>(SITE("withvalue"), picX(static_cast<Index>(value.size())), Bytes(ExactBytes(value)));
}

inline std::string characterAt(Ref object, Index position) {
    char area[9] = {};
    send(SITE("at"), object, into(area), position);
    return area;
}

// The messages that hand over a value for others than COBOL write a null byte behind it, and nothing else.
inline void expectNullBehind(Ref text) {
    const auto value = valueOf(text);
    for (auto *site : {&SITE("getvaluez"), &SITE("asparameter")}) {
        std::string area(value.size() + 3, '#');
        send(*site, text, into(area));
        EXPECT_EQ(area, value + std::string("\0##", 3));
    }
}

// The value of an object that a message has answered, which ends.
inline std::string valueOfMade(Ref made) { return made ? valueOf(Temporary(made).ref()) : "nothing"; }
} // namespace oocobol::test
