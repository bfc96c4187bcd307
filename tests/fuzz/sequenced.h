// Random programs over sequenced collections.
#pragma once

#include "tests/fuzz/world.h"

namespace oocobol::fuzz {

// One program of so many operations, fewer when its decisions are over first; answers how many it did.
std::uint32_t runSequencedProgram(Decisions &decisions, std::uint32_t operations);

} // namespace oocobol::fuzz
