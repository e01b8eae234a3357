#include "RatioReporter.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

namespace bench {
namespace {

// The console output, plus the real time of one iteration of every run, in nanoseconds, by name.
// Accumulated time over iterations is used rather than the adjusted time, which is in each
// benchmark's own display unit, so that figures of different units compare.
class RecordingReporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration || run.iterations == 0) {
                continue;
            }
            nanoseconds_[run.benchmark_name()] =
                    run.real_accumulated_time * 1e9 / static_cast<double>(run.iterations);
        }
    }

    std::optional<double> nanoseconds(const std::string& name) const {
        auto found = nanoseconds_.find(name);
        if (found == nanoseconds_.end()) return std::nullopt;
        return found->second;
    }

  private:
    std::map<std::string, double> nanoseconds_;
};

// JSON string literal of text (names and labels hold no control characters).
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (char character : text) {
        if (character == '"' || character == '\\') result += '\\';
        result += character;
    }
    return result + "\"";
}

// Takes --ratio_out=FILE out of the arguments, which Google Benchmark would refuse.
std::string takeRatioOut(int* argc, char** argv) {
    static const char kFlag[] = "--ratio_out=";
    std::string path;
    int kept = 0;
    for (int index = 0; index < *argc; ++index) {
        if (std::strncmp(argv[index], kFlag, sizeof(kFlag) - 1) == 0) {
            path = argv[index] + sizeof(kFlag) - 1;
        } else {
            argv[kept++] = argv[index];
        }
    }
    *argc = kept;
    return path;
}

}  // namespace

int runWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios,
                  const std::vector<Bound>& bounds) {
    const std::string ratio_out = takeRatioOut(&argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    RecordingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    std::ostringstream json;
    json << "[";
    const char* separator = "\n";
    std::printf("\n%-64s %12s %12s %8s %8s\n", "ratio", "measured ns", "baseline ns", "ratio",
                "goal");
    for (const Ratio& ratio : ratios) {
        const auto measured = reporter.nanoseconds(ratio.measured);
        const auto baseline = reporter.nanoseconds(ratio.baseline);
        if (!measured || !baseline) continue;
        const double value = *measured / *baseline;
        const bool met = value <= ratio.goal;
        std::printf("%-64s %12.0f %12.0f %8.2f %7.2fx %s\n", ratio.label.c_str(), *measured,
                    *baseline, value, ratio.goal, met ? "met" : "MISSED");
        json << separator << "  {\"label\": " << quoted(ratio.label)
             << ", \"measured\": " << quoted(ratio.measured)
             << ", \"baseline\": " << quoted(ratio.baseline) << ", \"measured_ns\": " << *measured
             << ", \"baseline_ns\": " << *baseline << ", \"ratio\": " << value
             << ", \"goal\": " << ratio.goal << ", \"met\": " << (met ? "true" : "false") << "}";
        separator = ",\n";
    }
    for (const Bound& bound : bounds) {
        const auto measured = reporter.nanoseconds(bound.measured);
        if (!measured) continue;
        const bool met = *measured < bound.goal_seconds * 1e9;
        std::printf("%-64s %12.0f %12s %8s %7.2fs %s\n", bound.label.c_str(), *measured, "-", "-",
                    bound.goal_seconds, met ? "met" : "MISSED");
        json << separator << "  {\"label\": " << quoted(bound.label)
             << ", \"measured\": " << quoted(bound.measured) << ", \"measured_ns\": " << *measured
             << ", \"goal_seconds\": " << bound.goal_seconds
             << ", \"met\": " << (met ? "true" : "false") << "}";
        separator = ",\n";
    }
    json << "\n]\n";
    if (!ratio_out.empty()) {
        std::ofstream file(ratio_out);
        file << json.str();
        if (!file) {
            std::fprintf(stderr, "cannot write %s\n", ratio_out.c_str());
            return 1;
        }
    }
    return 0;
}

}  // namespace bench
