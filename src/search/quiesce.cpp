// Quiescence search: captures (and, near the horizon, checks) until the position is quiet.
#include <algorithm>

#include "board/checks.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "search/picker.h"
#include "search/search.h"

namespace {

constexpr std::array<int, 8> DELTA_VALUE = {0, 100, 360, 360, 560, 1100, 9999, 0};
constexpr int LAST_PIECES = 4;             // non-pawn units that are next to nothing
constexpr int DELTA_NEVER_PRUNED = 20000;  // checks
constexpr int DELTA_LAST_PIECES = 5000;    // captures that leave the opponent next to nothing
constexpr int DELTA_FAR_PAWN = 1500;       // pawns to the 7th or 8th rank
constexpr int RAZORING_MARGIN = 450;
constexpr int DELTA_MARGIN = 150;
constexpr int RECAPTURE_DEPTH = -3;  // below this depth only recaptures

// What a move that gives no check could win at most, in centipawns, before the margin.
int delta_value(const Position &pos, Colour side, const MoveEntry &entry) {
    const PieceType captured = type_of(entry.captured);
    if (captured != NO_TYPE) {
        const Colour enemy = opponent(side);
        const int pawns = material_count(pos.material[enemy], PAWN) - (captured == PAWN ? 1 : 0);
        if (pawns == 0 && pos.nonpawn_material[enemy] - NONPAWN_UNIT[captured] < LAST_PIECES) return DELTA_LAST_PIECES;
    }
    if (type_of(entry.piece) == PAWN && relative_rank(side, to_square(entry.move)) >= 6) return DELTA_FAR_PAWN;
    return DELTA_VALUE[captured];
}

// Whether a move cannot lift the score above `limit`. Checks are looked for only where it matters.
bool is_futile(const Position &pos, Colour side, const MoveEntry &entry, int stand, int limit) {
    if (stand + delta_value(pos, side, entry) > limit) return false;
    return gives_check(pos, side, entry) == 0 || stand + DELTA_NEVER_PRUNED <= limit;
}

bool loses_exchange(const Position &pos, const MoveEntry &entry) {
    const int mover = type_of(entry.piece);
    if (PIECE_RANK[mover] <= PIECE_RANK[type_of(entry.captured)] || mover == KING ||
        is_en_passant_capture(pos, entry.move))
        return false;
    return !see_at_least(pos, from_square(entry.move), to_square(entry.move), -SEE_TOLERANCE);
}

}  // namespace

int quiesce(SearchThread &thread, int ply, int depth, int alpha, int beta, NodeType type, Line &pv) {
    SearchShared &shared = *thread.shared;
    Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    const Colour side = pos.side;

    // Stand pat
    const int stand = record.static_eval;
    if (stand >= beta) return beta;
    record.moves_searched = 0;
    int best = std::max(alpha, stand);
    const int first_best = best;
    Move best_move = NO_MOVE;

    const int margin = depth >= 1 ? RAZORING_MARGIN : DELTA_MARGIN;
    start_picking(record, depth >= 0 ? PickKind::CAPTURES_AND_CHECKS : PickKind::CAPTURES);
    const Square last_target = to_square(thread.history.current_move);
    const Pins pins(pos, side, false);
    Line child;
    while (const MoveEntry *entry = pick_next(thread, ply)) {
        if (depth < RECAPTURE_DEPTH && to_square(entry->move) != last_target) continue;
        if (is_futile(pos, side, *entry, stand, best - margin)) continue;
        prefetch_child(thread, entry->move, depth - 1);
        if (loses_exchange(pos, *entry)) continue;
        if (is_null(entry) || !is_legal(pos, side, entry->move, pins)) continue;

        record.gives_no_check = false;
        make_move(pos, entry->move);
        const int score = -search_node(thread, ply + 1, depth - 1, -beta, -best, static_cast<NodeType>(-type), child);
        unmake_move(pos);
        if (shared.stop_flag != STOP_NONE) return 0;
        ++record.moves_searched;
        if (score > best) {
            best = score;
            best_move = pv[ply] = entry->move;
            pv[ply + 1] = NO_MOVE;
            if (score >= beta) break;
            append_line(pv, ply, child);
        }
    }
    if (best >= beta && depth >= 0) tt_store(shared.table, pos, ply, depth, best_move, best, first_best, beta);
    return best;
}
