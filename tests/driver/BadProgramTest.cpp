// Programs that must not run: each class of fault fails the run with its errno, writes nothing,
// and leaves the session and the command usable.
#include <cstring>
#include <vector>

#include "DriverError.h"
#include "DriverTestSupport.h"
#include "ProgramDecoder.h"

namespace dravik_test {
namespace {

using BadProgramTest = DriverTest;
using Bytes = std::vector<uint8_t>;

// Offsets into an encoded program.
constexpr std::size_t kVersion = 4, kByteLength = 8, kInstructionCount = 12;
constexpr std::size_t kFirstOpcode = 16, kFirstLength = 20, kMatmulReserved = 68;

Bytes edited(Bytes bytes, std::size_t offset, uint32_t value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(value));
    return bytes;
}

TEST_F(BadProgramTest, EachFaultFailsTheRunWithItsErrnoAndWritesNothing) {
    ScopedSession session;
    ScopedSession other_session;
    // Ranges past the end of in run into the next object, which is another session's.
    const Floats out = allocateFloats(session.get(), 16);
    const Floats in = allocateFloats(session.get(), std::vector<float>(16, 3.0f));
    const Floats foreign = allocateFloats(other_session.get(), 16);
    const Floats freed = allocateFloats(session.get(), 16);
    const ProgramCommand made = makeProgramCommand(session.get(), {Program()});
    // Freed last, so no object made since has taken its address.
    ASSERT_EQ(dravikSession_memFree(session.get(), freed.memory), 0);

    const Bytes good = Program().relu(in.address, out.address, 16).bytes();
    const Bytes matmul = Program().matmul(in.address, in.at(4), 0, out.address, 2, 2, 2).bytes();
    const uint64_t kMaxWait = DRAVIK_REFERENCE_MAX_WAIT_NS;
    const struct {
        const char* name;
        Bytes bytes;
        int expected_errno;
    } cases[] = {
            {"magic", edited(good, 0, DRAVIK_REFERENCE_PROGRAM_MAGIC ^ 1), EINVAL},
            {"version", edited(good, kVersion, 2), EINVAL},
            {"longer than the buffer", edited(good, kByteLength, 4096), EINVAL},
            {"instruction cut short", edited(good, kByteLength, 16 + 24), EINVAL},
            {"byte length below the header", edited(good, kByteLength, 8), EINVAL},
            {"more instructions than counted", edited(good, kInstructionCount, 0), EINVAL},
            {"fewer instructions than counted", edited(good, kInstructionCount, 2), EINVAL},
            {"unknown opcode", edited(good, kFirstOpcode, 99), EINVAL},
            {"opcode 0", edited(good, kFirstOpcode, 0), EINVAL},
            {"instruction length", edited(good, kFirstLength, 24), EINVAL},
            {"matmul reserved", edited(matmul, kMatmulReserved, 1), EINVAL},
            {"zero count", Program().relu(in.address, out.address, 0).bytes(), EINVAL},
            {"misaligned fp32", Program().relu(in.address + 2, out.address, 4).bytes(), EINVAL},
            {"partial overlap", Program().relu(in.address, in.at(1), 8).bytes(), EINVAL},
            {"matmul output over an input",
             Program().matmul(in.address, in.at(4), 0, in.at(2), 2, 2, 2).bytes(), EINVAL},
            {"wait too long", Program().wait(kMaxWait + 1).bytes(), EINVAL},
            {"waits too long together", Program().wait(kMaxWait / 2 + 1).wait(kMaxWait / 2).bytes(),
             EINVAL},
            {"count times 4 overflows", Program().relu(in.address, out.address, 1ull << 62).bytes(),
             EOVERFLOW},
            {"matmul dimension above INT32_MAX",
             Program().matmul(in.address, in.address, 0, out.address, 0x80000000u, 1, 1).bytes(),
             EOVERFLOW},
            {"address wraps", Program().copy(~uint64_t{0} - 7, out.address, 16).bytes(), EOVERFLOW},
            {"past the end", Program().relu(in.at(1), out.address, 16).bytes(), EFAULT},
            {"below device memory", Program().copy(4096, out.address, 4).bytes(), EFAULT},
            {"freed memory", Program().relu(freed.address, out.address, 16).bytes(), EFAULT},
            {"another session's input", Program().relu(foreign.address, out.address, 16).bytes(),
             EFAULT},
            {"another session's output", Program().copy(in.address, foreign.address, 4).bytes(),
             EFAULT},
            {"bad bias",
             Program().matmul(in.address, in.at(4), in.at(15), out.address, 2, 2, 2).bytes(),
             EFAULT},
    };

    auto* buffer = static_cast<uint8_t*>(hostAddress(session.get(), made.buffers[0]));
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.name);
        // The buffer has room for every case, so a program's own length is what is checked.
        ASSERT_LE(bad.bytes.size(), 256u);
        std::memset(buffer, 0, 256);
        std::memcpy(buffer, bad.bytes.data(), bad.bytes.size());
        out.set(std::vector<float>(16, -1.0f));
        EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), bad.expected_errno);
        EXPECT_EQ(dravikCmd_getRunInfo(made.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS),
                  bad.expected_errno);
        EXPECT_EQ(out.values(), std::vector<float>(16, -1.0f)) << "a failed run wrote";
        EXPECT_EQ(foreign.values(), std::vector<float>(16, 0.0f));

        std::memcpy(buffer, good.data(), good.size());
        ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
        EXPECT_EQ(out.values(), std::vector<float>(16, 3.0f)) << "the command runs on";
    }
    // Only the sound runs count for the sub-command.
    EXPECT_EQ(dravikSubCmd_getRunInfo(made.sub_commands[0],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
              static_cast<int64_t>(std::size(cases)));
}

