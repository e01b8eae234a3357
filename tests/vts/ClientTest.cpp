// The client's callback, which tells the service of the client's death, and that death itself:
// everything the dead client opened is released, and other clients are not touched.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>

#include <chrono>
#include <thread>

#include "DyingClient.h"
#include "TovanDravikHalTest.h"

namespace tessaro_vts {
namespace {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::BnTovanDravikCallback;

class Callback : public BnTovanDravikCallback {};

TEST_P(TovanDravikHalTest, CallbacksRegisterOnceAndUnregisterOnce) {
    const auto callback = ndk::SharedRefBase::make<Callback>();
    EXPECT_TRUE(isOk(service->setCallback(callback)));
    EXPECT_TRUE(isOk(service->setCallback(callback))) << "a second registration is harmless";
    EXPECT_TRUE(isOk(service->unSetCallback(callback)));
    EXPECT_TRUE(isException(service->unSetCallback(callback), kExceptionNullPointer))
            << "the callback was linked once, so it is unlinked once";
    const auto never_set = ndk::SharedRefBase::make<Callback>();
    EXPECT_TRUE(isException(service->unSetCallback(never_set), kExceptionNullPointer));
    EXPECT_TRUE(isOk(service->setCallback(never_set))) << "the service serves on";
    EXPECT_TRUE(isOk(service->unSetCallback(never_set)));
}

// A session is known while an empty parameter batch names it without complaint.
bool sessionIsKnown(ITovanDravik& service, int64_t session) {
    int32_t ret = -99;
    return service.cmd_setParams(session, {}, &ret).isOk() && ret == 0;
}

TEST_P(TovanDravikHalTest, SessionsOfADeadClientAreReleased) {
    const int64_t own = openSession();
    DyingClient client(GetParam());
    ASSERT_EQ(client.sessions().size(), static_cast<size_t>(DyingClient::kSessions))
            << "the second client did not open its sessions";
    for (const int64_t session : client.sessions()) {
        EXPECT_TRUE(sessionIsKnown(*service, session)) << session;
    }
    client.kill();
    for (const int64_t session : client.sessions()) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (sessionIsKnown(*service, session) && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_FALSE(sessionIsKnown(*service, session)) << session << " outlived its client";
    }
    EXPECT_TRUE(sessionIsKnown(*service, own)) << "another client's session is not touched";
}

}  // namespace
}  // namespace tessaro_vts
