// Inputs outside the supported AIDL subset: each must be refused with "<file>:<line>: <reason>",
// a non-zero exit and no output at all, in code generation and in API dumps alike.

#include "GeneratorRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace aidl_generator_test {
namespace {

struct RefusedInput {
    std::string description;
    std::string path;  // below the import root
    std::string text;
    int line;
    std::string reason;  // a part of the message that names the problem
};

// Whole files, for problems outside a declaration's members.
const std::vector<RefusedInput> kRefusedFiles = {
        {"oneway interface", "p/IFoo.aidl", "package p;\n\noneway interface IFoo {\n}\n", 3,
         "oneway"},
        {"union", "p/Choice.aidl", "package p;\nunion Choice { int a; long b; }\n", 2, "union"},
        {"enum", "p/Color.aidl", "package p;\n// colors\nenum Color { RED, GREEN }\n", 3, "enum"},
        {"unknown annotation on the declaration", "p/Rec.aidl",
         "package p;\n@JavaOnlyStableParcelable\nparcelable Rec { int a; }\n", 2,
         "@JavaOnlyStableParcelable"},
        {"unresolved import", "p/IFoo.aidl",
         "package p;\nimport p.Plain;\nimport q.Absent;\ninterface IFoo {\n}\n", 3, "q.Absent"},
        {"imports sharing a simple name", "p/IFoo.aidl",
         "package p;\nimport p.Plain;\nimport q.Plain;\ninterface IFoo {\n}\n", 3, "clashes"},
        {"missing semicolon after the package", "p/Rec.aidl",
         "package p\nparcelable Rec { int a; }\n", 1, "';'"},
        {"empty file", "p/Rec.aidl", "", 1, "package"},
        {"two declarations", "p/Rec.aidl",
         "package p;\nparcelable Rec { int a; }\nparcelable Other { int b; }\n", 3,
         "one declaration"},
        {"unstructured parcelable", "p/Rec.aidl", "package p;\nparcelable Rec;\n", 2,
         "unstructured"},
        {"std as a package component", "p/std/Rec.aidl",
         "package p.std;\nparcelable Rec { int a; }\n", 1, "reserved in C++"},
        {"VINTF type using a local one", "p/Rec.aidl",
         "package p;\n@VintfStability\nparcelable Rec {\n    Plain plain;\n}\n", 4,
         "@VintfStability"},
        {"file outside its package folder", "q/Rec.aidl", "package p;\nparcelable Rec { int a; }\n",
         2, "p/Rec.aidl"},
};

// Members starting on line 3 of an interface (or a record): the refusal names their last line.
struct RefusedMember {
    const char* description;
    bool in_record;
    const char* member;
    const char* reason;
};

const std::vector<RefusedMember> kRefusedMembers = {
        {"oneway method", false, "oneway void f();", "oneway"},
        {"inout parameter", false, "void f(\n        inout int[] values);", "inout"},
        {"generic type", false, "void f(in List<String> names);", "generic"},
        {"nullable annotation", false, "void f(in @nullable String name);", "@nullable"},
        {"unknown type", false, "void f(in Missing thing);", "unknown type Missing"},
        {"duplicate method", false, "void f();\n    int f(in int x);", "duplicate method 'f'"},
        {"duplicate field", true, "int a;\n    long a;", "duplicate field 'a'"},
        {"duplicate parameter", false, "void f(in int x,\n           in long x);",
         "duplicate parameter 'x'"},
        {"record field of interface type", true, "IHelper helper;", "interface"},
        {"record containing itself", true, "Rec next;", "itself"},
        {"missing semicolon after a method", false, "void f()", "';'"},
        {"unterminated comment", true, "/** the count", "unterminated comment"},
        {"stray character", true, "int a; #", "unexpected character '#'"},
        {"nested declaration", true, "parcelable Inner { int a; }", "nested"},
        {"constant", false, "const int LIMIT = 4;", "constants"},
        {"explicit transaction code", false, "void f() = 7;", "transaction codes"},
        {"unsupported builtin type", false, "void f(in float ratio);", "float is not supported"},
        {"unsupported array element", false, "String[] names();", "arrays of String"},
        {"array of arrays", false, "void f(in int[][] grid);", "arrays of arrays"},
        {"fixed-size array", true, "int[4] values;", "fixed-size"},
        {"void parameter", false, "void f(in void nothing);", "void"},
        {"out parameter of primitive type", false, "void f(out int result);", "out"},
        {"array parameter without direction", false, "void f(long[] values);", "direction"},
        {"reserved method name", false, "int getInterfaceVersion();", "reserved"},
        {"C++ keyword as a field name", true, "int delete;", "reserved in C++"},
        {"int default out of range", true, "int a = 2147483648;", "does not fit"},
        {"long suffix on an int", true, "int a = 5L;", "L suffix"},
        {"string default on an int", true, "int a = \"five\";", "integer constant"},
        {"default on a String", true, "String name = \"x\";", "default values"},
        {"constant expression", true, "int a = 1 + 2;", "expressions"},
};

std::vector<RefusedInput> refusedInputs() {
    std::vector<RefusedInput> inputs = kRefusedFiles;
    for (const RefusedMember& member : kRefusedMembers) {
        std::string text = member.member;
        int line = 3;
        for (char character : text) line += character == '\n' ? 1 : 0;
        inputs.push_back({member.description, member.in_record ? "p/Rec.aidl" : "p/IFoo.aidl",
                          std::string("package p;\n") +
                                  (member.in_record ? "parcelable Rec {\n" : "interface IFoo {\n") +
                                  "    " + text + "\n}\n",
                          line, member.reason});
    }
    return inputs;
}

// Each bad file comes after a good one, so a run that wrote anything before it found the problem
// would leave output behind.
TEST(RefusedInputTest, EveryRefusalNamesFileAndLineAndWritesNothing) {
    for (const RefusedInput& input : refusedInputs()) {
        SCOPED_TRACE(input.description);
        ScratchDirectory root;
        root.writeFile("p/IHelper.aidl", "package p;\ninterface IHelper { void ping(); }\n");
        std::string good =
                root.writeFile("p/Plain.aidl", "package p;\nparcelable Plain { int a; }\n");
        root.writeFile("q/Plain.aidl", "package q;\nparcelable Plain { long b; }\n");
        std::string file = root.writeFile(input.path, input.text);

        for (bool dump_api : {false, true}) {
            SCOPED_TRACE(dump_api ? "--dumpapi" : "code generation");
            std::vector<std::string> arguments = {
                    "--out", root.path() + "/out", "-I", root.path(), good, file};
            if (dump_api) arguments.insert(arguments.begin(), "--dumpapi");
            GeneratorResult result = runGenerator(arguments);

            EXPECT_EQ(result.exit_code, 1);
            std::string location = file + ":" + std::to_string(input.line) + ": ";
            EXPECT_EQ(result.error_output.rfind(location, 0), 0u) << result.error_output;
            EXPECT_NE(result.error_output.find(input.reason), std::string::npos)
                    << result.error_output;
            EXPECT_FALSE(root.exists("out"));
        }
    }
}

TEST(RefusedInputTest, BadCommandLinesAreUsageErrors) {
    ScratchDirectory root;
    std::string file = root.writeFile("p/Rec.aidl", "package p;\nparcelable Rec { int a; }\n");
    std::string out = root.path() + "/out";
    const std::vector<std::vector<std::string>> command_lines = {
            {file},
            {"--out", out},
            {"--out", out, "--version", "0", file},
            {"--out", out, "--hash", "quote\"", file},  // it would land in a C++ string literal
            {"--dumpapi", "--out", out, "--version", "2", file},
            {"--out", out, "--frobnicate", file},
            {"--out", out, root.path() + "/p/Rec.txt"},
    };
    for (const std::vector<std::string>& arguments : command_lines) {
        GeneratorResult result = runGenerator(arguments);
        EXPECT_EQ(result.exit_code, 2) << result.error_output;
        EXPECT_NE(result.error_output.find("usage:"), std::string::npos);
        EXPECT_FALSE(root.exists("out"));
    }
    GeneratorResult missing = runGenerator({"--out", out, root.path() + "/p/Absent.aidl"});
    EXPECT_EQ(missing.exit_code, 1);
    EXPECT_EQ(missing.error_output, root.path() + "/p/Absent.aidl: cannot read the file\n");
}

}  // namespace
}  // namespace aidl_generator_test
