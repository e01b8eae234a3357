// Random frames into the transport's decoder (host/binder/src/frame_codec.h, wire_format.h),
// through a real Unix stream socket pair so that descriptors travel as SCM_RIGHTS exactly as
// between processes. Two kinds of input (tests/fuzz/README.md):
//  - raw: arbitrary bytes, cut into chunks, with descriptors attached to a chosen chunk. Every
//    frame the decoder accepts must satisfy the format (counts, limits, objects in order inside
//    the data, one open descriptor per descriptor object); anything else must be refused with a
//    reason, and the connection's end is reached in a bounded number of frames.
//  - round trip: a frame built from the input and sent with sendFrame must come back from
//    receiveFrame field for field when it is within the format, and be refused otherwise.
// Either way, once the frames are gone no descriptor may be left open.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ByteReader.h"
#include "Descriptors.h"
#include "frame_codec.h"
#include "wire_format.h"

namespace {

using host_binder::Frame;
using host_binder::ReceiveResult;
using tessaro_fuzz::ByteReader;
namespace wire = host_binder::wire;

constexpr size_t kMaxFramesPerConnection = 64;
constexpr size_t kMaxDescriptorsSent = wire::kMaxFrameDescriptors + 6;

[[noreturn]] void finding(const std::string& what) {
    std::fprintf(stderr, "\n==== frame decoder fuzzer finding: %s\n", what.c_str());
    std::abort();
}

struct SocketPair {
    ndk::ScopedFileDescriptor sender;
    ndk::ScopedFileDescriptor receiver;
    SocketPair() {
        int ends[2] = {-1, -1};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            finding("no socket pair");
        sender.set(ends[0]);
        receiver.set(ends[1]);
        // Inputs are small, but a full buffer must never block the fuzzer.
        const int buffer = 1 << 20;
        setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &buffer, sizeof(buffer));
        setsockopt(ends[1], SOL_SOCKET, SO_RCVBUF, &buffer, sizeof(buffer));
    }
};

std::vector<ndk::ScopedFileDescriptor> makeDescriptors(ByteReader& input, size_t count) {
    std::vector<ndk::ScopedFileDescriptor> fds;
    for (size_t index = 0; index < count; ++index) {
        const auto kind = static_cast<tessaro_fuzz::DescriptorKind>(
                input.u8() % static_cast<uint8_t>(tessaro_fuzz::DescriptorKind::kCount));
        ndk::ScopedFileDescriptor fd = tessaro_fuzz::makeDescriptor(kind);
        if (fd.get() >= 0) fds.push_back(std::move(fd));
    }
    return fds;
}

