// What the fuzzer's programs share.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace oocobol::fuzz {

// Ends the run with a text: something is not as it must be.
[[noreturn]] void fail(const std::string &what);
// What is being done, for that text.
void note(const std::string &what);

// Where a program's decisions come from: they are the same whenever its seed is.
class Decisions {
public:
    explicit Decisions(std::uint64_t seed) : random(seed) {}
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
    bool oneIn(std::uint32_t chances) { return below(chances) == 0; }
    template <class Choices> auto &among(Choices &choices) {
        return choices[below(static_cast<std::uint32_t>(std::size(choices)))];
    }

private:
    std::mt19937_64 random;
};

// One random program of so many operations on sequenced collections.
void runSequencedProgram(Decisions decisions, std::uint32_t operations);

} // namespace oocobol::fuzz
