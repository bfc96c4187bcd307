// The fuzzer: random programs of messages, checked against plain models.
//
//   oocobol_fuzz --operations N --seed S     so many operations, in programs of a few hundred
//   oocobol_fuzz --program P                 the one that a failing run has named
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/memory.h"
#include "tests/fuzz/fuzz.h"

// A report of a sanitizer must end in the signal that has the program named. What the object table holds is out of the
// leak check's sight; the programs count objects themselves.
extern "C" const char *__asan_default_options() { return "abort_on_error=1:detect_leaks=0"; }
extern "C" const char *__ubsan_default_options() { return "abort_on_error=1:print_stacktrace=1"; }

namespace oocobol::fuzz {
namespace {

std::string doing;
unsigned long long running = 0; // the seed of the program
constexpr std::uint32_t operationsOfProgram = 200;

void onAbort(int) {
    std::signal(SIGABRT, SIG_DFL);
    std::fprintf(stderr, "fuzz: while doing %s in --program %llu\n", doing.c_str(), running);
    std::abort();
}

void run(unsigned long long program) {
    running = program;
    runSequencedProgram(Decisions(program), operationsOfProgram);
}

// What the second half of a run may take for itself: tables that the library keeps grow rarely by then.
constexpr std::int64_t allowance = 256 * 1024;

void runAtRandom(unsigned long long operations, unsigned long long seed) {
    std::int64_t halfway = 0;
    const auto programs = operations / operationsOfProgram;
    for (unsigned long long program = 0; program < programs; ++program) {
        if (program <= programs / 2) halfway = bytesInUse();
        run(seed * 0x9E3779B97F4A7C15 + program);
    }
    if (bytesInUse() - halfway > allowance) fail("memory has been left over");
    std::fprintf(stderr, "fuzz: %llu operations, seed %llu\n", operations, seed);
}

} // namespace

void fail(const std::string &what) {
    std::fprintf(stderr, "fuzz: %s\n", what.c_str());
    std::abort();
}
void note(const std::string &what) { doing = what; }

} // namespace oocobol::fuzz

int main(int count, char **arguments) {
    using namespace oocobol::fuzz;
    unsigned long long operations = 100000, seed = 1, program = 0;
    for (int i = 1; i + 1 < count; i += 2) {
        const auto number = std::strtoull(arguments[i + 1], nullptr, 10);
        if (std::strcmp(arguments[i], "--operations") == 0) operations = number;
        if (std::strcmp(arguments[i], "--seed") == 0) seed = number;
        if (std::strcmp(arguments[i], "--program") == 0) program = number;
    }
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 2; // what is displayed does not matter
    std::signal(SIGABRT, onAbort);
    if (program != 0)
        run(program);
    else
        runAtRandom(operations, seed);
    return 0;
}
