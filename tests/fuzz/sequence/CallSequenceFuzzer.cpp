// Sequences of well-formed calls on a fresh service over the reference driver, so that the
// registries, the run-with-type gate, the sweep of a session's deletion and the release of a
// crashed client's sessions meet each other in every order the fuzzer finds. The reference driver
// checks every handle it is given and counts its live objects, so a stale id that reaches it is
// refused rather than crashing, and whatever the service forgets to release shows.
//
// Each input is a series of calls (the layout is in tests/fuzz/README.md). Ids are drawn from
// those the service has handed out so far, or are random; arguments are random within bounds that
// keep an execution short (small sizes, waits of at most a millisecond). Afterwards the input
// cleans up as a careful client would: joins the typed runs still in flight, stops injected
// failures, deletes every session it made and unfiles the shared (mem_type 1) memory, which no
// session deletion sweeps. Then the service's dump must show nothing filed, the driver must hold
// no more live objects than before the first input, and no descriptor may be left open beyond
// those the service deliberately leaves open: its duplicate of an imported descriptor when the
// import fails after duplicating it (session/MemoryImport.cpp), and of the input fence of a fenced
// run with native handles on an unknown command (command/FencedRun.cpp).
#include <aidl/android/hardware/common/NativeHandle.h>
#include <dravik_reference_driver.h>
#include <dravik_reference_program.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ByteReader.h"
#include "Descriptors.h"
#include "Finding.h"
#include "ServiceState.h"
#include "service/DebugConfig.h"
#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using namespace tessaro_fuzz;
using aidl::android::hardware::common::Ashmem;
using aidl::android::hardware::common::NativeHandle;

constexpr size_t kMaxCalls = 64;
constexpr size_t kMaxSessions = 8;
constexpr size_t kMaxTypedRuns = 4;
constexpr uint32_t kMaxWaitNs = 1'000'000;

// Driver operations whose failure the input can switch on, one bit each.
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

struct CommandBuffer {
    int64_t session;
    size_t size;
    ndk::ScopedFileDescriptor fd;  // the client's, to write a program through
};

// The state of one input's calls. Where a call reads several fields, each is read into a variable
// of its own first: the order of function arguments is unspecified, the input's layout is not.
struct Calls {
    ByteReader& input;
    TovanDravik& service;
    // The ids handed out so far, deleted or not.
    std::vector<int64_t> sessions, memory, commands, sub_commands, buffer_ids;
    std::vector<CommandBuffer> buffers;
    std::vector<std::thread> typed_runs;
    std::multiset<FileIdentity> deliberately_open;
    int32_t ret = 0;  // results nobody reads
    int64_t value = 0;
    std::vector<int64_t> values;

    Calls(ByteReader& reader, TovanDravik& called) : input(reader), service(called) {}

    uint8_t u8() { return input.u8(); }
    int8_t small() { return static_cast<int8_t>(u8()); }
    int32_t runFlag() { return u8() % 4 == 0 ? 1 : 0; }
    // The valid device types 0-6, 7 and -1.
    int32_t deviceType() { return static_cast<int32_t>(u8() % 9) - 1; }

    // An id: below 0xe0 one handed out so far, then the small numbers 0-15, then any u64.
    int64_t pick(const std::vector<int64_t>& ids) {
        const uint8_t choice = u8();
        if (choice < 0xe0 && !ids.empty()) return ids[choice % ids.size()];
        return choice < 0xf0 ? choice & 0x0f : static_cast<int64_t>(input.u64());
    }
    std::vector<int64_t> someOf(const std::vector<int64_t>& ids) {
        std::vector<int64_t> picked(u8() % 3);
        for (int64_t& id : picked) id = pick(ids);
        return picked;
    }
    int64_t size() {
        static constexpr int64_t kSizes[] = {1, 64, 4096, 65536, 1 << 20, 0};
        const uint8_t choice = u8() % 8;
        if (choice < 6) return kSizes[choice];
        return choice == 6 ? static_cast<int32_t>(input.u32()) : 128 + u8() * 4;
    }

    // Calls method(session, an id of ids, a kind below kinds, result), the shape of the queries.
    template <typename Method, typename Result>
    void withKind(Method method, int64_t session, const std::vector<int64_t>& ids, int kinds,
                  Result* result) {
        const int64_t id = pick(ids);
        (service.*method)(session, id, u8() % kinds, result);
    }
    // Calls method(session, an id of ids, a kind below kinds, a small value, &ret).
    template <typename Method>
    void setParam(Method method, int64_t session, const std::vector<int64_t>& ids, int kinds) {
        const int64_t id = pick(ids);
        const int32_t kind = u8() % kinds;
        (service.*method)(session, id, kind, small(), &ret);
    }

