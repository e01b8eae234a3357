// Status numbers, AStatus construction, and status headers carried through parcels.
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

namespace {

TEST(StatusTest, NumbersMatchThePlatform) {
    // The values a device build sees for the same names (Linux errno numbers).
    const std::vector<std::pair<int32_t, int32_t>> statuses = {
            {STATUS_OK, 0},
            {STATUS_UNKNOWN_ERROR, INT32_MIN},
            {STATUS_NO_MEMORY, -12},
            {STATUS_INVALID_OPERATION, -38},
            {STATUS_BAD_VALUE, -22},
            {STATUS_BAD_TYPE, INT32_MIN + 1},
            {STATUS_NAME_NOT_FOUND, -2},
            {STATUS_PERMISSION_DENIED, -1},
            {STATUS_NO_INIT, -19},
            {STATUS_ALREADY_EXISTS, -17},
            {STATUS_DEAD_OBJECT, -32},
            {STATUS_FAILED_TRANSACTION, INT32_MIN + 2},
            {STATUS_BAD_INDEX, -75},
            {STATUS_NOT_ENOUGH_DATA, -61},
            {STATUS_WOULD_BLOCK, -11},
            {STATUS_TIMED_OUT, -110},
            {STATUS_UNKNOWN_TRANSACTION, -74},
            {STATUS_FDS_NOT_ALLOWED, INT32_MIN + 7},
            {STATUS_UNEXPECTED_NULL, static_cast<int32_t>(0x80000008u)},
    };
    for (const auto& [name_value, platform_value] : statuses) {
        EXPECT_EQ(name_value, platform_value);
    }
    const std::vector<std::pair<int32_t, int32_t>> exceptions = {
            {EX_NONE, 0},
            {EX_SECURITY, -1},
            {EX_BAD_PARCELABLE, -2},
            {EX_ILLEGAL_ARGUMENT, -3},
            {EX_NULL_POINTER, -4},
            {EX_ILLEGAL_STATE, -5},
            {EX_NETWORK_MAIN_THREAD, -6},
            {EX_UNSUPPORTED_OPERATION, -7},
            {EX_SERVICE_SPECIFIC, -8},
            {EX_PARCELABLE, -9},
            {EX_HAS_REPLY_HEADER, -128},
            {EX_TRANSACTION_FAILED, -129},
    };
    for (const auto& [name_value, platform_value] : exceptions) {
        EXPECT_EQ(name_value, platform_value);
    }
}

TEST(StatusTest, ConstructorsSetExceptionStatusAndMessage) {
    auto ok = ndk::ScopedAStatus::ok();
    EXPECT_TRUE(ok.isOk());
    EXPECT_EQ(ok.getStatus(), STATUS_OK);
    EXPECT_EQ(ok.getDescription(), "No error");

    auto unsupported =
            ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_UNSUPPORTED_OPERATION, "not here");
    EXPECT_FALSE(unsupported.isOk());
    EXPECT_EQ(unsupported.getExceptionCode(), EX_UNSUPPORTED_OPERATION);
    EXPECT_EQ(unsupported.getStatus(), STATUS_OK);
    EXPECT_EQ(unsupported.getServiceSpecificError(), 0);
    EXPECT_STREQ(unsupported.getMessage(), "not here");
    EXPECT_EQ(unsupported.getDescription(), "Status(-7, EX_UNSUPPORTED_OPERATION): 'not here'");

    // Any number is kept as the exception code, even one that is a status number.
    auto odd = ndk::ScopedAStatus::fromExceptionCode(static_cast<int32_t>(0x80000008u));
    EXPECT_EQ(odd.getExceptionCode(), static_cast<int32_t>(0x80000008u));
    EXPECT_FALSE(odd.isOk());

    auto specific = ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(42, "busy");
    EXPECT_EQ(specific.getExceptionCode(), EX_SERVICE_SPECIFIC);
    EXPECT_EQ(specific.getServiceSpecificError(), 42);
    EXPECT_EQ(specific.getDescription(), "Status(-8, EX_SERVICE_SPECIFIC): '42: busy'");

