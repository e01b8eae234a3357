#include "Names.h"

#include <set>

namespace aidl_ndk_generator {
namespace {

std::string withoutInterfacePrefix(const std::string& interface_name) {
    if (!interface_name.empty() && interface_name[0] == 'I') return interface_name.substr(1);
    return interface_name;
}

}  // namespace

bool isReservedInCpp(const std::string& word) {
    static const std::set<std::string> kKeywords = {"alignas",      "alignof",
                                                    "and",          "and_eq",
                                                    "asm",          "auto",
                                                    "bitand",       "bitor",
                                                    "bool",         "break",
                                                    "case",         "catch",
                                                    "char",         "char16_t",
                                                    "char32_t",     "class",
                                                    "compl",        "const",
                                                    "constexpr",    "const_cast",
                                                    "continue",     "decltype",
                                                    "default",      "delete",
                                                    "do",           "double",
                                                    "dynamic_cast", "else",
                                                    "enum",         "explicit",
                                                    "export",       "extern",
                                                    "false",        "float",
                                                    "for",          "friend",
                                                    "goto",         "if",
                                                    "inline",       "int",
                                                    "long",         "mutable",
                                                    "namespace",    "new",
                                                    "noexcept",     "not",
                                                    "not_eq",       "nullptr",
                                                    "operator",     "or",
                                                    "or_eq",        "private",
                                                    "protected",    "public",
                                                    "register",     "reinterpret_cast",
                                                    "return",       "short",
                                                    "signed",       "sizeof",
                                                    "static",       "static_assert",
                                                    "static_cast",  "struct",
                                                    "switch",       "template",
                                                    "this",         "thread_local",
                                                    "throw",        "true",
                                                    "try",          "typedef",
                                                    "typeid",       "typename",
                                                    "union",        "unsigned",
                                                    "using",        "virtual",
                                                    "void",         "volatile",
                                                    "wchar_t",      "while",
                                                    "xor",          "xor_eq"};
    return word == "std" || kKeywords.count(word) != 0;
}

std::string packagePath(const std::string& package) {
    std::string path = package;
    for (char& character : path) {
        if (character == '.') character = '/';
    }
    return path;
}

std::string simpleName(const std::string& qualified_name) {
    size_t dot = qualified_name.rfind('.');
    return dot == std::string::npos ? qualified_name : qualified_name.substr(dot + 1);
}

std::string serverClassName(const std::string& interface_name) {
    return "Bn" + withoutInterfacePrefix(interface_name);
}

std::string proxyClassName(const std::string& interface_name) {
    return "Bp" + withoutInterfacePrefix(interface_name);
}

}  // namespace aidl_ndk_generator
