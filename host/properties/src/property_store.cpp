#include "property_store.h"

#include <cstdlib>

#include "host_properties.h"
#include "property_file.h"

namespace host_properties {

PropertyStore& PropertyStore::instance() {
    static PropertyStore store;
    return store;
}

std::optional<std::string> PropertyStore::get(const std::string& key) {
    std::lock_guard<std::mutex> guard(lock_);
    loadIfNeeded();
    auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void PropertyStore::set(const std::string& key, const std::string& value) {
    std::lock_guard<std::mutex> guard(lock_);
    loadIfNeeded();
    values_[key] = value;
}

void PropertyStore::reset() {
    std::lock_guard<std::mutex> guard(lock_);
    values_.clear();
    loaded_ = false;
}

void PropertyStore::loadIfNeeded() {
    if (loaded_) return;
    loaded_ = true;
    const char* path = std::getenv(HOST_PROPERTIES_FILE_VARIABLE);
    if (path != nullptr && path[0] != '\0') loadPropertyFile(path, values_);
}

}  // namespace host_properties
