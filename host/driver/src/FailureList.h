// Parsing of the failure list that DRAVIK_MDW_FAIL holds: "operation[:errno],operation[:errno]...".
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "Operation.h"

namespace dravik::reference {

struct FailureList {
    // The errno each operation fails with; 0 where it does not fail.
    std::array<int, kOperationCount> errors{};
    // The entries that named no operation or no errno, as written.
    std::vector<std::string> ignored_entries;
};

FailureList parseFailureList(std::string_view text);

}  // namespace dravik::reference
