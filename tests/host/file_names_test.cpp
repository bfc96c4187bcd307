// File names as text: forms, parts and joining.
#include <string>

#include <gtest/gtest.h>

#include "host/host.h"

namespace oocobol::host {
namespace {

TEST(FileNames, SplitAtTheLastSeparatorAndTheLastPeriod) {
    const struct {
        const char *name, *path, *base, *extension;
    } cases[] = {
        {"", "", "", ""},
        {"plain", "", "plain", ""},
        {"a.txt", "", "a", "txt"},
        {"a.tar.gz", "", "a.tar", "gz"},
        {"/usr/lib/a.so", "/usr/lib/", "a", "so"},
        {"one\\two/three\\b.c", "one\\two/three\\", "b", "c"},
        {"folder.d/file", "folder.d/", "file", ""},
        {"ends.", "", "ends.", ""},
        {"ends..", "", "ends..", ""},
        {".profile", "", ".profile", ""},
        {".profile.old", "", ".profile", "old"},
        {".", "", ".", ""},
        {"..", "", "..", ""},
        {"//\\/", "//\\/", "", ""},
    };
    for (const auto &[name, path, base, extension] : cases) {
        EXPECT_EQ(hasExtension(name), *extension != '\0') << name;
        const auto parts = splitFileName(name, hasExtension(name));
        EXPECT_EQ(parts.path, path) << name;
        EXPECT_EQ(parts.base, base) << name;
        EXPECT_EQ(parts.extension, extension) << name;
        std::string joined;
        EXPECT_TRUE(joinFileName(parts, joined));
        EXPECT_EQ(joined, name);
    }
    EXPECT_EQ(splitFileName("a/b.c", false).base, "b.c");
    EXPECT_EQ(splitFileName("a/.c", true).extension, "c");
}

TEST(FileNames, JoinInsertsWhatIsMissing) {
    std::string joined;
    EXPECT_TRUE(joinFileName({"/usr/lib", "a", "so"}, joined));
    EXPECT_EQ(joined, "/usr/lib\\a.so");
    EXPECT_TRUE(joinFileName({"x\\", "", ""}, joined));
    EXPECT_EQ(joined, "x\\");
    const std::string longest(longestFileName - 3, 'p');
    EXPECT_TRUE(joinFileName({longest, "b", ""}, joined));
    EXPECT_EQ(joined.size(), longestFileName - 1);
    EXPECT_FALSE(joinFileName({longest, "ba", ""}, joined));
}

TEST(FileNames, InternalFormIsWithoutQuotesAndSpacesBehind) {
    const auto internal = [](std::string_view name) {
        char form[fileNameSize];
        toInternalFileName(name, form);
        EXPECT_EQ(isInternalFileName(name), name == form) << name;
        return std::string(form);
    };
    EXPECT_EQ(internal("a b.txt   "), "a b.txt");
    EXPECT_EQ(internal("\"a \"  "), "a ");
    EXPECT_EQ(internal("\"\"q\"\""), "\"q\"");
    EXPECT_EQ(internal("\""), "\"");
    EXPECT_EQ(internal(" x"), " x");
    EXPECT_EQ(internal("   "), "");
    EXPECT_EQ(internal(std::string_view("a\0b", 3)), "a");
    EXPECT_EQ(internal(std::string(255, 'x')).size(), 255U);
    EXPECT_EQ(internal(std::string(256, 'x')).size(), 255U);
    EXPECT_EQ(internal('"' + std::string(255, 'x') + '"').size(), 255U);
}

} // namespace
} // namespace oocobol::host
