// The host property store: the build.prop-style file it loads, defaults, and values set in process.
#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <host_properties.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>

namespace {

std::string get(const char* key, const char* default_value = "fallback") {
    char value[PROPERTY_VALUE_MAX];
    const int length = property_get(key, value, default_value);
    EXPECT_EQ(static_cast<size_t>(length), std::string(value).size());
    return value;
}

class PropertyStoreTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const int fd = ::mkstemp(path_);
        ASSERT_GE(fd, 0);
        ::close(fd);
        std::ofstream(path_) << "# a comment\n\nro.build.type=user\n  persist.vendor.debug = 1 \n"
                             << "line without equals sign\n=no key\nro.vendor.empty=\n"
                             << "ro.vendor.too_long=" << std::string(PROPERTY_VALUE_MAX, 'x')
                             << "\nro.vendor.last=true\n";
        ::setenv(HOST_PROPERTIES_FILE_VARIABLE, path_, 1);
        host_properties_reset();
    }
    void TearDown() override {
        ::unsetenv(HOST_PROPERTIES_FILE_VARIABLE);
        host_properties_reset();
        ::unlink(path_);
    }

    char path_[32] = "/tmp/properties-XXXXXX";
};

TEST_F(PropertyStoreTest, FileLinesAreReadOrSkippedAndUnsetKeysGiveTheDefault) {
    const std::pair<const char*, const char*> expected[] = {
            {"ro.build.type", "user"},
            {"persist.vendor.debug", "1"},
            {"ro.vendor.last", "true"},
            {"ro.vendor.too_long", "fallback"},
            {"line without equals sign", "fallback"},
            {"", "fallback"},
            {"ro.vendor.empty", "fallback"},
            {"ro.vendor.never.set", "fallback"}};
    for (const auto& [key, value] : expected) EXPECT_EQ(get(key), value) << key;
    EXPECT_EQ(get("ro.vendor.never.set", nullptr), "");
    // A default longer than a property value is cut to fit.
    const std::string long_default(PROPERTY_VALUE_MAX + 10, 'd');
    EXPECT_EQ(get("ro.vendor.never.set", long_default.c_str()),
              std::string(PROPERTY_VALUE_MAX - 1, 'd'));

    ::setenv(HOST_PROPERTIES_FILE_VARIABLE, "/nonexistent/build.prop", 1);
    host_properties_reset();
    EXPECT_EQ(get("ro.build.type"), "fallback");
}

TEST_F(PropertyStoreTest, SetOverridesTheFileUntilReset) {
    ASSERT_EQ(property_set("ro.build.type", "eng"), 0);
    EXPECT_EQ(get("ro.build.type"), "eng");
    ASSERT_EQ(property_set("ro.build.type", ""), 0);
    EXPECT_EQ(get("ro.build.type"), "fallback");
    host_properties_reset();
    EXPECT_EQ(get("ro.build.type"), "user");

    const std::string longest(PROPERTY_VALUE_MAX - 1, 'v');
    EXPECT_EQ(property_set("ro.vendor.key", longest.c_str()), 0);
    EXPECT_EQ(property_set("ro.vendor.key", (longest + "v").c_str()), -1);
    EXPECT_EQ(property_set("ro.vendor.key", nullptr), -1);
    EXPECT_EQ(property_set(nullptr, "1"), -1);
    EXPECT_EQ(property_set("", "1"), -1);
    EXPECT_EQ(property_set(std::string(300, 'k').c_str(), "1"), -1);
    EXPECT_EQ(get("ro.vendor.key"), longest);
}

}  // namespace
