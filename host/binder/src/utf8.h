// UTF-8 validation of the strings that parcels carry.
#pragma once

#include <cstddef>
#include <string>

namespace host_binder {

// Whether the length bytes at text are well-formed UTF-8: no stray continuation bytes, no
// truncated or overlong sequences, no surrogates, nothing above U+10FFFF.
bool isValidUtf8(const char* text, size_t length);

// text with every byte that is not part of a well-formed character replaced by '?'.
std::string withInvalidUtf8Replaced(const std::string& text);

}  // namespace host_binder
