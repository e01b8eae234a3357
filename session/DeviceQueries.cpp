// What a client may ask about the accelerator through one of its sessions: a numbered piece of
// information, the number of devices of a type, and a type's metadata block.
#include <alloca.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cstring>

#include "service/DeviceTypes.h"
#include "service/Logging.h"
#include "service/TovanDravik.h"
#include "service/Trace.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

namespace {
constexpr int32_t kInfoKindMetadataSize = 1;
constexpr size_t kScratchAlignment = 16;

// Whether a regular file behind fd holds at least length bytes. A client's file that is shorter
// than the block would fault the copy into its mapping instead of failing the mapping, so it is
// refused as a mapping that cannot be made. Anything but a regular file (a device's shared-memory
// region) is left to mmap to judge.
bool fileHolds(int fd, int64_t length) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return false;
    return !S_ISREG(status.st_mode) || status.st_size >= length;
}
}  // namespace

ndk::ScopedAStatus TovanDravik::session_queryInfo(int64_t in_dravik_id, int32_t in_kind,
                                                  int64_t* _aidl_return) {
    ScopedTrace trace("session_queryInfo");
    dravik_session* session = getDravikSession(static_cast<uint64_t>(in_dravik_id));
    if (session == nullptr) {
        DRAVIK_LOGE("session_queryInfo failed due to session nullptr! value is %d", 0);
        *_aidl_return = 0;
        return ndk::ScopedAStatus::ok();
    }
    *_aidl_return = dravikSession_queryInfo(session, in_kind);
    return ndk::ScopedAStatus::ok();
}

// The session is resolved before the type is judged, so an unknown session with a bad type logs
// both.
ndk::ScopedAStatus TovanDravik::session_queryDeviceNum(int64_t in_dravik_id, int32_t in_type,
                                                       int64_t* _aidl_return) {
    ScopedTrace trace("session_queryDeviceNum");
    dravik_session* session = getDravikSession(static_cast<uint64_t>(in_dravik_id));
    if (!isDravikDeviceType(in_type)) {
        DRAVIK_LOGE("non dravik device type");
        *_aidl_return = 0;
    } else if (session == nullptr) {
        DRAVIK_LOGE("session_queryDeviceNum failed due to session nullptr!");
        *_aidl_return = 0;
    } else {
        *_aidl_return = dravikSession_queryDeviceNum(session, in_type);
    }
    return ndk::ScopedAStatus::ok();
}

// The block never travels in the reply: it is written into the client's own shared memory, which
// must be exactly the size the driver gives for a block (compared on the low 32 bits).
ndk::ScopedAStatus TovanDravik::session_queryDeviceMetaData(int64_t in_dravik_id, int32_t in_type,
                                                            const Ashmem& in_metadata,
                                                            int32_t* _aidl_return) {
    ScopedTrace trace("session_queryDeviceMetaData");
    if (!isDravikDeviceType(in_type)) {
        DRAVIK_LOGE("non dravik device type");
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const uint64_t dravik_id = static_cast<uint64_t>(in_dravik_id);
    dravik_session* session = getDravikSession(dravik_id);
    if (session == nullptr) {
        DRAVIK_LOGE("session_queryDeviceMetaData failed due to session is nullptr");
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    const int64_t length = dravikSession_queryInfo(session, kInfoKindMetadataSize);
    const uint32_t client_size = static_cast<uint32_t>(in_metadata.size);
    if (static_cast<uint64_t>(length) != static_cast<uint64_t>(client_size)) {
        DRAVIK_LOGE("session_queryDeviceMetaData failed due to buffer size error, size:%u",
                    client_size);
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    // A per-call scratch block on this thread's stack, sized by the driver's answer: concurrent
    // queries share nothing and no heap is touched. The size is deliberately not bounded here.
    const size_t scratch_size =
            (static_cast<size_t>(length) + kScratchAlignment - 1) & ~(kScratchAlignment - 1);
    void* scratch = alloca(scratch_size);
    std::memset(scratch, 0, scratch_size);
    const int32_t result = dravikSession_queryDeviceMetaData(session, in_type, scratch);
    if (result != 0) {
        DRAVIK_LOGE("session_queryDeviceMetaData failed!");
        *_aidl_return = result;
        return ndk::ScopedAStatus::ok();
    }
    const int fd = in_metadata.fd.get();
    void* mapping = fileHolds(fd, length) ? mmap(nullptr, static_cast<size_t>(length),
                                                 PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                                          : MAP_FAILED;
    if (mapping == MAP_FAILED || mapping == nullptr) {
        DRAVIK_LOGE("session_queryDeviceMetaData mmap failed!");
        *_aidl_return = -1;
        return ndk::ScopedAStatus::ok();
    }
    std::memcpy(mapping, scratch, static_cast<size_t>(static_cast<int32_t>(client_size)));
    munmap(mapping, static_cast<size_t>(length));
    DRAVIK_LOGI("session_queryDeviceMetaData dravik_id:%lu, size:%u, fd:%d", dravik_id, client_size,
                fd);
    *_aidl_return = 0;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
