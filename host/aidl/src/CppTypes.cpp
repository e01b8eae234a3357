#include "CppTypes.h"

#include "Names.h"

#include <cstdint>

namespace aidl_ndk_generator {

std::string cppNamespace(const std::string& package) {
    std::string result = "aidl::";
    for (char character : package) {
        if (character == '.') {
            result += "::";
        } else {
            result += character;
        }
    }
    return result;
}

std::string cppClassName(const std::string& qualified_name) {
    size_t dot = qualified_name.rfind('.');
    return "::" + cppNamespace(qualified_name.substr(0, dot)) +
           "::" + qualified_name.substr(dot + 1);
}

std::string headerPath(const std::string& qualified_name) {
    return "aidl/" + packagePath(qualified_name) + ".h";
}

std::string headerPathInPackage(const std::string& package, const std::string& class_name) {
    return "aidl/" + packagePath(package) + "/" + class_name + ".h";
}

std::string cppValueType(const TypeReference& type) {
    std::string element;
    switch (type.kind) {
        case TypeKind::Void:
            element = "void";
            break;
        case TypeKind::Boolean:
            element = "bool";
            break;
        case TypeKind::Int:
            element = "int32_t";
            break;
        case TypeKind::Long:
            element = "int64_t";
            break;
        case TypeKind::String:
            element = "std::string";
            break;
        case TypeKind::FileDescriptor:
            element = "::ndk::ScopedFileDescriptor";
            break;
        case TypeKind::Record:
            element = cppClassName(type.qualified_name);
            break;
        case TypeKind::Interface:
            element = "std::shared_ptr<" + cppClassName(type.qualified_name) + ">";
            break;
        case TypeKind::Unresolved:
            element = "<unresolved>";
            break;
    }
    return type.is_array ? "std::vector<" + element + ">" : element;
}

bool passedByValue(const TypeReference& type) {
    return !type.is_array && (type.kind == TypeKind::Boolean || type.kind == TypeKind::Int ||
                              type.kind == TypeKind::Long);
}

std::string argumentName(const Parameter& parameter) {
    return (parameter.direction == Direction::In ? "in_" : "out_") + parameter.name;
}

std::string parameterList(const Method& method, bool with_names) {
    std::string list;
    auto append = [&list, with_names](const std::string& type, const std::string& name) {
        if (!list.empty()) list += ", ";
        list += type + (with_names ? " " + name : " /*" + name + "*/");
    };
    for (const Parameter& parameter : method.parameters) {
        const TypeReference& type = parameter.type;
        std::string cpp_type = cppValueType(type);
        if (parameter.direction == Direction::Out) {
            cpp_type += "*";
        } else if (!passedByValue(type)) {
            cpp_type = "const " + cpp_type + "&";
        }
        append(cpp_type, argumentName(parameter));
    }
    if (method.return_type.kind != TypeKind::Void) {
        append(cppValueType(method.return_type) + "*", "_aidl_return");
    }
    return list;
}

std::string cppConstant(const ConstantValue& value, TypeKind kind) {
    if (std::holds_alternative<bool>(value)) return std::get<bool>(value) ? "true" : "false";
    int64_t number = std::get<int64_t>(value);
    // The most negative value has no literal of its own: its magnitude overflows the type.
    if (kind == TypeKind::Int && number == INT32_MIN) return "(-2147483647 - 1)";
    if (kind == TypeKind::Long && number == INT64_MIN) return "(-9223372036854775807L - 1)";
    return std::to_string(number) + (kind == TypeKind::Long ? "L" : "");
}

std::map<std::string, TypeKind> referencedUserTypes(const Declaration& declaration) {
    std::map<std::string, TypeKind> types;
    auto note = [&types](const TypeReference& type) {
        if (type.kind == TypeKind::Record || type.kind == TypeKind::Interface) {
            types.emplace(type.qualified_name, type.kind);
        }
    };
    for (const Field& field : declaration.fields) note(field.type);
    for (const Method& method : declaration.methods) {
        note(method.return_type);
        for (const Parameter& parameter : method.parameters) note(parameter.type);
    }
    return types;
}

}  // namespace aidl_ndk_generator
