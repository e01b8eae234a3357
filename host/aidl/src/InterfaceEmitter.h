#pragma once

#include "CodeWriter.h"
#include "GeneratedFile.h"
#include "Model.h"

#include <cstdint>
#include <string>
#include <vector>

namespace aidl_ndk_generator {

// What the stub answers to getInterfaceVersion and getInterfaceHash.
struct InterfaceVersion {
    int32_t version = 1;
    std::string hash = "notfrozen";
};

// The interface's own methods followed by getInterfaceVersion and getInterfaceHash, which every
// interface carries on its reserved transaction codes.
std::vector<Method> methodsWithVersionQueries(const Declaration& interface);

// "TRANSACTION_<method>" of the interface, a constant of IFoo.
std::string transactionConstant(const Declaration& interface, const Method& method);

// The generated files of a validated interface: IFoo.h, BnFoo.h, BpFoo.h and IFoo.cpp.
GeneratedFile emitInterfaceHeader(const Document& document, const InterfaceVersion& version);
GeneratedFile emitServerHeader(const Document& document);
GeneratedFile emitProxyHeader(const Document& document);
GeneratedFile emitInterfaceSource(const Document& document);

// Parts of IFoo.cpp: the stub's transaction dispatch (functions in an unnamed namespace, ending
// with _aidl_onTransact) and the proxy's method definitions.
void emitTransactionDispatch(CodeWriter& writer, const Document& document);
void emitProxyMethods(CodeWriter& writer, const Document& document);

}  // namespace aidl_ndk_generator
