// Sending and receiving whole frames (wire_format.h) on a connected Unix stream socket.
#pragma once

#include <android/binder_auto_utils.h>

#include <string>
#include <vector>

#include "wire_format.h"

namespace host_binder {

struct Frame {
    wire::FrameHeader header{};
    std::vector<wire::WireObject> objects;
    std::vector<uint8_t> data;
    // The descriptors of the kDescriptor objects, in their order; owned by the frame.
    std::vector<ndk::ScopedFileDescriptor> descriptors;
};

// A frame of kind with nothing else set yet.
Frame makeFrame(wire::FrameKind kind);

// Sends frame whole; header counts are filled from its vectors. False, with the reason in
// *error, when the frame breaks a limit or the socket fails (its send timeout included).
bool sendFrame(int socket, Frame* frame, std::string* error);

enum class ReceiveResult { kFrame, kClosed, kFailed };

// Receives one frame. kClosed when the peer closed the connection between frames; kFailed, with
// the reason in *error, for a malformed, truncated or oversized frame or a failing socket. Every
// descriptor received is owned by *frame or already closed, whatever the result.
ReceiveResult receiveFrame(int socket, Frame* frame, std::string* error);

}  // namespace host_binder
