#include "platform/topology.h"

#include "platform/windows/system.h"

#include <cstddef>

namespace {

using GetInformation = BOOL(WINAPI *)(LOGICAL_PROCESSOR_RELATIONSHIP, SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX *,
                                      DWORD *);
using GetNodeMask = BOOL(WINAPI *)(USHORT, GROUP_AFFINITY *);
using SetAffinity = BOOL(WINAPI *)(HANDLE, const GROUP_AFFINITY *, GROUP_AFFINITY *);

}  // namespace

Topology read_topology() {
    Topology topology;
    const auto information = system_procedure<GetInformation>("GetLogicalProcessorInformationEx");
    DWORD size = 0;
    if (information == nullptr) return topology;
    information(RelationAll, nullptr, &size);
    std::vector<std::byte> buffer(size);
    auto *records = reinterpret_cast<SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX *>(buffer.data());
    if (size == 0 || information(RelationAll, records, &size) == 0) return topology;
    for (DWORD at = 0; at < size;) {
        const auto *record = reinterpret_cast<const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX *>(buffer.data() + at);
        if (record->Relationship == RelationNumaNode) ++topology.nodes;
        if (record->Relationship == RelationProcessorCore) {
            ++topology.cores;
            topology.logical += record->Processor.Flags == LTP_PC_SMT ? 2 : 1;
        }
        at += record->Size;
    }
    return topology;
}

bool bind_to_node(int node) {
    const auto node_mask = system_procedure<GetNodeMask>("GetNumaNodeProcessorMaskEx");
    const auto set_affinity = system_procedure<SetAffinity>("SetThreadGroupAffinity");
    GROUP_AFFINITY processors{};
    return node_mask != nullptr && set_affinity != nullptr && node_mask(static_cast<USHORT>(node), &processors) != 0 &&
           set_affinity(GetCurrentThread(), &processors, nullptr) != 0;
}
