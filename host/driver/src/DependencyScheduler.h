// Executes a command's sub-commands for one run: each after every sub-command it depends on, those
// free to run side by side on up to max_threads threads (the caller's among them), the earliest in
// run order first.
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace dravik::reference {

// order: the run order of the sub-commands 0..order.size()-1, consistent with edges, a set of
// (before, after). task(index) must not throw. Returns once every task has returned.
void runInDependencyOrder(const std::vector<std::size_t>& order,
                          const std::set<std::pair<std::size_t, std::size_t>>& edges,
                          std::size_t max_threads, const std::function<void(std::size_t)>& task);

}  // namespace dravik::reference
