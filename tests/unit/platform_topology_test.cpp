#include "platform/topology.h"

#include <gtest/gtest.h>

TEST(Topology, CpuLists) {
    const struct {
        const char *text;
        std::vector<int> cpus;
    } cases[] = {
        {"", {}}, {"0", {0}}, {"0-3", {0, 1, 2, 3}}, {"0-1,8,10-11", {0, 1, 8, 10, 11}}, {"x,2,,4-3,5", {2, 5}},
    };
    for (const auto &c : cases) EXPECT_EQ(parse_cpu_list(c.text), c.cpus) << c.text;
}

// Two nodes of three cores with two threads each: the cores of node 0, those of node 1, then the siblings in turn.
TEST(Topology, PlacementFillsCoresBeforeSiblings) {
    EXPECT_EQ(placement_list({2, 6, 12}), (std::vector<int>{0, 0, 0, 1, 1, 1, 0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(placement_list({2, 5, 5}), (std::vector<int>{0, 0, 1, 1}));
    EXPECT_TRUE(placement_list({0, 4, 8}).empty());
    EXPECT_EQ(numa_node_for_thread({4, 7}, 2), -1);
}
