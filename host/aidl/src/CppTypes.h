#pragma once

#include "Model.h"

#include <map>
#include <string>

namespace aidl_ndk_generator {

// "a.b" becomes "aidl::a::b", the namespace of the generated code for package a.b.
std::string cppNamespace(const std::string& package);

// "a.b.C" becomes "::aidl::a::b::C".
std::string cppClassName(const std::string& qualified_name);

// "a.b.C" becomes "aidl/a/b/C.h"; the proxy and server headers sit beside it.
std::string headerPath(const std::string& qualified_name);
std::string headerPathInPackage(const std::string& package, const std::string& class_name);

// The C++ type holding a value of the AIDL type: a field, a local or a vector element.
std::string cppValueType(const TypeReference& type);

// Primitives travel by value; everything else by const reference.
bool passedByValue(const TypeReference& type);

// "in_x" or "out_x": the platform's names for a method's arguments.
std::string argumentName(const Parameter& parameter);

// The parameter list of a method as the platform declares it, ending with the return slot
// "T* _aidl_return" unless the method returns void. Without names, each parameter name is left
// in a comment, for bodies that ignore their arguments.
std::string parameterList(const Method& method, bool with_names = true);

// A field default as a C++ initializer value.
std::string cppConstant(const ConstantValue& value, TypeKind kind);

// The user types a declaration refers to, by qualified name, with their kind.
std::map<std::string, TypeKind> referencedUserTypes(const Declaration& declaration);

}  // namespace aidl_ndk_generator
