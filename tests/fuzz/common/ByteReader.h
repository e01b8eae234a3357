// Reads a fuzz input front to back as little-endian integers and byte runs. Past the end every
// read gives zeros, so any input decodes to something; the seed generator writes the same layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessaro_fuzz {

class ByteReader {
  public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool empty() const { return position_ >= size_; }
    size_t remaining() const { return empty() ? 0 : size_ - position_; }

    uint8_t u8() { return static_cast<uint8_t>(read(1)); }
    uint16_t u16() { return static_cast<uint16_t>(read(2)); }
    uint32_t u32() { return static_cast<uint32_t>(read(4)); }
    uint64_t u64() { return read(8); }

    // Up to length bytes, fewer when the input ends first.
    std::vector<uint8_t> bytes(size_t length) {
        const size_t taken = length < remaining() ? length : remaining();
        std::vector<uint8_t> out(data_ + position_, data_ + position_ + taken);
        position_ += taken;
        return out;
    }
    std::string text(size_t length) {
        const std::vector<uint8_t> raw = bytes(length);
        return std::string(raw.begin(), raw.end());
    }

  private:
    uint64_t read(size_t width) {
        uint64_t value = 0;
        for (size_t index = 0; index < width && !empty(); ++index, ++position_) {
            value |= static_cast<uint64_t>(data_[position_]) << (8 * index);
        }
        return value;
    }

    const uint8_t* data_;
    size_t size_;
    size_t position_ = 0;
};

}  // namespace tessaro_fuzz
