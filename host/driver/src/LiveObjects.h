// Counts of the driver's live objects, so tests can prove that nothing was left behind. Each
// counted object holds a LiveObjectToken: counted from its construction to its destruction.
#pragma once

#include <cstdint>

namespace dravik::reference {

enum class LiveObjectKind { kSession, kMemoryObject, kCommandBuffer, kCommand, kSubCommand };

int64_t liveObjectCount(LiveObjectKind kind);

class LiveObjectToken {
  public:
    explicit LiveObjectToken(LiveObjectKind kind);
    ~LiveObjectToken();
    LiveObjectToken(const LiveObjectToken&) = delete;
    LiveObjectToken& operator=(const LiveObjectToken&) = delete;

  private:
    LiveObjectKind kind_;
};

}  // namespace dravik::reference