    // Files the id a successful call handed out in value.
    void keep(const ndk::ScopedAStatus& status, std::vector<int64_t>* ids) {
        if (status.isOk()) ids->push_back(value);
    }
    // Files the id of memory a call handed out; the client's descriptors in it are closed.
    bool keep(const ndk::ScopedAStatus& status, DRAVIK_MEMINFO_HD* record) {
        record->fds.clear();
        if (status.isOk()) memory.push_back(record->mem_id);
        return status.isOk();
    }

    // form 0: memAlloc, 1: memAllocWithName, 2: memAllocV1.
    void allocate(int64_t session, int form) {
        const int64_t bytes = size();
        const int64_t align = u8() % 3 == 0 ? 0 : int64_t{1} << (u8() % 14);
        const uint8_t type_choice = u8();
        const int32_t type = type_choice < 0xf0 ? type_choice % 2 : type_choice, flag = u8();
        const std::string name = form == 0 ? "" : input.text(u8() % 32);
        const int64_t extra = form == 2 ? static_cast<int64_t>(input.u64()) : 0;
        const auto size32 = static_cast<int32_t>(bytes), align32 = static_cast<int32_t>(align);
        DRAVIK_MEMINFO_HD record;
        keep(form == 0   ? service.session_memAlloc(session, size32, align32, type, flag, &record)
             : form == 1 ? service.session_memAllocWithName(session, size32, align32, type, flag,
                                                            name, &record)
                         : service.session_memAllocV1(session, bytes, align, type, flag, name,
                                                      extra, &record),
             &record);
    }

    // form 0: memImport, 1: memImportWithFlag, 2: memImportV1.
    void import(int64_t session, int form) {
        const uint8_t kind = u8();
        std::vector<ndk::ScopedFileDescriptor> fds;
        if (u8() % 8 != 0) fds.push_back(makeDescriptor(kind));
        if (!fds.empty() && fds[0].get() < 0) return;
        const int64_t bytes = size(), flag = form == 0 ? 0 : u8(), extra = form == 0 ? 0 : u8();
        DRAVIK_MEMINFO_HD record;
        const bool imported = keep(
                form == 0 ? service.session_memImport(session, fds, static_cast<int32_t>(bytes),
                                                      &record)
                : form == 1
                        ? service.session_memImportWithFlag(session, fds, bytes, flag, extra,
                                                            &record)
                        : service.session_memImportV1(session, fds, bytes, flag, extra, &record),
                &record);
        // For a known session the service duplicated the descriptor, and keeps the duplicate.
        if (!imported && !fds.empty() && service.getDravikSession(session) != nullptr) {
            deliberately_open.insert(identityOf(fds[0].get()));
        }
    }

    void allocateCommandBuffer(int64_t session, bool named) {
        const int64_t bytes = size(), extra = named ? u8() : 0;
        const std::string name = named ? input.text(u8() % 16) : "";
        const auto size32 = static_cast<int32_t>(bytes);
        DRAVIK_CMDBUF_INFO_HD record;
        if ((named ? service.session_cmdBufAllocWithName(session, size32, 64, name, extra, &record)
                   : service.session_cmdBufAlloc(session, size32, 0, &record))
                    .isOk()) {
            buffer_ids.push_back(record.cmd_buf_id);
            buffers.push_back({session, static_cast<size_t>(bytes),
                               record.fds.empty() ? ndk::ScopedFileDescriptor()
                                                  : std::move(record.fds.front())});
        }
    }

    // Writes a program into a command buffer through the client's descriptor of it: a sound one
    // over the memory the input has (fills, copies and waits), or raw bytes from the input.
    void writeProgram(bool sound) {
        if (buffers.empty()) return;
        const CommandBuffer& buffer = buffers[u8() % buffers.size()];
        dravik_reference::Program program;
        const size_t steps = sound ? 1 + u8() % 4 : 0;
        for (size_t step = 0; step < steps; ++step) {
            const uint8_t op = u8();
            if (memory.empty() || op % 3 == 0) {
                program.wait(1 + input.u32() % kMaxWaitNs / steps);
                continue;
            }
            const int64_t target = memory[u8() % memory.size()];
            int64_t address = 0;
            service.session_memGetInfoFromHostPtr(buffer.session, target, 3, &address);
            const uint64_t at = static_cast<uint64_t>(address), count = 1 + input.u16() % 1024;
            if (op % 3 == 1) program.fill(at + 4 * (u8() % 16), 1.5f, count);
            if (op % 3 == 2) program.copy(at, at + 4 * count, 4 * count);
        }
        const std::vector<uint8_t> bytes = sound ? program.bytes() : input.bytes(u8());
        // A write that fails (no descriptor) leaves the buffer as it was, as for a client.
        static_cast<void>(
                pwrite(buffer.fd.get(), bytes.data(), std::min(bytes.size(), buffer.size), 0));
    }

