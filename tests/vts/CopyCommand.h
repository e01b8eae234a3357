// A command whose run copies one memory into another, so that a case sees through the client's
// own mappings whether a run happened. Its program is written in the reference instruction set;
// a device whose driver runs another one cannot run it, and prepare() then says so.
#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "TovanDravikHalTest.h"

namespace tessaro_vts {

class CopyCommand {
  public:
    static constexpr int32_t kBytes = 4096;

    CopyCommand(ITovanDravik& service, int64_t session, int32_t device_type)
        : service_(service), session_(session), device_type_(device_type) {}

    // Allocates the memories and the command buffer, writes the program, makes and builds the
    // command, and proves one plain run; empty on success, otherwise why the command cannot be
    // made or run on this device.
    std::string prepare();

    int64_t session() const { return session_; }
    int64_t command() const { return command_; }
    int64_t subCommand() const { return sub_command_; }
    int64_t source() const { return source_.mem_id; }
    int64_t destination() const { return destination_.mem_id; }

    // Puts value into every byte of the source and clears the destination, so that a later run
    // is seen in the destination.
    void arm(uint8_t value);
    // Whether every byte of the destination holds value.
    bool destinationHolds(uint8_t value) const;
    // Whether the destination is still all zeros.
    bool destinationUntouched() const { return destinationHolds(0); }

  private:
    std::string allocate(
            ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD* memory,
            std::unique_ptr<Mapping>* mapping);
    std::string writeProgram();

    ITovanDravik& service_;
    const int64_t session_;
    const int32_t device_type_;
    ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD source_;
    ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD destination_;
    std::unique_ptr<Mapping> source_mapping_;
    std::unique_ptr<Mapping> destination_mapping_;
    int64_t command_buffer_ = 0;
    int64_t command_ = 0;
    int64_t sub_command_ = 0;
};

}  // namespace tessaro_vts
