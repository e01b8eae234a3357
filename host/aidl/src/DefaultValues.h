#pragma once

#include "Model.h"

#include <string>

namespace aidl_ndk_generator {

// The value of a field's default, checked against the field's resolved type: booleans take true
// or false, int and long take decimal or 0x-hexadecimal integers that fit (hexadecimal as two's
// complement, so 0xffffffff is an int -1), with an L suffix allowed on longs only. Throws
// SourceError for anything else.
ConstantValue convertDefaultValue(const std::string& file, const Field& field);

}  // namespace aidl_ndk_generator
