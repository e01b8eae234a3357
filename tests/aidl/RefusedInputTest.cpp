// Inputs outside the supported AIDL subset: each must be refused with "<file>:<line>: <reason>",
// a non-zero exit and no output at all, in code generation and in API dumps alike.

#include "GeneratorRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace aidl_generator_test {
namespace {

struct RefusedInput {
    const char* description;
    const char* type_name;  // the file is p/<type_name>.aidl unless a path is given
    const char* text;
    int line;
    const char* reason;  // a part of the message that names the problem
    const char* path = nullptr;
};

const std::vector<RefusedInput>& refusedInputs() {
    static const std::vector<RefusedInput> kInputs = {
            {"oneway method", "IFoo", "package p;\ninterface IFoo {\n    oneway void f();\n}\n", 3,
             "oneway"},
            {"oneway interface", "IFoo", "package p;\n\noneway interface IFoo {\n}\n", 3, "oneway"},
            {"inout parameter", "IFoo",
             "package p;\ninterface IFoo {\n    void f(\n        inout int[] values);\n}\n", 4,
             "inout"},
            {"union", "Choice", "package p;\nunion Choice {\n    int a;\n    long b;\n}\n", 2,
             "union"},
            {"enum", "Color", "package p;\n// colors\nenum Color { RED, GREEN }\n", 3, "enum"},
            {"generic type", "IFoo",
             "package p;\ninterface IFoo {\n    void f(in List<String> names);\n}\n", 3, "generic"},
            {"nullable annotation", "IFoo",
             "package p;\ninterface IFoo {\n    void f(in @nullable String name);\n}\n", 3,
             "@nullable"},
            {"unknown annotation on the declaration", "Rec",
             "package p;\n@JavaOnlyStableParcelable\nparcelable Rec {\n    int a;\n}\n", 2,
             "@JavaOnlyStableParcelable"},
            {"unknown type", "IFoo",
             "package p;\ninterface IFoo {\n    void f();\n    void g(in Missing thing);\n}\n", 4,
             "unknown type Missing"},
            {"unresolved import", "IFoo",
             "package p;\nimport p.Plain;\nimport q.Absent;\ninterface IFoo {\n}\n", 3, "q.Absent"},
            {"imports sharing a simple name", "IFoo",
             "package p;\nimport p.Plain;\nimport q.Plain;\ninterface IFoo {\n}\n", 3, "clashes"},
            {"duplicate method", "IFoo",
             "package p;\ninterface IFoo {\n    void f();\n    int g();\n    int f(in int x);\n}\n",
             5, "duplicate method 'f'"},
            {"duplicate field", "Rec",
             "package p;\nparcelable Rec {\n    int a;\n    long b;\n    long a;\n}\n", 5,
             "duplicate field 'a'"},
            {"duplicate parameter", "IFoo",
             "package p;\ninterface IFoo {\n    void f(in int x,\n           in long x);\n}\n", 4,
             "duplicate parameter 'x'"},
            {"record field of interface type", "Rec",
             "package p;\nparcelable Rec {\n    int a;\n    IHelper helper;\n}\n", 4, "interface"},
            {"record containing itself", "Rec", "package p;\nparcelable Rec {\n    Rec next;\n}\n",
             3, "itself"},
            {"missing semicolon after a method", "IFoo",
             "package p;\ninterface IFoo {\n    void f()\n    void g();\n}\n", 3, "';'"},
            {"missing semicolon after a field", "Rec",
             "package p;\nparcelable Rec {\n    int a = 4\n}\n", 3, "';'"},
            {"missing semicolon after the package", "Rec",
             "package p\nparcelable Rec {\n    int a;\n}\n", 1, "';'"},
            {"unterminated comment", "Rec",
             "package p;\nparcelable Rec {\n    /** the count\n    int a;\n}\n", 3,
             "unterminated comment"},
            {"stray character", "Rec", "package p;\nparcelable Rec {\n    int a; #\n}\n", 3,
             "unexpected character '#'"},
            {"empty file", "Rec", "", 1, "package"},
            {"declaration before the package", "Rec",
             "parcelable Rec {\n    int a;\n}\npackage p;\n", 1, "package"},
            {"two declarations", "Rec",
             "package p;\nparcelable Rec {\n    int a;\n}\nparcelable Other {\n    int b;\n}\n", 5,
             "one declaration"},
            {"nested declaration", "Rec",
             "package p;\nparcelable Rec {\n    parcelable Inner {\n        int a;\n    }\n}\n", 3,
             "nested"},
            {"unstructured parcelable", "Rec", "package p;\nparcelable Rec;\n", 2, "unstructured"},
            {"constant", "IFoo", "package p;\ninterface IFoo {\n    const int LIMIT = 4;\n}\n", 3,
             "constants"},
            {"explicit transaction code", "IFoo",
             "package p;\ninterface IFoo {\n    void f() = 7;\n}\n", 3, "transaction codes"},
            {"unsupported builtin type", "IFoo",
             "package p;\ninterface IFoo {\n    void f(in float ratio);\n}\n", 3,
             "float is not supported"},
            {"unsupported array element", "IFoo",
             "package p;\ninterface IFoo {\n    String[] names();\n}\n", 3, "arrays of String"},
            {"array of arrays", "IFoo",
             "package p;\ninterface IFoo {\n    void f(in int[][] grid);\n}\n", 3,
             "arrays of arrays"},
            {"fixed-size array", "Rec", "package p;\nparcelable Rec {\n    int[4] values;\n}\n", 3,
             "fixed-size"},
            {"void parameter", "IFoo",
             "package p;\ninterface IFoo {\n    void f(in void nothing);\n}\n", 3, "void"},
            {"out parameter of primitive type", "IFoo",
             "package p;\ninterface IFoo {\n    void f(out int result);\n}\n", 3, "out"},
            {"array parameter without direction", "IFoo",
             "package p;\ninterface IFoo {\n    void f(long[] values);\n}\n", 3, "direction"},
            {"reserved method name", "IFoo",
             "package p;\ninterface IFoo {\n    int getInterfaceVersion();\n}\n", 3, "reserved"},
            {"C++ keyword as a field name", "Rec",
             "package p;\nparcelable Rec {\n    int delete;\n}\n", 3, "reserved in C++"},
            {"std as a package component", "Rec",
             "package p.std;\nparcelable Rec {\n    int a;\n}\n", 1, "reserved in C++",
             "p/std/Rec.aidl"},
            {"int default out of range", "Rec",
             "package p;\nparcelable Rec {\n    int a = 2147483648;\n}\n", 3, "does not fit"},
            {"long suffix on an int", "Rec", "package p;\nparcelable Rec {\n    int a = 5L;\n}\n",
             3, "L suffix"},
            {"string default on an int", "Rec",
             "package p;\nparcelable Rec {\n    int a = \"five\";\n}\n", 3, "integer constant"},
            {"floating-point default", "Rec",
             "package p;\nparcelable Rec {\n    long a = 1.5;\n}\n", 3, "integer constant"},
            {"default on a String", "Rec",
             "package p;\nparcelable Rec {\n    String name = \"x\";\n}\n", 3, "default values"},
            {"constant expression", "Rec", "package p;\nparcelable Rec {\n    int a = 1 + 2;\n}\n",
             3, "expressions"},
            {"VINTF type using a local one", "Rec",
             "package p;\n@VintfStability\nparcelable Rec {\n    Plain plain;\n}\n", 4,
             "@VintfStability"},
            {"file outside its package folder", "Rec",
             "package p;\nparcelable Rec {\n    int a;\n}\n", 2, "p/Rec.aidl", "q/Rec.aidl"},
    };
    return kInputs;
}

// Files the cases may refer to, placed under the import root beside each case.
void writeSupportFiles(const ScratchDirectory& root) {
    root.writeFile("p/IHelper.aidl", "package p;\ninterface IHelper {\n    void ping();\n}\n");
    root.writeFile("p/Plain.aidl", "package p;\nparcelable Plain {\n    int a;\n}\n");
    root.writeFile("q/Plain.aidl", "package q;\nparcelable Plain {\n    long b;\n}\n");
}

TEST(RefusedInputTest, EveryRefusalNamesFileAndLineAndWritesNothing) {
    for (const RefusedInput& input : refusedInputs()) {
        SCOPED_TRACE(input.description);
        ScratchDirectory root;
        writeSupportFiles(root);
        std::string relative_path =
                input.path != nullptr ? input.path : std::string("p/") + input.type_name + ".aidl";
        std::string file = root.writeFile(relative_path, input.text);
        std::string expected_location = file + ":" + std::to_string(input.line) + ": ";

        for (bool dump_api : {false, true}) {
            SCOPED_TRACE(dump_api ? "--dumpapi" : "code generation");
            std::vector<std::string> arguments = {"--out", root.path() + "/out", "-I", root.path()};
            if (dump_api) arguments.insert(arguments.begin(), "--dumpapi");
            arguments.push_back(file);
            GeneratorResult result = runGenerator(arguments);

            EXPECT_EQ(result.exit_code, 1);
            EXPECT_EQ(result.error_output.rfind(expected_location, 0), 0u) << result.error_output;
            EXPECT_NE(result.error_output.find(input.reason), std::string::npos)
                    << result.error_output;
            EXPECT_TRUE(root.listFiles("out").empty());
        }
    }
}

// The same harness accepts a valid file, so the refusals above are about their inputs.
TEST(RefusedInputTest, ValidInputBesideTheRefusedOnesIsAccepted) {
    ScratchDirectory root;
    writeSupportFiles(root);
    std::string file = root.writeFile(
            "p/IFoo.aidl",
            "package p;\nimport p.Plain;\ninterface IFoo {\n    Plain f(in IHelper helper);\n}\n");
    GeneratorResult result = runGenerator({"--out", root.path() + "/out", "-I", root.path(), file});
    EXPECT_EQ(result.exit_code, 0) << result.error_output;
    EXPECT_EQ(root.listFiles("out"),
              (std::vector<std::string>{"include/aidl/p/BnFoo.h", "include/aidl/p/BpFoo.h",
                                        "include/aidl/p/IFoo.h", "src/p/IFoo.cpp"}));
}

// A bad file among good ones stops the whole run: none of the good files is written either.
TEST(RefusedInputTest, OneBadFileAmongSeveralWritesNothing) {
    ScratchDirectory root;
    writeSupportFiles(root);
    std::string good =
            root.writeFile("p/Good.aidl", "package p;\nparcelable Good {\n    int a;\n}\n");
    std::string bad = root.writeFile("p/Bad.aidl", "package p;\nparcelable Bad {\n    int a\n}\n");
    GeneratorResult result =
            runGenerator({"--out", root.path() + "/out", "-I", root.path(), good, bad});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.error_output.rfind(bad + ":3: ", 0), 0u) << result.error_output;
    EXPECT_TRUE(root.listFiles("out").empty());
}

