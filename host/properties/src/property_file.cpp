#include "property_file.h"

#include "property_store.h"

#include <android/log.h>
#include <cutils/properties.h>

#include <fstream>

namespace host_properties {
namespace {

constexpr const char* kLogTag = "host_properties";

std::string trim(const std::string& text) {
    const char* blanks = " \t\r";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return "";
    size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

}  // namespace

void loadPropertyFile(const std::string& path, std::map<std::string, std::string>& values) {
    std::ifstream file(path);
    if (!file) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "cannot read properties file %s",
                            path.c_str());
        return;
    }
    std::string line;
    int line_number = 0;
    while (std::getline(file, line)) {
        ++line_number;
        std::string text = trim(line);
        if (text.empty() || text[0] == '#') continue;
        size_t equals = text.find('=');
        if (equals == std::string::npos) {
            __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s:%d: no '=' in line", path.c_str(),
                                line_number);
            continue;
        }
        std::string key = trim(text.substr(0, equals));
        std::string value = trim(text.substr(equals + 1));
        if (key.empty() || key.size() > kMaxKeyLength) {
            __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s:%d: bad key", path.c_str(),
                                line_number);
            continue;
        }
        if (value.size() >= PROPERTY_VALUE_MAX) {
            __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s:%d: value of %s is too long",
                                path.c_str(), line_number, key.c_str());
            continue;
        }
        values[key] = value;
    }
}

}  // namespace host_properties
