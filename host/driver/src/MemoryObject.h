// One memory object of a session: an allocation, an import or a command buffer. It owns its
// descriptor, its host mapping and its device address range; what callers may set on it after
// creation is atomic, so queries and parameter calls need no lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "DeviceAddressSpace.h"
#include "HostMapping.h"
#include "LiveObjects.h"
#include "UniqueDescriptor.h"

namespace dravik::reference {

enum class MemoryKind { kAllocation, kImport, kCommandBuffer };

// What the caller asked for, kept for the information queries.
struct MemoryDescription {
    MemoryKind kind = MemoryKind::kAllocation;
    uint64_t size = 0;
    uint64_t alignment = 0;
    int32_t mem_type = 0;
    int64_t flag = 0;
    int64_t extra = 0;
    std::string name;
};

class MemoryObject {
  public:
    MemoryObject(MemoryDescription description, UniqueDescriptor descriptor, HostMapping mapping,
                 DeviceAddressRange device_range);

    MemoryKind kind() const { return description_.kind; }
    uint64_t size() const { return description_.size; }
    const std::string& name() const { return description_.name; }
    uint64_t deviceAddress() const { return device_range_.address(); }
    void* hostAddress() const { return mapping_.address(); }
    bool shareable() const;
    // Whether the file behind the host mapping still holds all of it. An import's file belongs to
    // its owner, who may shrink it: touching the mapping past the file's end would fault the
    // process, so runs check this first. The driver's own files are sealed against shrinking.
    bool fileHoldsMapping() const;

    // dravikSession_memGetInfoFromHostPtr; throws DriverError(EINVAL) for an unknown kind.
    int64_t information(int32_t kind) const;
    // dravikSession_memSetParamViaHostPtr; throws DriverError(EINVAL) for a kind or value refused.
    void setParameter(int32_t kind, int64_t value);

    void recordFlush() { flushes_.fetch_add(1); }
    void recordInvalidate() { invalidates_.fetch_add(1); }
    int64_t flushes() const { return flushes_.load(); }
    int64_t invalidates() const { return invalidates_.load(); }

    // Set once the session let go of the object; a holder that still sees it must not use it.
    void markReleased() { released_.store(true); }
    bool released() const { return released_.load(); }

  private:
    // First, so the object counts as live until everything below is released.
    const LiveObjectToken live_token_;
    const MemoryDescription description_;
    const UniqueDescriptor descriptor_;
    const HostMapping mapping_;
    const DeviceAddressRange device_range_;
    std::atomic<int64_t> user_tag_{0};
    std::atomic<int64_t> cache_mode_{0};
    std::atomic<int64_t> flushes_{0};
    std::atomic<int64_t> invalidates_{0};
    std::atomic<bool> released_{false};
};

}  // namespace dravik::reference
