/**
 * The process's binder thread pool: the threads that run incoming transactions from other
 * processes, and the death notifications of remote binders.
 *
 * Pool threads are started on demand, one whenever work waits and no pool thread is idle, up to
 * the maximum count (15 unless set). A process that never calls these functions still receives
 * incoming transactions and death notifications on threads the runtime starts the same way;
 * starting the pool only starts its first thread at once. All functions may be called from any
 * thread.
 */
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Starts the pool's first thread and marks the pool started. Calling it again does nothing more.
 */
void ABinderProcess_startThreadPool(void);

/**
 * Sets how many threads the pool may start (threads that joined with ABinderProcess_joinThreadPool
 * not counted). Threads already running are kept when the count is lowered. True on success;
 * false for 0, which would leave incoming transactions without a thread.
 */
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads);

/** Whether ABinderProcess_startThreadPool or ABinderProcess_joinThreadPool has been called. */
bool ABinderProcess_isThreadPoolStarted(void);

/**
 * Makes the calling thread a pool thread: it runs incoming transactions and never returns (a
 * service's main thread ends its start-up with this call).
 */
void ABinderProcess_joinThreadPool(void);

#ifdef __cplusplus
}  // extern "C"
#endif
