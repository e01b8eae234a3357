#include "TovanDravikHalTest.h"

#include <android/binder_manager.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "CopyCommand.h"

namespace tessaro_vts {

std::vector<std::string> declaredInstances() {
    std::vector<std::string> names;
    AServiceManager_forEachDeclaredInstance(
            ITovanDravik::descriptor, &names, [](const char* instance, void* context) {
                static_cast<std::vector<std::string>*>(context)->push_back(
                        std::string(ITovanDravik::descriptor) + "/" + instance);
            });
    return names;
}

void TovanDravikHalTest::SetUp() {
    ndk::SpAIBinder binder(AServiceManager_waitForService(GetParam().c_str()));
    service = ITovanDravik::fromBinder(binder);
    ASSERT_NE(service, nullptr) << GetParam() << " is declared but not served";
}

void TovanDravikHalTest::TearDown() {
    if (service == nullptr) return;
    for (const int64_t session : sessions_) {
        int32_t ignored = 0;
        (void)service->session_deleteInstance(session, &ignored);
    }
}

int64_t TovanDravikHalTest::openSession() {
    int64_t session = 0;
    const ndk::ScopedAStatus status = service->session_createInstance(&session);
    EXPECT_TRUE(isOk(status)) << "session_createInstance";
    EXPECT_NE(session, 0);
    if (status.isOk() && session != 0) sessions_.push_back(session);
    return session;
}

int32_t TovanDravikHalTest::availableDeviceType(int64_t session) {
    for (const int32_t type : kAcceptedDeviceTypes) {
        int64_t count = 0;
        if (service->session_queryDeviceNum(session, type, &count).isOk() && count > 0) return type;
    }
    return 0;
}

std::unique_ptr<CopyCommand> TovanDravikHalTest::prepareCopyCommand(std::string* reason) {
    const int64_t session = openSession();
    auto command = std::make_unique<CopyCommand>(*service, session, availableDeviceType(session));
    *reason = command->prepare();
    if (!reason->empty()) command.reset();
    return command;
}

namespace {
bool every_case_must_run = false;
}  // namespace

void requireEveryCase() {
    every_case_must_run = true;
}

bool everyCaseMustRun() {
    return every_case_must_run;
}

::testing::AssertionResult isOk(const ndk::ScopedAStatus& status) {
    if (status.isOk()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "status " << status.getDescription();
}

::testing::AssertionResult isException(const ndk::ScopedAStatus& status, int32_t exception) {
    if (status.getExceptionCode() == exception) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "expected exception " << exception << ", got " << status.getDescription();
}

bool isOpenDescriptor(int fd) {
    return fd >= 0 && fcntl(fd, F_GETFD) != -1;
}

Mapping::Mapping(int fd, size_t size) : size_(size) {
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (address != MAP_FAILED) address_ = address;
}

Mapping::~Mapping() {
    if (address_ != nullptr) munmap(address_, size_);
}

ndk::ScopedFileDescriptor sharedMemoryFile(size_t size, uint8_t fill) {
    ndk::ScopedFileDescriptor file(memfd_create("vts", MFD_CLOEXEC));
    if (file.get() < 0 || ftruncate(file.get(), static_cast<off_t>(size)) != 0) {
        return ndk::ScopedFileDescriptor();
    }
    const Mapping mapping(file.get(), size);
    if (!mapping.valid()) return ndk::ScopedFileDescriptor();
    std::memset(mapping.bytes(), fill, size);
    return file;
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TovanDravikHalTest);
INSTANTIATE_TEST_SUITE_P(PerInstance, TovanDravikHalTest, testing::ValuesIn(declaredInstances()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param.substr(info.param.rfind('/') + 1);
                             for (char& character : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(character))) {
                                     character = '_';
                                 }
                             }
                             return name;
                         });

}  // namespace tessaro_vts
