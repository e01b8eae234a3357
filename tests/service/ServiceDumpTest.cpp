#include <sys/mman.h>
#include <unistd.h>

#include "ServiceFixture.h"

namespace service_test {
namespace {

using ServiceDumpTest = ServiceFixture;

std::string dumpOf(AIBinder* binder) {
    ndk::ScopedFileDescriptor output(memfd_create("dump", MFD_CLOEXEC));
    EXPECT_EQ(AIBinder_dump(binder, output.get(), nullptr, 0), STATUS_OK);
    std::string text(static_cast<size_t>(lseek(output.get(), 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(output.get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

TEST_F(ServiceDumpTest, DescribesSessionsTablesAndTheDebugSwitch) {
    const uint64_t first = createSession();
    const uint64_t second = createSession();
    DRAVIK_MEMINFO_HD memory;
    ASSERT_TRUE(service_->session_memAlloc(first, 64, 0, 0, 0, &memory).isOk());
    ASSERT_TRUE(service_->session_memAlloc(second, 64, 0, 1, 0, &memory).isOk());
    releaseSharedAtEnd(memory.mem_id);
    DRAVIK_CMDBUF_INFO_HD buffer;
    ASSERT_TRUE(service_->session_cmdBufAlloc(second, 64, 0, &buffer).isOk());
    int64_t cmd_id = 0;
    ASSERT_TRUE(service_->session_createCmd(first, &cmd_id).isOk());
    int64_t sub_cmd_id = 0;
    ASSERT_TRUE(service_->cmd_createSubcmd(first, cmd_id, 1, &sub_cmd_id).isOk());

    const std::string text = dumpOf(service_->asBinder().get());
    EXPECT_NE(text.find("debug logging: on\n"), std::string::npos) << text;
    EXPECT_NE(text.find("sessions: 2\n"), std::string::npos) << text;
    EXPECT_NE(text.find("pid " + std::to_string(getpid()) + ": " + std::to_string(first) + " " +
                        std::to_string(second) + "\n"),
              std::string::npos)
            << text;
    EXPECT_NE(text.find("memory entries: 2 (shared: 1)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("command buffer entries: 1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("command entries: 1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("sub-command entries: 1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("callbacks: 0\n"), std::string::npos) << text;

    // Deletion takes the session's entries out of every count; shared memory stays.
    EXPECT_EQ(deleteSession(first), 0);
    const std::string after = dumpOf(service_->asBinder().get());
    EXPECT_NE(after.find("sessions: 1\n"), std::string::npos) << after;
    EXPECT_NE(after.find("memory entries: 1 (shared: 1)\n"), std::string::npos) << after;
    EXPECT_NE(after.find("command entries: 0\n"), std::string::npos) << after;
    EXPECT_NE(after.find("sub-command entries: 0\n"), std::string::npos) << after;
}

}  // namespace
}  // namespace service_test
