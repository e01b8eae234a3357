// The suite's entry point. Started with the dying client's argument, the program is that client
// instead of the suite. --every-case turns every skip into a failure: where the driver is known to
// support every case, none may be skipped.
#include <android/binder_process.h>
#include <gtest/gtest.h>

#include <cstring>

#include "DyingClient.h"
#include "TovanDravikHalTest.h"

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], tessaro_vts::DyingClient::kModeArgument) == 0) {
        tessaro_vts::DyingClient::run(argv[2]);
    }
    ::testing::InitGoogleTest(&argc, argv);
    for (int index = 1; index < argc; ++index) {
        if (std::strcmp(argv[index], "--every-case") == 0) tessaro_vts::requireEveryCase();
    }
    ABinderProcess_setThreadPoolMaxThreadCount(1);
    ABinderProcess_startThreadPool();
    return RUN_ALL_TESTS();
}
