// What the XML benchmarks share so that their comparisons with raw pugixml
// are fair: both sides run under the same allocator settings, and the
// program prints the ratios of CPU time it measured itself.
//
// The C library's allocator gives memory back to the system when a large
// block is freed, and a benchmark that frees its whole document on each
// iteration then spends its time in page faults on the next. Whether that
// happens depends on the order and sizes of earlier allocations, so two
// sides of one comparison can get different conditions in one process. By
// default the programs therefore keep freed memory (large thresholds for
// mapping and trimming, the values an environment setting of the C library
// would give); LOREHAVEN_BENCH_MALLOC=system keeps the library's own
// defaults, to see what the faults cost.
//
// CPU time is compared rather than wall time, and with repetitions the best
// of each: the benchmarks run on shared machines.
#pragma once

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lh::bench {

// A pair of benchmark names: the ratio printed is ours / theirs.
struct Ratio {
    const char* label;
    const char* ours;
    const char* theirs;
};

class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            // With repetitions, the best run: what other processes add is noise.
            double time = run.GetAdjustedCPUTime();
            auto [it, fresh] = cpu.emplace(run.run_name.function_name, time);
            if (!fresh && time < it->second) it->second = time;
        }
    }
    double cpuTime(const std::string& name) const {
        auto it = cpu.find(name);
        return it == cpu.end() ? 0.0 : it->second;
    }

private:
    std::map<std::string, double> cpu;
};

inline const char* setAllocatorConditions() {
    const char* mode = std::getenv("LOREHAVEN_BENCH_MALLOC");
    if (mode && std::strcmp(mode, "system") == 0) return "the C library's defaults (LOREHAVEN_BENCH_MALLOC=system)";
    // 32 MiB is the largest mapping threshold the allocator takes.
    bool ok = mallopt(M_MMAP_THRESHOLD, 32 << 20) == 1 && mallopt(M_TRIM_THRESHOLD, 128 << 20) == 1;
    return ok ? "freed memory kept (mmap threshold 32 MiB, trim threshold 128 MiB)"
              : "the C library's defaults (it refused the thresholds)";
}

inline int runFairly(int argc, char** argv, const std::vector<Ratio>& ratios) {
    const char* conditions = setAllocatorConditions();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    std::printf("Allocator: %s\n", conditions);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const Ratio& r : ratios) {
        double ours = reporter.cpuTime(r.ours), theirs = reporter.cpuTime(r.theirs);
        if (ours > 0 && theirs > 0) std::printf("%-44s %6.2fx  (%s / %s, CPU time)\n", r.label, ours / theirs, r.ours, r.theirs);
    }
    benchmark::Shutdown();
    return 0;
}

}  // namespace lh::bench
