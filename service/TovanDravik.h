#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravik.h>
#include <android/binder_auto_utils.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "client/CallbackInfo.h"
#include "dravik_mdw.h"
#include "registry/MemInfo.h"
#include "registry/SessionKeyedTable.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

using ::aidl::android::hardware::common::Ashmem;
using ::aidl::android::hardware::common::NativeHandle;

// The one object that serves ITovanDravik. It owns every registry, lock and counter of the
// service; each lock guards the members named after it.
class TovanDravik : public BnTovanDravik {
  public:
    TovanDravik();
    ~TovanDravik() override;

    // The remote interface, in transaction order.
    ndk::ScopedAStatus cmd_build(int64_t in_dravik_id, int64_t in_cmd_id,
                                 int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_cachedAndRun(int64_t in_dravik_id, int64_t in_cmd_id,
                                        const std::vector<int64_t>& in_flushs,
                                        const std::vector<int64_t>& in_invalidates,
                                        int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_cachedAndRunWithType(int64_t in_dravik_id, int64_t in_cmd_id,
                                                const std::vector<int64_t>& in_flushs,
                                                const std::vector<int64_t>& in_invalidates,
                                                int32_t in_type, int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_createSubcmd(int64_t in_dravik_id, int64_t in_cmd_id, int32_t in_type,
                                        int64_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_getRunInfo(int64_t in_dravik_id, int64_t in_cmd_id, int32_t in_type,
                                      int64_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_getRunInfos(int64_t in_dravik_id,
                                       const std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD>& in_params,
                                       std::vector<int64_t>* _aidl_return) override;
    ndk::ScopedAStatus cmd_run(int64_t in_dravik_id, int64_t in_cmd_id,
                               int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_runAsync(int64_t in_dravik_id, int64_t in_cmd_id,
                                    int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_runWithType(int64_t in_dravik_id, int64_t in_cmd_id, int32_t in_type,
                                       int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_runFence(int64_t in_dravik_id, int64_t in_cmd_id, int32_t in_fence_fd,
                                    int64_t in_flags, int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_setDependencyEdge(int64_t in_dravik_id, int64_t in_cmd_id,
                                             int64_t in_predecessor, int64_t in_successor,
                                             int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_setDependencyPack(int64_t in_dravik_id, int64_t in_cmd_id,
                                             int64_t in_main_sub_cmd, int64_t in_appendix_sub_cmd,
                                             int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_setDependencyTightly(int64_t in_dravik_id, int64_t in_cmd_id,
                                                int64_t in_predecessor, int64_t in_successor,
                                                int64_t in_mem_id, int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_setParam(int64_t in_dravik_id, int64_t in_cmd_id, int32_t in_type,
                                    int64_t in_value, int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_setParams(int64_t in_dravik_id,
                                     const std::vector<DRAVIK_CMD_PARAMS_HD>& in_params,
                                     int32_t* _aidl_return) override;
    ndk::ScopedAStatus cmd_wait(int64_t in_dravik_id, int64_t in_cmd_id,
                                int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_cmdBufAlloc(int64_t in_dravik_id, int32_t in_size, int32_t in_align,
                                           DRAVIK_CMDBUF_INFO_HD* _aidl_return) override;
    ndk::ScopedAStatus session_cmdBufFree(int64_t in_dravik_id, int64_t in_cmd_buf_id,
                                          int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_createCmd(int64_t in_dravik_id, int64_t* _aidl_return) override;
    ndk::ScopedAStatus session_createInstance(int64_t* _aidl_return) override;
    ndk::ScopedAStatus session_deleteCmd(int64_t in_dravik_id, int64_t in_cmd_id,
                                         int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_deleteInstance(int64_t in_dravik_id, int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_memAlloc(int64_t in_dravik_id, int32_t in_size, int32_t in_align,
                                        int32_t in_mem_type, int32_t in_mem_flag,
                                        DRAVIK_MEMINFO_HD* _aidl_return) override;
    ndk::ScopedAStatus session_memFlush(int64_t in_dravik_id, int64_t in_mem_id,
                                        int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_memFree(int64_t in_dravik_id, int64_t in_mem_id,
                                       int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_memGetInfoFromHostPtr(int64_t in_dravik_id, int64_t in_mem_id,
                                                     int32_t in_type,
                                                     int64_t* _aidl_return) override;
    ndk::ScopedAStatus session_memImport(int64_t in_dravik_id,
                                         const std::vector<ndk::ScopedFileDescriptor>& in_fds,
                                         int32_t in_size, DRAVIK_MEMINFO_HD* _aidl_return) override;
    ndk::ScopedAStatus session_memInvalidate(int64_t in_dravik_id, int64_t in_mem_id,
                                             int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_memSetParamViaHostPtr(int64_t in_dravik_id, int64_t in_mem_id,
                                                     int32_t in_type, int64_t in_value,
                                                     int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_memUnImport(int64_t in_dravik_id, int64_t in_mem_id,
                                           int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_queryDeviceMetaData(int64_t in_dravik_id, int32_t in_type,
                                                   const Ashmem& in_metadata,
                                                   int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_queryDeviceNum(int64_t in_dravik_id, int32_t in_type,
                                              int64_t* _aidl_return) override;
    ndk::ScopedAStatus session_queryInfo(int64_t in_dravik_id, int32_t in_kind,
                                         int64_t* _aidl_return) override;
    ndk::ScopedAStatus setCallback(
            const std::shared_ptr<ITovanDravikCallback>& in_callback) override;
    ndk::ScopedAStatus subCmd_addCmdBuf(int64_t in_dravik_id, int64_t in_sub_cmd_id,
                                        int64_t in_cmd_buf_id, int32_t in_mode,
                                        int32_t* _aidl_return) override;
    ndk::ScopedAStatus subCmd_getRunInfo(int64_t in_dravik_id, int64_t in_sub_cmd_id,
                                         int32_t in_type, int64_t* _aidl_return) override;
    ndk::ScopedAStatus subCmd_getRunInfos(
            int64_t in_dravik_id, const std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD>& in_params,
            std::vector<int64_t>* _aidl_return) override;
    ndk::ScopedAStatus subCmd_setParam(int64_t in_dravik_id, int64_t in_sub_cmd_id, int32_t in_type,
                                       int64_t in_value, int32_t* _aidl_return) override;
    ndk::ScopedAStatus subCmd_setParams(int64_t in_dravik_id,
                                        const std::vector<DRAVIK_SUBCMD_PARAMS_HD>& in_params,
                                        int32_t* _aidl_return) override;
    ndk::ScopedAStatus session_memGetFdFromHostPtr(
            int64_t in_dravik_id, int64_t in_mem_id, int32_t in_type,
            ndk::ScopedFileDescriptor* _aidl_return) override;
    ndk::ScopedAStatus session_cmdBufAllocWithName(int64_t in_dravik_id, int32_t in_size,
                                                   int32_t in_align, const std::string& in_name,
                                                   int64_t in_extra,
                                                   DRAVIK_CMDBUF_INFO_HD* _aidl_return) override;
    ndk::ScopedAStatus session_memAllocWithName(int64_t in_dravik_id, int32_t in_size,
                                                int32_t in_align, int32_t in_mem_type,
                                                int32_t in_mem_flag, const std::string& in_name,
                                                DRAVIK_MEMINFO_HD* _aidl_return) override;
    ndk::ScopedAStatus cmd_cachedAndRunWithTypeExt(int64_t in_dravik_id, int64_t in_cmd_id,
                                                   const std::vector<int64_t>& in_flushs,
                                                   const std::vector<int64_t>& in_invalidates,
                                                   int32_t in_type,
                                                   std::vector<int64_t>* _aidl_return) override;
    ndk::ScopedAStatus session_memImportWithFlag(
            int64_t in_dravik_id, const std::vector<ndk::ScopedFileDescriptor>& in_fds,
            int64_t in_size, int64_t in_flag, int64_t in_extra,
            DRAVIK_MEMINFO_HD* _aidl_return) override;
    ndk::ScopedAStatus cmd_runFence_v2(int64_t in_dravik_id, int64_t in_cmd_id,
                                       const NativeHandle& in_in_handle, int64_t in_flags,
                                       NativeHandle* out_out_handle,
                                       int32_t* _aidl_return) override;
    ndk::ScopedAStatus unSetCallback(
            const std::shared_ptr<ITovanDravikCallback>& in_callback) override;
    ndk::ScopedAStatus session_memAllocV1(int64_t in_dravik_id, int64_t in_size, int64_t in_align,
                                          int32_t in_mem_type, int64_t in_mem_flag,
                                          const std::string& in_name, int64_t in_extra,
                                          DRAVIK_MEMINFO_HD* _aidl_return) override;
    ndk::ScopedAStatus session_memImportV1(int64_t in_dravik_id,
                                           const std::vector<ndk::ScopedFileDescriptor>& in_fds,
                                           int64_t in_size, int64_t in_flag, int64_t in_extra,
                                           DRAVIK_MEMINFO_HD* _aidl_return) override;

    // Describes the service's state for the platform's dumpsys: the debug switch, the sessions of
    // each client process, the entries in each table and the registered callbacks. Read-only; each
    // lock is taken alone and briefly.
    binder_status_t dump(int fd, const char** args, uint32_t num_args) override;

    // The death recipient's callback; cookie is an OnClientBinderDiedContext.
    static void onClientBinderDied(void* cookie);

    // Session registry: the session id is the driver handle's numeric value.
    uint64_t generateDravikId(dravik_session* session);
    dravik_session* getDravikSession(uint64_t dravik_id);

    // Resource registries, keyed by (session id, id); ids come from service-wide counters.
    uint64_t generateDravikMemId(uint64_t dravik_id, void* mem, int fd, bool shared);
    MemInfo* getDravikMem(uint64_t dravik_id, uint64_t mem_id);
    bool eraseDravikMem(uint64_t owner_id, uint64_t mem_id);
    uint64_t generateDravikCmdId(uint64_t dravik_id, dravik_cmd* cmd);
    dravik_cmd* getDravikCmd(uint64_t dravik_id, uint64_t cmd_id);
    bool eraseDravikCmd(uint64_t dravik_id, uint64_t cmd_id);
    uint64_t generateDravikCmdBufId(uint64_t dravik_id, void* cmd_buf);
    void* getDravikCmdBuf(uint64_t dravik_id, uint64_t cmd_buf_id);
    bool eraseDravikCmdBuf(uint64_t dravik_id, uint64_t cmd_buf_id);
    uint64_t generateDravikSubCmdId(uint64_t dravik_id, dravik_subcmd* sub_cmd);
    dravik_subcmd* getDravikSubCmd(uint64_t dravik_id, uint64_t sub_cmd_id);

    // Run-with-type gate: 0 no typed run, 1 a typed run is in the driver, 2 it has returned.
    void setRunwithtypeFlagFromDravikId(uint64_t dravik_id, uint32_t flag);
    uint32_t getRunwithtypeFlagFromDravikId(uint64_t dravik_id);
    // The wait predicate; caller holds run_flag_lock.
    bool checkCondition(uint64_t dravik_id);
    // Returns once the session's typed run has returned, or after at most 3 seconds.
    void checkRunwithtypeFlag(uint64_t dravik_id);

    // Releases the callback of a dead client, and every session its process left behind.
    void handleClientBinderDeath(const AIBinder* binder);
    // Deletes every session in pid's list through session_deleteInstance; 0 when the last
    // deletion succeeded, -1 when it failed or pid has no list.
    int32_t releaseCrashClient(int32_t pid);

  private:
    // What (session id, mem id) names: the driver session and the memory record, each null when
    // it does not resolve. Both are looked up whatever the other gives; shared memory is found
    // through any session id.
    struct ResolvedMemory {
        dravik_session* session;
        MemInfo* info;
        bool found() const { return session != nullptr && info != nullptr; }
        dravik_mem* mem() const { return static_cast<dravik_mem*>(info->mem); }
    };
    ResolvedMemory resolveMemory(uint64_t dravik_id, uint64_t mem_id);

    // One step of a cached run, reporting through ret like the remote method it calls.
    using CachedRunStep = std::function<ndk::ScopedAStatus(int32_t* ret)>;
    // Flushes, runs and invalidates through the service's own methods, stopping at the first step
    // whose ret is not 0 or whose status is not OK; ret is left as that step wrote it.
    void runWithCacheMaintenance(int64_t in_dravik_id, const std::vector<int64_t>& in_flushs,
                                 const CachedRunStep& run,
                                 const std::vector<int64_t>& in_invalidates, int32_t* ret);

    // The texts of one import method.
    struct ImportTexts {
        const char* invalid_parameters;  // with the session id
        const char* driver_failed;
        const char* success;  // with the session id, newfd, tmp_fd and the new mem id
    };
    // The driver import of one method, given the service's duplicate of the client's descriptor.
    using DriverImport = std::function<dravik_mem*(dravik_session* session, int newfd)>;
    // Imports the first of the client's descriptors through driver_import, files the memory and
    // fills the client's record; record_size is the size the record reports.
    ndk::ScopedAStatus importMemory(const ImportTexts& texts, int64_t in_dravik_id,
                                    const std::vector<ndk::ScopedFileDescriptor>& in_fds,
                                    int32_t record_size, const DriverImport& driver_import,
                                    DRAVIK_MEMINFO_HD* out);

    // Frees and unfiles everything of the session; caller holds session_lock.
    void releaseSessionResources(uint64_t dravik_id, dravik_session* session);
    // The first session in pid's list, if any; takes session_lock.
    std::optional<uint64_t> firstClientSession(int32_t pid);
    // The per-client list edit of a successful deletion; caller holds session_lock.
    void removeFromClientSessions(int32_t pid, uint64_t dravik_id);

    // Memory that the driver has just allocated for a client.
    struct AllocatedMemory {
        uint64_t dravik_id;
        dravik_session* session;
        dravik_mem* mem;
        int32_t mem_type;
        int32_t size;  // as the record reports it
    };
    // Files newly allocated memory by its mem_type and fills the client's record; tmp_fd is the
    // driver's descriptor of shareable memory.
    ndk::ScopedAStatus fileAllocatedMemory(const AllocatedMemory& memory, DRAVIK_MEMINFO_HD* out,
                                           int64_t* tmp_fd);
    // Files a new command buffer and fills the client's record; logs failures with the caller's
    // texts.
    ndk::ScopedAStatus fileCommandBuffer(uint64_t dravik_id, dravik_session* session,
                                         dravik_mem* cmd_buf, int32_t size,
                                         DRAVIK_CMDBUF_INFO_HD* out, int64_t* tmp_fd);

    // Whether binder has a CallbackInfo; caller holds callback_lock.
    bool isRegisteredLocked(const AIBinder* binder) const;

    std::mutex session_lock;
    std::mutex mem_lock;
    std::mutex cmd_lock;
    std::mutex cmd_buf_lock;
    std::mutex subcmd_lock;
    std::mutex pid_sessions_lock;
    std::mutex callback_lock;
    std::recursive_mutex run_flag_lock;
    std::condition_variable_any run_flag_cv;
    std::map<uint64_t, uint32_t> run_flags;
    std::map<uint64_t, dravik_session*> session_table;
    // MemInfo records and pid_sessions lists are deleted by the operations that erase them; the
    // destructor deliberately leaves the ones still filed.
    SessionKeyedTable<MemInfo*> mem_table;
    SessionKeyedTable<dravik_cmd*> cmd_table;
    SessionKeyedTable<void*> cmd_buf_table;
    SessionKeyedTable<dravik_subcmd*> subcmd_table;
    // Guarded by pid_sessions_lock as a whole; deletion edits it under session_lock alone, so every
    // access also holds session_lock, taken after pid_sessions_lock.
    std::map<int32_t, std::vector<uint64_t>*> pid_sessions;
    std::map<int32_t, std::shared_ptr<ITovanDravikCallback>> pid_callbacks;  // never used
    ndk::ScopedAIBinder_DeathRecipient death_recipient;
    uint64_t mem_id_counter = 0;
    uint64_t cmd_id_counter = 0;
    uint64_t cmd_buf_id_counter = 0;
    uint64_t subcmd_id_counter = 0;
    std::unordered_map<const AIBinder*, std::unique_ptr<OnClientBinderDiedContext>> death_contexts;
    std::vector<CallbackInfo> callbacks;
};

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
