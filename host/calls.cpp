// Calls of user code, which may be written in C, C++ or COBOL. What it throws stops here: the frames above belong to
// the runtime and possibly to COBOL programs, which no exception may pass.
#include <algorithm>

#include "host/gnucobol.h"
#include "host/host.h"
#include "host/invoke.h"

namespace oocobol::host {
namespace {

// A COBOL program is told how many arguments it gets; omitted ones at the end are not counted.
std::size_t givenArguments(void *const *arguments) {
    auto count = entryArguments;
    while (count > 0 && !arguments[count - 1]) --count;
    return count;
}

} // namespace

std::int64_t detail::callCobol(const Program &program, void *const *arguments) {
    const auto result =
        gnucobol::callProgram(reinterpret_cast<void *>(program.entry), arguments, givenArguments(arguments));
    return program.wide ? result : static_cast<std::int32_t>(result);
}

bool callMethod(void *entry, bool cobol, void *const *arguments, std::size_t count) noexcept try {
    if (cobol)
        gnucobol::callProgram(entry, arguments, std::min(count, invokeLimit));
    else
        invoke<void>(entry, arguments, count);
    return true;
} catch (...) {
    return false;
}

} // namespace oocobol::host
