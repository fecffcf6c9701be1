#include "search/late_moves.h"

#include <algorithm>

#include "search/picker.h"
#include "search/threat.h"

namespace {

// What has been captured by a move that is not searched, as its entry says for the time being.
constexpr auto DROPPED = static_cast<Piece>(7);

}  // namespace

bool is_spared(const Position &pos, int depth, const MoveEntry &entry, std::uint16_t flags, Safety &safety) {
    if (is_quiet(flags)) return is_threat(pos, entry) && safety.safe();
    return depth != 1 || (flags & MOVE_DISCOVERS) != 0 || safety.safe();
}

bool drop_late_moves(SearchThread &thread, int ply, int depth, const CheckSquares &checks, const Pins &pins) {
    const Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    const auto can_come = [&](const MoveEntry &entry) {
        return entry.move != record.hash_move && is_legal(pos, pos.side, entry.move, pins);
    };
    assert(record.pick_stage == PickStage::SORTED || record.pick_stage == PickStage::UNSORTED);
    int left = 0;
    for (MoveEntry *entry = record.current + 1; entry != record.end; ++entry) {
        Safety safety(pos, entry->move);
        if (is_spared(pos, depth, *entry, classify_move(pos, pos.side, *entry, checks), safety) && can_come(*entry))
            ++left;
        else
            entry->captured = DROPPED;
    }

    // The others decide which of equals comes first, so all are sorted up to the last that stays.
    MoveEntry *end = record.current + 1;
    MoveEntry *next = end;
    for (; left > 0; ++next) {
        if (record.pick_stage == PickStage::SORTED) pick_sorted(thread, record, next);
        if (next->captured == DROPPED) continue;
        *thread.score_of(end) = *thread.score_of(next);
        *end++ = *next;
        --left;
    }
    const bool last_dropped = std::any_of(next, record.end, can_come);
    record.pick_stage = PickStage::UNSORTED;
    close_list(thread, ply, end);
    return last_dropped;
}
