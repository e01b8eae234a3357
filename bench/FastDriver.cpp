// A driver that does no work, so that the benchmarks measure the service itself. Its definitions
// take precedence over the reference driver's in the benchmark executable; operations it leaves
// out are never called by these benchmarks.
#include <dravik_mdw.h>
#include <sys/mman.h>

#include <atomic>
#include <cstdint>

namespace {

std::atomic<uintptr_t> next_handle{0x10000};

template <typename Handle>
Handle* newHandle() {
    return reinterpret_cast<Handle*>(next_handle.fetch_add(64));
}

int sharedDescriptor() {
    static const int descriptor = memfd_create("fast-driver", MFD_CLOEXEC);
    return descriptor;
}

}  // namespace

extern "C" {

dravik_session* dravikSession_createInstance(void) {
    return newHandle<dravik_session>();
}
int32_t dravikSession_deleteInstance(dravik_session*) {
    return 0;
}
dravik_mem* dravikSession_memAlloc(dravik_session*, uint32_t, uint32_t, int32_t, int32_t) {
    return newHandle<dravik_mem>();
}
int32_t dravikSession_memFree(dravik_session*, dravik_mem*) {
    return 0;
}
int32_t dravikSession_memUnImport(dravik_session*, dravik_mem*) {
    return 0;
}
int64_t dravikSession_memGetInfoFromHostPtr(dravik_session*, dravik_mem*, int32_t) {
    return sharedDescriptor();
}
int32_t dravikSession_cmdBufFree(dravik_session*, dravik_mem*) {
    return 0;
}
dravik_cmd* dravikSession_createCmd(dravik_session*) {
    return newHandle<dravik_cmd>();
}
int32_t dravikSession_deleteCmd(dravik_session*, dravik_cmd*) {
    return 0;
}
// A run of a trivial command: the service's share of a call is all there is to measure.
int32_t dravikCmd_run(dravik_cmd*) {
    return 0;
}

}  // extern "C"
