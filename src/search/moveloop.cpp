// The move loop of a node.
#include <algorithm>
#include <cstring>

#include "board/attacks.h"
#include "board/checks.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "search/params.h"
#include "search/picker.h"
#include "search/search.h"
#include "search/tt.h"

namespace {

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

// King-zone test: some square next to the enemy king comes into the line of the piece on `to` and is attacked by its side
// once the piece has left `from`. `span`: empty-board lines of one kind; `same_kind`: own pieces of that line kind, looked
// through. With a rook moving a1-f1 against a king on g8 and an own queen on f7 square f8 would be such a square.
bool reaches_king_zone(const Position &pos, Colour side, Square from, Square to, const SquareTable &span,
                       Bitboard same_kind) {
    const Square king = pos.king_square[opponent(side)];
    const Bitboard blockers = pos.occupied() & ~same_kind;
    Bitboard zone = king_attacks(king) & span[to] & ~span[from] & ~bit(from);
    while (zone != 0) {
        const Square target = pop_lsb(zone);
        if ((between(to, target) & blockers) != 0) continue;
        // The moving piece is lifted off its start square.
        if (square_attacked(pos, target, side, pos.occupied() & ~bit(from), ~bit(from))) return true;
    }
    return false;
}

// Whether one of the targets comes into the line of a piece moving to `to`, all squares between being empty.
bool attacks_along(const Position &pos, Square from, Square to, const SquareTable &span, Bitboard targets) {
    targets &= span[to] & ~span[from];
    const Bitboard occupied = pos.occupied();
    while (targets != 0)
        if ((between(to, pop_lsb(targets)) & occupied) == 0) return true;
    return false;
}

// Whether a late quiet move threatens something, judged from its target square.
bool is_threat(const Position &pos, Colour side, const MoveEntry &entry) {
    const Square from = from_square(entry.move);
    const Square to = to_square(entry.move);
    const Colour enemy = opponent(side);
    const Bitboard zone = king_attacks(pos.king_square[enemy]);
    const Bitboard queens = pos.of(enemy, QUEEN);
    const Bitboard heavy = queens | pos.of(enemy, ROOK);
    const SquareTable &diagonals = attack_tables.bishop_span;
    const SquareTable &lines = attack_tables.rook_span;
    const Bitboard own_diagonal = pos.of(side, BISHOP) | pos.of(side, QUEEN);
    const Bitboard own_straight = pos.of(side, ROOK) | pos.of(side, QUEEN);
    switch (type_of(entry.piece)) {
    case PAWN: return (pawn_attacks(side, to) & (heavy | pos.of(enemy, KNIGHT) | pos.of(enemy, BISHOP) | zone)) != 0;
    case KNIGHT: return (knight_attacks(to) & (heavy | zone)) != 0;
    case BISHOP:
        return attacks_along(pos, from, to, diagonals, heavy) ||
               reaches_king_zone(pos, side, from, to, diagonals, own_diagonal);
    case ROOK:
        return attacks_along(pos, from, to, lines, queens) ||
               reaches_king_zone(pos, side, from, to, lines, own_straight);
    case QUEEN:
        return reaches_king_zone(pos, side, from, to, lines, own_straight) ||
               reaches_king_zone(pos, side, from, to, diagonals, own_diagonal);
    default: return false;
    }
}

bool is_quiet(std::uint16_t flags) { return (flags & QUIET_MASK) == 0; }

// Late-move pruning: whether the move is worth searching at all.
bool survives_late_move_pruning(const Position &pos, Colour side, int depth, const PlyRecord &record,
                                const MoveEntry &entry, Safety &safety) {
    if (is_quiet(record.move_flags)) {
        const bool early = record.moves_searched < search_params.LMP_count[depth] + entry.score / 4;
        return (early || is_threat(pos, side, entry)) && safety.safe();
    }
    return depth != 1 || (record.move_flags & MOVE_DISCOVERS) != 0 || safety.safe();
}

// Late-move reduction in plies.
int late_move_reduction(const PlyRecord &record, const PlyRecord &parent, int depth, NodeType type,
                        const MoveEntry &entry, Safety &safety) {
    const int n = std::min<int>(record.moves_searched, 31);
    const int d = std::min(depth, 31);
    int reduction = type == PV_NODE ? search_params.LMR_pv[d][n] : search_params.LMR_nonpv[d][n];
    if (reduction == 0) {
        reduction = safety.safe() ? 0 : 1;
    } else {
        if (entry.score > 31 || reduction <= parent.reduction) --reduction;
        reduction += safety.safe() ? 0 : 1;
        if (reduction > 2 && !is_quiet(record.move_flags)) reduction = (record.move_flags & MOVE_CAPTURES) != 0 ? 2 : 3;
    }
    return d - reduction < 1 ? d - 1 : reduction;
}

// History, killers, countermoves and follow-ups after a quiet move has been searched.
void update_ordering(SearchThread &thread, int ply, int depth, bool in_check, const MoveEntry &entry, bool failed_low) {
    OrderingTables &tables = thread.ordering;
    PlyRecord &record = thread.plies[ply];
    const MoveEntry &previous = *thread.plies[ply - 1].current;
    const Square to = to_square(entry.move);
    const int previous_type = is_null(&previous) ? NO_TYPE : type_of(previous.piece);
    const int weight = std::min(depth, 8);

    // Without a previous move both entries are the same one, updated twice.
    for (std::uint16_t *value :
         {&tables.history[0][entry.piece][to], &tables.history[previous_type][entry.piece][to]}) {
        const int change = failed_low ? *value * (-8 * weight) / 2048 : (HISTORY_MAX - *value) * 16 * weight / 2048;
        *value = static_cast<std::uint16_t>(*value + change);
    }
    if (failed_low) return;
    if (in_check) {
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
        else if (rank >= 6)
            flags |= MOVE_ADVANCES;
        else if (rank >= 4 && (attack_tables.passed_span[side][to] & pos.of(opponent(side), PAWN)) == 0)
            flags |= MOVE_ADVANCES;
    }
    return static_cast<std::uint16_t>(flags);
}

int search_moves(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, bool in_check,
                 NodeType type, Line &pv) {
    Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    const PlyRecord &parent = thread.plies[ply - 1];
    const int first_alpha = alpha;

    // 1. Set-up
    pv[ply] = NO_MOVE;
    const bool lmp =
        depth <= search_params.LMP_depth && !in_check && !record.iid_active && depth > 0 && type != PV_NODE;
    const bool lmr = depth >= search_params.LMR_depth && ply + depth >= thread.iteration / 2;
    record.moves_searched = 0;
    record.pick_stage = PICK_HASH | PICK_FULL;
    int best = -INFINITE;
    Move best_move = NO_MOVE;
    int hash_move_seen = 0;
    const Pins pins(pos, side, in_check);
    const CheckSquares checks(pos, side);
    Line child;

    while (const MoveEntry *picked = pick_next(thread)) {
        const MoveEntry &entry = *picked;

        // 2. The hash move comes twice
        if (entry.move == record.hash_move && ++hash_move_seen > 1) continue;
        prefetch_child(thread, entry.move, depth - 1);
        if (is_null(&entry) || !is_legal(pos, side, entry.move, pins)) continue;
        record.move_flags = classify_move(pos, side, entry, checks);
        record.reduction = 0;

        // 3. Late-move pruning and reduction; the first legal move is spared
        int reduction = 0;
        if (best >= -MATE_THRESHOLD) {
            Safety safety(pos, entry.move);
            if (lmp && !survives_late_move_pruning(pos, side, depth, record, entry, safety)) continue;
            if (lmr) {
                reduction = late_move_reduction(record, parent, depth, type, entry, safety);
                record.reduction = static_cast<std::uint8_t>(reduction);
            }
        }

        // 4. Principal variation search
        make_move(pos, entry.move);
        const auto full_search = [&] {
            return -search_node(thread, opponent(side), ply + 1, depth - 1, -beta, -alpha, static_cast<NodeType>(-type),
                                child);
        };
        int score = 0;
        if (best >= ply - (MATE - 11) && depth > 1) {
            record.search_mode = 1;
            score = -search_node(thread, opponent(side), ply + 1, depth - reduction - 1, -alpha - 1, -alpha, CUT_NODE,
                                 child);
            if (score > alpha) {
                record.reduction = 0;
                record.search_mode = 2;
                score = full_search();
            }
            record.search_mode = 0;
        } else {
            score = full_search();
        }
        unmake_move(pos);
        if (stop_flag != STOP_NONE) return 0;
        ++record.moves_searched;

        // 5. Ordering tables
        if (entry.captured == 0 && depth >= 1) update_ordering(thread, ply, depth, in_check, entry, score <= alpha);

        // 6. Best move and window
        if (score <= best) continue;
        best = score;
        best_move = pv[ply] = entry.move;
        pv[ply + 1] = NO_MOVE;
        if (score <= alpha) continue;
        if (score >= beta) break;
        for (int i = ply + 1; i < PV_SIZE && (pv[i] = child[i]) != NO_MOVE; ++i) {
        }
        alpha = score;
    }

    // 7. Mate, stalemate, table
    if (best_move == NO_MOVE) {
        const int score = in_check ? ply - MATE : 0;
        tt_store(pos, ply, depth, NO_MOVE, score, -INFINITE, INFINITE);
        return score;
    }
    if (depth >= 0) tt_store(pos, ply, depth, best_move, best, first_alpha, beta);
    return best;
}
