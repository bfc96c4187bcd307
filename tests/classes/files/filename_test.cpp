// File names: parts, changes, what the directory says, and searches, on both roads where there are two.
#include <sys/stat.h>

#include "classes/files/filename.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

using host::tests::TemporaryFolder;
using Texts = std::vector<std::string>;

Ref classObject() { return CLASS("filename"); }
Ref named(std::string_view name) {
    return send<Ref>(SITE("withlengthvalue"), classObject(), static_cast<Index>(name.size()), Bytes{name.data()});
}
Ref findFirst(std::string_view pattern) {
    const Temporary given(text(pattern));
    return send<Ref>(SITE("findfirst"), classObject(), given.ref());
}

// The names that are found, which are finalized.
Texts expand(Ref ofClass, std::string_view pattern) {
    const Temporary given(text(pattern));
    const auto list = send<Ref>(SITE("expandwildcards"), ofClass, given.ref());
    EXPECT_EQ(classOf(list), CLASS("ordrdcll"));
    return valuesOfMade(list);
}

// ---- Forms and parts ------------------------------------------------------------------------------------------------

TEST(FileName, IsMadeOfTextsAndBuffersAndCopied) {
    const Temporary quoted(named("\"a b.txt\"  ")), upper(named("A B.TXT")), spaced(named("\"ends in \""));
    says(quoted.ref(),
         "* -> 'a b.txt'; asexternalfilename -> '\"a b.txt\"'; asinternalfilename -> 'a b.txt'; "
         "description -> '\"a b.txt\"'; size -> 7; containscharacters -> 1; containsdbcscharacters -> 0; "
         "getvaluez -> [a b.txt]; equal $1 -> 0; equalsignorecase $1 -> 1; $2 copy -> 'ends in '; "
         "$filename withvalue 'a b.txt' -> it; it equal $3 -> 1; it finalize; "
         "$filename withbufferlengthvalue 7, '  ab  ' -> 'ab'; $filename withbufferlengthvalue 0, 'x' -> ''; "
         "copy -> it; setextensionz 'd'; it * -> 'a b.txt'; it extension -> 'txt'; it finalize; * -> 'a b.d'",
         {upper.ref(), spaced.ref(), quoted.ref()});
    EXPECT_EQ(std::memcmp(send<Address>(SITE("getaddress"), quoted.ref()), "a b.d", 6), 0);
}

TEST(FileName, HasPartsUpToTheLastSeparatorAndTheLastPeriod) {
    const char *const cases[][4] = {
        // name, path, base, extension
        {"", "", "", ""},
        {"plain", "", "plain", ""},
        {"/usr/lib/a.tar.gz", "/usr/lib/", "a.tar", "gz"},
        {"one\\two/three\\b.c", "one\\two/three\\", "b", "c"},
        {"folder.d/file", "folder.d/", "file", ""},
        {"ends..", "", "ends..", ""},
        {".profile", "", ".profile", ""},
        {".profile.old", "", ".profile", "old"},
        {".", "", ".", ""},
        {"//\\/", "//\\/", "", ""},
    };
    for (const auto &[name, path, base, extension] : cases)
        says(Temporary(named(name)), std::string("path -> '") + path + "'; basename -> '" + base + "'; extension -> '" +
                                         extension + "'; fullfilename -> '" + name + "'");
}

TEST(FileName, HasPartsThatAreReplaced) {
    says(Temporary(named("a/b.c")),
         "setpathz 'x/y/'; * -> 'x/y/b.c'; setpathz 'x'; * -> 'x\\b.c'; setbasenamez '\"d e\"  '; * -> 'x\\d e.c'; "
         "setbasenamez ''; * -> 'x\\.c'; extension -> 'c'; setbasenamez 'p.q'; * -> 'x\\p.q.c'; "
         "setextensionz ''; * -> 'x\\p.q'; extension -> ''; basename -> 'p.q'; " // what is left is the base name
         "filenamewithoutdir -> 'p.q'; setextensionz 'txt'; * -> 'x\\p.q.txt'; extension -> 'txt'; setpathz ''; "
         "* -> 'p.q.txt'");
}

TEST(FileName, InternalFormIsWithoutQuotesAndSpacesBehind) {
    const std::string fits(255, 'x');
    const std::pair<std::string, std::string> forms[] = {
        {"a b.txt   ", "a b.txt"}, {"\"a \"  ", "a "}, {"\"\"q\"\"", "\"q\""},  {"\"", "\""}, {" x", " x"}, {"   ", ""},
        {{"a\0b", 3}, "a"},        {fits + "x", fits}, {'"' + fits + '"', fits}};
    for (const auto &[name, internal] : forms) {
        const Temporary given(text(name)), made(named(name));
        says(given, "asinternalfilename -> '" + internal + "'; $1 * -> '" + internal + "'", {made});
    }
}

