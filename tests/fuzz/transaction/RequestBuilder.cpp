#include "RequestBuilder.h"

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_parcel.h>

#include <string>

namespace tessaro_fuzz {

namespace {

using aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

constexpr size_t kMaxValues = 48;
// Host binder runtime codes (ping and interface descriptor), '_PNG' and '_NTF'.
constexpr transaction_code_t kPingCode = 0x5f504e47;
constexpr transaction_code_t kInterfaceCode = 0x5f4e5446;
// Tags the parcel writes where an object's slot is; raw words can forge them.
constexpr uint32_t kDescriptorTag = 0x46444553;
constexpr uint32_t kBinderTag = 0x444e4942;

enum Value : uint8_t {
    kInt32,
    kInt64,
    kLiveId,
    kString,
    kNullString,
    kDescriptor,
    kNullDescriptor,
    kClosedDescriptorNumber,
    kRawWords,
    kForgedObjectTag,
    kCallbackBinder,
    kNullBinder,
    kSmallInt64,
    kRecordStart,
    kRecordEnd,
    kValueCount,
};

transaction_code_t decodeCode(ByteReader& input) {
    const uint8_t selector = input.u8();
    if (selector < 48) return FIRST_CALL_TRANSACTION + selector;
    switch (selector) {
        case 48:
            return 0;
        case 49:
            return FIRST_CALL_TRANSACTION + 48;
        case 50:
            return ITovanDravik::TRANSACTION_getInterfaceVersion;
        case 51:
            return ITovanDravik::TRANSACTION_getInterfaceHash;
        case 52:
            return kPingCode;
        case 53:
            return kInterfaceCode;
        case 54:
            return LAST_CALL_TRANSACTION;
        case 55:
            return LAST_CALL_TRANSACTION + 1;
        case 56:
            return input.u32();
        default:
            return FIRST_CALL_TRANSACTION + selector % 48;
    }
}

binder_flags_t decodeFlags(ByteReader& input) {
    switch (input.u8()) {
        case 1:
            return FLAG_ONEWAY;
        case 2:
            return input.u32();
        default:
            return 0;
    }
}

bool writeToken(ByteReader& input, AIBinder* binder, Request* request) {
    request->token = static_cast<TokenMode>(input.u8() % 5);
    if (AIBinder_prepareTransaction(binder, request->parcel.getR()) != STATUS_OK) return false;
    AParcel* parcel = request->parcel.get();
    switch (request->token) {
        case TokenMode::kCorrect:
            return true;
        case TokenMode::kOther: {
            const std::string other = "vendor.korvane.hardware.tessaro.dravik.ITovanDravikCallback";
            return AParcel_unmarshal(parcel, nullptr, 0) == STATUS_OK &&
                   AParcel_writeString(parcel, other.c_str(), other.size()) == STATUS_OK;
        }
        case TokenMode::kNone:
            return AParcel_unmarshal(parcel, nullptr, 0) == STATUS_OK;
        case TokenMode::kRaw: {
            const std::vector<uint8_t> raw = input.bytes(input.u8());
            return AParcel_unmarshal(parcel, raw.data(), raw.size()) == STATUS_OK;
        }
        case TokenMode::kCorrupted: {
            std::string token = ITovanDravik::descriptor;
            const size_t index = input.u8() % token.size();
            token[index] = static_cast<char>(token[index] ^ (1 + input.u8() % 127));
            return AParcel_unmarshal(parcel, nullptr, 0) == STATUS_OK &&
                   AParcel_writeString(parcel, token.c_str(), token.size()) == STATUS_OK;
        }
    }
    return false;
}

int64_t liveId(ByteReader& input, const BuildContext& context) {
    const auto& ids = context.ids[input.u8() % static_cast<size_t>(IdKind::kCount)];
    const uint8_t index = input.u8();
    return ids.empty() ? 0 : ids[index % ids.size()];
}

// Writes one value; a write the parcel refuses is simply not there, as for a client whose write
// failed.
// record_starts holds where each record still open began: its size is written there at its end,
// as a record's writer does.
void writeValue(ByteReader& input, const BuildContext& context, Request* request,
                std::vector<int32_t>* record_starts) {
    AParcel* parcel = request->parcel.get();
    switch (input.u8() % kValueCount) {
        case kInt32:
            AParcel_writeInt32(parcel, static_cast<int32_t>(input.u32()));
            break;
        case kInt64:
            AParcel_writeInt64(parcel, static_cast<int64_t>(input.u64()));
            break;
        case kLiveId:
            AParcel_writeInt64(parcel, liveId(input, context));
            break;
        case kString: {
            const std::string text = input.text(input.u8());
            AParcel_writeString(parcel, text.c_str(), static_cast<int32_t>(text.size()));
            break;
        }
        case kNullString:
            AParcel_writeString(parcel, nullptr, -1);
            break;
        case kDescriptor: {
            const auto kind = static_cast<DescriptorKind>(
                    input.u8() % static_cast<uint8_t>(DescriptorKind::kCount));
            ndk::ScopedFileDescriptor fd = makeDescriptor(kind);
            if (fd.get() >= 0) request->attached.insert(identityOf(fd.get()));
            AParcel_writeParcelFileDescriptor(parcel, fd.get());
            break;
        }
        case kNullDescriptor:
            AParcel_writeParcelFileDescriptor(parcel, -1);
            break;
        case kClosedDescriptorNumber:
            AParcel_writeInt32(parcel, closedDescriptorNumber());
            break;
        case kRawWords: {
            const uint8_t count = input.u8() % 16;
            for (uint8_t word = 0; word < count; ++word) {
                AParcel_writeInt32(parcel, static_cast<int32_t>(input.u32()));
            }
            break;
        }
        case kForgedObjectTag:
            AParcel_writeUint32(parcel, input.u8() % 2 == 0 ? kDescriptorTag : kBinderTag);
            break;
        case kCallbackBinder:
            AParcel_writeStrongBinder(parcel, context.callback);
            break;
        case kNullBinder:
            AParcel_writeStrongBinder(parcel, nullptr);
            break;
        case kSmallInt64:
            AParcel_writeInt64(parcel, static_cast<int8_t>(input.u8()));
            break;
        case kRecordStart:
            record_starts->push_back(AParcel_getDataPosition(parcel));
            AParcel_writeInt32(parcel, 0);
            break;
        case kRecordEnd: {
            if (record_starts->empty()) break;
            const int32_t start = record_starts->back();
            record_starts->pop_back();
            const int32_t end = AParcel_getDataPosition(parcel);
            AParcel_setDataPosition(parcel, start);
            AParcel_writeInt32(parcel, end - start);
            AParcel_setDataPosition(parcel, end);
            break;
        }
    }
}

}  // namespace

bool buildRequest(ByteReader& input, AIBinder* binder, const BuildContext& context,
                  Request* request) {
    request->code = decodeCode(input);
    request->flags = decodeFlags(input);
    if (!writeToken(input, binder, request)) return false;
    const size_t values = input.u8() % kMaxValues;
    std::vector<int32_t> record_starts;
    for (size_t value = 0; value < values && !input.empty(); ++value) {
        writeValue(input, context, request, &record_starts);
    }
    return true;
}

}  // namespace tessaro_fuzz
