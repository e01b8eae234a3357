// Methods whose driver work is not wired into the service yet. Until it is, each answers as for
// a session id that does not resolve: ret -1 or value 0 with an OK status, and the exception that
// a failed creation reports.
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::cmd_cachedAndRun(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                                 const std::vector<int64_t>& /*in_flushs*/,
                                                 const std::vector<int64_t>& /*in_invalidates*/,
                                                 int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_cachedAndRunWithType(
        int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/, const std::vector<int64_t>& /*in_flushs*/,
        const std::vector<int64_t>& /*in_invalidates*/, int32_t /*in_type*/,
        int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memFlush(int64_t /*in_dravik_id*/, int64_t /*in_mem_id*/,
                                                 int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memGetInfoFromHostPtr(int64_t /*in_dravik_id*/,
                                                              int64_t /*in_mem_id*/,
                                                              int32_t /*in_type*/,
                                                              int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memImport(
        int64_t /*in_dravik_id*/, const std::vector<ndk::ScopedFileDescriptor>& /*in_fds*/,
        int32_t /*in_size*/, DRAVIK_MEMINFO_HD* /*_aidl_return*/) {
    return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
}

ndk::ScopedAStatus TovanDravik::session_memInvalidate(int64_t /*in_dravik_id*/,
                                                      int64_t /*in_mem_id*/,
                                                      int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memSetParamViaHostPtr(int64_t /*in_dravik_id*/,
                                                              int64_t /*in_mem_id*/,
                                                              int32_t /*in_type*/,
                                                              int64_t /*in_value*/,
                                                              int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memUnImport(int64_t /*in_dravik_id*/, int64_t /*in_mem_id*/,
                                                    int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_queryDeviceMetaData(int64_t /*in_dravik_id*/,
                                                            int32_t /*in_type*/,
                                                            const Ashmem& /*in_metadata*/,
                                                            int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_queryDeviceNum(int64_t /*in_dravik_id*/,
                                                       int32_t /*in_type*/, int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_queryInfo(int64_t /*in_dravik_id*/, int32_t /*in_kind*/,
                                                  int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memGetFdFromHostPtr(
        int64_t /*in_dravik_id*/, int64_t /*in_mem_id*/, int32_t /*in_type*/,
        ndk::ScopedFileDescriptor* /*_aidl_return*/) {
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_cachedAndRunWithTypeExt(
        int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/, const std::vector<int64_t>& /*in_flushs*/,
        const std::vector<int64_t>& /*in_invalidates*/, int32_t /*in_type*/,
        std::vector<int64_t>* /*_aidl_return*/) {
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memImportWithFlag(
        int64_t /*in_dravik_id*/, const std::vector<ndk::ScopedFileDescriptor>& /*in_fds*/,
        int64_t /*in_size*/, int64_t /*in_flag*/, int64_t /*in_extra*/,
        DRAVIK_MEMINFO_HD* /*_aidl_return*/) {
    return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
}

ndk::ScopedAStatus TovanDravik::cmd_runFence_v2(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                                const NativeHandle& /*in_in_handle*/,
                                                int64_t /*in_flags*/,
                                                NativeHandle* /*out_out_handle*/,
                                                int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memImportV1(
        int64_t /*in_dravik_id*/, const std::vector<ndk::ScopedFileDescriptor>& /*in_fds*/,
        int64_t /*in_size*/, int64_t /*in_flag*/, int64_t /*in_extra*/,
        DRAVIK_MEMINFO_HD* /*_aidl_return*/) {
    return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
