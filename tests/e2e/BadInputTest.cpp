// A client that sends what no well-behaved client sends, beside one that works as usual: each
// bad request gets its clean error, the bad client is still served afterwards, and the other
// client never notices.
#include <gtest/gtest.h>

#include "ClientProcess.h"
#include "ServiceHost.h"

namespace e2e {
namespace {

std::string answer(const char* kind, binder_status_t status) {
    return std::string(kind) + " " + std::to_string(status);
}

TEST(BadInputTest, EachBadRequestGetsItsErrorWhileAnotherClientIsServed) {
    const dravik_reference_live_counts before = liveCounts();
    ClientProcess steady(testClientPath(), {});
    ASSERT_TRUE(steady.readLine().has_value());
    ASSERT_EQ(steady.ask("callback"), "ok");
    steady.ask("soak 5 400", std::chrono::milliseconds(0));

    ClientProcess bad(TESSARO_BAD_CLIENT, {"wrong-token", "unknown-code", "oversized-list",
                                           "descriptor-flood", "garbage-frame", "oversized-frame"});
    const std::vector<std::string> expected = {
            // Refused by the service's side of the call.
            answer("wrong-token", STATUS_BAD_TYPE),
            answer("unknown-code", STATUS_UNKNOWN_TRANSACTION),
            // Refused before they leave the client: a frame may not carry them.
            answer("oversized-list", STATUS_FAILED_TRANSACTION),
            answer("descriptor-flood", STATUS_FAILED_TRANSACTION),
            // Raw bytes on a connection of their own: that connection is closed.
            "garbage-frame closed",
            "oversized-frame closed",
    };
    for (const std::string& line : expected) {
        EXPECT_EQ(bad.readLine(std::chrono::seconds(30)), line);
        EXPECT_EQ(bad.readLine(std::chrono::seconds(30)), "served yes") << "after " << line;
    }
    EXPECT_EQ(bad.wait(), 0);

    // Silent connections by the hundred, held while the other client works on.
    ClientProcess flood(TESSARO_BAD_CLIENT, {"flood", "300"});
    EXPECT_EQ(flood.readLine(std::chrono::seconds(30)), "holding 300");
    EXPECT_EQ(flood.ask("release", std::chrono::seconds(30)), "served yes");
    EXPECT_EQ(flood.wait(), 0);

    std::optional<std::string> done;
    do {
        done = steady.readLine(std::chrono::seconds(60));
    } while (done && done->rfind("done ", 0) != 0);
    ASSERT_TRUE(done.has_value()) << "the well-behaved client did not finish";
    EXPECT_EQ(steady.ask("uncallback"), "ok");
    EXPECT_TRUE(eventually([&] { return sameCounts(liveCounts(), before); }));
}

}  // namespace
}  // namespace e2e
