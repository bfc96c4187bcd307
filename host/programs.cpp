// Finding code by name.
//
// Names come from data, so a name such as "clock" or "remove" is likely to be a user's program and must never reach a
// function of the C run time: code is taken only from modules that a program could have been compiled into. What has
// been found stays mapped, so that it may be remembered.
#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "host/gnucobol.h"
#include "host/host.h"
#include "host/modules.h"

namespace oocobol::host {

constinit std::atomic<std::uint64_t> detail::programsVersion{1};

namespace {

constexpr std::size_t nameLimit = 80;

std::string lower(std::string_view text) {
    std::string result(text);
    toLower(result.data(), result.size());
    return result;
}

std::string upper(std::string_view text) {
    std::string result(text);
    toUpper(result.data(), result.size());
    return result;
}

std::array<std::string, 3> spellings(std::string_view name) { return {std::string(name), lower(name), upper(name)}; }

std::string_view withoutQuotes(std::string_view name) {
    if (name.size() < 2 || name.front() != '"' || name.back() != '"') return name;
    return name.substr(1, name.size() - 2);
}

// Neither a path nor text that only happens to be where a name should be.
bool isProgramName(std::string_view name) {
    for (const char character : name)
        if (static_cast<unsigned char>(character) <= ' ' || character == '/' || character == '"') return false;
    return true;
}

// ---- What is known already ----------------------------------------------------------------------------------------

struct Names {
    std::mutex lock;
    std::map<std::string, host_entry, std::less<>> registered; // in lower case
    std::map<std::string, Program, std::less<>> found;         // as asked for
};

// Never destroyed: threads may look names up while the process ends.
Names &names() {
    static auto &instance = *new Names;
    return instance;
}

Program registeredProgram(std::string_view name) {
    const auto entry = names().registered.find(lower(name));
    if (entry == names().registered.end()) return {};
    return {.entry = entry->second, .cobol = isCobolCode(reinterpret_cast<const void *>(entry->second))};
}

// ---- What modules export ------------------------------------------------------------------------------------------

// The form in which COBOL compilers hand a program's name to the linker.
std::string linkerName(std::string_view name) {
    std::string result;
    if (std::isdigit(static_cast<unsigned char>(name.front()))) result += '_';
    for (const char character : name) {
        if (std::isalnum(static_cast<unsigned char>(character)) || character == '_') {
            result += character;
        } else if (character == '-') {
            result += "__";
        } else {
            constexpr std::string_view digits = "0123456789ABCDEF";
            const auto code = static_cast<unsigned char>(character);
            result += {'_', digits[code / 16], digits[code % 16]};
        }
    }
    return result;
}

bool isRunTimeLibrary(std::string_view file) {
    constexpr std::string_view prefixes[] = {
        "ld-",     "linux-vdso", "libc.so",  "libc-",    "libm.so", "libm-",    "libmvec",   "libpthread", "libdl",
        "librt",   "libresolv",  "libutil",  "libanl",   "libnss",  "libnsl",   "libstdc++", "libc++",     "libgcc_s",
        "libcob.", "libcob-",    "libncurs", "libtinfo", "libgmp",  "libdb-",   "libxml2",   "libicu",     "liblzma",
        "libz.",   "libjson-c",  "libcjson", "libasan",  "libtsan", "libubsan", "liblsan",   "libgomp",    "libatomic"};
    for (const auto prefix : prefixes)
        if (file.starts_with(prefix)) return true;
    return false;
}

// The start-up code of the executable, and C++ functions.
bool isReserved(std::string_view symbol) {
    for (const std::string_view prefix : {"_init", "_fini", "_start", "_Z"})
        if (symbol.starts_with(prefix)) return true;
    return symbol == "main";
}

// This library's interface to its callers: unlike the class programs in it, no programs.
bool isOwnInterface(std::string_view symbol) {
    for (const std::string_view prefix : {"oo", "cobinvoke", "host_", "liboocobol"})
        if (symbol.starts_with(prefix)) return true;
    return false;
}

bool isProgramCode(const void *address, std::string_view symbol) {
    const auto module = moduleOf(address);
    if (!module || !module->executable || isRunTimeLibrary(module->fileName())) return false;
    return module->base != ownModuleBase() || !isOwnInterface(symbol);
}

Program programAt(void *address) {
    pinModule(address);
    const bool cobol = isCobolCode(address);
    return {.entry = reinterpret_cast<host_entry>(address), .cobol = cobol, .wide = !cobol};
}

Program exportedProgram(void *scope, std::string_view name) {
    for (const auto &spelling : spellings(name)) {
        const auto symbol = linkerName(spelling);
        if (isReserved(symbol)) continue;
        void *address = dlsym(scope, symbol.c_str());
        if (address && isProgramCode(address, symbol)) return programAt(address);
    }
    return {};
}

// ---- What can be loaded -------------------------------------------------------------------------------------------

Program resolvedByRunTime(std::string_view name) {
    for (const auto &spelling : spellings(name)) {
        const auto symbol = linkerName(spelling);
        if (isReserved(symbol)) continue;
        void *address = gnucobol::resolve(spelling.c_str());
        if (address && isProgramCode(address, symbol)) return programAt(address);
    }
    return {};
}

Program loadedFrom(const std::string &path, std::string_view name) {
    void *module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) return {};
    const auto program = exportedProgram(module, name);
    dlclose(module); // a program that was found keeps its module
    return program;
}

Program programInFolder(std::string_view folder, std::string_view name) {
    for (const auto &spelling : spellings(name))
        if (const auto program = loadedFrom(std::string(folder) + "/" + spelling + ".so", name)) return program;
    return {};
}

Program programInFolders(std::string_view name) {
    const char *variable = std::getenv("COB_LIBRARY_PATH");
    std::string_view folders = variable ? variable : "";
    while (!folders.empty()) {
        const auto end = std::min(folders.find(':'), folders.size());
        if (const auto folder = folders.substr(0, end); !folder.empty())
            if (const auto program = programInFolder(folder, name)) return program;
        folders.remove_prefix(std::min(end + 1, folders.size()));
    }
    return programInFolder(".", name);
}

Program searchedProgram(std::string_view name) {
    if (!isProgramName(name)) return {};
    if (const auto program = exportedProgram(RTLD_DEFAULT, name)) return program;
    if (const auto program = resolvedByRunTime(name)) return program;
    return programInFolders(name);
}

} // namespace

