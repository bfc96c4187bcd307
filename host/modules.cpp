// The dynamic linker's list of modules, walked with dl_iterate_phdr: it sees modules loaded with local scope too,
// which a look-up by symbol does not.
#include "host/modules.h"

#include <cstddef>
#include <dlfcn.h>
#include <link.h>

namespace oocobol::host {
namespace {

constexpr std::string_view cobolLibraryPrefix = "libcob.so";

std::string_view lastPart(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// Table addresses in a dynamic section are relocated by some linkers and left as offsets by others.
ElfW(Addr) relocated(ElfW(Addr) value, ElfW(Addr) base) { return value < base ? value + base : value; }

bool needsCobolLibrary(const ElfW(Dyn) *dynamic, ElfW(Addr) base) {
    const char *strings = nullptr;
    for (auto entry = dynamic; entry->d_tag != DT_NULL; ++entry)
        if (entry->d_tag == DT_STRTAB) strings = reinterpret_cast<const char *>(relocated(entry->d_un.d_ptr, base));
    if (!strings) return false;
    for (auto entry = dynamic; entry->d_tag != DT_NULL; ++entry)
        if (entry->d_tag == DT_NEEDED && std::string_view(strings + entry->d_un.d_val).starts_with(cobolLibraryPrefix))
            return true;
    return false;
}

const ElfW(Phdr) *segmentOf(const dl_phdr_info &info, std::uintptr_t address) {
    for (std::size_t i = 0; i < info.dlpi_phnum; ++i) {
        const auto &segment = info.dlpi_phdr[i];
        const auto start = info.dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD && address >= start && address - start < segment.p_memsz) return &segment;
    }
    return nullptr;
}

const ElfW(Dyn) *dynamicSection(const dl_phdr_info &info) {
    for (std::size_t i = 0; i < info.dlpi_phnum; ++i)
        if (info.dlpi_phdr[i].p_type == PT_DYNAMIC)
            return reinterpret_cast<const ElfW(Dyn) *>(info.dlpi_addr + info.dlpi_phdr[i].p_vaddr);
    return nullptr;
}

struct Search {
    std::uintptr_t address;
    std::optional<LoadedModule> found;
};

int visitForAddress(dl_phdr_info *info, std::size_t, void *argument) {
    auto &search = *static_cast<Search *>(argument);
    const auto *segment = segmentOf(*info, search.address);
    if (!segment) return 0;
    const auto *dynamic = dynamicSection(*info);
    search.found = LoadedModule{.base = info->dlpi_addr,
                                .path = info->dlpi_name ? info->dlpi_name : "",
                                .executable = (segment->p_flags & PF_X) != 0,
                                .needsCobol = dynamic && needsCobolLibrary(dynamic, info->dlpi_addr)};
    return 1;
}

int visitForCobolLibrary(dl_phdr_info *info, std::size_t, void *argument) {
    const std::string_view path = info->dlpi_name ? info->dlpi_name : "";
    if (!lastPart(path).starts_with(cobolLibraryPrefix)) return 0;
    *static_cast<std::string *>(argument) = path;
    return 1;
}

int visitForCount(dl_phdr_info *info, std::size_t, void *argument) {
    *static_cast<std::uint64_t *>(argument) = info->dlpi_adds;
    return 1;
}

int anchor; // an address inside this library

} // namespace

std::string_view LoadedModule::fileName() const { return lastPart(path); }

std::optional<LoadedModule> moduleOf(const void *address) {
    Search search{reinterpret_cast<std::uintptr_t>(address), {}};
    dl_iterate_phdr(visitForAddress, &search);
    return search.found;
}

std::string cobolLibraryPath() {
    std::string path;
    dl_iterate_phdr(visitForCobolLibrary, &path);
    return path;
}

std::uint64_t loadedModuleCount() noexcept {
    std::uint64_t count = 0;
    dl_iterate_phdr(visitForCount, &count);
    return count;
}

std::string ownFolder() {
    Dl_info info;
    if (!dladdr(&anchor, &info) || !info.dli_fname) return {};
    const std::string_view path = info.dli_fname;
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? "." : std::string(path.substr(0, slash));
}

std::uintptr_t ownModuleBase() {
    const auto own = moduleOf(&anchor);
    return own ? own->base : 0;
}

} // namespace oocobol::host
