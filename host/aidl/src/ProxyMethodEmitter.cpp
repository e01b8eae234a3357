#include "CppTypes.h"
#include "InterfaceEmitter.h"
#include "Names.h"

namespace aidl_ndk_generator {
namespace {

void failOnError(CodeWriter& writer) {
    writer.line(
            "if (_aidl_ret_status != STATUS_OK) return "
            "::ndk::ScopedAStatus::fromStatus(_aidl_ret_status);");
}

// Writes the in arguments after the interface token, transacts, then reads the status header and,
// only when it is OK, the return value and the out parameters. The lines in after_success run
// once all of that has been read.
void emitTransaction(CodeWriter& writer, const Declaration& interface, const Method& method,
                     const std::vector<std::string>& after_success) {
    writer.line("::ndk::ScopedAParcel _aidl_in;");
    writer.line("::ndk::ScopedAParcel _aidl_out;");
    writer.line(
            "binder_status_t _aidl_ret_status = AIBinder_prepareTransaction(asBinder().get(), "
            "_aidl_in.getR());");
    failOnError(writer);
    for (const Parameter& parameter : method.parameters) {
        if (parameter.direction != Direction::In) continue;
        writer.line("_aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), " +
                    argumentName(parameter) + ");");
        failOnError(writer);
    }
    writer.line("_aidl_ret_status = AIBinder_transact(asBinder().get(), " +
                transactionConstant(interface, method) +
                ", _aidl_in.getR(), _aidl_out.getR(), 0);");
    failOnError(writer);
    writer.line("::ndk::ScopedAStatus _aidl_status;");
    writer.line(
            "_aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());");
    failOnError(writer);
    writer.line("if (!AStatus_isOk(_aidl_status.get())) return _aidl_status;");
    std::vector<std::string> replies;
    if (method.return_type.kind != TypeKind::Void) replies.push_back("_aidl_return");
    for (const Parameter& parameter : method.parameters) {
        if (parameter.direction == Direction::Out) replies.push_back(argumentName(parameter));
    }
    for (const std::string& reply : replies) {
        writer.line("_aidl_ret_status = ::ndk::AParcel_readData(_aidl_out.get(), " + reply + ");");
        failOnError(writer);
    }
    for (const std::string& line : after_success) writer.line(line);
    writer.line("return _aidl_status;");
}

void emitVersionQuery(CodeWriter& writer, const Declaration& interface, const Method& method) {
    writer.line("const int32_t _aidl_known_version = _aidl_cached_version.load();");
    writer.open("if (_aidl_known_version != -1)");
    writer.line("*_aidl_return = _aidl_known_version;");
    writer.line("return ::ndk::ScopedAStatus::ok();");
    writer.close();
    emitTransaction(writer, interface, method, {"_aidl_cached_version.store(*_aidl_return);"});
}

// The lock is not held across the transaction: a slow remote must not block other callers.
void emitHashQuery(CodeWriter& writer, const Declaration& interface, const Method& method) {
    writer.line("{");
    writer.indent();
    writer.line("std::lock_guard<std::mutex> _aidl_lock(_aidl_cached_hash_mutex);");
    writer.open("if (_aidl_hash_cached)");
    writer.line("*_aidl_return = _aidl_cached_hash;");
    writer.line("return ::ndk::ScopedAStatus::ok();");
    writer.close();
    writer.close();
    emitTransaction(
            writer, interface, method,
            {"{", "    std::lock_guard<std::mutex> _aidl_lock(_aidl_cached_hash_mutex);",
             "    _aidl_cached_hash = *_aidl_return;", "    _aidl_hash_cached = true;", "}"});
}

}  // namespace

void emitProxyMethods(CodeWriter& writer, const Document& document) {
    const Declaration& interface = document.declaration;
    const std::string proxy = proxyClassName(interface.name);
    writer.line(proxy + "::" + proxy + "(const ::ndk::SpAIBinder& binder) : ::ndk::BpCInterface<" +
                interface.name + ">(binder) {}");
    writer.line(proxy + "::~" + proxy + "() {}");
    for (const Method& method : methodsWithVersionQueries(interface)) {
        writer.line();
        writer.open("::ndk::ScopedAStatus " + proxy + "::" + method.name + "(" +
                    parameterList(method) + ")");
        // User methods cannot take these names: validation reserves them.
        if (method.name == "getInterfaceVersion") {
            emitVersionQuery(writer, interface, method);
        } else if (method.name == "getInterfaceHash") {
            emitHashQuery(writer, interface, method);
        } else {
            emitTransaction(writer, interface, method, {});
        }
        writer.close();
    }
}

}  // namespace aidl_ndk_generator