// Sends bytes, with fds as SCM_RIGHTS on their first byte; false when the socket refused.
bool sendChunk(int socket, const uint8_t* bytes, size_t length,
               const std::vector<ndk::ScopedFileDescriptor>& fds) {
    iovec vector{const_cast<uint8_t*>(bytes), length};
    msghdr msg{};
    msg.msg_iov = &vector;
    msg.msg_iovlen = 1;
    std::vector<unsigned char> control;
    if (!fds.empty()) {
        control.assign(CMSG_SPACE(sizeof(int) * fds.size()), 0);
        msg.msg_control = control.data();
        msg.msg_controllen = control.size();
        cmsghdr* cmsg = CMSG_FIRSTHDR(&msg);
        cmsg->cmsg_level = SOL_SOCKET;
        cmsg->cmsg_type = SCM_RIGHTS;
        cmsg->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        for (size_t index = 0; index < fds.size(); ++index) {
            const int fd = fds[index].get();
            std::memcpy(CMSG_DATA(cmsg) + index * sizeof(int), &fd, sizeof(int));
        }
    }
    return sendmsg(socket, &msg, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(length);
}

// What an accepted frame must be.
void checkAccepted(const Frame& frame) {
    const wire::FrameHeader& header = frame.header;
    if (header.magic != wire::kFrameMagic) finding("accepted a frame with a bad magic");
    if (header.kind == 0 || header.kind > wire::kLastFrameKind) finding("accepted an unknown kind");
    if (frame.data.size() != header.data_size || frame.data.size() > wire::kMaxFrameDataSize) {
        finding("accepted data of the wrong size");
    }
    if (frame.objects.size() != header.object_count ||
        frame.objects.size() > wire::kMaxFrameObjects) {
        finding("accepted the wrong number of objects");
    }
    if (frame.descriptors.size() != header.descriptor_count ||
        frame.descriptors.size() > wire::kMaxFrameDescriptors) {
        finding("accepted the wrong number of descriptors");
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

// Receives until the connection ends or a frame is refused.
void drain(int socket) {
    for (size_t count = 0; count < kMaxFramesPerConnection; ++count) {
        Frame frame;
        std::string error;
        const ReceiveResult result = host_binder::receiveFrame(socket, &frame, &error);
        if (result == ReceiveResult::kClosed) return;
        if (result == ReceiveResult::kFailed) {
            if (error.empty()) finding("a frame was refused without a reason");
            return;
        }
        checkAccepted(frame);
    }
}

void rawFrames(ByteReader& input) {
    SocketPair pair;
    std::vector<ndk::ScopedFileDescriptor> fds =
            makeDescriptors(input, input.u8() % (kMaxDescriptorsSent + 1));
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
        const size_t length = std::min(chunk_size, bytes.size() - start);
        static const std::vector<ndk::ScopedFileDescriptor> kNone;
        if (!sendChunk(pair.sender.get(), bytes.data() + start, length,
                       chunk == descriptors_with ? fds : kNone)) {
            break;
        }
    }
    fds.clear();
    pair.sender.set(-1);  // the end of the connection
    drain(pair.receiver.get());
}

void roundTrip(ByteReader& input) {
    SocketPair pair;
    Frame sent = host_binder::makeFrame(
            static_cast<wire::FrameKind>(1 + input.u8() % wire::kLastFrameKind));
    sent.header.code = input.u32();
    sent.header.flags = input.u32();
    sent.header.target = input.u64();
    sent.data = input.bytes(input.u16() % 1024);
    const size_t objects = input.u8() % 8;
    for (size_t index = 0; index < objects; ++index) {
        wire::WireObject object{};
        object.offset = input.u16();
        object.kind = input.u8() % 3;
        object.id = input.u64();
        const std::string endpoint = input.text(input.u8() % (wire::kEndpointNameSize + 2));
        std::memcpy(object.endpoint, endpoint.data(),
                    std::min(endpoint.size(), sizeof(object.endpoint)));
        sent.objects.push_back(object);
    }
    sent.descriptors = makeDescriptors(input, input.u8() % 4);
    std::vector<tessaro_fuzz::FileIdentity> identities;
    for (const auto& fd : sent.descriptors)
        identities.push_back(tessaro_fuzz::identityOf(fd.get()));
    std::string error;
    if (!host_binder::sendFrame(pair.sender.get(), &sent, &error)) return;
    sent.descriptors.clear();
    pair.sender.set(-1);
    Frame received;
    const ReceiveResult result = host_binder::receiveFrame(pair.receiver.get(), &received, &error);
    if (result == ReceiveResult::kClosed) finding("a sent frame read as a closed connection");
    if (result == ReceiveResult::kFailed) return;  // a frame outside the format, refused
    checkAccepted(received);
    if (received.header.kind != sent.header.kind || received.header.code != sent.header.code ||
        received.header.flags != sent.header.flags ||
        received.header.target != sent.header.target || received.data != sent.data ||
        received.objects.size() != sent.objects.size() ||
        (!sent.objects.empty() &&
         std::memcmp(received.objects.data(), sent.objects.data(),
                     sent.objects.size() * sizeof(wire::WireObject)) != 0)) {
        finding("a frame came back different");
    }
    for (size_t index = 0; index < identities.size(); ++index) {
        if (tessaro_fuzz::identityOf(received.descriptors[index].get()) != identities[index]) {
            finding("a descriptor came back as another file");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = tessaro_fuzz::openDescriptors();
    {
        ByteReader input(data, size);
        if (input.u8() % 4 == 0) {
            roundTrip(input);
        } else {
            rawFrames(input);
        }
    }
    std::string left;
    for (int fd : tessaro_fuzz::descriptorsOpenedSince(before)) {
        left += tessaro_fuzz::describeDescriptor(fd) + "\n";
    }
    if (!left.empty()) finding("descriptors left open:\n" + left);
    if (!tessaro_fuzz::descriptorsClosedSince(before).empty()) {
        finding("descriptors of the process were closed");
    }
    return 0;
}
