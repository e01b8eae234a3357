// Programs that must not run: each class of fault fails the run with its errno, writes nothing,
// and leaves the session and the command usable.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ProgramTestSupport.h"

namespace dravik_test {
namespace {

using BadProgramTest = DriverTest;

// Offsets into an encoded program.
constexpr std::size_t kVersion = 4, kByteLength = 8, kInstructionCount = 12;
constexpr std::size_t kFirstOpcode = 16, kFirstLength = 20, kFirstOperands = 24;

template <typename Value>
void put(std::vector<uint8_t>& bytes, std::size_t offset, Value value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(value));
}

struct BadCase {
    std::string name;
    std::vector<uint8_t> bytes;
    int expected_errno;
};

TEST_F(BadProgramTest, EachFaultFailsTheRunWithItsErrnoAndWritesNothing) {
    ScopedSession session;
    ScopedSession other_session;
    // Ranges past the end of in run into the next object, which is another session's.
    const Floats out = allocateFloats(session.get(), 16);
    const Floats in = allocateFloats(session.get(), 16);
    const Floats foreign = allocateFloats(other_session.get(), 16);
    const Floats freed = allocateFloats(session.get(), 16);
    in.set(std::vector<float>(16, 3.0f));

    using dravik_reference::Program;
    const std::vector<uint8_t> good = Program().relu(in.address, out.address, 16).bytes();
    auto edited = [&good](const std::function<void(std::vector<uint8_t>&)>& edit) {
        std::vector<uint8_t> bytes = good;
        edit(bytes);
        return bytes;
    };
    const std::vector<BadCase> cases = {
            {"zeroes", std::vector<uint8_t>(good.size(), 0), EINVAL},
            {"shorter than a header", std::vector<uint8_t>(good.begin(), good.begin() + 8), EINVAL},
            {"magic", edited([](auto& b) { b[0] ^= 1; }), EINVAL},
            {"version", edited([](auto& b) { put<uint32_t>(b, kVersion, 2); }), EINVAL},
            {"longer than the buffer", edited([](auto& b) { put<uint32_t>(b, kByteLength, 4096); }),
             EINVAL},
            {"instruction cut short",
             edited([](auto& b) { put<uint32_t>(b, kByteLength, 16 + 24); }), EINVAL},
            {"byte length below the header",
             edited([](auto& b) { put<uint32_t>(b, kByteLength, 8); }), EINVAL},
            {"more instructions than counted",
             edited([](auto& b) { put<uint32_t>(b, kInstructionCount, 0); }), EINVAL},
            {"fewer instructions than counted",
             edited([](auto& b) { put<uint32_t>(b, kInstructionCount, 2); }), EINVAL},
            {"unknown opcode", edited([](auto& b) { put<uint32_t>(b, kFirstOpcode, 99); }), EINVAL},
            {"opcode 0", edited([](auto& b) { put<uint32_t>(b, kFirstOpcode, 0); }), EINVAL},
            {"instruction length", edited([](auto& b) { put<uint32_t>(b, kFirstLength, 24); }),
             EINVAL},
            {"zero count", Program().relu(in.address, out.address, 0).bytes(), EINVAL},
            {"misaligned fp32", Program().relu(in.address + 2, out.address, 4).bytes(), EINVAL},
            {"partial overlap", Program().relu(in.address, in.at(1), 8).bytes(), EINVAL},
            {"matmul output over an input",
             Program().matmul(in.address, in.at(4), 0, in.at(2), 2, 2, 2).bytes(), EINVAL},
            {"matmul reserved", edited([&](auto& b) {
                 b = Program().matmul(in.address, in.at(4), 0, out.address, 2, 2, 2).bytes();
                 put<uint32_t>(b, kFirstOperands + 44, 1);
             }),
             EINVAL},
            {"wait too long", Program().wait(DRAVIK_REFERENCE_MAX_WAIT_NS + 1).bytes(), EINVAL},
            {"waits too long together",
             Program()
                     .wait(DRAVIK_REFERENCE_MAX_WAIT_NS / 2 + 1)
                     .wait(DRAVIK_REFERENCE_MAX_WAIT_NS / 2)
                     .bytes(),
             EINVAL},
            {"count times 4 overflows", Program().relu(in.address, out.address, 1ull << 62).bytes(),
             EOVERFLOW},
            {"matmul dimension above INT32_MAX",
             Program().matmul(in.address, in.address, 0, out.address, 0x80000000u, 1, 1).bytes(),
             EOVERFLOW},
            {"address wraps", Program().copy(~uint64_t{0} - 7, out.address, 16).bytes(), EOVERFLOW},
            {"past the end", Program().relu(in.at(1), out.address, 16).bytes(), EFAULT},
            {"address 0", Program().relu(0, out.address, 16).bytes(), EFAULT},
            {"below device memory", Program().copy(4096, out.address, 4).bytes(), EFAULT},
            {"freed memory", Program().relu(freed.address, out.address, 16).bytes(), EFAULT},
            {"another session's memory", Program().relu(foreign.address, out.address, 16).bytes(),
             EFAULT},
            {"another session's output", Program().copy(in.address, foreign.address, 4).bytes(),
             EFAULT},
            {"bad bias",
             Program().matmul(in.address, in.at(4), in.at(15), out.address, 2, 2, 2).bytes(),
             EFAULT},
    };

    const ProgramCommand made = makeProgramCommand(session.get(), {Program()});
    // Room for the longest case, so a program's own length is what is checked.
    dravik_mem* big_buffer = dravikSession_cmdBufAlloc(session.get(), 256, 0);
    ASSERT_EQ(dravikSubCmd_addCmdBuf(made.sub_commands[0], big_buffer,
                                     DRAVIK_REFERENCE_ADD_CMD_BUF_REPLACE),
              0);
    ASSERT_EQ(dravikCmd_build(made.command), 0);
    auto* buffer_bytes = static_cast<uint8_t*>(hostAddress(session.get(), big_buffer));
    // Freed last, so no object made since has taken its address.
    ASSERT_EQ(dravikSession_memFree(session.get(), freed.memory), 0);

    for (const BadCase& bad : cases) {
        SCOPED_TRACE(bad.name);
        ASSERT_LE(bad.bytes.size(), 256u);
        std::memset(buffer_bytes, 0, 256);
        std::memcpy(buffer_bytes, bad.bytes.data(), bad.bytes.size());
        out.set(std::vector<float>(16, -1.0f));
        EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), bad.expected_errno);
        EXPECT_EQ(dravikCmd_getRunInfo(made.command, DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS),
                  bad.expected_errno);
        EXPECT_EQ(out.values(), std::vector<float>(16, -1.0f)) << "a failed run wrote";
        EXPECT_EQ(foreign.values(), std::vector<float>(16, 0.0f));

