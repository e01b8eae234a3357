// The content of an AParcel: a byte stream, a data position, and a side table of the objects
// (descriptors, binders) the stream refers to. A transport carries the bytes as they are and the
// side table apart from them (descriptors as rights, binders as handles), keyed by offset.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <variant>
#include <vector>

namespace host_binder {

// An object held beside the bytes: a descriptor the parcel owns, or a binder it references.
using ParcelObject = std::variant<ndk::ScopedFileDescriptor, ndk::SpAIBinder>;

// What the 4 bytes of the stream at an object's offset hold: which kind of object is there.
enum class ObjectTag : uint32_t {
    kFileDescriptor = 0x46444553,  // "SEDF"
    kBinder = 0x444e4942,          // "BIND"
};

// Every value in the stream takes a multiple of this many bytes.
constexpr size_t kParcelAlignment = 4;

// length rounded up to the alignment.
constexpr size_t alignedSize(size_t length) {
    return (length + kParcelAlignment - 1) / kParcelAlignment * kParcelAlignment;
}

}  // namespace host_binder

// Not safe for concurrent use, as on the platform: one thread fills or reads a parcel at a time.
struct AParcel {
  public:
    AParcel() = default;
    // A parcel prepared for a transaction to target (compared by identity only).
    explicit AParcel(const AIBinder* target) : target_(target) {}
    AParcel(const AParcel&) = delete;
    AParcel& operator=(const AParcel&) = delete;

    int32_t dataSize() const { return static_cast<int32_t>(data_.size()); }
    int32_t dataPosition() const { return static_cast<int32_t>(position_); }
    // Reading moves the position, and reading is allowed on a const parcel.
    void setDataPosition(int32_t position) const { position_ = static_cast<size_t>(position); }
    // Bytes between the position and the end of the data.
    size_t remaining() const { return position_ < data_.size() ? data_.size() - position_ : 0; }
    const AIBinder* target() const { return target_; }
    const std::map<int32_t, host_binder::ParcelObject>& objects() const { return objects_; }

    // Writes length bytes at the position, then zeros up to the alignment; objects whose slots
    // are overwritten are released. STATUS_NO_MEMORY when the parcel would outgrow INT32_MAX.
    binder_status_t write(const void* bytes, size_t length);
    // Writes length bytes, then padded_length - length zeros, at the position.
    binder_status_t writePadded(const void* bytes, size_t length, size_t padded_length);
    // Reads length bytes at the position and moves past them and their padding.
    // STATUS_NOT_ENOUGH_DATA, position unchanged, when they are not all there.
    binder_status_t read(void* bytes, size_t length) const;

    // The length bytes at the position, without moving it; null when they are not all there.
    const uint8_t* peek(size_t length) const {
        return remaining() >= length ? data_.data() + position_ : nullptr;
    }

    template <typename T>
    binder_status_t writeValue(const T& value) {
        return write(&value, sizeof(value));
    }
    template <typename T>
    binder_status_t readValue(T* value) const {
        return read(value, sizeof(*value));
    }

    // Reads an element count: -1 (null) or a count whose elements, at least element_size bytes
    // each, fit in what remains. STATUS_BAD_VALUE, position unchanged, for any other count.
    binder_status_t readLength(size_t element_size, int32_t* length) const;

    // Writes object's slot at the position and keeps object in the side table.
    binder_status_t writeObject(host_binder::ObjectTag tag, host_binder::ParcelObject object);
    // The object whose slot is at the position, moving past it. STATUS_BAD_VALUE, position
    // unchanged, when the position holds no object of that kind.
    binder_status_t readObject(host_binder::ObjectTag tag,
                               const host_binder::ParcelObject** object) const;

    // Back to empty: no data, no objects, position 0.
    void reset();
    // The bytes, as a transport sends them beside objects().
    const std::vector<uint8_t>& data() const { return data_; }
    // Replaces the content with received bytes and the objects whose slots they hold; the
    // position goes to 0. The transport has checked that every slot lies inside the bytes.
    void adopt(std::vector<uint8_t> data, std::map<int32_t, host_binder::ParcelObject> objects);
    // Writes bytes [start, start + size) of from, and copies of their objects, at the position.
    binder_status_t appendFrom(const AParcel& from, int32_t start, int32_t size);
    // Copies length bytes of plain data from start into buffer.
    binder_status_t marshal(uint8_t* buffer, size_t start, size_t length) const;
    // Replaces the content with length bytes of plain data; the position ends after them.
    binder_status_t unmarshal(const uint8_t* buffer, size_t length);

  private:
    // Drops the objects whose slots overlap the bytes [start, end).
    void releaseObjectsIn(size_t start, size_t end);

    std::vector<uint8_t> data_;
    mutable size_t position_ = 0;
    std::map<int32_t, host_binder::ParcelObject> objects_;  // slot offset -> object
    const AIBinder* target_ = nullptr;
};
