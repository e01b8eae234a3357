#include "remote_binder.h"

#include <android/binder_parcel_utils.h>

#include <algorithm>
#include <string>

#include "frame_codec.h"
#include "log.h"
#include "outgoing_calls.h"
#include "parcel.h"
#include "parcel_wire.h"
#include "proxy_table.h"
#include "remote_process.h"
#include "transaction_codes.h"

namespace host_binder {

RemoteBinder::RemoteBinder(std::shared_ptr<RemoteProcess> owner, uint64_t id)
    : AIBinder(nullptr), owner_(std::move(owner)), id_(id) {}

RemoteBinder::~RemoteBinder() {
    ProxyTable::processTable().remove(ownerEndpoint(), id_, this);
    for (const auto& links : linkedRecipients()) links->unlinkBinder(this);
    const uint32_t references = references_.load(std::memory_order_relaxed);
    if (references == 0 || owner_->isDead()) return;
    Frame release = makeFrame(wire::FrameKind::kRelease);
    release.header.target = id_;
    release.header.code = references;
    // A failure leaves the references to be dropped when this process ends.
    callProcess(ownerEndpoint(), &release, nullptr);
}

const std::string& RemoteBinder::ownerEndpoint() const {
    return owner_->endpoint();
}

bool RemoteBinder::isAlive() const {
    return !owner_->isDead();
}

binder_status_t RemoteBinder::ping() {
    AParcel request;
    AParcel reply;
    return transact(kPingTransaction, request, &reply, 0);
}

binder_status_t RemoteBinder::dump(int fd, const char** args, uint32_t arg_count) {
    AParcel request;
    binder_status_t status = AParcel_writeParcelFileDescriptor(&request, fd);
    if (status == STATUS_OK) status = AParcel_writeInt32(&request, static_cast<int32_t>(arg_count));
    for (uint32_t index = 0; status == STATUS_OK && index < arg_count; ++index) {
        status = ndk::AParcel_writeString(&request, std::string(args[index]));
    }
    if (status != STATUS_OK) return status;
    Frame frame = makeFrame(wire::FrameKind::kDump);
    status = encodeParcel(request, ownerEndpoint(), &frame);
    if (status != STATUS_OK) return status;
    AParcel reply;
    return call(&frame, &reply, false);
}

binder_status_t RemoteBinder::transact(transaction_code_t code, const AParcel& request,
                                       AParcel* reply, binder_flags_t flags) {
    Frame frame = makeFrame(wire::FrameKind::kTransaction);
    frame.header.code = code;
    frame.header.flags = flags;
    const binder_status_t status = encodeParcel(request, ownerEndpoint(), &frame);
    if (status != STATUS_OK) return status;
    return call(&frame, reply, (flags & FLAG_ONEWAY) != 0);
}

binder_status_t RemoteBinder::call(Frame* frame, AParcel* reply, bool oneway) {
    if (owner_->isDead()) return STATUS_DEAD_OBJECT;
    frame->header.target = id_;
    Frame answer;
    binder_status_t status = callProcess(ownerEndpoint(), frame, oneway ? nullptr : &answer);
    if (status != STATUS_OK || oneway) return status;
    status = static_cast<binder_status_t>(answer.header.code);
    if (status != STATUS_OK) return status;
    std::string error;
    if (!decodeParcel(&answer, ownerEndpoint(), reply, &error)) {
        logError("binder: unusable reply from '%s': %s", ownerEndpoint().c_str(), error.c_str());
        return STATUS_BAD_VALUE;
    }
    return STATUS_OK;
}

binder_status_t RemoteBinder::fetchDescriptor(std::string* descriptor) {
    AParcel request;
    AParcel reply;
    binder_status_t status = transact(kInterfaceTransaction, request, &reply, 0);
    if (status == STATUS_OK) status = ndk::AParcel_readString(&reply, descriptor);
    return status;
}

binder_status_t RemoteBinder::linkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) {
    const std::shared_ptr<DeathRecipientLinks>& links = recipient->links;
    const bool linked = owner_->whileAlive([&] {
        links->link(this, cookie);
        std::lock_guard<std::mutex> guard(lock_);
        const bool known = std::any_of(recipients_.begin(), recipients_.end(),
                                       [&](const auto& weak) { return weak.lock() == links; });
        if (!known) recipients_.push_back(links);
    });
    if (linked) return STATUS_OK;
    logError("AIBinder_linkToDeath: the process that owns the binder has died");
    return STATUS_DEAD_OBJECT;
}

binder_status_t RemoteBinder::unlinkToDeath(AIBinder_DeathRecipient* recipient, void* cookie) {
    if (recipient->links->unlink(this, cookie)) return STATUS_OK;
    logError("AIBinder_unlinkToDeath: no such link to this binder");
    return STATUS_NAME_NOT_FOUND;
}

void RemoteBinder::notifyDied() {
    for (const auto& links : linkedRecipients()) links->notifyDied(this);
}

std::vector<std::shared_ptr<DeathRecipientLinks>> RemoteBinder::linkedRecipients() {
    std::vector<std::shared_ptr<DeathRecipientLinks>> living;
    std::lock_guard<std::mutex> guard(lock_);
    for (const auto& weak : recipients_) {
        if (auto links = weak.lock()) living.push_back(std::move(links));
    }
    return living;
}

}  // namespace host_binder
