// Console and the end of the run, each seen from outside: a child process runs the code, its output and its status
// are judged.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "host/host.h"

namespace oocobol::host::tests {
namespace {

struct Outcome {
    std::string output;
    int status;
};

Outcome run(const std::string &input, const std::function<void()> &code) {
    int in[2], out[2];
    EXPECT_EQ(pipe(in), 0);
    EXPECT_EQ(pipe(out), 0);
    std::fflush(nullptr);
    const auto child = fork();
    if (child == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        for (const int end : {in[0], in[1], out[0], out[1]}) close(end);
        alarm(20); // a child that hangs is a failure
        code();
        std::exit(99);
    }
    close(in[0]);
    close(out[1]);
    EXPECT_EQ(write(in[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    close(in[1]);
    Outcome outcome;
    char buffer[256];
    for (ssize_t count; (count = read(out[0], buffer, sizeof buffer)) > 0;)
        outcome.output.append(buffer, static_cast<std::size_t>(count));
    close(out[0]);
    int status = 0;
    waitpid(child, &status, 0);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return outcome;
}

TEST(Console, outputKeepsItsPlaceAmongThatOfOthers) {
    const auto outcome = run("", [] {
        display("a");
        std::printf("b");
        displayLine(std::string_view("c\0d", 3));
        std::printf("e\n");
        displayLine("");
        endRunUnit();
    });
    EXPECT_EQ(outcome.output, std::string("abc\0d\ne\n\n", 9));
    EXPECT_EQ(outcome.status, 0);
}

TEST(Console, keysAndLinesComeFromOneInput) {
    const auto outcome = run("x\nabc\n\nlast", [] {
        for (int i = 0; i < 2; ++i) std::printf("%d ", readKey());
        for (int i = 0; i < 4; ++i) std::printf("%d ", acceptCharacter());
        std::printf("%d", readKey());
        endRunUnit();
    });
    EXPECT_EQ(outcome.output, "120 10 97 32 108 -1 -1");
}

TEST(EndOfRun, passesTheAttachedReturnCodeElseTheLeastOne) {
    static std::int32_t returnCode = 0;
    const auto attached = [] { attachReturnCode(&returnCode); };
    EXPECT_EQ(run("", [] { endRunUnit(); }).status, 0);
    EXPECT_EQ(run("", [] { endRunUnit(1); }).status, 1);
    EXPECT_EQ(run("", [&] { attached(), endRunUnit(1); }).status, 1);
    EXPECT_EQ(run("", [&] { attached(), returnCode = 12, endRunUnit(1); }).status, 12);
    EXPECT_EQ(run("", [&] { attached(), returnCode = 12, attachReturnCode(nullptr), endRunUnit(); }).status, 0);
}

TEST(EndOfRun, waitsForNoThreadAndNoLock) {
    const auto outcome = run("", [] {
        const auto mutex = openMutex();
        acquireMutex(mutex);
        displayLine("flushed");
        std::atexit([] { displayLine("exit procedure"); });
        std::thread([=] { acquireMutex(mutex); }).detach();
        std::thread([] { readKey(); }).detach();
        std::thread([] { endRunUnit(7); }).detach();
        for (;;) pause();
    });
    EXPECT_EQ(outcome.output, "flushed\nexit procedure\n");
    EXPECT_EQ(outcome.status, 7);
}

TEST(EndOfRun, exitProcedureMayEndItAgain) {
    const auto outcome = run("", [] {
        std::atexit([] { endRunUnit(5); });
        endRunUnit(4);
    });
    EXPECT_EQ(outcome.status, 5);
}

} // namespace
} // namespace oocobol::host::tests
