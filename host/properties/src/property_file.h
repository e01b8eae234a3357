#pragma once

#include <map>
#include <string>

namespace host_properties {

// Reads a build.prop-style file into values; problems are logged, never fatal.
void loadPropertyFile(const std::string& path, std::map<std::string, std::string>& values);

}  // namespace host_properties
