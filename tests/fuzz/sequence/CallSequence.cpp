#include "CallSequence.h"

#include <aidl/android/hardware/common/NativeHandle.h>
#include <dravik_reference_driver.h>
#include <dravik_reference_program.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace tessaro_fuzz {

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using aidl::android::hardware::common::Ashmem;
using aidl::android::hardware::common::NativeHandle;

constexpr size_t kMaxCalls = 64;
constexpr size_t kMaxSessions = 8;
constexpr size_t kMaxTypedRuns = 4;
constexpr int64_t kMaxWaitNs = 1'000'000;

// Operations whose failure the input can switch on, one bit each.
constexpr const char* kInjectable[] = {
        "dravikSession_deleteInstance",
        "dravikSession_memFree",
        "dravikSession_memUnImport",
        "dravikSession_cmdBufFree",
        "dravikSession_deleteCmd",
        "dravikSession_memGetInfoFromHostPtr",
        "dravikSession_memAlloc",
        "dravikSession_memImport",
        "dravikCmd_runWithType",
        "dravikCmd_build",
        "dravikSession_createCmd",
        "dravikCmd_createSubcmd",
        "dravikCmd_runFence",
        "dravikSession_cmdBufAlloc",
        "dravikSession_memImportWithFlag",
        "dravikCmd_run",
};

// The client's own descriptors that a call hands back are closed with these holders.
void closeRecordDescriptors(DRAVIK_MEMINFO_HD* record) {
    record->fds.clear();
}

}  // namespace

CallSequence::CallSequence(ByteReader& input)
    : input_(input), service_(ndk::SharedRefBase::make<TovanDravik>()) {}

CallSequence::~CallSequence() {
    joinTypedRuns();
}

void CallSequence::run() {
    for (size_t call = 0; call < kMaxCalls && !input_.empty(); ++call) step();
}

int64_t CallSequence::pick(const std::vector<int64_t>& ids) {
    const uint8_t choice = input_.u8();
    if (choice < 0xe0 && !ids.empty()) return ids[choice % ids.size()];
    if (choice < 0xf0) return choice & 0x0f;  // small numbers, 0 included
    return static_cast<int64_t>(input_.u64());
}

int64_t CallSequence::pickFrom(const std::vector<int64_t>& ids) {
    return pick(ids);
}

int64_t CallSequence::size() {
    switch (input_.u8() % 8) {
        case 0:
            return 1;
        case 1:
            return 64;
        case 2:
            return 4096;
        case 3:
            return 65536;
        case 4:
            return 1 << 20;
        case 5:
            return 0;
        case 6:
            return static_cast<int32_t>(input_.u32());  // anything, negative included
        default:
            return 128 + input_.u8() * 4;
    }
}

void CallSequence::step() {
    switch (input_.u8() % 26) {
        case 0:
            return createSession();
        case 1:
            return deleteSession();
        case 2:
            return allocateMemory();
        case 3:
            return freeMemory();
        case 4:
            return importMemory();
        case 5:
            return unimportMemory();
        case 6:
            return maintainMemory();
        case 7:
            return allocateCommandBuffer();
        case 8:
            return freeCommandBuffer();
        case 9:
            return writeProgram();
        case 10:
            return createCommand();
        case 11:
            return deleteCommand();
        case 12:
            return createSubCommand();
        case 13:
            return addCommandBuffer();
        case 14:
            return setDependency();
        case 15:
            return setParameters();
        case 16:
            return build();
        case 17:
            return runCommand();
        case 18:
            return runFenced();
        case 19:
            return runFencedWithHandles();
        case 20:
            return readRunInformation();
        case 21:
            return startTypedRun();
        case 22:
            return joinTypedRuns();
        case 23:
            return injectFailures();
        case 24:
            return releaseCrashedClient();
        default:
            return queryDevice();
    }
}