    // form 0: cachedAndRun, 1: cachedAndRunWithType, 2: cachedAndRunWithTypeExt.
    void runCached(int64_t session, int form) {
        const int64_t command = pick(commands);
        const std::vector<int64_t> flushes = someOf(memory), invalidates = someOf(memory);
        const int32_t type = form == 0 ? 0 : u8() % 4;
        if (form == 0) service.cmd_cachedAndRun(session, command, flushes, invalidates, &ret);
        if (form == 1) {
            service.cmd_cachedAndRunWithType(session, command, flushes, invalidates, type, &ret);
        }
        if (form == 2) {
            service.cmd_cachedAndRunWithTypeExt(session, command, flushes, invalidates, type,
                                                &values);
        }
    }

    // With an eventfd, the number of a closed descriptor, or none as the input fence.
    void runFenced(int64_t session) {
        const int64_t command = pick(commands);
        const uint8_t mode = u8() % 3;
        ndk::ScopedFileDescriptor input_fence;
        if (mode == 0) input_fence = makeDescriptor(kEventfd);
        const int32_t number = mode == 0   ? input_fence.get()
                               : mode == 1 ? closedDescriptorNumber()
                                           : -1;
        int32_t fence = -1;
        service.cmd_runFence(session, command, number, runFlag(), &fence);
        if (fence > 2) close(fence);  // the caller's; the reference driver's are above 2
    }

    void runFencedWithHandles(int64_t session) {
        const int64_t command = pick(commands);
        NativeHandle in, out;
        for (size_t count = u8() % 3; count > 0; --count) {
            in.fds.push_back(makeDescriptor(u8() % 2 == 0 ? kEventfd : kPipeRead));
        }
        // On an unknown command the service keeps its duplicate of the first descriptor.
        if (service.getDravikCmd(session, command) == nullptr && !in.fds.empty() &&
            in.fds[0].get() >= 0) {
            deliberately_open.insert(identityOf(in.fds[0].get()));
        }
        service.cmd_runFence_v2(session, command, in, runFlag(), &out, &ret);
    }

    // On a thread of its own, so that a deletion of its session can meet it in the gate.
    void startTypedRun(int64_t session) {
        if (typed_runs.size() >= kMaxTypedRuns) return;
        const int64_t command = pick(commands);
        const int32_t type = u8() % 4;
        typed_runs.emplace_back([this, session, command, type] {
            int32_t result = 0;
            service.cmd_runWithType(session, command, type, &result);
        });
    }

    void joinTypedRuns() {
        for (std::thread& run : typed_runs) run.join();
        typed_runs.clear();
    }

    // Makes the chosen driver operations fail from now on; none stops every injected failure.
    void injectFailures() {
        joinTypedRuns();  // the environment is not to be changed under another thread
        const uint16_t chosen = input.u16();
        std::string list;
        for (size_t bit = 0; bit < std::size(kInjectable); ++bit) {
            if (((chosen >> bit) & 1) == 0) continue;
            list.append(list.empty() ? "" : ",").append(kInjectable[bit]);
        }
        setenv("DRAVIK_MDW_FAIL", list.c_str(), 1);
        dravikReference_reloadFailureInjection();
    }
};

