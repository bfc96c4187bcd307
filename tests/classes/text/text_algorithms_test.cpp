// The pure text algorithms, over bytes and over characters of one or two bytes, against plain loops, on texts that end
// where their memory ends.
#include <algorithm>
#include <random>

#include "classes/text/characters.h"
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

bool isHalf(const std::string &part) { return part.size() == 1 && host::isLeadByte(part[0]); }
bool isNewLine(const std::string &part) { return part == "\n"; }
bool isOneByteSpace(const std::string &part) { return part == " "; }
bool isControl(const std::string &part) { return static_cast<unsigned char>(part[0]) <= 32; }
bool isSpace(const std::string &part) { return part == " " || part == SPACE2; }
bool isBlank(const std::string &part) { return isSpace(part) || part == "\0"s; }

// As anybody would write it; half a character at the end is one of one byte.
Characters split(std::string_view text, bool isMixed) {
    Characters found;
    for (std::size_t at = 0; at < text.size(); at += found.back().size()) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const auto leads = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        found.emplace_back(text.substr(at, isMixed && leads ? 2 : 1));
    }
    return found;
}
Characters charactersOf(std::string_view text) { return split(text, true); }
using IsOne = bool (*)(const std::string &part);
// What lies between the characters that separate, without empty pieces.
Characters plainPieces(const Characters &parts, IsOne separates) {
    Characters found{""};
    for (const auto &part : parts) {
        if (separates(part))
            found.emplace_back();
        else
            found.back() += part;
    }
    std::erase(found, "");
    return found;
}

std::string trimmed(Characters parts, IsOne isOne, bool inFront) {
    while (!parts.empty() && isOne(parts.back())) parts.pop_back();
    while (inFront && !parts.empty() && isOne(parts.front())) parts.erase(parts.begin());
    return join(parts);
}
Characters piecesBy(Piece (*next)(std::string_view, std::size_t) noexcept, std::string_view text) {
    Characters found;
    for (auto piece = next(text, 0); !piece.isEmpty(); piece = next(text, piece.end))
        found.emplace_back(text.substr(piece.begin, piece.size()));
    return found;
}

class TextAlgorithms : public testing::Test {
protected:
    std::size_t upTo(std::size_t limit) { return random() % (limit + 1); }
    // Few different bytes, so that words, lines and equal starts come up.
    std::string randomText(std::size_t longest, std::string_view from) {
        std::string text(upTo(longest), ' ');
        const auto kinds = 1 + random() % from.size(), first = random() % from.size();
        for (auto &character : text) character = from[(first + random() % kinds) % from.size()];
        return text;
    }

    InEnvironment environment{doubleByte};
    std::mt19937 random{47};
    GuardedText guarded, other;
    // Bytes of every kind, lead bytes among the second halves too.
    static constexpr auto mixed = "ab \n\0\x81\x40\x81\x9F\xE0\xFC\xA0\xDF\xFD\xFF@~\x80"sv;
};

Count plainHash(std::string_view text) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    Count hash = 0;
    for (auto at = text.size(); at-- > 0;) hash = hash * 47 + static_cast<unsigned char>(text[at]);
    return hash > 0x80000000 ? 0 - hash : hash;
}

TEST_F(TextAlgorithms, HashAsAPlainLoopDoes) {
    EXPECT_EQ(hashText("ab"), 4703U);
    EXPECT_EQ(hashText("   "), 0U);
    for (std::size_t length = 0; length < 450; ++length) {
        auto text = std::string(length, '\xFF') + std::string(length % 37, ' ');
        ASSERT_EQ(hashText(guarded.hold(text)), plainHash(text)) << length;
        for (auto &character : text) character = static_cast<char>(random() % 256);
        ASSERT_EQ(hashText(guarded.hold(text)), plainHash(text)) << length;
    }
}

int sign(int order) { return (order > 0) - (order < 0); }

