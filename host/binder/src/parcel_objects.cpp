// Descriptors and binders in parcels: the C functions, and the copies appendFrom makes.
#include "parcel_objects.h"

#include <android/binder_parcel.h>
#include <errno.h>
#include <fcntl.h>

#include <cstring>
#include <utility>

#include "log.h"

namespace host_binder {

namespace {

constexpr int32_t kNullObject = 0;
constexpr int32_t kPresentObject = 1;

// Reads the marker that precedes every object: whether one follows.
binder_status_t readPresence(const AParcel& parcel, bool* present) {
    int32_t marker = 0;
    binder_status_t status = parcel.readValue(&marker);
    if (status == STATUS_OK) *present = marker != kNullObject;
    return status;
}

}  // namespace

binder_status_t duplicateDescriptor(int fd, int* duplicate) {
    const int copy = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy >= 0) {
        *duplicate = copy;
        return STATUS_OK;
    }
    const int error = errno;
    logError("cannot duplicate descriptor %d: %s", fd, std::strerror(error));
    if (error == EMFILE || error == ENFILE || error == ENOMEM) return STATUS_NO_MEMORY;
    return STATUS_BAD_VALUE;
}

binder_status_t copyParcelObject(const ParcelObject& object, ParcelObject* copy) {
    if (const auto* descriptor = std::get_if<ndk::ScopedFileDescriptor>(&object)) {
        int duplicate = -1;
        binder_status_t status = duplicateDescriptor(descriptor->get(), &duplicate);
        if (status == STATUS_OK) *copy = ndk::ScopedFileDescriptor(duplicate);
        return status;
    }
    *copy = std::get<ndk::SpAIBinder>(object);
    return STATUS_OK;
}

}  // namespace host_binder

using host_binder::logError;
using host_binder::ObjectTag;
using host_binder::ParcelObject;

binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (fd < -1) {
        logError("AParcel_writeParcelFileDescriptor: %d is not a descriptor", fd);
        return STATUS_BAD_VALUE;
    }
    if (fd == -1) return parcel->writeValue(host_binder::kNullObject);
    int duplicate = -1;
    binder_status_t status = host_binder::duplicateDescriptor(fd, &duplicate);
    if (status != STATUS_OK) return status;
    ndk::ScopedFileDescriptor owned(duplicate);
    status = parcel->writeValue(host_binder::kPresentObject);
    if (status != STATUS_OK) return status;
    return parcel->writeObject(ObjectTag::kFileDescriptor, std::move(owned));
}

binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd) {
    if (parcel == nullptr || fd == nullptr) return STATUS_UNEXPECTED_NULL;
    const int32_t start = parcel->dataPosition();
    bool present = false;
    binder_status_t status = host_binder::readPresence(*parcel, &present);
    if (status != STATUS_OK) return status;
    if (!present) {
        *fd = -1;
        return STATUS_OK;
    }
    const ParcelObject* object = nullptr;
    status = parcel->readObject(ObjectTag::kFileDescriptor, &object);
    if (status == STATUS_OK) {
        const int held = std::get<ndk::ScopedFileDescriptor>(*object).get();
        status = host_binder::duplicateDescriptor(held, fd);
    }
    if (status != STATUS_OK) parcel->setDataPosition(start);
    return status;
}

binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (binder == nullptr) return parcel->writeValue(host_binder::kNullObject);
    binder_status_t status = parcel->writeValue(host_binder::kPresentObject);
    if (status != STATUS_OK) return status;
    AIBinder_incStrong(binder);
    return parcel->writeObject(ObjectTag::kBinder, ndk::SpAIBinder(binder));
}

binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder) {
    if (parcel == nullptr || binder == nullptr) return STATUS_UNEXPECTED_NULL;
    const int32_t start = parcel->dataPosition();
    bool present = false;
    binder_status_t status = host_binder::readPresence(*parcel, &present);
    if (status != STATUS_OK) return status;
    if (!present) {
        *binder = nullptr;
        return STATUS_OK;
    }
    const ParcelObject* object = nullptr;
    status = parcel->readObject(ObjectTag::kBinder, &object);
    if (status != STATUS_OK) {
        parcel->setDataPosition(start);
        return status;
    }
    AIBinder* held = std::get<ndk::SpAIBinder>(*object).get();
    AIBinder_incStrong(held);
    *binder = held;
    return STATUS_OK;
}
