// Characters of one or two bytes: the blockwise walk and what is built on it, against a walk byte by byte.
#include <random>

#include "classes/text/characters.h"
#include "tests/classes/text/texts.h"

namespace oocobol::test {
namespace {

using namespace std::literals;

bool isHalf(const std::string &part) { return part.size() == 1 && host::isLeadByte(part[0]); }
bool isSpace(const std::string &part) { return part == " " || part == SPACE2; }
bool isBlank(const std::string &part) { return isSpace(part) || part == "\0"s; }
bool isNewLine(const std::string &part) { return part == "\n"; }

// As anybody would write it; half a character at the end is one of one byte.
Characters split(std::string_view text) {
    Characters found;
    for (std::size_t at = 0; at < text.size(); at += found.back().size()) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const auto leads = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        found.emplace_back(text.substr(at, leads ? 2 : 1));
    }
    return found;
}
// What lies between the characters that separate, without empty pieces.
Characters plainPieces(const Characters &parts, bool (*separates)(const std::string &)) {
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

class InMixedText : public testing::Test {
protected:
    // Bytes of every kind, lead bytes among the second halves too.
    std::string randomText(std::size_t longest) {
        static constexpr auto bytes = "ab \n\0\x81\x40\x81\x9F\xE0\xFC\xA0\xDF\xFD\xFF@~\x80"sv;
        std::string text(upTo(longest), ' ');
        const auto kinds = 1 + random() % bytes.size(), first = random() % bytes.size();
        for (auto &character : text) character = bytes[(first + random() % kinds) % bytes.size()];
        return text;
    }
    std::size_t upTo(std::size_t limit) { return random() % (limit + 1); }

    InEnvironment environment{doubleByte};
    std::mt19937 random{7};
};

TEST_F(InMixedText, CountsAsAPlainWalkDoesAndReadsNoByteBehind) {
    for (int round = 0; round < 3000; ++round) {
        const auto text = randomText(200);
        auto parts = split(text);
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

TEST_F(InMixedText, OneLeadByteIsSeenWhereverItIs) {
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

TEST_F(InMixedText, TrimsSplitsFindsAndConvertsWholeCharacters) {
    for (int round = 0; round < 3000; ++round) {
        const auto text = randomText(60);
        const auto parts = split(text);
        auto kept = parts, blanks = parts, upper = split(text + "zZ");
        while (!kept.empty() && isSpace(kept.back())) kept.pop_back();
        ASSERT_EQ(characters::withoutTrailingSpaces(text), join(kept));
        ASSERT_EQ(characters::hash(text), hashText(join(kept)));
        while (!kept.empty() && isSpace(kept.front())) kept.erase(kept.begin());
        ASSERT_EQ(characters::withoutSpacesAround(text), join(kept));
        while (!blanks.empty() && isBlank(blanks.back())) blanks.pop_back();
        ASSERT_EQ(characters::withoutTrailingBlanks(text), join(blanks));

        auto converted = join(upper);
        characters::toUpper(converted.data(), converted.size());
        for (auto &part : upper)
            if (part.size() == 1) host::toUpper(part.data(), 1);
        ASSERT_EQ(converted, join(upper));

        const auto pieces = [&](auto next) {
            Characters found;
            for (auto piece = next(text, 0); !piece.isEmpty(); piece = next(text, piece.end))
                found.push_back(text.substr(piece.begin, piece.size()));
            return found;
        };
        ASSERT_EQ(pieces(characters::nextLine), plainPieces(parts, isNewLine));
        ASSERT_EQ(pieces(characters::nextWord), plainPieces(parts, isBlank));

        if (parts.empty()) continue;
        const auto from = upTo(parts.size() - 1), length = 1 + upTo(std::min<std::size_t>(2, parts.size() - from - 1));
        const auto at = [&](std::size_t position) { return parts.begin() + static_cast<std::ptrdiff_t>(position); };
        const Characters wanted(at(from), at(from + length));
        std::size_t position = 0;
        while (!std::equal(wanted.begin(), wanted.end(), at(position))) ++position;
        ASSERT_EQ(characters::find(text, join(wanted), 0), characters::lengthOf(std::string_view(text), position));
    }
    EXPECT_TRUE(characters::equalIgnoringCase("a" KA "z", "A" KA "Z"));
    EXPECT_FALSE(characters::equalIgnoringCase(KA, "\x83\x61"));
}

TEST_F(InMixedText, TerminatorsEndNoTextInsideACharacter) {
    const auto toSpace = [](std::string_view bytes) {
        return characters::upToSpace(Bytes(ExactBytes(bytes)).address).size();
    };
    const auto orNull = [](std::string_view bytes) {
        return characters::upToSpaceOrNull(Bytes(ExactBytes(bytes)).address).size();
    };
    EXPECT_EQ(toSpace(HA " "), 2U);
    EXPECT_EQ(toSpace("a" SPACE2), 1U);
    EXPECT_EQ(toSpace("\x81\x81\x40\x81\x20" SPACE2), 5U); // a trail of 0x81, '@', a trail of 0x20
    EXPECT_EQ(toSpace("a\0b "sv), 3U);
    EXPECT_EQ(orNull("ab\x82\0"sv), 3U); // half a character
    EXPECT_EQ(orNull("ab\x81\0"sv), 3U);
    EXPECT_EQ(orNull(HA SPACE2), 2U);
}

TEST_F(InMixedText, CutsMakeSpacesOfHalves) {
    char area[4] = "###";
    EXPECT_EQ(characters::copyCut(area, 3, "a" HA HA), 3U);
    EXPECT_STREQ(area, "a" HA);
    EXPECT_EQ(characters::copyCut(area, 2, "a" HA), 2U);
    EXPECT_STREQ(area, "a \xA0");
}

TEST(InSingleByteText, EveryByteIsACharacter) {
    const InEnvironment environment(singleByte);
    const std::string_view text = HA SPACE2;
    EXPECT_EQ(characters::count(text), 4U);
    EXPECT_EQ(characters::lengthOf(text, 3), 3U);
    EXPECT_FALSE(characters::anyDoubleByte(text));
    EXPECT_EQ(characters::withoutSpacesAround(text), text);
    EXPECT_EQ(characters::upToSpace("\x81 "), "\x81");
}

} // namespace
} // namespace oocobol::test
