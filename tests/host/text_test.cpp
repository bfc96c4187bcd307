// Letters, double-byte characters and what the environment says about them.
#include <cctype>
#include <string>

#include <gtest/gtest.h>

#include "host/host.h"
#include "temporary_folder.h"

namespace oocobol::host::tests {
namespace {

TEST(Text, onlyAsciiLettersChangeAtEveryAlignmentAndLength) {
    std::string all;
    for (int i = 0; i < 512; ++i) all += static_cast<char>(i * 7);
    for (std::size_t start = 0; start < 17; ++start)
        for (std::size_t length = 0; length < 300; length += length < 40 ? 1 : 37) {
            auto upper = all, lower = all, expectedUpper = all, expectedLower = all;
            toUpper(upper.data() + start, length);
            toLower(lower.data() + start, length);
            for (std::size_t i = start; i < start + length; ++i) { // the C locale knows ASCII letters only
                const auto byte = static_cast<unsigned char>(all[i]);
                expectedUpper[i] = static_cast<char>(std::toupper(byte));
                expectedLower[i] = static_cast<char>(std::tolower(byte));
            }
            ASSERT_EQ(upper, expectedUpper) << start << " " << length;
            ASSERT_EQ(lower, expectedLower) << start << " " << length;
        }
}

TEST(Text, leadBytesAreThoseOfShiftJis) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text{static_cast<char>(byte), 'x'};
        const bool lead = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        EXPECT_EQ(characterLength(text), lead ? 2U : 1U) << byte;
        EXPECT_EQ(characterLength(text.substr(0, 1)), 1U) << byte;
    }
    EXPECT_EQ(characterLength(""), 1U);
}

TEST(System, switchDecidesOverTheLocale) {
    const Environment locale("LC_ALL", "C");
    EXPECT_EQ(systemInfo().type, 128);
    const Environment yes("OOCOBOL_DBCS", "1");
    EXPECT_TRUE(systemInfo().doubleByte);
    const Environment no("OOCOBOL_DBCS", "0");
    EXPECT_FALSE(systemInfo().doubleByte);
    const Environment neither("OOCOBOL_DBCS", "perhaps");
    EXPECT_FALSE(systemInfo().doubleByte);
}

TEST(ExternalByte, nameStandsForOneItemInAnySpelling) {
    auto *item = externalByte("host-test-status");
    ASSERT_TRUE(item);
    EXPECT_EQ(*item, 0);
    *item = 3;
    EXPECT_EQ(externalByte("HOST_TEST_STATUS"), item);
    EXPECT_NE(externalByte("host-test-status-2"), item);
}

} // namespace
} // namespace oocobol::host::tests
