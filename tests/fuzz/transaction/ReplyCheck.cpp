#include "ReplyCheck.h"

#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_CMDBUF_INFO_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/DRAVIK_MEMINFO_HD.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_status.h>

#include <map>

namespace tessaro_fuzz {

namespace {

using aidl::android::hardware::common::NativeHandle;
using aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;
using aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

enum class Shape {
    kVoid,
    kInt32,
    kInt64,
    kInt64Array,
    kMemoryRecord,
    kCommandBufferRecord,
    kDescriptor,
    kInt32AndNativeHandle,
    kVersion,
    kHash,
};

struct MethodReply {
    Shape shape;
    bool creates = false;  // an Int64 or record result is a new id of kind
    IdKind kind = IdKind::kCount;
};

const std::map<transaction_code_t, MethodReply>& replies() {
    using T = ITovanDravik;
    static const std::map<transaction_code_t, MethodReply> table = {
            {T::TRANSACTION_cmd_build, {Shape::kInt32}},
            {T::TRANSACTION_cmd_cachedAndRun, {Shape::kInt32}},
            {T::TRANSACTION_cmd_cachedAndRunWithType, {Shape::kInt32}},
            {T::TRANSACTION_cmd_createSubcmd, {Shape::kInt64, true, IdKind::kSubCommand}},
            {T::TRANSACTION_cmd_getRunInfo, {Shape::kInt64}},
            {T::TRANSACTION_cmd_getRunInfos, {Shape::kInt64Array}},
            {T::TRANSACTION_cmd_run, {Shape::kInt32}},
            {T::TRANSACTION_cmd_runAsync, {Shape::kInt32}},
            {T::TRANSACTION_cmd_runWithType, {Shape::kInt32}},
            {T::TRANSACTION_cmd_runFence, {Shape::kInt32}},
            {T::TRANSACTION_cmd_setDependencyEdge, {Shape::kInt32}},
            {T::TRANSACTION_cmd_setDependencyPack, {Shape::kInt32}},
            {T::TRANSACTION_cmd_setDependencyTightly, {Shape::kInt32}},
            {T::TRANSACTION_cmd_setParam, {Shape::kInt32}},
            {T::TRANSACTION_cmd_setParams, {Shape::kInt32}},
            {T::TRANSACTION_cmd_wait, {Shape::kInt32}},
            {T::TRANSACTION_session_cmdBufAlloc,
             {Shape::kCommandBufferRecord, true, IdKind::kCommandBuffer}},
            {T::TRANSACTION_session_cmdBufFree, {Shape::kInt32}},
            {T::TRANSACTION_session_createCmd, {Shape::kInt64, true, IdKind::kCommand}},
            {T::TRANSACTION_session_createInstance, {Shape::kInt64, true, IdKind::kSession}},
            {T::TRANSACTION_session_deleteCmd, {Shape::kInt32}},
            {T::TRANSACTION_session_deleteInstance, {Shape::kInt32}},
            {T::TRANSACTION_session_memAlloc, {Shape::kMemoryRecord, true, IdKind::kMemory}},
            {T::TRANSACTION_session_memFlush, {Shape::kInt32}},
            {T::TRANSACTION_session_memFree, {Shape::kInt32}},
            {T::TRANSACTION_session_memGetInfoFromHostPtr, {Shape::kInt64}},
            {T::TRANSACTION_session_memImport, {Shape::kMemoryRecord, true, IdKind::kMemory}},
            {T::TRANSACTION_session_memInvalidate, {Shape::kInt32}},
            {T::TRANSACTION_session_memSetParamViaHostPtr, {Shape::kInt32}},
            {T::TRANSACTION_session_memUnImport, {Shape::kInt32}},
            {T::TRANSACTION_session_queryDeviceMetaData, {Shape::kInt32}},
            {T::TRANSACTION_session_queryDeviceNum, {Shape::kInt64}},
            {T::TRANSACTION_session_queryInfo, {Shape::kInt64}},
            {T::TRANSACTION_setCallback, {Shape::kVoid}},
            {T::TRANSACTION_subCmd_addCmdBuf, {Shape::kInt32}},
            {T::TRANSACTION_subCmd_getRunInfo, {Shape::kInt64}},
            {T::TRANSACTION_subCmd_getRunInfos, {Shape::kInt64Array}},
            {T::TRANSACTION_subCmd_setParam, {Shape::kInt32}},
            {T::TRANSACTION_subCmd_setParams, {Shape::kInt32}},
            {T::TRANSACTION_session_memGetFdFromHostPtr, {Shape::kDescriptor}},
            {T::TRANSACTION_session_cmdBufAllocWithName,
             {Shape::kCommandBufferRecord, true, IdKind::kCommandBuffer}},
            {T::TRANSACTION_session_memAllocWithName,
             {Shape::kMemoryRecord, true, IdKind::kMemory}},
            {T::TRANSACTION_cmd_cachedAndRunWithTypeExt, {Shape::kInt64Array}},
            {T::TRANSACTION_session_memImportWithFlag,
             {Shape::kMemoryRecord, true, IdKind::kMemory}},
            {T::TRANSACTION_cmd_runFence_v2, {Shape::kInt32AndNativeHandle}},
            {T::TRANSACTION_unSetCallback, {Shape::kVoid}},
            {T::TRANSACTION_session_memAllocV1, {Shape::kMemoryRecord, true, IdKind::kMemory}},
            {T::TRANSACTION_session_memImportV1, {Shape::kMemoryRecord, true, IdKind::kMemory}},
            {T::TRANSACTION_getInterfaceVersion, {Shape::kVersion}},
            {T::TRANSACTION_getInterfaceHash, {Shape::kHash}},
    };
    return table;
}

bool isException(int32_t code) {
    switch (code) {
        case EX_SECURITY:
        case EX_BAD_PARCELABLE:
        case EX_ILLEGAL_ARGUMENT:
        case EX_NULL_POINTER:
        case EX_ILLEGAL_STATE:
        case EX_NETWORK_MAIN_THREAD:
        case EX_UNSUPPORTED_OPERATION:
        case EX_SERVICE_SPECIFIC:
        case EX_PARCELABLE:
        case EX_TRANSACTION_FAILED:
            return true;
        default:
            return false;
    }
}

// Every descriptor a record carries must be a real one.
template <typename Record>
bool descriptorsOpen(const Record& record) {
    for (const auto& fd : record.fds) {
        if (fd.get() < 0) return false;
    }
    return true;
}

// Reads the method's result after a successful status; the problem, or empty.
std::string readResult(const MethodReply& method, const AParcel* reply, ReplyVerdict* verdict) {
    switch (method.shape) {
        case Shape::kVoid:
            return "";
        case Shape::kInt32:
            if (AParcel_readInt32(reply, &verdict->int_result) != STATUS_OK) return "no int result";
            return "";
        case Shape::kInt64: {
            int64_t value = 0;
            if (AParcel_readInt64(reply, &value) != STATUS_OK) return "no long result";
            if (method.creates) {
                if (value == 0) return "a new id of 0 with a successful status";
                verdict->created.push_back({method.kind, value});
            }
            return "";
        }
        case Shape::kInt64Array: {
            std::vector<int64_t> values;
            if (ndk::AParcel_readVector(reply, &values) != STATUS_OK) return "no long[] result";
            return "";
        }
        case Shape::kMemoryRecord: {
            DRAVIK_MEMINFO_HD record;
            if (ndk::AParcel_readData(reply, &record) != STATUS_OK) return "no memory record";
            if (!descriptorsOpen(record)) return "memory record with a closed descriptor";
            verdict->created.push_back({method.kind, record.mem_id});
            return "";
        }
        case Shape::kCommandBufferRecord: {
            DRAVIK_CMDBUF_INFO_HD record;
            if (ndk::AParcel_readData(reply, &record) != STATUS_OK)
                return "no command buffer record";
            if (!descriptorsOpen(record)) return "command buffer record with a closed descriptor";
            verdict->created.push_back({method.kind, record.cmd_buf_id});
            return "";
        }
        case Shape::kDescriptor: {
            ndk::ScopedFileDescriptor fd;
            if (ndk::AParcel_readRequiredParcelFileDescriptor(reply, &fd) != STATUS_OK) {
                return "no descriptor result";
            }
            return "";
        }
        case Shape::kInt32AndNativeHandle: {
            if (AParcel_readInt32(reply, &verdict->int_result) != STATUS_OK) return "no int result";
            NativeHandle handle;
            if (ndk::AParcel_readData(reply, &handle) != STATUS_OK) return "no native handle";
            if (!descriptorsOpen(handle)) return "native handle with a closed descriptor";
            return "";
        }
        case Shape::kVersion: {
            int32_t version = 0;
            if (AParcel_readInt32(reply, &version) != STATUS_OK) return "no version";
            if (version != ITovanDravik::version) return "wrong version";
            return "";
        }
        case Shape::kHash: {
            std::string hash;
            if (ndk::AParcel_readString(reply, &hash) != STATUS_OK) return "no hash";
            if (hash != ITovanDravik::hash) return "wrong hash";
            return "";
        }
    }
    return "unknown reply shape";
}

}  // namespace

bool isTransportStatus(binder_status_t status) {
    switch (status) {
        case STATUS_UNKNOWN_ERROR:
        case STATUS_NO_MEMORY:
        case STATUS_INVALID_OPERATION:
        case STATUS_BAD_VALUE:
        case STATUS_BAD_TYPE:
        case STATUS_NAME_NOT_FOUND:
        case STATUS_PERMISSION_DENIED:
        case STATUS_NO_INIT:
        case STATUS_ALREADY_EXISTS:
        case STATUS_DEAD_OBJECT:
        case STATUS_FAILED_TRANSACTION:
        case STATUS_BAD_INDEX:
        case STATUS_NOT_ENOUGH_DATA:
        case STATUS_WOULD_BLOCK:
        case STATUS_TIMED_OUT:
        case STATUS_UNKNOWN_TRANSACTION:
        case STATUS_FDS_NOT_ALLOWED:
        case STATUS_UNEXPECTED_NULL:
            return true;
        default:
            return false;
    }
}

ReplyVerdict checkReply(transaction_code_t code, const AParcel* reply) {
    ReplyVerdict verdict;
    if (reply == nullptr) {
        verdict.problem = "no reply parcel with STATUS_OK";
        return verdict;
    }
    auto method = replies().find(code);
    if (method == replies().end()) {
        verdict.problem = "a code no method has was answered with STATUS_OK";
        return verdict;
    }
    ndk::ScopedAStatus status;
    if (AParcel_readStatusHeader(reply, status.getR()) != STATUS_OK) {
        verdict.problem = "the reply has no status header";
        return verdict;
    }
    if (!status.isOk()) {
        if (!isException(status.getExceptionCode())) {
            verdict.problem = "exception " + std::to_string(status.getExceptionCode()) +
                              " is not an EX_* code";
        } else if (AParcel_getDataPosition(reply) != AParcel_getDataSize(reply)) {
            verdict.problem = "data after a failed status";
        }
        return verdict;
    }
    verdict.method_succeeded = true;
    verdict.problem = readResult(method->second, reply, &verdict);
    if (verdict.problem.empty() && AParcel_getDataPosition(reply) != AParcel_getDataSize(reply)) {
        verdict.problem = "data after the result";
    }
    return verdict;
}

}  // namespace tessaro_fuzz
