#!/usr/bin/env python3
"""Writes the seed corpora of the fuzzers into tests/fuzz/corpus/<fuzzer>/.

Each seed is a well-formed (or deliberately malformed) input in the layout its fuzzer decodes,
described in tests/fuzz/README.md. Run it again after changing a layout; the files it writes are
named after what they hold, and files it does not write (regression inputs) are left alone.

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


# ---- service transaction fuzzer: values after the token (RequestBuilder.cpp) ----
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
    return 0


if __name__ == "__main__":
    sys.exit(main())
