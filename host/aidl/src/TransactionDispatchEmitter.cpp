#include "CppTypes.h"
#include "InterfaceEmitter.h"
#include "Names.h"

namespace aidl_ndk_generator {
namespace {

bool readsArguments(const Method& method) {
    for (const Parameter& parameter : method.parameters) {
        if (parameter.direction == Direction::In) return true;
    }
    return false;
}

// Primitives start at zero; classes are default-constructed (list-initialization would reach
// explicit constructors, such as ScopedFileDescriptor's, inside records).
std::string localDeclaration(const TypeReference& type, const std::string& name) {
    return cppValueType(type) + " " + name + (passedByValue(type) ? "{};" : ";");
}

// Reads the in arguments, calls the implementation, then answers the status header and, only
// when the call succeeded, the return value followed by the out parameters. A failed read
// answers its status without calling the implementation.
void emitServeFunction(CodeWriter& writer, const std::string& server, const Method& method) {
    std::string in_parcel = readsArguments(method) ? "_aidl_in" : "/*_aidl_in*/";
    writer.open("binder_status_t _aidl_serve_" + method.name + "(" + server +
                "& _aidl_impl, const AParcel* " + in_parcel + ", AParcel* _aidl_out)");
    std::string call_arguments;
    for (const Parameter& parameter : method.parameters) {
        writer.line(localDeclaration(parameter.type, argumentName(parameter)));
        call_arguments += (call_arguments.empty() ? "" : ", ") +
                          std::string(parameter.direction == Direction::Out ? "&" : "") +
                          argumentName(parameter);
    }
    bool returns_value = method.return_type.kind != TypeKind::Void;
    if (returns_value) {
        writer.line(localDeclaration(method.return_type, "_aidl_return"));
        call_arguments += std::string(call_arguments.empty() ? "" : ", ") + "&_aidl_return";
    }
    writer.line("binder_status_t _aidl_ret_status = STATUS_OK;");
    for (const Parameter& parameter : method.parameters) {
        if (parameter.direction != Direction::In) continue;
        writer.line("_aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &" +
                    argumentName(parameter) + ");");
        writer.line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    }
    writer.line("::ndk::ScopedAStatus _aidl_status = _aidl_impl." + method.name + "(" +
                call_arguments + ");");
    writer.line("_aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());");
    writer.line(
            "if (_aidl_ret_status != STATUS_OK || !AStatus_isOk(_aidl_status.get())) return "
            "_aidl_ret_status;");
    std::vector<std::string> replies;
    if (returns_value) replies.push_back("_aidl_return");
    for (const Parameter& parameter : method.parameters) {
        if (parameter.direction == Direction::Out) replies.push_back(argumentName(parameter));
    }
    for (const std::string& reply : replies) {
        writer.line("_aidl_ret_status = ::ndk::AParcel_writeData(_aidl_out, " + reply + ");");
        writer.line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    }
    writer.line("return _aidl_ret_status;");
    writer.close();
}

}  // namespace

void emitTransactionDispatch(CodeWriter& writer, const Document& document) {
    const Declaration& interface = document.declaration;
    const std::string server = serverClassName(interface.name);
    std::vector<Method> methods = methodsWithVersionQueries(interface);
    for (const Method& method : methods) {
        emitServeFunction(writer, server, method);
        writer.line();
    }
    // The runtime has checked the interface token already: the arguments come first.
    writer.open(
            "binder_status_t _aidl_onTransact(AIBinder* _aidl_binder, transaction_code_t "
            "_aidl_code, const AParcel* _aidl_in, AParcel* _aidl_out)");
    writer.line("std::shared_ptr<" + server + "> _aidl_impl = std::static_pointer_cast<" + server +
                ">(::ndk::ICInterface::asInterface(_aidl_binder));");
    writer.line("if (_aidl_impl == nullptr) return STATUS_UNEXPECTED_NULL;");
    writer.open("switch (_aidl_code)");
    for (const Method& method : methods) {
        writer.line("case " + transactionConstant(interface, method) + ":");
        writer.indent();
        writer.line("return _aidl_serve_" + method.name + "(*_aidl_impl, _aidl_in, _aidl_out);");
        writer.dedent();
    }
    writer.line("default:");
    writer.indent();
    writer.line("return STATUS_UNKNOWN_TRANSACTION;");
    writer.dedent();
    writer.close();
    writer.close();
}

}  // namespace aidl_ndk_generator