        // The same command runs a sound program right after.
        std::memcpy(buffer_bytes, good.data(), good.size());
        ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
        EXPECT_EQ(out.values(), std::vector<float>(16, 3.0f));
    }
    // Only the sound runs count for the sub-command.
    EXPECT_EQ(dravikSubCmd_getRunInfo(made.sub_commands[0],
                                      DRAVIK_REFERENCE_SUBCMD_RUN_INFO_RUN_COUNT),
              static_cast<int64_t>(cases.size()));
    EXPECT_EQ(dravikCmd_getRunInfo(made.command, DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT),
              static_cast<int64_t>(2 * cases.size()));
}

TEST_F(BadProgramTest, AFaultInOneSubCommandStopsTheWholeRunBeforeAnythingExecutes) {
    ScopedSession session;
    const Floats first = allocateFloats(session.get(), 4);
    const Floats second = allocateFloats(session.get(), 4);
    using dravik_reference::Program;
    Program sound, faulty;
    sound.fill(first.address, 1.0f, 4);
    faulty.fill(second.address, 2.0f, 4).fill(second.address, 3.0f, 5);  // one element too many
    const ProgramCommand made = makeProgramCommand(session.get(), {sound, faulty}, {{0, 1}});
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT);
    EXPECT_EQ(first.values(), std::vector<float>(4, 0.0f));
    EXPECT_EQ(second.values(), std::vector<float>(4, 0.0f));

    // A second buffer of the same sub-command is checked too.
    writeProgram(session.get(), made.buffers[1], Program().fill(second.address, 2.0f, 4));
    dravik_mem* extra = dravikSession_cmdBufAlloc(session.get(), 64, 0);
    ASSERT_EQ(dravikSubCmd_addCmdBuf(made.sub_commands[1], extra,
                                     DRAVIK_REFERENCE_ADD_CMD_BUF_APPEND),
              0);
    ASSERT_EQ(dravikCmd_build(made.command), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EINVAL) << "extra holds zeroes";
    EXPECT_EQ(second.values(), std::vector<float>(4, 0.0f));
    writeProgram(session.get(), extra,
                 Program().add(second.address, first.address, second.address, 4));
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
    EXPECT_EQ(first.values(), std::vector<float>(4, 1.0f));
    EXPECT_EQ(second.values(), std::vector<float>(4, 3.0f)) << "buffers run in the order added";
}

