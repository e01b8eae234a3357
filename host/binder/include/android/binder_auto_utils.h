/**
 * C++ owners of the binder NDK's C objects (header only): each releases what it owns when it goes,
 * is movable, and copies only where copying has a meaning (SpAIBinder adds a strong reference).
 */
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

namespace ndk {

/**
 * A strong reference to a binder. Copying adds a strong reference; destruction or set() releases
 * the one held. Comparisons order binders by identity.
 */
class SpAIBinder {
  public:
    SpAIBinder() = default;
    /** Implicit, so that nullptr can stand for an empty reference. */
    SpAIBinder(std::nullptr_t) {}
    /** Takes over the strong reference that binder carries (adds none). */
    explicit SpAIBinder(AIBinder* binder) : binder_(binder) {}
    SpAIBinder(const SpAIBinder& other) : binder_(other.binder_) { AIBinder_incStrong(binder_); }
    SpAIBinder(SpAIBinder&& other) noexcept : binder_(other.binder_) { other.binder_ = nullptr; }
    ~SpAIBinder() { set(nullptr); }

    SpAIBinder& operator=(const SpAIBinder& other) {
        if (this != &other) {
            AIBinder_incStrong(other.binder_);
            set(other.binder_);
        }
        return *this;
    }
    SpAIBinder& operator=(SpAIBinder&& other) noexcept {
        if (this != &other) {
            AIBinder* taken = other.binder_;
            other.binder_ = nullptr;
            set(taken);
        }
        return *this;
    }

    /** The binder, still owned by this object. */
    AIBinder* get() const { return binder_; }

    /**
     * Releases the reference held and takes over the one that binder carries. Releasing may run
     * the old binder's onDestroy, so the new value is stored first.
     */
    void set(AIBinder* binder) {
        AIBinder* previous = binder_;
        binder_ = binder;
        if (previous != nullptr) AIBinder_decStrong(previous);
    }

    /**
     * The address of the held pointer, for C functions that return a new reference through an
     * out parameter. The reference held before is overwritten, not released.
     */
    AIBinder** getR() { return &binder_; }

    bool operator==(const SpAIBinder& other) const { return binder_ == other.binder_; }
    bool operator!=(const SpAIBinder& other) const { return binder_ != other.binder_; }
    bool operator<(const SpAIBinder& other) const { return AIBinder_lt(binder_, other.binder_); }
    bool operator>(const SpAIBinder& other) const { return other < *this; }
    bool operator<=(const SpAIBinder& other) const { return !(other < *this); }
    bool operator>=(const SpAIBinder& other) const { return !(*this < other); }

  private:
    AIBinder* binder_ = nullptr;
};

namespace impl {

/**
 * Owns one resource of type T that Destroy releases; kEmpty means "owns nothing". Move-only.
 */
template <typename T, void (*Destroy)(T), T kEmpty>
class ScopedAResource {
  public:
    explicit ScopedAResource(T resource = kEmpty) : resource_(resource) {}
    ~ScopedAResource() { set(kEmpty); }

    ScopedAResource(const ScopedAResource&) = delete;
    ScopedAResource& operator=(const ScopedAResource&) = delete;
    ScopedAResource(ScopedAResource&& other) noexcept : resource_(other.release()) {}
    ScopedAResource& operator=(ScopedAResource&& other) noexcept {
        if (this != &other) set(other.release());
        return *this;
    }

    /** The resource, still owned by this object. */
    T get() const { return resource_; }

    /**
     * The address of the held resource, for C functions that store a new one through an out
     * parameter or take one in and out. What is held is overwritten, not released.
     */
    T* getR() { return &resource_; }

    /** Releases what is held (unless it is resource itself) and owns resource. */
    void set(T resource) {
        if (resource == resource_) return;
        T previous = resource_;
        resource_ = resource;
        if (previous != kEmpty) Destroy(previous);
    }

    /** Gives up ownership: the caller owns the result, this object owns nothing. */
    T release() {
        T resource = resource_;
        resource_ = kEmpty;
        return resource;
    }

  private:
    T resource_;
};

}  // namespace impl

namespace internal {
/**
 * Closes fd, keeping errno as it was: a destructor must not disturb the caller's error. A close
 * that fails is reported to the system log.
 */
inline void closeDescriptor(int fd) {
    const int saved_errno = errno;
    if (::close(fd) != 0) syslog(LOG_ERR, "Could not close FD %d: %s", fd, strerror(errno));
    errno = saved_errno;
}
}  // namespace internal

/** Owns a parcel (AParcel_delete). */
class ScopedAParcel : public impl::ScopedAResource<AParcel*, AParcel_delete, nullptr> {
  public:
    explicit ScopedAParcel(AParcel* parcel = nullptr) : ScopedAResource(parcel) {}
    ScopedAParcel(ScopedAParcel&&) = default;
    ScopedAParcel& operator=(ScopedAParcel&&) = default;
};

/**
 * Owns a status (AStatus_delete). A default-constructed one holds no status and is not ok.
 */
class ScopedAStatus : public impl::ScopedAResource<AStatus*, AStatus_delete, nullptr> {
  public:
    explicit ScopedAStatus(AStatus* status = nullptr) : ScopedAResource(status) {}
    ScopedAStatus(ScopedAStatus&&) = default;
    ScopedAStatus& operator=(ScopedAStatus&&) = default;

