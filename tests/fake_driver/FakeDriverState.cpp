#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "FakeDriverState.h"

namespace fake_driver {

namespace {

constexpr std::array<const char*, 37> kFunctions = {
        "dravikSession_createInstance",
        "dravikSession_deleteInstance",
        "dravikSession_queryInfo",
        "dravikSession_queryDeviceNum",
        "dravikSession_queryDeviceMetaData",
        "dravikSession_memAlloc",
        "dravikSession_memAllocWithName",
        "dravikSession_memAllocV1",
        "dravikSession_memFree",
        "dravikSession_memImport",
        "dravikSession_memImportWithFlag",
        "dravikSession_memImportV1",
        "dravikSession_memUnImport",
        "dravikSession_memFlush",
        "dravikSession_memInvalidate",
        "dravikSession_memGetInfoFromHostPtr",
        "dravikSession_memSetParamViaHostPtr",
        "dravikSession_cmdBufAlloc",
        "dravikSession_cmdBufAllocWithName",
        "dravikSession_cmdBufFree",
        "dravikSession_createCmd",
        "dravikSession_deleteCmd",
        "dravikCmd_setParam",
        "dravikCmd_createSubcmd",
        "dravikCmd_setDependencyEdge",
        "dravikCmd_setDependencyPack",
        "dravikCmd_setDependencyTightly",
        "dravikCmd_build",
        "dravikCmd_run",
        "dravikCmd_runWithType",
        "dravikCmd_runAsync",
        "dravikCmd_wait",
        "dravikCmd_runFence",
        "dravikCmd_getRunInfo",
        "dravikSubCmd_setParam",
        "dravikSubCmd_addCmdBuf",
        "dravikSubCmd_getRunInfo",
};

struct ProgrammedResult {
    int64_t result;
    int error_number;
};

struct State {
    std::mutex mutex;
    std::vector<Call> calls;
    std::map<std::string, ProgrammedResult> fixed_results;
    std::map<std::string, std::deque<ProgrammedResult>> queued_results;
    int64_t last_handle = 0;
    int64_t metadata_size = kMetadataSize;
};

State& state() {
    static State fake_state;
    return fake_state;
}

void requireKnown(const std::string& function) {
    for (const char* known : kFunctions) {
        if (function == known) return;
    }
    throw std::invalid_argument("not a function of dravik_mdw.h: " + function);
}

// Owned for the whole process: the service keeps answers of kind 2 as descriptors of its driver.
class SharedMemory {
  public:
    SharedMemory() : descriptor_(memfd_create("fake-dravik-mem", MFD_CLOEXEC)) {
        if (descriptor_ >= 0 && ftruncate(descriptor_, kSharedMemorySize) != 0) {
            close(descriptor_);
            descriptor_ = -1;
        }
    }
    ~SharedMemory() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

}  // namespace

void reset() {
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    fake.calls.clear();
    fake.fixed_results.clear();
    fake.queued_results.clear();
    fake.metadata_size = kMetadataSize;
}

void setResult(const std::string& function, int64_t result, int error_number) {
    requireKnown(function);
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    fake.fixed_results[function] = {result, error_number};
}

void queueResult(const std::string& function, int64_t result, int error_number) {
    requireKnown(function);
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    fake.queued_results[function].push_back({result, error_number});
}

void clearResult(const std::string& function) {
    requireKnown(function);
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    fake.fixed_results.erase(function);
    fake.queued_results.erase(function);
}

std::vector<Call> calls() {
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    return fake.calls;
}

std::vector<Call> callsTo(const std::string& function) {
    requireKnown(function);
    std::vector<Call> matching;
    for (Call& call : calls()) {
        if (call.function == function) matching.push_back(std::move(call));
    }
    return matching;
}

int sharedMemoryDescriptor() {
    static SharedMemory shared_memory;
    return shared_memory.descriptor();
}

int64_t answerCall(const char* function, std::initializer_list<int64_t> arguments,
                   const std::function<int64_t()>& default_answer, const char* text) {
    State& fake = state();
    std::optional<ProgrammedResult> programmed;
    std::size_t position = 0;
    {
        // Filed on entry, so concurrent calls are listed in the order they arrived.
        std::lock_guard<std::mutex> lock(fake.mutex);
        auto queued = fake.queued_results.find(function);
        if (queued != fake.queued_results.end() && !queued->second.empty()) {
            programmed = queued->second.front();
            queued->second.pop_front();
        } else if (auto fixed = fake.fixed_results.find(function);
                   fixed != fake.fixed_results.end()) {
            programmed = fixed->second;
        }
        position = fake.calls.size();
        fake.calls.push_back({function, arguments, text != nullptr ? text : "", 0});
    }
    const int64_t result = programmed ? programmed->result : default_answer();
    {
        std::lock_guard<std::mutex> lock(fake.mutex);
        // A reset meanwhile forgot the call.
        if (position < fake.calls.size()) fake.calls[position].result = result;
    }
    if (programmed && programmed->error_number != 0) errno = programmed->error_number;
    return result;
}

int64_t nextHandle() {
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    // Spaced like heap objects, far from small integers that could be mistaken for ids.
    fake.last_handle += 1;
    return 0x7e5700000000 + fake.last_handle * 0x40;
}

int64_t lastMetadataSize() {
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    return fake.metadata_size;
}

void noteMetadataSize(int64_t size) {
    State& fake = state();
    std::lock_guard<std::mutex> lock(fake.mutex);
    fake.metadata_size = size;
}

}  // namespace fake_driver
