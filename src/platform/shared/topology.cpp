#include "platform/topology.h"

#include <charconv>

std::vector<int> parse_cpu_list(std::string_view text) {
    constexpr int MOST_CPUS = 1024;
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
        for (int cpu = first; cpu <= last && cpu < MOST_CPUS; ++cpu) cpus.push_back(cpu);
    }
    return cpus;
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