void CallSequence::createSession() {
    if (sessions_.size() >= kMaxSessions) return;
    int64_t id = 0;
    if (service_->session_createInstance(&id).isOk()) sessions_.push_back(id);
}

void CallSequence::deleteSession() {
    int32_t ret = 0;
    service_->session_deleteInstance(pickSession(), &ret);
}

void CallSequence::allocateMemory() {
    const int64_t session = pickSession();
    const int64_t bytes = size();
    const int64_t align = input_.u8() % 3 == 0 ? 0 : int64_t{1} << (input_.u8() % 14);
    const uint8_t type_choice = input_.u8();
    const int32_t mem_type =
            type_choice < 0xf0 ? type_choice % 2 : static_cast<int32_t>(type_choice);
    const int32_t flag = input_.u8();
    DRAVIK_MEMINFO_HD record;
    ndk::ScopedAStatus status;
    const uint8_t variant = input_.u8() % 3;
    const std::string name = variant == 0 ? "" : input_.text(input_.u8() % 32);
    const int64_t extra = variant == 2 ? static_cast<int64_t>(input_.u64()) : 0;
    const auto size32 = static_cast<int32_t>(bytes);
    const auto align32 = static_cast<int32_t>(align);
    if (variant == 0) {
        status = service_->session_memAlloc(session, size32, align32, mem_type, flag, &record);
    } else if (variant == 1) {
        status = service_->session_memAllocWithName(session, size32, align32, mem_type, flag, name,
                                                    &record);
    } else {
        status = service_->session_memAllocV1(session, bytes, align, mem_type, flag, name, extra,
                                              &record);
    }
    closeRecordDescriptors(&record);
    if (!status.isOk()) return;
    memory_ids_.push_back(record.mem_id);
    memories_.push_back({session, record.mem_id, bytes});
    if (mem_type == 1) shared_memory_.push_back(record.mem_id);
}

void CallSequence::freeMemory() {
    // Arguments are read in order: the input's layout depends on it.
    const int64_t session = pickSession();
    const int64_t id = pickFrom(memory_ids_);
    int32_t ret = 0;
    service_->session_memFree(session, id, &ret);
}

void CallSequence::importMemory() {
    const int64_t session = pickSession();
    const auto kind =
            static_cast<DescriptorKind>(input_.u8() % static_cast<uint8_t>(DescriptorKind::kCount));
    std::vector<ndk::ScopedFileDescriptor> fds;
    const bool with_descriptor = input_.u8() % 8 != 0;
    if (with_descriptor) fds.push_back(makeDescriptor(kind));
    if (with_descriptor && fds.front().get() < 0) return;
    const FileIdentity identity = with_descriptor ? identityOf(fds.front().get()) : FileIdentity{};
    const int64_t bytes = size();
    // Whether the service will duplicate the descriptor: a known session and one to import.
    const bool duplicated = with_descriptor && service_->getDravikSession(session) != nullptr;
    DRAVIK_MEMINFO_HD record;
    ndk::ScopedAStatus status;
    switch (input_.u8() % 3) {
        case 0:
            status =
                    service_->session_memImport(session, fds, static_cast<int32_t>(bytes), &record);
            break;
        case 1: {
            const int64_t flag = input_.u8();
            const int64_t extra = input_.u8();
            status = service_->session_memImportWithFlag(session, fds, bytes, flag, extra, &record);
            break;
        }
        default: {
            const int64_t flag = input_.u8();
            const int64_t extra = input_.u8();
            status = service_->session_memImportV1(session, fds, bytes, flag, extra, &record);
            break;
        }
    }
    closeRecordDescriptors(&record);
    if (status.isOk()) {
        memory_ids_.push_back(record.mem_id);
        memories_.push_back({session, record.mem_id, bytes});
    } else if (duplicated) {
        // A failure after the duplicate was made leaves it open (session/MemoryImport.cpp).
        deliberately_open_.insert(identity);
    }
}

