#include "platform/topology.h"

#include <fstream>
#include <set>

#include <sched.h>

namespace {

constexpr std::string_view SYSTEM = "/sys/devices/system/";

// First line of a file under SYSTEM; empty when it cannot be read.
std::string read_line(const std::string &name) {
    std::ifstream file(std::string(SYSTEM) + name);
    std::string line;
    std::getline(file, line);
    return line;
}

}  // namespace

Topology read_topology() {
    Topology topology;
    topology.nodes = static_cast<int>(parse_cpu_list(read_line("node/online")).size());
    std::set<std::string> cores;
    for (const int cpu : parse_cpu_list(read_line("cpu/online"))) {
        ++topology.logical;
        // The processors of one core name the same sibling list.
        const std::string siblings = read_line("cpu/cpu" + std::to_string(cpu) + "/topology/thread_siblings_list");
        cores.insert(siblings.empty() ? std::to_string(cpu) : siblings);
    }
    topology.cores = static_cast<int>(cores.size());
    return topology;
}

bool bind_to_node(int node) {
    cpu_set_t set;
    CPU_ZERO(&set);
    const std::vector<int> cpus = parse_cpu_list(read_line("node/node" + std::to_string(node) + "/cpulist"));
    for (const int cpu : cpus) CPU_SET(static_cast<std::size_t>(cpu), &set);
    return !cpus.empty() && sched_setaffinity(0, sizeof set, &set) == 0;
}
