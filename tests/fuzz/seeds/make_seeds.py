#!/usr/bin/env python3
"""Writes the seed corpora of the fuzzers into tests/fuzz/corpus/<fuzzer>/.

Each seed is a well-formed (or deliberately malformed) input in the layout its fuzzer decodes,
described in tests/fuzz/README.md. Run it again after changing a layout; the files it writes are
named after what they hold (regression_* for the inputs of faults a fuzzer found, seed_* for the
rest). Files it does not write are left alone: a seed it no longer writes is deleted by hand.

    tests/fuzz/seeds/make_seeds.py
"""
import os
import struct
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "corpus")


def u8(v):
    return struct.pack("<B", v & 0xFF)


def u32(v):
    return struct.pack("<I", v & 0xFFFFFFFF)


def u64(v):
    return struct.pack("<Q", v & 0xFFFFFFFFFFFFFFFF)


# ---- service transaction fuzzer: values after the token (ServiceTransactionFuzzer.cpp) ----
SESSION, MEMORY, COMMAND, CMDBUF, SUBCMD = range(5)
MEMFD_EMPTY, MEMFD_SMALL, MEMFD_PAGE, MEMFD_LARGE, MEMFD_SEALED, PIPE_R, PIPE_W, EVENTFD, \
    DEVNULL, SOCKET = range(10)


def i32(v):
    return u8(0) + u32(v)


def i64(v):
    return u8(1) + u64(v)


def live(kind, index=0):
    return u8(2) + u8(kind) + u8(index)


def string(text):
    data = text.encode()
    return u8(3) + u8(len(data)) + data


NULL_STRING = u8(4)


def fd(kind):
    return u8(5) + u8(kind)


NULL_FD = u8(6)
CLOSED_FD_NUMBER = u8(7)


def raw_words(words):
    return u8(8) + u8(len(words)) + b"".join(u32(w) for w in words)


def forged_tag(binder):
    return u8(9) + u8(1 if binder else 0)


CALLBACK = u8(10)
NULL_BINDER = u8(11)
RECORD_START = u8(13)
RECORD_END = u8(14)


def record(*fields):
    """A non-null record as an argument or array element: marker 1, then size and fields."""
    return [i32(1), RECORD_START, *fields, RECORD_END]


def long_array(*values):
    return [i32(len(values))] + [i64(v) for v in values]


def fd_array(*kinds):
    return [i32(len(kinds))] + [fd(k) for k in kinds]


def records(*items):
    out = [i32(len(items))]
    for item in items:
        out += item
    return out


S = live(SESSION)
M = live(MEMORY, 0)  # shareable memory
SHARED = live(MEMORY, 1)  # shared (mem_type 1) memory
C = live(COMMAND)
B = live(CMDBUF)
SC = live(SUBCMD)

