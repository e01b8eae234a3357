// The host's atrace functions inside one process: the tags the property enables, the platform's
// marker texts and their length limit, a bad property value, and a marker output that cannot be
// opened.
#include <android/log.h>
#include <cutils/properties.h>
#include <cutils/trace.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "MarkerFile.h"
#include "host_trace.h"

namespace {

std::mutex log_lock;
std::vector<std::string> log_lines;

size_t logLinesContaining(const std::string& text) {
    std::lock_guard<std::mutex> guard(log_lock);
    return std::count_if(log_lines.begin(), log_lines.end(), [&](const std::string& line) {
        return line.find(text) != std::string::npos;
    });
}

}  // namespace

// Takes the place of liblog's, so the test sees what the trace functions log.
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    std::lock_guard<std::mutex> guard(log_lock);
    log_lines.push_back(std::to_string(priority) + " " + tag + " " + text);
    return 1;
}

namespace {

TEST(HostTraceTest, TagsMarkersAndOutputsThatCannotBeOpened) {
    char pattern[] = "/tmp/tessaro-host-trace-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string directory = pattern;
    const std::string unwritable = directory + "/missing/markers";
    const std::string markers = directory + "/markers";

    // Asked to trace into a file that cannot be made: every tag reads as off, said once.
    setenv(HOST_TRACE_MARKER_FILE_VARIABLE, unwritable.c_str(), 1);
    ASSERT_EQ(property_set(HOST_TRACE_TAGS_PROPERTY, "0x2000000"), 0);
    EXPECT_EQ(atrace_get_enabled_tags(), 0u);
    atrace_update_tags();
    EXPECT_EQ(atrace_get_enabled_tags(), 0u);
    EXPECT_EQ(logLinesContaining("5 cutils-trace trace sections are off: cannot open a marker "
                                 "output: " +
                                 unwritable + ": No such file or directory"),
              1u);

    // A value that is not a whole number enables nothing, opens nothing and is quoted.
    setenv(HOST_TRACE_MARKER_FILE_VARIABLE, markers.c_str(), 1);
    ASSERT_EQ(property_set(HOST_TRACE_TAGS_PROPERTY, "0x2000000z"), 0);
    atrace_update_tags();
    EXPECT_EQ(atrace_get_enabled_tags(), 0u);
    EXPECT_EQ(logLinesContaining("\"0x2000000z\", not a number"), 1u);
    EXPECT_FALSE(std::filesystem::exists(markers));

    // Bits beyond the last tag are dropped; the markers go to the file the environment names.
    ASSERT_EQ(property_set(HOST_TRACE_TAGS_PROPERTY, "0x1002000000"), 0);
    atrace_update_tags();
    EXPECT_EQ(atrace_get_enabled_tags(), uint64_t{ATRACE_TAG_NNAPI});
    const std::string long_name(2000, 'n');
    atrace_begin(ATRACE_TAG_NNAPI, long_name.c_str());
    atrace_begin(ATRACE_TAG_GRAPHICS, "a tag that is off");
    atrace_end(ATRACE_TAG_GRAPHICS);
    atrace_end(ATRACE_TAG_NNAPI);
    atrace_async_begin(ATRACE_TAG_NNAPI, "load", 7);
    atrace_async_end(ATRACE_TAG_NNAPI, "load", 7);
    atrace_int(ATRACE_TAG_NNAPI, "depth", -3);
    atrace_int64(ATRACE_TAG_NNAPI, "bytes", int64_t{1} << 40);

    const std::string pid = std::to_string(getpid());
    const std::string begin = "B|" + pid + "|";
    const std::vector<std::string> expected = {begin + long_name.substr(0, 1023 - begin.size()),
                                               "E|" + pid,
                                               "S|" + pid + "|load|7",
                                               "F|" + pid + "|load|7",
                                               "C|" + pid + "|depth|-3",
                                               "C|" + pid + "|bytes|1099511627776"};
    std::vector<std::string> written;
    for (const trace_test::MarkerLine& line : trace_test::readMarkerLines(markers)) {
        written.push_back(line.marker);
        EXPECT_EQ(line.thread, gettid());
        EXPECT_EQ(line.process, getpid());
    }
    EXPECT_EQ(written, expected);
    std::string header;
    std::getline(std::ifstream(markers), header);
    EXPECT_EQ(header, "# tracer: nop");
    EXPECT_EQ(logLinesContaining("cannot open"), 1u);

    std::filesystem::remove_all(directory);
}

}  // namespace
