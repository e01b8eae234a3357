#include "CodeWriter.h"
#include "CppTypes.h"
#include "Names.h"
#include "RecordEmitter.h"

namespace aidl_ndk_generator {
namespace {

// A stream expression that prints one value of the (non-array) type.
std::string printedValue(TypeKind kind, const std::string& value) {
    switch (kind) {
        case TypeKind::Boolean:
            return "(" + value + " ? \"true\" : \"false\")";
        case TypeKind::FileDescriptor:
            return value + ".get()";
        case TypeKind::Record:
            return value + ".toString()";
        default:
            return value;
    }
}

void emitToString(CodeWriter& writer, const Declaration& record) {
    writer.open("inline std::string toString() const");
    writer.line("std::ostringstream _aidl_os;");
    writer.line("_aidl_os << \"" + record.name + "{\";");
    bool first = true;
    for (const Field& field : record.fields) {
        std::string label = (first ? "" : ", ") + field.name + ": ";
        first = false;
        if (!field.type.is_array) {
            writer.line("_aidl_os << \"" + label + "\" << " +
                        printedValue(field.type.kind, field.name) + ";");
            continue;
        }
        writer.line("_aidl_os << \"" + label + "[\";");
        writer.open("for (size_t _aidl_i = 0; _aidl_i < " + field.name + ".size(); ++_aidl_i)");
        writer.line("_aidl_os << (_aidl_i == 0 ? \"\" : \", \") << " +
                    printedValue(field.type.kind, field.name + "[_aidl_i]") + ";");
        writer.close();
        writer.line("_aidl_os << \"]\";");
    }
    writer.line("_aidl_os << \"}\";");
    writer.line("return _aidl_os.str();");
    writer.close();
}

// Records compare field by field in declaration order, as tuples of their fields.
void emitComparisons(CodeWriter& writer, const Declaration& record) {
    std::string own_fields;
    std::string other_fields;
    for (const Field& field : record.fields) {
        own_fields += (own_fields.empty() ? "" : ", ") + field.name;
        other_fields += (other_fields.empty() ? "" : ", ") + ("_aidl_other." + field.name);
    }
    for (const char* comparison : {"==", "!=", "<", ">", "<=", ">="}) {
        writer.open(std::string("inline bool operator") + comparison + "(const " + record.name +
                    "& _aidl_other) const");
        writer.line("return std::tie(" + own_fields + ") " + comparison + " std::tie(" +
                    other_fields + ");");
        writer.close();
    }
}

void emitFields(CodeWriter& writer, const Declaration& record) {
    for (const Field& field : record.fields) {
        std::string initializer;
        if (field.default_value) {
            initializer = " = " + cppConstant(*field.default_value, field.type.kind);
        } else if (field.type.kind == TypeKind::Boolean && !field.type.is_array) {
            initializer = " = false";
        } else if (passedByValue(field.type)) {
            initializer = " = 0";
        }
        writer.line(cppValueType(field.type) + " " + field.name + initializer + ";");
    }
}

}  // namespace

GeneratedFile emitRecordHeader(const Document& document) {
    const Declaration& record = document.declaration;
    CodeWriter writer;
    writer.line(generatedBanner(packagePath(document.qualifiedName()) + ".aidl"));
    writer.line("#pragma once");
    writer.line();
    for (const char* header : {"cstdint", "sstream", "string", "tuple", "vector"}) {
        writer.line(std::string("#include <") + header + ">");
    }
    writer.line();
    writer.line("#include <android/binder_auto_utils.h>");
    writer.line("#include <android/binder_parcelable_utils.h>");
    auto referenced = referencedUserTypes(record);
    if (!referenced.empty()) writer.line();
    for (const auto& [qualified_name, kind] : referenced) {
        writer.line("#include <" + headerPath(qualified_name) + ">");
    }
    writer.line();
    writer.line("namespace " + cppNamespace(document.package) + " {");
    writer.line();
    writer.open("class " + record.name);
    writer.label("public:");
    writer.line("static const char* descriptor;");
    writer.line();
    emitFields(writer, record);
    writer.line();
    writer.line("binder_status_t readFromParcel(const AParcel* _aidl_parcel);");
    writer.line("binder_status_t writeToParcel(AParcel* _aidl_parcel) const;");
    writer.line();
    emitComparisons(writer, record);
    writer.line();
    writer.line(std::string("static constexpr ::ndk::parcelable_stability_t _aidl_stability = ") +
                (record.vintf_stability ? "::ndk::STABILITY_VINTF;" : "::ndk::STABILITY_LOCAL;"));
    writer.line();
    emitToString(writer, record);
    writer.close(";");
    writer.line();
    writer.line("}  // namespace " + cppNamespace(document.package));
    return {"include/" + headerPath(document.qualifiedName()), writer.text()};
}

}  // namespace aidl_ndk_generator
