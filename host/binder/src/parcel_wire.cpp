#include "parcel_wire.h"

#include <cstring>
#include <map>
#include <utility>

#include "binder.h"
#include "export_table.h"
#include "log.h"
#include "outgoing_calls.h"
#include "parcel.h"
#include "parcel_objects.h"
#include "process_endpoint.h"
#include "proxy_table.h"
#include "remote_binder.h"
#include "remote_process.h"
#include "service_directory.h"

namespace host_binder {

namespace {

void setEndpoint(const std::string& endpoint, wire::WireObject* object) {
    std::memset(object->endpoint, 0, sizeof(object->endpoint));
    std::memcpy(object->endpoint, endpoint.data(),
                std::min(endpoint.size(), sizeof(object->endpoint) - 1));
}

binder_status_t encodeBinder(AIBinder* binder, const std::string& peer, wire::WireObject* object) {
    if (binder->isRemote()) {
        const auto* proxy = static_cast<const RemoteBinder*>(binder);
        setEndpoint(proxy->ownerEndpoint(), object);
        object->id = proxy->id();
        return STATUS_OK;
    }
    ProcessEndpoint& self = ProcessEndpoint::self();
    // The receiver calls back through this process's endpoint.
    if (!self.ensureListening()) return STATUS_FAILED_TRANSACTION;
    setEndpoint(self.name(), object);
    object->id = ExportTable::processTable().exportBinder(binder, peer);
    return STATUS_OK;
}

// The binder that object names, sent by peer.
bool decodeBinder(const wire::WireObject& object, const std::string& peer, ndk::SpAIBinder* binder,
                  std::string* error) {
    const std::string owner(object.endpoint);
    if (owner == ProcessEndpoint::self().name()) {
        *binder = ExportTable::processTable().find(object.id);
        if (binder->get() == nullptr)
            *error = "binder id " + std::to_string(object.id) + " is unknown here";
        return binder->get() != nullptr;
    }
    if (!isEndpointName(owner)) {
        *error = "malformed endpoint name in a binder object";
        return false;
    }
    bool created = false;
    *binder = ProxyTable::processTable().obtain(RemoteProcess::get(owner), object.id, &created);
    auto* proxy = static_cast<RemoteBinder*>(binder->get());
    if (owner == peer) {
        // The sender counted this reference for this process when it sent the object.
        proxy->addReference();
    } else if (created) {
        // Passed on by a third process: this process takes its own reference from the owner.
        Frame acquire = makeFrame(wire::FrameKind::kAcquire);
        acquire.header.target = object.id;
        Frame answer;
        if (callProcess(owner, &acquire, &answer) == STATUS_OK && answer.header.code == STATUS_OK) {
            proxy->addReference();
        }
    }
    return true;
}

}  // namespace

binder_status_t encodeParcel(const AParcel& parcel, const std::string& peer, Frame* frame) {
    frame->data = parcel.data();
    for (const auto& [offset, held] : parcel.objects()) {
        wire::WireObject object{};
        object.offset = static_cast<uint32_t>(offset);
        if (const auto* descriptor = std::get_if<ndk::ScopedFileDescriptor>(&held)) {
            int duplicate = -1;
            binder_status_t status = duplicateDescriptor(descriptor->get(), &duplicate);
            if (status != STATUS_OK) return status;
            frame->descriptors.emplace_back(duplicate);
            object.kind = static_cast<uint32_t>(wire::WireObjectKind::kDescriptor);
        } else {
            object.kind = static_cast<uint32_t>(wire::WireObjectKind::kBinder);
            binder_status_t status =
                    encodeBinder(std::get<ndk::SpAIBinder>(held).get(), peer, &object);
            if (status != STATUS_OK) return status;
        }
        frame->objects.push_back(object);
    }
    if (frame->data.size() > wire::kMaxFrameDataSize ||
        frame->objects.size() > wire::kMaxFrameObjects ||
        frame->descriptors.size() > wire::kMaxFrameDescriptors) {
        logError(
                "binder: a parcel of %zu bytes, %zu objects and %zu descriptors exceeds the "
                "frame limits",
                frame->data.size(), frame->objects.size(), frame->descriptors.size());
        return STATUS_FAILED_TRANSACTION;
    }
    return STATUS_OK;
}

bool decodeParcel(Frame* frame, const std::string& peer, AParcel* parcel, std::string* error) {
    std::map<int32_t, ParcelObject> objects;
    size_t next_descriptor = 0;
    for (const wire::WireObject& object : frame->objects) {
        const auto offset = static_cast<int32_t>(object.offset);
        if (object.kind == static_cast<uint32_t>(wire::WireObjectKind::kDescriptor)) {
            objects.emplace(offset, std::move(frame->descriptors.at(next_descriptor++)));
            continue;
        }
        ndk::SpAIBinder binder;
        if (!decodeBinder(object, peer, &binder, error)) return false;
        objects.emplace(offset, std::move(binder));
    }
    parcel->adopt(std::move(frame->data), std::move(objects));
    return true;
}

}  // namespace host_binder
