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

// Every case runs with native paths and without, where there are characters of two bytes.
class OnBothRoads : public testing::TestWithParam<bool> {
protected:
    OnBothRoads() { allowNativePaths(GetParam()); }
    ~OnBothRoads() override { allowNativePaths(true); }
    const LeakCheck leaks;
    const InEnvironment environment{doubleByte};
};
inline std::string roadName(const testing::TestParamInfo<bool> &road) { return road.param ? "Natively" : "BySends"; }

// An object made by `factory` of so many characters.
inline Ref madeOf(Ref factory, Index count, std::string_view value) {
    return send<Ref>(SITE("withlengthvalue"), factory, count, Bytes(ExactBytes(value)));
}
inline Ref itemOf(std::string_view value) {
    return send<Ref>(SITE("withvalue"), picX(static_cast<Index>(value.size())), Bytes(ExactBytes(value)));
}

inline std::string characterAt(Ref object, Index position) {
    char area[9] = {};
    send(SITE("at"), object, Returning{{reinterpret_cast<std::byte *>(area)}}, position);
    return area;
}

// The value of an object that a message has answered, or of those in a collection; ends them.
inline std::string valueOfMade(Ref made) { return made ? valueOf(Temporary(made).ref()) : "nothing"; }
inline Characters valuesOfMade(Ref collection) {
    Characters values;
    const auto size = send<Index>(SITE("size"), collection);
    for (Index i = 1; i <= size; ++i) values.push_back(valueOf(send<Ref>(SITE("at"), collection, i)));
    send<Ref>(SITE("deepfinalize"), collection);
    return values;
}

} // namespace oocobol::test
