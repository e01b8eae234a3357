// A client process that sends the service what no well-behaved client sends, one kind per
// command-line argument, and prints one line per kind: what came back, then whether an ordinary
// call is still served. "flood N" holds N silent connections to the service until a line arrives
// on standard input.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "service_directory.h"
#include "unix_socket.h"
#include "wire_format.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

std::string instanceName() {
    return std::string(ITovanDravik::descriptor) + "/default";
}

// A request for session_createInstance whose interface token names another interface.
binder_status_t sendWithWrongToken(AIBinder* binder) {
    AParcel* request = nullptr;
    binder_status_t status = AIBinder_prepareTransaction(binder, &request);
    if (status != STATUS_OK) return status;
    AParcel_setDataPosition(request, 0);
    const char kOther[] = "vendor.other.IUnrelated";
    AParcel_writeString(request, kOther, sizeof(kOther) - 1);
    AParcel* reply = nullptr;
    status = AIBinder_transact(binder, ITovanDravik::TRANSACTION_session_createInstance, &request,
                               &reply, 0);
    AParcel_delete(reply);
    return status;
}

binder_status_t sendUnknownCode(AIBinder* binder) {
    AParcel* request = nullptr;
    binder_status_t status = AIBinder_prepareTransaction(binder, &request);
    if (status != STATUS_OK) return status;
    AParcel* reply = nullptr;
    status = AIBinder_transact(binder, FIRST_CALL_TRANSACTION + 4000, &request, &reply, 0);
    AParcel_delete(reply);
    return status;
}

// A list whose parcel is larger than a frame may be.
binder_status_t sendOversizedList(ITovanDravik& service) {
    std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> queries(400000);
    std::vector<int64_t> answers;
    return service.cmd_getRunInfos(1, queries, &answers).getStatus();
}

// More descriptors in one call than a frame may carry.
binder_status_t sendDescriptorFlood(ITovanDravik& service) {
    std::vector<ndk::ScopedFileDescriptor> descriptors;
    for (int index = 0; index < 100; ++index) {
        descriptors.emplace_back(memfd_create("flood", MFD_CLOEXEC));
    }
    DRAVIK_MEMINFO_HD memory;
    return service.session_memImport(1, descriptors, 4096, &memory).getStatus();
}

// Writes bytes on a fresh connection to the service's socket; whether the service then closed it.
bool closedAfter(const std::vector<uint8_t>& bytes) {
    bool absent = false;
    ndk::ScopedFileDescriptor connection =
            host_binder::connectTo(host_binder::servicePath(instanceName()), &absent);
    if (connection.get() < 0) return false;
    if (write(connection.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        return true;
    }
    pollfd readable{connection.get(), POLLIN, 0};
    if (poll(&readable, 1, 15000) != 1) return false;
    // The end of the stream, or a reset when the service closed with our bytes unread.
    char byte = 0;
    return read(connection.get(), &byte, 1) <= 0;
}

std::vector<uint8_t> garbage() {
    std::vector<uint8_t> bytes(64);
    for (size_t index = 0; index < bytes.size(); ++index) bytes[index] = (index * 37 + 11) & 0xff;
    return bytes;
}

std::vector<uint8_t> oversizedHeader() {
    host_binder::wire::FrameHeader header{};
    header.magic = host_binder::wire::kFrameMagic;
    header.kind = static_cast<uint16_t>(host_binder::wire::FrameKind::kHello);
    header.data_size = 256 * 1024 * 1024;
    std::vector<uint8_t> bytes(sizeof(header));
    std::memcpy(bytes.data(), &header, sizeof(header));
    return bytes;
}

void holdFlood(int count) {
    std::vector<ndk::ScopedFileDescriptor> connections;
    for (int index = 0; index < count; ++index) {
        bool absent = false;
        connections.push_back(
                host_binder::connectTo(host_binder::servicePath(instanceName()), &absent));
    }
    std::cout << "holding " << count << std::endl;
    std::string line;
    std::getline(std::cin, line);
}

}  // namespace

int main(int argc, char** argv) {
    ndk::SpAIBinder binder(AServiceManager_waitForService(instanceName().c_str()));
    std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(binder);
    if (service == nullptr) {
        std::cout << "no service" << std::endl;
        return 1;
    }
    for (int index = 1; index < argc; ++index) {
        const std::string kind = argv[index];
        if (kind == "wrong-token") {
            std::cout << kind << " " << sendWithWrongToken(binder.get()) << std::endl;
        } else if (kind == "unknown-code") {
            std::cout << kind << " " << sendUnknownCode(binder.get()) << std::endl;
        } else if (kind == "oversized-list") {
            std::cout << kind << " " << sendOversizedList(*service) << std::endl;
        } else if (kind == "descriptor-flood") {
            std::cout << kind << " " << sendDescriptorFlood(*service) << std::endl;
        } else if (kind == "garbage-frame") {
            std::cout << kind << (closedAfter(garbage()) ? " closed" : " open") << std::endl;
        } else if (kind == "oversized-frame") {
            std::cout << kind << (closedAfter(oversizedHeader()) ? " closed" : " open")
                      << std::endl;
        } else if (kind == "flood") {
            holdFlood(std::stoi(argv[++index]));
        } else {
            std::cout << kind << " unknown" << std::endl;
            continue;
        }
        int64_t session = 0;
        int32_t ret = -1;
        const bool created = service->session_createInstance(&session).isOk();
        if (created) service->session_deleteInstance(session, &ret);
        std::cout << "served " << (created && ret == 0 ? "yes" : "no") << std::endl;
    }
    return 0;
}
