// Many clients at work at once, most of them killed at random moments: afterwards the service
// still answers, and nothing of theirs is left in the service, in the driver or among the
// process's descriptors.
#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "ClientProcess.h"
#include "ServiceHost.h"
#include "tests/service/PlatformRecorder.h"

namespace e2e {
namespace {

constexpr int kRounds = 12;
constexpr int kKilledPerRound = 3;
constexpr int kTidySteps = 30;
constexpr uint64_t kSeeds = 1000000;

int openDescriptors() {
    int count = 0;
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) return -1;
    while (readdir(directory) != nullptr) ++count;
    closedir(directory);
    return count;
}

// What the open descriptors are, for a failure message.
std::string describeDescriptors() {
    std::string text;
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) return text;
    while (const dirent* entry = readdir(directory)) {
        char target[256] = {};
        const std::string path = std::string("/proc/self/fd/") + entry->d_name;
        if (readlink(path.c_str(), target, sizeof(target) - 1) > 0) {
            text += std::string(entry->d_name) + " -> " + target + "\n";
        }
    }
    closedir(directory);
    return text;
}

std::unique_ptr<ClientProcess> startClient(bool with_callback) {
    auto client = std::make_unique<ClientProcess>(testClientPath(), std::vector<std::string>{});
    EXPECT_TRUE(client->readLine().has_value());
    if (with_callback) {
        EXPECT_EQ(client->ask("callback"), "ok");
    }
    return client;
}

// The last "calls <n>" a client printed before it died.
int64_t callsBeforeDeath(ClientProcess& client) {
    int64_t calls = 0;
    while (const auto line = client.readLine(std::chrono::milliseconds(2000))) {
        if (line->rfind("calls ", 0) == 0) calls = std::stoll(line->substr(6));
    }
    return calls;
}

TEST(CrashSoakTest, KilledClientsLeaveNothingBehind) {
    platform_recorder::reset();
    // One client first, so that the runtime's own threads and sockets are up before counting.
    startClient(true)->ask("exit", std::chrono::milliseconds(100));
    const dravik_reference_live_counts before = liveCounts();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const int descriptors_before = openDescriptors();

    std::mt19937_64 random(42);
    int64_t calls = 0;
    int kills = 0;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::unique_ptr<ClientProcess>> doomed;
        for (int index = 0; index < kKilledPerRound; ++index) {
            doomed.push_back(startClient(true));
            doomed.back()->ask("soak " + std::to_string(random() % kSeeds),
                               std::chrono::milliseconds(0));
        }
        // This one registers its callback, works, cleans up, unregisters and leaves in peace.
        auto tidy = startClient(true);
        tidy->ask("soak " + std::to_string(random() % kSeeds) + " " + std::to_string(kTidySteps),
                  std::chrono::milliseconds(0));
        std::this_thread::sleep_for(std::chrono::milliseconds(50 + random() % 400));
        for (auto& client : doomed) {
            client->kill(SIGKILL);
            client->wait();
            calls += callsBeforeDeath(*client);
            ++kills;
        }
        std::optional<std::string> done;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        do {
            done = tidy->readLine(std::chrono::seconds(60));
        } while (done && done->rfind("done ", 0) != 0 && std::chrono::steady_clock::now() < limit);
        ASSERT_TRUE(done && done->rfind("done ", 0) == 0)
                << "a client that was left alone did not finish";
        calls += std::stoll(done->substr(5));
        EXPECT_EQ(tidy->ask("uncallback"), "ok");
        EXPECT_EQ(tidy->ask("exit", std::chrono::milliseconds(100)), std::nullopt);
        EXPECT_EQ(tidy->wait(), 0);
    }

    // Each death is cleaned up after at most one gate wait per session.
    ASSERT_TRUE(
            eventually([&] { return sameCounts(liveCounts(), before); }, std::chrono::seconds(20)))
            << "sessions left: " << liveCounts().sessions - before.sessions
            << ", memory: " << liveCounts().memory_objects - before.memory_objects << "\n"
            << serviceDump();
    EXPECT_TRUE(eventually([&] { return openDescriptors() == descriptors_before; }))
            << openDescriptors() << " descriptors open, " << descriptors_before
            << " at the start:\n"
            << describeDescriptors();
    const std::string dump = serviceDump();
    EXPECT_NE(dump.find("  sessions: 0\n"), std::string::npos) << dump;
    EXPECT_NE(dump.find("  callbacks: 0\n"), std::string::npos) << dump;
    EXPECT_NE(dump.find("  memory entries: 0 "), std::string::npos) << dump;
    // No deletion waited out the gate's bound: every typed run came back from the driver.
    for (const auto& line : platform_recorder::logLines()) {
        EXPECT_EQ(line.text.find("run_flag become 2 timeout"), std::string::npos) << line.text;
    }
    // The service still answers a new client.
    auto last = startClient(false);
    const auto reply = last->ask("session 1");
    ASSERT_TRUE(reply && reply->rfind("session ", 0) == 0) << reply.value_or("no reply");
    EXPECT_EQ(last->ask("delete " + reply->substr(8)), "ret 0");

    size_t released = 0;
    for (const auto& line : platform_recorder::logLines()) {
        if (line.text.rfind("releaseCrashClient delete session:", 0) == 0) ++released;
    }
    std::printf(
            "soak: %d clients, %d killed, %lld calls, %zu sessions released after deaths, %d "
            "descriptors at start and end\n",
            kRounds * (kKilledPerRound + 1), kills, static_cast<long long>(calls), released,
            descriptors_before);
}

}  // namespace
}  // namespace e2e
