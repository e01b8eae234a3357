#include "CommandLine.h"

#include "SourceError.h"

#include <cctype>
#include <limits>

namespace aidl_ndk_generator {
namespace {

int32_t parseVersion(const std::string& text) {
    bool digits_only = !text.empty() && text.size() <= 10;
    for (char character : text) {
        if (!std::isdigit(static_cast<unsigned char>(character))) digits_only = false;
    }
    int64_t value = digits_only ? std::stoll(text) : 0;
    if (value < 1 || value > std::numeric_limits<int32_t>::max()) {
        throw UsageError("--version takes a positive integer, not '" + text + "'");
    }
    return static_cast<int32_t>(value);
}

// The hash lands inside a C++ string literal, so only characters that need no escaping pass.
std::string checkHash(const std::string& text) {
    bool plain = !text.empty();
    for (char character : text) {
        if (!std::isalnum(static_cast<unsigned char>(character)) && character != '-' &&
            character != '_' && character != '.') {
            plain = false;
        }
    }
    if (!plain) {
        throw UsageError("--hash takes letters, digits, '-', '_' and '.' only, not '" + text + "'");
    }
    return text;
}

}  // namespace

const char* usageText() {
    return "usage: aidl_ndk_generator --out <dir> [-I <root>]... [--version <n>] [--hash <h>] "
           "<file.aidl>...\n"
           "       aidl_ndk_generator --dumpapi --out <dir> [-I <root>]... <file.aidl>...\n"
           "Generates NDK-backend C++ (<dir>/include/aidl/..., <dir>/src/...) or, with "
           "--dumpapi,\n"
           "the canonical API dump <dir>/<package path>/<Name>.aidl of each file. Imports "
           "resolve\n"
           "as <root>/<package path>/<Name>.aidl.\n";
}

Options parseCommandLine(const std::vector<std::string>& arguments) {
    Options options;
    bool version_given = false;
    bool hash_given = false;
    for (size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        auto value = [&]() -> const std::string& {
            if (index + 1 >= arguments.size()) throw UsageError(argument + " needs a value");
            return arguments[++index];
        };
        if (argument == "--dumpapi") {
            options.dump_api = true;
        } else if (argument == "--out") {
            options.output_directory = value();
        } else if (argument == "-I") {
            options.import_roots.push_back(value());
        } else if (argument.compare(0, 2, "-I") == 0) {
            options.import_roots.push_back(argument.substr(2));
        } else if (argument == "--version") {
            options.version = parseVersion(value());
            version_given = true;
        } else if (argument == "--hash") {
            options.hash = checkHash(value());
            hash_given = true;
        } else if (!argument.empty() && argument[0] == '-') {
            throw UsageError("unknown option " + argument);
        } else if (argument.size() < 5 || argument.compare(argument.size() - 5, 5, ".aidl") != 0) {
            throw UsageError("input " + argument + " is not an .aidl file");
        } else {
            options.inputs.push_back(argument);
        }
    }
    if (options.output_directory.empty()) throw UsageError("--out <dir> is required");
    if (options.inputs.empty()) throw UsageError("no input .aidl file");
    if (options.dump_api && (version_given || hash_given)) {
        throw UsageError("--version and --hash apply to code generation, not to --dumpapi");
    }
    return options;
}

}  // namespace aidl_ndk_generator
