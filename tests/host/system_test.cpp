// Console and the end of the run, each seen from outside: a child process runs the code, its output and its status
// are judged. And letters, and what the environment says.
#include <cctype>
#include <cstdio>
#include <functional>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/host.h"
#include "tests/host/temporary_folder.h"

namespace oocobol::host::tests {
namespace {

// What the code displays, and the status that it ends with.
using Outcome = std::pair<std::string, int>;

Outcome run(const std::string &input, const std::function<void()> &code) {
    const TemporaryFolder folder;
    folder.write("in", input);
    std::fflush(nullptr);
    const auto child = fork();
    if (child == 0) {
        const auto *in = std::freopen((folder.path / "in").c_str(), "r", stdin);
        const auto *out = std::freopen((folder.path / "out").c_str(), "w", stdout);
        alarm(20); // a child that hangs is a failure
        if (in != nullptr && out != nullptr) code();
        std::exit(99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::ifstream output(folder.path / "out", std::ios::binary);
    return {{std::istreambuf_iterator<char>(output), {}}, WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status)};
}

TEST(Console, keysAndLinesComeFromOneInput) {
    const auto code = [] {
        for (int i = 0; i < 2; ++i) std::printf("%d ", readKey());
        for (int i = 0; i < 4; ++i) std::printf("%d ", acceptCharacter());
        std::printf("%d", readKey());
        endRunUnit();
    };
    EXPECT_EQ(run("x\nabc\n\nlast", code), Outcome("120 10 97 32 108 -1 -1", 0));
}

TEST(EndOfRun, passesTheAttachedReturnCodeElseTheLeastOne) {
    static std::int32_t returnCode = 0;
    const auto attached = [](std::int32_t code) { attachReturnCode(&returnCode), returnCode = code; };
    EXPECT_EQ(run("", [] { endRunUnit(); }).second, 0);
    EXPECT_EQ(run("", [] { endRunUnit(1); }).second, 1);
    EXPECT_EQ(run("", [&] { attached(0), endRunUnit(1); }).second, 1);
    EXPECT_EQ(run("", [&] { attached(12), endRunUnit(1); }).second, 12);
    EXPECT_EQ(run("", [&] { attached(12), attachReturnCode(nullptr), endRunUnit(); }).second, 0);
    EXPECT_EQ(run("", [] { std::atexit([] { endRunUnit(5); }), endRunUnit(4); }).second, 5);
}

TEST(EndOfRun, waitsForNoThreadAndNoLock) {
    const auto code = [] {
        const auto mutex = openMutex();
        acquireMutex(mutex);
        displayLine("flushed");
        std::atexit([] { displayLine("exit procedure"); });
        std::thread([=] { acquireMutex(mutex); }).detach();
        std::thread([] { readKey(); }).detach();
        std::thread([] { endRunUnit(7); }).detach();
        for (;;) pause();
    };
    EXPECT_EQ(run("", code), Outcome("flushed\nexit procedure\n", 7));
}

// ---- Letters and what the environment says -------------------------------------------------------------------------

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
