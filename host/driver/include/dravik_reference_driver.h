/*
 * The reference accelerator driver: libdravik_mdw for a Linux host, a CPU model of the device.
 *
 * It implements every operation of dravik_mdw.h. This header states the meaning it gives to the
 * kinds, types, flags and integer arguments that those operations leave to the library, the errno
 * each refusal sets, and the host-only entry points (prefix dravikReference_) that tests use to see
 * inside the model. The device side of the service never calls the host-only entry points.
 *
 * Results (as dravik_mdw.h): creators return null, acting operations -1, queries 0 on failure,
 * always with errno set. A successful call leaves errno as the caller had it.
 *
 * Handles. Every handle is the address of a live heap object of the driver; no address is handed
 * out twice while its object lives. Every handle an operation receives is looked up in the
 * driver's registries before it is used: an unknown handle, a handle already freed, or a handle of
 * another session is refused with EINVAL and harms nothing.
 *
 * Threads. Every operation may be called from any thread. Calls on different sessions run
 * concurrently; calls on one session, command or memory object are safe against each other.
 *
 * ---------------------------------------------------------------------------------------------
 * Sessions
 *   dravikSession_createInstance: a new session (ENOMEM when it cannot be made).
 *   dravikSession_deleteInstance: EINVAL for an unknown session. Objects still in the session are
 *     released with it: commands first (queued runs are cancelled, see Runs), then memory objects,
 *     imports and command buffers. The service frees them itself before; the driver does it too so
 *     that nothing outlives its session.
 *
 * Memory: dravikSession_memAlloc, memAllocWithName, memAllocV1, memFree
 *   Every memory object is backed by a memfd mapped into the driver (the host mapping that runs
 *   read and write) and has a device address in [DRAVIK_REFERENCE_DEVICE_ADDRESS_BASE,
 *   DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT), aligned as asked, not overlapping any other live
 *   object's range [address, address + size).
 *   mem_type: DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE (0): shareable by descriptor; info kind 2
 *     answers the memfd's descriptor, which the driver owns and keeps open until the memory is
 *     freed (callers dup it, never close it). DRAVIK_REFERENCE_MEM_TYPE_PRIVATE (1): not shareable;
 *     info kind 2 answers 0. Any other mem_type: EINVAL.
 *   size: 1 to DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE bytes. 0 (or negative for V1): EINVAL; larger:
 *     ENOMEM. The live allocations and command buffers of all sessions together may not exceed
 *     DRAVIK_REFERENCE_DEVICE_MEMORY_CAPACITY bytes: ENOMEM.
 *   align: 0 means DRAVIK_REFERENCE_DEFAULT_ALIGNMENT; otherwise a power of two up to
 *     DRAVIK_REFERENCE_MAX_ALIGNMENT, else EINVAL. It applies to the device address; the host
 *     mapping is page aligned.
 *   mem_flag: kept and answered back (info kind 7); the CPU model is coherent, so it has no other
 *     effect.
 *   name (WithName, V1): kept (dravikReference_memGetName); null: EINVAL; longer than
 *     DRAVIK_REFERENCE_MAX_NAME_LENGTH bytes: ENAMETOOLONG. memAlloc gives the empty name.
 *   extra (V1): kept and answered back (info kind 9).
 *   memFree: EINVAL unless mem is an allocation of this session (not an import, not a command
 *     buffer).
 *
 * Imports: dravikSession_memImport, memImportWithFlag, memImportV1, memUnImport
 *   fd: any descriptor that can be mapped shared for reading and writing (a memfd, a regular file,
 *     a dma-buf). The driver duplicates it (the caller keeps its own), maps size bytes, and owns
 *     the duplicate until the un-import; info kind 2 answers the duplicate. fd < 0 or closed:
 *     EBADF. size: 1 to DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE (0 or negative: EINVAL; larger:
 *     ENOMEM) and no more than the file holds (EINVAL). A descriptor whose size cannot be told (a
 *     pipe, a socket): EINVAL. One that cannot be mapped shared for reading and writing: the
 *     errno of mmap (EACCES for a descriptor opened read-only).
 *   Imports get a device address at the default alignment; they do not count against the device
 *     memory capacity (the memory is the caller's).
 *   flag, extra: kept and answered back (info kinds 7 and 9).
 *   memUnImport: EINVAL unless mem is an import of this session.
 *
 * Memory maintenance and host-pointer queries
 *   dravikSession_memFlush, memInvalidate: any memory object of the session (allocation, import,
 *     command buffer), else EINVAL. The CPU model is coherent, so both only count
 *     (dravikReference_memGetMaintenanceCounts).
 *   dravikSession_memGetInfoFromHostPtr(kind), any memory object of the session, else 0/EINVAL:
 *     DRAVIK_REFERENCE_MEM_INFO_SIZE (1)                   size in bytes
 *     DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR (2)   descriptor owned by the driver, 0 if
 * none DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS (3)         device address
 *     DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS (4)           address of the driver's host mapping
 *     DRAVIK_REFERENCE_MEM_INFO_OBJECT_KIND (5)            DRAVIK_REFERENCE_OBJECT_KIND_*
 *     DRAVIK_REFERENCE_MEM_INFO_MEM_TYPE (6)               mem_type (imports, command buffers: 0)
 *     DRAVIK_REFERENCE_MEM_INFO_FLAG (7)                   mem_flag or import flag
 *     DRAVIK_REFERENCE_MEM_INFO_ALIGNMENT (8)              alignment of the device address
 *     DRAVIK_REFERENCE_MEM_INFO_EXTRA (9)                  extra of V1, WithName or import
 *     DRAVIK_REFERENCE_MEM_INFO_USER_TAG (10)              parameter 1 below
 *     DRAVIK_REFERENCE_MEM_INFO_CACHE_MODE (11)            parameter 2 below
 *     any other kind: 0, EINVAL.
 *   dravikSession_memSetParamViaHostPtr(kind, value), any memory object of the session:
 *     DRAVIK_REFERENCE_MEM_PARAM_USER_TAG (1)     any value the owner attaches (initially 0)
 *     DRAVIK_REFERENCE_MEM_PARAM_CACHE_MODE (2)   DRAVIK_REFERENCE_CACHE_MODE_CACHED (0, initial)
 * or _UNCACHED (1), else EINVAL; kept, no effect any other kind: EINVAL.
 *
 * Command buffers: dravikSession_cmdBufAlloc, cmdBufAllocWithName, cmdBufFree
 *   The same memfd-backed memory, always shareable (info kind 2 gives its descriptor), with the
 *   size, align, name and capacity rules of memory. extra (WithName) is kept (info kind 9).
 *   cmdBufFree: EINVAL unless cmd_buf is a command buffer of this session. A command buffer may be
 *   freed while a sub-command holds it; runs of that command then fail with EFAULT.
 *
 * Commands: dravikSession_createCmd, deleteCmd, dravikCmd_setParam
 *   deleteCmd: EINVAL unless cmd is a command of this session. It waits for a run in progress and
 *     cancels queued ones (see Runs).
 *   dravikCmd_setParam(kind, value), refused values leave the parameter as it was (EINVAL):
 *     DRAVIK_REFERENCE_CMD_PARAM_PRIORITY (1)          0 to DRAVIK_REFERENCE_MAX_PRIORITY (initial
 * 0) DRAVIK_REFERENCE_CMD_PARAM_PERFORMANCE_HINT (2)  0 to 100 percent (initial 100)
 *     DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID (3)        the pid the run is made for, 1 to INT32_MAX
 *     any other kind: EINVAL. Parameters may change at any time, also after build.
 *     (Read back with dravikReference_cmdGetParam.)
 *
 * Sub-commands: dravikCmd_createSubcmd, dravikSubCmd_setParam, dravikSubCmd_addCmdBuf
 *   device_type: DRAVIK_REFERENCE_DEVICE_* (1, 2, 3, 4, 6), else EINVAL. At most
 *     DRAVIK_REFERENCE_MAX_SUB_COMMANDS per command (ENOSPC).
 *   dravikSubCmd_setParam(kind, value):
 *     DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX (1)      which device of its type runs it:
 *                                                         0 to device count - 1 (initial 0)
 *     DRAVIK_REFERENCE_SUBCMD_PARAM_PERFORMANCE_HINT (2)  0 to 100 percent (initial 100)
 *     any other kind or value: EINVAL. (Read back with dravikReference_subCmdGetParam.)
 *   dravikSubCmd_addCmdBuf(cmd_buf, mode): cmd_buf must be a command buffer of the command's
 *     session (plain memory, unknown or foreign buffers: EINVAL).
 *     mode DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND (0): added after the sub-command's buffers; a buffer
 *       it already holds: EEXIST; more than DRAVIK_REFERENCE_MAX_CMD_BUFS_PER_SUB_COMMAND: ENOSPC.
 *     mode DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE (1): becomes the sub-command's only buffer.
 *     any other mode: EINVAL.
 *
 * Dependencies and build
 *   Sub-commands passed to a command must be its own, else EINVAL.
 *   dravikCmd_setDependencyEdge(predecessor, successor): successor runs after predecessor. The same
 *     sub-command twice: EINVAL; an edge already set is accepted again.
 *   dravikCmd_setDependencyPack(main, appendix): appendix runs after main, right after it when
 *     nothing else it depends on is pending: they must differ (EINVAL) and have the same device
 *     type (EINVAL); a sub-command is the appendix of at most one main and a main has at most one
 *     appendix (EEXIST).
 *   dravikCmd_setDependencyTightly(predecessor, successor, memory): the command successor (another
 *     live command of the same session, else EINVAL) is chained to predecessor's output through the
 *     caller's token memory (must not be null: EINVAL; never dereferenced). Kept with the command.
 *   dravikCmd_build: EINVAL for a command without sub-commands, a sub-command without a command
 *     buffer (or whose buffer was freed), a dependency cycle, or a tightly chained command that was
 *     deleted. Success fixes the run order: dependencies first, appendices right after their
 *     main where they can, otherwise creation order.
 *   Changing a built command's structure (createSubcmd, dependencies, addCmdBuf) un-builds it;
 *   doing so, or building, while one of its runs is in progress or queued: EBUSY.
 *
 * Runs: dravikCmd_run, runWithType, runAsync, wait, runFence, getRunInfo
 *   A command must be built (else ENOEXEC). Runs of one command execute one at a time; queued runs
 *   (runAsync, runFence) execute in submission order on the command's own worker thread.
 *   A run executes the programs its command buffers hold (dravik_reference_instructions.h): first
 *   it decodes every command buffer of every sub-command and resolves every operand against the
 *   memory objects of the command's session, holding them until the run is over (a concurrent free
 *   cannot unmap memory under it); only then does it execute, so a run that fails has written
 *   nothing. Each sub-command executes its buffers in the order added; a sub-command starts once
 *   every sub-command it depends on (edges, packs) is over, and sub-commands independent of each
 *   other may execute at the same time (up to 4 per run). A run fails, executing nothing, with:
 *     EFAULT     a command buffer was freed, or an operand is not wholly inside one live memory
 *                object of the command's session (another session's memory included);
 *     EINVAL     a malformed program (bad magic or version, truncated, unknown opcode, bad lengths
 *                or counts, a misaligned fp32 operand, ...);
 *     EOVERFLOW  sizes whose products or ends do not fit in 64 bits, matrix dimensions above
 *                INT32_MAX.
 *   (dravik_reference_instructions.h has the details.) The session and the command stay usable.
 *   A sub-command's run information counts only successful runs.
 *   runWithType type: DRAVIK_REFERENCE_RUN_TYPE_NORMAL (0), _LOW_LATENCY (1), _LOW_POWER (2), else
 *     EINVAL; recorded as the run's type (run and the queued runs record NORMAL).
 *   runAsync: queues a run and returns; a second runAsync before its wait: EBUSY. wait: waits for
 *     that run and returns its result (-1 with its errno on failure); with no run to wait for:
 *     EINVAL.
 *   runFence(fence_fd, flags): queues a run that first waits until fence_fd polls readable (-1: no
 *     input fence; < -1: EINVAL; not an open descriptor: EBADF; the driver duplicates it). It
 *     returns a new descriptor (a close-on-exec eventfd, > 2, owned by the caller) that polls
 *     readable once the run is over, whether it succeeded or not. An input fence that reports an
 *     error or hang-up instead fails the run with EIO. flags: none is defined, must be 0 (EINVAL).
 *   At most DRAVIK_REFERENCE_MAX_QUEUED_RUNS queued runs per command (EBUSY). Deleting a command or
 *   its session cancels its queued runs: they do not execute, their fences are signalled, and
 *   their status is ECANCELED.
 *   dravikCmd_getRunInfo(kind), about the command's last finished run:
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_DURATION_NS (1)     duration in nanoseconds (0 before any run)
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID (2)    the driver-wide sequence number of the run,
 *                                                       counting from 1 (0 before any run)
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT (3)       runs finished, successful or not
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS (4)          0, or the errno the run failed with
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_TYPE (5)        its run type
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_SUB_COMMANDS (6)    number of sub-commands
 *     DRAVIK_REFERENCE_CMD_RUN_INFO_BUILT (7)           1 when built, else 0
 *     any other kind: 0, EINVAL.
 *   dravikSubCmd_getRunInfo(kind):
 *     DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS (1)  duration of its part of the last run
 *     DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT (2)    runs it took part in
 *     DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DEVICE_TYPE (3)  its device type
 *     DRAVIK_REFERENCE_SUBCMD_RUN_INFO_CMD_BUFS (4)     command buffers it holds
 *     any other kind: 0, EINVAL.
 *
 * Device queries
 *   dravikSession_queryInfo(kind):
 *     DRAVIK_REFERENCE_INFO_METADATA_SIZE (1)        sizeof(dravik_reference_device_metadata)
 *     DRAVIK_REFERENCE_INFO_DEVICE_TYPES (2)         number of device types (5)
 *     DRAVIK_REFERENCE_INFO_DRIVER_VERSION (3)       DRAVIK_REFERENCE_DRIVER_VERSION
 *     DRAVIK_REFERENCE_INFO_MEMORY_CAPACITY (4)      DRAVIK_REFERENCE_DEVICE_MEMORY_CAPACITY
 *     DRAVIK_REFERENCE_INFO_MAX_ALLOCATION_SIZE (5)  DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE
 *     DRAVIK_REFERENCE_INFO_DEFAULT_ALIGNMENT (6)    DRAVIK_REFERENCE_DEFAULT_ALIGNMENT
 *     any other kind: 0, EINVAL.
 *   dravikSession_queryDeviceNum(device_kind): devices of that type (see
 * DRAVIK_REFERENCE_DEVICE_*); any other type: 0, EINVAL.
 *   dravikSession_queryDeviceMetaData(device_kind, buffer): writes the type's
 *     dravik_reference_device_metadata into buffer (null: EINVAL; unknown type: EINVAL).
 *
 * Failure injection
 *   The environment variable DRAVIK_MDW_FAIL lists operations to fail, separated by commas, each an
 *   operation name of dravik_mdw.h with an optional errno after a colon, as a name (EIO, ENOMEM,
 *   EBUSY, ...) or a positive number:
 *     DRAVIK_MDW_FAIL=dravikSession_memAlloc,dravikCmd_run:EIO,dravikSession_memGetInfoFromHostPtr
 *   A listed operation fails on every call before it looks at its arguments and does nothing:
 *   creators return null, acting operations -1 (runFence included), queries 0, with errno set to
 *   the one given or by default ENOMEM for creators and EIO for the others. The variable is read
 *   when the library is loaded and again by dravikReference_reloadFailureInjection; entries that
 *   name no operation or no errno are ignored, with a warning in the log.
 */
