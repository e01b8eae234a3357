#pragma once

#include <memory>
#include <string>

namespace tessaro_hosting {

// The service library, loaded by name through the dynamic loader, by the device's hosting process
// and the host daemon alike, so that LD_LIBRARY_PATH can put another build (or another driver) in
// its place.
class ServiceLibrary {
  public:
    static constexpr const char* kDefaultName = "libTessaroDravikAidlServer.so";

    // Loads name; on failure error() says why and start() is not to be called.
    explicit ServiceLibrary(const std::string& name);

    bool loaded() const { return start_ != nullptr; }
    const std::string& error() const { return error_; }

    // Calls the library's start function on this thread.
    void start() const { start_(); }

  private:
    struct Unloader {
        void operator()(void* handle) const;
    };

    std::unique_ptr<void, Unloader> handle_;
    void (*start_)() = nullptr;
    std::string error_;
};

}  // namespace tessaro_hosting
