// Clients killed with SIGKILL wherever they are, beside clients that carry on: afterwards nothing
// of the dead is left in the service, in the driver or among the process's descriptors, and the
// others never noticed.
#include <android/log.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <regex>

#include "ServiceHost.h"
#include "tests/service/PlatformRecorder.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;

// The texts of the service's log lines that match pattern, in order.
std::vector<std::string> logged(const std::string& pattern) {
    const std::regex expression(pattern);
    std::vector<std::string> texts;
    for (const auto& line : platform_recorder::logLines()) {
        if (std::regex_match(line.text, expression)) texts.push_back(line.text);
    }
    return texts;
}

// What the process's open descriptors name.
std::vector<std::string> openDescriptors() {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        names.push_back(std::filesystem::read_symlink(entry.path(), error).string());
    }
    return names;
}

TEST(ClientDeathTest, KilledClientsLeaveNothingBehind) {
    constexpr int kRounds = 12;
    constexpr int kKilledPerRound = 3;
    platform_recorder::reset();
    // One client first, so that the runtime's own threads and sockets are up before counting.
    EXPECT_EQ(startClient()->ask("uncallback"), "ok");
    std::this_thread::sleep_for(200ms);
    const std::string before = holdings();
    const std::vector<std::string> descriptors = openDescriptors();

    std::mt19937_64 random(42);
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::unique_ptr<ClientProcess>> doomed;
        for (int index = 0; index < kKilledPerRound; ++index) {
            doomed.push_back(startClient());
            doomed.back()->send("soak " + std::to_string(random() % 1000000));
        }
        // This one works beside them, deletes what it made and unregisters before it goes.
        const auto tidy = startClient();
        tidy->send("soak " + std::to_string(random() % 1000000) + " 30");
        std::this_thread::sleep_for(std::chrono::milliseconds(50 + random() % 400));
        doomed.clear();  // SIGKILL, in a call, in a run or in a typed run
        ASSERT_EQ(tidy->readLine(60s), "done 0") << "calls of a client left alone failed";
        EXPECT_EQ(tidy->ask("uncallback"), "ok");
    }

    // Each death is acted on after at most one gate wait per session.
    EXPECT_TRUE(eventually([&] { return holdings() == before; }, 20s))
            << holdings() << "\nat the start:\n"
            << before;
    EXPECT_TRUE(eventually([&] { return openDescriptors().size() == descriptors.size(); }))
            << testing::PrintToString(openDescriptors()) << "\nat the start:\n"
            << testing::PrintToString(descriptors);
    // No deletion waited out the gate's bound: every typed run came back from the driver.
    EXPECT_EQ(logged(".* run_flag become 2 timeout"), std::vector<std::string>{});
    EXPECT_EQ(startClient()->ask("soak 1 5"), "done 0") << "a new client is served";
    std::printf(
            "soak: %d clients, %d killed, %zu sessions released after deaths, %zu descriptors\n",
            kRounds * (kKilledPerRound + 1), kRounds * kKilledPerRound,
            logged("releaseCrashClient delete session:.*").size(), descriptors.size());
}

// The death is acted on once the calls the client sent have run: the typed run comes back from the
// driver first, so the gate has nothing to wait for; then its sessions go in the order they were
// made, and another client's session stays.
TEST(ClientDeathTest, AClientKilledDuringATypedRunIsReleasedAfterTheRun) {
    platform_recorder::reset();
    const std::string before = holdings();
    const auto other = startClient();
    const std::string kept = other->ask("session").value_or("");
    auto doomed = startClient();
    std::string sessions[3];
    for (std::string& session : sessions) session = doomed->ask("session").value_or("");
    const std::string& running = sessions[1];
    const std::string doomed_pid = std::to_string(doomed->pid());
    EXPECT_EQ(doomed->ask("callback"), "ok") << "a second registration is only warned about";
    EXPECT_EQ(doomed->ask("typedrun " + running + " 600"), "running");
    ASSERT_TRUE(eventually(
            [&] { return holdings().find("typed runs in the driver: 1\n") != std::string::npos; }));
    doomed.reset();

    const std::string released = "releaseCrashClient delete session:.*";
    ASSERT_TRUE(eventually([&] { return logged(released).size() == 3; })) << holdings();
    EXPECT_EQ(logged("(setRunwithtypeFlagFromDravikId|checkRunwithtypeFlag) dravik_id:" + running +
                     " run_flag(:2| is not 1.*)|" + released),
              (std::vector<std::string>{
                      "setRunwithtypeFlagFromDravikId dravik_id:" + running + " run_flag:2",
                      "releaseCrashClient delete session:" + sessions[0] + " success!",
                      "checkRunwithtypeFlag dravik_id:" + running +
                              " run_flag is not 1, continuing execution...",
                      "releaseCrashClient delete session:" + running + " success!",
                      "releaseCrashClient delete session:" + sessions[2] + " success!"}));
    std::vector<std::string> warnings;
    for (const auto& line : platform_recorder::logLines()) {
        if (line.priority == ANDROID_LOG_WARN) warnings.push_back(line.text);
    }
    EXPECT_EQ(warnings, (std::vector<std::string>{
                                "The callback(pid: " + doomed_pid + ", uid: " +
                                        std::to_string(getuid()) + ") is already registered.",
                                "Tovan AIDL client callback(pid: " + doomed_pid + ") died"}));
    EXPECT_NE(holdings().find("    pid " + std::to_string(other->pid()) + ": " + kept + "\n"),
              std::string::npos)
            << holdings();
    other->kill(SIGKILL);  // its session goes with it, as its callback is registered
    EXPECT_TRUE(eventually([&] { return holdings() == before; })) << holdings() << "\nbefore:\n"
                                                                  << before;
}

}  // namespace
}  // namespace e2e
