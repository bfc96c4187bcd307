#include "tests/fuzz/world.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

// A report of a sanitizer must end in the signal that has the program written down. What the object table holds is out
// of the leak check's sight; the programs count objects themselves.
extern "C" const char *__asan_default_options() { return "abort_on_error=1:detect_leaks=0"; }
extern "C" const char *__ubsan_default_options() { return "abort_on_error=1:print_stacktrace=1"; }

namespace oocobol::fuzz {

namespace {

std::string doing;
const Decisions *remembered = nullptr;
std::vector<Count> errors;
std::function<void()> raised;
Function block, comparison;

// Writes the program down that fails.
void onAbort(int) {
    std::signal(SIGABRT, SIG_DFL);
    if (remembered != nullptr) {
        std::fprintf(stderr, "fuzz: while doing %s; the program is in fuzz-failure.bin\n", doing.c_str());
        std::ofstream("fuzz-failure.bin", std::ios::binary) << remembered->soFar();
    }
    std::abort();
}

void recordError(const oops_ref *, void *, void *, const void *, const void *number, const void *) {
    Count value = 0;
    if (number != nullptr) std::memcpy(&value, number, sizeof value);
    errors.push_back(value);
    if (raised) raised();
}

template <Function &function>
std::int64_t entry(void *a, void *b, void *c, void *d, void *e, void *f, void *g, void *h, void *i, void *j, void *k,
                   void *l, void *m, void *n, void *o) {
    void *arguments[] = {a, b, c, d, e, f, g, h, i, j, k, l, m, n, o};
    const auto running = function; // it may be exchanged while it runs
    return running ? running(arguments) : 0;
}

} // namespace

void fail(const std::string &what) {
    std::fprintf(stderr, "fuzz: %s\n", what.c_str());
    std::abort();
}
void note(const std::string &what) { doing = what; }
void remember(const Decisions *decisions) { remembered = decisions; }

std::vector<Count> takeErrors() { return std::exchange(errors, {}); }
void whenRaised(std::function<void()> action) { raised = std::move(action); }

void setBlock(Function function) { block = std::move(function); }
void setComparison(Function function) { comparison = std::move(function); }
Ref newBlock() { return send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{blockEntry}); }

void gainMethod() {
    static int gained = 0;
    if (gained >= 32) return; // each makes the library look again at all it knows
    std::byte record[512];
    const auto name = "fuzzmethod" + std::to_string(gained++);
    oopsrecord(record, gained % 2 == 0 ? "dynarray" : "sequence", "", 0, 0, 0);
    oopsrecordmethod(record, sizeof record, name.c_str(), reinterpret_cast<oops_method>(recordError), 1, 0);
    oopsextendclass2(record);
}

void start() {
    host_register_entry(blockEntry, entry<block>);
    host_register_entry(comparisonEntry, entry<comparison>);
    // One for each error that is raised while others are being handled; behind them comes the one that ends the run.
    constexpr int depth = 16;
    std::byte record[512];
    oopsrecord(record, "fuzzrec", "fuzzrecorder", CLASS("base").bits, 0, 0);
    oopsrecordmethod(record, sizeof record, "record", reinterpret_cast<oops_method>(recordError), 4, OOPS_CLASS_METHOD);
    oops_ref errorRecorder = 0;
    oopsnewclass2(record, &errorRecorder);
    for (int i = 0; i < depth; ++i) {
        const auto handler = send<Ref>(SITE("new"), CLASS("callback"), Ref{errorRecorder}, Bytes{"record"});
        keepForLibrary(handler);
        send<Ref>(SITE("setsystemhandler"), CLASS("exptnmgr"), handler);
    }
    std::signal(SIGABRT, onAbort);
}

} // namespace oocobol::fuzz
