// Every line the service logs, driven by the call that produces it and checked word for word at its
// priority, beside the call's result. The device's log tooling reads these texts, so a changed,
// dropped or extra line is a fault like a wrong result. Each case runs twice: with debug logging
// on, where every line shows, and off, where only the lines printed regardless remain.

#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <android/log.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <map>

#include "ServiceFixture.h"

namespace service_test {
namespace {

constexpr int64_t kUnknown = 999;  // an id that resolves in no table
constexpr int32_t kOk = EX_NONE;
constexpr int32_t kUnsupported = EX_UNSUPPORTED_OPERATION;

class Callback : public BnTovanDravikCallback {};

// What a call reported: its exception code and the out value that carries its result.
struct Outcome {
    int32_t exception;
    int64_t value;
    bool operator==(const Outcome& other) const {
        return exception == other.exception && value == other.value;
    }
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "{exception " << outcome.exception << ", value " << outcome.value << "}";
}

// A driver function made to fail: it answers result and sets errno to EIO.
struct Failure {
    const char* function = nullptr;
    int64_t result = 5;
};

// A service with one of everything filed under one session, made before the lines are recorded.
// The accessors answer kUnknown for the id that the case names as unknown.
class World {
  public:
    explicit World(char unknown) : unknown_(unknown) {
        fake_driver::reset();
        service = ndk::SharedRefBase::make<TovanDravik>();
        int64_t id = 0;
        EXPECT_TRUE(service->session_createInstance(&id).isOk());
        session_ = id;
        EXPECT_TRUE(service->session_createCmd(session_, &cmd_).isOk());
        EXPECT_TRUE(service->cmd_createSubcmd(session_, cmd_, 1, &sub_cmd_).isOk());
        EXPECT_TRUE(service->session_cmdBufAlloc(session_, 256, 8, &buffer_record).isOk());
        cmd_buf_ = buffer_record.cmd_buf_id;
        EXPECT_TRUE(service->session_memAlloc(session_, 4096, 64, 0, 0, &record).isOk());
        mem_ = record.mem_id;
        record = {};
        buffer_record = {};
        client_file_.set(memfd_create("client", 0));
        EXPECT_EQ(ftruncate(client_file_.get(), 4096), 0);
        metadata.fd.set(memfd_create("metadata", 0));
        metadata.size = fake_driver::kMetadataSize;
        EXPECT_EQ(ftruncate(metadata.fd.get(), metadata.size), 0);
        fake_driver::reset();
        platform_recorder::reset();
    }
    // Releases what the cases made, so that a leak check sees only the service's own leaks.
    ~World() {
        fake_driver::reset();
        service->releaseCrashClient(getpid());
        for (uint64_t id = 1; id <= 4; ++id) service->eraseDravikMem(kSharedOwner, id);
    }
    TovanDravik* operator->() const { return service.get(); }

    int64_t s() const { return unknown_ == 's' ? kUnknown : session_; }
    int64_t c() const { return unknown_ == 'c' ? kUnknown : cmd_; }
    int64_t u() const { return unknown_ == 'u' ? kUnknown : sub_cmd_; }
    int64_t b() const { return unknown_ == 'b' ? kUnknown : cmd_buf_; }
    int64_t m() const { return unknown_ == 'm' ? kUnknown : mem_; }
    // The client's descriptors for an import; none when the case names them as unknown.
    std::vector<ndk::ScopedFileDescriptor> files() const {
        std::vector<ndk::ScopedFileDescriptor> files;
        if (unknown_ != 'f') files.emplace_back(dup(client_file_.get()));
        return files;
    }

    Outcome ret(const ndk::ScopedAStatus& status) const { return {status.getExceptionCode(), r}; }
    Outcome value(const ndk::ScopedAStatus& status) const { return {status.getExceptionCode(), v}; }
    Outcome memory(const ndk::ScopedAStatus& status) const {
        return {status.getExceptionCode(), record.mem_id};
    }
    Outcome buffer(const ndk::ScopedAStatus& status) const {
        return {status.getExceptionCode(), buffer_record.cmd_buf_id};
    }
    // The first answer of a batch; an unknown id's answer after it must be 0.
    Outcome batch(const ndk::ScopedAStatus& status) const {
        if (values.size() > 1) {
            EXPECT_EQ(values.at(1), 0);
        }
        return {status.getExceptionCode(), values.at(0)};
    }

    std::map<std::string, std::string> placeholders() const {
        return {{"s", std::to_string(session_)},
                {"c", std::to_string(cmd_)},
                {"u", std::to_string(sub_cmd_)},
                {"b", std::to_string(cmd_buf_)},
                {"m", std::to_string(mem_)},
                {"a", std::to_string(metadata.fd.get())},
                {"new", std::to_string(created)},
                {"fd", std::to_string(fake_driver::sharedMemoryDescriptor())},
                {"pid", std::to_string(getpid())}};
    }

    std::shared_ptr<TovanDravik> service;
    Ashmem metadata;
    // Out values, preset so that a method that leaves one alone shows it.
    int32_t r = 12345;
    int64_t v = 12345;
    std::vector<int64_t> values;
    DRAVIK_MEMINFO_HD record;
    DRAVIK_CMDBUF_INFO_HD buffer_record;
    int64_t created = 0;  // an id that only the call knows