TEST(FileName, DirectoriesAreAppendedUpToTheLongestName) {
    const Temporary name(named("p/b.c")), bare(named("b")), sub(text("sub ")), empty(text(""));
    says(name.ref(),
         "appenddir $1; * -> 'p/sub\\b.c'; appenddir $1; * -> 'p/sub\\sub\\b.c'; $3 appenddir $2; $3 * -> 'b'",
         {sub.ref(), empty.ref(), bare.ref()});
    const Temporary longDirectory(text(std::string(255, 'd')));
    for (int i = 0; i < 800; ++i) send(SITE("appenddir"), bare.ref(), longDirectory.ref());
    EXPECT_EQ(valueOf(bare.ref()).size(), 255U * 256 + 1);
    says(bare.ref(), "exists -> 0");
}

// ---- What the directory says ----------------------------------------------------------------------------------------

TEST(FileName, AsksTheDirectory) {
    const TemporaryFolder folder;
    const auto path = folder.path.string();
    folder.write("sub/.five", "12345");
    chmod((path + "/sub/.five").c_str(), 0444);
    const Temporary file(named(path + "/sub/.five")), directory(named(path + "\\sub\\")), none(named(path + "/none"));
    says(file.ref(),
         "exists -> 1; sizeoffile -> 5; ishidden -> 1; isreadonly -> 1; issystemfile -> 0; isdirectory -> 0");
    says(directory.ref(), "isdirectory -> 1; isreadonly -> 0");
    says(none.ref(), "exists -> 0; isdirectory -> 0; ishidden -> 0; sizeoffile -> 0");
}

// ---- Searches -------------------------------------------------------------------------------------------------------

class FileSearch : public testing::TestWithParam<bool> {
protected:
    ~FileSearch() override { std::filesystem::current_path(before); }
    std::string at(const std::string &name) const { return folder.path / name; }
    const Road road{GetParam()};
    TemporaryFolder folder;
    std::filesystem::path before = std::filesystem::current_path();
};
INSTANTIATE_TEST_SUITE_P(Roads, FileSearch, testing::Bool());

TEST_P(FileSearch, FindsFilesAndDirectories) {
    for (const auto *name : {"b.txt", "a.txt", ".hidden", "sub.d/inner.txt", "c"}) folder.write(name, "");
    EXPECT_EQ(expand(classObject(), at("*")), (Texts{at("a.txt"), at("b.txt"), at("c"), at("sub.d\\")}));
    EXPECT_EQ(expand(classObject(), at("\\[ab]*")), (Texts{at("\\a.txt"), at("\\b.txt")}));
    EXPECT_EQ(expand(classObject(), at("*.none")), Texts{});
    says(classObject(),
         "expandwildcards nil -> error 24 -> it; it size -> 0; it finalize; findfirst nil -> error 24 -> nil");

    const Temporary first(findFirst('"' + at("*.txt") + "\"  "));
    const Temporary second(send<Ref>(SITE("findnext"), first.ref()));
    says(first.ref(), "* -> '" + at("a.txt") + "'; extension -> 'txt'; $1 findnext -> nil; findnext -> nil",
         {second.ref()});
    EXPECT_EQ(valueOf(second.ref()), at("b.txt"));
    const Temporary found(findFirst(at(".*")));
    EXPECT_EQ(valueOf(found.ref()), at(".hidden")); // "." and ".." are passed over
    EXPECT_FALSE(findFirst(at("..")));
}

TEST_P(FileSearch, WithoutAPathLooksInTheCurrentFolder) {
    folder.write("d.x/inner", "");
    folder.write("file", "");
    const std::string longest(255, 'd');
    std::filesystem::create_directory(at(longest));
    std::filesystem::current_path(folder.path);
    EXPECT_EQ(expand(classObject(), "*"), (Texts{"d.x\\", longest + "\\", "file"}));
    const Temporary found(findFirst("d.?"));
    says(found.ref(), "* -> 'd.x\\'; basename -> ''; isdirectory -> 1");
}