    auto dead = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_EQ(dead.getExceptionCode(), EX_TRANSACTION_FAILED);
    EXPECT_EQ(dead.getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_NE(dead.getDescription().find("STATUS_DEAD_OBJECT"), std::string::npos);
    EXPECT_TRUE(ndk::ScopedAStatus::fromStatus(STATUS_OK).isOk());
    EXPECT_EQ(ndk::ScopedAStatus::fromExceptionCode(EX_TRANSACTION_FAILED).getStatus(),
              STATUS_FAILED_TRANSACTION);

    // A missing status is a failure, never a crash.
    ndk::ScopedAStatus missing;
    EXPECT_FALSE(missing.isOk());
    EXPECT_EQ(missing.getExceptionCode(), EX_TRANSACTION_FAILED);
    EXPECT_EQ(missing.getStatus(), STATUS_UNEXPECTED_NULL);
    EXPECT_STREQ(missing.getMessage(), "");
}

struct HeaderCase {
    int32_t exception;
    const char* message;
    int32_t service_specific_error;
};

TEST(StatusTest, HeadersRoundTripThroughParcels) {
    const std::vector<HeaderCase> cases = {
            {EX_NONE, "", 0},
            {EX_UNSUPPORTED_OPERATION, "unsupported", 0},
            {EX_NULL_POINTER, "", 0},
            {static_cast<int32_t>(0x80000008u), "odd code", 0},
            {EX_SERVICE_SPECIFIC, "ünïcode ✓", -12345},
            {EX_SECURITY, "denied", 0},
    };
    for (const HeaderCase& sent : cases) {
        SCOPED_TRACE(sent.exception);
        ndk::ScopedAParcel parcel(AParcel_create());
        ndk::ScopedAStatus status(
                sent.exception == EX_SERVICE_SPECIFIC
                        ? AStatus_fromServiceSpecificErrorWithMessage(sent.service_specific_error,
                                                                      sent.message)
                        : AStatus_fromExceptionCodeWithMessage(sent.exception, sent.message));
        ASSERT_EQ(AParcel_writeStatusHeader(parcel.get(), status.get()), STATUS_OK);
        ASSERT_EQ(AParcel_writeInt32(parcel.get(), 99), STATUS_OK);  // what follows the header
        ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);

        ndk::ScopedAStatus received;
        ASSERT_EQ(AParcel_readStatusHeader(parcel.get(), received.getR()), STATUS_OK);
        EXPECT_EQ(received.getExceptionCode(), sent.exception);
        EXPECT_EQ(received.getServiceSpecificError(), sent.service_specific_error);
        EXPECT_STREQ(received.getMessage(), sent.exception == EX_NONE ? "" : sent.message);
        int32_t next = 0;
        EXPECT_EQ(AParcel_readInt32(parcel.get(), &next), STATUS_OK);
        EXPECT_EQ(next, 99);
    }
}

TEST(StatusTest, HeaderEdgeCases) {
    ndk::ScopedAParcel parcel(AParcel_create());
    // A failed transaction is not written: the transaction fails with its status instead.
    ndk::ScopedAStatus failed = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_EQ(AParcel_writeStatusHeader(parcel.get(), failed.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 0);

    // A message that is not UTF-8 is repaired rather than costing the reply.
    ndk::ScopedAStatus garbled =
            ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_ILLEGAL_STATE, "bad\xff byte");
    ASSERT_EQ(AParcel_writeStatusHeader(parcel.get(), garbled.get()), STATUS_OK);
    const int32_t size = AParcel_getDataSize(parcel.get());
    AParcel_setDataPosition(parcel.get(), 0);
    ndk::ScopedAStatus repaired;
    ASSERT_EQ(AParcel_readStatusHeader(parcel.get(), repaired.getR()), STATUS_OK);
    EXPECT_STREQ(repaired.getMessage(), "bad? byte");

    // Truncated: nothing is handed out and the position stays.
    for (int32_t cut = 0; cut < size; cut += 4) {
        ndk::ScopedAParcel truncated(AParcel_create());
        ASSERT_EQ(AParcel_appendFrom(parcel.get(), truncated.get(), 0, cut), STATUS_OK);
        AParcel_setDataPosition(truncated.get(), 0);
        AStatus* untouched = nullptr;
        EXPECT_NE(AParcel_readStatusHeader(truncated.get(), &untouched), STATUS_OK) << cut;
        EXPECT_EQ(untouched, nullptr);
        EXPECT_EQ(AParcel_getDataPosition(truncated.get()), 0);
    }

    // A reply header is skipped and reads as success.
    ndk::ScopedAParcel with_header(AParcel_create());
    AParcel_writeInt32(with_header.get(), EX_HAS_REPLY_HEADER);
    AParcel_writeInt32(with_header.get(), 12);  // header size, counting itself
    AParcel_writeInt64(with_header.get(), -1);
    AParcel_writeInt32(with_header.get(), 5);
    AParcel_setDataPosition(with_header.get(), 0);
    ndk::ScopedAStatus skipped;
    ASSERT_EQ(AParcel_readStatusHeader(with_header.get(), skipped.getR()), STATUS_OK);
    EXPECT_TRUE(skipped.isOk());
    int32_t after = 0;
    EXPECT_EQ(AParcel_readInt32(with_header.get(), &after), STATUS_OK);
    EXPECT_EQ(after, 5);

    EXPECT_EQ(AParcel_writeStatusHeader(parcel.get(), nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AParcel_readStatusHeader(nullptr, repaired.getR()), STATUS_UNEXPECTED_NULL);
}

}  // namespace
