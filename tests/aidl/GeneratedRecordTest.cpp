// Generated records: defaults, comparisons and the stable-parcelable layout on a parcel.

#include "ProbeService.h"

#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

#include <climits>

namespace aidl_generator_test {
namespace {

ndk::ScopedAParcel newParcel() {
    return ndk::ScopedAParcel(AParcel_create());
}

ProbeRecord filledRecord() {
    ProbeRecord record;
    record.flag = false;
    record.count = 41;
    record.total = -5000000000;
    record.label = "label \xc3\xa9";
    record.file = makeMemoryFile("single");
    record.ints = {3, -1, 4};
    record.longs = {INT64_MIN, 0, INT64_MAX};
    record.files.push_back(makeMemoryFile("first"));
    record.files.push_back(makeMemoryFile("second"));
    record.inner.value = 7;
    record.inner.name = "inner";
    record.inners.resize(2);
    record.inners[0].value = 1;
    record.inners[1].name = "two";
    return record;
}

// Scalars by value, descriptors by what their files hold: a received descriptor is a new one.
void expectSameRecord(const ProbeRecord& actual, const ProbeRecord& expected) {
    EXPECT_EQ(actual.flag, expected.flag);
    EXPECT_EQ(actual.count, expected.count);
    EXPECT_EQ(actual.total, expected.total);
    EXPECT_EQ(actual.label, expected.label);
    ASSERT_GE(actual.file.get(), 0);
    EXPECT_NE(actual.file.get(), expected.file.get());
    EXPECT_EQ(fileText(actual.file.get()), fileText(expected.file.get()));
    EXPECT_EQ(actual.ints, expected.ints);
    EXPECT_EQ(actual.longs, expected.longs);
    ASSERT_EQ(actual.files.size(), expected.files.size());
    for (size_t index = 0; index < actual.files.size(); ++index) {
        EXPECT_EQ(fileText(actual.files[index].get()), fileText(expected.files[index].get()));
    }
    EXPECT_EQ(actual.inner, expected.inner);
    EXPECT_EQ(actual.inners, expected.inners);
}

TEST(GeneratedRecordTest, FieldsStartAtTheirDefaults) {
    ProbeRecord record;
    EXPECT_TRUE(record.flag);
    EXPECT_EQ(record.count, -7);
    EXPECT_EQ(record.total, 16);
    EXPECT_TRUE(record.label.empty());
    EXPECT_LT(record.file.get(), 0);
    EXPECT_TRUE(record.ints.empty());
    EXPECT_TRUE(record.longs.empty());
    EXPECT_TRUE(record.files.empty());
    EXPECT_EQ(record.inner.value, 0);
    EXPECT_TRUE(record.inners.empty());
    EXPECT_EQ(ProbeRecord::_aidl_stability, ndk::STABILITY_VINTF);
    EXPECT_STREQ(ProbeRecord::descriptor, "tessaro.generator.probe.ProbeRecord");
}

TEST(GeneratedRecordTest, ComparisonsFollowFieldOrder) {
    ProbeInner low;
    low.value = 1;
    low.name = "zulu";
    ProbeInner high;
    high.value = 2;
    high.name = "alpha";
    ProbeInner low_copy = low;
    EXPECT_TRUE(low == low_copy);
    EXPECT_FALSE(low != low_copy);
    EXPECT_TRUE(low != high);
    EXPECT_TRUE(low < high);  // the first field decides, whatever the second says
    EXPECT_TRUE(high > low);
    EXPECT_TRUE(low <= low_copy);
    EXPECT_TRUE(low >= low_copy);
    EXPECT_FALSE(high <= low);
    low_copy.name = "zulu!";
    EXPECT_TRUE(low < low_copy);  // equal first fields: the second decides
    EXPECT_EQ(high.toString(), "ProbeInner{value: 2, name: alpha}");
}

TEST(GeneratedRecordTest, RoundTripsThroughAParcel) {
    ProbeRecord sent = filledRecord();
    ndk::ScopedAParcel parcel = newParcel();
    ASSERT_EQ(sent.writeToParcel(parcel.get()), STATUS_OK);
    const int32_t written = AParcel_getDataSize(parcel.get());

    // The size prefix covers the whole record, itself included.
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    int32_t size_prefix = 0;
    ASSERT_EQ(AParcel_readInt32(parcel.get(), &size_prefix), STATUS_OK);
    EXPECT_EQ(size_prefix, written);

    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
    ProbeRecord received;
    ASSERT_EQ(received.readFromParcel(parcel.get()), STATUS_OK);
    EXPECT_EQ(AParcel_getDataPosition(parcel.get()), written);
    expectSameRecord(received, sent);
}

TEST(GeneratedRecordTest, UnsetDescriptorCannotBeWritten) {
    ProbeRecord record = filledRecord();
    record.file.set(-1);
    ndk::ScopedAParcel parcel = newParcel();
    EXPECT_EQ(record.writeToParcel(parcel.get()), STATUS_UNEXPECTED_NULL);
}

// Writes a ProbeInner by hand: a size prefix, then the given fields, then extra bytes.
struct HandWrittenRecord {
    int32_t start = 0;
    int32_t end = 0;
};

HandWrittenRecord writeInnerByHand(AParcel* parcel, bool with_name, int32_t extra_ints) {
    HandWrittenRecord record;
    record.start = AParcel_getDataPosition(parcel);
    EXPECT_EQ(AParcel_writeInt32(parcel, 0), STATUS_OK);
    EXPECT_EQ(ndk::AParcel_writeData(parcel, int32_t{5}), STATUS_OK);
    if (with_name) {
        EXPECT_EQ(ndk::AParcel_writeData(parcel, std::string("five")), STATUS_OK);
    }
    for (int32_t index = 0; index < extra_ints; ++index) {
        EXPECT_EQ(AParcel_writeInt32(parcel, 1000 + index), STATUS_OK);
    }
    record.end = AParcel_getDataPosition(parcel);
    EXPECT_EQ(AParcel_setDataPosition(parcel, record.start), STATUS_OK);
    EXPECT_EQ(AParcel_writeInt32(parcel, record.end - record.start), STATUS_OK);
    EXPECT_EQ(AParcel_setDataPosition(parcel, record.end), STATUS_OK);
    return record;
}

// An older writer sent fewer fields, a newer one more: the reader takes what it knows and always
// ends exactly where the size says, so whatever follows the record reads correctly.
TEST(GeneratedRecordTest, ReaderFollowsTheSizePrefix) {
    struct Writer {
        const char* description;
        bool with_name;
        int32_t extra_ints;
    };
    for (const Writer& writer :
         {Writer{"older: no name", false, 0}, Writer{"same version", true, 0},
          Writer{"newer: three more fields", true, 3}}) {
        SCOPED_TRACE(writer.description);
        ndk::ScopedAParcel parcel = newParcel();
        EXPECT_EQ(AParcel_writeInt32(parcel.get(), 77), STATUS_OK);
        HandWrittenRecord written =
                writeInnerByHand(parcel.get(), writer.with_name, writer.extra_ints);
        EXPECT_EQ(AParcel_writeInt32(parcel.get(), 88), STATUS_OK);

        ASSERT_EQ(AParcel_setDataPosition(parcel.get(), written.start), STATUS_OK);
        ProbeInner inner;
        inner.name = "unchanged";
        ASSERT_EQ(inner.readFromParcel(parcel.get()), STATUS_OK);
        EXPECT_EQ(inner.value, 5);
        EXPECT_EQ(inner.name, writer.with_name ? "five" : "unchanged");
        EXPECT_EQ(AParcel_getDataPosition(parcel.get()), written.end);
        int32_t after = 0;
        EXPECT_EQ(AParcel_readInt32(parcel.get(), &after), STATUS_OK);
        EXPECT_EQ(after, 88);
    }
}

TEST(GeneratedRecordTest, ImpossibleSizesAreBadValues) {
    for (int32_t size : {3, 0, -4, INT32_MIN}) {
        SCOPED_TRACE(size);
        ndk::ScopedAParcel parcel = newParcel();
        EXPECT_EQ(AParcel_writeInt32(parcel.get(), size), STATUS_OK);
        EXPECT_EQ(AParcel_writeInt32(parcel.get(), 5), STATUS_OK);
        ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 0), STATUS_OK);
        ProbeInner inner;
        EXPECT_EQ(inner.readFromParcel(parcel.get()), STATUS_BAD_VALUE);
        EXPECT_EQ(inner.value, 0);
    }
    // A record starting past offset 0 whose size would end beyond INT32_MAX.
    ndk::ScopedAParcel parcel = newParcel();
    EXPECT_EQ(AParcel_writeInt32(parcel.get(), 0), STATUS_OK);
    EXPECT_EQ(AParcel_writeInt32(parcel.get(), INT32_MAX), STATUS_OK);
    EXPECT_EQ(AParcel_writeInt32(parcel.get(), 5), STATUS_OK);
    ASSERT_EQ(AParcel_setDataPosition(parcel.get(), 4), STATUS_OK);
    ProbeInner inner;
    EXPECT_EQ(inner.readFromParcel(parcel.get()), STATUS_BAD_VALUE);
    EXPECT_EQ(inner.value, 0);
}

TEST(GeneratedRecordTest, TruncatedParcelFailsTheRead) {
    ProbeRecord sent = filledRecord();
    ndk::ScopedAParcel full = newParcel();
    ASSERT_EQ(sent.writeToParcel(full.get()), STATUS_OK);
    // An empty parcel and one holding only a size prefix that promises more than is there.
    ndk::ScopedAParcel empty = newParcel();
    ProbeRecord from_empty;
    EXPECT_NE(from_empty.readFromParcel(empty.get()), STATUS_OK);
    ndk::ScopedAParcel promise = newParcel();
    EXPECT_EQ(AParcel_writeInt32(promise.get(), AParcel_getDataSize(full.get())), STATUS_OK);
    ASSERT_EQ(AParcel_setDataPosition(promise.get(), 0), STATUS_OK);
    ProbeRecord from_promise;
    EXPECT_NE(from_promise.readFromParcel(promise.get()), STATUS_OK);
}

}  // namespace
}  // namespace aidl_generator_test
