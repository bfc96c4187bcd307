// File names: parts, changes, what the directory says, and searches, on both roads where there are two.
#include <algorithm>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "classes/files/filename.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

using host::tests::TemporaryFolder;
using Texts = std::vector<std::string>;

Ref classObject() { return CLASS("filename"); }
Ref named(std::string_view name) {
    return send<Ref>(SITE("withlengthvalue"), classObject(), static_cast<Index>(name.size()), Bytes{name.data()});
}
// What a message answers, as text; the text is finalized.
std::string answer(oops_site &site, Ref object) {
    const Temporary text(send<Ref>(site, object));
    return text ? valueOf(text.ref()) : "none";
}
std::string pathOf(Ref name) { return answer(SITE("path"), name); }
std::string baseOf(Ref name) { return answer(SITE("basename"), name); }
std::string extensionOf(Ref name) { return answer(SITE("extension"), name); }

bool exists(Ref name) { return send<bool>(SITE("exists"), name); }
bool isDirectory(Ref name) { return send<bool>(SITE("isdirectory"), name); }

// The names in a list, which is finalized with them.
Texts namesIn(Ref list) {
    Texts names;
    const auto size = send<Index>(SITE("size"), list);
    for (Index i = 1; i <= size; ++i) names.push_back(valueOf(send<Ref>(SITE("at"), list, i)));
    send<Ref>(SITE("deepfinalize"), list);
    return names;
}
Texts expand(Ref ofClass, std::string_view pattern) {
    const Temporary text(test::text(pattern));
    const auto list = send<Ref>(SITE("expandwildcards"), ofClass, text.ref());
    EXPECT_EQ(classOf(list), CLASS("ordrdcll"));
    return namesIn(list);
}

// ---- Forms --------------------------------------------------------------------------------------------------------

TEST(FileName, IsMadeOfTextsAndBuffers) {
    const LeakCheck leaks;
    const Temporary quoted(named("\"a b.txt\"  ")), fromText(send<Ref>(SITE("withvalue"), classObject(), "a b.txt")),
        fromBuffer(send<Ref>(SITE("withbufferlengthvalue"), classObject(), Index{8}, "  ab  \0\0"));
    EXPECT_EQ(valueOf(quoted.ref()), "a b.txt");
    EXPECT_EQ(valueOf(fromBuffer.ref()), "ab");
    EXPECT_TRUE(send<bool>(SITE("equal"), quoted.ref(), fromText.ref()));
    const Temporary upper(named("A B.TXT"));
    EXPECT_FALSE(send<bool>(SITE("equal"), quoted.ref(), upper.ref()));
    EXPECT_TRUE(send<bool>(SITE("equalsignorecase"), quoted.ref(), upper.ref()));

    EXPECT_EQ(answer(SITE("asexternalfilename"), quoted.ref()), "\"a b.txt\"");
    EXPECT_EQ(answer(SITE("asinternalfilename"), quoted.ref()), "a b.txt");
    EXPECT_EQ(answer(SITE("description"), quoted.ref()), "\"a b.txt\"");
    EXPECT_EQ(send<Count>(SITE("size"), quoted.ref()), 7U);
    EXPECT_TRUE(send<bool>(SITE("containscharacters"), quoted.ref()));
    EXPECT_FALSE(send<bool>(SITE("containsdbcscharacters"), quoted.ref()));
    char buffer[10] = "*********";
    send(SITE("getvaluez"), quoted.ref(), Returning{{reinterpret_cast<std::byte *>(buffer)}});
    EXPECT_STREQ(buffer, "a b.txt");
    EXPECT_EQ(std::memcmp(send<Address>(SITE("getaddress"), quoted.ref()), buffer, 8), 0);
}

// ---- Parts --------------------------------------------------------------------------------------------------------

TEST(FileName, HasParts) {
    const LeakCheck leaks;
    const Temporary whole(named("/one\\two/a.tar.gz")), plain(named("two/plain")), ends(named("ends.")),
        hidden(named(".profile"));
    EXPECT_EQ(pathOf(whole.ref()), "/one\\two/");
    EXPECT_EQ(baseOf(whole.ref()), "a.tar");
    EXPECT_EQ(extensionOf(whole.ref()), "gz");
    EXPECT_EQ(answer(SITE("filenamewithoutdir"), whole.ref()), "a.tar.gz");
    EXPECT_EQ(answer(SITE("fullfilename"), whole.ref()), "/one\\two/a.tar.gz");
    for (const auto &[name, base] :
         {std::pair{plain.ref(), "plain"}, {ends.ref(), "ends."}, {hidden.ref(), ".profile"}}) {
        EXPECT_EQ(baseOf(name), base);
        EXPECT_EQ(extensionOf(name), "");
    }
}

