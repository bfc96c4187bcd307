// What the fuzzer's programs share.
#pragma once

#include <string>

#include "tests/fuzz/decisions.h"

namespace oocobol::fuzz {

// Ends the run with a text: something is not as it must be.
[[noreturn]] void fail(const std::string &what);
// What is being done, for that text.
void note(const std::string &what);

// One random program of so many operations on sequenced collections, fewer when its decisions are over first; answers
// how many it did.
std::uint32_t runSequencedProgram(Decisions &decisions, std::uint32_t operations);

} // namespace oocobol::fuzz
