// Random bytes into the transport's frame decoder (host/binder/src/frame_codec.h, wire_format.h),
// through a real Unix stream socket pair so that descriptors travel as SCM_RIGHTS exactly as
// between processes. The bytes (the layout is in tests/fuzz/README.md) are cut into chunks, with
// descriptors attached to a chosen chunk, and the connection ends after them. Every frame the
// decoder accepts must satisfy the format (counts, limits, objects in order inside the data, one
// open descriptor per descriptor object) and come back the same when sent again with sendFrame;
// anything else must be refused with a reason, and the connection's end is reached in a bounded
// number of frames. Once the frames are gone no descriptor may be left open.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ByteReader.h"
#include "Descriptors.h"
#include "Finding.h"
#include "frame_codec.h"
#include "wire_format.h"

namespace {

using host_binder::Frame;
using host_binder::ReceiveResult;
using tessaro_fuzz::ByteReader;
using tessaro_fuzz::finding;
namespace wire = host_binder::wire;

constexpr size_t kMaxFramesPerConnection = 64;
constexpr size_t kMaxDescriptorsSent = wire::kMaxFrameDescriptors + 6;

// A connected pair of Unix stream sockets: the first end sends, the second receives.
std::pair<ndk::ScopedFileDescriptor, ndk::ScopedFileDescriptor> socketPair() {
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) finding("no socket pair");
    return {ndk::ScopedFileDescriptor(ends[0]), ndk::ScopedFileDescriptor(ends[1])};
}