void CallSequence::unimportMemory() {
    // Arguments are read in order: the input's layout depends on it.
    const int64_t session = pickSession();
    const int64_t id = pickFrom(memory_ids_);
    int32_t ret = 0;
    service_->session_memUnImport(session, id, &ret);
}

void CallSequence::maintainMemory() {
    const int64_t session = pickSession();
    const int64_t memory = pickFrom(memory_ids_);
    const int32_t kind = static_cast<int32_t>(input_.u8() % 13);
    int32_t ret = 0;
    int64_t info = 0;
    switch (input_.u8() % 5) {
        case 0:
            service_->session_memFlush(session, memory, &ret);
            break;
        case 1:
            service_->session_memInvalidate(session, memory, &ret);
            break;
        case 2:
            service_->session_memGetInfoFromHostPtr(session, memory, kind, &info);
            break;
        case 3:
            service_->session_memSetParamViaHostPtr(session, memory, kind,
                                                    static_cast<int8_t>(input_.u8()), &ret);
            break;
        default: {
            // Only for memory that resolves: a failure hands out (and closes) the service's own
            // descriptor 0, which the transaction fuzzer's regression input covers.
            if (service_->getDravikSession(session) == nullptr ||
                service_->getDravikMem(session, memory) == nullptr) {
                break;
            }
            ndk::ScopedFileDescriptor fd;
            service_->session_memGetFdFromHostPtr(session, memory, 2, &fd);
            break;
        }
    }
}

void CallSequence::allocateCommandBuffer() {
    const int64_t session = pickSession();
    const int64_t bytes = size();
    const bool named = input_.u8() % 2 != 0;
    const std::string name = named ? input_.text(input_.u8() % 16) : "";
    const int64_t extra = named ? input_.u8() : 0;
    DRAVIK_CMDBUF_INFO_HD record;
    ndk::ScopedAStatus status =
            named ? service_->session_cmdBufAllocWithName(session, static_cast<int32_t>(bytes), 64,
                                                          name, extra, &record)
                  : service_->session_cmdBufAlloc(session, static_cast<int32_t>(bytes), 0, &record);
    if (!status.isOk()) return;
    command_buffer_ids_.push_back(record.cmd_buf_id);
    ndk::ScopedFileDescriptor fd;
    if (!record.fds.empty()) fd = std::move(record.fds.front());
    command_buffers_.push_back({session, record.cmd_buf_id, bytes, std::move(fd)});
}

void CallSequence::freeCommandBuffer() {
    // Arguments are read in order: the input's layout depends on it.
    const int64_t session = pickSession();
    const int64_t id = pickFrom(command_buffer_ids_);
    int32_t ret = 0;
    service_->session_cmdBufFree(session, id, &ret);
}

// Writes a program into a command buffer through the client's mapping: a sound one over the
// memory of the buffer's session, or raw bytes from the input.
void CallSequence::writeProgram() {
    if (command_buffers_.empty()) return;
    CommandBuffer& buffer = command_buffers_[input_.u8() % command_buffers_.size()];
    const uint8_t shape = input_.u8();
    const size_t steps = 1 + input_.u8() % 4;
    dravik_reference::Program program;
    std::vector<uint8_t> raw;
    if (shape % 4 == 0) {
        raw = input_.bytes(input_.u8());
    } else {
        for (size_t step = 0; step < steps; ++step) {
            const uint8_t op = input_.u8();
            if (memories_.empty() || op % 3 == 0) {
                program.wait(1 + input_.u32() % kMaxWaitNs / steps);
                continue;
            }
            const Memory& target = memories_[input_.u8() % memories_.size()];
            int64_t address = 0;
            service_->session_memGetInfoFromHostPtr(buffer.session, target.id, 3, &address);
            const uint64_t count = 1 + input_.u16() % 1024;
            if (op % 3 == 1) {
                program.fill(static_cast<uint64_t>(address) + 4 * (input_.u8() % 16), 1.5f, count);
            } else {
                program.copy(static_cast<uint64_t>(address),
                             static_cast<uint64_t>(address) + 4 * count, 4 * count);
            }
        }
        raw = program.bytes();
    }
    if (buffer.fd.get() < 0 || buffer.size <= 0 || raw.empty()) return;
    const size_t length = static_cast<size_t>(buffer.size);
    void* mapping = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, buffer.fd.get(), 0);
    if (mapping == MAP_FAILED) return;
    memcpy(mapping, raw.data(), raw.size() < length ? raw.size() : length);
    munmap(mapping, length);
}

