#include "parcel.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "log.h"
#include "parcel_objects.h"

using host_binder::alignedSize;
using host_binder::ObjectTag;
using host_binder::ParcelObject;

namespace {

constexpr size_t kMaxDataSize = INT32_MAX;
constexpr size_t kSlotSize = sizeof(ObjectTag);
// Bytes a parcel reserves on its first write.
constexpr size_t kInitialCapacity = 256;

bool tagMatches(ObjectTag tag, const ParcelObject& object) {
    return tag == ObjectTag::kFileDescriptor
                   ? std::holds_alternative<ndk::ScopedFileDescriptor>(object)
                   : std::holds_alternative<ndk::SpAIBinder>(object);
}

}  // namespace

binder_status_t AParcel::write(const void* bytes, size_t length) {
    if (length > kMaxDataSize) return STATUS_NO_MEMORY;
    return writePadded(bytes, length, alignedSize(length));
}

binder_status_t AParcel::writePadded(const void* bytes, size_t length, size_t padded_length) {
    if (position_ > kMaxDataSize || padded_length > kMaxDataSize - position_) {
        host_binder::logError("AParcel: a write of %zu bytes at %zu exceeds the parcel size limit",
                              padded_length, position_);
        return STATUS_NO_MEMORY;
    }
    const size_t end = position_ + padded_length;
    try {
        // Room for a typical transaction at once, instead of growing through every small size.
        if (data_.capacity() == 0) data_.reserve(std::max(end, kInitialCapacity));
        if (position_ == data_.size()) {
            // Appending, as nearly every write does: the bytes go straight in, and no object can
            // lie beyond the end.
            const auto* first = static_cast<const uint8_t*>(bytes);
            data_.insert(data_.end(), first, first + length);
            data_.insert(data_.end(), padded_length - length, uint8_t{0});
            position_ = end;
            return STATUS_OK;
        }
        if (end > data_.size()) data_.resize(end);
    } catch (const std::bad_alloc&) {
        return STATUS_NO_MEMORY;
    }
    releaseObjectsIn(position_, end);
    if (length > 0) std::memcpy(data_.data() + position_, bytes, length);
    if (padded_length > length)
        std::memset(data_.data() + position_ + length, 0, padded_length - length);
    position_ = end;
    return STATUS_OK;
}

binder_status_t AParcel::read(void* bytes, size_t length) const {
    const size_t padded_length = alignedSize(length);
    if (length > kMaxDataSize || remaining() < padded_length) return STATUS_NOT_ENOUGH_DATA;
    if (length > 0) std::memcpy(bytes, data_.data() + position_, length);
    position_ += padded_length;
    return STATUS_OK;
}

binder_status_t AParcel::readLength(size_t element_size, int32_t* length) const {
    const size_t start = position_;
    int32_t count = 0;
    binder_status_t status = readValue(&count);
    if (status != STATUS_OK) return status;
    if (count < -1 || (count > 0 && static_cast<size_t>(count) > remaining() / element_size)) {
        host_binder::logError("AParcel: element count %d at offset %zu does not fit the parcel",
                              count, start);
        position_ = start;
        return STATUS_BAD_VALUE;
    }
    *length = count;
    return STATUS_OK;
}

binder_status_t AParcel::writeObject(ObjectTag tag, ParcelObject object) {
    const size_t offset = position_;
    binder_status_t status = writeValue(tag);
    if (status != STATUS_OK) return status;
    objects_.emplace(static_cast<int32_t>(offset), std::move(object));
    return STATUS_OK;
}

binder_status_t AParcel::readObject(ObjectTag tag, const ParcelObject** object) const {
    const size_t offset = position_;
    ObjectTag found_tag{};
    binder_status_t status = readValue(&found_tag);
    if (status != STATUS_OK) return status;
    auto found = objects_.find(static_cast<int32_t>(offset));
    if (found_tag != tag || found == objects_.end() || !tagMatches(tag, found->second)) {
        host_binder::logError("AParcel: no %s at offset %zu",
                              tag == ObjectTag::kBinder ? "binder" : "descriptor", offset);
        position_ = offset;
        return STATUS_BAD_VALUE;
    }
    *object = &found->second;
    return STATUS_OK;
}