# Arguments of each method, in transaction order (code = position + 1).
METHODS = [
    ("cmd_build", [S, C]),
    ("cmd_cachedAndRun", [S, C, *long_array(1), *long_array(2)]),
    ("cmd_cachedAndRunWithType", [S, C, *long_array(1), *long_array(2), i32(1)]),
    ("cmd_createSubcmd", [S, C, i32(2)]),
    ("cmd_getRunInfo", [S, C, i32(1)]),
    ("cmd_getRunInfos", [S, *records(record(C, i32(1)), record(C, i32(3)))]),
    ("cmd_run", [S, C]),
    ("cmd_runAsync", [S, C]),
    ("cmd_runWithType", [S, C, i32(1)]),
    ("cmd_runFence", [S, C, i32(-1), i64(0)]),
    ("cmd_setDependencyEdge", [S, C, SC, SC]),
    ("cmd_setDependencyPack", [S, C, SC, SC]),
    ("cmd_setDependencyTightly", [S, C, SC, C, M]),
    ("cmd_setParam", [S, C, i32(1), i64(3)]),
    ("cmd_setParams", [S, *records(record(C, i32(1), i64(2)), record(C, i32(2), i64(50)))]),
    ("cmd_wait", [S, C]),
    ("session_cmdBufAlloc", [S, i32(4096), i32(0)]),
    ("session_cmdBufFree", [S, B]),
    ("session_createCmd", [S]),
    ("session_createInstance", []),
    ("session_deleteCmd", [S, C]),
    ("session_deleteInstance", [S]),
    ("session_memAlloc", [S, i32(4096), i32(64), i32(0), i32(0)]),
    ("session_memFlush", [S, M]),
    ("session_memFree", [S, M]),
    ("session_memGetInfoFromHostPtr", [S, M, i32(3)]),
    ("session_memImport", [S, *fd_array(MEMFD_PAGE), i32(4096)]),
    ("session_memInvalidate", [S, M]),
    ("session_memSetParamViaHostPtr", [S, M, i32(1), i64(7)]),
    ("session_memUnImport", [S, M]),
    ("session_queryDeviceMetaData", [S, i32(1), *record(fd(MEMFD_PAGE), i64(64))]),
    ("session_queryDeviceNum", [S, i32(1)]),
    ("session_queryInfo", [S, i32(1)]),
    ("setCallback", [CALLBACK]),
    ("subCmd_addCmdBuf", [S, SC, B, i32(0)]),
    ("subCmd_getRunInfo", [S, SC, i32(2)]),
    ("subCmd_getRunInfos", [S, *records(record(SC, i32(1)), record(SC, i32(4)))]),
    ("subCmd_setParam", [S, SC, i32(1), i64(1)]),
    ("subCmd_setParams", [S, *records(record(SC, i32(2), i64(40)))]),
    ("session_memGetFdFromHostPtr", [S, M, i32(2)]),
    ("session_cmdBufAllocWithName", [S, i32(4096), i32(0), string("weights"), i64(9)]),
    ("session_memAllocWithName", [S, i32(4096), i32(0), i32(1), i32(0), string("shared")]),
    ("cmd_cachedAndRunWithTypeExt", [S, C, *long_array(1), *long_array(2), i32(2)]),
    ("session_memImportWithFlag", [S, *fd_array(MEMFD_LARGE), i64(4096), i64(1), i64(2)]),
    ("cmd_runFence_v2", [S, C, *record(*fd_array(EVENTFD), i32(0)), i64(0)]),
    ("unSetCallback", [CALLBACK]),
    ("session_memAllocV1", [S, i64(8192), i64(4096), i32(0), i64(0), string("v1"), i64(5)]),
    ("session_memImportV1", [S, *fd_array(MEMFD_SMALL), i64(40), i64(0), i64(0)]),
]

ONEWAY, RAW_FLAGS = 1, 2
CORRECT, OTHER, NONE, RAW, CORRUPTED = range(5)


def transaction(selector, values, flags=0, token=CORRECT, token_bytes=b"", raw_code=None):
    out = u8(selector)
    if raw_code is not None:
        out += u32(raw_code)
    out += u8(flags)
    if flags == RAW_FLAGS:
        out += u32(0x80000000)
    out += u8(token)
    if token == RAW:
        out += u8(len(token_bytes)) + token_bytes
    elif token == CORRUPTED:
        out += u8(3) + u8(1)
    out += u8(len(values)) + b"".join(values)
    return out


