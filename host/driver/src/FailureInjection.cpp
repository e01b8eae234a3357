#include "FailureInjection.h"

#include <android/log.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <mutex>

#include "FailureList.h"

namespace dravik::reference {

namespace {

constexpr char kEnvironmentVariable[] = "DRAVIK_MDW_FAIL";
constexpr char kLogTag[] = "dravik_mdw";

std::array<std::atomic<int>, kOperationCount> g_injected_errors{};
// Reloads and resets write the whole table; one at a time keeps the table from mixing two lists.
std::mutex g_reload_mutex;

// The environment is read once when the library is loaded.
const int g_ignored_at_load = reloadFailureInjection();

}  // namespace

int injectedFailure(Operation operation) {
    return g_injected_errors[static_cast<std::size_t>(operation)].load(std::memory_order_relaxed);
}

int reloadFailureInjection() {
    const char* text = std::getenv(kEnvironmentVariable);
    const FailureList list = parseFailureList(text != nullptr ? text : "");
    for (const std::string& entry : list.ignored_entries) {
        __android_log_print(ANDROID_LOG_WARN, kLogTag, "%s: ignoring \"%s\"", kEnvironmentVariable,
                            entry.c_str());
    }
    std::lock_guard<std::mutex> lock(g_reload_mutex);
    for (std::size_t index = 0; index < kOperationCount; ++index) {
        g_injected_errors[index].store(list.errors[index], std::memory_order_relaxed);
    }
    return static_cast<int>(list.ignored_entries.size());
}

void resetFailureInjection() {
    std::lock_guard<std::mutex> lock(g_reload_mutex);
    for (std::atomic<int>& error : g_injected_errors) error.store(0, std::memory_order_relaxed);
}

}  // namespace dravik::reference
