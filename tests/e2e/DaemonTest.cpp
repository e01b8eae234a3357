// The programs people use, together: the hosting daemon serving in a service directory of its
// own, the command-line client and the sample workload as separate processes, and a clean stop.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "ClientProcess.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;

struct ProgramResult {
    int exit_status = -1;
    std::string output;
};

// Runs a program of the build with arguments through the shell, standard error joined to the
// output.
ProgramResult run(const std::string& program_and_arguments) {
    ProgramResult result;
    FILE* pipe = popen((TESSARO_BIN_DIR "/" + program_and_arguments + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return result;
    char chunk[4096];
    size_t length = 0;
    while ((length = fread(chunk, 1, sizeof(chunk), pipe)) > 0) result.output.append(chunk, length);
    const int status = pclose(pipe);
    result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

TEST(DaemonTest, ClientsAreServedFromTheDaemonsStartToItsStop) {
    char pattern[] = "/tmp/tessaro-daemon-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::filesystem::path directory = pattern;
    struct Removal {
        std::filesystem::path path;
        ~Removal() { std::filesystem::remove_all(path); }
    } removal{directory};
    // The service directory, private to this user, holds the runtime's sockets and nothing else.
    const std::filesystem::path binder = directory / "binder";
    ASSERT_EQ(mkdir(binder.c_str(), 0700), 0);
    setenv("TESSARO_BINDER_DIR", binder.c_str(), 1);
    const std::string properties = directory / "properties";
    std::ofstream(properties) << "ro.vendor.qel_nn_baseline_support=1\n";

    ProgramResult result = run("tessaro_client info");
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_NE(result.output.find("is running in " + binder.string()), std::string::npos)
            << result.output;

    // The library by its path: a sanitizer's runtime may stand between the daemon and the loader,
    // and then a bare name is not looked up in the daemon's own library path.
    ClientProcess daemon(TESSARO_BIN_DIR "/tessaro_dravik_daemon",
                         {"--properties", properties, "--library", TESSARO_SERVICE_LIBRARY});
    ASSERT_TRUE(
            eventually([&] { return (result = run("tessaro_client dump")).exit_status == 0; }, 20s))
            << result.output;

    // What the client prints is what the service answered, read after each call returned.
    result = run("tessaro_client info");
    EXPECT_EQ(result.exit_status, 0) << result.output;
    EXPECT_TRUE(std::regex_search(result.output,
                                  std::regex(R"(session_queryDeviceNum\(type 4\) +4 device\(s\))")))
            << result.output;
    result = run("tessaro_client session");
    EXPECT_EQ(result.exit_status, 0) << result.output;
    result = run("tessaro_sample_workload --layers 64,32,10 --batch 4 --runs 20 --fenced-runs 5");
    EXPECT_EQ(result.exit_status, 0) << result.output;
    EXPECT_NE(result.output.find("PASS"), std::string::npos) << result.output;
    // Every session the clients made is gone with them.
    result = run("tessaro_client dump");
    EXPECT_NE(result.output.find("sessions: 0"), std::string::npos) << result.output;

    daemon.kill(SIGTERM);
    const int status = daemon.wait();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

}  // namespace
}  // namespace e2e
