// The frames that carry transactions between processes over Unix domain stream sockets, and the
// limits every receiver enforces.
//
// A frame is, in host byte order (both ends run on one host):
//   FrameHeader (32 bytes)
//   object_count WireObject entries (64 bytes each), by increasing offset
//   data_size bytes of parcel data
// and, as SCM_RIGHTS ancillary data on its first byte, exactly descriptor_count descriptors: one
// for each kDescriptor object, in the objects' order. A WireObject says what the parcel holds at
// a 4-byte slot of the data: a descriptor, or a binder named by the endpoint of the process that
// owns it and the object's id in that process's export table.
//
// Connections: every process listens on its endpoint socket, and on one socket per service it
// registers, in the service directory. A thread that calls into another process uses its own
// connection to that process's endpoint (one per calling thread and remote process, kept for the
// thread's life), so one client can have several calls in flight, each on its connection; a
// connection carries one call at a time, requests one way and replies the other. The connecting
// side's first frame is always kHello with its own endpoint name as data.
//
// Frame kinds and their fields (fields not named are 0):
//   kHello        data: the sender's endpoint name.
//   kTransaction  target: object id; code, flags: the transaction's; data, objects: the request.
//                 Answered by kReply unless flags has FLAG_ONEWAY.
//   kReply        code: the transaction's binder_status_t; data, objects: the reply parcel.
//   kLookup       data: the instance name, on a service socket. Answered by kReply whose parcel
//                 holds the registered binder (written as by AParcel_writeStrongBinder).
//   kAcquire      target: object id. The sender holds one more reference to the object, which
//                 it received from a third process. Answered by kReply.
//   kRelease      target: object id; code: how many references the sender drops. No answer.
//   kDump         target: object id; data: a parcel of the descriptor, the argument count and
//                 the arguments as strings. Answered by kReply with the dump's status.
//
// A binder sent to a process counts one reference of that process to the object; the receiver's
// proxy gives them all back with kRelease when it goes, and the owner drops them all when that
// process dies.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace host_binder::wire {

constexpr uint32_t kFrameMagic = 0x31574254;  // "TBW1"

enum class FrameKind : uint16_t {
    kHello = 1,
    kTransaction = 2,
    kReply = 3,
    kLookup = 4,
    kAcquire = 5,
    kRelease = 6,
    kDump = 7,
};
constexpr uint16_t kLastFrameKind = static_cast<uint16_t>(FrameKind::kDump);

struct FrameHeader {
    uint32_t magic;
    uint16_t kind;
    uint16_t descriptor_count;
    uint32_t code;
    uint32_t flags;
    uint64_t target;
    uint32_t object_count;
    uint32_t data_size;
};
static_assert(sizeof(FrameHeader) == 32, "the header's layout is part of the frame format");

enum class WireObjectKind : uint32_t { kDescriptor = 1, kBinder = 2 };

// Endpoint names are "p<pid>-<16 hex digits>", NUL-padded.
constexpr size_t kEndpointNameSize = 48;

struct WireObject {
    uint32_t offset;
    uint32_t kind;
    uint64_t id;                       // kBinder only
    char endpoint[kEndpointNameSize];  // kBinder only
};
static_assert(sizeof(WireObject) == 64, "an object's layout is part of the frame format");

// Limits a receiver enforces: a frame beyond them closes its connection.
constexpr size_t kMaxFrameDataSize = 4 * 1024 * 1024;
constexpr size_t kMaxFrameObjects = 1024;
constexpr size_t kMaxFrameDescriptors = 64;
// Connections a process accepts at once; more are closed at once.
constexpr size_t kMaxIncomingConnections = 128;
// How long a write may block on a peer that does not read, before the connection is closed.
constexpr std::chrono::seconds kSendTimeout{10};
// How long an accepted connection may take to say hello, and a service to answer a look-up.
constexpr std::chrono::seconds kHandshakeTimeout{10};

}  // namespace host_binder::wire
