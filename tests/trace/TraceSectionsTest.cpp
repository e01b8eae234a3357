// The hosting daemon's trace sections, as a client's calls leave them: the daemon is pointed at a
// marker file of the test's own, so the test runs on any machine, and the test process calls the
// service across processes, then reads the markers back.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <dravik_reference_program.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ClientProcess.h"
#include "MarkerFile.h"
#include "host_trace.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using trace_test::MarkerLine;

constexpr int32_t kBlockSize = 4096;
constexpr int32_t kCommandBufferSize = 256;
constexpr int32_t kExUnsupportedOperation = -7;

// The sections begun in the serving process, in the order they began, each named by the path of
// the sections open on its thread ("cmd_cachedAndRun/cmd_run" for a section inside another).
// Every marker must carry the serving process's pid, and end a section that its own thread began.
std::vector<std::string> sectionPaths(const std::vector<MarkerLine>& lines, pid_t server) {
    const std::string begin = "B|" + std::to_string(server) + "|";
    const std::string end = "E|" + std::to_string(server);
    std::map<pid_t, std::vector<std::string>> open_sections;
    std::vector<std::string> paths;
    for (const MarkerLine& line : lines) {
        EXPECT_EQ(line.process, server) << line.marker;
        std::vector<std::string>& open = open_sections[line.thread];
        if (line.marker.rfind(begin, 0) == 0) {
            std::string path;
            for (const std::string& outer : open) path += outer + "/";
            open.push_back(line.marker.substr(begin.size()));
            paths.push_back(path + open.back());
        } else if (line.marker == end) {
            EXPECT_FALSE(open.empty()) << "an end without a begin on thread " << line.thread;
            if (!open.empty()) open.pop_back();
        } else {
            ADD_FAILURE() << "not a marker of the serving process: " << line.marker;
        }
    }
    for (const auto& [thread, open] : open_sections) {
        EXPECT_TRUE(open.empty()) << open.size() << " section(s) never ended on thread " << thread;
    }
    return paths;
}

class TraceSectionsTest : public ::testing::Test {
  protected:
    // One service directory for the whole process, kept until it exits: the process's own
    // endpoint is made once, in the directory of its first call, and a daemon that does not
    // find it there takes this process for dead.
    static void SetUpTestSuite() {
        static struct ServiceDirectory {
            std::string path;
            ~ServiceDirectory() {
                if (!path.empty()) std::filesystem::remove_all(path);
            }
        } directory;
        if (directory.path.empty()) {
            char pattern[] = "/tmp/tessaro-trace-sections-XXXXXX";
            ASSERT_NE(mkdtemp(pattern), nullptr);
            directory.path = pattern;
            setenv("TESSARO_BINDER_DIR", pattern, 1);
        }
        service_directory_ = directory.path;
    }

    void SetUp() override {
        ASSERT_FALSE(service_directory_.empty());
        char pattern[] = "/tmp/tessaro-trace-sections-files-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        files_ = pattern;
        markers_ = files_ + "/markers";
        setenv(HOST_TRACE_MARKER_FILE_VARIABLE, markers_.c_str(), 1);
    }
    void TearDown() override {
        // Released while the daemon lives, so that nothing reaches for it after it is gone.
        service_.reset();
        if (daemon_ != nullptr) {
            daemon_->kill(SIGTERM);
            const int status = daemon_->wait();
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        }
        unsetenv(HOST_TRACE_MARKER_FILE_VARIABLE);
        if (!files_.empty()) std::filesystem::remove_all(files_);
    }

    // Starts the hosting daemon with the given trace tags and connects to its service.
    void serve(const std::string& trace_tags) {
        const std::string properties = files_ + "/properties";
        std::ofstream(properties) << "ro.vendor.qel_nn_baseline_support=1\n"
                                  << HOST_TRACE_TAGS_PROPERTY << "=" << trace_tags << "\n";
        // The library by its path: a sanitizer's runtime may stand between the daemon and the
        // loader, and then a bare name is not looked up in the daemon's own library path.
        daemon_ = std::make_unique<e2e::ClientProcess>(
                TESSARO_DAEMON, std::vector<std::string>{"--properties", properties, "--library",
                                                         TESSARO_SERVICE_LIBRARY});
        const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (service_ == nullptr && std::chrono::steady_clock::now() < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            service_ = ITovanDravik::fromBinder(
                    ndk::SpAIBinder(AServiceManager_checkService(instance.c_str())));
        }
        ASSERT_NE(service_, nullptr) << "the daemon did not register its service";
    }

