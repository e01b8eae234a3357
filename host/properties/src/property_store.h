#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace host_properties {

// Property names may be longer than the legacy PROPERTY_KEY_MAX, as on current devices.
constexpr size_t kMaxKeyLength = 256;

// Process-wide key/value store, loaded from the properties file on first use.
class PropertyStore {
  public:
    static PropertyStore& instance();

    std::optional<std::string> get(const std::string& key);
    void set(const std::string& key, const std::string& value);
    void reset();

  private:
    void loadIfNeeded();  // Caller holds lock_.

    std::mutex lock_;
    bool loaded_ = false;
    std::map<std::string, std::string> values_;
};

}  // namespace host_properties
