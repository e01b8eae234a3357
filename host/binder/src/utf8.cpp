#include "utf8.h"

#include <cstdint>
#include <cstring>

namespace host_binder {

namespace {

// The number of continuation bytes after a lead byte, or -1 when it cannot start a character.
int continuationCount(uint8_t lead) {
    if (lead < 0x80) return 0;
    if (lead >= 0xc2 && lead <= 0xdf) return 1;
    if (lead >= 0xe0 && lead <= 0xef) return 2;
    if (lead >= 0xf0 && lead <= 0xf4) return 3;
    return -1;  // continuation byte, overlong two-byte lead (c0, c1) or beyond U+10FFFF
}

// The length of the well-formed character at bytes[index], or 0 when there is none.
size_t characterLength(const uint8_t* bytes, size_t length, size_t index) {
    const uint8_t lead = bytes[index];
    const int count = continuationCount(lead);
    if (count < 0 || static_cast<size_t>(count) > length - index - 1) return 0;
    uint32_t code_point = count == 0 ? lead : lead & (0x3f >> count);
    for (int next = 1; next <= count; ++next) {
        const uint8_t byte = bytes[index + next];
        if ((byte & 0xc0) != 0x80) return 0;
        code_point = (code_point << 6) | (byte & 0x3f);
    }
    // Overlong three- and four-byte forms, surrogates, and values past the last plane.
    if (count == 2 && (code_point < 0x800 || (code_point >= 0xd800 && code_point <= 0xdfff))) {
        return 0;
    }
    if (count == 3 && (code_point < 0x10000 || code_point > 0x10ffff)) return 0;
    return static_cast<size_t>(count) + 1;
}

}  // namespace

bool isValidUtf8(const char* text, size_t length) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text);
    constexpr uint64_t kHighBits = 0x8080808080808080ULL;
    for (size_t index = 0; index < length;) {
        // Runs of ASCII, what every interface token and most strings are, eight bytes at a time:
        // every transaction checks its token, so this is on the path of each call.
        uint64_t word = 0;
        if (length - index >= sizeof(word)) {
            std::memcpy(&word, bytes + index, sizeof(word));
            if ((word & kHighBits) == 0) {
                index += sizeof(word);
                continue;
            }
        }
        const size_t character = characterLength(bytes, length, index);
        if (character == 0) return false;
        index += character;
    }
    return true;
}

std::string withInvalidUtf8Replaced(const std::string& text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    std::string replaced;
    for (size_t index = 0; index < text.size();) {
        const size_t character = characterLength(bytes, text.size(), index);
        if (character == 0) {
            replaced += '?';
            ++index;
        } else {
            replaced.append(text, index, character);
            index += character;
        }
    }
    return replaced;
}

}  // namespace host_binder
