// Binder transactions across processes: a peer program (binder_test_peer) is started for each
// test and reached through the service directory, which each test process keeps to itself.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
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

// A private service directory for this test process, set before the runtime first looks.
class PrivateDirectory : public ::testing::Environment {
  public:
    void SetUp() override {
        char path[] = "/tmp/binder-test-XXXXXX";
        ASSERT_NE(::mkdtemp(path), nullptr);
        ::setenv("TESSARO_BINDER_DIR", path, 1);
    }
};
const auto* const private_directory = ::testing::AddGlobalTestEnvironment(new PrivateDirectory);

binder_status_t noTransactions(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}

AIBinder_Class* serviceStubClass() {
    static AIBinder_Class* const stub = peer::defineClass(peer::kServiceDescriptor, noTransactions);
    return stub;
}

// The peer program, killed when the test ends.
class Peer {
  public:
    Peer(const std::string& instance, const char* mode) : instance_(instance) {
        pid_ = ::fork();
        if (pid_ == 0) {
            ::execl(BINDER_TEST_PEER, BINDER_TEST_PEER, instance.c_str(), mode, nullptr);
            ::_exit(127);
        }
    }
    ~Peer() { kill(); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    pid_t pid() const { return pid_; }
    // The service's proxy, once the peer has registered it.
    ndk::SpAIBinder connect() {
        const auto deadline = std::chrono::steady_clock::now() + kFailureBound;
        while (std::chrono::steady_clock::now() < deadline) {
            ndk::SpAIBinder binder(AServiceManager_checkService(instance_.c_str()));
            if (binder.get() != nullptr) {
                EXPECT_TRUE(AIBinder_associateClass(binder.get(), serviceStubClass()));
                return binder;
            }
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                ADD_FAILURE() << "the peer exited with status " << status;
                return {};
            }
            std::this_thread::sleep_for(20ms);
        }
        ADD_FAILURE() << "the peer did not register " << instance_;
        return {};
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

// Calls code on binder with a request that write fills; the reply in *reply.
binder_status_t call(const ndk::SpAIBinder& binder, transaction_code_t code,
                     const std::function<binder_status_t(AParcel*)>& write,
                     ndk::ScopedAParcel* reply) {
    ndk::ScopedAParcel request;
    binder_status_t status = AIBinder_prepareTransaction(binder.get(), request.getR());
    if (status == STATUS_OK && write) status = write(request.get());
    if (status != STATUS_OK) return status;
    reply->set(nullptr);  // the transaction overwrites the pointer without freeing what it held
    return AIBinder_transact(binder.get(), code, request.getR(), reply->getR(), 0);
}

TEST(CrossProcessTest, CallCarriesValuesDescriptorsIdentityAndDumps) {
    Peer peer("test.peer.IPeer/values", "join");
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    EXPECT_TRUE(AIBinder_isRemote(service.get()));
    EXPECT_EQ(AIBinder_ping(service.get()), STATUS_OK);

    ndk::ScopedFileDescriptor file(::memfd_create("exchange", MFD_CLOEXEC));
    ASSERT_GE(file.get(), 0);
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(
                      service, peer::kExchange,
                      [&](AParcel* in) {
                          binder_status_t status = ndk::AParcel_writeData(in, int32_t{41});
                          if (status == STATUS_OK)
                              status = ndk::AParcel_writeData(in, int64_t{1} << 40);
                          if (status == STATUS_OK)
                              status = ndk::AParcel_writeString(in, std::string("hello/world"));
                          if (status == STATUS_OK)
                              status = ndk::AParcel_writeVector(in,
                                                                std::vector<int32_t>{1, 2, 3, -4});
                          if (status == STATUS_OK)
                              status = ndk::AParcel_writeRequiredParcelFileDescriptor(in, file);
                          return status;
                      },
                      &reply),
              STATUS_OK);
    int32_t small = 0, sum = 0, pid = 0, uid = 0;
    int64_t large = 0;
    std::string text;
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &small), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &large), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readString(reply.get(), &text), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &sum), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &pid), STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &uid), STATUS_OK);
    EXPECT_EQ(small, 42);
    EXPECT_EQ(large, int64_t{1} << 41);
    EXPECT_EQ(text, "dlrow/olleh");
    EXPECT_EQ(sum, 2);
    EXPECT_EQ(pid, ::getpid());
    EXPECT_EQ(static_cast<uid_t>(uid), ::getuid());
    char written[64] = {};
    ASSERT_GT(::pread(file.get(), written, sizeof(written) - 1, 0), 0);
    EXPECT_STREQ(written, "written by the server");

    // Codes the interface does not know reach its onTransact, which refuses them.
    EXPECT_EQ(call(service, 0x777, nullptr, &reply), STATUS_UNKNOWN_TRANSACTION);
    static AIBinder_Class* const other = peer::defineClass("test.peer.INotThis", noTransactions);
    EXPECT_FALSE(AIBinder_associateClass(service.get(), other));

    int pipe_ends[2];
    ASSERT_EQ(::pipe2(pipe_ends, O_CLOEXEC), 0);
    ndk::ScopedFileDescriptor read_end(pipe_ends[0]), write_end(pipe_ends[1]);
    const char* args[] = {"--verbose", "sessions"};
    ASSERT_EQ(AIBinder_dump(service.get(), write_end.get(), args, 2), STATUS_OK);
    write_end.set(-1);
    char dumped[128] = {};
    ASSERT_GT(::read(read_end.get(), dumped, sizeof(dumped) - 1), 0);
    EXPECT_STREQ(dumped, "peer dump --verbose sessions");
}

