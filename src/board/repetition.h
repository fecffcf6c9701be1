// Repetitions of a position, told by the keys in its history.
#pragma once

#include <algorithm>

#include "board/position.h"

// The fifty-move clock, in plies: where it makes a draw, and below which no position can have come back.
constexpr int FIFTY_MOVES = 100;
constexpr int FIRST_REPETITION = 4;

// The last entry, at most `from` and in steps of two plies, whose position equals this one since the last irreversible
// move; -1 when there is none.
inline int last_equal_entry(const Position &pos, int from) {
    const MoveHistory &history = *pos.history;
    const int oldest = std::max(history.undo_count - pos.fifty, 0);
    for (int i = from; i >= oldest; i -= 2)
        if (history.undo[i].key == pos.key) return i;
    return -1;
}

inline int last_repetition(const Position &pos) {
    return last_equal_entry(pos, pos.history->undo_count - FIRST_REPETITION);
}

// How many earlier positions since the last irreversible move equal this one, looking back 4, 6, 8 ... plies.
int count_repetitions(const Position &pos);

// Whether the search takes the position for a draw: one earlier occurrence at or after the root, whose entry in the history
// is `root_entry`, or two anywhere.
inline bool is_draw_by_repetition(const Position &pos, int root_entry) {
    const int last = last_repetition(pos);
    return last >= 0 && (last >= root_entry || last_equal_entry(pos, last - 2) >= 0);
}
