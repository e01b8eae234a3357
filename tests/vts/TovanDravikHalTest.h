// The compliance suite's fixture: one declared instance of ITovanDravik, reached through the
// service manager exactly as a client reaches it, so that on the host every call crosses to the
// hosting process and on a device it reaches the real service.
#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_auto_utils.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessaro_vts {

class CopyCommand;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

// Ids that no call ever hands out: 0 names nothing, and no counter or driver address reaches the
// other.
constexpr int64_t kZeroId = 0;
constexpr int64_t kNeverIssuedId = INT64_MAX - 7;

// The device types the service accepts; 5 is refused on purpose.
constexpr int32_t kAcceptedDeviceTypes[] = {1, 2, 3, 4, 6};
constexpr int32_t kRefusedDeviceTypes[] = {5, 0, -1, 7};

constexpr int32_t kExceptionUnsupported = -7;  // EX_UNSUPPORTED_OPERATION
constexpr int32_t kExceptionNullPointer = -4;  // EX_NULL_POINTER
constexpr int32_t kMemTypeWithDescriptor = 0;  // memory a client maps through its descriptor
constexpr int32_t kMemTypeWithoutDescriptor = 1;
constexpr int32_t kMetadataSizeKind = 1;    // session_queryInfo: the metadata block's size
constexpr int32_t kDescriptorInfoKind = 2;  // host-pointer queries: the buffer's descriptor
constexpr int32_t kClientPidParameter = 3;  // command parameter: the pid a run is made for
constexpr int32_t kExtensionIdRunInfo = 2;  // command run information: the extension id

// The instance names ("<descriptor>/<name>") that the device's manifest declares for the interface.
std::vector<std::string> declaredInstances();

class TovanDravikHalTest : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override;
    // Deletes every session the case opened and did not delete itself.
    void TearDown() override;

    // A new session of this client; the case fails when none can be opened.
    int64_t openSession();
    // A device type the service accepts and the device has at least one device of; 0 when none.
    int32_t availableDeviceType(int64_t session);
    // A prepared copy command in a new session; null, with reason saying why, when the device's
    // driver cannot make or run it.
    std::unique_ptr<CopyCommand> prepareCopyCommand(std::string* reason);

    std::shared_ptr<ITovanDravik> service;

  private:
    std::vector<int64_t> sessions_;
};

// Skips a case for a reason that lies with the device's driver, saying why in the output. Where
// every case must run (on the host, with the reference driver: the suite's --every-case), the
// reason fails the case instead.
#define VTS_SKIP_BECAUSE(reason)                                                     \
    do {                                                                             \
        if (::tessaro_vts::everyCaseMustRun()) FAIL() << "cannot run: " << (reason); \
        GTEST_SKIP() << (reason);                                                    \
    } while (0)
bool everyCaseMustRun();
void requireEveryCase();

// Status checks with the status described on failure.
::testing::AssertionResult isOk(const ndk::ScopedAStatus& status);
::testing::AssertionResult isException(const ndk::ScopedAStatus& status, int32_t exception);

// Whether fd is an open descriptor of this process.
bool isOpenDescriptor(int fd);

// A shared mapping of a descriptor handed out by the service, unmapped when it goes.
class Mapping {
  public:
    Mapping(int fd, size_t size);
    ~Mapping();
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    bool valid() const { return address_ != nullptr; }
    uint8_t* bytes() const { return static_cast<uint8_t*>(address_); }

  private:
    void* address_ = nullptr;
    size_t size_;
};

// A new anonymous shared-memory file of size bytes, filled with fill; -1 on failure.
ndk::ScopedFileDescriptor sharedMemoryFile(size_t size, uint8_t fill = 0);

}  // namespace tessaro_vts
