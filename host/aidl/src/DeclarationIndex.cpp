#include "DeclarationIndex.h"

#include "FileText.h"
#include "Names.h"
#include "Parser.h"
#include "SourceError.h"

namespace aidl_ndk_generator {

DeclarationIndex::DeclarationIndex(std::vector<std::string> import_roots)
    : import_roots_(std::move(import_roots)) {}

void DeclarationIndex::addInput(const Document& document) {
    auto inserted = inputs_.emplace(document.qualifiedName(), &document);
    if (!inserted.second) {
        throw SourceError(
                document.path, document.declaration.line,
                document.qualifiedName() + " is also declared in " + inserted.first->second->path);
    }
}

const Document* DeclarationIndex::find(const std::string& qualified_name) {
    auto input = inputs_.find(qualified_name);
    if (input != inputs_.end()) return input->second;
    auto known = loaded_.find(qualified_name);
    if (known != loaded_.end()) return known->second.get();

    std::unique_ptr<Document> document;
    for (const std::string& root : import_roots_) {
        std::string path = root + "/" + packagePath(qualified_name) + ".aidl";
        if (!isRegularFile(path)) continue;
        document = std::make_unique<Document>(parseFile(path));
        if (document->qualifiedName() != qualified_name) {
            throw SourceError(path, document->declaration.line,
                              "declares " + document->qualifiedName() + ", but its path says " +
                                      qualified_name);
        }
        break;
    }
    const Document* result = document.get();
    loaded_.emplace(qualified_name, std::move(document));
    return result;
}

}  // namespace aidl_ndk_generator
