#include "runtime/environment.h"

#include <cstdlib>
#include <string_view>

#include "runtime/behaviours.h"
#include "runtime/dispatch.h"
#include "runtime/objects.h"

namespace oocobol {

namespace {

std::string_view variable(const char *name) {
    const auto *value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

void applyEnvironment() noexcept {
    if (variable("OOCOBOL_LEAKS") == "1") std::atexit(reportLeaks);
    if (variable("OOCOBOL_DISPATCH") == "1") allowNativePaths(false);
    if (const auto level = variable("OOCOBOL_TRACE"); !level.empty())
        setTraceLevel(static_cast<std::uint32_t>(std::strtoul(level.data(), nullptr, 0)));
}

} // namespace oocobol
