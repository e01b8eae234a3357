// The run order build fixes: dependencies first, appendices right after their main where they
// can, creation order otherwise, nothing for a cycle.
#include <gtest/gtest.h>

#include "CommandGraph.h"

namespace dravik::reference {
namespace {

using Order = std::vector<std::size_t>;

TEST(CommandGraphTest, OrdersByDependenciesThenCreation) {
    EXPECT_EQ(runOrder({4, {}, {}}), (Order{0, 1, 2, 3}));
    EXPECT_EQ(runOrder({4, {{3, 0}, {2, 1}}, {}}), (Order{2, 1, 3, 0}));
    EXPECT_EQ(runOrder({5, {{0, 4}, {1, 4}, {4, 2}}, {}}), (Order{0, 1, 3, 4, 2}));
    EXPECT_EQ(runOrder({0, {}, {}}), Order{});
}

TEST(CommandGraphTest, AnAppendixFollowsItsMainWhenNothingElseHoldsItBack) {
    // 0 packs 3: 3 comes right after 0, before 1 and 2.
    EXPECT_EQ(runOrder({4, {{0, 3}}, {{0, 3}}}), (Order{0, 3, 1, 2}));
    // 3 also waits for 2, so it can only follow 2.
    EXPECT_EQ(runOrder({4, {{0, 3}, {2, 3}}, {{0, 3}}}), (Order{0, 1, 2, 3}));
    // Chained packs run as one stretch.
    EXPECT_EQ(runOrder({5, {{1, 4}, {4, 2}}, {{1, 4}, {4, 2}}}), (Order{0, 1, 4, 2, 3}));
}

TEST(CommandGraphTest, ACycleHasNoOrder) {
    EXPECT_FALSE(runOrder({3, {{0, 1}, {1, 2}, {2, 0}}, {}}).has_value());
    EXPECT_FALSE(runOrder({4, {{0, 1}, {2, 3}, {3, 2}}, {}}).has_value());
    EXPECT_FALSE(runOrder({2, {{0, 1}, {1, 0}}, {{0, 1}}}).has_value());
}

}  // namespace
}  // namespace dravik::reference
