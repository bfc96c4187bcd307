// Looking names up and searching folders: real ones, with all that a folder may hold.
#include <algorithm>
#include <clocale>
#include <set>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "host/host.h"
#include "tests/host/temporary_folder.h"

namespace oocobol::host {
namespace {

using tests::TemporaryFolder;
using Names = std::vector<std::string>;

Names search(const std::string &pattern) {
    Names names;
    FoundFile found;
    for (auto result = findFirstFile(pattern, found); result == SearchResult::found;
         result = findNextFile(found.handle, found))
        names.push_back(std::string(found.name()) + (found.isDirectory ? "/" : ""));
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

// ---- Patterns -----------------------------------------------------------------------------------------------------

TEST_F(Folder, PatternsAreTheShells) {
    make({"b.txt", "a.txt", "ab.txt", "B.txt", "c.dat", ".hidden", "sub/inner", "[x]"});
    EXPECT_EQ(search(at("*")), (Names{"B.txt", "[x]", "a.txt", "ab.txt", "b.txt", "c.dat", "sub/"}));
    EXPECT_EQ(search(at("*.txt")), (Names{"B.txt", "a.txt", "ab.txt", "b.txt"}));
    EXPECT_EQ(search(at("?.txt")), (Names{"B.txt", "a.txt", "b.txt"}));
    EXPECT_EQ(search(at("[a-c].*")), (Names{"a.txt", "b.txt", "c.dat"}));
    EXPECT_EQ(search(at("[!a]*.txt")), (Names{"B.txt", "b.txt"}));
    EXPECT_EQ(search(at("[[]x]")), Names{"[x]"});
    EXPECT_EQ(search(at(".*")), Names{".hidden"});
    EXPECT_EQ(search(at("[")), Names{});
    EXPECT_EQ(search(at("sub/*")), Names{"inner"});
    EXPECT_EQ(search(at("sub\\*")), Names{"inner"});
    EXPECT_EQ(search(at("s*/inner")), Names{}); // the path is taken as it stands
}

TEST_F(Folder, ANameWithoutWildcardsFindsItself) {
    make({"a.txt", "sub/inner"});
    EXPECT_EQ(search(at("a.txt")), Names{"a.txt"});
    EXPECT_EQ(search(at("sub")), Names{"sub/"});
    for (const auto *name : {"none", "", ".", "..", "sub/", "none/*"}) EXPECT_EQ(search(at(name)), Names{}) << name;
}

TEST_F(Folder, AnyNameThatFilesHaveIsFound) {
    const std::string longest(255, 'n');
    const Names names{"\xFF\xFE", " ", "\n", "a b ", "\"q\"", "back\\slash", "line\nbreak", longest, "z\x80.txt"};
    for (const auto &name : names) folder.write(name, "x");
    for (const auto *locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        auto sorted = names;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(search(at("*")), sorted) << locale;
        EXPECT_EQ(search(at("z?.txt")), Names{"z\x80.txt"}) << locale;
        for (const auto &name : names) EXPECT_EQ(lookUpFile(at(name)).size, 1U) << name;
    }
    std::setlocale(LC_ALL, "C");
}

TEST_F(Folder, ThousandsOfNamesComeInOrder) {
    Names names;
    for (int i = 0; i < 5000; ++i) {
        names.push_back("prefix that all have " + std::to_string((i * 7919) % 5000));
        folder.write(names.back(), "");
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(search(at("*")), names);
}

// ---- What happens meanwhile -----------------------------------------------------------------------------------------

TEST_F(Folder, ASearchKeepsToTheNamesOfItsStart) {
    make({"a", "b", "c"});
    FoundFile found;
    ASSERT_EQ(findFirstFile(at("*"), found), SearchResult::found);
    std::filesystem::remove(at("b"));
    make({"aa", "d"});
    ASSERT_EQ(findNextFile(found.handle, found), SearchResult::found);
    EXPECT_EQ(found.name(), "b");
    std::filesystem::remove_all(folder.path);
    ASSERT_EQ(findNextFile(found.handle, found), SearchResult::found);
    EXPECT_EQ(found.name(), "c");
    EXPECT_EQ(findNextFile(found.handle, found), SearchResult::nothing);
}

TEST_F(Folder, SearchesEndAndTheNumberOfOpenOnesIsBounded) {
    make({"a", "b", "c"});
    FoundFile first, found;
    ASSERT_EQ(findFirstFile(at("*"), first), SearchResult::found);
    std::set<std::uint16_t> handles{first.handle};
    for (int i = 0; i < 255; ++i) { // never brought to an end
        ASSERT_EQ(findFirstFile(at("*"), found), SearchResult::found);
        EXPECT_TRUE(handles.insert(found.handle).second);
    }
    ASSERT_EQ(findNextFile(first.handle, found), SearchResult::found); // used: another one is forgotten now
    ASSERT_EQ(findFirstFile(at("*"), found), SearchResult::found);
    EXPECT_TRUE(handles.insert(found.handle).second);
    handles.erase(first.handle);
    EXPECT_EQ(findNextFile(*handles.begin(), found), SearchResult::nothing);
    ASSERT_EQ(findNextFile(first.handle, found), SearchResult::found);
    EXPECT_EQ(found.name(), "c");
    EXPECT_EQ(found.handle, 0);
    EXPECT_EQ(findNextFile(first.handle, found), SearchResult::nothing);
    EXPECT_EQ(findNextFile(0, found), SearchResult::nothing);
    for (int i = 0; i < 70000; ++i) ASSERT_EQ(findFirstFile(at("a"), found), SearchResult::found);
}

TEST_F(Folder, HandlesAreUsedAgainOnlyWhenTheirSearchIsOver) {
    make({"a", "b"});
    FoundFile kept, found;
    ASSERT_EQ(findFirstFile(at("*"), kept), SearchResult::found);
    for (int i = 0; i < 65600; ++i) {
        ASSERT_EQ(findFirstFile(at("*"), found), SearchResult::found);
        ASSERT_NE(found.handle, kept.handle);
        ASSERT_EQ(findNextFile(found.handle, found), SearchResult::found);
    }
    ASSERT_EQ(findNextFile(kept.handle, found), SearchResult::found);
    EXPECT_EQ(found.name(), "b");
}

TEST_F(Folder, ThreadsSearchAtOnce) {
    make({"a", "b", "c", "d"});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int round = 0; round < 200; ++round) EXPECT_EQ(search(at("*")), (Names{"a", "b", "c", "d"}));
        });
    }
    for (auto &thread : threads) thread.join();
}