TEST(FileName, PartsAreReplaced) {
    const LeakCheck leaks;
    const Temporary name(named("a/b.c"));
    const auto identity = name.ref();
    const auto after = [&](oops_site &setter, const char *part) {
        send(setter, identity, Bytes{part});
        return valueOf(identity);
    };
    EXPECT_EQ(after(SITE("setpathz"), "x/y/"), "x/y/b.c");
    EXPECT_EQ(after(SITE("setpathz"), "x"), "x\\b.c");
    EXPECT_EQ(after(SITE("setbasenamez"), "\"d e\"  "), "x\\d e.c");
    EXPECT_EQ(after(SITE("setbasenamez"), ""), "x\\.c");
    EXPECT_EQ(extensionOf(identity), "c");
    EXPECT_EQ(after(SITE("setbasenamez"), "p.q"), "x\\p.q.c");
    EXPECT_EQ(after(SITE("setextensionz"), ""), "x\\p.q");
    EXPECT_EQ(extensionOf(identity), ""); // what is left is the base name, period and all
    EXPECT_EQ(baseOf(identity), "p.q");
    EXPECT_EQ(after(SITE("setextensionz"), "txt"), "x\\p.q.txt");
    EXPECT_EQ(extensionOf(identity), "txt");
    EXPECT_EQ(after(SITE("setpathz"), ""), "p.q.txt");
    const Temporary ends(named("ends."));
    send(SITE("setpathz"), ends.ref(), "x/");
    EXPECT_EQ(valueOf(ends.ref()), "x/ends.");
}

TEST(FileName, DirectoriesAreAppended) {
    const LeakCheck leaks;
    const Temporary name(named("p/b.c")), bare(named("b")), sub(text("sub ")), empty(text(""));
    send(SITE("appenddir"), name.ref(), sub.ref());
    EXPECT_EQ(valueOf(name.ref()), "p/sub\\b.c");
    send(SITE("appenddir"), name.ref(), sub.ref());
    EXPECT_EQ(valueOf(name.ref()), "p/sub\\sub\\b.c");
    send(SITE("appenddir"), bare.ref(), empty.ref());
    EXPECT_EQ(valueOf(bare.ref()), "b");
    for (int i = 0; i < 8; ++i) { // up to the longest name, and no further
        const Temporary longDirectory(text(std::string(255, 'd')));
        for (int j = 0; j < 100; ++j) send(SITE("appenddir"), bare.ref(), longDirectory.ref());
    }
    EXPECT_EQ(valueOf(bare.ref()).size(), 255U * 256 + 1);
    EXPECT_FALSE(exists(bare.ref()));
}

TEST(FileName, CopiesAreNamesOfTheirOwn) {
    const LeakCheck leaks;
    const Temporary name(named("a/b.c")), spaced(named("\"ends in \""));
    const Temporary copy(send<Ref>(SITE("copy"), name.ref())), other(send<Ref>(SITE("copy"), spaced.ref()));
    send(SITE("setextensionz"), name.ref(), "d");
    EXPECT_EQ(valueOf(copy.ref()), "a/b.c");
    EXPECT_EQ(valueOf(other.ref()), "ends in ");
    EXPECT_EQ(extensionOf(copy.ref()), "c");
}

// ---- What the directory says ----------------------------------------------------------------------------------------

TEST(FileName, AsksTheDirectory) {
    const LeakCheck leaks;
    const TemporaryFolder folder;
    folder.write("sub/.five", "12345");
    chmod((folder.path / "sub/.five").c_str(), 0444);
    const auto file = Temporary(named((folder.path / "sub/.five").string())),
               directory = Temporary(named((folder.path / "sub/").string())),
               backslash = Temporary(named(folder.path.string() + "\\sub\\")),
               none = Temporary(named((folder.path / "none").string()));
    EXPECT_TRUE(exists(file.ref()));
    EXPECT_EQ(send<Count>(SITE("sizeoffile"), file.ref()), 5U);
    EXPECT_TRUE(send<bool>(SITE("ishidden"), file.ref()));
    EXPECT_TRUE(send<bool>(SITE("isreadonly"), file.ref()));
    EXPECT_FALSE(send<bool>(SITE("issystemfile"), file.ref()));
    EXPECT_FALSE(isDirectory(file.ref()));
    EXPECT_TRUE(isDirectory(directory.ref()));
    EXPECT_TRUE(isDirectory(backslash.ref()));
    EXPECT_FALSE(send<bool>(SITE("isreadonly"), directory.ref()));
    EXPECT_FALSE(exists(none.ref()) || isDirectory(none.ref()) || send<bool>(SITE("ishidden"), none.ref()));
    EXPECT_EQ(send<Count>(SITE("sizeoffile"), none.ref()), 0U);
    const Temporary root(named("/"));
    EXPECT_TRUE(isDirectory(root.ref()));
}