struct Callback {
    static AIBinder_Class* binderClass() {
        static AIBinder_Class* const callback_class = peer::defineClass(
                peer::kCallbackDescriptor,
                [](AIBinder*, transaction_code_t code, const AParcel*,
                   AParcel* out) -> binder_status_t {
                    if (code != peer::kCallbackPing) return STATUS_UNKNOWN_TRANSACTION;
                    return ndk::AParcel_writeData(out, int32_t{AIBinder_getCallingPid()});
                });
        return callback_class;
    }
};

TEST(CrossProcessTest, BinderObjectsKeepTheirIdentityAcrossProcesses) {
    Peer peer("test.peer.IPeer/identity", "join");
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    ndk::SpAIBinder again(AServiceManager_checkService("test.peer.IPeer/identity"));
    EXPECT_EQ(again, service);  // one proxy per remote object

    ndk::SpAIBinder callback(AIBinder_new(Callback::binderClass(), nullptr));
    for (bool expected_same : {false, true}) {
        ndk::ScopedAParcel reply;
        ASSERT_EQ(
                call(
                        service, peer::kKeep,
                        [&](AParcel* in) { return AParcel_writeStrongBinder(in, callback.get()); },
                        &reply),
                STATUS_OK);
        ndk::SpAIBinder returned;
        bool same = false;
        ASSERT_EQ(AParcel_readStrongBinder(reply.get(), returned.getR()), STATUS_OK);
        ASSERT_EQ(AParcel_readBool(reply.get(), &same), STATUS_OK);
        EXPECT_EQ(returned, callback);  // back home it is the local object again
        EXPECT_FALSE(AIBinder_isRemote(returned.get()));
        EXPECT_EQ(same, expected_same);  // the second send gave the peer the same proxy
    }

    // The peer calls the callback back: this process serves it without any pool of its own.
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(service, peer::kCallBack, nullptr, &reply), STATUS_OK);
    int32_t caller = 0;
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &caller), STATUS_OK);
    EXPECT_EQ(caller, peer.pid());
}

struct DeathLog {
    std::mutex lock;
    std::condition_variable changed;
    int died = 0;
    int unlinked = 0;
};

