#include "TypeResolver.h"

#include "Names.h"
#include "SourceError.h"

#include <set>

namespace aidl_ndk_generator {
namespace {

const std::map<std::string, TypeKind>& builtinTypes() {
    static const std::map<std::string, TypeKind> kBuiltins = {
            {"void", TypeKind::Void},     {"boolean", TypeKind::Boolean},
            {"int", TypeKind::Int},       {"long", TypeKind::Long},
            {"String", TypeKind::String}, {"ParcelFileDescriptor", TypeKind::FileDescriptor}};
    return kBuiltins;
}

// Types AIDL knows but this generator does not emit: refused by name rather than as unknown.
bool isUnsupportedBuiltin(const std::string& name) {
    static const std::set<std::string> kUnsupported = {
            "byte", "char", "float",        "double",           "IBinder",    "FileDescriptor",
            "List", "Map",  "CharSequence", "ParcelableHolder", "Parcelable", "Object"};
    return kUnsupported.count(name) != 0;
}

}  // namespace

TypeResolver::TypeResolver(const Document& document, DeclarationIndex& index)
    : document_(document), index_(index) {
    const std::string own_name = document.declaration.name;
    for (const Import& import : document.imports) {
        const std::string& qualified = import.qualified_name;
        if (qualified.find('.') == std::string::npos) {
            throw SourceError(document.path, import.line,
                              "import " + qualified + " must name a type with its package");
        }
        std::string simple = simpleName(qualified);
        if (simple == own_name && qualified != document.qualifiedName()) {
            throw SourceError(
                    document.path, import.line,
                    "import " + qualified + " clashes with the declared type " + own_name);
        }
        auto inserted = imported_.emplace(simple, qualified);
        if (!inserted.second) {
            throw SourceError(document.path, import.line,
                              inserted.first->second == qualified
                                      ? "duplicate import " + qualified
                                      : "import " + qualified + " clashes with import " +
                                                inserted.first->second);
        }
        if (index_.find(qualified) == nullptr) {
            throw SourceError(document.path, import.line,
                              "cannot find import " + qualified + " (no " + packagePath(qualified) +
                                      ".aidl under the import roots)");
        }
    }
}

void TypeResolver::resolve(TypeReference& type) {
    const std::string& name = type.spelled_name;
    auto builtin = builtinTypes().find(name);
    if (builtin != builtinTypes().end()) {
        type.kind = builtin->second;
        return;
    }
    if (isUnsupportedBuiltin(name)) {
        throw SourceError(document_.path, type.line, "type " + name + " is not supported");
    }
    std::string qualified;
    if (name.find('.') != std::string::npos) {
        qualified = name;
    } else if (name == document_.declaration.name) {
        qualified = document_.qualifiedName();
    } else if (imported_.count(name) != 0) {
        qualified = imported_.at(name);
    } else {
        qualified = document_.package + "." + name;
    }
    const Document* declaration_document = index_.find(qualified);
    if (declaration_document == nullptr) {
        throw SourceError(document_.path, type.line,
                          "unknown type " + name +
                                  (name.find('.') == std::string::npos
                                           ? " (neither imported nor found in package " +
                                                     document_.package + ")"
                                           : ""));
    }
    const Declaration& declaration = declaration_document->declaration;
    type.kind =
            declaration.kind == DeclarationKind::Interface ? TypeKind::Interface : TypeKind::Record;
    type.qualified_name = qualified;
    type.vintf_stability = declaration.vintf_stability;
}

}  // namespace aidl_ndk_generator
