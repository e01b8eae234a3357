#include "incoming_connection.h"

#include <android/binder_parcel_utils.h>

#include <atomic>
#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>

#include "binder.h"
#include "calling_identity.h"
#include "export_table.h"
#include "frame_codec.h"
#include "log.h"
#include "parcel.h"
#include "parcel_wire.h"
#include "peer_connections.h"
#include "service_directory.h"
#include "service_table.h"
#include "thread_pool.h"
#include "unix_socket.h"

namespace host_binder {

namespace {

using wire::FrameKind;

std::atomic<size_t> live_connections{0};

class IncomingConnection {
  public:
    IncomingConnection(ndk::ScopedFileDescriptor socket, std::string service, PeerCredentials peer)
        : socket_(std::move(socket)), service_(std::move(service)), peer_(peer) {}

    void run() {
        if (!greeted()) return;
        PeerConnections::processConnections().opened(endpoint_);
        // Counted until every call read from it has run: see peer_connections.h.
        struct Closer {
            const std::string& endpoint;
            ~Closer() { PeerConnections::processConnections().closed(endpoint); }
        } closer{endpoint_};
        for (;;) {
            Frame frame;
            std::string error;
            const ReceiveResult result = receiveFrame(socket_.get(), &frame, &error);
            if (result == ReceiveResult::kClosed) return;
            if (result == ReceiveResult::kFailed || !handle(&frame, &error)) {
                logError("binder: closing the connection from pid %d ('%s'): %s", peer_.pid,
                         endpoint_.c_str(), error.c_str());
                return;
            }
        }
    }

  private:
    // Reads the hello, within the handshake timeout. A connection closed before it says
    // nothing is no error: a process that only wanted the pid of this one does that.
    bool greeted() {
        Frame hello;
        std::string error;
        if (!setSocketTimeouts(socket_.get(), wire::kSendTimeout, wire::kHandshakeTimeout)) {
            return false;
        }
        const ReceiveResult result = receiveFrame(socket_.get(), &hello, &error);
        if (result == ReceiveResult::kClosed) return false;
        if (result == ReceiveResult::kFrame) {
            endpoint_.assign(hello.data.begin(), hello.data.end());
            if (hello.header.kind != static_cast<uint16_t>(FrameKind::kHello)) {
                error = "the first frame is not a hello";
            } else if (!isEndpointName(endpoint_) ||
                       endpoint_.compare(1, std::to_string(peer_.pid).size() + 1,
                                         std::to_string(peer_.pid) + "-") != 0) {
                error = "the hello names no endpoint of the connecting process";
            } else {
                return setSocketTimeouts(socket_.get(), wire::kSendTimeout,
                                         std::chrono::milliseconds(0));
            }
        }
        logError("binder: closing a connection from pid %d: %s", peer_.pid, error.c_str());
        return false;
    }

    bool handle(Frame* frame, std::string* error) {
        switch (static_cast<FrameKind>(frame->header.kind)) {
            case FrameKind::kTransaction:
            case FrameKind::kDump:
                return runCall(frame, error);
            case FrameKind::kLookup:
                return answerLookup(*frame, error);
            case FrameKind::kAcquire: {
                const bool known =
                        ExportTable::processTable().acquire(frame->header.target, endpoint_);
                return reply(known ? STATUS_OK : STATUS_DEAD_OBJECT, nullptr, error);
            }
            case FrameKind::kRelease:
                ExportTable::processTable().release(frame->header.target, endpoint_,
                                                    frame->header.code);
                return true;
            default:
                *error = "unexpected frame kind " + std::to_string(frame->header.kind);
                return false;
        }
    }

