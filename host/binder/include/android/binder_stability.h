/**
 * Binder stability: which partitions may talk to a binder. A binder served to other partitions
 * through a stable (VINTF) interface is marked as such before it is registered.
 */
#pragma once

#include <android/binder_ibinder.h>

/** Lets code test for stability support, as platform code does. */
#define BINDER_STABILITY_SUPPORT

#ifdef __cplusplus
extern "C" {
#endif

enum {
    /** A flag of vendor-only transactions. */
    FLAG_PRIVATE_VENDOR = 0x10000000,
};

/**
 * Marks a local binder as served through a VINTF-stable interface. The mark is recorded with the
 * binder; on the host it has no further effect. Remote and null binders are refused with a log
 * message.
 */
void AIBinder_markVintfStability(AIBinder* binder);

#ifdef __cplusplus
}  // extern "C"
#endif
