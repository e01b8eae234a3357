// Parcels in frames: the bytes as they are, and the side table of objects as WireObjects, with
// descriptors duplicated into the frame and binders named by owner endpoint and id.
#pragma once

#include <android/binder_parcel.h>

#include <string>

#include "frame_codec.h"

namespace host_binder {

// Puts parcel's bytes and objects into frame, for the process at peer. Local binders are
// exported to peer (one reference each); proxies are named by their owner.
binder_status_t encodeParcel(const AParcel& parcel, const std::string& peer, Frame* frame);

// Fills parcel from frame, received from the process at peer; frame's descriptors move into
// it. A binder owned here becomes its local binder, any other its proxy. False, with the reason
// in *error, for an object that names no binder of this process or a malformed endpoint.
bool decodeParcel(Frame* frame, const std::string& peer, AParcel* parcel, std::string* error);

}  // namespace host_binder
