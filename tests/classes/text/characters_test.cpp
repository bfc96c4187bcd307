// Characters of one or two bytes: the blockwise walk and what is built on it, against a walk byte by byte.
#include <random>

#include "classes/text/characters.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

using Characters = std::vector<std::string>;

// As anybody would write it; half a character at the end is one of one byte.
Characters split(std::string_view text) {
    Characters found;
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = static_cast<unsigned char>(text[at]);
        const auto leads = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        const std::size_t length = leads && at + 1 < text.size() ? 2 : 1;
        found.emplace_back(text.substr(at, length));
        at += length;
    }
    return found;
}
std::string join(const Characters &parts) {
    std::string text;
    for (const auto &part : parts) text += part;
    return text;
}

class RandomText {
public:
    // Bytes of every kind, lead bytes among the second halves too.
    std::string operator()(std::size_t length) {
        static constexpr std::string_view bytes("ab \n\0\x81\x40\x81\x9F\xE0\xFC\xA0\xDF\xFD\xFF@~\x80", 18);
        std::string text(length, ' ');
        const auto kinds = 1 + random() % bytes.size();
        const auto first = random() % bytes.size();
        for (auto &character : text) character = bytes[(first + random() % kinds) % bytes.size()];
        return text;
    }
    std::size_t upTo(std::size_t limit) { return random() % (limit + 1); }

private:
    std::mt19937 random{7};
};

class InMixedText : public testing::Test {
protected:
    InEnvironment environment{doubleByte};
    RandomText randomText;
};

TEST_F(InMixedText, CountsAsAPlainWalkDoes) {
    for (int round = 0; round < 3000; ++round) {
        const auto text = randomText(randomText.upTo(200));
        const auto parts = split(text);
        const auto halfIsLeft = !parts.empty() && parts.back().size() == 1 && host::isLeadByte(parts.back()[0]);
        const auto [count, endsInHalf] = characters::counted(text);
        ASSERT_EQ(count, parts.size());
        ASSERT_EQ(endsInHalf, halfIsLeft);
        std::size_t offset = 0;
        for (std::size_t i = 0; i <= parts.size(); ++i) {
            ASSERT_EQ(characters::lengthOf(std::string_view(text), i), offset);
            if (i == parts.size()) break;
            ASSERT_TRUE(characters::isBoundary(text, offset));
            if (parts[i].size() == 2) {
                ASSERT_FALSE(characters::isBoundary(text, offset + 1));
            }
            offset += parts[i].size();
        }
    }
}

TEST_F(InMixedText, ReadsNoByteBehindTheCharactersAskedFor) {
    for (int round = 0; round < 2000; ++round) {
        auto parts = split(randomText(randomText.upTo(150)));
        if (!parts.empty() && parts.back().size() == 1 && host::isLeadByte(parts.back()[0])) parts.pop_back();
        const auto text = join(parts);
        const ExactBytes exact(text);
        ASSERT_EQ(characters::lengthOf(Bytes(exact).address, parts.size()), text.size());
    }
}

TEST_F(InMixedText, OneLeadByteIsSeenWhereverItIs) {
    for (const std::size_t size : {1U, 15U, 16U, 17U, 63U, 64U, 65U, 255U, 256U, 257U, 700U}) {
        const std::string none(size, '\xB1'); // a katakana of one byte
        const ExactBytes exact(none);
        ASSERT_FALSE(characters::anyDoubleByte({Bytes(exact).address, size}));
        for (std::size_t at = 0; at < size; ++at) {
            auto text = std::string(size, 'a');
            text[at] = '\xE0';
            ASSERT_TRUE(characters::anyDoubleByte(text)) << size << " " << at;
        }
    }
}