// One per action, in the order the input names them (modulo their number); s is the session the
// input picked for the call, read before the action's own fields.
void (*const kActions[])(Calls&, int64_t s) = {
        [](Calls& c, int64_t) {
            if (c.sessions.size() < kMaxSessions) {
                c.keep(c.service.session_createInstance(&c.value), &c.sessions);
            }
        },
        [](Calls& c, int64_t s) { c.service.session_deleteInstance(s, &c.ret); },
        [](Calls& c, int64_t s) { c.allocate(s, 0); },
        [](Calls& c, int64_t s) { c.allocate(s, 1); },
        [](Calls& c, int64_t s) { c.allocate(s, 2); },
        [](Calls& c, int64_t s) { c.service.session_memFree(s, c.pick(c.memory), &c.ret); },
        [](Calls& c, int64_t s) { c.import(s, 0); },
        [](Calls& c, int64_t s) { c.import(s, 1); },
        [](Calls& c, int64_t s) { c.import(s, 2); },
        [](Calls& c, int64_t s) { c.service.session_memUnImport(s, c.pick(c.memory), &c.ret); },
        [](Calls& c, int64_t s) { c.service.session_memFlush(s, c.pick(c.memory), &c.ret); },
        [](Calls& c, int64_t s) { c.service.session_memInvalidate(s, c.pick(c.memory), &c.ret); },
        [](Calls& c, int64_t s) {
            c.withKind(&TovanDravik::session_memGetInfoFromHostPtr, s, c.memory, 13, &c.value);
        },
        [](Calls& c, int64_t s) {
            c.setParam(&TovanDravik::session_memSetParamViaHostPtr, s, c.memory, 13);
        },
        [](Calls& c, int64_t s) {
            // Only for memory that resolves: a failure hands out (and closes) the process's
            // descriptor 0, which the transaction fuzzer's regression input covers.
            const int64_t memory = c.pick(c.memory);
            ndk::ScopedFileDescriptor fd;
            if (c.service.getDravikSession(s) != nullptr && c.service.getDravikMem(s, memory)) {
                c.service.session_memGetFdFromHostPtr(s, memory, 2, &fd);
            }
        },
        [](Calls& c, int64_t s) { c.allocateCommandBuffer(s, false); },
        [](Calls& c, int64_t s) { c.allocateCommandBuffer(s, true); },
        [](Calls& c, int64_t s) { c.service.session_cmdBufFree(s, c.pick(c.buffer_ids), &c.ret); },
        [](Calls& c, int64_t) { c.writeProgram(true); },
        [](Calls& c, int64_t) { c.writeProgram(false); },
        [](Calls& c, int64_t s) { c.keep(c.service.session_createCmd(s, &c.value), &c.commands); },
        [](Calls& c, int64_t s) { c.service.session_deleteCmd(s, c.pick(c.commands), &c.ret); },
        [](Calls& c, int64_t s) {
            const int64_t command = c.pick(c.commands);
            c.keep(c.service.cmd_createSubcmd(s, command, c.deviceType(), &c.value),
                   &c.sub_commands);
        },
        [](Calls& c, int64_t s) {
            const int64_t sub = c.pick(c.sub_commands), buffer = c.pick(c.buffer_ids);
            c.service.subCmd_addCmdBuf(s, sub, buffer, c.u8() % 3, &c.ret);
        },
        [](Calls& c, int64_t s) {
            const int64_t command = c.pick(c.commands), first = c.pick(c.sub_commands);
            c.service.cmd_setDependencyEdge(s, command, first, c.pick(c.sub_commands), &c.ret);
        },
        [](Calls& c, int64_t s) {
            const int64_t command = c.pick(c.commands), first = c.pick(c.sub_commands);
            c.service.cmd_setDependencyPack(s, command, first, c.pick(c.sub_commands), &c.ret);
        },
        [](Calls& c, int64_t s) {
            const int64_t command = c.pick(c.commands), first = c.pick(c.sub_commands);
            const int64_t next = c.pick(c.commands);
            c.service.cmd_setDependencyTightly(s, command, first, next, c.pick(c.memory), &c.ret);
        },
        [](Calls& c, int64_t s) { c.setParam(&TovanDravik::cmd_setParam, s, c.commands, 4); },
        [](Calls& c, int64_t s) {
            c.setParam(&TovanDravik::subCmd_setParam, s, c.sub_commands, 4);
        },
        [](Calls& c, int64_t s) {
            std::vector<DRAVIK_CMD_PARAMS_HD> params(c.u8() % 4);
            for (auto& param : params) param = {c.pick(c.commands), c.u8() % 4, c.small()};
            c.service.cmd_setParams(s, params, &c.ret);
        },
        [](Calls& c, int64_t s) {
            std::vector<DRAVIK_SUBCMD_PARAMS_HD> params(c.u8() % 4);
            for (auto& param : params) param = {c.pick(c.sub_commands), c.u8() % 4, c.small()};
            c.service.subCmd_setParams(s, params, &c.ret);
        },
        [](Calls& c, int64_t s) { c.service.cmd_build(s, c.pick(c.commands), &c.ret); },
        [](Calls& c, int64_t s) { c.service.cmd_run(s, c.pick(c.commands), &c.ret); },
        [](Calls& c, int64_t s) { c.service.cmd_runAsync(s, c.pick(c.commands), &c.ret); },
        [](Calls& c, int64_t s) { c.service.cmd_wait(s, c.pick(c.commands), &c.ret); },
        [](Calls& c, int64_t s) {
            c.withKind(&TovanDravik::cmd_runWithType, s, c.commands, 4, &c.ret);
        },
        [](Calls& c, int64_t s) { c.runCached(s, 0); },
        [](Calls& c, int64_t s) { c.runCached(s, 1); },
        [](Calls& c, int64_t s) { c.runCached(s, 2); },
        [](Calls& c, int64_t s) { c.runFenced(s); },
        [](Calls& c, int64_t s) { c.runFencedWithHandles(s); },
        [](Calls& c, int64_t s) {
            c.withKind(&TovanDravik::cmd_getRunInfo, s, c.commands, 9, &c.value);
        },
        [](Calls& c, int64_t s) {
            c.withKind(&TovanDravik::subCmd_getRunInfo, s, c.sub_commands, 9, &c.value);
        },
        [](Calls& c, int64_t s) {
            std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> params(c.u8() % 4);
            for (auto& param : params) param = {c.pick(c.commands), c.u8() % 9};
            c.service.cmd_getRunInfos(s, params, &c.values);
        },
        [](Calls& c, int64_t s) {
            std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD> params(c.u8() % 4);
            for (auto& param : params) param = {c.pick(c.sub_commands), c.u8() % 6};
            c.service.subCmd_getRunInfos(s, params, &c.values);
        },
        [](Calls& c, int64_t s) { c.startTypedRun(s); },
        [](Calls& c, int64_t) { c.joinTypedRuns(); },
        [](Calls& c, int64_t) { c.injectFailures(); },
        [](Calls& c, int64_t) {
            // Our own process, as when a client's death is delivered in it, or another number.
            c.service.releaseCrashClient(c.u8() % 4 == 0 ? c.input.u32() : getpid());
        },
        [](Calls& c, int64_t s) { c.service.session_queryInfo(s, c.u8() % 8, &c.value); },
        [](Calls& c, int64_t s) { c.service.session_queryDeviceNum(s, c.deviceType(), &c.value); },
        [](Calls& c, int64_t s) {
            const int32_t type = c.deviceType();
            // Never an empty memfd: the block written into one faulted, which the transaction
            // fuzzer's regression input covers.
            static constexpr DescriptorKind kKinds[] = {kMemfdPage, kMemfdSmall, kMemfdSealed,
                                                        kPipeRead};
            Ashmem metadata;
            metadata.fd = makeDescriptor(kKinds[c.u8() % 4]);
            metadata.size = c.u8() % 2 == 0 ? 128 : c.u8();
            c.service.session_queryDeviceMetaData(s, type, metadata, &c.ret);
        },
};

