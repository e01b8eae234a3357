// The API dump is canonical: sources that differ only in form dump to the same text, any change
// to the API changes it, and a dump read back as input dumps to itself.

#include "GeneratorRunner.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace aidl_generator_test {
namespace {

using Sources = std::map<std::string, std::string>;  // type name -> text, all in demo.api

const Sources kSources = {
        {"Sample",
         "package demo.api;\n@VintfStability\nparcelable Sample { int count = 16; long[] values; }\n"},
        {"IListener",
         "package demo.api;\n@VintfStability\ninterface IListener { void done(in int code); }\n"},
        {"IService",
         "package demo.api;\n\nimport demo.api.IListener;\nimport demo.api.Sample;\n\n"
         "/** The service. */\n@VintfStability\ninterface IService {\n    // Runs one sample.\n"
         "    int run(in long id, in Sample sample, out Sample result);\n"
         "    void listen(in IListener listener);\n    Sample[] all(in long[] ids);\n}\n"},
};

struct Edit {
    const char* description;
    const char* from;  // replaced in every file that holds it
    const char* to;
    bool same_api;
};

const Edit kEdits[] = {
        {"other comments", "// Runs one sample.", "/* A block. */ // trailing", true},
        {"whitespace and line breaks", "int run(in long id, in Sample sample,",
         "int\trun (in  long id ,\n\n in Sample sample ,", true},
        {"array spacing", "Sample[] all(in long[] ids)", "Sample [ ] all( in long [] ids )", true},
        {"import order", "import demo.api.IListener;\nimport demo.api.Sample;",
         "import demo.api.Sample;\nimport demo.api.IListener;", true},
        {"qualified name, implicit in", "in long id, in Sample sample",
         "long id, in demo.api.Sample sample", true},
        {"hexadecimal default", "= 16", "= 0x10", true},
        {"parameter type", "in long id", "in int id", false},
        {"parameter name", "in long id", "in long session", false},
        {"parameter direction", "out Sample result", "in Sample result", false},
        {"method name", "int run(", "int start(", false},
        {"return type", "int run(", "long run(", false},
        {"method order", "void listen(in IListener listener);\n    Sample[] all(in long[] ids);",
         "Sample[] all(in long[] ids);\n    void listen(in IListener listener);", false},
        {"added method", "Sample[] all(in long[] ids);",
         "Sample[] all(in long[] ids); void stop();", false},
        {"default value", "= 16", "= 17", false},
        {"field type", "long[] values", "int[] values", false},
        {"stability", "@VintfStability\n", "", false},
};

// Each file's dump, by type name.
Sources dumpOf(const Sources& sources) {
    ScratchDirectory root;
    std::vector<std::string> arguments = {"--dumpapi", "--out", root.path() + "/dump", "-I",
                                          root.path() + "/src"};
    for (const auto& [name, text] : sources) {
        arguments.push_back(root.writeFile("src/demo/api/" + name + ".aidl", text));
    }
    GeneratorResult result = runGenerator(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.error_output;
    Sources dumps;
    for (const auto& [name, text] : sources) {
        dumps[name] = root.readFile("dump/demo/api/" + name + ".aidl");
    }
    return dumps;
}

TEST(ApiDumpTest, FormKeepsTheDumpAndEveryApiChangeChangesIt) {
    const Sources original = dumpOf(kSources);
    ASSERT_FALSE(original.at("IService").empty());
    for (const Edit& edit : kEdits) {
        SCOPED_TRACE(edit.description);
        Sources edited = kSources;
        bool applied = false;
        for (auto& [name, text] : edited) {
            size_t at = text.find(edit.from);
            if (at == std::string::npos) continue;
            text.replace(at, std::strlen(edit.from), edit.to);
            applied = true;
        }
        ASSERT_TRUE(applied);
        if (edit.same_api) {
            EXPECT_EQ(dumpOf(edited), original);
        } else {
            EXPECT_NE(dumpOf(edited), original);
        }
    }
}

// A frozen dump is itself valid input and dumps to itself, so it can be compared byte for byte
// with a fresh dump of the sources.
TEST(ApiDumpTest, DumpReadAsInputDumpsToItself) {
    const Sources dumps = dumpOf(kSources);
    EXPECT_EQ(dumpOf(dumps), dumps);
}

}  // namespace
}  // namespace aidl_generator_test
