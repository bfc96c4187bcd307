// Finding the COBOL run time, and the services that it gives.
//
// The run time may be linked into the executable, be a library the process started with, or come in by dlopen at any
// moment and with local scope. While there is none, looking again is skipped until the linker has loaded something.
#include "host/gnucobol.h"

#include <dlfcn.h>
#include <mutex>
#include <string_view>

#include "host/modules.h"

namespace oocobol::host::gnucobol {

constinit Bridge bridge;

namespace {

struct RunTimeEntries {
    int (*isInitialized)();
    void (*initialize)(int, char **);
    Global *(*global)();
    int (*parameterCount)();
    const char *(*version)();
    void *(*resolve)(const char *);
    void *(*external)(const char *, int);
    void (*stopRun)(int);
};

constinit RunTimeEntries entries{};
constinit std::atomic<bool> entriesFound{false};
constinit std::mutex probing;
constinit std::atomic<std::uint64_t> modulesSearched{0};

template <class Function> bool find(void *scope, const char *name, Function &function) {
    function = reinterpret_cast<Function>(dlsym(scope, name));
    return function != nullptr;
}

bool findEntriesIn(void *scope) {
    RunTimeEntries found{};
    const bool complete =
        find(scope, "cob_is_initialized", found.isInitialized) && find(scope, "cob_init", found.initialize) &&
        find(scope, "cob_get_global_ptr", found.global) && find(scope, "cob_get_num_params", found.parameterCount) &&
        find(scope, "libcob_version", found.version) && find(scope, "cob_resolve", found.resolve) &&
        find(scope, "cob_external_addr", found.external) && find(scope, "cob_stop_run", found.stopRun);
    // Every release 3 has the globals that we read in the same place; others are left alone.
    if (!complete || !std::string_view(found.version()).starts_with("3.")) return false;
    entries = found;
    return true;
}

bool findEntriesInLibrary() {
    const auto path = cobolLibraryPath();
    if (path.empty()) return false;
    void *library = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    return library && findEntriesIn(library);
}

// Under `probing`.
bool findEntries() {
    if (entriesFound.load(std::memory_order_acquire)) return true;
    const auto modules = loadedModuleCount();
    if (modules == modulesSearched.load(std::memory_order_relaxed)) return false;
    modulesSearched.store(modules, std::memory_order_relaxed);
    const bool found = findEntriesIn(RTLD_DEFAULT) || findEntriesInLibrary();
    entriesFound.store(found, std::memory_order_release);
    return found;
}

// Believes the mirrored argument counter only when the run time is seen to read it.
bool countIsWhereExpected(Global &global) {
    const int before = global.callParameters;
    if (entries.parameterCount() != before) return false;
    constexpr int trial = 31;
    global.callParameters = trial;
    const bool answered = entries.parameterCount() == trial;
    global.callParameters = before;
    return answered;
}

Global *learn(Global *global) {
    const bool counted = countIsWhereExpected(*global);
    bridge.countKnown.store(counted, std::memory_order_relaxed);
    bridge.framesKnown.store(counted && std::string_view(entries.version()).starts_with("3.1."),
                             std::memory_order_relaxed);
    bridge.global.store(global, std::memory_order_release);
    return global;
}

} // namespace

Global *findRunTime(bool start) noexcept try {
    if (auto *global = bridge.global.load(std::memory_order_acquire)) return global;
    const std::lock_guard lock(probing);
    if (auto *global = bridge.global.load(std::memory_order_acquire)) return global;
    if (!findEntries()) return nullptr;
    if (!entries.isInitialized()) {
        if (!start) return nullptr;
        entries.initialize(0, nullptr);
    }
    return learn(entries.global());
} catch (...) {
    return nullptr;
}

void *resolve(const char *name) noexcept {
    if (!findRunTime(true)) return nullptr;
    const RunTimeHold hold;
    return entries.resolve(name);
}

std::uint8_t *externalByte(const char *name) noexcept {
    if (!findRunTime(true)) return nullptr;
    const RunTimeHold hold;
    return static_cast<std::uint8_t *>(entries.external(name, 1));
}

void stopRun(int returnCode) noexcept {
    if (findRunTime(false)) entries.stopRun(returnCode);
}

} // namespace oocobol::host::gnucobol

namespace oocobol::host {

bool isCobolCode(const void *address) noexcept try {
    using namespace gnucobol;
    {
        const std::lock_guard lock(probing);
        if (!findEntries()) return false;
    }
    const auto module = moduleOf(address);
    if (!module || !module->executable) return false;
    // A COBOL program may also have been linked together with the run time itself.
    const auto home = moduleOf(reinterpret_cast<const void *>(entries.resolve));
    const bool sharesModule = home && home->base == module->base && !home->fileName().starts_with("libcob");
    return module->needsCobol || sharesModule;
} catch (...) {
    return false;
}

} // namespace oocobol::host
