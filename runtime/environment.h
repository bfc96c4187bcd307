// The switches that the environment sets for the runtime.
#pragma once

namespace oocobol {

// OOCOBOL_TRACE: the trace level at start, decimal or hexadecimal. OOCOBOL_LEAKS=1: reports at the end of the run which
// objects the program still owns. OOCOBOL_DISPATCH=1: every message is sent, no native road is taken.
void applyEnvironment() noexcept;

} // namespace oocobol
