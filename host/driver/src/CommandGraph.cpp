#include "CommandGraph.h"

namespace dravik::reference {

std::optional<std::vector<std::size_t>> runOrder(const DependencyGraph& graph) {
    std::vector<std::vector<std::size_t>> successors(graph.count);
    std::vector<std::size_t> waiting_on(graph.count, 0);
    for (const auto& [before, after] : graph.edges) {
        successors[before].push_back(after);
        ++waiting_on[after];
    }
    // Of the sub-commands free to run, the earliest created goes first.
    std::set<std::size_t> ready;
    for (std::size_t index = 0; index < graph.count; ++index) {
        if (waiting_on[index] == 0) ready.insert(index);
    }
    std::vector<std::size_t> order;
    order.reserve(graph.count);
    std::optional<std::size_t> next;
    while (next || !ready.empty()) {
        if (!next) next = *ready.begin();
        ready.erase(*next);
        order.push_back(*next);
        for (const std::size_t after : successors[*next]) {
            if (--waiting_on[after] == 0) ready.insert(after);
        }
        const auto pack = graph.packs.find(*next);
        next.reset();
        if (pack != graph.packs.end() && ready.count(pack->second) != 0) next = pack->second;
    }
    // Sub-commands on a cycle never become free.
    if (order.size() != graph.count) return std::nullopt;
    return order;
}

}  // namespace dravik::reference