// ---- Looking up -----------------------------------------------------------------------------------------------------

TEST_F(Folder, AttributesAreThoseOfTheFile) {
    make({"a.txt", ".hidden", "sub/inner", "fixed"});
    folder.write("five", "12345");
    chmod(at("fixed").c_str(), 0444);
    EXPECT_EQ(lookUpFile(at("five")).size, 5U);
    EXPECT_TRUE(lookUpFile(at("sub")).isDirectory);
    EXPECT_TRUE(lookUpFile(at("sub\\")).isDirectory);
    EXPECT_FALSE(lookUpFile(at("a.txt/")).found);
    EXPECT_TRUE(lookUpFile(at(".hidden")).isHidden);
    EXPECT_FALSE(lookUpFile(at("sub/..")).isHidden);
    EXPECT_TRUE(lookUpFile(at("fixed")).isReadOnly);
    EXPECT_FALSE(lookUpFile(at("five")).isReadOnly);
    EXPECT_TRUE(lookUpFile("/").isDirectory);
    EXPECT_TRUE(lookUpFile(at("sub\\inner")).found);
    for (const auto &name : {std::string(), std::string(4096, 'x'), std::string(300, 'x'), at("five") + '\0' + "x"})
        EXPECT_FALSE(lookUpFile(name).found) << name;
}

TEST_F(Folder, SizesAboveFourGigabytesAreTheLargestNumber) {
    make({"large"});
    ASSERT_EQ(truncate(at("large").c_str(), 0xFFFFFFFEL), 0);
    EXPECT_EQ(lookUpFile(at("large")).size, 0xFFFFFFFEU);
    ASSERT_EQ(truncate(at("large").c_str(), 0x500000000L), 0);
    EXPECT_EQ(lookUpFile(at("large")).size, 0xFFFFFFFFU);
}

TEST_F(Folder, LinksAreFollowedAndLoopsAreFiles) {
    make({"sub/inner"});
    std::filesystem::create_directory_symlink("sub", at("link"));
    std::filesystem::create_symlink("loop", at("loop"));
    std::filesystem::create_symlink("nowhere", at("dangling"));
    std::filesystem::create_directory_symlink("..", at("sub/up"));
    EXPECT_EQ(search(at("*")), (Names{"dangling", "link/", "loop", "sub/"}));
    EXPECT_EQ(search(at("link/*")), (Names{"inner", "up/"}));
    EXPECT_TRUE(lookUpFile(at("loop")).found);
    EXPECT_FALSE(lookUpFile(at("loop")).isDirectory);
    EXPECT_FALSE(lookUpFile(at("loop/x")).found);
    EXPECT_TRUE(lookUpFile(at("link")).isDirectory);
    EXPECT_EQ(search(at("loop/*")), Names{});
}

TEST_F(Folder, AFolderWithoutPermissionHoldsNothing) {
    make({"shut/inner", "list/inner"});
    chmod(folder.path.c_str(), 0755);
    chmod(at("shut").c_str(), 0);
    chmod(at("list").c_str(), 0444);
    const auto isRoot = geteuid() == 0;
    if (isRoot) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    EXPECT_EQ(search(at("shut/*")), Names{});
    EXPECT_FALSE(lookUpFile(at("shut/inner")).found);
    EXPECT_TRUE(lookUpFile(at("shut")).isDirectory);
    EXPECT_EQ(search(at("list/*")), Names{"inner"});
    if (isRoot) {
        ASSERT_EQ(seteuid(0), 0);
    }
    chmod(at("shut").c_str(), 0755);
    chmod(at("list").c_str(), 0755);
}

} // namespace
} // namespace oocobol::host
