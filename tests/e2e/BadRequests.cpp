#include "BadRequests.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "service_directory.h"
#include "unix_socket.h"
#include "wire_format.h"

namespace e2e {

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

std::vector<ndk::ScopedFileDescriptor> silent_connections;  // held from a flood to its release

// A transaction of code whose request holds only token, when one is given.
binder_status_t transact(AIBinder* binder, transaction_code_t code, const char* token) {
    AParcel* request = nullptr;
    binder_status_t status = AIBinder_prepareTransaction(binder, &request);
    if (status != STATUS_OK) return status;
    if (token != nullptr) {
        AParcel_setDataPosition(request, 0);
        AParcel_writeString(request, token, static_cast<int32_t>(std::strlen(token)));
    }
    AParcel* reply = nullptr;
    status = AIBinder_transact(binder, code, &request, &reply, 0);
    AParcel_delete(reply);
    return status;
}

ndk::ScopedFileDescriptor connectToService() {
    bool absent = false;
    return host_binder::connectTo(
            host_binder::servicePath(std::string(ITovanDravik::descriptor) + "/default"), &absent);
}

// Writes bytes on a fresh connection to the service's socket: "closed" when the service then
// closed it.
std::string closedAfter(const std::vector<uint8_t>& bytes) {
    const ndk::ScopedFileDescriptor connection = connectToService();
    if (connection.get() < 0) return "cannot connect";
    if (write(connection.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        return "closed";
    }
    pollfd readable{connection.get(), POLLIN, 0};
    // The end of the stream, or a reset when the service closed with our bytes unread.
    char byte = 0;
    return poll(&readable, 1, 15000) == 1 && read(connection.get(), &byte, 1) <= 0 ? "closed"
                                                                                   : "open";
}

}  // namespace

std::string sendBadRequest(const std::string& kind, int64_t count, ITovanDravik& service) {
    const ndk::SpAIBinder binder = service.asBinder();
    if (kind == "wrong-token") {
        return std::to_string(transact(binder.get(),
                                       ITovanDravik::TRANSACTION_session_createInstance,
                                       "vendor.other.IUnrelated"));
    }
    if (kind == "unknown-code") {
        return std::to_string(transact(binder.get(), FIRST_CALL_TRANSACTION + 4000, nullptr));
    }
    if (kind == "oversized-list") {
        const std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> queries(400000);
        std::vector<int64_t> answers;
        return std::to_string(service.cmd_getRunInfos(1, queries, &answers).getStatus());
    }
    if (kind == "descriptor-flood") {
        std::vector<ndk::ScopedFileDescriptor> descriptors;
        for (int index = 0; index < 100; ++index) {
            descriptors.emplace_back(memfd_create("flood", MFD_CLOEXEC));
        }
        DRAVIK_MEMINFO_HD memory;
        return std::to_string(service.session_memImport(1, descriptors, 4096, &memory).getStatus());
    }
    if (kind == "garbage-frame") {
        return closedAfter(std::vector<uint8_t>(64, 0xa5));
    }
    if (kind == "oversized-frame") {
        host_binder::wire::FrameHeader header{};
        header.magic = host_binder::wire::kFrameMagic;
        header.kind = static_cast<uint16_t>(host_binder::wire::FrameKind::kHello);
        header.data_size = 256 * 1024 * 1024;
        std::vector<uint8_t> bytes(sizeof(header));
        std::memcpy(bytes.data(), &header, sizeof(header));
        return closedAfter(bytes);
    }
    if (kind == "flood") {
        silent_connections.resize(static_cast<size_t>(count));
        for (auto& connection : silent_connections) connection = connectToService();
        return "holding " + std::to_string(count);
    }
    if (kind == "release") {
        silent_connections.clear();
        return "released";
    }
    return "unknown " + kind;
}

}  // namespace e2e
