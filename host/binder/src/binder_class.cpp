// The AIBinder_Class C functions.
#include "binder_class.h"

#include "log.h"

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    if (interfaceDescriptor == nullptr || onCreate == nullptr || onDestroy == nullptr ||
        onTransact == nullptr) {
        host_binder::logError("AIBinder_Class_define: null %s",
                              interfaceDescriptor == nullptr ? "descriptor" : "callback");
        return nullptr;
    }
    // Classes are defined once per interface and live as long as the process, as binders of the
    // class may be released at any time, even while it exits.
    return new AIBinder_Class(interfaceDescriptor, onCreate, onDestroy, onTransact);
}

void AIBinder_Class_setOnDump(AIBinder_Class* clazz, AIBinder_onDump onDump) {
    if (clazz == nullptr) {
        host_binder::logError("AIBinder_Class_setOnDump: null class");
        return;
    }
    clazz->on_dump.store(onDump, std::memory_order_release);
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    return clazz == nullptr ? nullptr : clazz->descriptor.c_str();
}
