// The whole request path in one process, on the reference driver: a client sets a perceptron up
// through the generated proxy, runs it in every run style, and reads answers that equal a plain
// CPU computation.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BpTovanDravik.h>
#include <android/binder_manager.h>
#include <cutils/properties.h>
#include <dravik_reference_driver.h>
#include <dravik_reference_program.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "ServicePerceptron.h"
#include "service/ServiceStart.h"
#include "service/TovanDravik.h"
#include "tests/service/PlatformRecorder.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using tessaro_workload::PerceptronModel;
using tessaro_workload::RunStyle;
using tessaro_workload::ServicePerceptron;

constexpr float kTolerance = 1e-5f;

// The service as the hosting process registers it, and a client's proxy to it.
class PerceptronTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        property_set("ro.vendor.qel_nn_baseline_support", "1");
        TessaroDravikServerInitInternal();
    }

    void SetUp() override {
        platform_recorder::reset();
        const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
        binder_ = ndk::SpAIBinder(AServiceManager_checkService(instance.c_str()));
        ASSERT_NE(binder_.get(), nullptr);
        proxy_ = ndk::SharedRefBase::make<BpTovanDravik>(binder_);
        service_ = std::static_pointer_cast<TovanDravik>(ITovanDravik::fromBinder(binder_));
        dravikReference_getLiveCounts(&before_);
    }

    void TearDown() override {
        dravik_reference_live_counts after{};
        dravikReference_getLiveCounts(&after);
        EXPECT_EQ(after.sessions, before_.sessions);
        EXPECT_EQ(after.memory_objects, before_.memory_objects);
        EXPECT_EQ(after.command_buffers, before_.command_buffers);
        EXPECT_EQ(after.commands, before_.commands);
    }

    // A built command of one sub-command whose command buffer holds program; the buffer stays
    // mapped in *mapping so that the test can write another program.
    void buildOneSubCommand(const dravik_reference::Program& program, int64_t* session,
                            int64_t* command, tessaro_workload::MappedMemory* mapping) {
        ASSERT_TRUE(proxy_->session_createInstance(session).isOk());
        DRAVIK_CMDBUF_INFO_HD buffer;
        ASSERT_TRUE(proxy_->session_cmdBufAlloc(*session, 256, 0, &buffer).isOk());
        int64_t sub_command = 0;
        ASSERT_TRUE(proxy_->session_createCmd(*session, command).isOk());
        ASSERT_TRUE(proxy_->cmd_createSubcmd(*session, *command, 2, &sub_command).isOk());
        *mapping = tessaro_workload::MappedMemory(buffer.fds[0], 256);
        ASSERT_TRUE(program.copyTo(mapping->as<void>(), mapping->size()));
        int32_t ret = 0;
        ASSERT_TRUE(
                proxy_->subCmd_addCmdBuf(*session, sub_command, buffer.cmd_buf_id, 0, &ret).isOk());
        ASSERT_EQ(ret, 0);
        ASSERT_TRUE(proxy_->cmd_build(*session, *command, &ret).isOk());
        ASSERT_EQ(ret, 0);
    }

    ndk::SpAIBinder binder_;
    std::shared_ptr<ITovanDravik> proxy_;
    std::shared_ptr<TovanDravik> service_;
    dravik_reference_live_counts before_{};
};

