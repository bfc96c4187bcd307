// What all programs of the fuzzer live in: recorded errors, blocks with bad manners, references of every kind.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "runtime/module.h"
#include "tests/fuzz/decisions.h"

namespace oocobol::fuzz {

// Ends the run with a text: something is not as it must be.
[[noreturn]] void fail(const std::string &what);
// What is being done, for that text.
void note(const std::string &what);
// The decisions that a failing run writes down; null for none.
void remember(const Decisions *decisions);

// The numbers raised since the last look.
std::vector<Count> takeErrors();
// Runs whenever an error is raised.
void whenRaised(std::function<void()> action);

// A callback on an entry that runs the function, which lives as long as the caller says; and the entry's name.
inline constexpr const char *blockEntry = "fuzzblock";
inline constexpr const char *comparisonEntry = "fuzzcomparison";
using Function = std::function<std::int64_t(void **arguments)>;
void setBlock(Function function);
void setComparison(Function function);
Ref newBlock();

// Lets every class of a family that the fuzzer sends to gain a method.
void gainMethod();

void start();

// Elements and answers lie in areas that are wide enough for any collection's.
inline constexpr std::size_t widestElement = 300;
struct ElementArea {
    alignas(8) std::byte bytes[512] = {};
    ElementArea() = default;
    explicit ElementArea(const std::string &value) { std::memcpy(bytes, value.data(), value.size()); }
    Element element() const { return {bytes}; }
    Returning returning() { return Returning{{bytes}}; }
    std::string value(std::size_t width) const { return {reinterpret_cast<const char *>(bytes), width}; }
};

// One random program of so many operations on sequenced collections, fewer when its decisions are over first; answers
// how many it did.
std::uint32_t runSequencedProgram(Decisions &decisions, std::uint32_t operations);

} // namespace oocobol::fuzz
