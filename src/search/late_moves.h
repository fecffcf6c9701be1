// Quiet moves that come too late to be searched: which are spared, and how the others leave a list before they are picked
// one by one.
#pragma once

#include "board/checks.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "search/search.h"

// Exchange safety, computed at most once a move.
class Safety {
public:
    Safety(const Position &pos, Move m) : pos_(pos), move_(m) {}
    bool safe() {
        if (state_ == UNKNOWN) state_ = see_ok(pos_, move_) ? SAFE : UNSAFE;
        return state_ == SAFE;
    }

private:
    enum { UNKNOWN, SAFE, UNSAFE } state_ = UNKNOWN;
    const Position &pos_;
    Move move_;
};

inline bool is_quiet(std::uint16_t flags) { return (flags & QUIET_MASK) == 0; }

// Whether late-move pruning spares a move of these flags (MoveFlag), which comes late if it is quiet.
bool is_spared(const Position &pos, int depth, const MoveEntry &entry, std::uint16_t flags, Safety &safety);

// Leaves of a ply's list, from which quiet moves are picked already, only what late-move pruning spares, in the order in
// which it would have been picked. True when a legal move that is gone would have been the last.
bool drop_late_moves(SearchThread &thread, int ply, int depth, const CheckSquares &checks, const Pins &pins);