// The run holds what it uses: unimporting memory while the run waits leaves the run writing to
// memory that is still mapped, and the caller's descriptor sees the result.
TEST_F(BadProgramTest, MemoryLetGoDuringARunStaysMappedUntilTheRunIsOver) {
    ScopedSession session;
    const int file = memfd_create("imported", MFD_CLOEXEC);
    ASSERT_GE(file, 0);
    ASSERT_EQ(ftruncate(file, 4096), 0);
    dravik_mem* imported = dravikSession_memImport(session.get(), file, 4096);
    ASSERT_NE(imported, nullptr) << "errno " << errno;
    const uint64_t address = deviceAddress(session.get(), imported);
    using dravik_reference::Program;
    const ProgramCommand made = makeProgramCommand(
            session.get(), {Program().wait(200'000'000), Program().fill(address, 5.0f, 1024)},
            {{0, 1}});
    ASSERT_EQ(dravikCmd_runAsync(made.command), 0);
    usleep(20'000);
    ASSERT_EQ(dravikSession_memUnImport(session.get(), imported), 0);
    const int32_t result = dravikCmd_wait(made.command);
    // Had the unimport come before the run resolved its operands, the run fails cleanly instead.
    if (result != 0) {
        EXPECT_EQ(errno, EFAULT);
    } else {
        void* mapping = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0);
        ASSERT_NE(mapping, MAP_FAILED);
        EXPECT_EQ(static_cast<const float*>(mapping)[1023], 5.0f);
        munmap(mapping, 4096);
    }
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT) << "now it is gone";
    close(file);
}

// An import whose owner shrinks its file fails the runs that use it, instead of faulting the
// process when the run touches the missing pages.
TEST_F(BadProgramTest, AnImportItsOwnerShrankFailsTheRun) {
    ScopedSession session;
    const int file = memfd_create("shrunk", MFD_CLOEXEC);
    ASSERT_GE(file, 0);
    ASSERT_EQ(ftruncate(file, 8192), 0);
    dravik_mem* imported = dravikSession_memImport(session.get(), file, 8192);
    ASSERT_NE(imported, nullptr) << "errno " << errno;
    using dravik_reference::Program;
    const ProgramCommand made = makeProgramCommand(
            session.get(), {Program().fill(deviceAddress(session.get(), imported), 2.0f, 2048)});
    ASSERT_EQ(dravikCmd_run(made.command), 0) << "errno " << errno;
    ASSERT_EQ(ftruncate(file, 0), 0);
    EXPECT_EQ(errnoOfFailure(dravikCmd_run(made.command)), EFAULT);
    ASSERT_EQ(ftruncate(file, 8192), 0);
    EXPECT_EQ(dravikCmd_run(made.command), 0) << "whole again, it runs";
    EXPECT_EQ(dravikSession_memUnImport(session.get(), imported), 0);
    close(file);
}

}  // namespace
}  // namespace dravik_test