def transaction_seeds():
    seeds = {}
    prefilled = u8(1)
    for position, (name, values) in enumerate(METHODS):
        seeds["%02d_%s" % (position + 1, name)] = prefilled + transaction(position, values)
    seeds["version"] = prefilled + transaction(50, [])
    seeds["hash"] = prefilled + transaction(51, [])
    seeds["ping"] = prefilled + transaction(52, [])
    seeds["interface_descriptor"] = prefilled + transaction(53, [])
    seeds["code_0"] = prefilled + transaction(48, [S])
    seeds["code_after_last_method"] = prefilled + transaction(49, [S, C])
    seeds["last_call_code"] = prefilled + transaction(54, [S])
    seeds["code_above_last_call"] = prefilled + transaction(55, [S])
    seeds["other_token"] = prefilled + transaction(0, [S, C], token=OTHER)
    seeds["no_token"] = prefilled + transaction(21, [S], token=NONE)
    seeds["corrupted_token"] = prefilled + transaction(21, [S], token=CORRUPTED)
    seeds["raw_token_bytes"] = prefilled + transaction(19, [], token=RAW, token_bytes=b"\x05\x00\x00")
    seeds["oneway_delete"] = prefilled + transaction(21, [S], flags=ONEWAY)
    seeds["unknown_flags"] = prefilled + transaction(6, [S, C], flags=RAW_FLAGS)
    seeds["short_arguments"] = prefilled + transaction(0, [S])
    seeds["forged_descriptor_tag"] = prefilled + transaction(
        26, [S, i32(1), i32(1), forged_tag(False), i32(4096)])
    seeds["forged_binder_tag"] = prefilled + transaction(33, [i32(1), forged_tag(True)])
    seeds["null_callback"] = prefilled + transaction(33, [NULL_BINDER])
    seeds["null_descriptor_in_array"] = prefilled + transaction(26, [S, i32(1), NULL_FD, i32(64)])
    seeds["null_name"] = prefilled + transaction(
        41, [S, i32(64), i32(0), i32(0), i32(0), NULL_STRING])
    seeds["huge_array_length"] = prefilled + transaction(5, [S, i32(0x7FFFFFFF)])
    seeds["negative_array_length"] = prefilled + transaction(1, [S, C, i32(-1), i32(-1)])
    seeds["record_size_too_small"] = prefilled + transaction(
        30, [S, i32(1), i32(1), i32(4), i64(64)])
    seeds["import_pipe"] = prefilled + transaction(26, [S, *fd_array(PIPE_R), i32(4096)])
    seeds["import_read_only"] = prefilled + transaction(
        43, [S, *fd_array(DEVNULL, SOCKET), i64(64), i64(0), i64(0)])
    seeds["fence_v2_unknown_command"] = prefilled + transaction(
        44, [S, i64(999), *record(*fd_array(PIPE_W, EVENTFD), i32(0)), i64(0)])
    seeds["fence_closed_number"] = prefilled + transaction(9, [S, C, CLOSED_FD_NUMBER, i64(0)])
    seeds["metadata_wrong_size"] = prefilled + transaction(
        30, [S, i32(2), *record(fd(MEMFD_SMALL), i64(40))])
    seeds["metadata_sealed"] = prefilled + transaction(
        30, [S, i32(4), *record(fd(MEMFD_SEALED), i64(64))])
    seeds["session_life"] = u8(0) + b"".join([
        transaction(19, []),
        transaction(22, [S, i32(4096), i32(0), i32(1), i32(0)]),
        transaction(22, [S, i32(4096), i32(0), i32(0), i32(0)]),
        transaction(18, [S]),
        transaction(3, [S, C, i32(1)]),
        transaction(16, [S, i32(4096), i32(0)]),
        transaction(34, [S, SC, B, i32(0)]),
        transaction(0, [S, C]),
        transaction(8, [S, C, i32(0)]),
        transaction(24, [S, live(MEMORY, 0)]),
        transaction(21, [S]),
    ])
    # Regression inputs of faults found by this fuzzer (tests/fuzz/README.md lists them).
    seeds["regression_metadata_into_empty_memfd"] = prefilled + transaction(
        30, [S, i32(1), *record(fd(MEMFD_EMPTY), i64(64))])
    seeds["regression_fd_of_unknown_memory"] = prefilled + transaction(39, [S, i64(999), i32(2)])
    seeds["raw_words_only"] = prefilled + transaction(
        12, [raw_words([1, 0, 2, 0, 3, 0, 4, 0, 5, 0])])
    return seeds


# ---- call-sequence fuzzer: per call a u8 action, the session it names, then the action's own
# fields, in the order of kActions in CallSequenceFuzzer.cpp ----
ACTIONS = [
    "create", "delete", "alloc", "alloc_named", "alloc_v1", "free", "import", "import_flag",
    "import_v1", "unimport", "flush", "invalidate", "mem_info", "mem_param", "mem_fd", "cmdbuf",
    "cmdbuf_named", "cmdbuf_free", "program", "raw_program", "create_cmd", "delete_cmd",
    "create_sub", "add_buf", "edge", "pack", "tightly", "cmd_param", "sub_param", "cmd_params",
    "sub_params", "build", "run", "run_async", "wait", "run_typed", "cached", "cached_typed",
    "cached_ext", "run_fence", "run_fence_handles", "cmd_info", "sub_info", "cmd_infos",
    "sub_infos", "typed_run", "join", "inject", "crash", "query_info", "query_num", "metadata",
]
A = {name: index for index, name in enumerate(ACTIONS)}
FIRST, SECOND, THIRD = 0, 1, 2


def act(name, session=FIRST):
    """An action and the session it names (an index among those handed out)."""
    return u8(A[name]) + u8(session)


def size_sel(sel, extra=0):
    out = u8(sel)
    if sel == 6:
        out += u32(extra)
    elif sel == 7:
        out += u8(extra)
    return out