Program findProgram(std::string_view name) noexcept try {
    name = withoutQuotes(name);
    if (name.empty() || name.size() > nameLimit) return {};
    {
        const std::lock_guard lock(names().lock);
        if (const auto known = names().found.find(name); known != names().found.end()) return known->second;
        if (const auto program = registeredProgram(name)) return names().found[std::string(name)] = program;
    }
    // The search may load modules, whose start-up code may register entries: it runs without the lock.
    const auto program = searchedProgram(name);
    if (!program) return {};
    const std::lock_guard lock(names().lock);
    if (const auto registered = registeredProgram(name)) return registered;
    return names().found[std::string(name)] = program;
} catch (...) {
    return {};
}

void registerEntry(std::string_view name, host_entry entry) noexcept try {
    name = withoutQuotes(name);
    if (name.empty() || name.size() > nameLimit) return;
    const std::lock_guard lock(names().lock);
    names().found.clear();
    ++detail::programsVersion;
    if (entry)
        names().registered[lower(name)] = entry;
    else
        names().registered.erase(lower(name));
} catch (...) {
    report("oocobol: memory is short, a program entry was not registered\n");
}

void pinModule(const void *address) noexcept try {
    const auto module = moduleOf(address);
    if (module && !module->path.empty()) dlopen(module->path.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
} catch (...) {
    report("oocobol: memory is short, a module with user code was not pinned\n");
}

} // namespace oocobol::host

extern "C" void host_register_entry(const char *name, host_entry entry) {
    if (!name) return;
    constexpr std::size_t scanLimit = 65535;
    std::size_t length = 0;
    while (length < scanLimit && name[length] != '\0' && name[length] != ' ') ++length;
    oocobol::host::registerEntry({name, length}, entry);
}
