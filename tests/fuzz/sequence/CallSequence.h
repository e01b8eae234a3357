// One input of the call-sequence fuzzer: a series of well-formed calls on a fresh service over the
// reference driver, decoded from the input (the layout is in tests/fuzz/README.md). Ids are drawn
// from those the service has handed out so far, or are random; arguments are random within bounds
// that keep an execution short (small sizes, waits of at most a millisecond).
//
// It keeps what a careful client keeps to clean up afterwards, and what the service deliberately
// leaves behind: the shared (mem_type 1) memory ids, which no session deletion unfiles, and the
// files of descriptors the service deliberately leaves open (its duplicate of an imported
// descriptor when the import fails after duplicating it, and of the input fence of a fenced run
// with native handles on an unknown command).
#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_CMDBUF_INFO_HD.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "ByteReader.h"
#include "Descriptors.h"
#include "service/TovanDravik.h"

namespace tessaro_fuzz {

class CallSequence {
  public:
    explicit CallSequence(ByteReader& input);
    ~CallSequence();
    CallSequence(const CallSequence&) = delete;
    CallSequence& operator=(const CallSequence&) = delete;

    // Decodes and makes calls until the input ends or the call limit is reached.
    void run();
    // Joins the typed runs still in flight, stops injected failures, deletes every session the
    // input made and unfiles its shared memory.
    void releaseEverything();

    aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik& service() { return *service_; }
    // Files of descriptors the service was entitled to leave open, one entry per descriptor.
    const std::multiset<FileIdentity>& deliberatelyOpen() const { return deliberately_open_; }

  private:
    struct Memory {
        int64_t session;
        int64_t id;
        int64_t size;
    };
    struct CommandBuffer {
        int64_t session;
        int64_t id;
        int64_t size;
        ndk::ScopedFileDescriptor fd;  // the client's duplicate, to write a program through
    };

    void step();
    int64_t pick(const std::vector<int64_t>& ids);
    int64_t pickSession() { return pick(sessions_); }
    int64_t pickFrom(const std::vector<int64_t>& ids);
    int64_t size();

    void createSession();
    void deleteSession();
    void allocateMemory();
    void freeMemory();
    void importMemory();
    void unimportMemory();
    void maintainMemory();
    void allocateCommandBuffer();
    void freeCommandBuffer();
    void writeProgram();
    void createCommand();
    void deleteCommand();
    void createSubCommand();
    void addCommandBuffer();
    void setDependency();
    void setParameters();
    void build();
    void runCommand();
    void runFenced();
    void runFencedWithHandles();
    void readRunInformation();
    void startTypedRun();
    void joinTypedRuns();
    void injectFailures();
    void releaseCrashedClient();
    void queryDevice();

    ByteReader& input_;
    std::shared_ptr<aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik> service_;
    std::vector<int64_t> sessions_;  // every session id handed out, deleted or not
    std::vector<int64_t> memory_ids_;
    std::vector<Memory> memories_;
    std::vector<int64_t> shared_memory_;
    std::vector<int64_t> commands_;
    std::vector<int64_t> sub_commands_;
    std::vector<int64_t> command_buffer_ids_;
    std::vector<CommandBuffer> command_buffers_;
    std::map<int64_t, int64_t> command_sessions_;  // command id -> its session
    std::vector<std::thread> typed_runs_;
    std::multiset<FileIdentity> deliberately_open_;
    bool failures_injected_ = false;
};

}  // namespace tessaro_fuzz
