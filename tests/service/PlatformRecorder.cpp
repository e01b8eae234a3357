#include "PlatformRecorder.h"

#include <android/binder_manager.h>
#include <cutils/properties.h>
#include <dlfcn.h>
#include <fcntl.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

namespace platform_recorder {
namespace {

struct State {
    std::mutex lock;
    std::vector<LogLine> lines;
    std::vector<Registration> registrations;
    std::optional<binder_status_t> registration_result;
    std::map<std::string, std::string> properties;
};

// The service never takes descriptor 0 for its own, as in a hosting process, where it is always
// open; a test started without standard input gets /dev/null there so that descriptor numbers
// come out as they do in service.
[[maybe_unused]] const bool standard_input_taken = [] {
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    return true;
}();

// Never destroyed: binder pool threads may still log while the process exits.
State& state() {
    static auto* instance = new State;
    return *instance;
}

template <typename Function>
Function nextDefinition(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

std::vector<LogLine> logLines() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().lines;
}

std::vector<LogLine> logLinesWithText(const std::string& text) {
    std::vector<LogLine> found;
    for (const LogLine& line : logLines()) {
        if (line.text == text) found.push_back(line);
    }
    return found;
}

std::vector<Registration> registrations() {
    std::lock_guard<std::mutex> guard(state().lock);
    return state().registrations;
}

void failRegistrations(binder_status_t result) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().registration_result = result;
}

void overrideProperty(const std::string& key, const std::string& value) {
    std::lock_guard<std::mutex> guard(state().lock);
    state().properties[key] = value;
}

void reset() {
    std::lock_guard<std::mutex> guard(state().lock);
    state().lines.clear();
    state().registrations.clear();
    state().registration_result.reset();
    state().properties.clear();
}

}  // namespace platform_recorder

using platform_recorder::state;

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    int length = vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    std::lock_guard<std::mutex> guard(state().lock);
    state().lines.push_back({priority, tag != nullptr ? tag : "", text});
    return length;
}

extern "C" int property_get(const char* key, char* value, const char* default_value) {
    {
        std::lock_guard<std::mutex> guard(state().lock);
        auto found = state().properties.find(key);
        if (found != state().properties.end()) {
            snprintf(value, PROPERTY_VALUE_MAX, "%s", found->second.c_str());
            return static_cast<int>(strlen(value));
        }
    }
    using PropertyGet = int (*)(const char*, char*, const char*);
    static PropertyGet store_get = platform_recorder::nextDefinition<PropertyGet>("property_get");
    return store_get(key, value, default_value);
}

extern "C" binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    {
        std::lock_guard<std::mutex> guard(state().lock);
        state().registrations.push_back({false, instance});
        if (state().registration_result) {
            return static_cast<binder_exception_t>(*state().registration_result);
        }
    }
    using AddService = binder_exception_t (*)(AIBinder*, const char*);
    static AddService add =
            platform_recorder::nextDefinition<AddService>("AServiceManager_addService");
    return add(binder, instance);
}

extern "C" binder_status_t AServiceManager_registerLazyService(AIBinder* binder,
                                                               const char* instance) {
    {
        std::lock_guard<std::mutex> guard(state().lock);
        state().registrations.push_back({true, instance});
        if (state().registration_result) return *state().registration_result;
    }
    using RegisterLazy = binder_status_t (*)(AIBinder*, const char*);
    static RegisterLazy register_lazy =
            platform_recorder::nextDefinition<RegisterLazy>("AServiceManager_registerLazyService");
    return register_lazy(binder, instance);
}