// ---- Searches -------------------------------------------------------------------------------------------------------

class FileSearch : public testing::TestWithParam<bool> {
protected:
    FileSearch() { allowNativePaths(GetParam()); }
    ~FileSearch() override { allowNativePaths(true); }
    std::string at(const std::string &name) const { return folder.path / name; }
    TemporaryFolder folder;
};
INSTANTIATE_TEST_SUITE_P(Roads, FileSearch, testing::Bool());

TEST_P(FileSearch, FindsFilesAndDirectories) {
    const LeakCheck leaks;
    for (const auto *name : {"b.txt", "a.txt", ".hidden", "sub.d/inner.txt", "c"}) folder.write(name, "");
    EXPECT_EQ(expand(classObject(), at("*")), (Texts{at("a.txt"), at("b.txt"), at("c"), at("sub.d\\")}));
    EXPECT_EQ(expand(classObject(), at("\\[ab]*")), (Texts{at("\\a.txt"), at("\\b.txt")}));
    EXPECT_EQ(expand(classObject(), at("*.none")), Texts{});
    EXPECT_EQ(expand(classObject(), at(".")), Texts{});
    EXPECT_EQ(expand(classObject(), ""), Texts{});

    const Temporary pattern(text('"' + at("*.txt") + "\"  "));
    const Temporary first(send<Ref>(SITE("findfirst"), classObject(), pattern.ref()));
    EXPECT_EQ(valueOf(first.ref()), at("a.txt"));
    EXPECT_EQ(extensionOf(first.ref()), "txt");
    const Temporary second(send<Ref>(SITE("findnext"), first.ref()));
    EXPECT_EQ(valueOf(second.ref()), at("b.txt"));
    EXPECT_FALSE(send<Ref>(SITE("findnext"), second.ref()));
    EXPECT_FALSE(send<Ref>(SITE("findnext"), first.ref()));

    const Temporary hidden(text(at(".*"))), dots(text(at("..")));
    const Temporary found(send<Ref>(SITE("findfirst"), classObject(), hidden.ref()));
    EXPECT_EQ(valueOf(found.ref()), at(".hidden")); // "." and ".." are passed over
    EXPECT_FALSE(send<Ref>(SITE("findfirst"), classObject(), dots.ref()));
}

TEST_P(FileSearch, WithoutAPathLooksInTheCurrentFolder) {
    const LeakCheck leaks;
    folder.write("d.x/inner", "");
    folder.write("file", "");
    std::filesystem::create_directory(at(std::string(255, 'd')));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    EXPECT_EQ(expand(classObject(), "*"), (Texts{"d.x\\", std::string(255, 'd') + "\\", "file"}));
    const Temporary pattern(text("d.?"));
    const Temporary found(send<Ref>(SITE("findfirst"), classObject(), pattern.ref()));
    EXPECT_EQ(valueOf(found.ref()), "d.x\\");
    EXPECT_EQ(baseOf(found.ref()), "");
    EXPECT_TRUE(isDirectory(found.ref()));
    std::filesystem::current_path(before);
}

// What is found is there under the name that has been found, whatever the name looks like.
TEST_P(FileSearch, FindsNamesThatTextsCannotGive) {
    const LeakCheck leaks;
    const std::string longest(255, 'n'), deep = std::string(200, 'p') + "/" + std::string(200, 'q') + "/";
    for (const auto &name : Texts{"ends in ", "\"quoted\"", "line\nbreak", "\xFF\xFE", longest, deep + "file"})
        folder.write(name, "x");
    const auto found = expand(classObject(), at("[!p]*"));
    EXPECT_EQ(found, (Texts{at("\"quoted\""), at("ends in "), at("line\nbreak"), at(longest), at("\xFF\xFE")}));

    const Temporary pattern(text(at("p*")));
    Temporary level(send<Ref>(SITE("findfirst"), classObject(), pattern.ref()));
    ASSERT_TRUE(level);
    send(SITE("setbasenamez"), level.ref(), "*");
    Temporary below(send<Ref>(SITE("findfirst"), classObject(), level.ref()));
    ASSERT_TRUE(below);
    EXPECT_TRUE(isDirectory(below.ref()));
    send(SITE("setbasenamez"), below.ref(), "*");
    const auto list = send<Ref>(SITE("expandwildcards"), classObject(), below.ref());
    ASSERT_EQ(send<Index>(SITE("size"), list), 1);
    const auto file = send<Ref>(SITE("at"), list, Index{1});
    EXPECT_EQ(send<Count>(SITE("sizeoffile"), file), 1U);
    const Temporary copy(send<Ref>(SITE("copy"), file));
    EXPECT_EQ(valueOf(copy.ref()), valueOf(file));
    send<Ref>(SITE("deepfinalize"), list);
}