SZ_1, SZ_64, SZ_PAGE, SZ_64K, SZ_1M, SZ_0 = (size_sel(i) for i in range(6))


def small(n):
    """A pick that names the small number n (0-15) instead of a handed-out id."""
    return 0xE0 + n


def device(kind):
    """A device type, -1 to 7."""
    return u8(kind + 1)


def create():
    return act("create")


def delete(session=FIRST):
    return act("delete", session)


def alloc(session=FIRST, size=SZ_PAGE, mem_type=0, variant=0, name=b"m", align_shift=None):
    out = act(["alloc", "alloc_named", "alloc_v1"][variant], session) + size
    out += u8(0) if align_shift is None else u8(1) + u8(align_shift)
    out += u8(mem_type) + u8(0)
    if variant != 0:
        out += u8(len(name)) + name
    if variant == 2:
        out += u64(7)
    return out


def on_id(name, ident=FIRST, session=FIRST):
    return act(name, session) + u8(ident)


def free(session=FIRST, memory=FIRST):
    return on_id("free", memory, session)


def import_(session=FIRST, kind=MEMFD_PAGE, size=SZ_PAGE, variant=0, with_fd=True):
    out = act(["import", "import_flag", "import_v1"][variant], session)
    out += u8(kind) + u8(1 if with_fd else 0) + size
    if variant != 0:
        out += u8(1) + u8(2)
    return out


def unimport(session=FIRST, memory=FIRST):
    return on_id("unimport", memory, session)


def maintain(name, session=FIRST, memory=FIRST, kind=1):
    """flush, invalidate, mem_info (kind), mem_param (kind, value 1) or mem_fd."""
    out = on_id(name, memory, session)
    if name == "mem_info":
        out += u8(kind)
    elif name == "mem_param":
        out += u8(kind) + u8(1)
    return out


def cmdbuf(session=FIRST, size=SZ_PAGE, named=False):
    out = act("cmdbuf_named" if named else "cmdbuf", session) + size
    if named:
        out += u8(4) + u8(3) + b"buf"
    return out


def cmdbuf_free(session=FIRST, buffer=FIRST):
    return on_id("cmdbuf_free", buffer, session)


def program(buffer=FIRST, steps=()):
    """steps: ("fill", memory index, count), ("copy", memory index, count), ("wait", ns)."""
    out = act("program") + u8(buffer) + u8(len(steps) - 1)
    for step in steps:
        if step[0] == "wait":
            out += u8(0) + u32(step[1])
        elif step[0] == "fill":
            out += u8(1) + u8(step[1]) + struct.pack("<H", step[2]) + u8(0)
        else:
            out += u8(2) + u8(step[1]) + struct.pack("<H", step[2])
    return out


def raw_program(buffer=FIRST, data=b""):
    return act("raw_program") + u8(buffer) + u8(len(data)) + data


def create_cmd(session=FIRST):
    return act("create_cmd", session)


def delete_cmd(session=FIRST, command=FIRST):
    return on_id("delete_cmd", command, session)


def create_sub(session=FIRST, command=FIRST, kind=1):
    return on_id("create_sub", command, session) + device(kind)


def add_buf(session=FIRST, sub=FIRST, buffer=FIRST, mode=0):
    return act("add_buf", session) + u8(sub) + u8(buffer) + u8(mode)


def edge(first, second, session=FIRST, command=FIRST):
    return act("edge", session) + u8(command) + u8(first) + u8(second)


def pack(first, second, session=FIRST, command=FIRST):
    return act("pack", session) + u8(command) + u8(first) + u8(second)


def tightly(first, successor, memory, session=FIRST, command=FIRST):
    return act("tightly", session) + u8(command) + u8(first) + u8(successor) + u8(memory)


def set_param(name, kind=1, value=1, session=FIRST):
    """cmd_param, sub_param, or cmd_params / sub_params with two entries."""
    if name in ("cmd_param", "sub_param"):
        return act(name, session) + u8(FIRST) + u8(kind) + u8(value)
    return act(name, session) + u8(2) + (u8(FIRST) + u8(kind) + u8(value)) * 2


def on_command(name, session=FIRST, command=FIRST):
    """build, run, run_async or wait."""
    return on_id(name, command, session)


def build(session=FIRST, command=FIRST):
    return on_command("build", session, command)


