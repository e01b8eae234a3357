// aidl_ndk_generator: reads the AIDL subset this project uses and writes NDK-backend C++ for it,
// or the canonical API dump that freezes an interface version.

#include "CommandLine.h"
#include "Generator.h"
#include "OutputWriter.h"
#include "SourceError.h"

#include <iostream>

int main(int argc, char** argv) {
    using namespace aidl_ndk_generator;
    try {
        Options options = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
        writeGeneratedFiles(options.output_directory, generate(options));
        return 0;
    } catch (const UsageError& error) {
        std::cerr << "aidl_ndk_generator: " << error.what() << "\n" << usageText();
        return 2;
    } catch (const SourceError& error) {
        std::cerr << error.what() << "\n";
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "aidl_ndk_generator: " << error.what() << "\n";
        return 1;
    }
}
