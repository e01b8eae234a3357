/*
 * The instruction set of the reference accelerator driver: what a command buffer holds.
 *
 * A command buffer holds one program: a program header followed by instructions, packed one after
 * another. All fields are little-endian (the host's order), every struct below is a multiple of 8
 * bytes with no padding, and the program starts at offset 0 of the command buffer. Bytes after the
 * program's byte_length are ignored, so a small program may live in a large buffer.
 *
 * Data. Instructions work on fp32 tensors (IEEE 754 binary32, row-major) and raw bytes in device
 * memory, named by device address. Every memory object of the session -- allocation, import or
 * command buffer -- has one: dravikSession_memGetInfoFromHostPtr(session, mem,
 * DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS). An operand is the byte range [address, address +
 * size) where size follows from the instruction (element count x 4 for fp32); it must lie wholly
 * inside one live memory object of the command's own session.
 *
 * How a run executes a program. A run first decodes and checks every command buffer of every
 * sub-command of the command; only when all of them are sound does it execute anything, so a run
 * that fails on a bad program has written nothing. Then each sub-command executes the programs of
 * its command buffers in the order they were added, and the instructions of each program in order;
 * an instruction sees everything the instructions before it wrote. Sub-commands run after every
 * sub-command they depend on (dravikCmd_setDependencyEdge, dravikCmd_setDependencyPack) and see
 * what those wrote; sub-commands with no dependency between them may run at the same time, so they
 * must not write memory the other reads or writes. The program is read once, when the run starts:
 * changing a command buffer while a run is in progress does not change that run.
 *
 * Errors. A run whose programs are not sound fails, executes nothing, and leaves errno (and the
 * run information's status) as follows; the session and the command stay usable:
 *   EINVAL     malformed program: the command buffer is shorter than a program header; a bad
 *              magic or format version; byte_length smaller than the header or larger than the
 *              command buffer (truncated); instructions that do not fill byte_length exactly or
 *              whose number is not instruction_count; more than
 *              DRAVIK_REFERENCE_MAX_INSTRUCTIONS_PER_PROGRAM instructions; an unknown opcode; an
 *              instruction byte_length other than its opcode's; a non-zero reserved field; a zero
 *              count or dimension; a wait, or the waits of one program together, longer than
 *              DRAVIK_REFERENCE_MAX_WAIT_NS; an fp32
 *              operand that does not start at a multiple of 4 bytes from the start of its memory
 *              object; an output that partly overlaps an input (see each opcode).
 *   EOVERFLOW  an operand's size does not fit in 64 bits (count x 4, rows x cols x 4, ...), an
 *              address + size wraps around, or a matrix dimension exceeds INT32_MAX.
 *   EFAULT     an operand range is not wholly inside one live memory object of the command's
 *              session: no object there, an object freed, an object of another session, a range
 *              that runs past the end of its object or across two objects, an import whose
 *              file its owner has since shrunk below the imported size. Also, as before, a
 *              command buffer of the command that was freed.
 * When a run's programs hold several faults, which of them is reported is not defined.
 */
#ifndef DRAVIK_REFERENCE_INSTRUCTIONS_H
#define DRAVIK_REFERENCE_INSTRUCTIONS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* "DRPG" in memory order. */
#define DRAVIK_REFERENCE_PROGRAM_MAGIC UINT32_C(0x47505244)
/* The format described here. A driver runs only the version it knows. */
#define DRAVIK_REFERENCE_PROGRAM_VERSION 1
/* At most this many instructions per program. */
#define DRAVIK_REFERENCE_MAX_INSTRUCTIONS_PER_PROGRAM 65536
/* The longest DRAVIK_REFERENCE_OP_WAIT: one second. */
#define DRAVIK_REFERENCE_MAX_WAIT_NS UINT64_C(1000000000)

/* The start of every program. An empty program (no instructions) is sound and does nothing. */
typedef struct dravik_reference_program_header {
    uint32_t magic;                /* DRAVIK_REFERENCE_PROGRAM_MAGIC */
    uint32_t version;              /* DRAVIK_REFERENCE_PROGRAM_VERSION */
    uint32_t byte_length;          /* the whole program, this header included */
    uint32_t instruction_count;    /* instructions that follow */
} dravik_reference_program_header; /* 16 bytes */

