#include "ServiceState.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "Finding.h"

namespace tessaro_fuzz {

namespace {

// How the dump of a service with nothing filed ends; client session lists and callbacks would
// add indented "pid" lines.
constexpr char kNothingFiled[] =
        "  sessions: 0\n"
        "  memory entries: 0 (shared: 0)\n"
        "  command buffer entries: 0\n"
        "  command entries: 0\n"
        "  sub-command entries: 0\n"
        "  typed runs in the driver: 0\n"
        "  callbacks: 0\n";

}  // namespace

void checkNothingFiled(aidl::vendor::korvane::hardware::tessaro::dravik::TovanDravik& service) {
    ndk::ScopedFileDescriptor file(memfd_create("dump", MFD_CLOEXEC));
    if (file.get() < 0 || service.dump(file.get(), nullptr, 0) != STATUS_OK) {
        finding("the service's dump could not be taken");
    }
    const off_t size = lseek(file.get(), 0, SEEK_END);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    if (pread(file.get(), text.data(), text.size(), 0) != size) {
        finding("the service's dump could not be read");
    }
    const size_t length = sizeof(kNothingFiled) - 1;
    if (text.size() < length || text.compare(text.size() - length, length, kNothingFiled) != 0) {
        finding("entries left filed after every session was deleted", text);
    }
}

}  // namespace tessaro_fuzz
