#include "RatioReporter.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>

namespace bench {
namespace {

// The console output, plus the time per iteration of every run, by name.
class RecordingReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
            nanoseconds_[run.benchmark_name()] = run.GetAdjustedRealTime();
        }
    }

    const std::map<std::string, double>& nanoseconds() const { return nanoseconds_; }

  private:
    std::map<std::string, double> nanoseconds_;
};

}  // namespace

int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    int result = 0;
    std::printf("\n%-60s %10s %8s\n", "ratio", "measured", "goal");
    for (const Ratio& ratio : ratios) {
        auto measured = reporter.nanoseconds().find(ratio.measured);
        auto baseline = reporter.nanoseconds().find(ratio.baseline);
        if (measured == reporter.nanoseconds().end() || baseline == reporter.nanoseconds().end()) {
            continue;
        }
        const double value = measured->second / baseline->second;
        const bool met = value <= ratio.goal;
        if (!met) result = 1;
        std::printf("%-60s %10.2f %7.2fx %s\n", ratio.label.c_str(), value, ratio.goal,
                    met ? "met" : "MISSED");
    }
    return result;
}

}  // namespace bench
