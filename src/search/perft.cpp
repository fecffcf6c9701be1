#include "board/attacks.h"
#include "search/picker.h"
#include "search/search.h"

void perft(SearchThread &thread, Colour side, int ply, int depth) {
    Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    record.checker = static_cast<std::uint8_t>(least_attacker(pos, pos.king_square[side], 1 - side, pos.occupied()));
    record.in_check = record.checker != NO_SQUARE;
    record.hash_move = NO_MOVE;
    record.pick_stage = PICK_FULL;
    while (const MoveEntry *entry = pick_next(thread)) {
        if (is_null(entry) || !is_legal(pos, side, entry->move)) continue;
        if (depth == 1) {
            ++thread.nodes;
            continue;
        }
        make_move(pos, entry->move);
        perft(thread, 1 - side, ply + 1, depth - 1);
        unmake_move(pos);
    }
}