def run(name, session=FIRST, command=FIRST, run_type=0, flushes=(), invalidates=()):
    """run, run_async, wait, run_typed, cached, cached_typed or cached_ext."""
    out = on_id(name, command, session)
    if name == "run_typed":
        return out + u8(run_type)
    if name.startswith("cached"):
        out += u8(len(flushes)) + b"".join(u8(m) for m in flushes)
        out += u8(len(invalidates)) + b"".join(u8(m) for m in invalidates)
        if name != "cached":
            out += u8(run_type)
    return out


def run_fence(mode=0, session=FIRST, command=FIRST, flags=1):
    return on_id("run_fence", command, session) + u8(mode) + u8(flags)


def run_fence_handles(kinds=(0,), session=FIRST, command=FIRST):
    return (on_id("run_fence_handles", command, session) + u8(len(kinds)) +
            b"".join(u8(k) for k in kinds) + u8(1))


def run_info(name, kind=3, session=FIRST):
    """cmd_info, sub_info, or cmd_infos / sub_infos with two entries."""
    if name in ("cmd_info", "sub_info"):
        return on_id(name, FIRST, session) + u8(kind)
    return act(name, session) + u8(2) + (u8(FIRST) + u8(kind)) * 2


def typed_run(session=FIRST, command=FIRST, run_type=1):
    return on_id("typed_run", command, session) + u8(run_type)


JOIN = act("join")
FAIL_DELETE_SESSION, FAIL_MEM_FREE, FAIL_UNIMPORT, FAIL_CMDBUF_FREE, FAIL_DELETE_CMD, \
    FAIL_MEM_INFO, FAIL_MEM_ALLOC, FAIL_IMPORT, FAIL_RUN_TYPED, FAIL_BUILD = (
        1 << i for i in range(10))


def inject(mask):
    return act("inject") + struct.pack("<H", mask)


def crash(own=True):
    return act("crash") + (u8(1) if own else u8(0) + u32(999999))


def query(name, session=FIRST, kind=1):
    """query_info (kind), query_num (device type) or metadata (device type, a page memfd of the
    block's own size, 128)."""
    if name == "query_info":
        return act(name, session) + u8(kind)
    if name == "query_num":
        return act(name, session) + device(kind)
    return act(name, session) + device(kind) + u8(0) + u8(0)


def runnable(wait_ns=0):
    """A session with two memories, a programmed command buffer and a built command."""
    steps = [("fill", FIRST, 64), ("copy", SECOND, 32)]
    if wait_ns:
        steps.append(("wait", wait_ns))
    return [create(), alloc(), alloc(), cmdbuf(), program(steps=steps), create_cmd(),
            create_sub(), add_buf(), build()]