void CallSequence::createCommand() {
    const int64_t session = pickSession();
    int64_t id = 0;
    if (service_->session_createCmd(session, &id).isOk()) {
        commands_.push_back(id);
        command_sessions_[id] = session;
    }
}

void CallSequence::deleteCommand() {
    // Arguments are read in order: the input's layout depends on it.
    const int64_t session = pickSession();
    const int64_t id = pickFrom(commands_);
    int32_t ret = 0;
    service_->session_deleteCmd(session, id, &ret);
}

void CallSequence::createSubCommand() {
    const int64_t session = pickSession();
    const int64_t command = pickFrom(commands_);
    static constexpr int32_t kTypes[] = {1, 2, 3, 4, 6, 5, 0, -1};
    int64_t id = 0;
    if (service_->cmd_createSubcmd(session, command, kTypes[input_.u8() % 8], &id).isOk()) {
        sub_commands_.push_back(id);
    }
}

void CallSequence::addCommandBuffer() {
    const int64_t session = pickSession();
    const int64_t sub_command = pickFrom(sub_commands_);
    const int64_t buffer = pickFrom(command_buffer_ids_);
    const int32_t mode = input_.u8() % 3;
    int32_t ret = 0;
    service_->subCmd_addCmdBuf(session, sub_command, buffer, mode, &ret);
}

void CallSequence::setDependency() {
    const int64_t session = pickSession();
    const int64_t command = pickFrom(commands_);
    const int64_t first = pickFrom(sub_commands_);
    int32_t ret = 0;
    switch (input_.u8() % 3) {
        case 0:
            service_->cmd_setDependencyEdge(session, command, first, pickFrom(sub_commands_), &ret);
            break;
        case 1:
            service_->cmd_setDependencyPack(session, command, first, pickFrom(sub_commands_), &ret);
            break;
        default:
            service_->cmd_setDependencyTightly(session, command, first, pickFrom(commands_),
                                               pickFrom(memory_ids_), &ret);
            break;
    }
}

void CallSequence::setParameters() {
    const int64_t session = pickSession();
    const int32_t kind = input_.u8() % 4;
    const int64_t value = static_cast<int8_t>(input_.u8());
    int32_t ret = 0;
    switch (input_.u8() % 4) {
        case 0:
            service_->cmd_setParam(session, pickFrom(commands_), kind, value, &ret);
            break;
        case 1:
            service_->subCmd_setParam(session, pickFrom(sub_commands_), kind, value, &ret);
            break;
        case 2: {
            std::vector<DRAVIK_CMD_PARAMS_HD> params(input_.u8() % 4);
            for (auto& param : params) {
                param.cmd_id = pickFrom(commands_);
                param.type = input_.u8() % 4;
                param.value = static_cast<int8_t>(input_.u8());
            }
            service_->cmd_setParams(session, params, &ret);
            break;
        }
        default: {
            std::vector<DRAVIK_SUBCMD_PARAMS_HD> params(input_.u8() % 4);
            for (auto& param : params) {
                param.sub_cmd_id = pickFrom(sub_commands_);
                param.type = input_.u8() % 4;
                param.value = static_cast<int8_t>(input_.u8());
            }
            service_->subCmd_setParams(session, params, &ret);
            break;
        }
    }
}

