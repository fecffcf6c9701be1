// The move loop of a node.
#include <algorithm>

#include "board/attacks.h"
#include "board/checks.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "search/late_moves.h"
#include "search/picker.h"
#include "search/search.h"

namespace {

// Late-move pruning and reduction
constexpr int LMP_SCORE_SHARE = 4;     // ordering score for one more move that is searched
constexpr int LMR_LAST = 31;           // end of the reduction tables, depths and moves
constexpr int LMR_GOOD_SCORE = 31;     // ordering score beyond which a move is reduced less
constexpr int LMR_FORCING_LIMIT = 2;   // captures are not reduced more than this,
constexpr int LMR_LOUD_LIMIT = 3;      // other moves that are not quiet by one ply more
constexpr int MATED_SOON = MATE - 11;  // until a score shows that no mate is near, moves are searched in full

// Ordering tables: an entry moves towards an end of its range by this share of the distance and of the depth.
constexpr int HISTORY_GAIN = 16;
constexpr int HISTORY_LOSS = 8;
constexpr int HISTORY_UNIT = 2048;
constexpr int HISTORY_DEEPEST = 8;

// Late-move pruning: whether the move is worth searching at all. Once a quiet move has come late, so do all that follow,
// since their scores are no higher.
bool survives_late_move_pruning(const SearchThread &thread, int depth, const PlyRecord &record, const MoveEntry &entry,
                                int score, Safety &safety, bool &late) {
    if (is_quiet(record.move_flags)) {
        const int count = thread.shared->params.LMP_count[depth] + score / LMP_SCORE_SHARE;
        late = record.moves_searched >= count;
        if (!late) return safety.safe();
    }
    return is_spared(thread.position, depth, entry, record.move_flags, safety);
}

// Late-move reduction in plies.
int late_move_reduction(const SearchParams &params, const PlyRecord &record, const PlyRecord &parent, int depth,
                        NodeType type, int score, Safety &safety) {
    const int n = std::min<int>(record.moves_searched, LMR_LAST);
    const int d = std::min(depth, LMR_LAST);
    int reduction = type == PV_NODE ? params.LMR_pv[d][n] : params.LMR_nonpv[d][n];
    if (reduction == 0) {
        reduction = safety.safe() ? 0 : 1;
    } else {
        if (score > LMR_GOOD_SCORE || reduction <= parent.reduction) --reduction;
        reduction += safety.safe() ? 0 : 1;
        if (reduction > LMR_FORCING_LIMIT && !is_quiet(record.move_flags))
            reduction = (record.move_flags & MOVE_CAPTURES) != 0 ? LMR_FORCING_LIMIT : LMR_LOUD_LIMIT;
    }
    return d - reduction < 1 ? d - 1 : reduction;
}

// Raises or lowers the history of a quiet move that has been searched.
void update_history(OrderingTables &tables, PieceType previous_type, const MoveEntry &entry, int depth,
                    bool failed_low) {
    const Square to = to_square(entry.move);
    const int weight = std::min(depth, HISTORY_DEEPEST);
    // Without a previous move both entries are the same one, updated twice.
    for (std::uint16_t *value :
         {&tables.history[0][entry.piece][to], &tables.history[previous_type][entry.piece][to]}) {
        const int change = failed_low ? *value * (-HISTORY_LOSS * weight) / HISTORY_UNIT
                                      : (HISTORY_MAX - *value) * HISTORY_GAIN * weight / HISTORY_UNIT;
        *value = static_cast<std::uint16_t>(*value + change);
    }
}

// History, killers, countermoves and follow-ups after a quiet move has been searched.
void update_ordering(SearchThread &thread, int ply, int depth, const MoveEntry &entry, bool failed_low) {
    OrderingTables &tables = thread.ordering;
    PlyRecord &record = thread.plies[ply];
    const MoveEntry &previous = *thread.plies[ply - 1].current;
    update_history(tables, is_null(&previous) ? NO_TYPE : type_of(previous.piece), entry, depth, failed_low);
    if (failed_low) return;
    if (record.in_check()) {
        record.check_killer = entry.move;
    } else if (entry.move != record.killer1) {
        record.killer2 = record.killer1;
        record.killer1 = entry.move;
    }
    if (is_null(&previous)) return;
    const Square previous_to = to_square(previous.move);
    Move &first = tables.countermove[0][previous.piece][previous_to];
    if (entry.move != first) {
        tables.countermove[1][previous.piece][previous_to] = first;
        first = entry.move;
    }
    if (ply < 2) return;
    if (const MoveEntry &before = *thread.plies[ply - 2].current; !is_null(&before))
        tables.followup[before.piece][to_square(before.move)] = entry.move;
}

// 3. The search of one move, which has been made: in full, or with a null window first and in full only where that fails
// high.
int search_child(SearchThread &thread, int ply, int depth, int reduction, int alpha, int beta, NodeType type,
                 bool null_window, Line &child) {
    PlyRecord &record = thread.plies[ply];
    const auto child_type = static_cast<NodeType>(-type);
    if (!null_window) return -search_node(thread, ply + 1, depth - 1, -beta, -alpha, child_type, child);
    record.search_mode = SEARCH_NULL_WINDOW;
    int score = -search_node(thread, ply + 1, depth - reduction - 1, -alpha - 1, -alpha, CUT_NODE, child);
    if (score > alpha) {
        record.reduction = 0;
        record.search_mode = SEARCH_AGAIN;
        score = -search_node(thread, ply + 1, depth - 1, -beta, -alpha, child_type, child);
    }
    record.search_mode = SEARCH_PLAIN;
    return score;
}

}  // namespace