// Sends bytes, with fds as SCM_RIGHTS on their first byte; false when the socket refused.
bool sendChunk(int socket, const uint8_t* bytes, size_t length,
               const std::vector<ndk::ScopedFileDescriptor>& fds) {
    iovec vector{const_cast<uint8_t*>(bytes), length};
    msghdr msg{};
    msg.msg_iov = &vector;
    msg.msg_iovlen = 1;
    std::vector<unsigned char> control(CMSG_SPACE(sizeof(int) * fds.size()));
    if (!fds.empty()) {
        msg.msg_control = control.data();
        msg.msg_controllen = control.size();
        cmsghdr* cmsg = CMSG_FIRSTHDR(&msg);
        cmsg->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        cmsg->cmsg_level = SOL_SOCKET;
        cmsg->cmsg_type = SCM_RIGHTS;
        int* numbers = reinterpret_cast<int*>(CMSG_DATA(cmsg));
        for (const auto& fd : fds) *numbers++ = fd.get();
    }
    return sendmsg(socket, &msg, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(length);
}

// What an accepted frame must be.
void checkAccepted(const Frame& frame) {
    const wire::FrameHeader& header = frame.header;
    if (header.magic != wire::kFrameMagic || header.kind == 0 ||
        header.kind > wire::kLastFrameKind) {
        finding("accepted a frame with a bad magic or kind");
    }
    if (frame.data.size() != header.data_size || frame.data.size() > wire::kMaxFrameDataSize ||
        frame.objects.size() != header.object_count ||
        frame.objects.size() > wire::kMaxFrameObjects ||
        frame.descriptors.size() != header.descriptor_count ||
        frame.descriptors.size() > wire::kMaxFrameDescriptors) {
        finding("accepted sizes or counts other than the header's, or beyond the limits");
    }
    size_t next_free = 0;
    size_t descriptor_objects = 0;
    for (const wire::WireObject& object : frame.objects) {
        if (object.offset % 4 != 0 || object.offset < next_free ||
            size_t{object.offset} + 4 > frame.data.size()) {
            finding("accepted an object outside the data or out of order");
        }
        next_free = size_t{object.offset} + 4;
        if (object.kind == static_cast<uint32_t>(wire::WireObjectKind::kDescriptor)) {
            ++descriptor_objects;
        } else if (object.kind != static_cast<uint32_t>(wire::WireObjectKind::kBinder) ||
                   memchr(object.endpoint, '\0', sizeof(object.endpoint)) == nullptr) {
            finding("accepted a malformed object");
        }
    }
    if (descriptor_objects != frame.descriptors.size()) {
        finding("accepted descriptors that no object names");
    }
    for (const auto& fd : frame.descriptors) {
        if (fcntl(fd.get(), F_GETFD) < 0) finding("accepted a descriptor that is not open");
    }
}

// The identities of the files descriptors name, in their order.
std::vector<tessaro_fuzz::FileIdentity> filesOf(const std::vector<ndk::ScopedFileDescriptor>& fds) {
    std::vector<tessaro_fuzz::FileIdentity> files;
    for (const auto& fd : fds) files.push_back(tessaro_fuzz::identityOf(fd.get()));
    return files;
}

// An accepted frame, sent again with sendFrame, must be accepted again field for field, its
// descriptors naming the same files.
void checkSentAgain(Frame& frame) {
    if (frame.data.size() > 65536) return;  // a socket's buffer holds the frame whole
    auto [sender, receiver] = socketPair();
    const wire::FrameHeader header = frame.header;
    const std::vector<tessaro_fuzz::FileIdentity> files = filesOf(frame.descriptors);
    std::string error;
    if (!host_binder::sendFrame(sender.get(), &frame, &error)) finding("not sent again: " + error);
    Frame again;
    if (host_binder::receiveFrame(receiver.get(), &again, &error) != ReceiveResult::kFrame) {
        finding("sent again and refused: " + error);
    }
    if (std::memcmp(&again.header, &header, sizeof(header)) != 0 || again.data != frame.data ||
        again.objects.size() != frame.objects.size() ||
        (!frame.objects.empty() &&
         std::memcmp(again.objects.data(), frame.objects.data(),
                     frame.objects.size() * sizeof(wire::WireObject)) != 0) ||
        filesOf(again.descriptors) != files) {
        finding("a frame sent again came back different");
    }
}

void sendAndReceive(ByteReader& input) {
    auto [sender, receiver] = socketPair();
    std::vector<ndk::ScopedFileDescriptor> fds;
    for (size_t count = input.u8() % (kMaxDescriptorsSent + 1); count > 0; --count) {
        ndk::ScopedFileDescriptor fd = tessaro_fuzz::makeDescriptor(input.u8());
        if (fd.get() >= 0) fds.push_back(std::move(fd));
    }
    const size_t chunks = 1 + input.u8() % 4;
    const size_t descriptors_with = input.u8() % chunks;
    // The header may be written as the format has it, then the rest is raw.
    std::vector<uint8_t> bytes;
    if (input.u8() % 2 == 0) {
        wire::FrameHeader header{};
        header.magic = wire::kFrameMagic;
        header.kind = 1 + input.u8() % wire::kLastFrameKind;
        header.descriptor_count = static_cast<uint16_t>(fds.size());
        header.object_count = input.u8() % 8;
        header.data_size = input.u16() % 512;
        const auto* raw = reinterpret_cast<const uint8_t*>(&header);
        bytes.assign(raw, raw + sizeof(header));
    }
    const std::vector<uint8_t> rest = input.bytes(input.remaining());
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    const size_t chunk_size = bytes.size() / chunks + 1;
    for (size_t chunk = 0, start = 0; chunk < chunks && start < bytes.size();
         ++chunk, start += chunk_size) {
        static const std::vector<ndk::ScopedFileDescriptor> kNone;
        if (!sendChunk(sender.get(), bytes.data() + start,
                       std::min(chunk_size, bytes.size() - start),
                       chunk == descriptors_with ? fds : kNone)) {
            break;
        }
    }
    fds.clear();
    sender.set(-1);  // the end of the connection
    for (size_t count = 0; count < kMaxFramesPerConnection; ++count) {
        Frame frame;
        std::string error;
        const ReceiveResult result = host_binder::receiveFrame(receiver.get(), &frame, &error);
        if (result == ReceiveResult::kClosed) return;
        if (result == ReceiveResult::kFailed) {
            if (error.empty()) finding("a frame was refused without a reason");
            return;
        }
        checkAccepted(frame);
        checkSentAgain(frame);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = tessaro_fuzz::openDescriptors();
    ByteReader input(data, size);
    sendAndReceive(input);
    tessaro_fuzz::checkDescriptors(before);
    return 0;
}
