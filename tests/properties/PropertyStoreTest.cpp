#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <host_properties.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace {

std::string get(const char* key, const char* default_value = "fallback") {
    char value[PROPERTY_VALUE_MAX];
    int length = property_get(key, value, default_value);
    EXPECT_EQ(static_cast<size_t>(length), std::string(value).size());
    return value;
}

class PropertyStoreTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char path_template[] = "/tmp/properties-XXXXXX";
        int fd = mkstemp(path_template);
        ASSERT_GE(fd, 0);
        close(fd);
        path_ = path_template;
        setenv(HOST_PROPERTIES_FILE_VARIABLE, path_.c_str(), 1);
        host_properties_reset();
    }
    void TearDown() override {
        unsetenv(HOST_PROPERTIES_FILE_VARIABLE);
        host_properties_reset();
        unlink(path_.c_str());
    }
    void writeFile(const std::string& text) {
        std::ofstream(path_) << text;
        host_properties_reset();
    }

    std::string path_;
};

TEST_F(PropertyStoreTest, FileValuesAreReadAndBadLinesSkipped) {
    writeFile(
            "# a comment\n"
            "\n"
            "ro.build.type=eng\n"
            "  persist.vendor.tessaro.debug.draviklog = 1 \n"
            "line without equals sign\n"
            "=no key\n"
            "ro.vendor.too_long=" +
            std::string(PROPERTY_VALUE_MAX, 'x') +
            "\n"
            "ro.vendor.qel_nn_lazyhal_support=true\n");
    EXPECT_EQ(get("ro.build.type"), "eng");
    EXPECT_EQ(get("persist.vendor.tessaro.debug.draviklog"), "1");
    EXPECT_EQ(get("ro.vendor.qel_nn_lazyhal_support"), "true");
    EXPECT_EQ(get("ro.vendor.too_long"), "fallback");
    EXPECT_EQ(get("line without equals sign"), "fallback");
}

TEST_F(PropertyStoreTest, UnsetAndEmptyValuesGiveTheDefault) {
    writeFile("ro.vendor.empty=\n");
    EXPECT_EQ(get("ro.vendor.empty"), "fallback");
    EXPECT_EQ(get("ro.vendor.never.set"), "fallback");
    EXPECT_EQ(get("ro.vendor.never.set", nullptr), "");
    // A default longer than a property value is cut to fit.
    std::string long_default(PROPERTY_VALUE_MAX + 10, 'd');
    EXPECT_EQ(get("ro.vendor.never.set", long_default.c_str()),
              std::string(PROPERTY_VALUE_MAX - 1, 'd'));
}

TEST_F(PropertyStoreTest, SetOverridesTheFileAndResetForgets) {
    writeFile("ro.build.type=user\n");
    ASSERT_EQ(property_set("ro.build.type", "eng"), 0);
    EXPECT_EQ(get("ro.build.type"), "eng");
    ASSERT_EQ(property_set("ro.build.type", ""), 0);
    EXPECT_EQ(get("ro.build.type"), "fallback");
    host_properties_reset();
    EXPECT_EQ(get("ro.build.type"), "user");
}

TEST_F(PropertyStoreTest, SetRefusesBadKeysAndValues) {
    EXPECT_EQ(property_set(nullptr, "1"), -1);
    EXPECT_EQ(property_set("", "1"), -1);
    EXPECT_EQ(property_set("ro.vendor.key", nullptr), -1);
    EXPECT_EQ(property_set(std::string(300, 'k').c_str(), "1"), -1);
    EXPECT_EQ(property_set("ro.vendor.key", std::string(PROPERTY_VALUE_MAX, 'v').c_str()), -1);
    EXPECT_EQ(property_set("ro.vendor.key", std::string(PROPERTY_VALUE_MAX - 1, 'v').c_str()), 0);
    EXPECT_EQ(get("ro.vendor.key"), std::string(PROPERTY_VALUE_MAX - 1, 'v'));
}

TEST_F(PropertyStoreTest, MissingFileLeavesOnlyDefaults) {
    setenv(HOST_PROPERTIES_FILE_VARIABLE, "/nonexistent/build.prop", 1);
    host_properties_reset();
    EXPECT_EQ(get("ro.build.type", "userdebug"), "userdebug");
}

}  // namespace
