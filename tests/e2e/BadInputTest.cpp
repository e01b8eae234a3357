// A client that sends what no well-behaved client sends, beside one that works as usual: each
// bad request gets its clean error, the bad client is still served afterwards, and the other
// client never notices.
#include <android/binder_status.h>
#include <gtest/gtest.h>

#include "ServiceHost.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;

TEST(BadInputTest, EachBadRequestGetsItsErrorWhileAnotherClientIsServed) {
    const std::string before = holdings();
    auto steady = startClient();
    ASSERT_TRUE(steady->send("soak 5 400"));
    auto bad = startClient();
    const std::pair<const char*, std::string> requests[] = {
            // Refused by the service's side of the call.
            {"wrong-token", std::to_string(STATUS_BAD_TYPE)},
            {"unknown-code", std::to_string(STATUS_UNKNOWN_TRANSACTION)},
            // Refused before they leave the client: a frame may not carry them.
            {"oversized-list", std::to_string(STATUS_FAILED_TRANSACTION)},
            {"descriptor-flood", std::to_string(STATUS_FAILED_TRANSACTION)},
            // Raw bytes on a connection of their own: that connection is closed.
            {"garbage-frame", "closed"},
            {"oversized-frame", "closed"},
            // Silent connections by the hundred, held while both clients go on.
            {"flood 300", "holding 300"},
            {"release", "released"},
    };
    for (const auto& [request, answer] : requests) {
        EXPECT_EQ(bad->ask(request, 30s), answer);
        EXPECT_NE(bad->ask("session").value_or("failed"), "failed")
                << "not served after " << request;
    }

    EXPECT_EQ(steady->readLine(60s), "done 0") << "calls of the well-behaved client failed";
    steady.reset();
    bad.reset();  // its sessions go with it
    EXPECT_TRUE(eventually([&] { return holdings() == before; })) << holdings() << "\nbefore:\n"
                                                                  << before;
}

}  // namespace
}  // namespace e2e
