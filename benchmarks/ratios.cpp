// Runs the benchmarks interleaved, several times each, and prints beside the lowest times the ratios that matter: both
// sides of a ratio come from one run.
#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

struct Ratio {
    const char *ours, *theirs;
    double bar;
};
constexpr Ratio ratios[] = {
    {"send/library_method", "objc/send", 1.0},
    {"send/one_class", "objc/send", 1.0},
    {"send/four_classes", "send/one_class", 1.2},
    {"send/sixteen_classes", "send/one_class", 0},
    {"send/static", "send/one_class", 0},
    {"send/super", "send/one_class", 0},
    {"send/by_name", "send/one_class", 2.5},
    {"send/cold", "send/one_class", 0},
    {"object/create_finalize", "object/malloc_free", 0.5},
    {"object/new_finalize_messages", "object/malloc_free", 0},
    {"collection/do", "send/one_class", 4.0},
    {"signal/one_receiver", "signal/plain_send", 12.0},
    {"signal/1000_receivers", "signal/plain_sends_1000", 6.0},
    {"signal/one_receiver", "gobject/emit_by_number", 0.5},
    {"sort/values", "sort/std", 0.3},
    {"files/expandwildcards", "files/readdir_fnmatch", 2.0},
    {"send/one_class", "call/virtual", 0},
    {"text/walk", "text/plain_walk", 2.0},
    {"text/at_end", "text/at_start", 1.2},
    {"text/double_byte_withbytelengthvalue", "text/single_byte_withbytelengthvalue", 1.5},
    {"text/double_byte_withvalue", "text/single_byte_withvalue", 1.5},
    {"text/double_byte_withspaceterminator", "text/single_byte_withspaceterminator", 1.5},
    {"text/double_byte_frombuffer", "text/single_byte_frombuffer", 1.5},
    {"text/double_byte_setvalue", "text/single_byte_setvalue", 1.5},
    {"text/double_byte_atput", "text/single_byte_atput", 1.5},
    {"text/double_byte_movevalue", "text/single_byte_movevalue", 1.5},
    {"text/double_byte_concat", "text/single_byte_concat", 1.5},
    {"text/double_byte_trimblanks", "text/single_byte_trimblanks", 1.5},
    {"text/double_byte_asuppercase", "text/single_byte_asuppercase", 1.5},
    {"text/double_byte_copyfromto", "text/single_byte_copyfromto", 1.5},
    {"text/double_byte_equal", "text/single_byte_equal", 1.5},
    {"text/double_byte_hash", "text/single_byte_hash", 1.5},
    {"text/double_byte_indexofsubcollection", "text/single_byte_indexofsubcollection", 1.5},
    {"root/raise_and_back", "send/one_class", 40.0},
    {"root/raise_to_class_handler", "send/one_class", 40.0},
    {"root/implements", "send/one_class", 20.0},
    {"root/respondsto_per_class", "send/one_class", 20.0},
    {"root/allinstances_1M", "root/add_1M", 0},
};

class Lowest : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const auto &run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            // Per item where a benchmark counts items, else per iteration.
            const auto items = run.counters.find("items_per_second");
            const auto time = items != run.counters.end() ? 1e9 / items->second.value : run.GetAdjustedCPUTime();
            auto &best = times[run.run_name.function_name];
            best = best == 0 ? time : std::min(best, time);
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        std::printf("\n%-32s %10s\n", "lowest, ns", "");
        for (const auto &[name, time] : times) std::printf("%-32s %10.2f\n", name.c_str(), time);
        std::printf("\n%-60s %8s %8s\n", "ratio, one run", "is", "bar");
        for (const auto &ratio : ratios) print(ratio);
    }

private:
    void print(const Ratio &ratio) {
        const auto ours = times.find(ratio.ours), theirs = times.find(ratio.theirs);
        if (ours == times.end() || theirs == times.end()) return;
        const auto what = std::string(ratio.ours) + " / " + ratio.theirs;
        std::printf("%-60s %8.2f ", what.c_str(), ours->second / theirs->second);
        if (ratio.bar > 0)
            std::printf("%8.2f\n", ratio.bar);
        else
            std::printf("\n");
    }
    std::map<std::string, double> times;
};

} // namespace

int main(int argc, char **argv) {
    std::vector<char *> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=7", interleaving[] = "--benchmark_enable_random_interleaving=true";
    char aggregates[] = "--benchmark_report_aggregates_only=false", shortTime[] = "--benchmark_min_time=0.05";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, aggregates, shortTime});
    auto count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    Lowest reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