TEST_F(PerceptronTest, EveryRunStyleAnswersAsTheCpuDoes) {
    const PerceptronModel model({48, 32, 10}, 7);
    constexpr int kBatch = 5;
    std::string error;
    auto perceptron = ServicePerceptron::create(proxy_, model, kBatch, &error);
    ASSERT_NE(perceptron, nullptr) << error;

    int64_t last_extension_id = 0;
    int64_t runs = 0;
    uint64_t seed = 100;
    for (const RunStyle style : tessaro_workload::allRunStyles()) {
        SCOPED_TRACE(tessaro_workload::runStyleName(style));
        // Fresh inputs each time, so a run that did nothing cannot pass on the last one's answer.
        const std::vector<float> inputs = tessaro_workload::seededInputs(kBatch, 48, ++seed);
        perceptron->writeInputs(inputs);
        ASSERT_TRUE(perceptron->run(style, &error)) << error;
        EXPECT_LE(tessaro_workload::largestDifference(perceptron->readOutputs(),
                                                      model.forward(inputs, kBatch)),
                  kTolerance);

        tessaro_workload::RunFigures figures;
        ASSERT_TRUE(perceptron->readRunFigures(&figures, &error)) << error;
        EXPECT_EQ(figures.run_count, ++runs);
        EXPECT_GT(figures.extension_id, last_extension_id);
        EXPECT_GT(figures.duration_ns, 0);
        EXPECT_EQ(figures.layer_durations_ns.size(), 2u);
        last_extension_id = figures.extension_id;
    }
}

// A perceptron whose second layer reads a buffer of another session fails its run, with the
// driver's errno logged, and the session stays usable.
TEST_F(PerceptronTest, ABadProgramFailsTheRunAndLosesNothing) {
    // A program that fills memory nobody allocated.
    dravik_reference::Program program;
    program.fill(DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT - 64, 1.0f, 4);
    int64_t session = 0;
    int64_t command = 0;
    tessaro_workload::MappedMemory mapping;
    ASSERT_NO_FATAL_FAILURE(buildOneSubCommand(program, &session, &command, &mapping));
    int32_t ret = 0;
    ASSERT_TRUE(proxy_->cmd_run(session, command, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(platform_recorder::logLinesWithText("dravikCmd_run failed errno(14/Bad address)")
                      .size(),
              1u);

    // The same command with a sound program runs.
    program.clear();
    ASSERT_TRUE(program.copyTo(mapping.as<void>(), mapping.size()));
    ASSERT_TRUE(proxy_->cmd_run(session, command, &ret).isOk());
    EXPECT_EQ(ret, 0);
    ASSERT_TRUE(proxy_->session_deleteInstance(session, &ret).isOk());
    EXPECT_EQ(ret, 0);
}

TEST_F(PerceptronTest, DeletingASessionWaitsForItsTypedRun) {
    dravik_reference::Program program;
    program.wait(300'000'000);
    int64_t session = 0;
    int64_t command = 0;
    tessaro_workload::MappedMemory mapping;
    ASSERT_NO_FATAL_FAILURE(buildOneSubCommand(program, &session, &command, &mapping));
    int32_t ret = 0;

    std::atomic<int32_t> run_result{-100};
    std::thread runner([&] {
        int32_t result = -100;
        proxy_->cmd_runWithType(session, command, DRAVIK_REFERENCE_RUN_TYPE_LOW_POWER, &result);
        run_result = result;
    });
    // The run takes 300 ms in the driver; the flag says 1 for all of that time.
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (service_->getRunwithtypeFlagFromDravikId(static_cast<uint64_t>(session)) != 1 &&
           std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    if (service_->getRunwithtypeFlagFromDravikId(static_cast<uint64_t>(session)) != 1) {
        runner.join();
        FAIL() << "the typed run was never seen in the driver";
    }
    ASSERT_TRUE(proxy_->session_deleteInstance(session, &ret).isOk());
    EXPECT_EQ(ret, 0);
    runner.join();
    // The run was let finish: it succeeded, and the deletion passed the gate when it opened.
    EXPECT_EQ(run_result.load(), 0);
    const std::string id = std::to_string(session);
    EXPECT_EQ(platform_recorder::logLinesWithText("checkRunwithtypeFlag dravik_id:" + id +
                                                  " run_flag is 2...")
                      .size(),
              1u);
    EXPECT_TRUE(platform_recorder::logLinesWithText("checkRunwithtypeFlag dravik_id:" + id +
                                                    " run_flag become 2 timeout")
                        .empty());
}

}  // namespace