std::uint16_t classify_move(const Position &pos, Colour side, const MoveEntry &entry, const CheckSquares &checks) {
    int flags = 0;
    if (entry.captured != 0 || is_en_passant_capture(pos, entry.move)) flags |= MOVE_CAPTURES;
    if (const int check = gives_check(pos, side, entry, checks); check != 0)
        flags |= check == 2 ? MOVE_CHECKS | MOVE_DISCOVERS : MOVE_CHECKS;
    if (type_of(entry.piece) == PAWN) {
        const Square to = to_square(entry.move);
        const int rank = relative_rank(side, to);
        if ((entry.move & PROMOTE_QUEEN) != 0)
            flags |= MOVE_QUEENS;
        else if (relative_rank(side, from_square(entry.move)) == 6)
            flags |= MOVE_UNDERPROMOTES;
        else if (rank >= 6 || (rank >= 4 && (attack_tables.passed_span[side][to] & pos.of(opponent(side), PAWN)) == 0))
            flags |= MOVE_ADVANCES;
    }
    return static_cast<std::uint16_t>(flags);
}

// NOLINTNEXTLINE(readability-function-size): the rules in their order, in the registers of one body
int search_moves(SearchThread &thread, int ply, int depth, int alpha, int beta, NodeType type, Line &pv) {
    SearchShared &shared = *thread.shared;
    const SearchParams &params = shared.params;
    Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    const PlyRecord &parent = thread.plies[ply - 1];
    const Colour side = pos.side;
    const bool in_check = record.in_check();
    const int first_alpha = alpha;

    // 1. Set-up
    pv[ply] = NO_MOVE;
    const bool lmp = depth <= params.LMP_depth && !in_check && !record.iid_active && depth > 0 && type != PV_NODE;
    const bool lmr = depth >= params.LMR_depth && ply + depth >= thread.eval.iteration / 2;
    record.moves_searched = 0;
    start_picking(record, PickKind::ALL);
    int best = -INFINITE;
    Move best_move = NO_MOVE;
    const Pins pins(pos, side, in_check);
    const CheckSquares checks(pos, side);
    Line child;

    bool late = false;          // quiet moves come too late
    bool last_dropped = false;  // and late ones would have been the last
    const MoveEntry *picked = nullptr;
    while ((picked = pick_next(thread, ply)) != nullptr) {
        const MoveEntry &entry = *picked;
        // As early as can be: memory is slower than what comes before the child's probe.
        prefetch_child(thread, entry.move, depth - 1);
        if (is_null(&entry) || !is_legal(pos, side, entry.move, pins)) continue;
        record.move_flags = classify_move(pos, side, entry, checks);
        record.gives_no_check = (record.move_flags & MOVE_CHECKS) == 0 && !may_check_unseen(pos, entry);
        record.reduction = 0;

        // 2. Late-move pruning and reduction; the first legal move is spared
        int reduction = 0;
        if (best >= -MATE_THRESHOLD) {
            Safety safety(pos, entry.move);
            const int order = *thread.score_of(picked);
            if (lmp) {
                const bool was_late = late;
                const bool survives = survives_late_move_pruning(thread, depth, record, entry, order, safety, late);
                if (late && !was_late) last_dropped = drop_late_moves(thread, ply, depth, checks, pins);
                if (!survives) continue;
            }
            if (lmr) reduction = late_move_reduction(params, record, parent, depth, type, order, safety);
            record.reduction = static_cast<std::uint8_t>(reduction);
        }

        // 3. Principal variation search
        make_move(pos, entry.move);
        const bool null_window = best >= ply - MATED_SOON && depth > 1;
        const int score = search_child(thread, ply, depth, reduction, alpha, beta, type, null_window, child);
        unmake_move(pos);
        if (shared.stop_flag != STOP_NONE) return 0;
        ++record.moves_searched;

        // 4. Ordering tables
        if (entry.captured == 0 && depth >= 1) update_ordering(thread, ply, depth, entry, score <= alpha);

        // 5. Best move and window
        if (score <= best) continue;
        best = score;
        best_move = pv[ply] = entry.move;
        pv[ply + 1] = NO_MOVE;
        if (score <= alpha) continue;
        if (score >= beta) break;
        append_line(pv, ply, child);
        alpha = score;
    }

    // The flags of the last move that was looked at outlive the loop: the check extension of other nodes reads them.
    if (picked == nullptr && last_dropped) record.move_flags = 0;

    // 6. Mate, stalemate, table
    if (best_move == NO_MOVE) {
        const int score = in_check ? ply - MATE : 0;
        tt_store(shared.table, pos, ply, depth, NO_MOVE, score, -INFINITE, INFINITE);
        return score;
    }
    if (depth >= 0) tt_store(shared.table, pos, ply, depth, best_move, best, first_alpha, beta);
    return best;
}