TEST(RefusedInputTest, BadCommandLinesAreUsageErrors) {
    ScratchDirectory root;
    std::string file =
            root.writeFile("p/Rec.aidl", "package p;\nparcelable Rec {\n    int a;\n}\n");
    std::string out = root.path() + "/out";
    const std::vector<std::vector<std::string>> command_lines = {
            {file},
            {"--out", out},
            {"--out", out, "--version", "0", file},
            {"--out", out, "--version", "five", file},
            {"--out", out, "--hash", "has space", file},
            {"--out", out, "--hash", "quote\"", file},
            {"--dumpapi", "--out", out, "--version", "2", file},
            {"--out", out, "--frobnicate", file},
            {"--out", out, root.path() + "/p/Rec.txt"},
            {"--out", out, "-I"},
    };
    for (const std::vector<std::string>& arguments : command_lines) {
        GeneratorResult result = runGenerator(arguments);
        EXPECT_EQ(result.exit_code, 2) << result.error_output;
        EXPECT_NE(result.error_output.find("usage:"), std::string::npos);
        EXPECT_TRUE(root.listFiles("out").empty());
    }
    GeneratorResult missing = runGenerator({"--out", out, root.path() + "/p/Absent.aidl"});
    EXPECT_EQ(missing.exit_code, 1);
    EXPECT_EQ(missing.error_output, root.path() + "/p/Absent.aidl: cannot read the file\n");
}

}  // namespace
}  // namespace aidl_generator_test