    // A transaction or a dump, run on the pool while this thread waits for it.
    bool runCall(Frame* frame, std::string* error) {
        ndk::SpAIBinder target = ExportTable::processTable().find(frame->header.target);
        if (target.get() == nullptr) {
            *error = "call to unknown object id " + std::to_string(frame->header.target);
            return false;
        }
        auto request = std::make_shared<AParcel>(target.get());
        if (!decodeParcel(frame, endpoint_, request.get(), error)) return false;
        const FrameKind kind = static_cast<FrameKind>(frame->header.kind);
        const transaction_code_t code = frame->header.code;
        const binder_flags_t flags = frame->header.flags;
        auto outcome = std::make_shared<std::promise<std::string>>();
        std::future<std::string> done = outcome->get_future();
        ThreadPool::processPool().post([this, target, request, kind, code, flags, outcome] {
            std::string failure;
            {
                ScopedCallingIdentity identity(CallingIdentity{peer_.pid, peer_.uid});
                if (kind == FrameKind::kDump) {
                    runDump(target.get(), *request, &failure);
                } else {
                    runTransaction(target.get(), code, *request, flags, &failure);
                }
            }
            outcome->set_value(failure);
        });
        *error = done.get();
        return error->empty();
    }

    void runTransaction(AIBinder* target, transaction_code_t code, const AParcel& request,
                        binder_flags_t flags, std::string* error) {
        AParcel reply_parcel;
        const binder_status_t status = target->transact(code, request, &reply_parcel, flags);
        if ((flags & FLAG_ONEWAY) != 0) return;
        reply(status, status == STATUS_OK ? &reply_parcel : nullptr, error);
    }

    void runDump(AIBinder* target, const AParcel& request, std::string* error) {
        request.setDataPosition(0);
        ndk::ScopedFileDescriptor fd;
        int32_t count = 0;
        std::vector<std::string> arguments;
        binder_status_t status = ndk::AParcel_readRequiredParcelFileDescriptor(&request, &fd);
        if (status == STATUS_OK) status = AParcel_readInt32(&request, &count);
        if (status == STATUS_OK &&
            (count < 0 || static_cast<size_t>(count) > request.remaining())) {
            status = STATUS_BAD_VALUE;
        }
        for (int32_t index = 0; status == STATUS_OK && index < count; ++index) {
            arguments.emplace_back();
            status = ndk::AParcel_readString(&request, &arguments.back());
        }
        if (status == STATUS_OK) {
            std::vector<const char*> pointers;
            for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
            status = target->dump(fd.get(), pointers.data(), static_cast<uint32_t>(count));
        }
        reply(status, nullptr, error);
    }

    bool answerLookup(const Frame& frame, std::string* error) {
        const std::string name(frame.data.begin(), frame.data.end());
        ndk::SpAIBinder binder;
        // Only a service socket answers, and only for its own name (hashed names may collide).
        if (!service_.empty() && name == service_) {
            binder = ServiceTable::processTable().find(name);
        }
        if (binder.get() == nullptr) return reply(STATUS_NAME_NOT_FOUND, nullptr, error);
        AParcel parcel;
        binder_status_t status = AParcel_writeStrongBinder(&parcel, binder.get());
        return reply(status, status == STATUS_OK ? &parcel : nullptr, error);
    }

    bool reply(binder_status_t status, const AParcel* parcel, std::string* error) {
        Frame answer = makeFrame(FrameKind::kReply);
        if (parcel != nullptr) {
            const binder_status_t encoded = encodeParcel(*parcel, endpoint_, &answer);
            if (encoded != STATUS_OK) {
                answer = makeFrame(FrameKind::kReply);
                status = encoded;
            }
        }
        answer.header.code = static_cast<uint32_t>(status);
        return sendFrame(socket_.get(), &answer, error);
    }

    const ndk::ScopedFileDescriptor socket_;
    const std::string service_;
    const PeerCredentials peer_;
    std::string endpoint_;  // the peer's, from its hello
};

}  // namespace

void serveConnection(ndk::ScopedFileDescriptor connection, const std::string& service) {
    if (live_connections.fetch_add(1) >= wire::kMaxIncomingConnections) {
        live_connections.fetch_sub(1);
        logError("binder: refusing a connection: %zu are open already",
                 wire::kMaxIncomingConnections);
        return;
    }
    PeerCredentials peer{};
    if (!peerCredentials(connection.get(), &peer)) {
        live_connections.fetch_sub(1);
        return;
    }
    auto served = std::make_shared<IncomingConnection>(std::move(connection), service, peer);
    try {
        std::thread([served] {
            served->run();
            live_connections.fetch_sub(1);
        }).detach();
    } catch (const std::system_error& failure) {
        live_connections.fetch_sub(1);
        logError("binder: cannot start a thread for a connection: %s", failure.what());
    }
}

}  // namespace host_binder
