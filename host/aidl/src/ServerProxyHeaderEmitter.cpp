#include "CppTypes.h"
#include "InterfaceEmitter.h"
#include "Names.h"

namespace aidl_ndk_generator {
namespace {

void emitPreamble(CodeWriter& writer, const Document& document,
                  std::initializer_list<const char*> system_headers) {
    writer.line(generatedBanner(packagePath(document.qualifiedName()) + ".aidl"));
    writer.line("#pragma once");
    writer.line();
    for (const char* header : system_headers) {
        writer.line(std::string("#include <") + header + ">");
    }
    writer.line();
    writer.line("#include <" + headerPath(document.qualifiedName()) + ">");
    writer.line();
    writer.line("namespace " + cppNamespace(document.package) + " {");
    writer.line();
}

void emitClosing(CodeWriter& writer, const Document& document) {
    writer.line();
    writer.line("}  // namespace " + cppNamespace(document.package));
}

}  // namespace

GeneratedFile emitServerHeader(const Document& document) {
    const std::string& interface_name = document.declaration.name;
    const std::string server = serverClassName(interface_name);
    CodeWriter writer;
    emitPreamble(writer, document, {"cstdint", "string"});
    writer.open("class " + server + " : public ::ndk::BnCInterface<" + interface_name + ">");
    writer.label("public:");
    writer.line(server + "();");
    writer.line("virtual ~" + server + "();");
    writer.line();
    writer.line("// Answer the version and hash this library was generated with.");
    writer.line("::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;");
    writer.line("::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;");
    writer.line();
    writer.label("protected:");
    writer.line("::ndk::SpAIBinder createBinder() override;");
    writer.close(";");
    emitClosing(writer, document);
    return {"include/" + headerPathInPackage(document.package, server), writer.text()};
}

GeneratedFile emitProxyHeader(const Document& document) {
    const std::string& interface_name = document.declaration.name;
    const std::string proxy = proxyClassName(interface_name);
    CodeWriter writer;
    emitPreamble(writer, document, {"atomic", "cstdint", "mutex", "string"});
    writer.open("class " + proxy + " : public ::ndk::BpCInterface<" + interface_name + ">");
    writer.label("public:");
    writer.line("explicit " + proxy + "(const ::ndk::SpAIBinder& binder);");
    writer.line("virtual ~" + proxy + "();");
    writer.line();
    for (const Method& method : methodsWithVersionQueries(document.declaration)) {
        writer.line("::ndk::ScopedAStatus " + method.name + "(" + parameterList(method) +
                    ") override;");
    }
    writer.line();
    writer.label("private:");
    writer.line(
            "// A remote object's version and hash never change, so the first answers are kept.");
    writer.line("std::atomic<int32_t> _aidl_cached_version{-1};");
    writer.line("std::mutex _aidl_cached_hash_mutex;");
    writer.line("bool _aidl_hash_cached = false;");
    writer.line("std::string _aidl_cached_hash;");
    writer.close(";");
    emitClosing(writer, document);
    return {"include/" + headerPathInPackage(document.package, proxy), writer.text()};
}

}  // namespace aidl_ndk_generator
