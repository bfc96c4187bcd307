// The modules (executable and shared libraries) that the dynamic linker has in the process: which of them an address
// belongs to, and what its file says about itself. Programs and the COBOL bridge both judge code by its module.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace oocobol::host {

struct LoadedModule {
    std::uintptr_t base = 0;
    std::string path;        // empty for the executable itself
    bool executable = false; // the address asked for lies in code
    bool needsCobol = false; // it was linked with a COBOL run time

    std::string_view fileName() const;
};

std::optional<LoadedModule> moduleOf(const void *address);

// The path of the COBOL run time's shared library, empty when none is loaded.
std::string cobolLibraryPath();

// Rises with every module that is loaded.
std::uint64_t loadedModuleCount() noexcept;

// The folder that this library was loaded from, without a slash at its end; empty when it cannot be told.
std::string ownFolder();
std::uintptr_t ownModuleBase();

} // namespace oocobol::host
