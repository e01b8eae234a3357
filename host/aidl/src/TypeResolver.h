#pragma once

#include "DeclarationIndex.h"
#include "Model.h"

#include <map>
#include <string>

namespace aidl_ndk_generator {

// Resolves the type names of one document: builtins by keyword, user types by their imports, by
// their own package, or by their fully qualified spelling, always through the index.
class TypeResolver {
  public:
    // Checks the document's imports: each must name a type found through the index, and no two
    // may share a simple name. Throws SourceError.
    TypeResolver(const Document& document, DeclarationIndex& index);

    // Fills in the kind, and for user types the qualified name and stability. Throws SourceError
    // for an unknown or unsupported type.
    void resolve(TypeReference& type);

  private:
    const Document& document_;
    DeclarationIndex& index_;
    std::map<std::string, std::string> imported_;  // simple name to qualified name
};

}  // namespace aidl_ndk_generator
