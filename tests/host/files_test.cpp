// Files: looking them up and searching in real folders with all that these may hold.
#include <set>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "host/host.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/support.h"

namespace oocobol::host {
namespace {

using tests::TemporaryFolder;

// ---- Searches -------------------------------------------------------------------------------------------------------

// What a search finds first and next, as its name tells: nothing is nothing. All that it finds, each with a space
// behind.
std::string next(std::uint16_t handle, FoundFile &found) {
    return findNextFile(handle, found) == SearchResult::found ? std::string(found.name()) : "";
}
std::string first(const std::string &pattern, FoundFile &found) {
    return findFirstFile(pattern, found) == SearchResult::found ? std::string(found.name()) : "";
}
std::string search(const std::string &pattern) {
    std::string names;
    FoundFile found;
    for (auto name = first(pattern, found); !name.empty(); name = next(found.handle, found))
        names += name + (found.isDirectory ? "/ " : " ");
    return names;
}

class Folder : public testing::Test {
protected:
    std::string at(const std::string &name) const { return folder.path / name; }
    void make(std::initializer_list<const char *> names) const {
        for (const auto *name : names) folder.write(name, "");
    }
    TemporaryFolder folder;
};

TEST_F(Folder, PatternsAreTheShells) {
    make({"b.txt", "a.txt", "ab.txt", "B.txt", "c.dat", ".hidden", "sub/inner", "[x]"});
    const auto finds = [&](const char *pattern, const char *names) {
        EXPECT_EQ(search(at(pattern)), names) << pattern;
    };
    finds("*", "B.txt [x] a.txt ab.txt b.txt c.dat sub/ ");
    finds("*.txt", "B.txt a.txt ab.txt b.txt ");
    finds("?.txt", "B.txt a.txt b.txt ");
    finds("[a-c].*", "a.txt b.txt c.dat ");
    finds("[!a]*.txt", "B.txt b.txt ");
    finds("[[]x]", "[x] ");
    finds(".*", ".hidden ");
    for (const auto *inside : {"sub/*", "sub\\*"}) finds(inside, "inner ");
    finds("a.txt", "a.txt ");
    finds("sub", "sub/ ");
    // The path is taken as it stands.
    for (const auto *nothing : {"[", "s*/inner", "none", "", ".", "..", "sub/", "none/*"}) finds(nothing, "");
}

TEST_F(Folder, ThousandsOfNamesComeInOrder) {
    std::string all;
    for (int i = 0; i < 5000; ++i) {
        folder.write("prefix that all have " + std::to_string(10000 + (i * 7919) % 5000), "");
        all += "prefix that all have " + std::to_string(10000 + i) + " ";
    }
    EXPECT_EQ(search(at("*")), all);
}

// ---- What happens meanwhile -----------------------------------------------------------------------------------------

TEST_F(Folder, SearchesEndAndTheNumberOfOpenOnesIsBounded) {
    make({"a", "b", "c"});
    FoundFile one, found;
    EXPECT_EQ(first(at("*"), one), "a");
    std::set<std::uint16_t> handles{one.handle};
    for (int i = 0; i < 256; ++i) {            // never brought to an end
        if (i == 255) next(one.handle, found); // used: another one is forgotten now
        ASSERT_EQ(first(at("*"), found), "a");
        EXPECT_TRUE(handles.insert(found.handle).second);
    }
    handles.erase(one.handle);
    EXPECT_EQ(next(*handles.begin(), found), "");
    EXPECT_EQ(next(one.handle, found), "c");
    EXPECT_EQ(found.handle, 0);
    for (const auto ended : {one.handle, std::uint16_t{0}}) EXPECT_EQ(next(ended, found), "");
}

TEST_F(Folder, ThreadsSearchAtOnce) {
    make({"a", "b", "c", "d"});
    test::onThreads(4, [this](int) {
        for (int round = 0; round < 200; ++round) EXPECT_EQ(search(at("*")), "a b c d ");
    });
}

// ---- Looking up -----------------------------------------------------------------------------------------------------

std::string attributes(const std::string &name) {
    const auto file = lookUpFile(name);
    return !file.found ? "none"
                       : std::string(file.isDirectory ? "directory" : std::to_string(file.size)) +
                             (file.isHidden ? " hidden" : "") + (file.isReadOnly ? " fixed" : "");
}

TEST_F(Folder, AttributesAreThoseOfTheFile) {
    make({"a.txt", ".hidden", "sub/inner", "fixed"});
    folder.write("five", "12345");
    chmod(at("fixed").c_str(), 0444);
    for (const auto *name : {"sub", "sub\\", "sub/.."}) EXPECT_EQ(attributes(at(name)), "directory") << name;
    EXPECT_EQ(attributes(at("five")), "5");
    EXPECT_EQ(attributes(at("sub\\inner")), "0");
    EXPECT_EQ(attributes(at("a.txt/")), "none");
    EXPECT_EQ(attributes(at(".hidden")), "0 hidden");
    EXPECT_EQ(attributes(at("fixed")), "0 fixed");
    EXPECT_EQ(attributes("/"), "directory");
    for (const auto &name : {std::string(), std::string(4096, 'x'), std::string(300, 'x'), at("five") + '\0' + "x"})
        EXPECT_EQ(attributes(name), "none") << name;
}

TEST_F(Folder, SizesAboveFourGigabytesAreTheLargestNumber) {
    make({"large"});
    for (const auto &[size, told] : {std::pair{0xFFFFFFFEL, 0xFFFFFFFEU}, {0x500000000L, 0xFFFFFFFFU}}) {
        ASSERT_EQ(truncate(at("large").c_str(), size), 0);
        EXPECT_EQ(lookUpFile(at("large")).size, told);
    }
}

TEST_F(Folder, LinksAreFollowedAndLoopsAreFiles) {
    make({"sub/inner"});
    std::filesystem::create_directory_symlink("sub", at("link"));
    std::filesystem::create_symlink("loop", at("loop"));
    std::filesystem::create_symlink("nowhere", at("dangling"));
    std::filesystem::create_directory_symlink("..", at("sub/up"));
    EXPECT_EQ(search(at("*")), "dangling link/ loop sub/ ");
    EXPECT_EQ(search(at("link/*")), "inner up/ ");
    EXPECT_EQ(attributes(at("loop/x")), "none");
    EXPECT_TRUE(lookUpFile(at("loop")).found);
    EXPECT_FALSE(lookUpFile(at("loop")).isDirectory);
    EXPECT_EQ(attributes(at("link")), "directory");
    EXPECT_EQ(search(at("loop/*")), "");
}

} // namespace
} // namespace oocobol::host