void CallSequence::build() {
    // Arguments are read in order: the input's layout depends on it.
    const int64_t session = pickSession();
    const int64_t id = pickFrom(commands_);
    int32_t ret = 0;
    service_->cmd_build(session, id, &ret);
}

void CallSequence::runCommand() {
    const int64_t session = pickSession();
    const int64_t command = pickFrom(commands_);
    const int32_t type = input_.u8() % 4;
    std::vector<int64_t> flushes(input_.u8() % 3);
    for (auto& id : flushes) id = pickFrom(memory_ids_);
    std::vector<int64_t> invalidates(input_.u8() % 3);
    for (auto& id : invalidates) id = pickFrom(memory_ids_);
    int32_t ret = 0;
    std::vector<int64_t> results;
    switch (input_.u8() % 7) {
        case 0:
            service_->cmd_run(session, command, &ret);
            break;
        case 1:
            service_->cmd_runAsync(session, command, &ret);
            break;
        case 2:
            service_->cmd_wait(session, command, &ret);
            break;
        case 3:
            service_->cmd_runWithType(session, command, type, &ret);
            break;
        case 4:
            service_->cmd_cachedAndRun(session, command, flushes, invalidates, &ret);
            break;
        case 5:
            service_->cmd_cachedAndRunWithType(session, command, flushes, invalidates, type, &ret);
            break;
        default:
            service_->cmd_cachedAndRunWithTypeExt(session, command, flushes, invalidates, type,
                                                  &results);
            break;
    }
}

void CallSequence::runFenced() {
    const int64_t session = pickSession();
    const int64_t command = pickFrom(commands_);
    ndk::ScopedFileDescriptor input_fence;
    int32_t fence_number = -1;
    switch (input_.u8() % 3) {
        case 0:
            input_fence = makeDescriptor(DescriptorKind::kEventfd);
            fence_number = input_fence.get();
            break;
        case 1:
            fence_number = closedDescriptorNumber();
            break;
        default:
            break;
    }
    int32_t fence = -1;
    service_->cmd_runFence(session, command, fence_number, input_.u8() % 4 == 0 ? 1 : 0, &fence);
    // The fence is the caller's; the reference driver's are above 2.
    if (fence > 2) close(fence);
}

void CallSequence::runFencedWithHandles() {
    const int64_t session = pickSession();
    const int64_t command = pickFrom(commands_);
    NativeHandle in;
    const size_t fds = input_.u8() % 3;
    for (size_t index = 0; index < fds; ++index) {
        const auto kind =
                input_.u8() % 2 == 0 ? DescriptorKind::kEventfd : DescriptorKind::kPipeRead;
        in.fds.push_back(makeDescriptor(kind));
    }
    // On an unknown command the duplicate of the first descriptor is deliberately left open
    // (command/FencedRun.cpp).
    const bool unknown = service_->getDravikCmd(session, command) == nullptr;
    if (unknown && !in.fds.empty() && in.fds.front().get() >= 0) {
        deliberately_open_.insert(identityOf(in.fds.front().get()));
    }
    NativeHandle out;
    int32_t ret = 0;
    service_->cmd_runFence_v2(session, command, in, input_.u8() % 4 == 0 ? 1 : 0, &out, &ret);
}

void CallSequence::readRunInformation() {
    const int64_t session = pickSession();
    const int32_t kind = input_.u8() % 9;
    int64_t value = 0;
    std::vector<int64_t> values;
    switch (input_.u8() % 4) {
        case 0:
            service_->cmd_getRunInfo(session, pickFrom(commands_), kind, &value);
            break;
        case 1:
            service_->subCmd_getRunInfo(session, pickFrom(sub_commands_), kind, &value);
            break;
        case 2: {
            std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> params(input_.u8() % 4);
            for (auto& param : params) {
                param.cmd_id = pickFrom(commands_);
                param.type = input_.u8() % 9;
            }
            service_->cmd_getRunInfos(session, params, &values);
            break;
        }
        default: {
            std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD> params(input_.u8() % 4);
            for (auto& param : params) {
                param.sub_cmd_id = pickFrom(sub_commands_);
                param.type = input_.u8() % 6;
            }
            service_->subCmd_getRunInfos(session, params, &values);
            break;
        }
    }
}

