#pragma once

// A service object of its own for each test, over the fake driver, with the platform recorder
// catching its log lines and debug logging on.

#include <FakeDriver.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "PlatformRecorder.h"
#include "service/DebugConfig.h"
#include "service/TovanDravik.h"

namespace service_test {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

class ServiceFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        fake_driver::reset();
        platform_recorder::reset();
        DEBUG_LOG_DRAVIK = 1;
        service_ = ndk::SharedRefBase::make<TovanDravik>();
    }
    // The service deliberately leaves filed memory records behind when it is destroyed; the tests
    // release their sessions and shared memory so that a leak check sees only real leaks.
    void TearDown() override {
        for (uint64_t id : sessions_) {
            int32_t ret = 0;
            service_->session_deleteInstance(static_cast<int64_t>(id), &ret);
        }
        for (uint64_t mem_id : shared_memory_) service_->eraseDravikMem(kSharedOwner, mem_id);
        DEBUG_LOG_DRAVIK = 0;
    }

    // Creates a session through the service; fails the test when it cannot.
    uint64_t createSession() {
        int64_t id = 0;
        EXPECT_TRUE(service_->session_createInstance(&id).isOk());
        EXPECT_NE(id, 0);
        sessions_.push_back(static_cast<uint64_t>(id));
        return static_cast<uint64_t>(id);
    }

    int32_t deleteSession(uint64_t id) {
        int32_t ret = 12345;
        EXPECT_TRUE(service_->session_deleteInstance(static_cast<int64_t>(id), &ret).isOk());
        return ret;
    }

    // The texts of every line logged, in order, at priority or any priority when 0.
    static std::vector<std::string> logTexts(int priority = 0) {
        std::vector<std::string> texts;
        for (const auto& line : platform_recorder::logLines()) {
            if (priority == 0 || line.priority == priority) texts.push_back(line.text);
        }
        return texts;
    }

    // The names of the driver functions called, in order.
    static std::vector<std::string> driverCalls() {
        std::vector<std::string> names;
        for (const auto& call : fake_driver::calls()) names.push_back(call.function);
        return names;
    }

    // Shared memory that TearDown unfiles.
    void releaseSharedAtEnd(int64_t mem_id) { shared_memory_.push_back(mem_id); }

    std::shared_ptr<TovanDravik> service_;
    std::vector<uint64_t> sessions_;
    std::vector<uint64_t> shared_memory_;
};

}  // namespace service_test
