#include "binder.h"

#include "binder_class.h"
#include "log.h"

using host_binder::logError;

AIBinder::AIBinder(const AIBinder_Class* binder_class)
    : lifetime_(new host_binder::BinderLifetime(this)), binder_class_(binder_class) {}

binder_status_t AIBinder::fetchDescriptor(std::string* /*descriptor*/) {
    return STATUS_INVALID_OPERATION;
}

bool AIBinder::associateClass(const AIBinder_Class* wanted) {
    const AIBinder_Class* current = binderClass();
    if (current == wanted) return true;
    if (current != nullptr) {
        if (current->descriptor == wanted->descriptor) {
            logError("AIBinder_associateClass: two distinct classes share the descriptor '%s'",
                     wanted->descriptor.c_str());
        } else {
            logError("AIBinder_associateClass: binder of class '%s' cannot become '%s'",
                     current->descriptor.c_str(), wanted->descriptor.c_str());
        }
        return false;
    }
    std::string descriptor;
    const binder_status_t status = fetchDescriptor(&descriptor);
    if (status != STATUS_OK) {
        logError("AIBinder_associateClass: cannot learn the binder's descriptor (status %d)",
                 status);
        return false;
    }
    if (descriptor != wanted->descriptor) {
        logError("AIBinder_associateClass: binder is a '%s', not a '%s'", descriptor.c_str(),
                 wanted->descriptor.c_str());
        return false;
    }
    // Another thread may associate the same binder meanwhile; the first class set stays.
    if (binder_class_.compare_exchange_strong(current, wanted, std::memory_order_acq_rel)) {
        return true;
    }
    return current == wanted;
}
