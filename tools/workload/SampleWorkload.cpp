#include "SampleWorkload.h"

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "DirectPerceptron.h"
#include "Latency.h"
#include "PerceptronModel.h"
#include "ServicePerceptron.h"

namespace tessaro_workload {

namespace {

constexpr uint64_t kModelSeed = 20261123;
// fp32 sums of a few hundred products against a double-precision reference.
constexpr float kTolerance = 1e-4f;

double millisecondsOf(const std::function<bool()>& step, bool* succeeded) {
    const auto start = std::chrono::steady_clock::now();
    *succeeded = step();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count();
}

std::string shape(const std::vector<int>& widths) {
    std::string text;
    for (const int width : widths) text += (text.empty() ? "" : "-") + std::to_string(width);
    return text;
}

class Report {
  public:
    void line(const char* step, const std::string& text) {
        std::printf("  %-28s %s\n", step, text.c_str());
        std::fflush(stdout);
    }
    void failure(const char* step, const std::string& text) {
        line(step, "FAILED: " + text);
        ++failures_;
    }
    int failures() const { return failures_; }

  private:
    int failures_ = 0;
};

std::string format(const char* pattern, double value) {
    char text[64];
    std::snprintf(text, sizeof(text), pattern, value);
    return text;
}

std::string latencyText(const LatencySummary& summary) {
    return "median " + format("%.3f", summary.median_ms) + " ms, p99 " +
           format("%.3f", summary.p99_ms) + " ms";
}

// Runs count times with fresh inputs each time, checking every check_every-th answer; the
// latencies of the runs alone.
std::vector<double> timedRuns(ServicePerceptron& perceptron, const PerceptronModel& model,
                              RunStyle style, int count, int check_every, float* largest,
                              std::string* error) {
    std::vector<double> latencies;
    for (int run = 0; run < count; ++run) {
        const bool check = run % check_every == 0 || run + 1 == count;
        const std::vector<float> inputs = seededInputs(perceptron.batch(), model.inputWidth(),
                                                       static_cast<uint64_t>(run) + 1);
        perceptron.writeInputs(inputs);
        bool succeeded = false;
        latencies.push_back(
                millisecondsOf([&] { return perceptron.run(style, error); }, &succeeded));
        if (!succeeded) return {};
        if (check) {
            *largest = std::max(*largest,
                                largestDifference(perceptron.readOutputs(),
                                                  model.forward(inputs, perceptron.batch())));
        }
    }
    return latencies;
}

}  // namespace

int runSampleWorkload(
        const std::shared_ptr<aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik>&
                service,
        const SampleOptions& options) {
    Report report;
    const PerceptronModel model(options.widths, kModelSeed);
    std::printf("sample workload: perceptron %s, batch %d\n", shape(options.widths).c_str(),
                options.batch);
    std::string error;
    bool succeeded = false;
    std::unique_ptr<ServicePerceptron> perceptron;
    const double set_up_ms = millisecondsOf(
            [&] {
                perceptron = ServicePerceptron::create(service, model, options.batch, &error);
                return perceptron != nullptr;
            },
            &succeeded);
    if (!succeeded) {
        report.failure("set up", error);
        return 1;
    }
    report.line("set up", "session " + std::to_string(perceptron->sessionId()) + ", command " +
                                  std::to_string(perceptron->commandId()) + ", " +
                                  std::to_string(model.layers().size()) +
                                  " sub-commands joined by edges, built (" +
                                  format("%.1f", set_up_ms) + " ms)");

    // Every style a client in another process has, once, each checked.
    for (const RunStyle style : remoteRunStyles()) {
        const std::vector<float> inputs = seededInputs(options.batch, model.inputWidth(),
                                                       1000 + static_cast<uint64_t>(style));
        perceptron->writeInputs(inputs);
        const double ms =
                millisecondsOf([&] { return perceptron->run(style, &error); }, &succeeded);
        const char* name = runStyleName(style);
        if (!succeeded) {
            report.failure(name, error);
            continue;
        }
        const float difference =
                largestDifference(perceptron->readOutputs(), model.forward(inputs, options.batch));
        if (difference > kTolerance) {
            report.failure(name, "answers differ from the CPU's by " + format("%.3g", difference));
        } else {
            report.line(name, "ok, largest difference " + format("%.2g", difference) + " (" +
                                      format("%.3f", ms) + " ms)");
        }
    }

    float largest = 0;
    const std::vector<double> cached =
            timedRuns(*perceptron, model, RunStyle::kCachedRun, options.cached_runs,
                      options.check_every, &largest, &error);
    if (cached.empty()) {
        report.failure("cached runs", error);
        return 1;
    }
    const LatencySummary cached_summary = summarize(cached);
    double total_ms = 0;
    for (const double ms : cached) total_ms += ms;
    const double throughput =
            1000.0 * options.batch * static_cast<double>(cached.size()) / total_ms;
    if (largest > kTolerance) {
        report.failure("cached runs",
                       "answers differ from the CPU's by " + format("%.3g", largest));
    }
    report.line("cached runs", std::to_string(cached.size()) +
                                       " runs: " + latencyText(cached_summary) + ", " +
                                       format("%.0f", throughput) + " inferences/s");

    if (options.fenced_runs > 0) {
        largest = 0;
        const std::vector<double> fenced =
                timedRuns(*perceptron, model, RunStyle::kRunFenceV2, options.fenced_runs,
                          options.check_every, &largest, &error);
        if (fenced.empty()) {
            report.failure("fenced runs", error);
        } else if (largest > kTolerance) {
            report.failure("fenced runs",
                           "answers differ from the CPU's by " + format("%.3g", largest));
        } else {
            report.line("fenced runs",
                        std::to_string(fenced.size()) + " runs: " + latencyText(summarize(fenced)));
        }
    }

    RunFigures figures;
    if (!perceptron->readRunFigures(&figures, &error)) {
        report.failure("run information", error);
    } else {
        std::string layers;
        for (const int64_t duration : figures.layer_durations_ns) {
            layers += (layers.empty() ? "" : ", ") + format("%.3f", duration / 1e6);
        }
        report.line("run information", "last run " + format("%.3f", figures.duration_ns / 1e6) +
                                               " ms (layers " + layers + " ms), extension id " +
                                               std::to_string(figures.extension_id) + ", " +
                                               std::to_string(figures.run_count) + " runs");
    }

    // The same runs on the driver in this process: what the service adds is the difference.
    std::unique_ptr<DirectPerceptron> direct =
            DirectPerceptron::create(model, options.batch, &error);
    if (direct == nullptr) {
        report.failure("baseline", error);
        return 1;
    }
    std::vector<double> direct_latencies;
    for (int run = 0; run < options.cached_runs && succeeded; ++run) {
        direct->writeInputs(
                seededInputs(options.batch, model.inputWidth(), static_cast<uint64_t>(run) + 1));
        direct_latencies.push_back(millisecondsOf([&] { return direct->run(&error); }, &succeeded));
    }
    if (!succeeded) {
        report.failure("baseline", error);
    } else {
        const LatencySummary direct_summary = summarize(direct_latencies);
        report.line("baseline", "the driver in this process: " + latencyText(direct_summary));
        const double added_ms = cached_summary.median_ms - direct_summary.median_ms;
        // A service share below the runs' own spread reads as a negative difference of medians.
        report.line("service share",
                    added_ms <= 0
                            ? "none measurable: the medians differ by " + format("%.3f", added_ms) +
                                      " ms, within the runs' spread"
                            : format("%.1f", 100.0 * added_ms / cached_summary.median_ms) +
                                      "% of a cached run's median (" + format("%.3f", added_ms) +
                                      " ms a run)");
    }
    report.line("result", report.failures() == 0
                                  ? "PASS"
                                  : "FAIL (" + std::to_string(report.failures()) + " failures)");
    return report.failures() == 0 ? 0 : 1;
}

}  // namespace tessaro_workload
