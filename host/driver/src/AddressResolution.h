// Device addresses to host addresses for one run: the memory objects live in the command's session
// when the run starts, held until the run is over so that a concurrent free cannot unmap memory
// under it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "MemoryObject.h"
#include "ProgramDecoder.h"

namespace dravik::reference {

class SessionMemoryMap {
  public:
    explicit SessionMemoryMap(const std::vector<std::shared_ptr<MemoryObject>>& objects);

    // The host address of range, which must lie wholly inside one of the objects (else
    // DriverError(EFAULT)); fp32 ranges must start at a multiple of 4 bytes in it (else EINVAL).
    // An absent range (0 bytes) answers null.
    uint8_t* resolve(const OperandRange& range) const;

  private:
    std::map<uint64_t, std::shared_ptr<MemoryObject>> by_address_;  // device address -> object
};

}  // namespace dravik::reference
