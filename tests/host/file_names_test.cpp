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
        {"a.tar.gz", "", "a.tar", "gz"},
        {"/usr/lib/a.so", "/usr/lib/", "a", "so"},
        {"one\\two/three\\b.c", "one\\two/three\\", "b", "c"},
        {"folder.d/file", "folder.d/", "file", ""},
        {"ends..", "", "ends..", ""},
        {".profile", "", ".profile", ""},
        {".profile.old", "", ".profile", "old"},
        {".", "", ".", ""},
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
    const auto join = [](const FileNameParts &parts) {
        std::string joined;
        return joinFileName(parts, joined) ? joined : "too long";
    };
    EXPECT_EQ(join({"/usr/lib", "a", "so"}), "/usr/lib\\a.so");
    EXPECT_EQ(join({"x\\", "", ""}), "x\\");
    const std::string longest(longestFileName - 3, 'p');
    EXPECT_EQ(join({longest, "b", ""}), longest + "\\b");
    EXPECT_EQ(join({longest, "ba", ""}), "too long");
}

TEST(FileNames, InternalFormIsWithoutQuotesAndSpacesBehind) {
    using namespace std::string_literals;
    const std::string fits(255, 'x');
    for (const auto &[name, internal] :
         std::initializer_list<std::pair<std::string, std::string>>{{"a b.txt   ", "a b.txt"},
                                                                    {"\"a \"  ", "a "},
                                                                    {"\"\"q\"\"", "\"q\""},
                                                                    {"\"", "\""},
                                                                    {" x", " x"},
                                                                    {"   ", ""},
                                                                    {"a\0b"s, "a"},
                                                                    {fits, fits},
                                                                    {fits + "x", fits},
                                                                    {'"' + fits + '"', fits}}) {
        char form[fileNameSize];
        toInternalFileName(name, form);
        EXPECT_EQ(form, internal);
        EXPECT_EQ(isInternalFileName(name), name == internal) << name;
    }
}

} // namespace
} // namespace oocobol::host