// A typed run on a thread of its own, so that a deletion of its session can meet it in the gate.
void CallSequence::startTypedRun() {
    if (typed_runs_.size() >= kMaxTypedRuns) return;
    const int64_t session = pickSession();
    const int64_t command = pickFrom(commands_);
    const int32_t type = input_.u8() % 4;
    TovanDravik* service = service_.get();
    typed_runs_.emplace_back([service, session, command, type] {
        int32_t ret = 0;
        service->cmd_runWithType(session, command, type, &ret);
    });
}

void CallSequence::joinTypedRuns() {
    for (std::thread& run : typed_runs_) run.join();
    typed_runs_.clear();
}

// Makes the chosen driver operations fail from now on (none: stops every injected failure).
// Typed runs are joined first: the environment is not to be changed under another thread.
void CallSequence::injectFailures() {
    joinTypedRuns();
    const uint16_t chosen = input_.u16();
    std::string list;
    for (size_t bit = 0; bit < sizeof(kInjectable) / sizeof(kInjectable[0]); ++bit) {
        if ((chosen & (1u << bit)) == 0) continue;
        if (!list.empty()) list += ',';
        list += kInjectable[bit];
    }
    if (list.empty()) {
        dravikReference_resetFailureInjection();
        failures_injected_ = false;
        return;
    }
    setenv("DRAVIK_MDW_FAIL", list.c_str(), 1);
    dravikReference_reloadFailureInjection();
    failures_injected_ = true;
}

void CallSequence::releaseCrashedClient() {
    // Our own process, as when a client's death is delivered in it, or another number.
    const int32_t pid = input_.u8() % 4 == 0 ? static_cast<int32_t>(input_.u32()) : getpid();
    service_->releaseCrashClient(pid);
}

void CallSequence::queryDevice() {
    const int64_t session = pickSession();
    static constexpr int32_t kTypes[] = {1, 2, 3, 4, 6, 5, 0, 7};
    const int32_t type = kTypes[input_.u8() % 8];
    int64_t value = 0;
    int32_t ret = 0;
    switch (input_.u8() % 3) {
        case 0:
            service_->session_queryInfo(session, input_.u8() % 8, &value);
            break;
        case 1:
            service_->session_queryDeviceNum(session, type, &value);
            break;
        default: {
            // Never an empty memfd: writing the block into one faults, which the transaction
            // fuzzer's regression input covers.
            static constexpr DescriptorKind kKinds[] = {
                    DescriptorKind::kMemfdPage, DescriptorKind::kMemfdSmall,
                    DescriptorKind::kMemfdSealed, DescriptorKind::kPipeRead};
            Ashmem metadata;
            metadata.fd = makeDescriptor(kKinds[input_.u8() % 4]);
            metadata.size = input_.u8() % 2 == 0 ? 128 : input_.u8();
            service_->session_queryDeviceMetaData(session, type, metadata, &ret);
            break;
        }
    }
}

void CallSequence::releaseEverything() {
    joinTypedRuns();
    if (failures_injected_) {
        dravikReference_resetFailureInjection();
        unsetenv("DRAVIK_MDW_FAIL");
        failures_injected_ = false;
    }
    for (int64_t session : sessions_) {
        int32_t ret = 0;
        service_->session_deleteInstance(session, &ret);
    }
    for (int64_t id : shared_memory_) {
        service_->eraseDravikMem(kSharedOwner, static_cast<uint64_t>(id));
    }
    command_buffers_.clear();
}

}  // namespace tessaro_fuzz