TEST_F(TextAlgorithms, PadTheShorterWithSpacesWhenTheyCompare) {
    constexpr auto characters = "ab \x1F\xC4 "sv;
    for (int round = 0; round < 20000; ++round) {
        auto one = randomText(40, characters), two = randomText(40, characters);
        if (random() % 2 == 0) two = one.substr(0, random() % 40) + std::string(random() % 40, ' ');
        const auto order = comparePadded(guarded.hold(one), other.hold(two));
        const auto areEqual = equalPadded(guarded.hold(one), other.hold(two));
        const auto length = std::max(one.size(), two.size());
        one.resize(length, ' ');
        two.resize(length, ' ');
        ASSERT_EQ(sign(order), sign(one.compare(two))) << one << "|" << two;
        ASSERT_EQ(areEqual, one == two);
    }
    EXPECT_TRUE(equalPaddedIgnoringCase(std::string(600, 'x') + " ", std::string(600, 'X')));
    EXPECT_FALSE(equalPaddedIgnoringCase(std::string(600, 'x') + "y", std::string(600, 'X')));
    EXPECT_FALSE(equalPaddedIgnoringCase("\xE4", "\xC4")); // ASCII letters only
}

// What both kinds of algorithm find in a text, each by its own idea of a character, a space and the end of a word.
struct Kind {
    bool isMixed;
    IsOne isSpace, endsWord;
    std::string_view (*withoutTrailingSpaces)(std::string_view) noexcept,
        (*withoutSpacesAround)(std::string_view) noexcept;
    Piece (*nextLine)(std::string_view, std::size_t) noexcept, (*nextWord)(std::string_view, std::size_t) noexcept;
    std::size_t (*find)(std::string_view, std::string_view, std::size_t) noexcept;
};
constexpr Kind kinds[] = {
    {false, isOneByteSpace, isControl, withoutTrailingSpaces, withoutSpacesAround, nextLine, nextWord, findBytes},
    {true, isSpace, isBlank, characters::withoutTrailingSpaces, characters::withoutSpacesAround, characters::nextLine,
     characters::nextWord, characters::find}};

TEST_F(TextAlgorithms, TrimSplitAndFind) {
    for (int round = 0; round < 6000; ++round) {
        const auto &kind = kinds[round % 2];
        auto text = randomText(round % 3 == 0 ? 150 : 60, round % 5 == 0 ? "abcdef\xFF! \t\n\n\0"sv : mixed);
        if (round % 7 == 0) text = std::string(upTo(150), ' ') + text.substr(0, upTo(3)) + std::string(upTo(150), ' ');
        const auto held = guarded.hold(text);
        const auto parts = split(text, kind.isMixed);
        ASSERT_EQ(kind.withoutTrailingSpaces(held), trimmed(parts, kind.isSpace, false));
        ASSERT_EQ(kind.withoutSpacesAround(held), trimmed(parts, kind.isSpace, true));
        ASSERT_EQ(piecesBy(kind.nextLine, held), plainPieces(parts, isNewLine));
        ASSERT_EQ(piecesBy(kind.nextWord, held), plainPieces(parts, kind.endsWord));
        if (parts.empty()) continue;
        const auto at = [&](std::size_t position) { return parts.begin() + static_cast<std::ptrdiff_t>(position); };
        const auto from = upTo(parts.size() - 1), length = 1 + upTo(std::min<std::size_t>(2, parts.size() - from - 1));
        const Characters wanted(at(from), at(from + length));
        auto start = from / 2, position = start;
        while (!std::equal(wanted.begin(), wanted.end(), at(position))) ++position;
        const auto bytesBefore = [&](std::size_t count) { return join(Characters(parts.begin(), at(count))).size(); };
        ASSERT_EQ(kind.find(held, other.hold(join(wanted)), bytesBefore(start)), bytesBefore(position));
    }
    EXPECT_EQ(findBytes("abab", "ba", 2), std::string_view::npos);
}