    // A session whose command runs one short instruction, and a block of its memory.
    void prepareCommand(int64_t* session, int64_t* command, int64_t* memory) {
        DRAVIK_MEMINFO_HD block;
        DRAVIK_CMDBUF_INFO_HD buffer;
        int64_t sub_command = 0;
        int32_t ret = -1;
        ASSERT_TRUE(service_->session_createInstance(session).isOk());
        ASSERT_TRUE(service_->session_memAlloc(*session, kBlockSize, 0, 0, 0, &block).isOk());
        ASSERT_TRUE(service_->session_cmdBufAlloc(*session, kCommandBufferSize, 0, &buffer).isOk());
        ASSERT_TRUE(service_->session_createCmd(*session, command).isOk());
        ASSERT_TRUE(service_->cmd_createSubcmd(*session, *command, 4, &sub_command).isOk());
        void* mapping = mmap(nullptr, kCommandBufferSize, PROT_READ | PROT_WRITE, MAP_SHARED,
                             buffer.fds.at(0).get(), 0);
        ASSERT_NE(mapping, MAP_FAILED);
        ASSERT_TRUE(dravik_reference::Program().wait(1000).copyTo(mapping, kCommandBufferSize));
        munmap(mapping, kCommandBufferSize);
        service_->subCmd_addCmdBuf(*session, sub_command, buffer.cmd_buf_id, 0, &ret);
        ASSERT_EQ(ret, 0);
        service_->cmd_build(*session, *command, &ret);
        ASSERT_EQ(ret, 0);
        *memory = block.mem_id;
    }

    static inline std::string service_directory_;
    std::string files_;  // the daemon's properties and markers
    std::string markers_;
    std::unique_ptr<e2e::ClientProcess> daemon_;
    std::shared_ptr<ITovanDravik> service_;
};

TEST_F(TraceSectionsTest, EveryMethodOpensItsSectionOnTheBinderThreadThatServesIt) {
    serve("0x2000000");
    int64_t session = 0;
    int64_t command = 0;
    int64_t memory = 0;
    ASSERT_NO_FATAL_FAILURE(prepareCommand(&session, &command, &memory));

    // Generated methods and the typed run have no section of their own.
    int32_t version = 0;
    std::string hash;
    EXPECT_TRUE(service_->getInterfaceVersion(&version).isOk());
    EXPECT_TRUE(service_->getInterfaceHash(&hash).isOk());
    int32_t ret = -1;
    EXPECT_TRUE(service_->cmd_runWithType(session, command, 0, &ret).isOk());
    EXPECT_EQ(ret, 0);
    // A failure that returns an exception closes its section all the same.
    DRAVIK_MEMINFO_HD unallocated;
    EXPECT_EQ(service_->session_memAlloc(session + 1, kBlockSize, 0, 0, 0, &unallocated)
                      .getExceptionCode(),
              kExUnsupportedOperation);
    // The cached run's steps open their own sections inside its one.
    ret = -1;
    EXPECT_TRUE(service_->cmd_cachedAndRun(session, command, {memory}, {memory}, &ret).isOk());
    EXPECT_EQ(ret, 0);
    service_->session_deleteInstance(session, &ret);
    EXPECT_EQ(ret, 0);

    const std::vector<std::string> expected = {"session_createInstance",
                                               "session_memAlloc",
                                               "session_cmdBufAlloc",
                                               "session_createCmd",
                                               "cmd_createSubcmd",
                                               "subCmd_addCmdBuf",
                                               "cmd_build",
                                               "session_memAlloc",
                                               "cmd_cachedAndRun",
                                               "cmd_cachedAndRun/session_memFlush",
                                               "cmd_cachedAndRun/cmd_run",
                                               "cmd_cachedAndRun/session_memInvalidate",
                                               "session_deleteInstance"};
    EXPECT_EQ(sectionPaths(trace_test::readMarkerLines(markers_), daemon_->pid()), expected);
}

TEST_F(TraceSectionsTest, NoSectionWithoutTheNnapiTag) {
    // Every tag but ATRACE_TAG_NNAPI: the marker file is opened, and stays without markers.
    serve("0x5ffffff");
    int64_t session = 0;
    int32_t ret = -1;
    ASSERT_TRUE(service_->session_createInstance(&session).isOk());
    service_->session_deleteInstance(session, &ret);
    EXPECT_EQ(ret, 0);
    EXPECT_TRUE(std::filesystem::exists(markers_));
    EXPECT_TRUE(trace_test::readMarkerLines(markers_).empty());
}

}  // namespace
