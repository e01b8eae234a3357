// Status and exception numbers, what each way of making an AStatus holds, and status headers
// carried through parcels.
#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr int32_t kOddCode = static_cast<int32_t>(0x80000008u);

TEST(StatusTest, NumbersMatchThePlatform) {
    // The values a device build sees for the same names (Linux errno numbers), in list order.
    EXPECT_EQ((std::vector<int32_t>{
                      STATUS_OK, STATUS_UNKNOWN_ERROR, STATUS_NO_MEMORY, STATUS_INVALID_OPERATION,
                      STATUS_BAD_VALUE, STATUS_BAD_TYPE, STATUS_NAME_NOT_FOUND,
                      STATUS_PERMISSION_DENIED, STATUS_NO_INIT, STATUS_ALREADY_EXISTS,
                      STATUS_DEAD_OBJECT, STATUS_FAILED_TRANSACTION, STATUS_BAD_INDEX,
                      STATUS_NOT_ENOUGH_DATA, STATUS_WOULD_BLOCK, STATUS_TIMED_OUT,
                      STATUS_UNKNOWN_TRANSACTION, STATUS_FDS_NOT_ALLOWED, STATUS_UNEXPECTED_NULL}),
              (std::vector<int32_t>{0, INT32_MIN, -12, -38, -22, INT32_MIN + 1, -2, -1, -19, -17,
                                    -32, INT32_MIN + 2, -75, -61, -11, -110, -74, INT32_MIN + 7,
                                    kOddCode}));
    EXPECT_EQ((std::vector<int32_t>{EX_NONE, EX_SECURITY, EX_BAD_PARCELABLE, EX_ILLEGAL_ARGUMENT,
                                    EX_NULL_POINTER, EX_ILLEGAL_STATE, EX_NETWORK_MAIN_THREAD,
                                    EX_UNSUPPORTED_OPERATION, EX_SERVICE_SPECIFIC, EX_PARCELABLE,
                                    EX_HAS_REPLY_HEADER, EX_TRANSACTION_FAILED}),
              (std::vector<int32_t>{0, -1, -2, -3, -4, -5, -6, -7, -8, -9, -128, -129}));
}

struct Made {
    ndk::ScopedAStatus status;
    int32_t exception;
    binder_status_t transport;
    int32_t service_specific_error;
    const char* description;
};

TEST(StatusTest, EachWayOfMakingAStatusHoldsWhatItWasGiven) {
    Made cases[] = {
            {ndk::ScopedAStatus::ok(), EX_NONE, STATUS_OK, 0, "No error"},
            {ndk::ScopedAStatus::fromStatus(STATUS_OK), EX_NONE, STATUS_OK, 0, "No error"},
            {ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_UNSUPPORTED_OPERATION, "no"),
             EX_UNSUPPORTED_OPERATION, STATUS_OK, 0, "Status(-7, EX_UNSUPPORTED_OPERATION): 'no'"},
            {ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(42, "busy"),
             EX_SERVICE_SPECIFIC, STATUS_OK, 42, "Status(-8, EX_SERVICE_SPECIFIC): '42: busy'"},
            {ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT), EX_TRANSACTION_FAILED,
             STATUS_DEAD_OBJECT, 0, "Status(-129, EX_TRANSACTION_FAILED): 'STATUS_DEAD_OBJECT: '"},
            {ndk::ScopedAStatus::fromExceptionCode(EX_TRANSACTION_FAILED), EX_TRANSACTION_FAILED,
             STATUS_FAILED_TRANSACTION, 0,
             "Status(-129, EX_TRANSACTION_FAILED): 'STATUS_FAILED_TRANSACTION: '"},
            // Any number is kept as the exception code, even one that is a status number.
            {ndk::ScopedAStatus::fromExceptionCode(kOddCode), kOddCode, STATUS_OK, 0,
             "Status(-2147483640, unknown exception): ''"},
            // A missing status is a failure, never a crash.
            {ndk::ScopedAStatus(), EX_TRANSACTION_FAILED, STATUS_UNEXPECTED_NULL, 0, "null status"},
    };
    for (const Made& made : cases) {
        SCOPED_TRACE(made.exception);
        EXPECT_EQ(made.status.isOk(), made.exception == EX_NONE);
        EXPECT_EQ(made.status.getExceptionCode(), made.exception);
        EXPECT_EQ(made.status.getStatus(), made.transport);
        EXPECT_EQ(made.status.getServiceSpecificError(), made.service_specific_error);
        EXPECT_EQ(made.status.getDescription(), made.description);
    }
}

// A message that is not UTF-8 is repaired rather than costing the reply; a header cut anywhere
// hands out nothing and leaves the position where it was.
TEST(StatusTest, HeadersRoundTripThroughParcelsAndCutOnesAreRefused) {
    const std::tuple<int32_t, const char*, const char*> cases[] = {
            {EX_NONE, "", ""},
            {EX_NULL_POINTER, "", ""},
            {EX_UNSUPPORTED_OPERATION, "unsupported", "unsupported"},
            {EX_SERVICE_SPECIFIC, "ünïcode ✓", "ünïcode ✓"},
            {EX_ILLEGAL_STATE, "bad\xff byte", "bad? byte"}};
    for (const auto& [exception, message, read_message] : cases) {
        SCOPED_TRACE(exception);
        const int32_t specific = exception == EX_SERVICE_SPECIFIC ? -12345 : 0;
        ndk::ScopedAStatus sent(
                exception == EX_SERVICE_SPECIFIC
                        ? AStatus_fromServiceSpecificErrorWithMessage(specific, message)
                        : AStatus_fromExceptionCodeWithMessage(exception, message));
        ndk::ScopedAParcel parcel(AParcel_create());
        ASSERT_EQ(AParcel_writeStatusHeader(parcel.get(), sent.get()), STATUS_OK);
        const int32_t size = AParcel_getDataSize(parcel.get());
        ASSERT_EQ(AParcel_writeInt32(parcel.get(), 99), STATUS_OK);  // what follows the header
        ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);

        ndk::ScopedAStatus received;
        ASSERT_EQ(AParcel_readStatusHeader(parcel.get(), received.getR()), STATUS_OK);
        EXPECT_EQ(received.getExceptionCode(), exception);
        EXPECT_EQ(received.getServiceSpecificError(), specific);
        EXPECT_STREQ(received.getMessage(), read_message);
        int32_t next = 0;
        EXPECT_EQ(AParcel_readInt32(parcel.get(), &next), STATUS_OK);
        EXPECT_EQ(next, 99);

        for (int32_t cut = 0; cut < size; cut += 4) {
            ndk::ScopedAParcel truncated(AParcel_create());
            ASSERT_EQ(AParcel_appendFrom(parcel.get(), truncated.get(), 0, cut), STATUS_OK);
            AParcel_setDataPosition(truncated.get(), 0);
            AStatus* untouched = nullptr;
            EXPECT_NE(AParcel_readStatusHeader(truncated.get(), &untouched), STATUS_OK) << cut;
            EXPECT_EQ(untouched, nullptr);
            EXPECT_EQ(AParcel_getDataPosition(truncated.get()), 0);
        }
    }
    // A failed transaction is not written: the transaction fails with its status instead.
    ndk::ScopedAParcel parcel(AParcel_create());
    ndk::ScopedAStatus failed = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_EQ(AParcel_writeStatusHeader(parcel.get(), failed.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(AParcel_getDataSize(parcel.get()), 0);
}

}  // namespace