TEST_F(TextAlgorithms, KeepCharactersWhole) {
    for (int round = 0; round < 3000; ++round) {
        const auto text = randomText(60, mixed);
        ASSERT_EQ(characters::hash(text), hashText(trimmed(charactersOf(text), isSpace, false)));
        ASSERT_EQ(characters::withoutTrailingBlanks(text), trimmed(charactersOf(text), isBlank, false));
        auto upper = charactersOf(text + "zZ");
        auto converted = join(upper);
        characters::toUpper(converted.data(), converted.size());
        for (auto &part : upper)
            if (part.size() == 1) host::toUpper(part.data(), 1);
        ASSERT_EQ(converted, join(upper));
    }
    EXPECT_TRUE(characters::equalIgnoringCase("a" KA "z", "A" KA "Z"));
    EXPECT_FALSE(characters::equalIgnoringCase(KA, "\x83\x61"));
}

TEST_F(TextAlgorithms, CountAsAPlainWalkDoesAndReadNoByteBehind) {
    for (int round = 0; round < 3000; ++round) {
        const auto text = randomText(200, mixed);
        auto parts = charactersOf(text);
        const auto [count, endsInHalf] = characters::counted(text);
        ASSERT_EQ(count, parts.size());
        ASSERT_EQ(endsInHalf, !parts.empty() && isHalf(parts.back()));
        std::size_t offset = 0;
        for (std::size_t i = 0; i < parts.size(); ++i) {
            ASSERT_EQ(characters::lengthOf(std::string_view(text), i), offset);
            ASSERT_TRUE(characters::isBoundary(text, offset));
            ASSERT_FALSE(parts[i].size() == 2 && characters::isBoundary(text, offset + 1));
            offset += parts[i].size();
        }
        ASSERT_EQ(characters::lengthOf(std::string_view(text), parts.size()), offset);
        if (endsInHalf) parts.pop_back();
        const auto whole = join(parts);
        ASSERT_EQ(characters::lengthOf(Bytes(ExactBytes(whole)).address, parts.size()), whole.size());
    }
}

TEST_F(TextAlgorithms, SeeALeadByteWhereverItIs) {
    for (const std::size_t size : {1U, 15U, 16U, 17U, 63U, 64U, 65U, 255U, 256U, 257U, 700U}) {
        const ExactBytes none(std::string(size, '\xB1')); // a katakana of one byte
        ASSERT_FALSE(characters::anyDoubleByte({Bytes(none).address, size}));
        for (std::size_t at = 0; at < size; ++at) {
            auto text = std::string(size, 'a');
            text[at] = '\xE0';
            ASSERT_TRUE(characters::anyDoubleByte(text)) << size << " " << at;
        }
    }
}

TEST_F(TextAlgorithms, EndNoTextInsideACharacter) {
    const auto toSpace = [](std::string_view text) {
        return characters::upToSpace(Bytes(ExactBytes(text)).address).size();
    };
    const auto orNull = [](std::string_view text) {
        return characters::upToSpaceOrNull(Bytes(ExactBytes(text)).address).size();
    };
    EXPECT_EQ(toSpace(HA " "), 2U);
    EXPECT_EQ(toSpace("a" SPACE2), 1U);
    EXPECT_EQ(toSpace("\x81\x81\x40\x81\x20" SPACE2), 5U); // a trail of 0x81, '@', a trail of 0x20
    EXPECT_EQ(toSpace("a\0b "sv), 3U);
    EXPECT_EQ(toSpace(std::string(40, 'a') + KA " "), 42U);
    EXPECT_EQ(orNull(std::string(40, 'a') + KA "\0"s), 42U);
    for (const auto half : {"ab\x82\0"sv, "ab\x81\0"sv}) EXPECT_EQ(orNull(half), 3U);
    EXPECT_EQ(orNull(HA SPACE2), 2U);
    char area[4] = "###"; // halves are made spaces
    EXPECT_EQ(characters::copyCut(area, 3, "a" HA HA), 3U);
    EXPECT_STREQ(area, "a" HA);
    EXPECT_EQ(characters::copyCut(area, 2, "a" HA), 2U);
    EXPECT_STREQ(area, "a \xA0");
}

} // namespace
} // namespace oocobol::test
