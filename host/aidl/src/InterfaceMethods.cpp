#include "InterfaceEmitter.h"

namespace aidl_ndk_generator {

std::vector<Method> methodsWithVersionQueries(const Declaration& interface) {
    std::vector<Method> methods = interface.methods;
    Method version;
    version.name = "getInterfaceVersion";
    version.return_type.kind = TypeKind::Int;
    version.return_type.spelled_name = "int";
    methods.push_back(version);
    Method hash;
    hash.name = "getInterfaceHash";
    hash.return_type.kind = TypeKind::String;
    hash.return_type.spelled_name = "String";
    methods.push_back(hash);
    return methods;
}

std::string transactionConstant(const Declaration& interface, const Method& method) {
    return interface.name + "::TRANSACTION_" + method.name;
}

}  // namespace aidl_ndk_generator