TEST_F(InMixedText, TrimsSplitsAndFindsWholeCharacters) {
    const auto isSpace = [](const std::string &part) { return part == " " || part == "\x81\x40"; };
    const auto isNull = [](const std::string &part) { return part == std::string(1, '\0'); };
    for (int round = 0; round < 3000; ++round) {
        const auto text = randomText(randomText.upTo(60));
        const auto parts = split(text);
        auto kept = parts;
        while (!kept.empty() && isSpace(kept.back())) kept.pop_back();
        ASSERT_EQ(characters::withoutTrailingSpaces(text), join(kept));
        ASSERT_EQ(characters::hash(text), hashText(join(kept)));
        auto blanks = parts;
        while (!blanks.empty() && (isSpace(blanks.back()) || isNull(blanks.back()))) blanks.pop_back();
        ASSERT_EQ(characters::withoutTrailingBlanks(text), join(blanks));
        while (!kept.empty() && isSpace(kept.front())) kept.erase(kept.begin());
        ASSERT_EQ(characters::withoutSpacesAround(text), join(kept));

        Characters lines, words;
        const auto pieces = [&](auto next) {
            Characters found;
            for (auto piece = next(text, 0); !piece.isEmpty(); piece = next(text, piece.end))
                found.push_back(text.substr(piece.begin, piece.size()));
            return found;
        };
        const auto expected = [&](auto parts_, auto separates) {
            Characters found{""};
            for (const auto &part : parts_) {
                if (separates(part))
                    found.emplace_back();
                else
                    found.back() += part;
            }
            std::erase(found, "");
            return found;
        };
        ASSERT_EQ(pieces(characters::nextLine), expected(parts, [](const auto &part) { return part == "\n"; }));
        ASSERT_EQ(pieces(characters::nextWord),
                  expected(parts, [&](const auto &part) { return isSpace(part) || isNull(part); }));

        if (parts.empty()) continue;
        const auto from = randomText.upTo(parts.size() - 1);
        const auto length = 1 + randomText.upTo(std::min<std::size_t>(2, parts.size() - from - 1));
        const Characters wanted(parts.begin() + static_cast<std::ptrdiff_t>(from),
                                parts.begin() + static_cast<std::ptrdiff_t>(from + length));
        std::size_t position = 0;
        while (!std::equal(wanted.begin(), wanted.end(), parts.begin() + static_cast<std::ptrdiff_t>(position)))
            ++position;
        ASSERT_EQ(characters::find(text, join(wanted), 0), characters::lengthOf(std::string_view(text), position));
    }
}

TEST_F(InMixedText, ConvertsLettersOfOneByteOnly) {
    for (int round = 0; round < 1000; ++round) {
        auto parts = split(randomText(randomText.upTo(80)) + "zZ");
        auto text = join(parts);
        characters::toUpper(text.data(), text.size());
        for (auto &part : parts)
            if (part.size() == 1) host::toUpper(part.data(), 1);
        ASSERT_EQ(text, join(parts));
    }
    EXPECT_TRUE(characters::equalIgnoringCase("a\x83\x41z", "A\x83\x41Z"));
    EXPECT_FALSE(characters::equalIgnoringCase("\x83\x41", "\x83\x61"));
}

TEST_F(InMixedText, TerminatorsEndNoTextInsideACharacter) {
    const auto upToSpace = [](std::string_view bytes) {
        return characters::upToSpace(Bytes(ExactBytes(bytes)).address).size();
    };
    EXPECT_EQ(upToSpace("\x82\xA0 "), 2U);
    EXPECT_EQ(upToSpace("a\x81\x40"), 1U);
    EXPECT_EQ(upToSpace("\x81\x81\x40\x81\x20\x81\x40"), 5U); // a trail of 0x81, '@', a trail of 0x20
    EXPECT_EQ(upToSpace(std::string_view("a\0b ", 4)), 3U);
    const auto orNull = [](std::string_view bytes) {
        return characters::upToSpaceOrNull(Bytes(ExactBytes(bytes)).address).size();
    };
    EXPECT_EQ(orNull(std::string_view("ab\x82\0", 4)), 3U); // half a character
    EXPECT_EQ(orNull(std::string_view("ab\x81\0", 4)), 3U);
    EXPECT_EQ(orNull("\x82\xA0\x81\x40"), 2U);
}

TEST_F(InMixedText, CutsMakeSpacesOfHalves) {
    char area[4] = "###";
    EXPECT_EQ(characters::copyCut(area, 3, "a\x82\xA0\x82\xA0"), 3U);
    EXPECT_EQ(std::string_view(area, 3), "a\x82\xA0");
    EXPECT_EQ(characters::copyCut(area, 2, "a\x82\xA0"), 2U);
    EXPECT_EQ(std::string_view(area, 3), "a \xA0");
}

TEST(InSingleByteText, EveryByteIsACharacter) {
    const InEnvironment environment(singleByte);
    const std::string_view text = "\x82\xA0\x81\x40";
    EXPECT_EQ(characters::count(text), 4U);
    EXPECT_EQ(characters::lengthOf(text, 3), 3U);
    EXPECT_FALSE(characters::anyDoubleByte(text));
    EXPECT_EQ(characters::withoutSpacesAround(text), text);
    EXPECT_EQ(characters::upToSpace("\x81 "), "\x81");
}

} // namespace
} // namespace oocobol::test
