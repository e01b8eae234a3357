#include <android/log.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "OpenDescriptors.h"
#include "ServiceFixture.h"

namespace service_test {
namespace {

class FencedRunTest : public ServiceFixture {
  protected:
    void SetUp() override {
        ServiceFixture::SetUp();
        id_ = createSession();
        ASSERT_TRUE(service_->session_createCmd(id_, &cmd_id_).isOk());
        platform_recorder::reset();
    }

    static NativeHandle handleWith(int descriptor_count) {
        NativeHandle handle;
        for (int index = 0; index < descriptor_count; ++index) {
            handle.fds.emplace_back(eventfd(1, EFD_CLOEXEC));
        }
        handle.ints = {7, 8};
        return handle;
    }

    uint64_t id_ = 0;
    int64_t cmd_id_ = 0;
};

TEST_F(FencedRunTest, TheReplyCarriesTheOnlyCopyOfTheFenceThatStaysOpen) {
    const NativeHandle input = handleWith(2);
    const size_t before = openDescriptorCount();
    NativeHandle output = handleWith(1);  // replaced, not added to
    int32_t ret = 0;
    ASSERT_TRUE(service_->cmd_runFence_v2(id_, cmd_id_, input, 0, &output, &ret).isOk());

    const auto call = fake_driver::callsTo("dravikCmd_runFence")[0];
    const int input_duplicate = static_cast<int>(call.arguments[1]);
    EXPECT_NE(input_duplicate, input.fds[0].get()) << "only the first, through a duplicate";
    EXPECT_NE(input_duplicate, input.fds[1].get());
    EXPECT_FALSE(isOpen(input_duplicate));
    const int driver_fence = static_cast<int>(call.result);
    EXPECT_EQ(ret, driver_fence) << "the driver's own number";
    ASSERT_EQ(output.fds.size(), 1u);
    EXPECT_TRUE(output.ints.empty());
    EXPECT_NE(output.fds[0].get(), driver_fence);
    EXPECT_EQ(openDescriptorCount(), before + 1) << "everything else is closed";
    pollfd ready{output.fds[0].get(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 0), 1) << "the fake's fence is signalled";
}

TEST_F(FencedRunTest, AFailedRunStillClosesWhatTheDriverAnswered) {
    // A driver answer of 0 is a failure, yet descriptor 0 is closed as the driver's answer.
    ndk::ScopedFileDescriptor saved_stdin(dup(0));
    fake_driver::setResult("dravikCmd_runFence", 0, EBUSY);
    const NativeHandle input = handleWith(1);
    NativeHandle output = handleWith(1);
    int32_t ret = 9;
    ASSERT_TRUE(service_->cmd_runFence_v2(id_, cmd_id_, input, 0, &output, &ret).isOk());
    const bool stdin_was_closed = !isOpen(0);
    dup2(saved_stdin.get(), 0);
    EXPECT_TRUE(stdin_was_closed);
    EXPECT_EQ(ret, 0);
    EXPECT_TRUE(output.fds.empty());
    EXPECT_TRUE(output.ints.empty());
    EXPECT_FALSE(
            isOpen(static_cast<int>(fake_driver::callsTo("dravikCmd_runFence")[0].arguments[1])));
}

TEST_F(FencedRunTest, UnknownCommandLeavesTheInputDuplicateOpen) {
    const NativeHandle input = handleWith(1);
    const size_t before = openDescriptorCount();
    NativeHandle output;
    int32_t ret = 0;
    ASSERT_TRUE(service_->cmd_runFence_v2(id_, 999, input, 0, &output, &ret).isOk());
    EXPECT_EQ(ret, -1);
    EXPECT_EQ(openDescriptorCount(), before + 1) << "kept open deliberately";
    EXPECT_TRUE(fake_driver::callsTo("dravikCmd_runFence").empty());

    // A missing out-parameter: the unexpected-null number as the exception code, nothing run.
    const ndk::ScopedAStatus status =
            service_->cmd_runFence_v2(id_, cmd_id_, NativeHandle{}, 0, nullptr, &ret);
    EXPECT_EQ(status.getExceptionCode(), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(service_->cmd_runFence_v2(id_, cmd_id_, NativeHandle{}, 0, &output, nullptr)
                      .getExceptionCode(),
              -2147483640);
    EXPECT_TRUE(fake_driver::callsTo("dravikCmd_runFence").empty());
}

}  // namespace
}  // namespace service_test
