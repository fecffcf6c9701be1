#include "book/move_table.h"

#include <algorithm>

MoveRecord &MoveTable::find_or_add(std::uint64_t key, Move move) {
    if (2 * records_.size() >= slots_.size()) grow();
    std::uint32_t &slot = find_slot(key, move);
    if (slot == 0) {
        records_.push_back({key, 0, 0, 0, move});
        slot = static_cast<std::uint32_t>(records_.size());
    }
    return records_[slot - 1];
}

std::vector<MoveRecord> MoveTable::take_sorted() {
    slots_ = {};
    std::stable_sort(records_.begin(), records_.end(),
                     [](const MoveRecord &a, const MoveRecord &b) { return a.key < b.key; });
    return std::move(records_);
}

// Slot of the record, or the empty one where it belongs. A slot holds the record's index plus one.
std::uint32_t &MoveTable::find_slot(std::uint64_t key, Move move) {
    constexpr std::uint64_t GOLDEN_RATIO = 0x9E3779B97F4A7C15;  // spreads the moves of one position
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = (key ^ move * GOLDEN_RATIO) >> 20 & mask;
    while (slots_[i] != 0 && (records_[slots_[i] - 1].key != key || records_[slots_[i] - 1].move != move))
        i = (i + 1) & mask;
    return slots_[i];
}

void MoveTable::grow() {
    slots_.assign(2 * slots_.size(), 0);
    for (std::size_t i = 0; i < records_.size(); ++i)
        find_slot(records_[i].key, records_[i].move) = static_cast<std::uint32_t>(i + 1);
}
