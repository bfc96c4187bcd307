// A lookup that is not remembered: for a send when there is no memory left to remember it.
#pragma once

#include "runtime/behaviours.h"

namespace oocobol {

// Fills a cell of the caller's own with what the message runs.
void linkCell(Cell &cell, const Behaviour &behaviour, SelectorId selector) noexcept;

} // namespace oocobol
