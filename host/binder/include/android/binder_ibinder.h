/**
 * AIBinder: a binder object, the target of transactions.
 *
 * A local binder is created in this process by AIBinder_new from an AIBinder_Class; its
 * transactions run the class's onTransact. A remote binder stands for an object in another
 * process. Binders are reference counted: whoever receives an AIBinder* from a function that says
 * so owns one strong reference and releases it with AIBinder_decStrong. A local binder's user
 * data is destroyed (onDestroy) when its last strong reference goes. Weak references
 * (AIBinder_Weak) do not keep the object; they can be promoted back to a strong one while it
 * lives.
 */
#pragma once

#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A transaction code: which method of the interface is called. */
typedef uint32_t transaction_code_t;

/** Flags of one transaction (FLAG_*). */
typedef uint32_t binder_flags_t;

enum {
    /** The first code an interface may use for its own methods. */
    FIRST_CALL_TRANSACTION = 0x00000001,
    /** The last such code; codes above it belong to the runtime. */
    LAST_CALL_TRANSACTION = 0x00ffffff,
};

enum {
    /** The caller does not wait for the call to run and receives an empty reply. */
    FLAG_ONEWAY = 0x01,
    /** The transaction's buffers are cleared once they are no longer needed. */
    FLAG_CLEAR_BUF = 0x20,
};

/** What kind of object a binder is: its interface descriptor and its callbacks. */
struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;

/** A weak reference to a binder. */
struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;

/** A callback told when the process that owns a remote binder dies. */
struct AIBinder_DeathRecipient;
typedef struct AIBinder_DeathRecipient AIBinder_DeathRecipient;

/** Given AIBinder_new's args; its result becomes the new binder's user data. */
typedef void* (*AIBinder_Class_onCreate)(void* args);

/** Given the user data when the binder's last strong reference goes. */
typedef void (*AIBinder_Class_onDestroy)(void* userData);

/**
 * Runs one incoming transaction on a local binder. in is positioned just after the interface
 * token (already checked); out is the reply to fill. The answer is the transaction's status:
 * STATUS_OK, or a failure that the caller receives instead of a reply.
 */
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* binder, transaction_code_t code,
                                                     const AParcel* in, AParcel* out);

/** Writes a description of binder's state to fd. */
typedef binder_status_t (*AIBinder_onDump)(AIBinder* binder, int fd, const char** args,
                                           uint32_t numArgs);

/**
 * Defines a class. interfaceDescriptor is copied; it is the interface token that every
 * transaction to binders of this class carries. The class lives as long as the process and is
 * never freed. Null when any argument is null.
 */
__attribute__((warn_unused_result)) AIBinder_Class* AIBinder_Class_define(
        const char* interfaceDescriptor, AIBinder_Class_onCreate onCreate,
        AIBinder_Class_onDestroy onDestroy, AIBinder_Class_onTransact onTransact);

/** Sets the dump callback of clazz (null removes it). Null clazz is ignored. */
void AIBinder_Class_setOnDump(AIBinder_Class* clazz, AIBinder_onDump onDump);

/** The descriptor of clazz, owned by the class; null for a null class. */
const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz);

/**
 * A new local binder of clazz: onCreate(args) is called at once and its result becomes the user
 * data. The caller owns the one strong reference. Null for a null class.
 */
__attribute__((warn_unused_result)) AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args);

/** Whether binder stands for an object in another process. False for null. */
bool AIBinder_isRemote(const AIBinder* binder);

/**
 * Whether the object behind binder can still be reached. Local binders always can; a remote one
 * until the process that owns it is known to have died.
 */
bool AIBinder_isAlive(const AIBinder* binder);

/**
 * Checks that the object behind binder answers. STATUS_DEAD_OBJECT when its process is gone,
 * STATUS_UNEXPECTED_NULL for null.
 */
binder_status_t AIBinder_ping(AIBinder* binder);

/**
 * Asks binder to describe itself to fd (the class's dump callback; STATUS_OK when it has none).
 * args holds numArgs strings; it may be null when numArgs is 0. For a remote binder, fd and the
 * strings are copied to the owning process, whose dump callback writes to its copy of fd; fd
 * stays the caller's.
 */
binder_status_t AIBinder_dump(AIBinder* binder, int fd, const char** args, uint32_t numArgs);

/**
 * Asks to be told, through recipient, when the process that owns binder dies; cookie is handed
 * to the callbacks, which run once, on a thread of the binder thread pool, when that process is
 * gone (not when one connection to it breaks); the link then ends (onUnlinked runs). The
 * recipient is not owned by the link: the caller keeps it until AIBinder_DeathRecipient_delete.
 * Only remote binders die: on a local binder this answers STATUS_INVALID_OPERATION, as the
 * platform does; STATUS_DEAD_OBJECT when the owning process has already died.
 * STATUS_UNEXPECTED_NULL for a null binder or recipient.
 */
binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie);

/**
 * Undoes one AIBinder_linkToDeath of the same binder, recipient and cookie; the recipient's
 * onUnlinked callback then runs for cookie. STATUS_NAME_NOT_FOUND when no such link exists,
 * STATUS_INVALID_OPERATION on a local binder, STATUS_UNEXPECTED_NULL for null arguments.
 */
binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* cookie);

/**
 * The user id of the caller of the transaction this thread is running, or this process's own
 * when the thread runs none (in-process calls included).
 */
uid_t AIBinder_getCallingUid(void);

/** As AIBinder_getCallingUid, for the process id. */
pid_t AIBinder_getCallingPid(void);

/** Adds a strong reference to binder. Null is ignored. */
void AIBinder_incStrong(AIBinder* binder);

/**
 * Releases a strong reference to binder; the last one destroys it (a local binder's onDestroy
 * runs). Null is ignored.
 */
void AIBinder_decStrong(AIBinder* binder);

/** The number of strong references to binder, for tests and logs only; -1 for null. */
int32_t AIBinder_debugGetRefCount(AIBinder* binder);

/**
 * Gives binder the class clazz, so that transactions to it can be prepared and its interface
 * recognised. True when binder already has clazz; false for a local binder of another class and
 * for null arguments. A remote binder takes a class once, when its descriptor matches clazz's; it
 * keeps that class for good.
 */
bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz);

/** The class of binder, null when it has none yet or binder is null. */
const AIBinder_Class* AIBinder_getClass(AIBinder* binder);

/** The user data of a local binder (onCreate's result); null for remote or null binders. */
void* AIBinder_getUserData(AIBinder* binder);

/**
 * Creates in *in a new parcel for a transaction to binder and writes into it the interface token
 * (the descriptor of binder's class). The caller owns *in (its previous value is overwritten, not
 * released) and normally hands it to AIBinder_transact. STATUS_INVALID_OPERATION when binder has no
 * class, STATUS_UNEXPECTED_NULL for null arguments.
 */
binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in);

/**
 * Sends the transaction code with the parcel *in, which must come from
 * AIBinder_prepareTransaction on the same binder (otherwise STATUS_BAD_VALUE). The parcel is
 * consumed whatever the outcome: it is deleted and *in becomes null. On success *out is a new
 * reply parcel the caller owns, positioned at its start; on failure *out becomes null. Whatever
 * *out pointed to before is overwritten, not released. A oneway
 * call (FLAG_ONEWAY) replies with an empty parcel. Codes above LAST_CALL_TRANSACTION that the
 * runtime does not answer itself give STATUS_UNKNOWN_TRANSACTION; a wrong interface token gives
 * STATUS_BAD_TYPE; unknown flags give STATUS_BAD_VALUE; otherwise the receiver's status.
 */
binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags);

/** A new weak reference to binder, owned by the caller (AIBinder_Weak_delete). Null for null. */
__attribute__((warn_unused_result)) AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder);

/** Frees a weak reference. Null is ignored. */
void AIBinder_Weak_delete(AIBinder_Weak* weakBinder);

/**
 * A new strong reference to the binder, owned by the caller, if it is still alive; null once its
 * last strong reference has gone, or for null.
 */
__attribute__((warn_unused_result)) AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder);

/** A new weak reference to the same binder, owned by the caller. Null for null. */
AIBinder_Weak* AIBinder_Weak_clone(const AIBinder_Weak* weak);

/** A strict weak order of binders (by identity), so that they can key ordered containers. */
bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs);

/** As AIBinder_lt, for the binders that two weak references name. */
bool AIBinder_Weak_lt(const AIBinder_Weak* lhs, const AIBinder_Weak* rhs);

/** Told, with the link's cookie, that the process owning a linked binder died. */
typedef void (*AIBinder_DeathRecipient_onBinderDied)(void* cookie);

/** Told, with the link's cookie, that a link ended (after a death, an unlink or a delete). */
typedef void (*AIBinder_DeathRecipient_onBinderUnlinked)(void* cookie);

/** A new death recipient, owned by the caller (AIBinder_DeathRecipient_delete). Null for null. */
__attribute__((warn_unused_result)) AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(
        AIBinder_DeathRecipient_onBinderDied onBinderDied);

/** Sets the callback told when each of recipient's links ends. Null recipient is ignored. */
void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked);

/**
 * Frees recipient. Links it still has end (onUnlinked runs for each); no death is reported to it
 * afterwards. Null is ignored.
 */
void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient);

#ifdef __cplusplus
}  // extern "C"
#endif
