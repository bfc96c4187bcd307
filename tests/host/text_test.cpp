// Letters, double-byte characters and what the environment says about them.
#include <cctype>
#include <string>

#include <gtest/gtest.h>

#include "host/host.h"
#include "tests/host/temporary_folder.h"

namespace oocobol::host::tests {
namespace {

TEST(Text, onlyAsciiLettersChangeAtEveryAlignmentAndLength) {
    std::string all;
    for (int i = 0; i < 512; ++i) all += static_cast<char>(i * 7);
    // What is asked of the C locale, which knows ASCII letters only.
    const auto check = [&](void (*convert)(char *, std::size_t), int (*expect)(int), std::size_t start,
                           std::size_t length) {
        auto converted = all, expected = all;
        convert(converted.data() + start, length);
        for (std::size_t i = start; i < start + length; ++i)
            expected[i] = static_cast<char>(expect(static_cast<unsigned char>(all[i])));
        ASSERT_EQ(converted, expected) << start << " " << length;
    };
    for (std::size_t start = 0; start < 17; ++start)
        for (std::size_t length = 0; length < 300; length += length < 40 ? 1 : 37) {
            check(toUpper, std::toupper, start, length);
            check(toLower, std::tolower, start, length);
        }
}

TEST(System, switchDecidesOverTheLocale) {
    const Environment locale("LC_ALL", "C");
    EXPECT_EQ(systemInfo().type, 128);
    for (const auto *setting : {"1", "0", "perhaps"}) {
        const Environment given("OOCOBOL_DBCS", setting);
        EXPECT_EQ(systemInfo().doubleByte, *setting == '1') << setting;
    }
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