def sequence_seeds():
    seeds = {}
    seeds["full_life"] = runnable() + [
        run("run"), run("run_typed", run_type=1), run("run_async"), run("wait"),
        run("cached", flushes=(FIRST,), invalidates=(SECOND,)),
        run("cached_typed", run_type=2, flushes=(FIRST,)), run("cached_ext", invalidates=(FIRST,)),
        run_fence(0), run_fence_handles((0,)), run_info("cmd_info"), run_info("sub_info"),
        run_info("cmd_infos"), run_info("sub_infos"), delete()]
    seeds["typed_run_meets_deletion"] = runnable(wait_ns=900000) + [typed_run(), delete(), JOIN]
    seeds["two_typed_runs_then_deletion"] = runnable(wait_ns=500000) + [
        typed_run(), typed_run(run_type=2), delete(), JOIN]
    seeds["crash_cleanup"] = [create(), create(), create(), alloc(FIRST), alloc(SECOND),
                              cmdbuf(THIRD), create_cmd(SECOND), alloc(THIRD, mem_type=1),
                              crash()]
    seeds["crash_of_unknown_client"] = [create(), alloc(), crash(own=False)]
    seeds["failed_session_deletion"] = [create(), alloc(), cmdbuf(), create_cmd(),
                                        inject(FAIL_DELETE_SESSION), delete(), crash(),
                                        inject(0)]
    seeds["failed_frees"] = [create(), alloc(), cmdbuf(), create_cmd(), import_(),
                             inject(FAIL_MEM_FREE | FAIL_CMDBUF_FREE | FAIL_DELETE_CMD |
                                    FAIL_UNIMPORT),
                             free(), cmdbuf_free(), delete_cmd(), unimport(memory=SECOND),
                             inject(0), delete()]
    seeds["shared_memory"] = [create(), alloc(mem_type=1), free(), alloc(mem_type=1, variant=1),
                              create(), maintain("flush", session=SECOND), delete(),
                              delete(SECOND)]
    seeds["imports"] = [create(), import_(), unimport(), import_(kind=PIPE_R),
                        import_(kind=MEMFD_SEALED, variant=1),
                        import_(kind=MEMFD_LARGE, size=SZ_1M, variant=2),
                        import_(with_fd=False), import_(kind=DEVNULL), delete()]
    seeds["failed_imports_keep_duplicates"] = [create(), inject(FAIL_IMPORT),
                                               import_(), import_(variant=2), inject(0), delete()]
    seeds["descriptor_query_fails"] = [create(), inject(FAIL_MEM_INFO), alloc(), cmdbuf(),
                                       import_(), inject(0), delete()]
    seeds["fence_handles_unknown_command"] = [create(),
                                              run_fence_handles((0, 1), command=small(5))]
    seeds["dependencies"] = [create(), alloc(), alloc(), cmdbuf(), cmdbuf(),
                             program(FIRST, [("fill", FIRST, 16)]),
                             program(SECOND, [("copy", FIRST, 16)]), create_cmd(), create_cmd(),
                             create_sub(), create_sub(), add_buf(sub=FIRST, buffer=FIRST),
                             add_buf(sub=SECOND, buffer=SECOND), edge(FIRST, SECOND),
                             pack(FIRST, SECOND), tightly(FIRST, SECOND, FIRST), build(),
                             run("run"), delete()]
    seeds["parameters"] = [create(), create_cmd(), create_sub(), set_param("cmd_param"),
                           set_param("sub_param"), set_param("cmd_params", kind=2, value=50),
                           set_param("sub_params", kind=1, value=0)]
    seeds["queries"] = [create(), query("query_info", kind=1), query("query_info", kind=4),
                        query("query_num"), query("query_num", kind=5), query("metadata"),
                        query("metadata", kind=0)]
    seeds["stale_ids"] = [create(), alloc(), cmdbuf(), create_cmd(), create_sub(), delete(),
                          free(), cmdbuf_free(), run("run"), build(), maintain("mem_fd"),
                          add_buf(), delete_cmd()]
    seeds["typed_run_fails"] = runnable() + [inject(FAIL_RUN_TYPED), run("run_typed"), inject(0),
                                             delete()]
    seeds["bad_program"] = [create(), alloc(), cmdbuf(), raw_program(data=b"DRPG" + b"\x01" * 20),
                            create_cmd(), create_sub(), add_buf(), build(), run("run"), delete()]
    seeds["allocation_shapes"] = [create(), alloc(size=SZ_0), alloc(size=SZ_1, align_shift=12),
                                  alloc(size=size_sel(6, 0xFFFFFFFF)), alloc(mem_type=0xF5),
                                  alloc(size=SZ_64K, variant=2), cmdbuf(size=SZ_64, named=True),
                                  delete()]
    seeds["memory_maintenance"] = [create(), alloc(), maintain("flush"), maintain("invalidate"),
                                   maintain("mem_info", kind=3), maintain("mem_param", kind=2),
                                   maintain("mem_fd"), delete()]
    seeds["fences"] = runnable() + [run_fence(0), run_fence(1), run_fence(2),
                                    run_fence_handles((1, 0)), run_fence_handles(()), delete()]
    seeds["command_deleted_during_use"] = runnable() + [run("run_async"), delete_cmd(),
                                                        run("wait"), delete()]
    seeds["buffer_freed_before_run"] = runnable() + [cmdbuf_free(), run("run"), delete()]
    return {name: b"".join(calls) for name, calls in seeds.items()}


# ---- frame decoder fuzzer (FrameDecoderFuzzer.cpp) ----
MAGIC = 0x31574254
HELLO, TRANSACTION, REPLY, LOOKUP, ACQUIRE, RELEASE, DUMP = range(1, 8)


def header(kind, descriptors=0, code=0, flags=0, target=0, objects=0, data=0, magic=MAGIC):
    return struct.pack("<IHHIIQII", magic, kind, descriptors, code, flags, target, objects, data)


def wire_object(offset, kind, ident=0, endpoint=b""):
    return struct.pack("<IIQ", offset, kind, ident) + endpoint.ljust(48, b"\0")[:48]


