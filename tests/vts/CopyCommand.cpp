#include "CopyCommand.h"

#include <dravik_reference_program.h>

#include <algorithm>
#include <cstring>

namespace tessaro_vts {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;

namespace {

// The host-pointer query kind that answers a memory's device address in the reference driver.
constexpr int32_t kDeviceAddressInfoKind = 3;

std::string failed(const std::string& call, int64_t answer) {
    return call + " answered " + std::to_string(answer);
}

}  // namespace

std::string CopyCommand::allocate(DRAVIK_MEMINFO_HD* memory, std::unique_ptr<Mapping>* mapping) {
    const ndk::ScopedAStatus status =
            service_.session_memAlloc(session_, kBytes, 0, kMemTypeWithDescriptor, 0, memory);
    if (!status.isOk()) return "session_memAlloc failed: " + status.getDescription();
    if (memory->fds.size() != 1) return "session_memAlloc handed out no descriptor";
    *mapping = std::make_unique<Mapping>(memory->fds[0].get(), kBytes);
    return (*mapping)->valid() ? "" : "the memory's descriptor cannot be mapped";
}

std::string CopyCommand::writeProgram() {
    int64_t source_address = 0;
    int64_t destination_address = 0;
    (void)service_.session_memGetInfoFromHostPtr(session_, source_.mem_id, kDeviceAddressInfoKind,
                                                 &source_address);
    (void)service_.session_memGetInfoFromHostPtr(session_, destination_.mem_id,
                                                 kDeviceAddressInfoKind, &destination_address);
    if (source_address == 0 || destination_address == 0) {
        return "the driver tells no device address of memory (host-pointer query kind 3), so no "
               "program of the reference instruction set can name it";
    }
    DRAVIK_CMDBUF_INFO_HD buffer;
    const ndk::ScopedAStatus status = service_.session_cmdBufAlloc(session_, kBytes, 0, &buffer);
    if (!status.isOk() || buffer.fds.size() != 1) return "session_cmdBufAlloc failed";
    command_buffer_ = buffer.cmd_buf_id;
    const Mapping mapping(buffer.fds[0].get(), kBytes);
    dravik_reference::Program program;
    program.copy(static_cast<uint64_t>(source_address), static_cast<uint64_t>(destination_address),
                 kBytes);
    if (!mapping.valid() || !program.copyTo(mapping.bytes(), kBytes)) {
        return "the command buffer cannot take the program";
    }
    return "";
}

std::string CopyCommand::prepare() {
    if (device_type_ == 0) return "the driver reports no device of any accepted type";
    for (std::string reason : {allocate(&source_, &source_mapping_),
                               allocate(&destination_, &destination_mapping_), writeProgram()}) {
        if (!reason.empty()) return reason;
    }
    if (!service_.session_createCmd(session_, &command_).isOk()) return "session_createCmd failed";
    if (!service_.cmd_createSubcmd(session_, command_, device_type_, &sub_command_).isOk()) {
        return "cmd_createSubcmd failed";
    }
    int32_t ret = 0;
    (void)service_.subCmd_addCmdBuf(session_, sub_command_, command_buffer_, 0, &ret);
    if (ret != 0) return failed("subCmd_addCmdBuf", ret);
    (void)service_.cmd_build(session_, command_, &ret);
    if (ret != 0) return failed("cmd_build of the reference program", ret);
    arm(0x5a);
    (void)service_.cmd_run(session_, command_, &ret);
    if (ret != 0) return failed("cmd_run of the reference program", ret);
    if (!destinationHolds(0x5a)) return "a run of the reference program copied nothing";
    return "";
}

void CopyCommand::arm(uint8_t value) {
    std::memset(source_mapping_->bytes(), value, kBytes);
    std::memset(destination_mapping_->bytes(), 0, kBytes);
    // What the client wrote must reach the device on a device whose caches are not coherent.
    int32_t ignored = 0;
    (void)service_.session_memFlush(session_, source_.mem_id, &ignored);
    (void)service_.session_memFlush(session_, destination_.mem_id, &ignored);
}

bool CopyCommand::destinationHolds(uint8_t value) const {
    int32_t ignored = 0;
    (void)service_.session_memInvalidate(session_, destination_.mem_id, &ignored);
    const uint8_t* bytes = destination_mapping_->bytes();
    return std::all_of(bytes, bytes + kBytes, [value](uint8_t byte) { return byte == value; });
}

}  // namespace tessaro_vts
