/**
 * The service manager: the directory in which services are registered under instance names
 * (usually "<interface descriptor>/<instance>") and in which clients look them up.
 *
 * Every binder returned here is a new strong reference that the caller owns and releases with
 * AIBinder_decStrong (or hands to an ndk::SpAIBinder). The manager keeps its own strong reference
 * to every registered binder, so a registered object lives on after its creator lets go.
 * Registering a name again replaces the previous binder, whose reference is released. All
 * functions may be called from any thread.
 *
 * Instance names are 1 to 127 characters of letters, digits and "_.-/".
 *
 * On the host, a registration is also published in the service directory ($TESSARO_BINDER_DIR,
 * else $XDG_RUNTIME_DIR/tessaro-binder, else /tmp/tessaro-binder-<uid>; private to the user), so
 * that other processes of the user reach the service; look-ups search this process's own
 * registrations first, then the directory, and answer proxies for services of other processes.
 * A registration replaces the socket a process that died left behind.
 *
 * Which instances are declared (AServiceManager_isDeclared,
 * AServiceManager_forEachDeclaredInstance) is answered on a device from the device's VINTF
 * manifest. On the host it is answered from the VINTF manifest fragments (*.xml) of one folder:
 * $TESSARO_VINTF_DIR when set, else the project's own fragments. The folder is read on every call,
 * so a test may point it elsewhere at any time.
 */
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Registers binder under instance. EX_NONE on success; EX_ILLEGAL_ARGUMENT for a null binder, a
 * null instance or an invalid instance name; EX_ILLEGAL_STATE when it cannot be published in the
 * service directory (nothing is registered then).
 */
__attribute__((warn_unused_result)) binder_exception_t AServiceManager_addService(
        AIBinder* binder, const char* instance);

/**
 * Registers binder under instance as a lazy service: one whose process may stop once it has no
 * clients. STATUS_OK on success; STATUS_UNEXPECTED_NULL for null arguments, STATUS_BAD_VALUE for
 * an invalid instance name, STATUS_INVALID_OPERATION when it cannot be published in the service
 * directory (nothing is registered then).
 */
binder_status_t AServiceManager_registerLazyService(AIBinder* binder, const char* instance);

/** The binder registered under instance, or null at once when there is none. */
__attribute__((warn_unused_result)) AIBinder* AServiceManager_checkService(const char* instance);

/**
 * The binder registered under instance; when there is none yet, waits a few seconds for one to
 * be registered, then answers null.
 */
__attribute__((warn_unused_result)) AIBinder* AServiceManager_getService(const char* instance);

/**
 * The binder registered under instance, waiting as long as it takes for one to be registered.
 * Null at once for a null or invalid instance name.
 */
__attribute__((warn_unused_result)) AIBinder* AServiceManager_waitForService(const char* instance);

/**
 * Whether the manifest declares instance ("<fully qualified interface>/<instance name>", e.g.
 * "vendor.example.IFoo/default"). False for a null instance or one that is not declared; it says
 * nothing about whether the service is registered or running.
 */
bool AServiceManager_isDeclared(const char* instance);

/**
 * Calls callback once for each instance that the manifest declares for interface (its fully
 * qualified name, e.g. "vendor.example.IFoo"), with the instance name alone ("default") and
 * context, in manifest order, on the calling thread before returning. The name is valid only
 * during the call. interface and callback must not be null (the call aborts); context may be.
 */
void AServiceManager_forEachDeclaredInstance(const char* interface, void* context,
                                             void (*callback)(const char* instance, void* context));

#ifdef __cplusplus
}  // extern "C"
#endif