  private:
    const char unknown_;
    int64_t session_ = 0, cmd_ = 0, sub_cmd_ = 0, cmd_buf_ = 0, mem_ = 0;
    ndk::ScopedFileDescriptor client_file_;
};

using Call = Outcome (*)(World&);

// One case: a call, the id it is given as unknown ('s', 'c', 'u', 'b', 'm', 'f' for the import's
// descriptors, or 0), the driver failure it meets, and what it must report and log. A line is a
// letter and the text: E error, W warning, D debug and A info, printed regardless; I info and F
// error, printed only with debug logging on. In texts, {s} {c} {u} {b} {m} stand for the world's
// ids, {a} for its metadata descriptor, {new} for an id the call made, {fd} for the fake driver's
// descriptor, {n} and {n1} for the two lowest free descriptors before the call, {pid} for this
// process.
struct Case {
    Case(const char* name, Call call, char unknown, Failure failure, Outcome outcome,
         std::vector<std::string> lines)
        : name(name),
          call(call),
          unknown(unknown),
          failure(failure),
          outcome(outcome),
          lines(std::move(lines)) {}
    const char* name;
    Call call;
    char unknown;
    Failure failure;
    Outcome outcome;
    std::vector<std::string> lines;
};

// Makes call, then makes it again with the driver back to its defaults; the second call's outcome
// and lines show whether the first left its object filed.
Outcome again(World& w, Call call) {
    call(w);
    fake_driver::reset();
    platform_recorder::reset();
    return call(w);
}

void PrintTo(const Case& scenario, std::ostream* out) {
    *out << scenario.name;
}

// The calls, each with the world's ids.
const Call kCreateSession = [](World& w) {
    const Outcome outcome = w.value(w->session_createInstance(&w.v));
    w.created = outcome.value;
    return Outcome{outcome.exception, w.created != 0};
};
const Call kDeleteSession = [](World& w) { return w.ret(w->session_deleteInstance(w.s(), &w.r)); };
const Call kReleaseClient = [](World& w) { return Outcome{kOk, w->releaseCrashClient(getpid())}; };
const Call kSetCallback = [](World& w) {
    return Outcome{w->setCallback(ndk::SharedRefBase::make<Callback>()).getExceptionCode(), 0};
};
const Call kUnsetCallback = [](World& w) {
    return Outcome{w->unSetCallback(ndk::SharedRefBase::make<Callback>()).getExceptionCode(), 0};
};
const Call kQueryInfo = [](World& w) { return w.value(w->session_queryInfo(w.s(), 1, &w.v)); };
const Call kDeviceNumOfTypeFive = [](World& w) {
    return w.value(w->session_queryDeviceNum(w.s(), 5, &w.v));
};
const Call kDeviceNum = [](World& w) { return w.value(w->session_queryDeviceNum(w.s(), 1, &w.v)); };
const Call kMetadataOfTypeSeven = [](World& w) {
    return w.ret(w->session_queryDeviceMetaData(w.s(), 7, w.metadata, &w.r));
};
const Call kMetadata = [](World& w) {
    return w.ret(w->session_queryDeviceMetaData(w.s(), 1, w.metadata, &w.r));
};
const Call kMetadataIntoTooSmall = [](World& w) {
    w.metadata.size -= 1;
    return kMetadata(w);
};
const Call kMetadataIntoShrunkFile = [](World& w) {
    EXPECT_EQ(ftruncate(w.metadata.fd.get(), 1), 0);
    return kMetadata(w);
};
const Call kAllocate = [](World& w) {
    return w.memory(w->session_memAlloc(w.s(), 4096, 64, 0, 3, &w.record));
};
const Call kAllocateShared = [](World& w) {
    return w.memory(w->session_memAlloc(w.s(), 4096, 64, 1, 3, &w.record));
};
const Call kAllocateTypeTwo = [](World& w) {
    return w.memory(w->session_memAlloc(w.s(), 4096, 64, 2, 3, &w.record));
};
const Call kAllocateWithName = [](World& w) {
    return w.memory(w->session_memAllocWithName(w.s(), 4096, 64, 0, 3, "n", &w.record));
};
const Call kAllocateV1 = [](World& w) {
    return w.memory(w->session_memAllocV1(w.s(), 4096, 64, 1, 3, "n", 0, &w.record));
};
const Call kFree = [](World& w) { return w.ret(w->session_memFree(w.s(), w.m(), &w.r)); };
const Call kImport = [](World& w) {
    return w.memory(w->session_memImport(w.s(), w.files(), 4096, &w.record));
};
const Call kImportWithFlag = [](World& w) {
    return w.memory(w->session_memImportWithFlag(w.s(), w.files(), 4096, 0, 0, &w.record));
};
const Call kImportV1 = [](World& w) {
    return w.memory(w->session_memImportV1(w.s(), w.files(), 4096, 0, 0, &w.record));
};
const Call kUnImport = [](World& w) { return w.ret(w->session_memUnImport(w.s(), w.m(), &w.r)); };
const Call kFlush = [](World& w) { return w.ret(w->session_memFlush(w.s(), w.m(), &w.r)); };
const Call kInvalidate = [](World& w) {
    return w.ret(w->session_memInvalidate(w.s(), w.m(), &w.r));
};
const Call kMemoryInfo = [](World& w) {
    return w.value(w->session_memGetInfoFromHostPtr(w.s(), w.m(), 3, &w.v));
};
const Call kMemoryParameter = [](World& w) {
    return w.ret(w->session_memSetParamViaHostPtr(w.s(), w.m(), 1, 2, &w.r));
};
const Call kMemoryDescriptor = [](World& w) {
    ndk::ScopedFileDescriptor fd;
    w->session_memGetFdFromHostPtr(w.s(), w.m(), 2, &fd);
    // A failure answers descriptor 0, which is not this test's to close; a fresh one answers 1.
    if (fd.get() == 0) return Outcome{kOk, fd.release()};
    return Outcome{kOk, fd.get() > 0 ? 1 : fd.get()};
};
const Call kBuffer = [](World& w) {
    return w.buffer(w->session_cmdBufAlloc(w.s(), 256, 8, &w.buffer_record));
};
const Call kNamedBuffer = [](World& w) {
    return w.buffer(w->session_cmdBufAllocWithName(w.s(), 256, 8, "n", 0, &w.buffer_record));
};
const Call kFreeBuffer = [](World& w) { return w.ret(w->session_cmdBufFree(w.s(), w.b(), &w.r)); };
const Call kCommand = [](World& w) { return w.value(w->session_createCmd(w.s(), &w.v)); };
const Call kDeleteCommand = [](World& w) {
    return w.ret(w->session_deleteCmd(w.s(), w.c(), &w.r));
};
const Call kSubCommand = [](World& w) {
    return w.value(w->cmd_createSubcmd(w.s(), w.c(), 6, &w.v));
};
const Call kSubCommandOfTypeFive = [](World& w) {
    return w.value(w->cmd_createSubcmd(w.s(), w.c(), 5, &w.v));
};
const Call kParameter = [](World& w) { return w.ret(w->cmd_setParam(w.s(), w.c(), 1, 2, &w.r)); };
const Call kSubParameter = [](World& w) {
    return w.ret(w->subCmd_setParam(w.s(), w.u(), 1, 2, &w.r));
};
const Call kAttach = [](World& w) {
    return w.ret(w->subCmd_addCmdBuf(w.s(), w.u(), w.b(), 0, &w.r));
};
const Call kParameters = [](World& w) {
    return w.ret(w->cmd_setParams(w.s(), {{w.c(), 1, 2}}, &w.r));
};
const Call kSubParameters = [](World& w) {
    return w.ret(w->subCmd_setParams(w.s(), {{w.u(), 1, 2}}, &w.r));
};
const Call kEdge = [](World& w) {
    return w.ret(w->cmd_setDependencyEdge(w.s(), w.c(), w.u(), w.u(), &w.r));
};
const Call kTightly = [](World& w) {
    return w.ret(w->cmd_setDependencyTightly(w.s(), w.c(), w.u(), w.c(), w.m(), &w.r));
};
const Call kPack = [](World& w) {
    return w.ret(w->cmd_setDependencyPack(w.s(), w.c(), w.u(), w.u(), &w.r));
};
const Call kBuild = [](World& w) { return w.ret(w->cmd_build(w.s(), w.c(), &w.r)); };
const Call kRun = [](World& w) { return w.ret(w->cmd_run(w.s(), w.c(), &w.r)); };
const Call kTypedRun = [](World& w) { return w.ret(w->cmd_runWithType(w.s(), w.c(), 3, &w.r)); };
const Call kAsyncRun = [](World& w) { return w.ret(w->cmd_runAsync(w.s(), w.c(), &w.r)); };
const Call kWait = [](World& w) { return w.ret(w->cmd_wait(w.s(), w.c(), &w.r)); };
const Call kFencedRun = [](World& w) {
    const Outcome outcome = w.ret(w->cmd_runFence(w.s(), w.c(), -1, 0, &w.r));
    // A fence is the caller's to close; the outcome says whether there was one.
    return outcome.value > 0 ? Outcome{kOk, close(w.r) == 0} : outcome;
};
const Call kHandleRun = [](World& w) {
    NativeHandle out;
    const Outcome outcome = w.ret(w->cmd_runFence_v2(w.s(), w.c(), {}, 4, &out, &w.r));
    return outcome.value > 0 ? Outcome{kOk, out.fds.size() == 1} : outcome;
};
const Call kHandleRunWithoutOut = [](World& w) {
    return w.ret(w->cmd_runFence_v2(w.s(), w.c(), {}, 4, nullptr, &w.r));
};
const Call kRunInfo = [](World& w) { return w.value(w->cmd_getRunInfo(w.s(), w.c(), 1, &w.v)); };
const Call kSubRunInfo = [](World& w) {
    return w.value(w->subCmd_getRunInfo(w.s(), w.u(), 1, &w.v));
};
const Call kRunInfos = [](World& w) {
    return w.batch(w->cmd_getRunInfos(w.s(), {{w.c(), 1}, {kUnknown, 1}}, &w.values));
};
const Call kSubRunInfos = [](World& w) {
    return w.batch(w->subCmd_getRunInfos(w.s(), {{w.u(), 1}, {kUnknown, 1}}, &w.values));
};
const Call kCachedRun = [](World& w) {
    return w.ret(w->cmd_cachedAndRun(w.s(), w.c(), {w.m()}, {w.m()}, &w.r));
};
const Call kTypedCachedRun = [](World& w) {
    return w.ret(w->cmd_cachedAndRunWithType(w.s(), w.c(), {w.m()}, {}, 3, &w.r));
};
const Call kExtendedRun = [](World& w) {
    return w.batch(w->cmd_cachedAndRunWithTypeExt(w.s(), w.c(), {}, {}, 3, &w.values));
};

const std::string kNotOne =
        "D checkRunwithtypeFlag dravik_id:{s} run_flag is not 1, continuing execution...";
const std::string kFlagUnset = "E getRunwithtypeFlagFromDravikId not found, dravik_id:{s}";
const std::string kFlagOne = "D setRunwithtypeFlagFromDravikId dravik_id:{s} run_flag:1";
const std::string kFlagTwo = "D setRunwithtypeFlagFromDravikId dravik_id:{s} run_flag:2";
const std::string kNoSession = "E getDravikSession fail";
const std::string kNoCommand = "E getDravikCmd Failed";
const std::string kSubCommandFound =
        "I getDravikSubCmd Success dravik_id:{s} dravik_sub_cmd_id:{u}";
const std::string kNoSubCommand = "E getDravikSubCmd Failed dravik_id:{s} dravik_sub_cmd_id:999";
const std::string kEio = " failed errno(5/Input/output error)";
const std::string kExtended = "A cmd_cachedAndRunWithTypeExt";
const std::string kTypedCached =
        "I cmd_cachedAndRunWithType dravik_id:{s} cmd_id:{c} type:3 flushs_size:0, invalidates_size:0";

const Case kCases[] = {
        // Sessions, crash cleanup and callbacks.
        Case("CreateSession", kCreateSession, 0, {}, {kOk, 1},
             {"I session_createInstance dravik_id={new}"}),
        Case("CreateSessionFails", kCreateSession, 0, {"dravikSession_createInstance", 0},
             {kUnsupported, 0}, {"E createInstance failed"}),
        Case("DeleteUnknownSession", kDeleteSession, 's', {}, {kOk, -1},
             {"E deleteInstance failed dravik_id=999 not found"}),
        Case("DeleteSessionFails", kDeleteSession, 0, {"dravikSession_deleteInstance"}, {kOk, 5},
             {kFlagUnset, kNotOne}),
        Case("DeleteSession", kDeleteSession, 0, {}, {kOk, 0},
             {kFlagUnset, kNotOne,
              "I dravikSession_deleteInstance session from pid:{pid} all released.",
              "I deleteInstance dravik_id={s}"}),
        Case("ReleaseClientFails", kReleaseClient, 0, {"dravikSession_deleteInstance"}, {kOk, -1},
             {kFlagUnset, kNotOne, "E releaseCrashClient delete session:{s} failed!"}),
        Case("ReleaseClient", kReleaseClient, 0, {}, {kOk, 0},
             {kFlagUnset, kNotOne,
              "I dravikSession_deleteInstance session from pid:{pid} all released.",
              "I deleteInstance dravik_id={s}",
              "I releaseCrashClient delete session:{s} success!"}),
        Case("ReleaseClientTwice",
             [](World& w) {
                 kReleaseClient(w);
                 platform_recorder::reset();
                 return kReleaseClient(w);
             },
             0, {}, {kOk, -1}, {"E releaseCrashClient pid:{pid} not found!"}),
        // Death links are for binders of other processes; a callback of this process is refused.
        Case("SetCallback", kSetCallback, 0, {}, {EX_NULL_POINTER, 0}, {"E Cannot link to death"}),
        Case("UnsetCallback", kUnsetCallback, 0, {}, {EX_NULL_POINTER, 0},
             {"E Cannot unlink to death"}),
        // Device queries.
        Case("QueryInfoOfUnknownSession", kQueryInfo, 's', {}, {kOk, 0},
             {kNoSession, "E session_queryInfo failed due to session nullptr! value is 0"}),
        Case("QueryInfo", kQueryInfo, 0, {}, {kOk, fake_driver::kMetadataSize}, {}),
        Case("DeviceNumOfTypeFive", kDeviceNumOfTypeFive, 0, {}, {kOk, 0},
             {"E non dravik device type"}),
        Case("DeviceNumOfUnknownSession", kDeviceNum, 's', {}, {kOk, 0},
             {kNoSession, "E session_queryDeviceNum failed due to session nullptr!"}),
        Case("MetadataOfTypeSeven", kMetadataOfTypeSeven, 0, {}, {kOk, -1},
             {"E non dravik device type"}),
        Case("MetadataOfUnknownSession", kMetadata, 's', {}, {kOk, -1},
             {kNoSession, "E session_queryDeviceMetaData failed due to session is nullptr"}),
        Case("MetadataIntoTooSmall", kMetadataIntoTooSmall, 0, {}, {kOk, -1},
             {"E session_queryDeviceMetaData failed due to buffer size error, size:63"}),
        Case("MetadataFails", kMetadata, 0, {"dravikSession_queryDeviceMetaData"}, {kOk, 5},
             {"E session_queryDeviceMetaData failed!"}),
        Case("MetadataIntoShrunkFile", kMetadataIntoShrunkFile, 0, {}, {kOk, -1},
             {"E session_queryDeviceMetaData mmap failed!"}),
        Case("Metadata", kMetadata, 0, {}, {kOk, 0},
             {"I session_queryDeviceMetaData dravik_id:{s}, size:64, fd:{a}"}),
        // Memory.
        Case("AllocateInUnknownSession", kAllocate, 's', {}, {kUnsupported, 0},
             {kNoSession, "E session_memAlloc getDravikSession failed dravik_id:999"}),
        Case("AllocateFails", kAllocate, 0, {"dravikSession_memAlloc", 0}, {kUnsupported, 0},
             {"E session_memAlloc failed dravik_id:{s} size:4096 align:64 mem_type:0 mem_flag:3"}),
        Case("AllocateWithoutDescriptor", kAllocate, 0, {"dravikSession_memGetInfoFromHostPtr", 0},
             {kUnsupported, 0}, {"E dravikSession_memGetInfoFromHostPtr failed,return:0"}),
        Case("Allocate", kAllocate, 0, {}, {kOk, 2},
             {"I session_memAlloc dravik_id:{s}, mem_id:2, size:4096 align:64 mem_type:0 mem_flag:3, tmp_fd:{fd}"}),
        Case("AllocateShared", kAllocateShared, 0, {}, {kOk, 2},
             {"I session_memAlloc dravik_id:{s}, mem_id:2, size:4096 align:64 mem_type:1 mem_flag:3"}),
        Case("AllocateTypeTwo", kAllocateTypeTwo, 0, {}, {kUnsupported, 0},
             {"E mem type not support!"}),
        Case("AllocateWithNameInUnknownSession", kAllocateWithName, 's', {}, {kUnsupported, 0},
             {kNoSession, "E session_memAllocWithName getDravikSession failed dravik_id:999"}),
        Case("AllocateWithNameFails", kAllocateWithName, 0, {"dravikSession_memAllocWithName", 0},
             {kUnsupported, 0},
             {"E session_memAllocWithName failed dravik_id:{s} size:4096 align:64 mem_type:0 mem_flag:3"}),
        Case("AllocateWithName", kAllocateWithName, 0, {}, {kOk, 2},
             {"I session_memAllocWithName dravik_id:{s}, mem_id:2, size:4096 align:64 mem_type:0 mem_flag:3"}),
        Case("AllocateV1InUnknownSession", kAllocateV1, 's', {}, {kUnsupported, 0},
             {kNoSession, "E session_memAllocV1 getDravikSession failed dravik_id:999"}),
        Case("AllocateV1Fails", kAllocateV1, 0, {"dravikSession_memAllocV1", 0}, {kUnsupported, 0},
             {"E session_memAllocV1 failed dravik_id:{s} size:4096 align:64 mem_type:1 mem_flag:3"}),
        Case("AllocateV1", kAllocateV1, 0, {}, {kOk, 2},
             {"I session_memAllocV1 dravik_id:{s}, mem_id:2, size:4096 align:64 mem_type:1 mem_flag:3"}),
        Case("FreeUnknownMemory", kFree, 'm', {}, {kOk, -1},
             {"E memFree failed,dravik_id={s}, dravik_mem_id=999, ret:-1"}),
        Case("FreeTwice", [](World& w) { return again(w, kFree); }, 0, {}, {kOk, -1},
             {"E memFree failed,dravik_id={s}, dravik_mem_id={m}, ret:-1"}),
        Case("FreeAgainAfterAFailure", [](World& w) { return again(w, kFree); }, 0,
             {"dravikSession_memFree"}, {kOk, 0},
             {"I memFree dravik_id={s}, dravik_mem_id={m}, ret:0"}),
        Case("FreeFails", kFree, 0, {"dravikSession_memFree"}, {kOk, 5},
             {"I memFree dravik_id={s}, dravik_mem_id={m}, ret:5"}),
        Case("Free", kFree, 0, {}, {kOk, 0}, {"I memFree dravik_id={s}, dravik_mem_id={m}, ret:0"}),
        // Imports: the service's duplicate of the client's descriptor is the second free one.
        Case("ImportNothing", kImport, 'f', {}, {kUnsupported, 0},
             {"E session_memImport failed due to session nullptr or invalid parameters,id:{s}"}),
        Case("ImportFails", kImport, 0, {"dravikSession_memImport", 0}, {kUnsupported, 0},
             {"E session_memImport failed due to mem nullptr"}),
        Case("ImportWithoutDescriptor", kImport, 0, {"dravikSession_memGetInfoFromHostPtr", 0},
             {kUnsupported, 0}, {"E dravikSession_memGetInfoFromHostPtr failed,return:0"}),
        Case("Import", kImport, 0, {}, {kOk, 2},
             {"I session_memImport dravik_id={s}, newfd:{n1}, tmp_fd:{fd}, mem_id=2"}),
        Case("ImportWithFlagIntoUnknownSession", kImportWithFlag, 's', {}, {kUnsupported, 0},
             {kNoSession,
              "E session_memImportWithFlag failed due to session nullptr or invalid parameters,id:999"}),
        Case("ImportWithFlagFails", kImportWithFlag, 0, {"dravikSession_memImportWithFlag", 0},
             {kUnsupported, 0}, {"E session_memImportWithFlag failed due to mem nullptr"}),
        Case("ImportWithFlag", kImportWithFlag, 0, {}, {kOk, 2},
             {"I session_memImportWithFlag dravik_id={s}, newfd:{n1}, tmp_fd:{fd}, mem_id=2"}),
        Case("ImportV1IntoUnknownSession", kImportV1, 's', {}, {kUnsupported, 0},
             {kNoSession,
              "E session_memImportV1 failed due to session nullptr or invalid parameters,id:999"}),
        Case("ImportV1Fails", kImportV1, 0, {"dravikSession_memImportV1", 0}, {kUnsupported, 0},
             {"E session_memImportV1 failed due to mem nullptr"}),
        Case("ImportV1", kImportV1, 0, {}, {kOk, 2},
             {"I session_memImportV1 dravik_id={s}, newfd:{n1}, tmp_fd:{fd}, mem_id=2"}),
        Case("UnImportInUnknownSession", kUnImport, 's', {}, {kOk, -1},
             {kNoSession,
              "E session_memUnImport failed! dravik_id=999, dravik_mem_id={m}, ret:-1"}),
        Case("UnImportTwice", [](World& w) { return again(w, kUnImport); }, 0, {}, {kOk, -1},
             {"E session_memUnImport failed! dravik_id={s}, dravik_mem_id={m}, ret:-1"}),
        Case("UnImportAgainAfterAFailure", [](World& w) { return again(w, kUnImport); }, 0,
             {"dravikSession_memUnImport"}, {kOk, 0},
             {"I session_memUnImport dravik_id={s}, dravik_mem_id={m}, ret:0"}),
        Case("UnImport", kUnImport, 0, {}, {kOk, 0},
             {"I session_memUnImport dravik_id={s}, dravik_mem_id={m}, ret:0"}),
        // Maintenance and host-pointer queries.
        Case("FlushUnknownMemory", kFlush, 'm', {}, {kOk, -1},
             {"E session_memFlush failed! dravik_id={s}, dravik_mem_id=999, ret:-1"}),
        Case("FlushFails", kFlush, 0, {"dravikSession_memFlush"}, {kOk, 5},
             {"I session_memFlush dravik_id={s}, dravik_mem_id={m}, ret:5"}),
        Case("InvalidateUnknownMemory", kInvalidate, 'm', {}, {kOk, -1},
             {"E session_memInvalidate failed! dravik_id={s}, dravik_mem_id=999"}),
        Case("InvalidateFails", kInvalidate, 0, {"dravikSession_memInvalidate"}, {kOk, 5},
             {"I session_memInvalidate dravik_id={s}, dravik_mem_id={m}, ret=5"}),
        Case("InfoOfUnknownMemory", kMemoryInfo, 'm', {}, {kOk, 0},
             {"E session_memGetInfoFromHostPtr failed! dravik_id={s}, dravik_mem_id=999"}),
        Case("Info", kMemoryInfo, 0, {"dravikSession_memGetInfoFromHostPtr", 77}, {kOk, 77},
             {"I session_memGetInfoFromHostPtr dravik_id={s}, dravik_mem_id={m}"}),
        Case("ParameterOfUnknownMemory", kMemoryParameter, 'm', {}, {kOk, -1},
             {"E session_memSetParamViaHostPtr failed dravik_id={s}, dravik_mem_id=999"}),
        Case("ParameterOfMemoryFails", kMemoryParameter, 0, {"dravikSession_memSetParamViaHostPtr"},
             {kOk, 5}, {"I session_memSetParamViaHostPtr dravik_id={s}, dravik_mem_id={m}, ret:5"}),
        Case("DescriptorOfUnknownMemory", kMemoryDescriptor, 'm', {}, {kOk, 0},
             {"E session_memGetFdFromHostPtr failed! dravik_id={s}, dravik_mem_id=999"}),
        Case("Descriptor", kMemoryDescriptor, 0, {}, {kOk, 1},
             {"I session_memGetFdFromHostPtr dravik_id={s}, dravik_mem_id={m}, tmp_fd={fd}, dup_fd={n}"}),
        // Command buffers.
        Case("BufferInUnknownSession", kBuffer, 's', {}, {kUnsupported, 0},
             {kNoSession, "E session_cmdBufAlloc failed due to session nullptr!"}),
        Case("BufferFails", kBuffer, 0, {"dravikSession_cmdBufAlloc", 0}, {kUnsupported, 0},
             {"E session_cmdBufAlloc failed return nullptr!"}),
        Case("BufferWithoutDescriptor", kBuffer, 0, {"dravikSession_memGetInfoFromHostPtr", 0},
             {kUnsupported, 0}, {"E dravikSession_memGetInfoFromHostPtr failed,return:0"}),
        Case("Buffer", kBuffer, 0, {}, {kOk, 2},
             {"I session_cmdBufAlloc tmp_fd:{fd} cmd_buf_id:2 size:256 align:8"}),
        Case("NamedBufferInUnknownSession", kNamedBuffer, 's', {}, {kUnsupported, 0},
             {kNoSession, "E session_cmdBufAllocWithName failed due to session nullptr!"}),
        Case("NamedBufferFails", kNamedBuffer, 0, {"dravikSession_cmdBufAllocWithName", 0},
             {kUnsupported, 0}, {"E session_cmdBufAllocWithName failed return nullptr!"}),
        Case("NamedBuffer", kNamedBuffer, 0, {}, {kOk, 2},
             {"I session_cmdBufAllocWithName tmp_fd:{fd} cmd_buf_id:2 size:256 align:8"}),
        Case("FreeBufferInUnknownSession", kFreeBuffer, 's', {}, {kOk, -1},
             {kNoSession, "E getDravikCmdBuf Failed",
              "E session_cmdBufFree failed dravik_id=999, cmd_buf_id={b}"}),
        Case("FreeBufferTwice", [](World& w) { return again(w, kFreeBuffer); }, 0, {}, {kOk, -1},
             {"E getDravikCmdBuf Failed",
              "E session_cmdBufFree failed dravik_id={s}, cmd_buf_id={b}"}),
        Case("FreeBufferAgainAfterAFailure", [](World& w) { return again(w, kFreeBuffer); }, 0,
             {"dravikSession_cmdBufFree"}, {kOk, 0},
             {"I session_cmdBufFree dravik_id:{s} cmd_buf_id:{b}, ret:0"}),
        Case("FreeBufferFails", kFreeBuffer, 0, {"dravikSession_cmdBufFree"}, {kOk, 5},
             {"I session_cmdBufFree dravik_id:{s} cmd_buf_id:{b}, ret:5"}),
        // Commands and sub-commands.
        Case("CommandInUnknownSession", kCommand, 's', {}, {kUnsupported, 0},
             {kNoSession, "E session_createCmd failed due to session nullptr!"}),
        Case("CommandFails", kCommand, 0, {"dravikSession_createCmd", 0}, {kUnsupported, 0},
             {"E session_createCmd failed return nullptr!"}),
        Case("Command", kCommand, 0, {}, {kOk, 2},
             {"I session_createCmd session_createCmd dravik_id:{s} cmd_id:2!"}),
        Case("DeleteCommandInUnknownSession", kDeleteCommand, 's', {}, {kOk, -1},
             {kNoSession, kNoCommand, "E session_deleteCmd failed dravik_id=999, cmd_id={c}"}),
        Case("DeleteCommandTwice", [](World& w) { return again(w, kDeleteCommand); }, 0, {},
             {kOk, -1}, {kNoCommand, "E session_deleteCmd failed dravik_id={s}, cmd_id={c}"}),
        Case("DeleteCommandAgainAfterAFailure", [](World& w) { return again(w, kDeleteCommand); },
             0, {"dravikSession_deleteCmd"}, {kOk, 0},
             {"I session_deleteCmd dravik_id={s}, cmd_id={c}, ret:0"}),
        Case("DeleteCommandFails", kDeleteCommand, 0, {"dravikSession_deleteCmd"}, {kOk, 5},
             {"I session_deleteCmd dravik_id={s}, cmd_id={c}, ret:5"}),
        Case("SubCommandOfTypeFive", kSubCommandOfTypeFive, 0, {}, {kUnsupported, 0},
             {"E non dravik device type"}),
        Case("SubCommandOfUnknownCommand", kSubCommand, 'c', {}, {kUnsupported, 12345},
             {kNoCommand, "E dravikCmd_createSubcmd failed due to cmd nullptr!"}),
        Case("SubCommandFails", kSubCommand, 0, {"dravikCmd_createSubcmd", 0}, {kUnsupported, 0},
             {"E dravikCmd_createSubcmd failed return nullptr!"}),
        Case("SubCommand", kSubCommand, 0, {}, {kOk, 2},
             {"I generateDravikCmdId cmd_id={s} dravik_sub_cmd_id=2",
              "I cmd_createSubcmd dravik_id:{s} cmd_id:{c} sub_cmd_id:2!"}),
        // Parameters.
        Case("ParameterOfUnknownCommand", kParameter, 'c', {}, {kOk, -1},
             {kNoCommand, "E cmd_setParam failed due to dravik_cmd nullptr"}),
        Case("ParameterFails", kParameter, 0, {"dravikCmd_setParam"}, {kOk, 5},
             {"E dravikCmd_setParam" + kEio}),
        Case("Parameter", kParameter, 0, {}, {kOk, 0},
             {"I cmd_setParam dravik_id={s}, cmd_id={c}, ret:0"}),
        Case("SubParameterOfUnknownSubCommand", kSubParameter, 'u', {}, {kOk, -1},
             {kNoSubCommand, "E subCmd_setParam failed due to sub_cmd nullptr!"}),
        Case("SubParameterFails", kSubParameter, 0, {"dravikSubCmd_setParam"}, {kOk, 5},
             {kSubCommandFound, "E dravikSubCmd_setParam" + kEio}),
        Case("SubParameter", kSubParameter, 0, {}, {kOk, 0},
             {kSubCommandFound, "I dravikSubCmd_setParam dravik_id={s}, sub_cmd_id={u}, ret=0"}),
        Case("AttachUnknownBuffer", kAttach, 'b', {}, {kOk, -1},
             {kSubCommandFound, "E getDravikCmdBuf Failed",
              "E subCmd_setParam failed due to sub_cmd or cmd_buf nullptr!"}),
        Case("AttachFails", kAttach, 0, {"dravikSubCmd_addCmdBuf"}, {kOk, 5},
             {kSubCommandFound, "E dravikSubCmd_addCmdBuf" + kEio}),
        Case("Attach", kAttach, 0, {}, {kOk, 0},
             {kSubCommandFound,
              "I SubCmd_addCmdBuf dravik_id:{s} sub_cmd_id:{u} cmd_buf_id:{b}, ret:0"}),
        Case("ParametersInUnknownSession", kParameters, 's', {}, {kOk, -1},
             {kNoSession, "E cmd_setParams invalid dravik_id:999"}),
        Case("ParametersOfUnknownCommand", kParameters, 'c', {}, {kOk, -1},
             {kNoCommand, "E cmd_setParams invalid cmd_id:999"}),
        Case("ParametersFail", kParameters, 0, {"dravikCmd_setParam"}, {kOk, -1},
             {"E cmd_setParams dravik_id:{s} cmd_id:{c} type:1 value:2 failed!"}),
        Case("Parameters", kParameters, 0, {}, {kOk, 0},
             {"I cmd_setParams dravik_id:{s} cmd_id:{c} type:1 value:2 success!"}),
        Case("SubParametersInUnknownSession", kSubParameters, 's', {}, {kOk, -1},
             {kNoSession, "E subCmd_setParams invalid dravik_id:999"}),
        Case("SubParametersOfUnknownSubCommand", kSubParameters, 'u', {}, {kOk, -1},
             {kNoSubCommand, "E subCmd_setParams invalid sub_cmd_id:999"}),
        Case("SubParametersFail", kSubParameters, 0, {"dravikSubCmd_setParam"}, {kOk, -1},
             {kSubCommandFound,
              "E subCmd_setParams dravik_id:{s} sub_cmd_id:{u} type:1 value:2 failed!"}),
        Case("SubParameters", kSubParameters, 0, {}, {kOk, 0},
             {kSubCommandFound,
              "I subCmd_setParams dravik_id:{s} sub_cmd_id:{u} type:1 value:2 success!"}),
        // Dependencies and build.
        Case("EdgeOfUnknownSubCommands", kEdge, 'u', {}, {kOk, -1},
             {kNoSubCommand, kNoSubCommand,
              "E cmd_setDependencyEdge failed due to cmd or predecessor or successor nullptr"}),
        Case("EdgeFails", kEdge, 0, {"dravikCmd_setDependencyEdge"}, {kOk, 5},
             {kSubCommandFound, kSubCommandFound, "E dravikCmd_setDependencyEdge" + kEio}),
        Case("Edge", kEdge, 0, {}, {kOk, 0},
             {kSubCommandFound, kSubCommandFound,
              "I cmd_setDependencyEdge dravik_id={s}, cmd_id={c}, ret:0"}),
        Case("TightlyOnUnknownMemory", kTightly, 'm', {}, {kOk, -1},
             {kSubCommandFound,
              "E cmd_setDependencyTightly failed due to cmd or predecessor or successor or mem nullptr"}),
        Case("TightlyFails", kTightly, 0, {"dravikCmd_setDependencyTightly"}, {kOk, 5},
             {kSubCommandFound, "E cmd_setDependencyTightly" + kEio}),
        Case("Tightly", kTightly, 0, {}, {kOk, 0},
             {kSubCommandFound, "I cmd_setDependencyTightly dravik_id={s}, cmd_id={c}, ret:0"}),
        Case("PackOfUnknownCommand", kPack, 'c', {}, {kOk, -1},
             {kNoCommand, kSubCommandFound, kSubCommandFound,
              "E cmd_setDependencyPack failed due to cmd or main_sub_cmd or appendix_sub_cmd nullptr"}),
        Case("PackFails", kPack, 0, {"dravikCmd_setDependencyPack"}, {kOk, 5},
             {kSubCommandFound, kSubCommandFound, "E cmd_setDependencyPack" + kEio}),
        Case("Pack", kPack, 0, {}, {kOk, 0},
             {kSubCommandFound, kSubCommandFound,
              "I cmd_setDependencyPack dravik_id={s}, cmd_id={c}, ret:0"}),
        Case("BuildUnknownCommand", kBuild, 'c', {}, {kOk, -1},
             {kNoCommand, "E cmd_build failed due to cmd nullptr"}),
        Case("BuildFails", kBuild, 0, {"dravikCmd_build"}, {kOk, 5}, {"E dravikCmd_build" + kEio}),
        Case("Build", kBuild, 0, {}, {kOk, 0}, {"I cmd_build dravik_id={s}, cmd_id={c}, ret=0"}),
        // Runs.
        Case("RunUnknownCommand", kRun, 'c', {}, {kOk, -1},
             {kNoCommand, "E dravikCmd_run failed due to cmd nullptr"}),
        Case("RunFails", kRun, 0, {"dravikCmd_run"}, {kOk, 5}, {"E dravikCmd_run" + kEio}),
        Case("Run", kRun, 0, {}, {kOk, 0}, {"I dravikCmd_run dravik_id={s}, cmd_id={c}, ret:0"}),
        Case("TypedRunOfUnknownCommand", kTypedRun, 'c', {}, {kOk, -1},
             {kNoCommand, "E dravikCmd_run failed due to cmd nullptr"}),
        Case("TypedRunFails", kTypedRun, 0, {"dravikCmd_runWithType"}, {kOk, 5},
             {kFlagOne, "E dravikCmd_run" + kEio, kFlagTwo}),
        Case("TypedRun", kTypedRun, 0, {}, {kOk, 0},
             {kFlagOne, "I dravikCmd_run dravik_id={s}, cmd_id={c}, type=3, ret=0", kFlagTwo}),
        Case("AsyncRunOfUnknownCommand", kAsyncRun, 'c', {}, {kOk, -1},
             {kNoCommand, "E cmd_runAsync failed due to cmd nullptr"}),
        Case("AsyncRunFails", kAsyncRun, 0, {"dravikCmd_runAsync"}, {kOk, 5},
             {"E cmd_runAsync" + kEio}),
        Case("AsyncRun", kAsyncRun, 0, {}, {kOk, 0},
             {"I cmd_runAsync dravik_id={s}, cmd_id={c}, ret=0"}),
        Case("WaitForUnknownCommand", kWait, 'c', {}, {kOk, -1},
             {kNoCommand, "E cmd_wait failed due to cmd nullptr"}),
        Case("WaitFails", kWait, 0, {"dravikCmd_wait"}, {kOk, 5}, {"E cmd_wait" + kEio}),
        Case("Wait", kWait, 0, {}, {kOk, 0}, {"I cmd_wait dravik_id={s}, cmd_id={c}, ret=0"}),
        Case("FencedRunOfUnknownCommand", kFencedRun, 'c', {}, {kOk, -1},
             {kNoCommand, "E cmd_runFence failed due to cmd nullptr"}),
        Case("FencedRunFails", kFencedRun, 0, {"dravikCmd_runFence", 0}, {kOk, 0},
             {"E cmd_runFence" + kEio}),
        Case("FencedRun", kFencedRun, 0, {}, {kOk, 1},
             {"I cmd_runFence dravik_id={s}, cmd_id={c}, ret={n}"}),
        Case("HandleRunOfUnknownCommand", kHandleRun, 'c', {}, {kOk, -1},
             {"F cmd_runFence_v2: dravik_id={s}, cmd_id=999, flags=4, in_handle.fds.size=0",
              kNoCommand, "E cmd_runFence_v2 failed due to cmd nullptr"}),
        Case("HandleRunWithoutOut", kHandleRunWithoutOut, 0, {}, {STATUS_UNEXPECTED_NULL, 12345},
             {"F cmd_runFence_v2: dravik_id={s}, cmd_id={c}, flags=4, in_handle.fds.size=0"}),
        Case("HandleRunFails", kHandleRun, 0, {"dravikCmd_runFence", -1}, {kOk, -1},
             {"F cmd_runFence_v2: dravik_id={s}, cmd_id={c}, flags=4, in_handle.fds.size=0",
              "E cmd_runFence_v2" + kEio}),
        Case("HandleRun", kHandleRun, 0, {}, {kOk, 1},
             {"F cmd_runFence_v2: dravik_id={s}, cmd_id={c}, flags=4, in_handle.fds.size=0",
              "I cmd_runFence_v2 dravik_id={s}, cmd_id={c}, out_fence={n}, out_native_handle->data[0]={n1}"}),
        // Run information.
        Case("RunInfoOfUnknownCommand", kRunInfo, 'c', {}, {kOk, 0},
             {kNoCommand, "E cmd_getRunInfo failed due to cmd nullptr!"}),
        Case("RunInfo", kRunInfo, 0, {"dravikCmd_getRunInfo", 42}, {kOk, 42}, {}),
        Case("SubRunInfoOfUnknownSubCommand", kSubRunInfo, 'u', {}, {kOk, 0},
             {kNoSubCommand, "E subCmd_getRunInfo failed due to sub_cmd nullptr!"}),
        Case("SubRunInfo", kSubRunInfo, 0, {"dravikSubCmd_getRunInfo", 42}, {kOk, 42},
             {kSubCommandFound}),
        Case("RunInfosInUnknownSession", kRunInfos, 's', {}, {EX_NULL_POINTER, -1},
             {kNoSession, "E cmd_getRunInfos invalid dravik_id:999"}),
        Case("RunInfos", kRunInfos, 0, {"dravikCmd_getRunInfo", 42}, {kOk, 42},
             {"I cmd_getRunInfos dravik_id:{s} cmd_id:{c} type:1 ret:42 success!", kNoCommand,
              "E cmd_getRunInfos invalid cmd_id:999"}),
        Case("SubRunInfosInUnknownSession", kSubRunInfos, 's', {}, {EX_NULL_POINTER, -1},
             {kNoSession, "E subCmd_getRunInfos invalid dravik_id:999"}),
        Case("SubRunInfos", kSubRunInfos, 0, {"dravikSubCmd_getRunInfo", 42}, {kOk, 42},
             {kSubCommandFound,
              "I subCmd_getRunInfos dravik_id:{s} sub_cmd_id:{u} type:1 ret:42 success!",
              kNoSubCommand, "E subCmd_getRunInfos invalid sub_cmd_id:999"}),
        // Cached runs: each step logs as the method it calls.
        Case("CachedRun", kCachedRun, 0, {}, {kOk, 0},
             {"I session_memFlush dravik_id={s}, dravik_mem_id={m}, ret:0",
              "I dravikCmd_run dravik_id={s}, cmd_id={c}, ret:0",
              "I session_memInvalidate dravik_id={s}, dravik_mem_id={m}, ret=0"}),
        Case("TypedCachedRun", kTypedCachedRun, 0, {}, {kOk, 0},
             {"I cmd_cachedAndRunWithType dravik_id:{s} cmd_id:{c} type:3 flushs_size:1, invalidates_size:0",
              "I session_memFlush dravik_id={s}, dravik_mem_id={m}, ret:0", kFlagOne,
              "I dravikCmd_run dravik_id={s}, cmd_id={c}, type=3, ret=0", kFlagTwo}),
        Case("ExtendedRunOfUnknownCommand", kExtendedRun, 'c', {}, {kOk, 0},
             {kExtended, kNoCommand, "E Invalid cmd"}),
        Case("ExtendedRunCannotTagThePid", kExtendedRun, 0, {"dravikCmd_setParam"}, {kOk, 0},
             {kExtended, "E Fail to set pid"}),
        Case("ExtendedRunFails", kExtendedRun, 0, {"dravikCmd_runWithType", 22}, {kOk, 0},
             {kExtended, kTypedCached, kFlagOne, "E dravikCmd_run" + kEio, kFlagTwo,
              "E cmd_cachedAndRunWithType error. ret = 22"}),
        Case("ExtendedRun", kExtendedRun, 0, {"dravikCmd_getRunInfo", 42}, {kOk, 42},
             {kExtended, kTypedCached, kFlagOne,
              "I dravikCmd_run dravik_id={s}, cmd_id={c}, type=3, ret=0", kFlagTwo,
              "A cmd_cachedAndRunWithTypeExt - ext_id: 42"}),
};

// The two lowest descriptor numbers that are free now.
std::pair<int, int> lowestFreeDescriptors() {
    const int first = open("/dev/null", O_RDONLY);
    const int second = open("/dev/null", O_RDONLY);
    close(first);
    close(second);
    return {first, second};
}

std::string substitute(std::string text, const std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : values) {
        const std::string placeholder = "{" + key + "}";
        for (size_t at = text.find(placeholder); at != std::string::npos;
             at = text.find(placeholder, at + value.size())) {
            text.replace(at, placeholder.size(), value);
        }
    }
    return text;
}

int priorityOf(char letter) {
    switch (letter) {
        case 'E':
        case 'F':
            return ANDROID_LOG_ERROR;
        case 'W':
            return ANDROID_LOG_WARN;
        case 'D':
            return ANDROID_LOG_DEBUG;
        default:
            return ANDROID_LOG_INFO;
    }
}

class LogTextTest : public ::testing::TestWithParam<Case> {};

TEST_P(LogTextTest, EachLineAtItsPriority) {
    const Case& scenario = GetParam();
    for (int debug : {1, 0}) {
        SCOPED_TRACE(debug == 1 ? "debug logging on" : "debug logging off");
        DEBUG_LOG_DRAVIK = debug;
        World world(scenario.unknown);
        if (scenario.failure.function != nullptr) {
            fake_driver::setResult(scenario.failure.function, scenario.failure.result, EIO);
        }
        const auto [first_free, second_free] = lowestFreeDescriptors();
        EXPECT_EQ(scenario.call(world), scenario.outcome);

        auto values = world.placeholders();
        values["n"] = std::to_string(first_free);
        values["n1"] = std::to_string(second_free);
        std::vector<std::pair<int, std::string>> expected;
        for (const std::string& line : scenario.lines) {
            if (debug == 0 && (line[0] == 'I' || line[0] == 'F')) continue;
            expected.emplace_back(priorityOf(line[0]), substitute(line.substr(2), values));
        }
        std::vector<std::pair<int, std::string>> logged;
        for (const auto& line : platform_recorder::logLines()) {
            if (line.tag == "tessaro_server") logged.emplace_back(line.priority, line.text);
        }
        EXPECT_EQ(logged, expected);
        DEBUG_LOG_DRAVIK = 0;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryLine, LogTextTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return info.param.name;
                         });

}  // namespace
}  // namespace service_test
