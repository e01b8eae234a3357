// Making a client's own shareable buffer usable by the accelerator, and undoing that.
#include <unistd.h>

#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
constexpr int32_t kInfoKindDescriptor = 2;
}  // namespace

// The service keeps its duplicate of the client's descriptor (newfd) in the memory record until
// the un-import or the session's sweep closes it. The failures after the duplicate was made
// leave it open, and a failed descriptor query leaves the import in the driver: both deliberate.
ndk::ScopedAStatus TovanDravik::importMemory(const ImportTexts& texts, int64_t in_dravik_id,
                                             const std::vector<ndk::ScopedFileDescriptor>& in_fds,
                                             int32_t record_size, const DriverImport& driver_import,
                                             DRAVIK_MEMINFO_HD* out) {
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr || in_fds.empty()) {
        DRAVIK_LOGE(texts.invalid_parameters, dravik_id);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    // Only the first descriptor is imported; the client keeps its own.
    const int newfd = dup(in_fds.front().get());
    if (newfd < 0) return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    dravik_mem* mem = driver_import(session, newfd);
    if (mem == nullptr) {
        DRAVIK_LOGE("%s", texts.driver_failed);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    const int64_t tmp_fd = dravikSession_memGetInfoFromHostPtr(session, mem, kInfoKindDescriptor);
    if (tmp_fd == 0) {
        DRAVIK_LOGE("dravikSession_memGetInfoFromHostPtr failed,return:%lu", 0UL);
        return ndk::ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }
    const uint64_t id = generateDravikMemId(dravik_id, mem, newfd, false);
    out->size = record_size;
    // tmp_fd stays the driver's; the client gets a duplicate of its own.
    out->fds.emplace_back(dup(static_cast<int>(tmp_fd)));
    out->mem_id = static_cast<int64_t>(id);
    DRAVIK_LOGI(texts.success, dravik_id, newfd, static_cast<int>(tmp_fd), id);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TovanDravik::session_memImport(
        int64_t in_dravik_id, const std::vector<ndk::ScopedFileDescriptor>& in_fds, int32_t in_size,
        DRAVIK_MEMINFO_HD* _aidl_return) {
    ScopedTrace trace("session_memImport");
    static constexpr ImportTexts kTexts = {
            "session_memImport failed due to session nullptr or invalid parameters,id:%lu",
            "session_memImport failed due to mem nullptr",
            "session_memImport dravik_id=%lu, newfd:%d, tmp_fd:%d, mem_id=%lu"};
    return importMemory(
            kTexts, in_dravik_id, in_fds, in_size,
            [in_size](dravik_session* session, int newfd) {
                return dravikSession_memImport(session, newfd, static_cast<uint32_t>(in_size));
            },
            _aidl_return);
}

ndk::ScopedAStatus TovanDravik::session_memImportWithFlag(
        int64_t in_dravik_id, const std::vector<ndk::ScopedFileDescriptor>& in_fds, int64_t in_size,
        int64_t in_flag, int64_t in_extra, DRAVIK_MEMINFO_HD* _aidl_return) {
    ScopedTrace trace("session_memImportWithFlag");
    static constexpr ImportTexts kTexts = {
            "session_memImportWithFlag failed due to session nullptr or invalid parameters,id:%lu",
            "session_memImportWithFlag failed due to mem nullptr",
            "session_memImportWithFlag dravik_id=%lu, newfd:%d, tmp_fd:%d, mem_id=%lu"};
    // The driver takes the size's low 32 bits, as the record does.
    const int32_t size = static_cast<int32_t>(in_size);
    return importMemory(
            kTexts, in_dravik_id, in_fds, size,
            [size, in_flag, in_extra](dravik_session* session, int newfd) {
                return dravikSession_memImportWithFlag(session, newfd, size, in_flag, in_extra);
            },
            _aidl_return);
}

ndk::ScopedAStatus TovanDravik::session_memImportV1(
        int64_t in_dravik_id, const std::vector<ndk::ScopedFileDescriptor>& in_fds, int64_t in_size,
        int64_t in_flag, int64_t in_extra, DRAVIK_MEMINFO_HD* _aidl_return) {
    ScopedTrace trace("session_memImportV1");
    static constexpr ImportTexts kTexts = {
            "session_memImportV1 failed due to session nullptr or invalid parameters,id:%lu",
            "session_memImportV1 failed due to mem nullptr",
            "session_memImportV1 dravik_id=%lu, newfd:%d, tmp_fd:%d, mem_id=%lu"};
    // The driver takes the whole 64-bit size; the record keeps its low 32 bits.
    return importMemory(
            kTexts, in_dravik_id, in_fds, static_cast<int32_t>(in_size),
            [in_size, in_flag, in_extra](dravik_session* session, int newfd) {
                return dravikSession_memImportV1(session, newfd, in_size, in_flag, in_extra);
            },
            _aidl_return);
}

ndk::ScopedAStatus TovanDravik::session_memUnImport(int64_t in_dravik_id, int64_t in_mem_id,
                                                    int32_t* _aidl_return) {
    ScopedTrace trace("session_memUnImport");
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    const uint64_t mem_id = static_cast<uint64_t>(in_mem_id);
    const ResolvedMemory memory = resolveMemory(dravik_id, mem_id);
    if (!memory.found()) {
        DRAVIK_LOGE("session_memUnImport failed! dravik_id=%lu, dravik_mem_id=%lu, ret:%d",
                    dravik_id, mem_id, -1);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const int32_t ret = dravikSession_memUnImport(memory.session, memory.mem());
    DRAVIK_LOGI("session_memUnImport dravik_id=%lu, dravik_mem_id=%lu, ret:%d", dravik_id, mem_id,
                ret);
    if (ret == 0) {
        // Allocated memory has newfd 0, and descriptor 0 is never the service's to close.
        if (memory.info->newfd >= 1) {
            close(memory.info->newfd);
            memory.info->newfd = -1;
        }
        eraseDravikMem(dravik_id, mem_id);
    }
    *_aidl_return = ret;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