def raw_frames(data, descriptor_kinds=(), chunks=1, descriptors_with=0):
    """Bytes as they are (no header written by the fuzzer)."""
    return (u8(len(descriptor_kinds)) + b"".join(u8(k) for k in descriptor_kinds) +
            u8(chunks - 1) + u8(descriptors_with) + u8(1) + data)


def frame_seeds():
    endpoint = b"p1234-0123456789abcdef"
    hello = header(HELLO, data=len(endpoint)) + endpoint
    request = bytes(16)
    transaction = (header(TRANSACTION, descriptors=1, code=1, target=7, objects=2,
                          data=len(request)) + wire_object(4, 1) +
                   wire_object(8, 2, 3, endpoint) + request)
    seeds = {
        "hello": raw_frames(hello),
        "hello_then_transaction": raw_frames(hello + transaction, [MEMFD_PAGE], chunks=2,
                                             descriptors_with=1),
        "transaction_with_descriptor": raw_frames(transaction, [EVENTFD]),
        "transaction_descriptor_missing": raw_frames(transaction),
        "transaction_extra_descriptors": raw_frames(transaction, [EVENTFD, PIPE_R, MEMFD_SMALL]),
        "reply": raw_frames(header(REPLY, code=0xFFFFFFEA, data=8) + bytes(8)),
        "release": raw_frames(header(RELEASE, code=3, target=9)),
        "lookup": raw_frames(header(LOOKUP, data=7) + b"default" + b"\0"),
        "dump": raw_frames(header(DUMP, target=1, data=12) + bytes(12)),
        "acquire": raw_frames(header(ACQUIRE, target=2)),
        "bad_magic": raw_frames(header(HELLO, magic=0x12345678)),
        "kind_0": raw_frames(header(0)),
        "kind_8": raw_frames(header(8)),
        "data_over_limit": raw_frames(header(REPLY, data=4 * 1024 * 1024 + 1)),
        "objects_over_limit": raw_frames(header(REPLY, objects=1025)),
        "descriptors_over_limit": raw_frames(header(REPLY, descriptors=65)),
        "too_many_descriptors_sent": raw_frames(header(REPLY, descriptors=64, objects=0),
                                                [EVENTFD] * 70),
        "truncated_header": raw_frames(header(REPLY)[:20]),
        "truncated_data": raw_frames(header(REPLY, data=100) + bytes(10)),
        "object_outside_data": raw_frames(header(REPLY, objects=1, data=4) +
                                          wire_object(4, 2, 1, endpoint) + bytes(4)),
        "objects_overlapping": raw_frames(header(REPLY, objects=2, data=8) +
                                          wire_object(4, 2, 1, endpoint) +
                                          wire_object(4, 2, 1, endpoint) + bytes(8)),
        "object_misaligned": raw_frames(header(REPLY, objects=1, data=8) +
                                        wire_object(2, 2, 1, endpoint) + bytes(8)),
        "endpoint_unterminated": raw_frames(header(REPLY, objects=1, data=8) +
                                            wire_object(0, 2, 1, b"x" * 48) + bytes(8)),
        "unknown_object_kind": raw_frames(header(REPLY, objects=1, data=8) +
                                          wire_object(0, 9) + bytes(8)),
        "descriptors_on_later_chunk": raw_frames(transaction, [MEMFD_PAGE], chunks=3,
                                                 descriptors_with=2),
    }
    # The fuzzer writes a well-formed header when asked: header flag 0.
    seeds["written_header"] = u8(1) + u8(EVENTFD) + u8(0) + u8(0) + u8(0) + u8(
        TRANSACTION - 1) + u8(1) + struct.pack("<H", 8) + wire_object(0, 1) + bytes(8)
    return seeds


def write(fuzzer, seeds):
    directory = os.path.join(ROOT, fuzzer)
    os.makedirs(directory, exist_ok=True)
    for name, data in seeds.items():
        # Regression inputs keep their own prefix, so that they stand out in the corpus.
        file_name = name if name.startswith("regression_") else "seed_" + name
        with open(os.path.join(directory, file_name), "wb") as out:
            out.write(data)
    print("%s: %d seeds" % (fuzzer, len(seeds)))


def main():
    write("service_transaction_fuzzer", transaction_seeds())
    write("call_sequence_fuzzer", sequence_seeds())
    write("frame_decoder_fuzzer", frame_seeds())
    return 0


if __name__ == "__main__":
    sys.exit(main())