// ---- Redefined messages --------------------------------------------------------------------------------------------

void markPath(const oops_ref *self, void *data, void *returning, void *path) {
    static oops_super_site super = OOPS_SUPER_SITE("markname", "setpath");
    static const Ref marked = text("marked/");
    oopsresolvetosuper(&super, self, data, 2, returning, &const_cast<Ref &>(marked));
    static_cast<void>(path);
}

TEST_P(FileSearch, SendsWhatASubclassRedefines) {
    static const auto marking = OutsideClass("markname", "markingname", classObject(), 0, 4)
                                    .method("setpath", asMethod(markPath), 2)
                                    .registerIt();
    folder.write("a", "");
    folder.write("b", "");
    EXPECT_EQ(expand(marking, at("*")), (Texts{"marked/a", "marked/b"}));
}

void answerSelf(const oops_ref *self, void *, oops_ref *returning) { *returning = *self; }
void endSelf(const oops_ref *self, void *, oops_ref *returning) {
    send<Ref>(SITE("finalize"), Ref{*self});
    *returning = 0;
}

// ---- Bad input -----------------------------------------------------------------------------------------------------

// A longer name is cut; it is never taken for the file that has the shorter one.
TEST(FileName, ACutNameFindsNothing) {
    const LeakCheck leaks;
    const TemporaryFolder folder;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path);
    const std::string name(255, 'n');
    folder.write(name, "");
    const Temporary whole(named(name)), cut(named(name + "x")), pattern(text(name + "*"));
    EXPECT_TRUE(exists(whole.ref()));
    EXPECT_EQ(valueOf(cut.ref()), name);
    EXPECT_FALSE(exists(cut.ref()));
    const Temporary copy(send<Ref>(SITE("copy"), cut.ref()));
    EXPECT_FALSE(exists(copy.ref()));
    EXPECT_FALSE(send<Ref>(SITE("findfirst"), classObject(), pattern.ref()));
    send(SITE("setbasenamez"), whole.ref(), (name + "x").c_str());
    EXPECT_FALSE(exists(whole.ref()));
    std::filesystem::current_path(before);
}

TEST(FileName, OddNamesAreHarmless) {
    const LeakCheck leaks;
    for (const auto name : {std::string_view(""), std::string_view("///\\"), std::string_view("."),
                            std::string_view("a\0b", 3), std::string_view("\"\""), std::string_view("  ")}) {
        const Temporary odd(named(name));
        const auto whole = answer(SITE("fullfilename"), odd.ref());
        EXPECT_EQ(pathOf(odd.ref()) + baseOf(odd.ref()), whole);
        send(SITE("setextensionz"), odd.ref(), "x");
        EXPECT_EQ(valueOf(odd.ref()), whole + ".x");
    }
    const Temporary negative(send<Ref>(SITE("withbufferlengthvalue"), classObject(), Index{0}, "x"));
    EXPECT_EQ(valueOf(negative.ref()), "");
}

