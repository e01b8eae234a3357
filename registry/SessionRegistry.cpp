// Session ids are the driver's session handles as numbers: no counter, no scrambling.
#include "service/Logging.h"
#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

uint64_t TovanDravik::generateDravikId(dravik_session* session) {
    std::lock_guard<std::mutex> guard(session_lock);
    const uint64_t id = reinterpret_cast<uintptr_t>(session);
    // A handle the driver reuses maps to the id it had; an existing entry is left as it is.
    session_table.emplace(id, session);
    return id;
}

dravik_session* TovanDravik::getDravikSession(uint64_t dravik_id) {
    std::lock_guard<std::mutex> guard(session_lock);
    auto found = session_table.find(dravik_id);
    if (found != session_table.end() && found->second != nullptr) return found->second;
    DRAVIK_LOGE("getDravikSession fail");
    return nullptr;
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
