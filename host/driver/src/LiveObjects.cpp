#include "LiveObjects.h"

#include <array>
#include <atomic>

namespace dravik::reference {

namespace {

std::array<std::atomic<int64_t>, 5> g_live_counts{};

std::atomic<int64_t>& counter(LiveObjectKind kind) {
    return g_live_counts[static_cast<std::size_t>(kind)];
}

}  // namespace

int64_t liveObjectCount(LiveObjectKind kind) {
    return counter(kind).load();
}

LiveObjectToken::LiveObjectToken(LiveObjectKind kind) : kind_(kind) {
    counter(kind_).fetch_add(1);
}

LiveObjectToken::~LiveObjectToken() {
    counter(kind_).fetch_sub(1);
}

}  // namespace dravik::reference
