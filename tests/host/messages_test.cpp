// Message files: the parser, with files nobody means well with, the inserts, and where files are looked for.
#include <random>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "host/host.h"
#include "host/message_catalog.h"
#include "tests/host/temporary_folder.h"

namespace oocobol::host::tests {
namespace {

using namespace std::string_literals;

std::string textOf(std::string_view source, unsigned set, unsigned number) {
    const auto catalog = MessageCatalog::parse(source);
    const auto *text = catalog.find(set, number);
    return text ? *text : "<none>";
}

TEST(MessageCatalog, readsSetsNumbersAndEscapes) {
    constexpr auto source = "\xEF\xBB\xBF$ comment\n1 before any set\r\n$set 2 a remark\n"
                            "7 two\\nlines\\tand\\\\one\n8 goes \\\non\n9  kept blank\n10\n7 the later one counts\\";
    EXPECT_EQ(textOf(source, 1, 1), "before any set");
    EXPECT_EQ(textOf(source, 2, 7), "the later one counts");
    EXPECT_EQ(textOf("3 two\\nlines\\tand\\\\\n4 x", 1, 3), "two\nlines\tand\\");
    EXPECT_EQ(textOf(source, 2, 8), "goes on");
    EXPECT_EQ(textOf(source, 2, 9), " kept blank");
    EXPECT_EQ(textOf(source, 2, 10), "");
    EXPECT_EQ(textOf(source, 2, 1), "<none>");
}

TEST(MessageCatalog, hostileSourcesGiveNoMessages) {
    for (const auto source : {"$set 99999999999999999999\n1 x", "$set -1\n1 x", "$set\n1 x", "$set 1x\n1 x", "0 x",
                              "65536 x", "-1 x", "18446744073709551617 x", "1x", "x 1", "\\", ""})
        EXPECT_EQ(MessageCatalog::parse(source).size(), 0U) << source;
    EXPECT_EQ(textOf("1 cut\0off\n2 whole"s, 1, 1), "cut");
    EXPECT_EQ(textOf("1 " + std::string(5'000'000, 'x') + "\n2 next", 1, 2), "next");
    EXPECT_EQ(textOf("1 " + std::string(5'000'000, 'x'), 1, 1).size(), messageLimit);
    std::string endless = "1 a";
    for (int i = 0; i < 100'000; ++i) endless += "\\\nb";
    EXPECT_EQ(textOf(endless, 1, 1).size(), messageLimit);
}

TEST(MessageCatalog, survivesMutatedFiles) {
    const auto seed = "$set 1\n1 text %1\n$set 2\n12 more\\\ntext\\n\n$ note\n65535 last"s;
    std::mt19937 random(4711);
    for (int round = 0; round < 100'000; ++round) {
        auto source = seed;
        for (int change = 0; change < 3; ++change) source[random() % source.size()] = static_cast<char>(random());
        const auto catalog = MessageCatalog::parse(source);
        ASSERT_LE(catalog.size(), 4U);
    }
}

TEST(Inserts, areReplacedInOnePass) {
    const std::vector<std::string_view> inserts{"%2", "b", "c", "d", "e", "f", "g"};
    EXPECT_EQ(withInserts("<%1%2%6%7%0%%1%>", inserts), "<%2bf%7%0%%2%>");
    EXPECT_EQ(withInserts("<%1%2>%", {inserts.data(), 1}), "<%2>%");
    EXPECT_EQ(withInserts("%s%n%1", {}), "%s%n");
    const std::string large(1500, 'x');
    EXPECT_EQ(withInserts("%1%1%1", std::vector<std::string_view>{large}).size(), messageLimit);
}

class MessageFiles : public testing::Test {
protected:
    std::string read(unsigned number, std::string_view file = "trial", std::string_view library = "") {
        std::string text = "untouched";
        const bool found = readMessage({.library = library, .file = file, .extension = "lng", .number = number}, &text);
        EXPECT_EQ(found, !text.empty());
        return found ? text : "<none>";
    }
    TemporaryFolder folder;
    Environment path{"OOCOBOL_MESSAGE_PATH", ":/nowhere:" + folder.path.string()};
    Environment noLocale{"LC_ALL", ""};
    Environment noMessages{"LC_MESSAGES", ""};
};

TEST_F(MessageFiles, translationComesFirstAndMayHaveGaps) {
    folder.write("trial.lng", "1 one\n2 two");
    folder.write("de/trial.lng", "1 eins");
    for (const auto *locale : {"C", "POSIX", "../de", "de/", ""}) {
        const Environment other("LANG", locale);
        EXPECT_EQ(read(1), "one") << locale;
    }
    const Environment german("LANG", "de_AT.UTF-8@euro");
    EXPECT_EQ(read(1), "eins");
    EXPECT_EQ(read(2), "two");
    EXPECT_EQ(read(3), "<none>");
    const Environment english("LC_MESSAGES", "en");
    EXPECT_EQ(read(1), "one");
}

TEST_F(MessageFiles, namesMayCarryPathsLibrariesAndUpperCase) {
    folder.write("sub/lib/upper.lng", "1 found");
    EXPECT_EQ(read(1, "UPPER", "sub/lib"), "found");
    EXPECT_EQ(read(1, "sub/lib/upper"), "found");
    EXPECT_EQ(read(1, (folder.path / "sub/lib/upper").string()), "found");
}

TEST_F(MessageFiles, whatIsNoMessageFileIsLeftAlone) {
    folder.write("huge.lng", "1 text");
    std::filesystem::resize_file(folder.path / "huge.lng", (16 << 20) + 1);
    std::filesystem::create_directory(folder.path / "folder.lng");
    ASSERT_EQ(mkfifo((folder.path / "pipe.lng").c_str(), 0600), 0);
    for (const auto &name : {"huge"s, "folder"s, "pipe"s, ""s, "a\0b"s, std::string(70'000, 'x')})
        EXPECT_EQ(read(1, name), "<none>") << name;
}

} // namespace
} // namespace oocobol::host::tests
