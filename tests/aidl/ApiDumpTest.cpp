// The API dump is canonical: sources that differ only in form dump to the same text, and any
// change to the API changes the dump.

#include "GeneratorRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace aidl_generator_test {
namespace {

const char* kRecord =
        "package demo.api;\n"
        "@VintfStability\n"
        "parcelable Sample {\n"
        "    int count = 16;\n"
        "    long[] values;\n"
        "}\n";

const char* kListener =
        "package demo.api;\n"
        "@VintfStability\n"
        "interface IListener {\n"
        "    void done(in int code);\n"
        "}\n";

const char* kService =
        "package demo.api;\n"
        "\n"
        "import demo.api.IListener;\n"
        "import demo.api.Sample;\n"
        "\n"
        "/** The service. */\n"
        "@VintfStability\n"
        "interface IService {\n"
        "    // Runs one sample.\n"
        "    int run(in long id, in Sample sample, out Sample result);\n"
        "    void listen(in IListener listener);\n"
        "    Sample[] all(in long[] ids);\n"
        "}\n";

// The service written differently, with the same API.
const std::vector<std::pair<const char*, const char*>>& sameApiVariants() {
    static const std::vector<std::pair<const char*, const char*>> kVariants = {
            {"other comments",
             "package demo.api;\n"
             "import demo.api.IListener;\n"
             "import demo.api.Sample;\n"
             "/* A block comment. */\n"
             "@VintfStability\n"
             "interface IService { // trailing\n"
             "    /** Documented differently. */\n"
             "    int run(in long id, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener); /* after */\n"
             "    Sample[] all(in long[] ids);\n"
             "}\n"},
            {"whitespace and line breaks",
             "package   demo.api ;import demo.api.IListener;import demo.api.Sample;\n"
             "@VintfStability interface IService{int run(in long id,\n\n"
             "\t\tin Sample sample ,out Sample result);void listen(in IListener listener);\n"
             "Sample [ ] all( in long [] ids ) ;}"},
            {"import order",
             "package demo.api;\n"
             "import demo.api.Sample;\n"
             "import demo.api.IListener;\n"
             "@VintfStability\n"
             "interface IService {\n"
             "    int run(in long id, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener);\n"
             "    Sample[] all(in long[] ids);\n"
             "}\n"},
            {"qualified names instead of imports, implicit in",
             "package demo.api;\n"
             "@VintfStability\n"
             "interface IService {\n"
             "    int run(long id, in demo.api.Sample sample, out demo.api.Sample result);\n"
             "    void listen(demo.api.IListener listener);\n"
             "    demo.api.Sample[] all(in long[] ids);\n"
             "}\n"},
    };
    return kVariants;
}

// The service with one change to its API each.
const std::vector<std::pair<const char*, const char*>>& changedApiVariants() {
    static const std::vector<std::pair<const char*, const char*>> kVariants = {
            {"parameter type",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    int run(in int id, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n}\n"},
            {"parameter direction",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    int run(in long id, in Sample sample, in Sample result);\n"
             "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n}\n"},
            {"method name",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    int start(in long id, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n}\n"},
            {"return type",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    long run(in long id, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n}\n"},
            {"method order",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    void listen(in IListener listener);\n"
             "    int run(in long id, in Sample sample, out Sample result);\n"
             "    Sample[] all(in long[] ids);\n}\n"},
            {"added method",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    int run(in long id, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n"
             "    void stop();\n}\n"},
            {"parameter name",
             "package demo.api;\nimport demo.api.IListener;\nimport demo.api.Sample;\n"
             "@VintfStability\ninterface IService {\n"
             "    int run(in long session, in Sample sample, out Sample result);\n"
             "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n}\n"},
    };
    return kVariants;
}

std::string dumpOf(const ScratchDirectory& root, const std::string& service_text) {
    root.writeFile("src/demo/api/Sample.aidl", kRecord);
    root.writeFile("src/demo/api/IListener.aidl", kListener);
    std::string service = root.writeFile("src/demo/api/IService.aidl", service_text);
    GeneratorResult result = runGenerator(
            {"--dumpapi", "--out", root.path() + "/dump", "-I", root.path() + "/src", service});
    EXPECT_EQ(result.exit_code, 0) << result.error_output;
    return root.readFile("dump/demo/api/IService.aidl");
}

TEST(ApiDumpTest, FormDoesNotChangeTheDump) {
    ScratchDirectory original_root;
    std::string original = dumpOf(original_root, kService);
    ASSERT_FALSE(original.empty());
    for (const auto& [description, text] : sameApiVariants()) {
        SCOPED_TRACE(description);
        ScratchDirectory root;
        EXPECT_EQ(dumpOf(root, text), original);
    }
}

TEST(ApiDumpTest, EveryApiChangeChangesTheDump) {
    ScratchDirectory original_root;
    std::string original = dumpOf(original_root, kService);
    ASSERT_FALSE(original.empty());
    for (const auto& [description, text] : changedApiVariants()) {
        SCOPED_TRACE(description);
        ScratchDirectory root;
        std::string changed = dumpOf(root, text);
        EXPECT_FALSE(changed.empty());
        EXPECT_NE(changed, original);
    }
}

TEST(ApiDumpTest, RecordDefaultsDumpByValue) {
    auto dumpRecord = [](const std::string& text) {
        ScratchDirectory root;
        std::string file = root.writeFile("demo/api/Sample.aidl", text);
        GeneratorResult result = runGenerator({"--dumpapi", "--out", root.path() + "/dump", file});
        EXPECT_EQ(result.exit_code, 0) << result.error_output;
        return root.readFile("dump/demo/api/Sample.aidl");
    };
    std::string decimal = dumpRecord(kRecord);
    std::string hexadecimal = dumpRecord(
            "package demo.api;\n@VintfStability\nparcelable Sample {\n"
            "    int count = 0x10;\n    long[] values;\n}\n");
    std::string other_value = dumpRecord(
            "package demo.api;\n@VintfStability\nparcelable Sample {\n"
            "    int count = 17;\n    long[] values;\n}\n");
    std::string no_stability = dumpRecord(
            "package demo.api;\nparcelable Sample {\n    int count = 16;\n    long[] values;\n}\n");
    EXPECT_EQ(hexadecimal, decimal);
    EXPECT_NE(other_value, decimal);
    EXPECT_NE(no_stability, decimal);
}

// The dump is itself valid input, and dumping it again changes nothing: a frozen version can be
// compared with a fresh dump of the sources byte for byte.
TEST(ApiDumpTest, DumpIsStableUnderItsOwnDump) {
    ScratchDirectory root;
    std::string first = dumpOf(root, kService);
    GeneratorResult dump_all =
            runGenerator({"--dumpapi", "--out", root.path() + "/dump", "-I", root.path() + "/src",
                          root.path() + "/src/demo/api/Sample.aidl",
                          root.path() + "/src/demo/api/IListener.aidl"});
    ASSERT_EQ(dump_all.exit_code, 0) << dump_all.error_output;
    GeneratorResult again =
            runGenerator({"--dumpapi", "--out", root.path() + "/again", "-I", root.path() + "/dump",
                          root.path() + "/dump/demo/api/IService.aidl",
                          root.path() + "/dump/demo/api/Sample.aidl",
                          root.path() + "/dump/demo/api/IListener.aidl"});
    ASSERT_EQ(again.exit_code, 0) << again.error_output;
    for (const char* name : {"IService", "Sample", "IListener"}) {
        SCOPED_TRACE(name);
        std::string path = std::string("demo/api/") + name + ".aidl";
        EXPECT_EQ(root.readFile("again/" + path), root.readFile("dump/" + path));
    }
    EXPECT_EQ(root.readFile("again/demo/api/IService.aidl"), first);
}

// The canonical form: two comment lines, the package, the annotated declaration with one member
// per line indented by two spaces, qualified names, and neither imports nor other comments.
TEST(ApiDumpTest, DumpHasTheCanonicalShape) {
    ScratchDirectory root;
    std::string dump = dumpOf(root, kService);
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < dump.size()) {
        size_t end = dump.find('\n', start);
        lines.push_back(dump.substr(start, end - start));
        start = end + 1;
    }
    ASSERT_EQ(lines.size(), 9u) << dump;
    EXPECT_EQ(lines[0].rfind("// ", 0), 0u);
    EXPECT_EQ(lines[1].rfind("// ", 0), 0u);
    EXPECT_EQ(lines[2], "package demo.api;");
    EXPECT_EQ(lines[3], "@VintfStability");
    EXPECT_EQ(lines[4], "interface IService {");
    EXPECT_EQ(lines[5],
              "  int run(in long id, in demo.api.Sample sample, out demo.api.Sample result);");
    EXPECT_EQ(lines[6], "  void listen(in demo.api.IListener listener);");
    EXPECT_EQ(lines[7], "  demo.api.Sample[] all(in long[] ids);");
    EXPECT_EQ(lines[8], "}");
    EXPECT_EQ(dump.back(), '\n');
}

}  // namespace
}  // namespace aidl_generator_test
