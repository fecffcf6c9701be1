#include "platform/topology.h"

#include <charconv>
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

std::vector<int> parse_cpu_list(std::string_view text) {
    std::vector<int> cpus;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        const std::string_view range = text.substr(0, comma);
        text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
        int first = 0;
        const auto [end, error] = std::from_chars(range.data(), range.data() + range.size(), first);
        if (error != std::errc{}) continue;
        int last = first;
        if (end != range.data() + range.size() && *end == '-')
            std::from_chars(end + 1, range.data() + range.size(), last);
        for (int cpu = first; cpu <= last && cpu < CPU_SETSIZE; ++cpu) cpus.push_back(cpu);
    }
    return cpus;
}

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

std::vector<int> placement_list(const Topology &topology) {
    std::vector<int> list;
    if (topology.nodes <= 0) return list;
    for (int node = 0; node < topology.nodes; ++node)
        list.insert(list.end(), static_cast<std::size_t>(topology.cores / topology.nodes), node);
    for (int j = 0; j < topology.logical - topology.cores; ++j) list.push_back(j % topology.nodes);
    return list;
}

int numa_node_for_thread(const std::vector<int> &placement, int index) {
    return index >= 0 && index < static_cast<int>(placement.size()) ? placement[index] : -1;
}

bool bind_to_node(int node) {
    cpu_set_t set;
    CPU_ZERO(&set);
    const std::vector<int> cpus = parse_cpu_list(read_line("node/node" + std::to_string(node) + "/cpulist"));
    for (const int cpu : cpus) CPU_SET(static_cast<std::size_t>(cpu), &set);
    return !cpus.empty() && sched_setaffinity(0, sizeof set, &set) == 0;
}