// Every program of a run is checked before any executes: a fault in a later sub-command, or in a
// later buffer of one, or a freed buffer leaves what the earlier ones would write unwritten.
TEST_F(BadProgramTest, AFaultAnywhereInTheCommandStopsTheRunBeforeAnythingExecutes) {
    ScopedSession session;
    const Floats first = allocateFloats(session.get(), 4);
    const Floats second = allocateFloats(session.get(), 4);
    const ProgramCommand made = makeProgramCommand(
            session.get(),
            {Program().fill(first.address, 1.0f, 4), Program().fill(second.address, 3.0f, 5)},
            {{0, 1}});
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT) << "one element too many";
    writeProgram(session.get(), made.buffers[1], Program().fill(second.address, 2.0f, 4));
    dravik_mem* extra = dravikSession_cmdBufAlloc(session.get(), 64, 0);
    ASSERT_EQ(dravikSubCmd_addCmdBuf(made.sub_commands[1], extra, 0), 0);
    ASSERT_EQ(dravikCmd_build(made.command), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EINVAL) << "extra holds zeroes";
    EXPECT_EQ(first.values(), std::vector<float>(4, 0.0f));
    EXPECT_EQ(second.values(), std::vector<float>(4, 0.0f));

    writeProgram(session.get(), extra,
                 Program().add(second.address, first.address, second.address, 4));
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
    EXPECT_EQ(second.values(), std::vector<float>(4, 3.0f)) << "buffers run in the order added";
    first.set(std::vector<float>(4, 0.0f));
    ASSERT_EQ(dravikSession_cmdBufFree(session.get(), extra), 0);
    ASSERT_EQ(dravikCmd_runAsync(made.command), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_runAsync(made.command)), EBUSY) << "one at a time";
    EXPECT_EQ(errnoOfFailure(dravikCmd_wait(made.command)), EFAULT) << "the wait tells";
    EXPECT_EQ(errnoOfFailure(dravikCmd_wait(made.command)), EINVAL) << "and only once";
    EXPECT_EQ(first.values(), std::vector<float>(4, 0.0f));
}

// Straight at the decoder, which the driver hands a whole mapping: a program cut anywhere, even
// inside a header, is refused and never read past its end.
TEST(ProgramDecoderTest, AProgramCutAnywhereIsRefused) {
    const Program program = Program()
                                    .matmul(0x1000, 0x2000, 0x3000, 0x4000, 2, 3, 4)
                                    .add(0x300, 0x400, 0x500, 5)
                                    .relu(0x40, 0x40, 6)
                                    .wait(123);
    const Bytes& whole = program.bytes();
    EXPECT_EQ(dravik::reference::decodeProgram(whole.data(), whole.size()).size(), 4u);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        // Exactly size bytes, so that a read past them is seen by the sanitizers too.
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        try {
            dravik::reference::decodeProgram(cut.data(), cut.size());
            ADD_FAILURE() << "decoded " << size << " bytes";
        } catch (const dravik::reference::DriverError& error) {
            EXPECT_EQ(error.errorNumber(), EINVAL) << size << " bytes";
        }
    }
}

}  // namespace
}  // namespace dravik_test
