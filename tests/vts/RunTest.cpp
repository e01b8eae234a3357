// Runs in every style, seen through their effect on the client's own memory; fences as native
// handles; cached runs that stop at the first failing step; run information in batches.
#include <aidl/android/hardware/common/NativeHandle.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <thread>

#include "CopyCommand.h"
#include "TovanDravikHalTest.h"

namespace tessaro_vts {
namespace {

using ::aidl::android::hardware::common::NativeHandle;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMD_RUNINFO_PARAMS_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_SUBCMD_RUNINFO_PARAMS_HD;

constexpr std::chrono::seconds kRunLimit{10};

bool signalledWithin(int fence, std::chrono::milliseconds limit) {
    pollfd entry{fence, POLLIN, 0};
    return poll(&entry, 1, static_cast<int>(limit.count())) == 1 && (entry.revents & POLLIN) != 0;
}

// Whether condition holds before the run limit passes.
bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kRunLimit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// Each style is armed with a value of its own, so a case sees that this very run copied it.
struct RunStyle {
    const char* method;
    std::function<void(ITovanDravik&, const CopyCommand&)> run;
};

const RunStyle kRunStyles[] = {
        {"cmd_run",
         [](ITovanDravik& s, const CopyCommand& c) {
             int32_t ret = -99;
             ASSERT_TRUE(isOk(s.cmd_run(c.session(), c.command(), &ret)));
             EXPECT_EQ(ret, 0);
         }},
        {"cmd_runWithType",
         [](ITovanDravik& s, const CopyCommand& c) {
             int32_t ret = -99;
             ASSERT_TRUE(isOk(s.cmd_runWithType(c.session(), c.command(), 0, &ret)));
             EXPECT_EQ(ret, 0);
         }},
        {"cmd_runAsync",
         [](ITovanDravik& s, const CopyCommand& c) {
             int32_t ret = -99;
             ASSERT_TRUE(isOk(s.cmd_runAsync(c.session(), c.command(), &ret)));
             ASSERT_EQ(ret, 0);
             ASSERT_TRUE(isOk(s.cmd_wait(c.session(), c.command(), &ret)));
             EXPECT_EQ(ret, 0) << "cmd_wait";
         }},
        {"cmd_runFence",
         [](ITovanDravik& s, const CopyCommand& c) {
             // The number answered is a descriptor of the service's process, not the client's.
             int32_t ret = -99;
             ASSERT_TRUE(isOk(s.cmd_runFence(c.session(), c.command(), -1, 0, &ret)));
             EXPECT_GE(ret, 1);
             EXPECT_TRUE(eventually([&] { return c.destinationHolds(0x33); }));
         }},
        {"cmd_runFence_v2",
         [](ITovanDravik& s, const CopyCommand& c) {
             NativeHandle fence;
             int32_t ret = -99;
             ASSERT_TRUE(isOk(
                     s.cmd_runFence_v2(c.session(), c.command(), NativeHandle{}, 0, &fence, &ret)));
             EXPECT_GE(ret, 1);
             ASSERT_EQ(fence.fds.size(), 1u);
             EXPECT_TRUE(fence.ints.empty());
             EXPECT_TRUE(signalledWithin(fence.fds[0].get(), kRunLimit));
         }},
        {"cmd_cachedAndRun",
         [](ITovanDravik& s, const CopyCommand& c) {
             int32_t ret = -99;
             ASSERT_TRUE(isOk(s.cmd_cachedAndRun(c.session(), c.command(), {c.source()},
                                                 {c.destination()}, &ret)));
             EXPECT_EQ(ret, 0);
         }},
        {"cmd_cachedAndRunWithType",
         [](ITovanDravik& s, const CopyCommand& c) {
             int32_t ret = -99;
             ASSERT_TRUE(isOk(s.cmd_cachedAndRunWithType(c.session(), c.command(), {c.source()},
                                                         {c.destination()}, 0, &ret)));
             EXPECT_EQ(ret, 0);
         }},
        {"cmd_cachedAndRunWithTypeExt",
         [](ITovanDravik& s, const CopyCommand& c) {
             std::vector<int64_t> extension;
             ASSERT_TRUE(isOk(s.cmd_cachedAndRunWithTypeExt(c.session(), c.command(), {c.source()},
                                                            {c.destination()}, 0, &extension)));
             int64_t after = 0;
             ASSERT_TRUE(
                     isOk(s.cmd_getRunInfo(c.session(), c.command(), kExtensionIdRunInfo, &after)));
             EXPECT_EQ(extension, std::vector<int64_t>{after}) << "the run's extension id";
         }},
};

TEST_P(TovanDravikHalTest, EveryRunStyleRunsTheCommand) {
    std::string reason;
    const std::unique_ptr<CopyCommand> copy = prepareCopyCommand(&reason);
    if (copy == nullptr) VTS_SKIP_BECAUSE(reason);
    for (const RunStyle& style : kRunStyles) {
        SCOPED_TRACE(style.method);
        copy->arm(0x33);
        style.run(*service, *copy);
        EXPECT_TRUE(copy->destinationHolds(0x33)) << style.method << " copied nothing";
    }
}

// Only the first descriptor of the input handle is the fence; the ints are passed over. The
// client's descriptors stay its own, and the output fence is a fresh descriptor.
TEST_P(TovanDravikHalTest, FencedRunTakesTheFirstDescriptorOfItsInputHandle) {
    std::string reason;
    const std::unique_ptr<CopyCommand> copy = prepareCopyCommand(&reason);
    if (copy == nullptr) VTS_SKIP_BECAUSE(reason);
    NativeHandle input;
    for (int index = 0; index < 2; ++index) {
        input.fds.emplace_back(eventfd(1, EFD_CLOEXEC));  // already signalled
        ASSERT_GE(input.fds.back().get(), 0);
    }
    input.ints = {7, 8, 9};
    copy->arm(0x44);
    NativeHandle output;
    int32_t ret = -99;
    ASSERT_TRUE(isOk(
            service->cmd_runFence_v2(copy->session(), copy->command(), input, 0, &output, &ret)));
    if (ret < 1) VTS_SKIP_BECAUSE("the driver takes no signalled eventfd as an input fence");
    ASSERT_EQ(output.fds.size(), 1u);
    EXPECT_TRUE(output.ints.empty());
    for (const auto& fd : input.fds) {
        EXPECT_TRUE(isOpenDescriptor(fd.get()));
        EXPECT_NE(fd.get(), output.fds[0].get());
    }
    EXPECT_TRUE(signalledWithin(output.fds[0].get(), kRunLimit));
    EXPECT_TRUE(copy->destinationHolds(0x44));

    NativeHandle untouched;
    ASSERT_TRUE(isOk(
            service->cmd_runFence_v2(copy->session(), kNeverIssuedId, input, 0, &untouched, &ret)));
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(untouched.fds.empty());
}

TEST_P(TovanDravikHalTest, CachedRunsStopAtTheFirstFailingStep) {
    std::string reason;
    const std::unique_ptr<CopyCommand> copy = prepareCopyCommand(&reason);
    if (copy == nullptr) VTS_SKIP_BECAUSE(reason);
    const int64_t session = copy->session(), command = copy->command();
    const std::vector<int64_t> good_flush{copy->source()};
    const std::vector<int64_t> failing_flush{copy->source(), kNeverIssuedId};
    const std::vector<int64_t> failing_invalidate{kNeverIssuedId, copy->destination()};
    int32_t ret = -99;

    copy->arm(0x61);
    ASSERT_TRUE(isOk(service->cmd_cachedAndRun(session, command, failing_flush, {}, &ret)));
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(copy->destinationUntouched()) << "a failed flush leaves the command not run";
    ASSERT_TRUE(
            isOk(service->cmd_cachedAndRunWithType(session, command, failing_flush, {}, 0, &ret)));
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(copy->destinationUntouched());
    std::vector<int64_t> extension;
    ASSERT_TRUE(isOk(service->cmd_cachedAndRunWithTypeExt(session, command, failing_flush, {}, 0,
                                                          &extension)));
    EXPECT_EQ(extension, std::vector<int64_t>{0});
    EXPECT_TRUE(copy->destinationUntouched());
    extension.clear();
    ASSERT_TRUE(isOk(service->cmd_cachedAndRunWithTypeExt(session, kNeverIssuedId, good_flush, {},
                                                          0, &extension)));
    EXPECT_EQ(extension, std::vector<int64_t>{0}) << "an unknown command";

    ASSERT_TRUE(isOk(
            service->cmd_cachedAndRun(session, command, good_flush, failing_invalidate, &ret)));
    EXPECT_EQ(ret, -1);
    EXPECT_TRUE(copy->destinationHolds(0x61)) << "the run came before the failed invalidate";
}

TEST_P(TovanDravikHalTest, RunInformationBatchesAnswerInOrder) {
    std::string reason;
    const std::unique_ptr<CopyCommand> copy = prepareCopyCommand(&reason);
    if (copy == nullptr) VTS_SKIP_BECAUSE(reason);
    const int64_t session = copy->session();
    std::vector<int64_t> command_expected, sub_command_expected;
    std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> command_queries;
    std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD> sub_command_queries;
    for (const int32_t kind : {1, 2, 3}) {
        int64_t value = 0;
        ASSERT_TRUE(isOk(service->cmd_getRunInfo(session, copy->command(), kind, &value)));
        command_expected.push_back(value);
        command_queries.push_back({copy->command(), kind});
        ASSERT_TRUE(isOk(service->subCmd_getRunInfo(session, copy->subCommand(), kind, &value)));
        sub_command_expected.push_back(value);
        sub_command_queries.push_back({copy->subCommand(), kind});
    }
    // An unknown id in the middle is answered 0 and the batch goes on.
    command_queries.insert(command_queries.begin() + 1, {kNeverIssuedId, 1});
    command_expected.insert(command_expected.begin() + 1, 0);
    sub_command_queries.insert(sub_command_queries.begin() + 1, {kNeverIssuedId, 1});
    sub_command_expected.insert(sub_command_expected.begin() + 1, 0);
    std::vector<int64_t> answers;
    ASSERT_TRUE(isOk(service->cmd_getRunInfos(session, command_queries, &answers)));
    EXPECT_EQ(answers, command_expected);
    answers.clear();
    ASSERT_TRUE(isOk(service->subCmd_getRunInfos(session, sub_command_queries, &answers)));
    EXPECT_EQ(answers, sub_command_expected);
    answers.clear();
    ASSERT_TRUE(isOk(service->cmd_getRunInfos(session, {}, &answers)));
    EXPECT_TRUE(answers.empty());
    ASSERT_TRUE(isOk(service->subCmd_getRunInfos(session, {}, &answers)));
    EXPECT_TRUE(answers.empty());
}

}  // namespace
}  // namespace tessaro_vts
