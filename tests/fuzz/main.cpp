// The fuzzer: random programs of messages, checked against plain models.
//
//   oocobol_fuzz --operations N --seed S     so many operations, in programs of a few hundred
//   oocobol_fuzz --replay FILE               the program that a failing run has written down
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "runtime/memory.h"
#include "tests/fuzz/fuzz.h"

// A report of a sanitizer must end in the signal that has the program written down. What the object table holds is out
// of the leak check's sight; the programs count objects themselves.
extern "C" const char *__asan_default_options() { return "abort_on_error=1:detect_leaks=0"; }
extern "C" const char *__ubsan_default_options() { return "abort_on_error=1:print_stacktrace=1"; }

namespace oocobol::fuzz {
namespace {

std::string doing;
const Decisions *running = nullptr;

// Writes the program down that fails.
void onAbort(int) {
    std::signal(SIGABRT, SIG_DFL);
    std::fprintf(stderr, "fuzz: while doing %s; the program is in fuzz-failure.bin\n", doing.c_str());
    std::ofstream("fuzz-failure.bin", std::ios::binary) << running->soFar();
    std::abort();
}

std::uint64_t run(Decisions decisions) {
    constexpr std::uint32_t operations = 200;
    running = &decisions;
    return runSequencedProgram(decisions, operations);
}

// What the second half of a run may take for itself: tables that the library keeps grow rarely by then.
constexpr std::int64_t allowance = 256 * 1024;

void runAtRandom(std::uint64_t operations, std::uint64_t seed) {
    std::uint64_t done = 0;
    std::int64_t halfway = 0;
    for (std::uint64_t program = 0; done < operations; ++program) {
        if (done <= operations / 2) halfway = bytesInUse();
        done += run(Decisions(seed * 0x9E3779B97F4A7C15 + program));
    }
    std::fprintf(stderr, "fuzz: %llu operations, seed %llu\n", static_cast<unsigned long long>(done),
                 static_cast<unsigned long long>(seed));
    if (bytesInUse() - halfway <= allowance) return;
    std::fprintf(stderr, "fuzz: memory has been left over\n");
    std::exit(1);
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
    std::uint64_t operations = 100000, seed = 1;
    const char *file = nullptr;
    for (int i = 1; i + 1 < count; i += 2) {
        if (std::strcmp(arguments[i], "--operations") == 0) operations = std::strtoull(arguments[i + 1], nullptr, 10);
        if (std::strcmp(arguments[i], "--seed") == 0) seed = std::strtoull(arguments[i + 1], nullptr, 10);
        if (std::strcmp(arguments[i], "--replay") == 0) file = arguments[i + 1];
    }
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 2; // what is displayed does not matter
    std::signal(SIGABRT, onAbort);
    if (file == nullptr) {
        runAtRandom(operations, seed);
    } else if (std::ifstream bytes(file, std::ios::binary); bytes) {
        run(Decisions(std::string(std::istreambuf_iterator<char>(bytes), {})));
    } else {
        std::fprintf(stderr, "fuzz: cannot read %s\n", file);
        return 2;
    }
    return 0;
}
