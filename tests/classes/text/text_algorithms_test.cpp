// The pure text algorithms against plain loops, on texts of every short length that end where their memory ends.
#include <algorithm>
#include <random>
#include <string>
#include <sys/mman.h>

#include <gtest/gtest.h>

#include "classes/text/text_algorithms.h"

namespace oocobol::test {
namespace {

// Texts whose last byte is the last one that may be read.
class GuardedText {
public:
    GuardedText() { mprotect(memory + page, page, PROT_NONE); }
    ~GuardedText() { munmap(memory, 2 * page); }
    std::string_view hold(const std::string &text) {
        auto *start = memory + page - text.size();
        std::copy(text.begin(), text.end(), start);
        return {start, text.size()};
    }

private:
    static constexpr std::size_t page = 4096;
    char *memory =
        static_cast<char *>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

class TextAlgorithms : public testing::Test {
protected:
    // Few different characters, so that words, lines and equal starts come up.
    std::string randomText(std::size_t length, std::string_view from) {
        std::string text(length, ' ');
        for (auto &character : text) character = from[random() % from.size()];
        return text;
    }
    std::mt19937 random{47};
    GuardedText guarded, other;
    static constexpr std::size_t longest = 150;
};

Count plainHash(std::string_view text) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    Count hash = 0;
    for (auto at = text.size(); at-- > 0;) hash = hash * 47 + static_cast<unsigned char>(text[at]);
    return hash > 0x80000000 ? 0 - hash : hash;
}

TEST_F(TextAlgorithms, HashIsThePlainOne) {
    EXPECT_EQ(hashText("ab"), 4703U);
    EXPECT_EQ(hashText("   "), 0U);
    std::string all(256, '\0');
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<char>(i);
    for (std::size_t length = 0; length < 3 * longest; ++length) {
        const auto high = std::string(length, '\xFF') + std::string(length % 37, ' ');
        for (const auto &text : {randomText(length, all), high})
            ASSERT_EQ(hashText(guarded.hold(text)), plainHash(text)) << length;
    }
}

int sign(int order) { return (order > 0) - (order < 0); }

TEST_F(TextAlgorithms, ComparisonPadsTheShorterWithSpaces) {
    const std::string_view characters("ab \x1F\xC4 ", 6);
    for (int round = 0; round < 20000; ++round) {
        auto one = randomText(random() % 40, characters);
        auto two = random() % 2 == 0 ? one.substr(0, random() % 40) + std::string(random() % 40, ' ')
                                     : randomText(random() % 40, characters);
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

TEST_F(TextAlgorithms, TrimmingFindsTheFirstAndLastCharacter) {
    for (int round = 0; round < 5000; ++round) {
        const auto middle = randomText(random() % 3, "x \n");
        const auto text = std::string(random() % longest, ' ') + middle + std::string(random() % longest, ' ');
        const auto first = text.find_first_not_of(' '), last = text.find_last_not_of(' ');
        const auto kept = first == std::string::npos ? "" : text.substr(first, last - first + 1);
        ASSERT_EQ(withoutSpacesAround(guarded.hold(text)), kept);
    }
}

TEST_F(TextAlgorithms, PiecesAreWordsAndLines) {
    using Pieces = std::vector<std::string>;
    const auto piecesOf = [](std::string_view text, auto next) {
        Pieces found;
        for (auto piece = next(text, 0); !piece.isEmpty(); piece = next(text, piece.end))
            found.emplace_back(text.substr(piece.begin, piece.size()));
        return found;
    };
    const auto plainPieces = [](std::string_view text, auto separates) {
        Pieces found{""};
        for (const char character : text) {
            if (separates(character))
                found.emplace_back();
            else
                found.back() += character;
        }
        std::erase(found, "");
        return found;
    };
    for (int round = 0; round < 5000; ++round) {
        const auto text = randomText(random() % longest, std::string_view("abcdef\xFF! \t\n\n\0", 13));
        const auto held = guarded.hold(text);
        ASSERT_EQ(piecesOf(held, nextWord), plainPieces(text, [](unsigned char c) { return c <= 32; }));
        ASSERT_EQ(piecesOf(held, nextLine), plainPieces(text, [](char c) { return c == '\n'; }));
    }
}

TEST_F(TextAlgorithms, NumbersAreShownAsDigitsAndReadModuloTwoToTheThirtyTwo) {
    EXPECT_EQ(decimalDigits(0).view(), "0");
    EXPECT_EQ(decimalDigits(1000).view(), "1000");
    EXPECT_EQ(decimalDigits(UINT64_MAX).view(), "446744073709551615");
    EXPECT_EQ(decimalDigits(1'000'000'000'000'000'005).view(), "5");
    EXPECT_EQ(decimalDigits(42, 10).view(), "0000000042");
    EXPECT_EQ(signedDecimalDigits(INT32_MIN).view(), "-2147483648");
    EXPECT_EQ(hexadecimalDigits(0).view(), "0");
    EXPECT_EQ(hexadecimalDigits(15).view(), "0F");
    EXPECT_EQ(hexadecimalDigits(256).view(), "0100");
    EXPECT_EQ(hexadecimalDigits(UINT64_MAX).view(), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(decimalValue("0042"), 42U);
    EXPECT_EQ(decimalValue("42 "), 420U);
    EXPECT_EQ(decimalValue("4294967297"), 1U);
    EXPECT_EQ(hexadecimalValue("1f"), 31U);
    EXPECT_EQ(hexadecimalValue("99DEADbeef"), 0xDEADBEEFU);
    EXPECT_EQ(hexadecimalValue("2 "), 32U);
}

} // namespace
} // namespace oocobol::test
