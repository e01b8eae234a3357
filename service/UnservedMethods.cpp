// Methods whose driver work is not wired into the service yet. Until it is, each answers as for
// a session id that does not resolve: ret -1 or value 0 with an OK status, and the exception that
// a failed creation reports.
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

ndk::ScopedAStatus TovanDravik::cmd_build(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                          int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

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

ndk::ScopedAStatus TovanDravik::cmd_createSubcmd(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                                 int32_t /*in_type*/, int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
}

ndk::ScopedAStatus TovanDravik::cmd_getRunInfo(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                               int32_t /*in_type*/, int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_getRunInfos(
        int64_t /*in_dravik_id*/, const std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD>& /*in_params*/,
        std::vector<int64_t>* _aidl_return) {
    _aidl_return->push_back(-1);
    return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
}

ndk::ScopedAStatus TovanDravik::cmd_run(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                        int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_runAsync(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                             int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_runWithType(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                                int32_t /*in_type*/, int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_runFence(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                             int32_t /*in_fence_fd*/, int64_t /*in_flags*/,
                                             int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setDependencyEdge(int64_t /*in_dravik_id*/,
                                                      int64_t /*in_cmd_id*/,
                                                      int64_t /*in_predecessor*/,
                                                      int64_t /*in_successor*/,
                                                      int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setDependencyPack(int64_t /*in_dravik_id*/,
                                                      int64_t /*in_cmd_id*/,
                                                      int64_t /*in_main_sub_cmd*/,
                                                      int64_t /*in_appendix_sub_cmd*/,
                                                      int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setDependencyTightly(
        int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/, int64_t /*in_predecessor*/,
        int64_t /*in_successor*/, int64_t /*in_mem_id*/, int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setParam(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                             int32_t /*in_type*/, int64_t /*in_value*/,
                                             int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_setParams(
        int64_t /*in_dravik_id*/, const std::vector<DRAVIK_CMD_PARAMS_HD>& /*in_params*/,
        int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::cmd_wait(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
                                         int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_createCmd(int64_t /*in_dravik_id*/, int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
}

ndk::ScopedAStatus TovanDravik::session_deleteCmd(int64_t /*in_dravik_id*/, int64_t /*in_cmd_id*/,
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

ndk::ScopedAStatus TovanDravik::subCmd_addCmdBuf(int64_t /*in_dravik_id*/,
                                                 int64_t /*in_sub_cmd_id*/,
                                                 int64_t /*in_cmd_buf_id*/, int32_t /*in_mode*/,
                                                 int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_getRunInfo(int64_t /*in_dravik_id*/,
                                                  int64_t /*in_sub_cmd_id*/, int32_t /*in_type*/,
                                                  int64_t* _aidl_return) {
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_getRunInfos(
        int64_t /*in_dravik_id*/, const std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD>& /*in_params*/,
        std::vector<int64_t>* _aidl_return) {
    _aidl_return->push_back(-1);
    return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
}

ndk::ScopedAStatus TovanDravik::subCmd_setParam(int64_t /*in_dravik_id*/, int64_t /*in_sub_cmd_id*/,
                                                int32_t /*in_type*/, int64_t /*in_value*/,
                                                int32_t* _aidl_return) {
    *_aidl_return = -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::subCmd_setParams(
        int64_t /*in_dravik_id*/, const std::vector<DRAVIK_SUBCMD_PARAMS_HD>& /*in_params*/,
        int32_t* _aidl_return) {
    *_aidl_return = -1;
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
