// A client that dies with everything it made: it registers its callback, fills <sessions>
// sessions with <objects> memory objects each, announces "ready", and waits to be killed.
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;

class Callback : public BnTovanDravikCallback {};

// Private memory (mem_type 1): no descriptor is sent back, so the client's descriptor table stays
// small however many objects it files.
std::string fill(ITovanDravik& service, int sessions, int objects) {
    for (int made = 0; made < sessions; ++made) {
        int64_t session = 0;
        if (!service.session_createInstance(&session).isOk()) return "error session_createInstance";
        for (int object = 0; object < objects; ++object) {
            DRAVIK_MEMINFO_HD memory;
            if (!service.session_memAlloc(session, 4096, 0, 1, 0, &memory).isOk() ||
                memory.mem_id == 0) {
                return "error session_memAlloc";
            }
        }
    }
    return "ready";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: bench_crash_client SESSIONS OBJECTS" << std::endl;
        return 2;
    }
    ABinderProcess_startThreadPool();
    const std::string instance = std::string(ITovanDravik::descriptor) + "/default";
    ndk::SpAIBinder binder(AServiceManager_waitForService(instance.c_str()));
    const std::shared_ptr<ITovanDravik> service = ITovanDravik::fromBinder(binder);
    const auto callback = ndk::SharedRefBase::make<Callback>();
    if (service == nullptr || !service->setCallback(callback).isOk()) {
        std::cout << "error no service" << std::endl;
        return 1;
    }
    std::cout << fill(*service, std::atoi(argv[1]), std::atoi(argv[2])) << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    return 0;
}