// What is found is there under the name that has been found, whatever the name looks like.
TEST_P(FileSearch, FindsNamesThatTextsCannotGive) {
    const std::string longest(255, 'n'), deep = std::string(200, 'p') + "/" + std::string(200, 'q') + "/";
    for (const auto &name : Texts{"ends in ", "\"quoted\"", "line\nbreak", "\xFF\xFE", longest, deep + "file"})
        folder.write(name, "x");
    EXPECT_EQ(expand(classObject(), at("[!p]*")),
              (Texts{at("\"quoted\""), at("ends in "), at("line\nbreak"), at(longest), at("\xFF\xFE")}));

    const Temporary level(findFirst(at("p*")));
    says(level.ref(), "setbasenamez '*'");
    const Temporary below(send<Ref>(SITE("findfirst"), classObject(), level.ref()));
    says(below.ref(), "isdirectory -> 1; setbasenamez '*'");
    const auto list = send<Ref>(SITE("expandwildcards"), classObject(), below.ref());
    const auto file = send<Ref>(SITE("at"), list, Index{1});
    says(list, "size -> 1; $1 sizeoffile -> 1; $1 copy -> '" + valueOf(file) + "'; deepfinalize", {file});
}

// A longer name is cut; it is never taken for the file that has the shorter one.
TEST_P(FileSearch, ACutNameFindsNothing) {
    const std::string name(255, 'n');
    folder.write(name, "");
    std::filesystem::current_path(folder.path);
    const Temporary whole(named(name)), cut(named(name + "x"));
    says(cut.ref(), "* -> '" + name + "'; exists -> 0; copy -> it; it exists -> 0; it finalize");
    says(whole.ref(), "exists -> 1; setbasenamez '" + name + "x'; exists -> 0");
    EXPECT_FALSE(findFirst(name + "*"));
}

TEST_P(FileSearch, SendsWhatASubclassRedefines) {
    static const auto marking = OutsideClass("markname", "markingname", classObject(), 0, 4)
                                    .method("setpath",
                                            [](const oops_ref *self, void *data, void *returning, void *) {
                                                static oops_super_site super = OOPS_SUPER_SITE("markname", "setpath");
                                                const Temporary marked(text("marked/"));
                                                auto path = marked.ref();
                                                oopsresolvetosuper(&super, self, data, 2, returning, &path);
                                            })
                                    .registerIt();
    for (const auto *name : {"a", "b"}) folder.write(name, "");
    EXPECT_EQ(expand(marking, at("*")), (Texts{"marked/a", "marked/b"}));
}

// ---- Bad input -----------------------------------------------------------------------------------------------------

TEST(FileName, WrongArgumentsRaiseAndChangeNothing) {
    const auto stale = text("x");
    finalize(stale);
    const Temporary name(named("a/b.c")), nameless(send<Ref>(SITE("new"), classObject()));
    for (const std::string setter : {"setpath ", "setbasename ", "setextension ", "appenddir "})
        says(name.ref(),
             setter + "nil -> error 24; " + setter + "$1 -> error 106; " + setter + "$base -> error 24; " +
                 "* -> 'a/b.c'",
             {stale});
    says(name.ref(), "setpath $1; * -> 'a/b.c\\b.c'", {name.ref()}); // a copy of its name is what is taken
    says(classObject(), "withname nil -> error 24 -> nil; withlengthvalue -1, 'x' -> error 33 -> nil; "
                        "withbufferlengthvalue -1, 'x' -> error 33 -> nil");
    says(nameless.ref(), "path -> nil; exists -> 0; findnext -> nil");
    const TemporaryFolder folder;
    for (const auto *file : {"a", "b"}) folder.write(file, "");
    const Temporary found(findFirst((folder.path / "*").string()));
    send(SITE("setsearchhandle"), nameless.ref(), fieldsOf<FileNameFields>(found.ref())->searchHandle);
    says(nameless.ref(), "findnext -> 'b'; setpathz 'x'"); // goes on with that search, without its path
}

TEST_P(FileSearch, MemoryFailingAnywhereLeavesNothingBehind) {
    for (const auto *name : {"a", "b", "sub/c"}) folder.write(name, "");
    const Temporary pattern(text(at("*"))), part(text("x"));
    const auto show = [](Ref made) { return classOf(made) == CLASS("ordrdcll") ? wordsIn(made) : valueOf(made); };
    allOrNothing(pattern.ref(), show, [&] { return send<Ref>(SITE("expandwildcards"), classObject(), pattern.ref()); });
    allOrNothing(pattern.ref(), show, [&] { return send<Ref>(SITE("withname"), classObject(), part.ref()); });
    const Temporary name(named("a/b"));
    allOrNothing(name.ref(), show, [&] { return send<Ref>(SITE("copy"), name.ref()); });
    allOrNothing(name.ref(), show, [&] { return send(SITE("setpath"), name.ref(), part.ref()), null; });
}

} // namespace
} // namespace oocobol::test
