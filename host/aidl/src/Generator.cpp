#include "Generator.h"

#include "ApiDumpEmitter.h"
#include "DeclarationIndex.h"
#include "InterfaceEmitter.h"
#include "Parser.h"
#include "RecordEmitter.h"
#include "Validator.h"

#include <deque>

namespace aidl_ndk_generator {
namespace {

void emitCode(const Document& document, const InterfaceVersion& version,
              std::vector<GeneratedFile>& files) {
    if (document.declaration.kind == DeclarationKind::Record) {
        files.push_back(emitRecordHeader(document));
        files.push_back(emitRecordSource(document));
        return;
    }
    files.push_back(emitInterfaceHeader(document, version));
    files.push_back(emitServerHeader(document));
    files.push_back(emitProxyHeader(document));
    files.push_back(emitInterfaceSource(document));
}

}  // namespace

std::vector<GeneratedFile> generate(const Options& options) {
    // A deque keeps each document at its address while the index points at it.
    std::deque<Document> documents;
    for (const std::string& input : options.inputs) documents.push_back(parseFile(input));
    DeclarationIndex index(options.import_roots);
    for (const Document& document : documents) index.addInput(document);
    for (Document& document : documents) validateDocument(document, index);

    InterfaceVersion version{options.version, options.hash};
    std::vector<GeneratedFile> files;
    for (const Document& document : documents) {
        if (options.dump_api) {
            files.push_back(emitApiDump(document));
        } else {
            emitCode(document, version, files);
        }
    }
    return files;
}

}  // namespace aidl_ndk_generator