#ifndef DRAVIK_REFERENCE_DRIVER_H
#define DRAVIK_REFERENCE_DRIVER_H

#include <stdint.h>

#include "dravik_mdw.h"

#ifdef __cplusplus
extern "C" {
#endif

#define DRAVIK_REFERENCE_DRIVER_VERSION 1

/* Device memory and addresses. */
#define DRAVIK_REFERENCE_DEVICE_ADDRESS_BASE UINT64_C(0x1000000000)  /* 64 GiB */
#define DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT UINT64_C(0x2000000000) /* 128 GiB */
#define DRAVIK_REFERENCE_DEVICE_MEMORY_CAPACITY (INT64_C(4) << 30)
#define DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE (INT64_C(1) << 30)
#define DRAVIK_REFERENCE_DEFAULT_ALIGNMENT 64
#define DRAVIK_REFERENCE_MAX_ALIGNMENT (INT64_C(1) << 30)
#define DRAVIK_REFERENCE_MAX_NAME_LENGTH 255

/* mem_type of the allocations. */
#define DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE 0
#define DRAVIK_REFERENCE_MEM_TYPE_PRIVATE 1

/* Kinds of dravikSession_memGetInfoFromHostPtr. */
#define DRAVIK_REFERENCE_MEM_INFO_SIZE 1
#define DRAVIK_REFERENCE_MEM_INFO_SHAREABLE_DESCRIPTOR 2
#define DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS 3
#define DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS 4
#define DRAVIK_REFERENCE_MEM_INFO_OBJECT_KIND 5
#define DRAVIK_REFERENCE_MEM_INFO_MEM_TYPE 6
#define DRAVIK_REFERENCE_MEM_INFO_FLAG 7
#define DRAVIK_REFERENCE_MEM_INFO_ALIGNMENT 8
#define DRAVIK_REFERENCE_MEM_INFO_EXTRA 9
#define DRAVIK_REFERENCE_MEM_INFO_USER_TAG 10
#define DRAVIK_REFERENCE_MEM_INFO_CACHE_MODE 11

/* Answers of DRAVIK_REFERENCE_MEM_INFO_OBJECT_KIND. */
#define DRAVIK_REFERENCE_OBJECT_KIND_ALLOCATION 1
#define DRAVIK_REFERENCE_OBJECT_KIND_IMPORT 2
#define DRAVIK_REFERENCE_OBJECT_KIND_COMMAND_BUFFER 3

/* Kinds of dravikSession_memSetParamViaHostPtr. */
#define DRAVIK_REFERENCE_MEM_PARAM_USER_TAG 1
#define DRAVIK_REFERENCE_MEM_PARAM_CACHE_MODE 2
#define DRAVIK_REFERENCE_CACHE_MODE_CACHED 0
#define DRAVIK_REFERENCE_CACHE_MODE_UNCACHED 1

/* Device types: the device_kind of the queries and the device_type of sub-commands. */
#define DRAVIK_REFERENCE_DEVICE_MATRIX_ENGINE 1    /* 2 devices */
#define DRAVIK_REFERENCE_DEVICE_VECTOR_ENGINE 2    /* 2 devices */
#define DRAVIK_REFERENCE_DEVICE_SIGNAL_PROCESSOR 3 /* 1 device */
#define DRAVIK_REFERENCE_DEVICE_SCALAR_CORE 4      /* 4 devices */
#define DRAVIK_REFERENCE_DEVICE_COPY_ENGINE 6      /* 1 device */

/* Kinds of dravikSession_queryInfo. */
#define DRAVIK_REFERENCE_INFO_METADATA_SIZE 1
#define DRAVIK_REFERENCE_INFO_DEVICE_TYPES 2
#define DRAVIK_REFERENCE_INFO_DRIVER_VERSION 3
#define DRAVIK_REFERENCE_INFO_MEMORY_CAPACITY 4
#define DRAVIK_REFERENCE_INFO_MAX_ALLOCATION_SIZE 5
#define DRAVIK_REFERENCE_INFO_DEFAULT_ALIGNMENT 6

/* The metadata block of one device type, as dravikSession_queryDeviceMetaData writes it. */
#define DRAVIK_REFERENCE_METADATA_MAGIC UINT32_C(0x4b565244) /* "DRVK" in memory order */
#define DRAVIK_REFERENCE_METADATA_LAYOUT_VERSION 1
typedef struct dravik_reference_device_metadata {
    uint32_t magic;                    /* DRAVIK_REFERENCE_METADATA_MAGIC */
    uint32_t layout_version;           /* DRAVIK_REFERENCE_METADATA_LAYOUT_VERSION */
    int32_t device_type;               /* the type asked for */
    uint32_t device_count;             /* as dravikSession_queryDeviceNum */
    uint32_t compute_units;            /* per device */
    uint32_t clock_khz;                /* per device */
    uint64_t local_memory_bytes;       /* scratch memory per device */
    uint64_t max_command_buffer_bytes; /* DRAVIK_REFERENCE_MAX_ALLOCATION_SIZE */
    uint64_t device_address_base;      /* DRAVIK_REFERENCE_DEVICE_ADDRESS_BASE */
    uint64_t device_address_limit;     /* DRAVIK_REFERENCE_DEVICE_ADDRESS_LIMIT */
    char name[32];                     /* NUL-terminated */
    uint8_t reserved[40];              /* zero */
} dravik_reference_device_metadata;    /* 128 bytes */

/* Commands and sub-commands. */
#define DRAVIK_REFERENCE_MAX_SUB_COMMANDS 64
#define DRAVIK_REFERENCE_MAX_CMD_BUFS_PER_SUB_COMMAND 16
#define DRAVIK_REFERENCE_MAX_QUEUED_RUNS 64
#define DRAVIK_REFERENCE_MAX_PRIORITY 7

#define DRAVIK_REFERENCE_CMD_PARAM_PRIORITY 1
#define DRAVIK_REFERENCE_CMD_PARAM_PERFORMANCE_HINT 2
#define DRAVIK_REFERENCE_CMD_PARAM_CLIENT_PID 3

#define DRAVIK_REFERENCE_SUBCMD_PARAM_DEVICE_INDEX 1
#define DRAVIK_REFERENCE_SUBCMD_PARAM_PERFORMANCE_HINT 2

#define DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND 0
#define DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE 1

#define DRAVIK_REFERENCE_RUN_TYPE_NORMAL 0
#define DRAVIK_REFERENCE_RUN_TYPE_LOW_LATENCY 1
#define DRAVIK_REFERENCE_RUN_TYPE_LOW_POWER 2

#define DRAVIK_REFERENCE_CMD_RUN_INFO_DURATION_NS 1
#define DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID 2
#define DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT 3
#define DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS 4
#define DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_TYPE 5
#define DRAVIK_REFERENCE_CMD_RUN_INFO_SUB_COMMANDS 6
#define DRAVIK_REFERENCE_CMD_RUN_INFO_BUILT 7

#define DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS 1
#define DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT 2
#define DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DEVICE_TYPE 3
#define DRAVIK_REFERENCE_SUBCMD_RUN_INFO_CMD_BUFS 4

/* ---- Host-only entry points, for tests. Never subject to failure injection. ---- */

/* Objects alive in the whole process. memory_objects counts allocations and imports; command
 * buffers are counted apart. An object stays alive until its last call in progress returns. */
typedef struct dravik_reference_live_counts {
    int64_t sessions;
    int64_t memory_objects;
    int64_t command_buffers;
    int64_t commands;
    int64_t sub_commands;
} dravik_reference_live_counts;
void dravikReference_getLiveCounts(dravik_reference_live_counts* counts);

/* Reads DRAVIK_MDW_FAIL again, replacing the failures in force. 0 when every entry was understood;
 * -1 with EINVAL when some were ignored (the others apply). */
int32_t dravikReference_reloadFailureInjection(void);
/* Stops every injected failure, whatever DRAVIK_MDW_FAIL says. */
void dravikReference_resetFailureInjection(void);

/* How often memFlush and memInvalidate were called on a memory object of session; either pointer
 * may be null. EINVAL as for memFlush. */
int32_t dravikReference_memGetMaintenanceCounts(dravik_session* session, dravik_mem* mem,
                                                int64_t* flushes, int64_t* invalidates);
/* Copies the object's name, NUL-terminated, into buffer of capacity bytes. EINVAL as for
 * memFlush or for a null buffer; ERANGE when the name does not fit. */
int32_t dravikReference_memGetName(dravik_session* session, dravik_mem* mem, char* buffer,
                                   uint64_t capacity);

/* The value of a command's or sub-command's parameter kind. EINVAL for an unknown object, kind or a
 * null value pointer. */
int32_t dravikReference_cmdGetParam(dravik_cmd* cmd, int32_t kind, int64_t* value);
int32_t dravikReference_subCmdGetParam(dravik_subcmd* sub_cmd, int32_t kind, int64_t* value);

#ifdef __cplusplus
}
#endif

#endif /* DRAVIK_REFERENCE_DRIVER_H */
