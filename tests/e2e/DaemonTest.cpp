// The programs people use, together: the hosting daemon serving in a service directory of its
// own, the command-line client and the sample workload as separate processes, and a clean stop.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>

#include "ClientProcess.h"

namespace e2e {
namespace {

struct ProgramResult {
    int exit_status = -1;
    std::string output;
};

// Runs command_line through the shell, with standard error joined to the output.
ProgramResult runProgram(const std::string& command_line) {
    ProgramResult result;
    FILE* pipe = popen((command_line + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return result;
    char chunk[4096];
    size_t length = 0;
    while ((length = fread(chunk, 1, sizeof(chunk), pipe)) > 0) result.output.append(chunk, length);
    const int status = pclose(pipe);
    result.exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

class DaemonTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/tessaro-daemon-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        directory_ = pattern;
        setenv("TESSARO_BINDER_DIR", directory_.c_str(), 1);
        properties_ = directory_ + ".properties";
        std::ofstream(properties_) << "# the service enabled, nothing else\n"
                                      "ro.vendor.qel_nn_baseline_support=1\n";
    }
    void TearDown() override {
        std::filesystem::remove_all(directory_);
        std::filesystem::remove(properties_);
    }

    static std::string program(const char* name) { return std::string(TESSARO_BIN_DIR "/") + name; }

    std::string directory_;
    std::string properties_;
};

TEST_F(DaemonTest, TheClientSaysSoWhenNoServiceRuns) {
    const ProgramResult result = runProgram(program("tessaro_client") + " info");
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_NE(result.output.find("is running in " + directory_), std::string::npos)
            << result.output;
}

TEST_F(DaemonTest, ClientsAreServedUntilTheDaemonIsStopped) {
    // The library by its path: a sanitizer's runtime may stand between the daemon and the loader,
    // and then a bare name is not looked up in the daemon's own library path.
    ClientProcess daemon(program("tessaro_dravik_daemon"),
                         {"--properties", properties_, "--library", TESSARO_SERVICE_LIBRARY});
    ProgramResult dump;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        dump = runProgram(program("tessaro_client") + " dump");
    } while (dump.exit_status != 0 && std::chrono::steady_clock::now() < limit);
    ASSERT_EQ(dump.exit_status, 0) << dump.output;

    // What the client prints is what the service answered, read after each call returned.
    const ProgramResult info = runProgram(program("tessaro_client") + " info");
    EXPECT_EQ(info.exit_status, 0) << info.output;
    EXPECT_TRUE(std::regex_search(info.output,
                                  std::regex(R"(session_queryDeviceNum\(type 4\) +4 device\(s\))")))
            << info.output;
    const ProgramResult session = runProgram(program("tessaro_client") + " session");
    EXPECT_EQ(session.exit_status, 0) << session.output;
    const ProgramResult workload =
            runProgram(program("tessaro_sample_workload") +
                       " --layers 64,32,10 --batch 4 --runs 20 --fenced-runs 5");
    EXPECT_EQ(workload.exit_status, 0) << workload.output;
    EXPECT_NE(workload.output.find("PASS"), std::string::npos) << workload.output;

    // Every session the clients made is gone with them.
    dump = runProgram(program("tessaro_client") + " dump");
    EXPECT_NE(dump.output.find("sessions: 0"), std::string::npos) << dump.output;

    daemon.kill(SIGTERM);
    const int status = daemon.wait();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

}  // namespace
}  // namespace e2e
