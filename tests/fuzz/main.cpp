// The fuzzer: random programs of messages, checked against plain models.
//
//   oocobol_fuzz --operations N --seed S     so many operations, in programs of a few hundred
//   oocobol_fuzz --replay FILE               the program that a failing run has written down
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "tests/fuzz/world.h"

namespace {

using namespace oocobol::fuzz;

constexpr std::uint32_t operationsOfProgram = 200;

// What the second half of a run may take for itself: tables that the library keeps grow rarely by then.
constexpr std::int64_t allowance = 256 * 1024;

void runAtRandom(std::uint64_t operations, std::uint64_t seed) {
    std::uint64_t done = 0;
    std::int64_t halfway = 0;
    for (std::uint64_t program = 0; done < operations; ++program) {
        if (done <= operations / 2) halfway = oocobol::bytesInUse();
        Decisions decisions(seed * 0x9E3779B97F4A7C15 + program);
        remember(&decisions);
        done += runSequencedProgram(decisions, operationsOfProgram);
        remember(nullptr);
    }
    if (oocobol::bytesInUse() - halfway > allowance) fail("memory has been left over");
    std::fprintf(stderr, "fuzz: %llu operations, seed %llu\n", static_cast<unsigned long long>(done),
                 static_cast<unsigned long long>(seed));
}

} // namespace

int main(int count, char **arguments) {
    std::uint64_t operations = 100000, seed = 1;
    const char *file = nullptr;
    for (int i = 1; i + 1 < count; i += 2) {
        if (std::strcmp(arguments[i], "--operations") == 0) operations = std::strtoull(arguments[i + 1], nullptr, 10);
        if (std::strcmp(arguments[i], "--seed") == 0) seed = std::strtoull(arguments[i + 1], nullptr, 10);
        if (std::strcmp(arguments[i], "--replay") == 0) file = arguments[i + 1];
    }
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 2; // what is displayed does not matter
    start();
    if (file == nullptr) {
        runAtRandom(operations, seed);
    } else if (std::ifstream bytes(file, std::ios::binary); bytes) {
        Decisions decisions(std::string(std::istreambuf_iterator<char>(bytes), {}));
        runSequencedProgram(decisions, operationsOfProgram);
    } else {
        std::fprintf(stderr, "fuzz: cannot read %s\n", file);
        return 2;
    }
    return 0;
}
