// The content of an AIBinder_Class: what kind of object a binder is.
#pragma once

#include <android/binder_ibinder.h>

#include <atomic>
#include <string>
#include <utility>

struct AIBinder_Class {
    AIBinder_Class(std::string interface_descriptor, AIBinder_Class_onCreate create,
                   AIBinder_Class_onDestroy destroy, AIBinder_Class_onTransact transact)
        : descriptor(std::move(interface_descriptor)),
          on_create(create),
          on_destroy(destroy),
          on_transact(transact) {}

    const std::string descriptor;  // also the interface token of every transaction
    const AIBinder_Class_onCreate on_create;
    const AIBinder_Class_onDestroy on_destroy;
    const AIBinder_Class_onTransact on_transact;
    std::atomic<AIBinder_onDump> on_dump{nullptr};
};
