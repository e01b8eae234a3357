// Reads a fuzz input front to back as little-endian integers and byte runs. Past the end every
// read gives zeros, so any input decodes to something; the seed generator writes the same layout.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessaro_fuzz {

class ByteReader {
  public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), end_(data + size) {}

    bool empty() const { return data_ == end_; }
    size_t remaining() const { return static_cast<size_t>(end_ - data_); }

    uint8_t u8() { return static_cast<uint8_t>(read(1)); }
    uint16_t u16() { return static_cast<uint16_t>(read(2)); }
    uint32_t u32() { return static_cast<uint32_t>(read(4)); }
    uint64_t u64() { return read(8); }

    // Up to length bytes, fewer when the input ends first.
    std::vector<uint8_t> bytes(size_t length) {
        const uint8_t* start = data_;
        data_ += std::min(length, remaining());
        return std::vector<uint8_t>(start, data_);
    }
    std::string text(size_t length) {
        const std::vector<uint8_t> raw = bytes(length);
        return std::string(raw.begin(), raw.end());
    }

  private:
    uint64_t read(size_t width) {
        uint64_t value = 0;
        for (size_t index = 0; index < width && !empty(); ++index) {
            value |= uint64_t{*data_++} << (8 * index);
        }
        return value;
    }

    const uint8_t* data_;  // the next byte
    const uint8_t* end_;
};

}  // namespace tessaro_fuzz