dravik_reference_live_counts baseline{};

std::string describe(const dravik_reference_live_counts& counts) {
    return std::to_string(counts.sessions) + " sessions, " + std::to_string(counts.memory_objects) +
           " memory objects, " + std::to_string(counts.command_buffers) + " command buffers, " +
           std::to_string(counts.commands) + " commands, " + std::to_string(counts.sub_commands) +
           " sub-commands";
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    DEBUG_LOG_DRAVIK = 1;
    unsetenv("DRAVIK_MDW_FAIL");
    dravikReference_resetFailureInjection();
    dravikReference_getLiveCounts(&baseline);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = openDescriptors();
    std::multiset<FileIdentity> deliberately_open;
    {
        const auto service = ndk::SharedRefBase::make<TovanDravik>();
        ByteReader input(data, size);
        Calls calls(input, *service);
        for (size_t call = 0; call < kMaxCalls && !input.empty(); ++call) {
            const uint8_t action = input.u8();
            kActions[action % std::size(kActions)](calls, calls.pick(calls.sessions));
        }
        // Cleaning up as a careful client would.
        calls.joinTypedRuns();
        unsetenv("DRAVIK_MDW_FAIL");
        dravikReference_resetFailureInjection();
        for (const int64_t session : calls.sessions)
            service->session_deleteInstance(session, &calls.ret);
        for (const int64_t id : calls.memory) service->eraseDravikMem(kSharedOwner, id);
        calls.buffers.clear();
        checkNothingFiled(*service);
        deliberately_open = calls.deliberately_open;
    }
    dravik_reference_live_counts live{};
    dravikReference_getLiveCounts(&live);
    if (std::memcmp(&live, &baseline, sizeof(live)) != 0) {
        finding("driver objects left alive",
                "now: " + describe(live) + "\nbefore: " + describe(baseline));
    }
    checkDescriptors(before, deliberately_open);
    return 0;
}
