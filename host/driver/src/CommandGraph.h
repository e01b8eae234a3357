// The run order of a command's sub-commands: every dependency satisfied, a pack's appendix right
// after its main when nothing else holds it back, otherwise creation order.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace dravik::reference {

struct DependencyGraph {
    // Sub-commands are numbered 0..count-1 in creation order.
    std::size_t count = 0;
    // (before, after): `after` runs after `before`. Packs are edges too.
    std::set<std::pair<std::size_t, std::size_t>> edges;
    // main -> its appendix.
    std::map<std::size_t, std::size_t> packs;
};

// Empty when the edges form a cycle.
std::optional<std::vector<std::size_t>> runOrder(const DependencyGraph& graph);

}  // namespace dravik::reference
