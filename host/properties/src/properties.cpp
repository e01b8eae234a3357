// The platform's C entry points over the host property store.
#include <cutils/properties.h>

#include <cstring>

#include "host_properties.h"
#include "property_store.h"

using host_properties::PropertyStore;

extern "C" int property_get(const char* key, char* value, const char* default_value) {
    std::optional<std::string> stored;
    if (key != nullptr) stored = PropertyStore::instance().get(key);
    // As on the device, an empty value is indistinguishable from an unset one.
    const char* source = (stored && !stored->empty()) ? stored->c_str() : default_value;
    if (source == nullptr) source = "";
    size_t length = strnlen(source, PROPERTY_VALUE_MAX - 1);
    memcpy(value, source, length);
    value[length] = '\0';
    return static_cast<int>(length);
}

extern "C" int property_set(const char* key, const char* value) {
    if (key == nullptr || value == nullptr) return -1;
    size_t key_length = strlen(key);
    if (key_length == 0 || key_length > host_properties::kMaxKeyLength) return -1;
    if (strlen(value) >= PROPERTY_VALUE_MAX) return -1;
    PropertyStore::instance().set(key, value);
    return 0;
}

extern "C" void host_properties_reset(void) {
    PropertyStore::instance().reset();
}