TEST(FileName, WrongArgumentsRaiseAndChangeNothing) {
    const LeakCheck leaks;
    RaisedErrors errors;
    const auto stale = text("x");
    finalize(stale);
    const Temporary name(named("a/b.c"));
    for (auto *setter : {&SITE("setpath"), &SITE("setbasename"), &SITE("setextension"), &SITE("appenddir")}) {
        for (const auto &[given, error] : {std::pair{null, 24U}, {stale, 106U}, {CLASS("base"), 24U}}) {
            send(*setter, name.ref(), given);
            EXPECT_EQ(errors.numbers(), std::vector<Count>{error});
            EXPECT_EQ(valueOf(name.ref()), "a/b.c");
        }
    }
    send(SITE("setpath"), name.ref(), name.ref()); // a copy of its name is what is taken
    EXPECT_EQ(valueOf(name.ref()), "a/b.c\\b.c");
    for (auto *maker : {&SITE("withname"), &SITE("findfirst")}) {
        EXPECT_FALSE(send<Ref>(*maker, classObject(), null));
        EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
    }
    EXPECT_FALSE(send<Ref>(SITE("withlengthvalue"), classObject(), Index{-1}, "x"));
    EXPECT_FALSE(send<Ref>(SITE("withbufferlengthvalue"), classObject(), Index{-1}, "x"));
    EXPECT_EQ(errors.numbers(), (std::vector<Count>{33, 33}));

    const Temporary nameless(send<Ref>(SITE("new"), classObject()));
    EXPECT_FALSE(send<Ref>(SITE("path"), nameless.ref()));
    EXPECT_FALSE(exists(nameless.ref()));
    EXPECT_FALSE(send<Ref>(SITE("findnext"), nameless.ref()));
    const TemporaryFolder folder;
    for (const auto *file : {"a", "b"}) folder.write(file, "");
    const Temporary pattern(text((folder.path / "*").string()));
    const Temporary found(send<Ref>(SITE("findfirst"), classObject(), pattern.ref()));
    send(SITE("setsearchhandle"), nameless.ref(), fieldsOf<FileNameFields>(found.ref())->searchHandle);
    const Temporary next(send<Ref>(SITE("findnext"), nameless.ref())); // goes on with that search, without its path
    EXPECT_EQ(valueOf(next.ref()), "b");
    send(SITE("setpathz"), nameless.ref(), "x");
    EXPECT_EQ(errors.numbers(), std::vector<Count>{});
}

TEST(FileName, SurvivesObjectsThatEndOrMisbehave) {
    const LeakCheck leaks;
    RaisedErrors errors;
    static const auto self = OutsideClass("selfname", "selfname", CLASS("chararry"))
                                 .method("asinternalfilename", asMethod(answerSelf), 1)
                                 .registerIt();
    static const auto ending = OutsideClass("endname", "endname", CLASS("chararry"))
                                   .method("asinternalfilename", asMethod(endSelf), 1)
                                   .registerIt();
    const Temporary taken(
        send<Ref>(SITE("withname"), classObject(), send<Ref>(SITE("withlengthvalue"), self, Index{5}, "given")));
    EXPECT_EQ(valueOf(taken.ref()), "given");
    EXPECT_FALSE(
        send<Ref>(SITE("withname"), classObject(), send<Ref>(SITE("withlengthvalue"), ending, Index{5}, "given")));
    const Temporary name(named("a"));
    send(SITE("setpath"), name.ref(), send<Ref>(SITE("withlengthvalue"), ending, Index{5}, "given"));
    EXPECT_EQ(valueOf(name.ref()), "a");
    send(SITE("initialize"), name.ref(), taken.ref());
    EXPECT_EQ(valueOf(name.ref()), "given");
}

TEST_P(FileSearch, WithoutAPatternFindsNothing) {
    const LeakCheck leaks;
    RaisedErrors errors;
    EXPECT_EQ(namesIn(send<Ref>(SITE("expandwildcards"), classObject(), null)), Texts{});
    EXPECT_EQ(errors.numbers(), std::vector<Count>{24});
}

TEST_P(FileSearch, MemoryFailingAnywhereLeavesNothingBehind) {
    folder.write("a", "");
    folder.write("b", "");
    folder.write("sub/c", "");
    const Temporary pattern(text(at("*"))), part(text("x"));
    bool isWhole = false;
    const auto work = [&](std::uint64_t at) {
        AllocationFaults::failAt(at, false);
        const auto list = send<Ref>(SITE("expandwildcards"), classObject(), pattern.ref());
        const auto name = send<Ref>(SITE("withname"), classObject(), part.ref());
        if (name) send(SITE("appenddir"), name, part.ref());
        const auto copy = name ? send<Ref>(SITE("copy"), name) : null;
        const auto reached = AllocationFaults::count();
        AllocationFaults::failAt(0, false);
        isWhole = list && send<Count>(SITE("size"), list) == 3 && copy && valueOf(copy) == "x\\x";
        if (list) {
            for (const auto &found : namesIn(list)) EXPECT_TRUE(found.starts_with(folder.path.string())) << found;
        }
        if (name) finalize(name);
        if (copy) finalize(copy);
        return reached;
    };
    work(0);
    EXPECT_TRUE(isWhole);
    RaisedErrors errors;
    const auto before = countInstances(null);
    for (std::uint64_t at = 1;; ++at) {
        const auto reached = work(at);
        ASSERT_EQ(countInstances(null), before) << "allocation " << at;
        if (reached < at) break;
        EXPECT_TRUE(isWhole || !errors.numbers().empty()) << "allocation " << at;
    }
}

} // namespace
} // namespace oocobol::test
