#include "ApiDumpEmitter.h"

#include "Names.h"

namespace aidl_ndk_generator {
namespace {

std::string spelledType(const TypeReference& type) {
    std::string name;
    switch (type.kind) {
        case TypeKind::Void:
            name = "void";
            break;
        case TypeKind::Boolean:
            name = "boolean";
            break;
        case TypeKind::Int:
            name = "int";
            break;
        case TypeKind::Long:
            name = "long";
            break;
        case TypeKind::String:
            name = "String";
            break;
        case TypeKind::FileDescriptor:
            name = "ParcelFileDescriptor";
            break;
        case TypeKind::Record:
        case TypeKind::Interface:
            name = type.qualified_name;
            break;
        case TypeKind::Unresolved:
            name = type.spelled_name;
            break;
    }
    return type.is_array ? name + "[]" : name;
}

// Values are written in decimal whatever their spelling, so 0x10 and 16 dump alike.
std::string spelledConstant(const ConstantValue& value) {
    if (std::holds_alternative<bool>(value)) return std::get<bool>(value) ? "true" : "false";
    return std::to_string(std::get<int64_t>(value));
}

std::string methodLine(const Method& method) {
    std::string line = spelledType(method.return_type) + " " + method.name + "(";
    bool first = true;
    for (const Parameter& parameter : method.parameters) {
        if (!first) line += ", ";
        first = false;
        // The direction is always written: "long x" and "in long x" are the same API.
        line += parameter.direction == Direction::In ? "in " : "out ";
        line += spelledType(parameter.type) + " " + parameter.name;
    }
    return line + ");";
}

std::string fieldLine(const Field& field) {
    std::string line = spelledType(field.type) + " " + field.name;
    if (field.default_value) line += " = " + spelledConstant(*field.default_value);
    return line + ";";
}

}  // namespace

GeneratedFile emitApiDump(const Document& document) {
    const Declaration& declaration = document.declaration;
    std::string text;
    text += "// Frozen snapshot of one version of this AIDL API. Do not edit it: the interface\n";
    text += "// hash of the version is computed over this exact text.\n";
    text += "package " + document.package + ";\n";
    if (declaration.vintf_stability) text += "@VintfStability\n";
    bool is_interface = declaration.kind == DeclarationKind::Interface;
    text += (is_interface ? "interface " : "parcelable ") + declaration.name + " {\n";
    for (const Method& method : declaration.methods) text += "  " + methodLine(method) + "\n";
    for (const Field& field : declaration.fields) text += "  " + fieldLine(field) + "\n";
    text += "}\n";
    return {packagePath(document.qualifiedName()) + ".aidl", text};
}

}  // namespace aidl_ndk_generator
