// Decodes one transaction of the service transaction fuzzer's input into a request parcel: the
// code, the flags, the interface token (the right one, another one, none, or raw bytes) and the
// values after it, descriptors and binders included. The layout is documented in
// tests/fuzz/README.md and written by tests/fuzz/seeds/make_seeds.py.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

#include <array>
#include <cstdint>
#include <set>
#include <vector>

#include "ByteReader.h"
#include "Descriptors.h"
#include "ReplyCheck.h"

namespace tessaro_fuzz {

// How the request begins.
enum class TokenMode : uint8_t {
    kCorrect,    // the interface's own token
    kOther,      // another interface's token
    kNone,       // nothing before the values
    kRaw,        // raw bytes of any length, then the values
    kCorrupted,  // the interface's token with one character changed
};

// What the builder may refer to while it decodes: ids handed out so far, and a local binder to
// attach as a callback.
struct BuildContext {
    std::array<std::vector<int64_t>, static_cast<size_t>(IdKind::kCount)> ids;
    AIBinder* callback = nullptr;
};

struct Request {
    transaction_code_t code = 0;
    binder_flags_t flags = 0;
    TokenMode token = TokenMode::kCorrect;
    ndk::ScopedAParcel parcel;
    // The files of the descriptors attached, so that a descriptor the service keeps can be told
    // apart from one it leaked.
    std::set<FileIdentity> attached;
};

// The next transaction of input, prepared for binder; false when the parcel could not be made.
bool buildRequest(ByteReader& input, AIBinder* binder, const BuildContext& context,
                  Request* request);

}  // namespace tessaro_fuzz
