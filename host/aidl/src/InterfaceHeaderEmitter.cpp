#include "CppTypes.h"
#include "InterfaceEmitter.h"
#include "Names.h"

namespace aidl_ndk_generator {
namespace {

// The version queries sit on the last codes of the user range, so that methods added later in
// new versions never collide with them.
constexpr int kVersionQueryOffset = 16777214;
constexpr int kHashQueryOffset = 16777213;

// Interfaces are declared before any header is included, so two interfaces that name each other
// still compile: each header sees the other's class at least as a declaration.
void emitInterfaceDeclarations(CodeWriter& writer, const Document& document) {
    bool any = false;
    for (const auto& [qualified_name, kind] : referencedUserTypes(document.declaration)) {
        if (kind != TypeKind::Interface || qualified_name == document.qualifiedName()) continue;
        size_t dot = qualified_name.rfind('.');
        writer.line("namespace " + cppNamespace(qualified_name.substr(0, dot)) + " { class " +
                    qualified_name.substr(dot + 1) + "; }");
        any = true;
    }
    if (any) writer.line();
}

void emitIncludes(CodeWriter& writer, const Document& document) {
    for (const char* header : {"cstdint", "memory", "string", "vector"}) {
        writer.line(std::string("#include <") + header + ">");
    }
    writer.line();
    writer.line("#include <android/binder_interface_utils.h>");
    writer.line();
    emitInterfaceDeclarations(writer, document);
    bool any = false;
    for (const auto& [qualified_name, kind] : referencedUserTypes(document.declaration)) {
        if (qualified_name == document.qualifiedName()) continue;
        writer.line("#include <" + headerPath(qualified_name) + ">");
        any = true;
    }
    if (any) writer.line();
}

void emitInterfaceClass(CodeWriter& writer, const Document& document,
                        const InterfaceVersion& version) {
    const Declaration& interface = document.declaration;
    const std::string& name = interface.name;
    writer.open("class " + name + " : public ::ndk::ICInterface");
    writer.label("public:");
    writer.line("static const char* descriptor;");
    writer.line(name + "();");
    writer.line("virtual ~" + name + "();");
    writer.line();
    writer.line("static inline const int32_t version = " + std::to_string(version.version) + ";");
    writer.line("static inline const std::string hash = \"" + version.hash + "\";");
    for (size_t position = 0; position < interface.methods.size(); ++position) {
        writer.line("static constexpr uint32_t TRANSACTION_" + interface.methods[position].name +
                    " = FIRST_CALL_TRANSACTION + " + std::to_string(position) + ";");
    }
    writer.line(
            "static constexpr uint32_t TRANSACTION_getInterfaceVersion = "
            "FIRST_CALL_TRANSACTION + " +
            std::to_string(kVersionQueryOffset) + ";");
    writer.line(
            "static constexpr uint32_t TRANSACTION_getInterfaceHash = "
            "FIRST_CALL_TRANSACTION + " +
            std::to_string(kHashQueryOffset) + ";");
    writer.line();
    writer.line("static std::shared_ptr<" + name +
                "> fromBinder(const ::ndk::SpAIBinder& binder);");
    writer.line("static binder_status_t writeToParcel(AParcel* parcel, const std::shared_ptr<" +
                name + ">& instance);");
    writer.line("static binder_status_t readFromParcel(const AParcel* parcel, std::shared_ptr<" +
                name + ">* instance);");
    writer.line();
    for (const Method& method : methodsWithVersionQueries(interface)) {
        writer.line("virtual ::ndk::ScopedAStatus " + method.name + "(" + parameterList(method) +
                    ") = 0;");
    }
    writer.close(";");
}

// Answers STATUS_UNKNOWN_TRANSACTION to every method: a base for partial implementations.
void emitDefaultClass(CodeWriter& writer, const Document& document) {
    const std::string& name = document.declaration.name;
    writer.open("class " + name + "Default : public " + name);
    writer.label("public:");
    for (const Method& method : methodsWithVersionQueries(document.declaration)) {
        writer.line("::ndk::ScopedAStatus " + method.name + "(" + parameterList(method) +
                    ") override;");
    }
    writer.line("::ndk::SpAIBinder asBinder() override;");
    writer.line("bool isRemote() override;");
    writer.close(";");
}

}  // namespace

GeneratedFile emitInterfaceHeader(const Document& document, const InterfaceVersion& version) {
    CodeWriter writer;
    writer.line(generatedBanner(packagePath(document.qualifiedName()) + ".aidl"));
    writer.line("#pragma once");
    writer.line();
    emitIncludes(writer, document);
    writer.line("namespace " + cppNamespace(document.package) + " {");
    writer.line();
    emitInterfaceClass(writer, document, version);
    writer.line();
    emitDefaultClass(writer, document);
    writer.line();
    writer.line("}  // namespace " + cppNamespace(document.package));
    return {"include/" + headerPath(document.qualifiedName()), writer.text()};
}

}  // namespace aidl_ndk_generator
