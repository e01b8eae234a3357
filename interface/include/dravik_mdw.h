/*
 * The operations of the device's user-space accelerator driver library, libdravik_mdw, that the
 * service calls.
 *
 * The library hands out opaque handles to its own objects and takes them back; the service never
 * looks inside them. Results:
 *   - creating operations return a handle, null on failure;
 *   - acting operations return an int32_t, 0 on success, anything else on failure with the cause
 *     left in errno;
 *   - queries return an int64_t that the service passes on unchanged;
 *   - dravikCmd_runFence returns a sync-file descriptor (> 0, owned by the caller), or <= 0 with
 *     errno set on failure.
 * Every operation may be called from any thread; calls on different sessions may run at once.
 * The meaning of kinds, types, flags and the unnamed integer arguments belongs to the library.
 */
#ifndef DRAVIK_MDW_H
#define DRAVIK_MDW_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A driver session. */
typedef struct dravik_session dravik_session;
/** A command created in a session. */
typedef struct dravik_cmd dravik_cmd;
/** A sub-command created in a command. */
typedef struct dravik_subcmd dravik_subcmd;
/** A memory object: device memory, imported memory or a command buffer. */
typedef struct dravik_mem dravik_mem;

/* Sessions. */
dravik_session* dravikSession_createInstance(void);
int32_t dravikSession_deleteInstance(dravik_session* session);

/* Device queries. */
int64_t dravikSession_queryInfo(dravik_session* session, int32_t kind);
int64_t dravikSession_queryDeviceNum(dravik_session* session, int32_t device_kind);
/* Writes the metadata block of device_kind into buffer, which holds queryInfo(kind 1) bytes. */
int32_t dravikSession_queryDeviceMetaData(dravik_session* session, int32_t device_kind,
                                          void* buffer);

/* Device memory. */
dravik_mem* dravikSession_memAlloc(dravik_session* session, uint32_t size, uint32_t align,
                                   int32_t mem_type, int32_t mem_flag);
dravik_mem* dravikSession_memAllocWithName(dravik_session* session, uint32_t size, uint32_t align,
                                           int32_t mem_type, int32_t mem_flag, const char* name);
dravik_mem* dravikSession_memAllocV1(dravik_session* session, int64_t size, int64_t align,
                                     int32_t mem_type, int32_t mem_flag, const char* name,
                                     int64_t extra);
int32_t dravikSession_memFree(dravik_session* session, dravik_mem* mem);

/* Imported memory: the library does not take ownership of fd. */
dravik_mem* dravikSession_memImport(dravik_session* session, int32_t fd, uint32_t size);
dravik_mem* dravikSession_memImportWithFlag(dravik_session* session, int32_t fd, int32_t size,
                                            int64_t flag, int64_t extra);
dravik_mem* dravikSession_memImportV1(dravik_session* session, int32_t fd, int64_t size,
                                      int64_t flag, int64_t extra);
int32_t dravikSession_memUnImport(dravik_session* session, dravik_mem* mem);

/* Memory maintenance and host-pointer queries. */
int32_t dravikSession_memFlush(dravik_session* session, dravik_mem* mem);
int32_t dravikSession_memInvalidate(dravik_session* session, dravik_mem* mem);
/* Kind 2 answers the memory's shareable descriptor, 0 when it has none. */
int64_t dravikSession_memGetInfoFromHostPtr(dravik_session* session, dravik_mem* mem, int32_t kind);
int32_t dravikSession_memSetParamViaHostPtr(dravik_session* session, dravik_mem* mem, int32_t kind,
                                            int64_t value);

/* Command buffers. */
dravik_mem* dravikSession_cmdBufAlloc(dravik_session* session, uint32_t size, uint32_t align);
dravik_mem* dravikSession_cmdBufAllocWithName(dravik_session* session, uint32_t size,
                                              uint32_t align, const char* name, int64_t extra);
int32_t dravikSession_cmdBufFree(dravik_session* session, dravik_mem* cmd_buf);

/* Commands. */
dravik_cmd* dravikSession_createCmd(dravik_session* session);
int32_t dravikSession_deleteCmd(dravik_session* session, dravik_cmd* cmd);

int32_t dravikCmd_setParam(dravik_cmd* cmd, int32_t kind, int64_t value);
dravik_subcmd* dravikCmd_createSubcmd(dravik_cmd* cmd, int32_t device_type);
int32_t dravikCmd_setDependencyEdge(dravik_cmd* cmd, dravik_subcmd* predecessor,
                                    dravik_subcmd* successor);
int32_t dravikCmd_setDependencyPack(dravik_cmd* cmd, dravik_subcmd* main_sub_cmd,
                                    dravik_subcmd* appendix_sub_cmd);
/* memory is an opaque token of the caller's; the library does not dereference it. */
int32_t dravikCmd_setDependencyTightly(dravik_cmd* cmd, dravik_subcmd* predecessor,
                                       dravik_cmd* successor, void* memory);
int32_t dravikCmd_build(dravik_cmd* cmd);
int32_t dravikCmd_run(dravik_cmd* cmd);
int32_t dravikCmd_runWithType(dravik_cmd* cmd, int32_t type);
int32_t dravikCmd_runAsync(dravik_cmd* cmd);
int32_t dravikCmd_wait(dravik_cmd* cmd);
/* fence_fd -1 means none; the library does not take ownership of it. */
int32_t dravikCmd_runFence(dravik_cmd* cmd, int32_t fence_fd, int64_t flags);
int64_t dravikCmd_getRunInfo(dravik_cmd* cmd, int32_t kind);

/* Sub-commands. */
int32_t dravikSubCmd_setParam(dravik_subcmd* sub_cmd, int32_t kind, int64_t value);
int32_t dravikSubCmd_addCmdBuf(dravik_subcmd* sub_cmd, dravik_mem* cmd_buf, int32_t mode);
int64_t dravikSubCmd_getRunInfo(dravik_subcmd* sub_cmd, int32_t kind);

#ifdef __cplusplus
}
#endif

#endif /* DRAVIK_MDW_H */
