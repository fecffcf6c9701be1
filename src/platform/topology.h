// Processor topology and thread placement, from what the system publishes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Processors of the machine, as far as the system tells.
struct Topology {
    int nodes = 0;    // NUMA nodes
    int cores = 0;    // physical cores
    int logical = 0;  // logical processors
};

// Node for each thread in order: cores / nodes entries for node 0, node 1, ..., then one for each remaining logical
// processor (the siblings of simultaneous multithreading), round-robin over the nodes. Empty without a node.
std::vector<int> placement_list(const Topology &topology);

// Reads the topology; all zero when the system does not publish it.
Topology read_topology();

// Parses a processor list such as "0-3,8,10-11", as Linux writes them; what does not parse is skipped.
std::vector<int> parse_cpu_list(std::string_view text);

// Node of thread `index`, or -1 when the placement list does not reach so far.
int numa_node_for_thread(const std::vector<int> &placement, int index);

// Binds the calling thread to the processors of a node. False (and nothing changed) when that is not possible.
bool bind_to_node(int node);
