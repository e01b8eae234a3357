#include "hosting/ServiceLibrary.h"

#include <dlfcn.h>

namespace tessaro_hosting {

namespace {
constexpr const char* kStartFunction = "TessaroDravikServerInitInternal";
}  // namespace

void ServiceLibrary::Unloader::operator()(void* handle) const {
    dlclose(handle);
}

ServiceLibrary::ServiceLibrary(const std::string& name)
    : handle_(dlopen(name.c_str(), RTLD_NOW | RTLD_GLOBAL)) {
    if (handle_ == nullptr) {
        error_ = dlerror();
        return;
    }
    void* start = dlsym(handle_.get(), kStartFunction);
    if (start == nullptr) {
        error_ = std::string(kStartFunction) + " not found in " + name;
        return;
    }
    start_ = reinterpret_cast<void (*)()>(start);
}

}  // namespace tessaro_hosting
