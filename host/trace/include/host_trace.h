/*
 * Trace sections on a host: the atrace functions of <cutils/trace.h> over the kernel's ftrace, as
 * the device's libcutils implements them.
 *
 * The inline functions of <cutils/trace.h> (atrace_begin, atrace_end, ATRACE_ENABLED, ...) ask
 * atrace_get_enabled_tags whether a tag is on and then call a body function. This library defines
 * those functions:
 *
 *   atrace_init, atrace_update_tags, atrace_get_enabled_tags, atrace_begin_body, atrace_end_body,
 *   atrace_async_begin_body, atrace_async_end_body, atrace_int_body, atrace_int64_body
 *
 * and is linked ahead of libcutils, so that its definitions are the ones the loader binds.
 * Debian's libcutils is built from the platform's host variant, whose bodies do nothing, and its
 * device variant needs the device's property area; no packaged library records atrace sections
 * off the device. The other atrace functions and variables stay libcutils's.
 *
 * Enabled tags: the value of the property debug.atrace.tags.enableflags (through property_get, so
 * on a host from the host property store), a number in C notation (0x2000000 is
 * ATRACE_TAG_NNAPI), read at the first trace call and again by each atrace_update_tags. Unset or
 * empty: no tag; anything that is not a whole number: no tag, with a log line that quotes it.
 * ATRACE_TAG_ALWAYS is on only where the property sets bit 0: a process that is not asked to
 * trace opens nothing and its trace calls stay one load and one test each.
 *
 * Where markers go: once some tag is enabled, the process opens, once for its whole life, the
 * file named by the environment variable TESSARO_TRACE_MARKER_FILE when it is set and not empty
 * (created if missing, appended to), otherwise tracefs's trace_marker (/sys/kernel/tracing, then
 * /sys/kernel/debug/tracing). When that cannot be opened, one warning says why on the log (tag
 * "cutils-trace"), every tag reads as disabled, and the next atrace_update_tags tries again.
 *
 * Markers, as the platform writes them (at most 1023 bytes; a longer name is cut, the numbers are
 * kept): begin "B|<pid>|<name>", end "E|<pid>", async begin "S|<pid>|<name>|<cookie>", async end
 * "F|<pid>|<name>|<cookie>", counters "C|<pid>|<name>|<value>". Into trace_marker each marker is
 * one write of exactly that text, and the kernel stamps it with the writing thread, its CPU and
 * the time. A named file has no kernel to stamp it, so each marker is appended as one line that
 * carries those stamps itself, in the kernel's ftrace text format:
 *
 *   <thread name>-<tid> (<pid>) [<cpu>] .... <seconds>.<microseconds>: tracing_mark_write: <marker>
 *
 * with CLOCK_MONOTONIC time, after the header line "# tracer: nop" that a file found empty gets
 * first. Such a file is itself a trace that readers of the ftrace text format open.
 *
 * Ownership and lifetime: names are only read during the call and never kept; a null name is an
 * empty one. The marker descriptor and the enabled tags belong to the process and are never
 * released, so that binder threads may still trace while the process exits. Every function may be
 * called from any thread at any time; a section's end must come from the thread that began it,
 * as on the device.
 */
#ifndef HOST_TRACE_H
#define HOST_TRACE_H

#define HOST_TRACE_MARKER_FILE_VARIABLE "TESSARO_TRACE_MARKER_FILE"
#define HOST_TRACE_TAGS_PROPERTY "debug.atrace.tags.enableflags"

#endif /* HOST_TRACE_H */