void AParcel::releaseObjectsIn(size_t start, size_t end) {
    if (objects_.empty()) return;
    // A slot starting up to kSlotSize - 1 bytes before start still overlaps.
    const size_t first = start >= kSlotSize ? start - kSlotSize + 1 : 0;
    auto begin = objects_.lower_bound(static_cast<int32_t>(first));
    auto finish = objects_.lower_bound(static_cast<int32_t>(end));
    if (begin == finish) return;
    // Released only once the table is consistent again: releasing a binder may run user code.
    std::vector<ParcelObject> released;
    for (auto entry = begin; entry != finish; ++entry) released.push_back(std::move(entry->second));
    objects_.erase(begin, finish);
}

void AParcel::reset() {
    std::map<int32_t, ParcelObject> released;
    released.swap(objects_);
    data_.clear();
    position_ = 0;
}

void AParcel::adopt(std::vector<uint8_t> data, std::map<int32_t, ParcelObject> objects) {
    std::map<int32_t, ParcelObject> released;
    released.swap(objects_);
    data_ = std::move(data);
    objects_ = std::move(objects);
    position_ = 0;
}

binder_status_t AParcel::appendFrom(const AParcel& from, int32_t start, int32_t size) {
    if (start < 0 || size < 0 || start > from.dataSize() - size) {
        host_binder::logError("AParcel_appendFrom: range %d+%d outside the %d bytes of data", start,
                              size, from.dataSize());
        return STATUS_BAD_VALUE;
    }
    const auto range_start = static_cast<size_t>(start);
    const size_t range_end = range_start + static_cast<size_t>(size);
    std::vector<std::pair<size_t, ParcelObject>> copies;
    for (const auto& [offset, object] : from.objects_) {
        const auto slot_start = static_cast<size_t>(offset);
        if (slot_start + kSlotSize <= range_start || slot_start >= range_end) continue;
        if (slot_start < range_start || slot_start + kSlotSize > range_end) {
            host_binder::logError("AParcel_appendFrom: the range cuts the object at offset %d",
                                  offset);
            return STATUS_BAD_VALUE;
        }
        ParcelObject copy;
        binder_status_t status = host_binder::copyParcelObject(object, &copy);
        if (status != STATUS_OK) return status;
        copies.emplace_back(slot_start - range_start, std::move(copy));
    }
    // from may be this parcel, whose bytes the write below can move.
    const std::vector<uint8_t> bytes(from.data_.begin() + start, from.data_.begin() + start + size);
    const size_t destination = position_;
    binder_status_t status = writePadded(bytes.data(), bytes.size(), bytes.size());
    if (status != STATUS_OK) return status;
    for (auto& [relative_offset, object] : copies) {
        objects_.emplace(static_cast<int32_t>(destination + relative_offset), std::move(object));
    }
    return STATUS_OK;
}

binder_status_t AParcel::marshal(uint8_t* buffer, size_t start, size_t length) const {
    if (!objects_.empty()) {
        host_binder::logError("AParcel_marshal: the parcel holds descriptors or binders");
        return STATUS_INVALID_OPERATION;
    }
    if (start > data_.size() || length > data_.size() - start) {
        host_binder::logError("AParcel_marshal: range %zu+%zu outside the %zu bytes of data", start,
                              length, data_.size());
        return STATUS_BAD_VALUE;
    }
    if (length > 0) std::memcpy(buffer, data_.data() + start, length);
    return STATUS_OK;
}

binder_status_t AParcel::unmarshal(const uint8_t* buffer, size_t length) {
    if (length > kMaxDataSize) {
        host_binder::logError("AParcel_unmarshal: %zu bytes exceed the parcel size limit", length);
        return STATUS_BAD_VALUE;
    }
    reset();
    try {
        data_.assign(buffer, buffer + length);
    } catch (const std::bad_alloc&) {
        return STATUS_NO_MEMORY;
    }
    position_ = length;
    return STATUS_OK;
}
