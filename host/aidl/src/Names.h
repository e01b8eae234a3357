#pragma once

#include <string>

namespace aidl_ndk_generator {

// Whether a name cannot become a class, member or namespace of the generated code: the C++17
// keywords, and "std", which the generated code names unqualified.
bool isReservedInCpp(const std::string& word);

// The package as a path: "a.b.c" becomes "a/b/c".
std::string packagePath(const std::string& package);

// The last component of a dotted name.
std::string simpleName(const std::string& qualified_name);

// The generated server and proxy class names: IFoo gives BnFoo and BpFoo, Foo gives BnFoo too.
std::string serverClassName(const std::string& interface_name);
std::string proxyClassName(const std::string& interface_name);

}  // namespace aidl_ndk_generator
