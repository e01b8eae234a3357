// Generated records: defaults, comparisons, and the stable-parcelable layout that lets versions
// with more or fewer fields read each other. Every field kind's round trip is in
// GeneratedInterfaceTest; truncated records and null descriptors are checked on the real
// interface's records (tests/interface).

#include <aidl/tessaro/generator/probe/ProbeRecord.h>
#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

namespace aidl_generator_test {
namespace {

using namespace ::aidl::tessaro::generator::probe;

TEST(GeneratedRecordTest, FieldsStartAtTheirDefaults) {
    ProbeRecord record;
    EXPECT_TRUE(record.flag);
    EXPECT_EQ(record.count, -7);
    EXPECT_EQ(record.total, 16);
    EXPECT_EQ(ProbeRecord::_aidl_stability, ndk::STABILITY_VINTF);
}

TEST(GeneratedRecordTest, ComparisonsFollowFieldOrder) {
    const ProbeInner low{1, "zulu"};
    const ProbeInner same{1, "zulu"};
    const ProbeInner high{2, "alpha"};
    EXPECT_TRUE(low == same && !(low != same) && low <= same && low >= same);
    EXPECT_TRUE(low != high && low < high && high > low && !(high <= low));  // first field decides
    EXPECT_TRUE(low < (ProbeInner{1, "zulu!"}));  // equal first fields: the second decides
    EXPECT_EQ(high.toString(), "ProbeInner{value: 2, name: alpha}");
}

// A ProbeInner between two markers, from writers of three versions: an older one knows only its
// value, a newer one sends a field more. The reader takes what it knows and always ends where the
// size prefix says, itself included, so what follows the record reads correctly.
TEST(GeneratedRecordTest, ReaderFollowsTheSizePrefixOfAnyVersion) {
    enum class Writer { Older, ThisOne, Newer };
    for (Writer writer : {Writer::Older, Writer::ThisOne, Writer::Newer}) {
        SCOPED_TRACE(static_cast<int>(writer));
        ndk::ScopedAParcel parcel(AParcel_create());
        AParcel_writeInt32(parcel.get(), 77);
        const int32_t start = AParcel_getDataPosition(parcel.get());
        if (writer == Writer::ThisOne) {
            ASSERT_EQ((ProbeInner{5, "five"}).writeToParcel(parcel.get()), STATUS_OK);
        } else {
            AParcel_writeInt32(parcel.get(), 0);  // the size, known once the fields are written
            AParcel_writeInt32(parcel.get(), 5);
            if (writer == Writer::Newer) {
                ndk::AParcel_writeData(parcel.get(), std::string("five"));
                AParcel_writeInt64(parcel.get(), 1000);
            }
            const int32_t fields_end = AParcel_getDataPosition(parcel.get());
            AParcel_setDataPosition(parcel.get(), start);
            AParcel_writeInt32(parcel.get(), fields_end - start);
            AParcel_setDataPosition(parcel.get(), fields_end);
        }
        const int32_t end = AParcel_getDataPosition(parcel.get());
        AParcel_writeInt32(parcel.get(), 88);

        ASSERT_EQ(AParcel_setDataPosition(parcel.get(), start), STATUS_OK);
        ProbeInner inner{0, "unchanged"};
        ASSERT_EQ(inner.readFromParcel(parcel.get()), STATUS_OK);
        EXPECT_EQ(inner, (ProbeInner{5, writer == Writer::Older ? "unchanged" : "five"}));
        EXPECT_EQ(AParcel_getDataPosition(parcel.get()), end);
        int32_t after = 0;
        EXPECT_EQ(AParcel_readInt32(parcel.get(), &after), STATUS_OK);
        EXPECT_EQ(after, 88);
    }
}

}  // namespace
}  // namespace aidl_generator_test
