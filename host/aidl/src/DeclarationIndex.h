#pragma once

#include "Model.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace aidl_ndk_generator {

// Finds declarations by fully qualified name: first among the files given on the command line,
// then as <root>/<package path>/<Name>.aidl under each import root, in the order given.
class DeclarationIndex {
  public:
    explicit DeclarationIndex(std::vector<std::string> import_roots);

    // Registers a file given on the command line. Throws SourceError when another input already
    // declares the same type.
    void addInput(const Document& document);

    // The declaration's document, or nullptr when no input and no root holds it. A file found
    // under a root is parsed once; throws SourceError when it does not parse or declares another
    // type than its path says.
    const Document* find(const std::string& qualified_name);

  private:
    std::vector<std::string> import_roots_;
    std::map<std::string, const Document*> inputs_;
    std::map<std::string, std::unique_ptr<Document>> loaded_;  // nullptr records a miss
};

}  // namespace aidl_ndk_generator
