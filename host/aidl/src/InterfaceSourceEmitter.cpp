#include "CppTypes.h"
#include "InterfaceEmitter.h"
#include "Names.h"

namespace aidl_ndk_generator {
namespace {

void emitIncludes(CodeWriter& writer, const Document& document) {
    const std::string& name = document.declaration.name;
    writer.line("#include <" + headerPath(document.qualifiedName()) + ">");
    writer.line("#include <" + headerPathInPackage(document.package, serverClassName(name)) + ">");
    writer.line("#include <" + headerPathInPackage(document.package, proxyClassName(name)) + ">");
    writer.line();
    writer.line("#include <android/binder_parcel_utils.h>");
    if (document.declaration.vintf_stability) writer.line("#include <android/binder_stability.h>");
    writer.line();
}

// The class is defined on first use rather than by a static initializer, so binders made during
// other libraries' static initialization still find it.
void emitClassDefinition(CodeWriter& writer, const Document& document) {
    writer.open("AIBinder_Class* _aidl_class()");
    writer.line("static AIBinder_Class* const _aidl_clazz = ::ndk::ICInterface::defineClass(" +
                document.declaration.name + "::descriptor, _aidl_onTransact);");
    writer.line("return _aidl_clazz;");
    writer.close();
}

void emitInterfaceMembers(CodeWriter& writer, const Document& document) {
    const std::string& name = document.declaration.name;
    writer.line("const char* " + name + "::descriptor = \"" + document.qualifiedName() + "\";");
    writer.line();
    writer.line(name + "::" + name + "() {}");
    writer.line(name + "::~" + name + "() {}");
    writer.line();
    writer.open("std::shared_ptr<" + name + "> " + name +
                "::fromBinder(const ::ndk::SpAIBinder& binder)");
    writer.line("if (binder.get() == nullptr) return nullptr;");
    writer.line("if (!AIBinder_associateClass(binder.get(), _aidl_class())) return nullptr;");
    writer.line(
            "std::shared_ptr<::ndk::ICInterface> _aidl_local = "
            "::ndk::ICInterface::asInterface(binder.get());");
    writer.line("if (_aidl_local != nullptr) return std::static_pointer_cast<" + name +
                ">(_aidl_local);");
    writer.line("return ::ndk::SharedRefBase::make<" + proxyClassName(name) + ">(binder);");
    writer.close();
    writer.line();
    writer.open("binder_status_t " + name +
                "::writeToParcel(AParcel* parcel, const std::shared_ptr<" + name + ">& instance)");
    writer.line(
            "return AParcel_writeStrongBinder(parcel, instance != nullptr ? "
            "instance->asBinder().get() : nullptr);");
    writer.close();
    writer.line();
    writer.open("binder_status_t " + name + "::readFromParcel(const AParcel* parcel, " +
                "std::shared_ptr<" + name + ">* instance)");
    writer.line("::ndk::SpAIBinder binder;");
    writer.line("binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());");
    writer.line("if (status != STATUS_OK) return status;");
    writer.line("*instance = fromBinder(binder);");
    writer.line("return STATUS_OK;");
    writer.close();
}

void emitDefaultMembers(CodeWriter& writer, const Document& document) {
    const std::string default_class = document.declaration.name + "Default";
    for (const Method& method : methodsWithVersionQueries(document.declaration)) {
        bool version_query =
                method.name == "getInterfaceVersion" || method.name == "getInterfaceHash";
        writer.open("::ndk::ScopedAStatus " + default_class + "::" + method.name + "(" +
                    parameterList(method, version_query) + ")");
        if (method.name == "getInterfaceVersion") {
            writer.line("*_aidl_return = 0;");
            writer.line("return ::ndk::ScopedAStatus::ok();");
        } else if (method.name == "getInterfaceHash") {
            writer.line("*_aidl_return = \"\";");
            writer.line("return ::ndk::ScopedAStatus::ok();");
        } else {
            writer.line("return ::ndk::ScopedAStatus::fromStatus(STATUS_UNKNOWN_TRANSACTION);");
        }
        writer.close();
        writer.line();
    }
    writer.line("::ndk::SpAIBinder " + default_class + "::asBinder() { return {}; }");
    writer.line("bool " + default_class + "::isRemote() { return false; }");
}

void emitServerMembers(CodeWriter& writer, const Document& document) {
    const std::string& name = document.declaration.name;
    const std::string server = serverClassName(name);
    writer.line(server + "::" + server + "() {}");
    writer.line(server + "::~" + server + "() {}");
    writer.line();
    writer.open("::ndk::SpAIBinder " + server + "::createBinder()");
    // The binder's user data is the ICInterface part of this object, which asInterface returns.
    writer.line(
            "AIBinder* _aidl_binder = AIBinder_new(_aidl_class(), "
            "static_cast<void*>(static_cast<::ndk::ICInterface*>(this)));");
    if (document.declaration.vintf_stability) {
        writer.line("if (_aidl_binder != nullptr) AIBinder_markVintfStability(_aidl_binder);");
    }
    writer.line("return ::ndk::SpAIBinder(_aidl_binder);");
    writer.close();
    writer.line();
    writer.open("::ndk::ScopedAStatus " + server + "::getInterfaceVersion(int32_t* _aidl_return)");
    writer.line("*_aidl_return = " + name + "::version;");
    writer.line("return ::ndk::ScopedAStatus::ok();");
    writer.close();
    writer.line();
    writer.open("::ndk::ScopedAStatus " + server + "::getInterfaceHash(std::string* _aidl_return)");
    writer.line("*_aidl_return = " + name + "::hash;");
    writer.line("return ::ndk::ScopedAStatus::ok();");
    writer.close();
}

}  // namespace

GeneratedFile emitInterfaceSource(const Document& document) {
    CodeWriter writer;
    writer.line(generatedBanner(packagePath(document.qualifiedName()) + ".aidl"));
    emitIncludes(writer, document);
    writer.line("namespace " + cppNamespace(document.package) + " {");
    writer.line("namespace {");
    writer.line();
    emitTransactionDispatch(writer, document);
    writer.line();
    emitClassDefinition(writer, document);
    writer.line();
    writer.line("}  // namespace");
    writer.line();
    emitInterfaceMembers(writer, document);
    writer.line();
    emitDefaultMembers(writer, document);
    writer.line();
    emitServerMembers(writer, document);
    writer.line();
    emitProxyMethods(writer, document);
    writer.line();
    writer.line("}  // namespace " + cppNamespace(document.package));
    return {"src/" + packagePath(document.qualifiedName()) + ".cpp", writer.text()};
}

}  // namespace aidl_ndk_generator
