// Binder transactions across processes: a peer program (binder_test_peer) is started for each
// test and reached through the service directory, which each test process keeps to itself.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "PeerProtocol.h"
#include "frame_codec.h"
#include "process_endpoint.h"
#include "service_directory.h"
#include "unix_socket.h"
#include "wire_format.h"

namespace {

using namespace std::chrono_literals;
// Bounds that only keep a broken run from hanging; nothing is expected to take this long.
constexpr auto kFailureBound = 60s;

// Whether condition holds, at once or within the failure bound.
template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + kFailureBound;
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(10ms);
    }
    return condition();
}

// A private service directory for this test process, set before the runtime first looks, and
// removed with whatever the runtime left in it when the process ends.
struct PrivateDirectory {
    char path[32] = "/tmp/binder-test-XXXXXX";
    PrivateDirectory() {
        if (::mkdtemp(path) != nullptr) ::setenv("TESSARO_BINDER_DIR", path, 1);
    }
    ~PrivateDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
} private_directory;

binder_status_t noTransactions(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}

// The peer program, killed when the test ends.
class Peer {
  public:
    explicit Peer(const std::string& instance) : instance_(instance) {
        pid_ = ::fork();
        if (pid_ == 0) {
            ::execl(BINDER_TEST_PEER, BINDER_TEST_PEER, instance.c_str(), nullptr);
            ::_exit(127);
        }
    }
    ~Peer() { kill(); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    pid_t pid() const { return pid_; }
    // The service's proxy, once the peer has registered it.
    ndk::SpAIBinder connect() {
        static AIBinder_Class* const service_class =
                peer::defineClass(peer::kServiceDescriptor, noTransactions);
        ndk::SpAIBinder binder;
        EXPECT_TRUE(eventually([&] {
            binder.set(AServiceManager_checkService(instance_.c_str()));
            return binder.get() != nullptr;
        })) << instance_;
        EXPECT_TRUE(AIBinder_associateClass(binder.get(), service_class));
        return binder;
    }
    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

  private:
    const std::string instance_;
    pid_t pid_ = -1;
};

// Calls kBarrier on binder for count calls at once; the reply in *reply.
binder_status_t callBarrier(const ndk::SpAIBinder& binder, int32_t count,
                            ndk::ScopedAParcel* reply) {
    ndk::ScopedAParcel request;
    binder_status_t status = AIBinder_prepareTransaction(binder.get(), request.getR());
    if (status == STATUS_OK) status = AParcel_writeInt32(request.get(), count);
    if (status != STATUS_OK) return status;
    reply->set(nullptr);  // the transaction overwrites the pointer without freeing what it held
    return AIBinder_transact(binder.get(), peer::kBarrier, request.getR(), reply->getR(), 0);
}

// What one link's callbacks were told; the link's cookie.
struct DeathLog {
    std::atomic<int> died{0};
    std::atomic<int> unlinked{0};
};

ndk::ScopedAIBinder_DeathRecipient newRecipient() {
    ndk::ScopedAIBinder_DeathRecipient recipient(
            AIBinder_DeathRecipient_new([](void* log) { ++static_cast<DeathLog*>(log)->died; }));
    AIBinder_DeathRecipient_setOnUnlinked(
            recipient.get(), [](void* log) { ++static_cast<DeathLog*>(log)->unlinked; });
    return recipient;
}

TEST(CrossProcessTest, DeathOfTheOwningProcessIsReportedOnceToLinksThatRemain) {
    const char* instance = "test.peer.IPeer/death";
    Peer peer(instance);
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    EXPECT_TRUE(AIBinder_isRemote(service.get()));
    DeathLog log, undone, dropped;  // outlive the recipients that name them
    ndk::ScopedAIBinder_DeathRecipient recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service.get(), recipient.get(), &log), STATUS_OK);
    // A link undone, and one whose recipient is deleted, end at once and hear of no death.
    ASSERT_EQ(AIBinder_linkToDeath(service.get(), recipient.get(), &undone), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service.get(), recipient.get(), &undone), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service.get(), recipient.get(), &undone),
              STATUS_NAME_NOT_FOUND);
    {
        ndk::ScopedAIBinder_DeathRecipient deleted = newRecipient();
        ASSERT_EQ(AIBinder_linkToDeath(service.get(), deleted.get(), &dropped), STATUS_OK);
    }
    EXPECT_EQ(undone.unlinked, 1);
    EXPECT_EQ(dropped.unlinked, 1);
    EXPECT_TRUE(AIBinder_isAlive(service.get()));

    peer.kill();
    ASSERT_TRUE(eventually([&] { return log.unlinked == 1; }));
    EXPECT_FALSE(AIBinder_isAlive(service.get()));
    EXPECT_EQ(AIBinder_ping(service.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(AIBinder_linkToDeath(service.get(), recipient.get(), &log), STATUS_DEAD_OBJECT);

    // The dead process's socket is stale: a look-up finds nothing at once, a new one replaces it.
    EXPECT_EQ(AServiceManager_checkService(instance), nullptr);
    Peer successor(instance);
    ndk::SpAIBinder next = successor.connect();
    ASSERT_NE(next.get(), nullptr);
    EXPECT_NE(next, service);
    EXPECT_EQ(AIBinder_ping(next.get()), STATUS_OK);
    // Only the link that remained heard of the death, once; every link ended once.
    EXPECT_EQ(log.died, 1);
    EXPECT_EQ(undone.died + dropped.died, 0);
    EXPECT_EQ(log.unlinked + undone.unlinked + dropped.unlinked, 3);
}

TEST(CrossProcessTest, CallsFromSeveralThreadsRunAtOnceAndCarryTheCallersIdentity) {
    Peer peer("test.peer.IPeer/parallel");
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    // Each call waits in the peer until all are there: only parallel calls can all finish.
    constexpr int kCalls = 4;
    std::vector<std::vector<int32_t>> answers(kCalls);
    std::vector<std::thread> callers;
    for (int index = 0; index < kCalls; ++index) {
        callers.emplace_back([&, index] {
            ndk::ScopedAParcel reply;
            if (callBarrier(service, kCalls, &reply) == STATUS_OK) {
                ndk::AParcel_readData(reply.get(), &answers[index]);
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    const std::vector<int32_t> answer = {kCalls, ::getpid(), static_cast<int32_t>(::getuid())};
    EXPECT_EQ(answers, std::vector<std::vector<int32_t>>(kCalls, answer));
}

size_t openDescriptors(pid_t pid) {
    std::error_code error;
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd",
                                                      error);
    return static_cast<size_t>(std::distance(entries, {}));
}

// Sends header, announcing data_size bytes of data but followed by sent_size (and fds), after a
// proper hello on a fresh connection to the service: whether the peer closes it without an answer
// (it answers any frame it accepts), within the failure bound.
bool peerCloses(const std::string& instance, host_binder::wire::FrameHeader header,
                size_t data_size, size_t sent_size, const std::vector<int>& fds) {
    header.magic = host_binder::wire::kFrameMagic;
    header.data_size = static_cast<uint32_t>(data_size);
    std::vector<uint8_t> bytes(sizeof(header) + sent_size, 0);
    std::memcpy(bytes.data(), &header, sizeof(header));
    bool absent = false;
    ndk::ScopedFileDescriptor socket =
            host_binder::connectTo(host_binder::servicePath(instance), &absent);
    if (socket.get() < 0) return false;
    host_binder::Frame hello = host_binder::makeFrame(host_binder::wire::FrameKind::kHello);
    const std::string& own = host_binder::ProcessEndpoint::self().name();
    hello.data.assign(own.begin(), own.end());
    std::string error;
    if (!host_binder::sendFrame(socket.get(), &hello, &error)) return false;
    iovec vector{const_cast<uint8_t*>(bytes.data()), bytes.size()};
    std::vector<unsigned char> control(CMSG_SPACE(sizeof(int) * fds.size()));
    msghdr msg{};
    msg.msg_iov = &vector;
    msg.msg_iovlen = 1;
    if (!fds.empty()) {
        msg.msg_control = control.data();
        msg.msg_controllen = control.size();
        cmsghdr* cmsg = CMSG_FIRSTHDR(&msg);
        cmsg->cmsg_level = SOL_SOCKET;
        cmsg->cmsg_type = SCM_RIGHTS;
        cmsg->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        std::memcpy(CMSG_DATA(cmsg), fds.data(), sizeof(int) * fds.size());
    }
    if (::sendmsg(socket.get(), &msg, MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
        return false;
    ::shutdown(socket.get(), SHUT_WR);  // a truncated frame stays truncated
    host_binder::setSocketTimeouts(socket.get(), 10s, kFailureBound);
    // Closing with unread data resets the connection instead of ending it.
    uint8_t answer = 0;
    const ssize_t received = ::recv(socket.get(), &answer, 1, 0);
    return received == 0 || (received < 0 && errno == ECONNRESET);
}

// A connection without a hello, garbage and an oversized header are the bad-input tests' to prove
// against the daemon; these are the frames only a peer that greeted properly can send.
TEST(CrossProcessTest, MalformedFramesCloseOnlyTheirConnection) {
    const std::string instance = "test.peer.IPeer/malformed";
    Peer peer(instance);
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    ASSERT_EQ(AIBinder_ping(service.get()), STATUS_OK);
    const size_t descriptors_before = openDescriptors(peer.pid());

    using host_binder::wire::FrameHeader;
    FrameHeader transaction{};
    transaction.kind = static_cast<uint16_t>(host_binder::wire::FrameKind::kTransaction);
    transaction.code = peer::kBarrier;
    transaction.target = 1;
    FrameHeader wrong_target = transaction;
    wrong_target.target = 12345;
    FrameHeader with_descriptors = transaction;
    with_descriptors.descriptor_count = 2;
    // The same file many times over: each arrives in the peer as a descriptor of its own.
    const ndk::ScopedFileDescriptor file(::memfd_create("flood", MFD_CLOEXEC));
    const std::vector<int> many(host_binder::wire::kMaxFrameDescriptors + 6, file.get());

    EXPECT_TRUE(peerCloses(instance, transaction, 64, 10, {})) << "truncated";
    EXPECT_TRUE(peerCloses(instance, transaction, 0, 0, many)) << "many fds";
    EXPECT_TRUE(peerCloses(instance, with_descriptors, 0, 0, {file.get(), file.get()}))
            << "descriptors that no object claims";
    EXPECT_TRUE(peerCloses(instance, wrong_target, 0, 0, {})) << "wrong target";

    // The peer lost no descriptor to them (the count may also drop: the look-up's connection
    // closes in the peer on its own time) and still serves its other client.
    EXPECT_TRUE(eventually([&] { return openDescriptors(peer.pid()) <= descriptors_before; }));
    EXPECT_EQ(AIBinder_ping(service.get()), STATUS_OK);
}

}  // namespace