    bool isOk() const { return get() != nullptr && AStatus_isOk(get()); }
    binder_exception_t getExceptionCode() const { return AStatus_getExceptionCode(get()); }
    int32_t getServiceSpecificError() const { return AStatus_getServiceSpecificError(get()); }
    binder_status_t getStatus() const { return AStatus_getStatus(get()); }
    /** The message, owned by the held status. */
    const char* getMessage() const { return AStatus_getMessage(get()); }
    std::string getDescription() const {
        const char* description = AStatus_getDescription(get());
        std::string copy = description;
        AStatus_deleteDescription(description);
        return copy;
    }

    static ScopedAStatus ok() { return ScopedAStatus(AStatus_newOk()); }
    static ScopedAStatus fromExceptionCode(binder_exception_t exception) {
        return ScopedAStatus(AStatus_fromExceptionCode(exception));
    }
    static ScopedAStatus fromExceptionCodeWithMessage(binder_exception_t exception,
                                                      const char* message) {
        return ScopedAStatus(AStatus_fromExceptionCodeWithMessage(exception, message));
    }
    static ScopedAStatus fromServiceSpecificError(int32_t serviceSpecific) {
        return ScopedAStatus(AStatus_fromServiceSpecificError(serviceSpecific));
    }
    static ScopedAStatus fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                             const char* message) {
        return ScopedAStatus(AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, message));
    }
    static ScopedAStatus fromStatus(binder_status_t status) {
        return ScopedAStatus(AStatus_fromStatus(status));
    }
};

/** Owns a death recipient (AIBinder_DeathRecipient_delete). */
class ScopedAIBinder_DeathRecipient
    : public impl::ScopedAResource<AIBinder_DeathRecipient*, AIBinder_DeathRecipient_delete,
                                   nullptr> {
  public:
    explicit ScopedAIBinder_DeathRecipient(AIBinder_DeathRecipient* recipient = nullptr)
        : ScopedAResource(recipient) {}
    ScopedAIBinder_DeathRecipient(ScopedAIBinder_DeathRecipient&&) = default;
    ScopedAIBinder_DeathRecipient& operator=(ScopedAIBinder_DeathRecipient&&) = default;
};

/** Owns a weak reference to a binder (AIBinder_Weak_delete). */
class ScopedAIBinder_Weak
    : public impl::ScopedAResource<AIBinder_Weak*, AIBinder_Weak_delete, nullptr> {
  public:
    explicit ScopedAIBinder_Weak(AIBinder_Weak* weak = nullptr) : ScopedAResource(weak) {}
    ScopedAIBinder_Weak(ScopedAIBinder_Weak&&) = default;
    ScopedAIBinder_Weak& operator=(ScopedAIBinder_Weak&&) = default;

    /** A strong reference to the binder while it lives; an empty one after. */
    SpAIBinder promote() const { return SpAIBinder(AIBinder_Weak_promote(get())); }
};

/**
 * Owns a file descriptor (closed on destruction); -1 means none. Move-only; dup() makes an
 * independent copy. Comparisons compare descriptor numbers.
 */
class ScopedFileDescriptor : public impl::ScopedAResource<int, internal::closeDescriptor, -1> {
  public:
    explicit ScopedFileDescriptor(int fd = -1) : ScopedAResource(fd) {}
    ScopedFileDescriptor(ScopedFileDescriptor&&) = default;
    ScopedFileDescriptor& operator=(ScopedFileDescriptor&&) = default;

    /** A new descriptor for the same open file (close-on-exec), or an empty one on failure. */
    ScopedFileDescriptor dup() const {
        return ScopedFileDescriptor(get() < 0 ? -1 : ::fcntl(get(), F_DUPFD_CLOEXEC, 0));
    }

    bool operator==(const ScopedFileDescriptor& other) const { return get() == other.get(); }
    bool operator!=(const ScopedFileDescriptor& other) const { return get() != other.get(); }
    bool operator<(const ScopedFileDescriptor& other) const { return get() < other.get(); }
    bool operator>(const ScopedFileDescriptor& other) const { return get() > other.get(); }
    bool operator<=(const ScopedFileDescriptor& other) const { return get() <= other.get(); }
    bool operator>=(const ScopedFileDescriptor& other) const { return get() >= other.get(); }
};

}  // namespace ndk
