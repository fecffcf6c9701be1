#include "book/move_table.h"

#include <algorithm>
#include <span>

void MoveTable::count(std::uint64_t key, Move move, Result result) {
    if (waiting_count_ == waiting_.size()) count_waiting();
    waiting_[waiting_count_++] = {key, result, move};
    __builtin_prefetch(&slots_[home(key, move)]);
}

std::size_t MoveTable::size() {
    count_waiting();
    return records_.size();
}

std::vector<MoveRecord> MoveTable::take_sorted(bool (*is_kept)(const MoveRecord &record)) {
    count_waiting();
    slots_ = {};
    std::erase_if(records_, [is_kept](const MoveRecord &record) { return !is_kept(record); });
    std::stable_sort(records_.begin(), records_.end(),
                     [](const MoveRecord &a, const MoveRecord &b) { return a.key < b.key; });
    return std::move(records_);
}

void MoveTable::count_waiting() {
    const std::span<const Waiting> waiting(waiting_.data(), waiting_count_);
    for (const Waiting &entry : waiting)
        if (const std::uint32_t slot = slots_[home(entry.key, entry.move)]; slot != 0)
            __builtin_prefetch(&records_[slot - 1], 1);
    for (const Waiting &entry : waiting) ++(find_or_add(entry.key, entry.move).*entry.result);
    waiting_count_ = 0;
}

MoveRecord &MoveTable::find_or_add(std::uint64_t key, Move move) {
    if (2 * records_.size() >= slots_.size()) grow();
    std::uint32_t &slot = find_slot(key, move);
    if (slot == 0) {
        records_.push_back({key, 0, 0, 0, move});
        slot = static_cast<std::uint32_t>(records_.size());
    }
    return records_[slot - 1];
}

std::size_t MoveTable::home(std::uint64_t key, Move move) const {
    constexpr std::uint64_t GOLDEN_RATIO = 0x9E3779B97F4A7C15;  // spreads the moves of one position
    return (key ^ move * GOLDEN_RATIO) >> 20 & (slots_.size() - 1);
}

// Slot of the record, or the empty one where it belongs. A slot holds the record's index plus one.
std::uint32_t &MoveTable::find_slot(std::uint64_t key, Move move) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = home(key, move);
    while (slots_[i] != 0 && (records_[slots_[i] - 1].key != key || records_[slots_[i] - 1].move != move))
        i = (i + 1) & mask;
    return slots_[i];
}

void MoveTable::grow() {
    const std::size_t size = 2 * slots_.size();
    slots_ = {};  // not while both are there
    slots_.resize(size);
    for (std::size_t i = 0; i < records_.size(); ++i)
        find_slot(records_[i].key, records_[i].move) = static_cast<std::uint32_t>(i + 1);
}