TEST(CrossProcessTest, DeathOfTheOwningProcessIsReportedOnce) {
    const char* instance = "test.peer.IPeer/death";
    Peer peer(instance, "join");
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    DeathLog log;
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new([](void* cookie) {
        auto* death_log = static_cast<DeathLog*>(cookie);
        std::lock_guard<std::mutex> guard(death_log->lock);
        ++death_log->died;
        death_log->changed.notify_all();
    }));
    AIBinder_DeathRecipient_setOnUnlinked(recipient.get(), [](void* cookie) {
        auto* death_log = static_cast<DeathLog*>(cookie);
        std::lock_guard<std::mutex> guard(death_log->lock);
        ++death_log->unlinked;
        death_log->changed.notify_all();
    });
    int never = 0;
    EXPECT_EQ(AIBinder_unlinkToDeath(service.get(), recipient.get(), &never),
              STATUS_NAME_NOT_FOUND);
    ASSERT_EQ(AIBinder_linkToDeath(service.get(), recipient.get(), &log), STATUS_OK);
    EXPECT_TRUE(AIBinder_isAlive(service.get()));

    peer.kill();
    {
        std::unique_lock<std::mutex> guard(log.lock);
        ASSERT_TRUE(log.changed.wait_for(guard, kFailureBound, [&] { return log.unlinked == 1; }));
        EXPECT_EQ(log.died, 1);
    }
    EXPECT_FALSE(AIBinder_isAlive(service.get()));
    EXPECT_EQ(AIBinder_ping(service.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(AIBinder_linkToDeath(service.get(), recipient.get(), &log), STATUS_DEAD_OBJECT);
    ndk::ScopedAParcel reply;
    EXPECT_EQ(call(service, peer::kPid, nullptr, &reply), STATUS_DEAD_OBJECT);

    // The dead process's socket is stale: a look-up finds nothing at once, a new one replaces it.
    EXPECT_EQ(AServiceManager_checkService(instance), nullptr);
    Peer successor(instance, "join");
    ndk::SpAIBinder next = successor.connect();
    ASSERT_NE(next.get(), nullptr);
    EXPECT_NE(next, service);
    EXPECT_EQ(call(next, peer::kPid, nullptr, &reply), STATUS_OK);
    std::lock_guard<std::mutex> guard(log.lock);
    EXPECT_EQ(log.died, 1);
}

TEST(CrossProcessTest, CallsFromSeveralThreadsRunAtOnce) {
    Peer peer("test.peer.IPeer/parallel", "nopool");
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    // Each call waits in the peer until all are there: only parallel calls can all finish.
    constexpr int kCalls = 4;
    std::vector<int32_t> reached(kCalls, 0);
    std::vector<std::thread> callers;
    for (int index = 0; index < kCalls; ++index) {
        callers.emplace_back([&, index] {
            ndk::ScopedAParcel reply;
            if (call(
                        service, peer::kBarrier,
                        [](AParcel* in) { return ndk::AParcel_writeData(in, int32_t{kCalls}); },
                        &reply) == STATUS_OK) {
                ndk::AParcel_readData(reply.get(), &reached[index]);
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(reached, std::vector<int32_t>(kCalls, kCalls));
}

size_t openDescriptors(pid_t pid) {
    size_t count = 0;
    DIR* directory = ::opendir(("/proc/" + std::to_string(pid) + "/fd").c_str());
    if (directory == nullptr) return 0;
    while (const dirent* entry = ::readdir(directory)) count += entry->d_name[0] != '.';
    ::closedir(directory);
    return count;
}

// Sends bytes (and fds) on a fresh connection to the service, then waits for the peer to close.
bool peerCloses(const std::string& instance, const std::vector<uint8_t>& bytes,
                const std::vector<int>& fds, bool greet) {
    bool absent = false;
    ndk::ScopedFileDescriptor socket =
            host_binder::connectTo(host_binder::servicePath(instance), &absent);
    if (socket.get() < 0) return false;
    std::string error;
    if (greet) {
        host_binder::Frame hello = host_binder::makeFrame(host_binder::wire::FrameKind::kHello);
        const std::string& own = host_binder::ProcessEndpoint::self().name();
        hello.data.assign(own.begin(), own.end());
        if (!host_binder::sendFrame(socket.get(), &hello, &error)) return false;
    }
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
    uint8_t ignored[256];
    for (;;) {
        const ssize_t received = ::recv(socket.get(), ignored, sizeof(ignored), 0);
        // Closing with unread data resets the connection instead of ending it.
        if (received == 0 || (received < 0 && errno == ECONNRESET)) return true;
        if (received < 0) return false;  // the bound ran out: the peer kept the connection
    }
}

std::vector<uint8_t> frameBytes(host_binder::wire::FrameHeader header, size_t data_size,
                                size_t sent_size) {
    header.magic = host_binder::wire::kFrameMagic;
    header.data_size = static_cast<uint32_t>(data_size);
    std::vector<uint8_t> bytes(sizeof(header) + sent_size, 0);
    std::memcpy(bytes.data(), &header, sizeof(header));
    return bytes;
}

TEST(CrossProcessTest, MalformedFramesCloseOnlyTheirConnection) {
    const std::string instance = "test.peer.IPeer/malformed";
    Peer peer(instance, "join");
    ndk::SpAIBinder service = peer.connect();
    ASSERT_NE(service.get(), nullptr);
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(service, peer::kPid, nullptr, &reply), STATUS_OK);
    const size_t descriptors_before = openDescriptors(peer.pid());

    using host_binder::wire::FrameHeader;
    using host_binder::wire::FrameKind;
    FrameHeader transaction{};
    transaction.kind = static_cast<uint16_t>(FrameKind::kTransaction);
    transaction.code = peer::kPid;
    transaction.target = 1;
    FrameHeader wrong_target = transaction;
    wrong_target.target = 12345;
    std::vector<ndk::ScopedFileDescriptor> files;
    std::vector<int> many;
    for (size_t index = 0; index < host_binder::wire::kMaxFrameDescriptors + 6; ++index) {
        files.emplace_back(::memfd_create("flood", MFD_CLOEXEC));
        many.push_back(files.back().get());
    }
    FrameHeader with_descriptors = transaction;
    with_descriptors.descriptor_count = 2;

    EXPECT_TRUE(peerCloses(instance, std::vector<uint8_t>(100, 0xab), {}, false)) << "garbage";
    EXPECT_TRUE(peerCloses(instance, std::vector<uint8_t>(100, 0xab), {}, true)) << "garbage";
    EXPECT_TRUE(peerCloses(instance, frameBytes(transaction, 64, 10), {}, true)) << "truncated";
    EXPECT_TRUE(peerCloses(instance, frameBytes(transaction, 64u << 20, 0), {}, true))
            << "oversized";
    EXPECT_TRUE(peerCloses(instance, frameBytes(transaction, 0, 0), many, true)) << "many fds";
    EXPECT_TRUE(peerCloses(instance, frameBytes(with_descriptors, 0, 0), {many[0], many[1]}, true))
            << "descriptors that no object claims";
    EXPECT_TRUE(peerCloses(instance, frameBytes(wrong_target, 0, 0), {}, true)) << "wrong target";

    // The peer lost no descriptor to them (the count may also drop: the look-up's connection
    // closes in the peer on its own time) and still serves its other client.
    const auto deadline = std::chrono::steady_clock::now() + kFailureBound;
    while (openDescriptors(peer.pid()) > descriptors_before &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_LE(openDescriptors(peer.pid()), descriptors_before);
    ASSERT_EQ(call(service, peer::kPid, nullptr, &reply), STATUS_OK);
    int32_t pid = 0;
    ASSERT_EQ(ndk::AParcel_readData(reply.get(), &pid), STATUS_OK);
    EXPECT_EQ(pid, peer.pid());
}

}  // namespace
