#include "frame_codec.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <cstring>

namespace host_binder {

namespace {

using wire::FrameHeader;
using wire::WireObject;
using wire::WireObjectKind;

constexpr size_t kControlSize = CMSG_SPACE(sizeof(int) * wire::kMaxFrameDescriptors);

// Takes every descriptor of msg's ancillary data into descriptors (owned from here on).
void collectDescriptors(const msghdr& msg, std::vector<ndk::ScopedFileDescriptor>* descriptors) {
    for (const cmsghdr* cmsg = CMSG_FIRSTHDR(&msg); cmsg != nullptr;
         cmsg = CMSG_NXTHDR(const_cast<msghdr*>(&msg), const_cast<cmsghdr*>(cmsg))) {
        if (cmsg->cmsg_level != SOL_SOCKET || cmsg->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (cmsg->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        const auto* fds = reinterpret_cast<const unsigned char*>(CMSG_DATA(cmsg));
        for (size_t index = 0; index < count; ++index) {
            int fd = -1;
            std::memcpy(&fd, fds + index * sizeof(int), sizeof(int));
            descriptors->emplace_back(fd);
        }
    }
}

// Reads exactly length bytes, collecting any descriptors that come with them.
ReceiveResult receiveBytes(int socket, void* buffer, size_t length, bool frame_started,
                           std::vector<ndk::ScopedFileDescriptor>* descriptors,
                           std::string* error) {
    auto* bytes = static_cast<uint8_t*>(buffer);
    size_t done = 0;
    while (done < length) {
        alignas(cmsghdr) unsigned char control[kControlSize];
        iovec vector{bytes + done, length - done};
        msghdr msg{};
        msg.msg_iov = &vector;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        const ssize_t received = ::recvmsg(socket, &msg, MSG_CMSG_CLOEXEC);
        if (received < 0 && errno == EINTR) continue;
        if (received >= 0) collectDescriptors(msg, descriptors);
        if (received < 0) {
            *error = std::string("receive failed: ") + std::strerror(errno);
            return ReceiveResult::kFailed;
        }
        if ((msg.msg_flags & MSG_CTRUNC) != 0) {
            *error = "more descriptors than a frame may carry";
            return ReceiveResult::kFailed;
        }
        if (received == 0) {
            if (!frame_started && done == 0) return ReceiveResult::kClosed;
            *error = "truncated frame";
            return ReceiveResult::kFailed;
        }
        done += static_cast<size_t>(received);
        frame_started = true;
    }
    return ReceiveResult::kFrame;
}

bool checkHeader(const FrameHeader& header, std::string* error) {
    if (header.magic != wire::kFrameMagic) {
        *error = "not a frame (bad magic)";
    } else if (header.kind == 0 || header.kind > wire::kLastFrameKind) {
        *error = "unknown frame kind " + std::to_string(header.kind);
    } else if (header.data_size > wire::kMaxFrameDataSize) {
        *error = "frame data of " + std::to_string(header.data_size) + " bytes exceeds the limit";
    } else if (header.object_count > wire::kMaxFrameObjects) {
        *error = "frame of " + std::to_string(header.object_count) + " objects exceeds the limit";
    } else if (header.descriptor_count > wire::kMaxFrameDescriptors) {
        *error = "more descriptors than a frame may carry";
    } else {
        return true;
    }
    return false;
}

// Checks that objects are ordered, do not overlap, lie in the data and match the descriptors.
bool checkObjects(const Frame& frame, std::string* error) {
    size_t next_free = 0;
    size_t descriptor_objects = 0;
    for (const WireObject& object : frame.objects) {
        if (object.offset % 4 != 0 || object.offset < next_free ||
            size_t{object.offset} + 4 > frame.data.size()) {
            *error = "object at offset " + std::to_string(object.offset) + " is misplaced";
            return false;
        }
        next_free = size_t{object.offset} + 4;
        if (object.kind == static_cast<uint32_t>(WireObjectKind::kDescriptor)) {
            ++descriptor_objects;
        } else if (object.kind != static_cast<uint32_t>(WireObjectKind::kBinder) ||
                   std::memchr(object.endpoint, '\0', sizeof(object.endpoint)) == nullptr) {
            *error = "malformed object at offset " + std::to_string(object.offset);
            return false;
        }
    }
    if (descriptor_objects != frame.header.descriptor_count ||
        frame.descriptors.size() != frame.header.descriptor_count) {
        *error = "descriptor count does not match the frame (" +
                 std::to_string(frame.descriptors.size()) + " received)";
        return false;
    }
    return true;
}

}  // namespace

Frame makeFrame(wire::FrameKind kind) {
    Frame frame;
    frame.header.magic = wire::kFrameMagic;
    frame.header.kind = static_cast<uint16_t>(kind);
    return frame;
}

bool sendFrame(int socket, Frame* frame, std::string* error) {
    FrameHeader& header = frame->header;
    header.magic = wire::kFrameMagic;
    header.object_count = static_cast<uint32_t>(frame->objects.size());
    header.data_size = static_cast<uint32_t>(frame->data.size());
    header.descriptor_count = static_cast<uint16_t>(frame->descriptors.size());
    if (frame->data.size() > wire::kMaxFrameDataSize ||
        frame->objects.size() > wire::kMaxFrameObjects ||
        frame->descriptors.size() > wire::kMaxFrameDescriptors) {
        *error = "the parcel exceeds the frame limits";
        return false;
    }
    iovec parts[3] = {
            {&header, sizeof(header)},
            {frame->objects.data(), frame->objects.size() * sizeof(WireObject)},
            {frame->data.data(), frame->data.size()},
    };
    alignas(cmsghdr) unsigned char control[kControlSize] = {};
    msghdr msg{};
    msg.msg_iov = parts;
    msg.msg_iovlen = 3;
    if (!frame->descriptors.empty()) {
        const size_t bytes = sizeof(int) * frame->descriptors.size();
        msg.msg_control = control;
        msg.msg_controllen = CMSG_SPACE(bytes);
        cmsghdr* cmsg = CMSG_FIRSTHDR(&msg);
        cmsg->cmsg_level = SOL_SOCKET;
        cmsg->cmsg_type = SCM_RIGHTS;
        cmsg->cmsg_len = CMSG_LEN(bytes);
        for (size_t index = 0; index < frame->descriptors.size(); ++index) {
            const int fd = frame->descriptors[index].get();
            std::memcpy(CMSG_DATA(cmsg) + index * sizeof(int), &fd, sizeof(int));
        }
    }
    size_t remaining = sizeof(header) + parts[1].iov_len + parts[2].iov_len;
    while (remaining > 0) {
        const ssize_t sent = ::sendmsg(socket, &msg, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) {
            *error = errno == EAGAIN ? std::string("the peer stopped reading (send timed out)")
                                     : std::string("send failed: ") + std::strerror(errno);
            return false;
        }
        // The descriptors went with the first byte; the rest is plain data.
        msg.msg_control = nullptr;
        msg.msg_controllen = 0;
        remaining -= static_cast<size_t>(sent);
        auto advance = static_cast<size_t>(sent);
        while (advance > 0 && msg.msg_iovlen > 0) {
            const size_t step = std::min(advance, msg.msg_iov->iov_len);
            msg.msg_iov->iov_base = static_cast<uint8_t*>(msg.msg_iov->iov_base) + step;
            msg.msg_iov->iov_len -= step;
            advance -= step;
            if (msg.msg_iov->iov_len == 0) {
                ++msg.msg_iov;
                --msg.msg_iovlen;
            }
        }
    }
    return true;
}

ReceiveResult receiveFrame(int socket, Frame* frame, std::string* error) {
    *frame = Frame{};
    ReceiveResult result = receiveBytes(socket, &frame->header, sizeof(frame->header),
                                        /*frame_started=*/false, &frame->descriptors, error);
    if (result != ReceiveResult::kFrame) return result;
    if (!checkHeader(frame->header, error)) return ReceiveResult::kFailed;
    frame->objects.resize(frame->header.object_count);
    frame->data.resize(frame->header.data_size);
    result = receiveBytes(socket, frame->objects.data(), frame->objects.size() * sizeof(WireObject),
                          true, &frame->descriptors, error);
    if (result == ReceiveResult::kFrame) {
        result = receiveBytes(socket, frame->data.data(), frame->data.size(), true,
                              &frame->descriptors, error);
    }
    if (result != ReceiveResult::kFrame) return result;
    return checkObjects(*frame, error) ? ReceiveResult::kFrame : ReceiveResult::kFailed;
}

}  // namespace host_binder
