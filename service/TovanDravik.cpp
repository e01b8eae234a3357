#include "service/TovanDravik.h"

namespace aidl::vendor::korvane::hardware::tessaro::dravik {

TovanDravik::TovanDravik() {
    death_recipient.set(AIBinder_DeathRecipient_new(onClientBinderDied));
}

// Members go in reverse declaration order. Nothing still filed is handed back to the driver, and
// the MemInfo records and per-client lists still filed are not freed: the registered service
// lives as long as its process, so this is deliberate and never felt.
TovanDravik::~TovanDravik() {
    // Callback references are dropped last entry first.
    while (!callbacks.empty()) callbacks.pop_back();
}

}  // namespace aidl::vendor::korvane::hardware::tessaro::dravik
