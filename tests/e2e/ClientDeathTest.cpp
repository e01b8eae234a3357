// Clients in processes of their own: what they leave behind when they die, and what they get.
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>
#include <algorithm>

#include "ClientProcess.h"
#include "ServiceHost.h"
#include "tests/service/PlatformRecorder.h"

namespace e2e {
namespace {

// A client that has announced itself, with its callback registered.
std::unique_ptr<ClientProcess> startClient() {
    auto client = std::make_unique<ClientProcess>(testClientPath(), std::vector<std::string>{});
    const auto ready = client->readLine();
    EXPECT_EQ(ready, "ready " + std::to_string(client->pid()));
    EXPECT_EQ(client->ask("callback"), "ok");
    return client;
}

uint64_t createSession(ClientProcess& client, int blocks) {
    const auto reply = client.ask("session " + std::to_string(blocks));
    EXPECT_TRUE(reply && reply->rfind("session ", 0) == 0) << reply.value_or("no reply");
    return reply ? std::stoull(reply->substr(8)) : 0;
}

bool clientListed(pid_t pid) {
    return serviceDump().find("    pid " + std::to_string(pid) + ":") != std::string::npos;
}

TEST(ClientDeathTest, AKilledClientsSessionsAreReleasedInCreationOrder) {
    platform_recorder::reset();
    const dravik_reference_live_counts before = liveCounts();
    auto client = startClient();
    const uint64_t sessions[] = {createSession(*client, 2), createSession(*client, 1),
                                 createSession(*client, 3)};
    // The service files the sessions under the client's own pid.
    EXPECT_NE(serviceDump().find("    pid " + std::to_string(client->pid()) + ": " +
                                 std::to_string(sessions[0]) + " " + std::to_string(sessions[1]) +
                                 " " + std::to_string(sessions[2]) + "\n"),
              std::string::npos)
            << serviceDump();
    EXPECT_EQ(liveCounts().sessions, before.sessions + 3);

    const pid_t pid = client->pid();
    client->kill(SIGKILL);
    client->wait();
    ASSERT_TRUE(eventually([&] { return sameCounts(liveCounts(), before); }))
            << "sessions left: " << liveCounts().sessions - before.sessions;
    EXPECT_FALSE(clientListed(pid));
    EXPECT_EQ(platform_recorder::logLinesWithText(
                      "Tovan AIDL client callback(pid: " + std::to_string(pid) + ") died")
                      .size(),
              1u);
    std::vector<std::string> deletions;
    for (const auto& line : platform_recorder::logLines()) {
        if (line.text.rfind("releaseCrashClient delete session:", 0) == 0) {
            deletions.push_back(line.text);
        }
    }
    std::vector<std::string> expected;
    for (const uint64_t id : sessions) {
        expected.push_back("releaseCrashClient delete session:" + std::to_string(id) + " success!");
    }
    EXPECT_EQ(deletions, expected);
}

TEST(ClientDeathTest, OneClientsDeathLeavesTheOthersSessionsAlone) {
    const dravik_reference_live_counts before = liveCounts();
    auto doomed = startClient();
    auto survivor = startClient();
    createSession(*doomed, 1);
    const uint64_t kept = createSession(*survivor, 2);
    const pid_t doomed_pid = doomed->pid();
    doomed->kill(SIGKILL);
    doomed->wait();
    ASSERT_TRUE(eventually([&] { return !clientListed(doomed_pid); }));

    EXPECT_TRUE(clientListed(survivor->pid()));
    EXPECT_EQ(liveCounts().sessions, before.sessions + 1);
    EXPECT_EQ(survivor->ask("use " + std::to_string(kept)), "ret 0");
    EXPECT_EQ(survivor->ask("delete " + std::to_string(kept)), "ret 0");
    EXPECT_EQ(survivor->ask("exit"), std::nullopt);
    EXPECT_EQ(survivor->wait(), 0);
    EXPECT_TRUE(eventually([&] { return sameCounts(liveCounts(), before); }));
}

TEST(ClientDeathTest, DescriptorsTheServiceHandsOutWorkInTheClient) {
    auto client = startClient();
    const uint64_t id = createSession(*client, 0);
    const auto reply = client->ask("share " + std::to_string(id));
    ASSERT_TRUE(reply && reply->rfind("shared ", 0) == 0) << reply.value_or("no reply");

    // What the client wrote through its descriptor is in the driver's own mapping of the memory.
    const auto service = hostedService();
    const uint64_t mem_id = std::stoull(reply->substr(7));
    auto* memory = service->getDravikMem(id, mem_id);
    ASSERT_NE(memory, nullptr);
    const auto* bytes = reinterpret_cast<const uint8_t*>(dravikSession_memGetInfoFromHostPtr(
            service->getDravikSession(id), static_cast<dravik_mem*>(memory->mem),
            DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 7);
    EXPECT_EQ(bytes[4095], static_cast<uint8_t>(4095 * 7));
    EXPECT_EQ(client->ask("delete " + std::to_string(id)), "ret 0");
}

TEST(ClientDeathTest, CallbacksAreRegisteredOnceAndUnregisteredOnlyWhenKnown) {
    platform_recorder::reset();
    auto client = startClient();
    EXPECT_EQ(client->ask("callback"), "ok");
    EXPECT_EQ(platform_recorder::logLinesWithText(
                      "The callback(pid: " + std::to_string(client->pid()) +
                      ", uid: " + std::to_string(getuid()) + ") is already registered.")
                      .size(),
              1u);
    EXPECT_NE(serviceDump().find("callbacks: 1\n"), std::string::npos) << serviceDump();

    EXPECT_EQ(client->ask("uncallback-stranger"), "error -4");
    EXPECT_EQ(platform_recorder::logLinesWithText("Cannot unlink to death").size(), 1u);
    EXPECT_EQ(client->ask("uncallback"), "ok");
    EXPECT_NE(serviceDump().find("callbacks: 0\n"), std::string::npos) << serviceDump();

    // Without a callback, the client's death goes unnoticed: its session stays.
    const uint64_t id = createSession(*client, 0);
    client->kill(SIGKILL);
    client->wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_NE(hostedService()->getDravikSession(id), nullptr);
    int32_t ret = 0;
    hostedService()->session_deleteInstance(static_cast<int64_t>(id), &ret);
    EXPECT_EQ(ret, 0);
}

TEST(ClientDeathTest, AClientKilledDuringATypedRunIsCleanedUpAfterTheRun) {
    platform_recorder::reset();
    const dravik_reference_live_counts before = liveCounts();
    auto client = startClient();
    const uint64_t id = createSession(*client, 1);
    EXPECT_EQ(client->ask("typedrun " + std::to_string(id) + " 600"), "running");
    ASSERT_TRUE(
            eventually([&] { return hostedService()->getRunwithtypeFlagFromDravikId(id) == 1; }));
    client->kill(SIGKILL);
    client->wait();

    // The death is acted on once the calls the client sent have run: the run comes back from the
    // driver first, then the session goes, and the gate has nothing to wait for.
    ASSERT_TRUE(eventually([&] { return sameCounts(liveCounts(), before); }));
    const std::string session = std::to_string(id);
    const std::vector<std::string> order = {
            "setRunwithtypeFlagFromDravikId dravik_id:" + session + " run_flag:2",
            "checkRunwithtypeFlag dravik_id:" + session +
                    " run_flag is not 1, continuing execution...",
            "releaseCrashClient delete session:" + session + " success!"};
    std::vector<std::string> seen;
    for (const auto& line : platform_recorder::logLines()) {
        if (std::find(order.begin(), order.end(), line.text) != order.end()) {
            seen.push_back(line.text);
        }
    }
    EXPECT_EQ(seen, order);
}

}  // namespace
}  // namespace e2e