/* The start of every instruction. */
typedef struct dravik_reference_instruction_header {
    uint32_t opcode;      /* DRAVIK_REFERENCE_OP_* */
    uint32_t byte_length; /* the whole instruction, this header included: sizeof its struct */
} dravik_reference_instruction_header; /* 8 bytes */

/* Opcodes. */
#define DRAVIK_REFERENCE_OP_MATMUL 1
#define DRAVIK_REFERENCE_OP_ADD 2
#define DRAVIK_REFERENCE_OP_MUL 3
#define DRAVIK_REFERENCE_OP_RELU 4
#define DRAVIK_REFERENCE_OP_SOFTMAX 5
#define DRAVIK_REFERENCE_OP_COPY 6
#define DRAVIK_REFERENCE_OP_FILL 7
#define DRAVIK_REFERENCE_OP_WAIT 8

/* C[m x n] = A[m x k] . B[k x n] + bias[n] (bias added to every row of C), all fp32, row-major.
 * bias 0: no bias, C = A . B. m, n, k: 1 to INT32_MAX. C must not overlap A, B or bias (EINVAL);
 * the inputs may overlap each other. */
typedef struct dravik_reference_op_matmul {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_MATMUL, 56 */
    uint64_t a;                                 /* m x k */
    uint64_t b;                                 /* k x n */
    uint64_t bias;                              /* n, or 0 */
    uint64_t c;                                 /* m x n, written */
    uint32_t m;
    uint32_t n;
    uint32_t k;
    uint32_t reserved; /* 0 */
} dravik_reference_op_matmul;

/* out[i] = a[i] + b[i] (OP_ADD) or a[i] * b[i] (OP_MUL) for i < count, fp32. out may be the very
 * range of a or b (in place) or overlap neither; a partial overlap: EINVAL. */
typedef struct dravik_reference_op_binary {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_ADD or _MUL, 40 */
    uint64_t a;
    uint64_t b;
    uint64_t out;
    uint64_t count; /* elements, >= 1 */
} dravik_reference_op_binary;

/* out[i] = max(in[i], 0) for i < count, fp32; out is in, or does not overlap it. NaN stays NaN. */
typedef struct dravik_reference_op_relu {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_RELU, 32 */
    uint64_t in;
    uint64_t out;
    uint64_t count; /* elements, >= 1 */
} dravik_reference_op_relu;

/* Row-wise softmax of in[rows x cols] into out[rows x cols], fp32: out[r][j] =
 * exp(in[r][j] - max_r) / sum_j exp(in[r][j] - max_r), so large inputs do not overflow. out is in,
 * or does not overlap it. rows, cols: >= 1. */
typedef struct dravik_reference_op_softmax {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_SOFTMAX, 40 */
    uint64_t in;
    uint64_t out;
    uint32_t rows;
    uint32_t cols;
    uint64_t reserved; /* 0 */
} dravik_reference_op_softmax;

/* Copies bytes from src to dst; the ranges may overlap (as memmove). No alignment asked. */
typedef struct dravik_reference_op_copy {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_COPY, 32 */
    uint64_t src;
    uint64_t dst;
    uint64_t bytes; /* >= 1 */
} dravik_reference_op_copy;

/* dst[i] = value for i < count, fp32. */
typedef struct dravik_reference_op_fill {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_FILL, 32 */
    uint64_t dst;
    uint64_t count; /* elements, >= 1 */
    float value;
    uint32_t reserved; /* 0 */
} dravik_reference_op_fill;

/* Does nothing for nanoseconds (1 to DRAVIK_REFERENCE_MAX_WAIT_NS, and no more than that for all
 * the waits of one program together): a sub-command that takes a known time, so that runs can be
 * observed while in progress. The bound keeps a command's deletion, which waits for its run, from
 * waiting long. */
typedef struct dravik_reference_op_wait {
    dravik_reference_instruction_header header; /* DRAVIK_REFERENCE_OP_WAIT, 16 */
    uint64_t nanoseconds;
} dravik_reference_op_wait;

#ifdef __cplusplus
}
#endif

#endif /* DRAVIK_REFERENCE_INSTRUCTIONS_H */
