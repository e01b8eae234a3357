#include "outgoing_calls.h"

#include <android/binder_parcel.h>

#include <chrono>
#include <map>
#include <memory>
#include <mutex>

#include "kept_connections.h"
#include "log.h"
#include "parcel.h"
#include "parcel_wire.h"
#include "process_endpoint.h"
#include "service_directory.h"
#include "unix_socket.h"

namespace host_binder {

namespace {

// Opens a connection to path and introduces this process on it.
ndk::ScopedFileDescriptor connectAndGreet(const std::string& path, bool* absent) {
    *absent = false;
    // The other side may call back, or watch this process, through its endpoint.
    if (path.empty() || !ProcessEndpoint::self().ensureListening())
        return ndk::ScopedFileDescriptor();
    ndk::ScopedFileDescriptor connection = connectTo(path, absent);
    if (connection.get() < 0) return ndk::ScopedFileDescriptor();
    Frame hello = makeFrame(wire::FrameKind::kHello);
    const std::string& own = ProcessEndpoint::self().name();
    hello.data.assign(own.begin(), own.end());
    std::string error;
    if (!sendFrame(connection.get(), &hello, &error)) {
        logError("binder: cannot greet '%s': %s", path.c_str(), error.c_str());
        return ndk::ScopedFileDescriptor();
    }
    return connection;
}

// Waits for the kReply on connection.
binder_status_t receiveReply(int connection, const std::string& peer, Frame* reply) {
    std::string error;
    const ReceiveResult result = receiveFrame(connection, reply, &error);
    if (result == ReceiveResult::kFrame &&
        reply->header.kind == static_cast<uint16_t>(wire::FrameKind::kReply)) {
        return STATUS_OK;
    }
    if (result == ReceiveResult::kFrame) error = "an answer that is not a reply";
    if (result != ReceiveResult::kClosed) {
        logError("binder: call to '%s' failed: %s", peer.c_str(), error.c_str());
    }
    return STATUS_DEAD_OBJECT;
}

}  // namespace

binder_status_t callProcess(const std::string& endpoint, Frame* request, Frame* reply) {
    thread_local std::map<std::string, std::shared_ptr<KeptConnection>> connections;
    // Connections that the death of their process closed go first.
    for (auto kept = connections.begin(); kept != connections.end();) {
        kept = kept->second->forgotten ? connections.erase(kept) : std::next(kept);
    }
    auto cached = connections.find(endpoint);
    for (;;) {
        // A kept connection may have been closed by the other side meanwhile: a fresh one is
        // tried once then.
        const bool fresh = cached == connections.end();
        if (fresh) {
            bool absent = false;
            ndk::ScopedFileDescriptor connection = connectAndGreet(endpointPath(endpoint), &absent);
            if (connection.get() < 0) return STATUS_DEAD_OBJECT;
            auto kept = std::make_shared<KeptConnection>();
            kept->fd = std::move(connection);
            KeptConnections::processConnections().keep(endpoint, kept);
            cached = connections.emplace(endpoint, std::move(kept)).first;
        }
        KeptConnection& connection = *cached->second;
        std::unique_lock<std::mutex> in_use(connection.lock);
        std::string error;
        if (sendFrame(connection.fd.get(), request, &error)) {
            const binder_status_t status =
                    reply == nullptr ? STATUS_OK
                                     : receiveReply(connection.fd.get(), endpoint, reply);
            // The process died meanwhile: nobody else closes this one.
            if (connection.forgotten) connection.fd.set(-1);
            in_use.unlock();
            if (status != STATUS_OK || connection.forgotten) connections.erase(cached);
            return status;
        }
        in_use.unlock();
        connections.erase(cached);
        cached = connections.end();
        if (fresh) {
            logError("binder: cannot send to '%s': %s", endpoint.c_str(), error.c_str());
            return STATUS_DEAD_OBJECT;
        }
    }
}

binder_status_t lookupService(const std::string& instance, ndk::SpAIBinder* binder) {
    bool absent = false;
    ndk::ScopedFileDescriptor connection = connectAndGreet(servicePath(instance), &absent);
    if (connection.get() < 0) return absent ? STATUS_NAME_NOT_FOUND : STATUS_DEAD_OBJECT;
    // A process that stopped without dying must not hold the look-up forever.
    if (!setSocketTimeouts(
                connection.get(), wire::kSendTimeout,
                std::chrono::duration_cast<std::chrono::milliseconds>(wire::kHandshakeTimeout))) {
        return STATUS_DEAD_OBJECT;
    }
    Frame lookup = makeFrame(wire::FrameKind::kLookup);
    lookup.data.assign(instance.begin(), instance.end());
    std::string error;
    if (!sendFrame(connection.get(), &lookup, &error)) {
        logError("binder: look-up of '%s' failed: %s", instance.c_str(), error.c_str());
        return STATUS_NAME_NOT_FOUND;
    }
    Frame answer;
    binder_status_t status = receiveReply(connection.get(), instance, &answer);
    if (status != STATUS_OK) return STATUS_NAME_NOT_FOUND;
    status = static_cast<binder_status_t>(answer.header.code);
    if (status != STATUS_OK) return status;
    // The service's process counted the reference for this one, as its own binder's sender.
    const std::string owner = answer.objects.size() == 1 ? answer.objects[0].endpoint : "";
    AParcel parcel;
    if (!decodeParcel(&answer, owner, &parcel, &error)) {
        logError("binder: unusable look-up answer for '%s': %s", instance.c_str(), error.c_str());
        return STATUS_BAD_VALUE;
    }
    return AParcel_readStrongBinder(&parcel, binder->getR());
}

}  // namespace host_binder
