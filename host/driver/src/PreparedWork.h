// A sub-command's work, ready to execute: the instructions of its command buffers, in order,
// decoded and with every operand resolved to host memory. Preparing checks everything, so
// executing cannot fail.
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "AddressResolution.h"
#include "MemoryObject.h"
#include "ProgramDecoder.h"

namespace dravik::reference {

class PreparedWork {
  public:
    // Throws DriverError as decodeProgram and SessionMemoryMap::resolve do. The host addresses stay
    // valid while memory lives.
    static PreparedWork prepare(const std::vector<std::shared_ptr<MemoryObject>>& command_buffers,
                                const SessionMemoryMap& memory);

    void execute() const;

  private:
    struct Step {
        DecodedInstruction instruction;
        std::array<uint8_t*, 4> operands{};  // host addresses, as instruction.operands
    };

    std::vector<Step> steps_;
};

}  // namespace dravik::reference
