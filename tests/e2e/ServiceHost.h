#pragma once

// The service hosted in the test process itself, as the hosting daemon hosts it, on the reference
// driver: client processes reach it through a private service directory, and the test sees the
// driver's live objects and the service's state from inside.

#include <dravik_reference_driver.h>

#include <memory>
#include <string>

#include "service/TovanDravik.h"

namespace e2e {

using aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik;

// The service object this process registered.
std::shared_ptr<TovanDravik> hostedService();

// The service's own description of its state.
std::string serviceDump();

dravik_reference_live_counts liveCounts();
bool sameCounts(const dravik_reference_live_counts& left,
                const dravik_reference_live_counts& right);

// The test client program.
std::string testClientPath();

// Waits up to limit for condition to hold; whether it did.
template <typename Condition>
bool eventually(Condition&& condition, std::chrono::milliseconds limit = std::chrono::seconds(10));

}  // namespace e2e

#include <chrono>
#include <thread>

namespace e2e {

template <typename Condition>
bool eventually(Condition&& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace e2e
