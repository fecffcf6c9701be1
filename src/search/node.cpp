// One node below the root: limits, draws, extension, table, static evaluation and the pruning rules, in a fixed order.
#include <algorithm>

#include "board/checks.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/movegen.h"
#include "board/repetition.h"
#include "fathom/tbcore.h"
#include "platform/clock.h"
#include "search/params.h"
#include "search/picker.h"
#include "search/search.h"
#include "search/timing.h"
#include "search/tt.h"

namespace {

constexpr int LAST_EXTENSION_PLY = 30;
constexpr int MATE_CUT_PLY = 8;
constexpr int NO_ENTRY = -1000;  // depth of a table entry that is not there
constexpr int PROBCUT_EXCHANGE = 75;
constexpr int SAFE_THREAT_MARGIN = 124;

// Node-rate limit: sleeps until this thread's rate has fallen to the target.
void throttle(const SearchThread &thread) {
    const auto limited = [] {
        return target_nps < UNLIMITED_NPS && search_shared.iteration >= 2 && stop_flag == STOP_NONE;
    };
    while (limited() && static_cast<double>(thread.nodes) > target_nps * search_shared.elapsed) {
        sleep_ms(1);
        check_time();
    }
}

void initialise_record(SearchThread &thread, int ply, int alpha, int beta, NodeType type, Line &pv) {
    PlyRecord &record = thread.plies[ply];
    record.node_type = type;
    record.alpha = static_cast<std::int16_t>(alpha);
    record.beta = static_cast<std::int16_t>(beta);
    record.depth = record.static_eval = 0;
    record.in_check = record.razored = record.moves_searched = 0;
    record.reduction = record.iid_active = record.search_mode = 0;
    record.eval = {};
    record.tb_result = -1;
    record.hash_move = NO_MOVE;
    record.checker = NO_SQUARE;
    PlyRecord &next = thread.plies[ply + 1];
    next.killer1 = next.killer2 = next.check_killer = NO_MOVE;
    pv[ply] = pv[ply + 1] = NO_MOVE;
}

// Draw by the fifty-move clock, by one repetition of a position of this search, or by two of earlier game positions.
bool is_draw(const SearchThread &thread, int ply) {
    const Position &pos = thread.position;
    if (pos.fifty >= 100) return true;
    return is_draw_by_repetition(pos, thread.history.undo_count - (ply - 1));
}

// One ply for an evasion, unless the check is easily answered: outside the principal variation, no discovered check, and
// the checking piece can be captured with profit.
int check_extension(SearchThread &thread, Colour side, int ply) {
    const PlyRecord &record = thread.plies[ply];
    const PlyRecord &parent = thread.plies[ply - 1];
    if (ply >= LAST_EXTENSION_PLY || !record.in_check) return 0;
    Position &pos = thread.position;
    const bool answered = parent.node_type != PV_NODE && (parent.move_flags & MOVE_DISCOVERS) == 0 &&
                          see_value(pos, side, NO_SQUARE, record.checker, pos.occupied(), true) >= 1;
    return answered ? 0 : 1;
}

struct HashProbe {
    bool low = false;   // the entry says the score is at most alpha
    bool high = false;  // the entry says the score is at least beta
    int depth = NO_ENTRY;
    bool cut = false;  // `score` is the node's result
    int score = 0;
};

HashProbe probe_hash(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, NodeType type) {
    HashProbe probe;
    const Position &pos = thread.position;
    ++thread.hash_probes;
    const TtHit hit = tt_probe(pos);
    if (hit.entry == nullptr || (hit.move != NO_MOVE && !is_pseudo_legal(pos, hit.move, side))) return probe;
    ++thread.hash_hits;
    thread.plies[ply].hash_move = hit.move;
    probe.depth = hit.depth;
    int score = hit.score;
    if (score >= MATE_THRESHOLD)
        score -= ply;
    else if (score < -MATE_THRESHOLD)
        score += ply;
    probe.low = score <= alpha && hit.bound != BOUND_LOWER;
    probe.high = score >= beta && hit.bound != BOUND_UPPER;
    if (depth > std::min(hit.depth, 100 - pos.fifty)) return probe;

    tt_refresh_age(*hit.entry);
    const auto cut = [&probe](int result) {
        probe.cut = true;
        probe.score = result;
        return probe;
    };
    if (hit.bound == BOUND_EXACT && ply >= MATE_CUT_PLY && (score < -MATE_THRESHOLD || score >= MATE_THRESHOLD))
        return cut(score);
    if (type == PV_NODE) return probe;
    if (probe.low) return cut(alpha);
    if (probe.high) return cut(beta);
    return probe;
}

// Score of a node that the tablebases know, under a parent that they do not know.
int tb_bound(PlyRecord &record, int result, int ply, int alpha, int beta) {
    const int score = result == TB_LOSS ? ply - TB_WIN_SCORE - 1 : result == TB_WIN ? TB_WIN_SCORE - ply : 0;
    if (score <= alpha) {
        record.beta = static_cast<std::int16_t>(score);
        return alpha;
    }
    record.alpha = static_cast<std::int16_t>(score);
    if (score < beta) record.beta = static_cast<std::int16_t>(score);
    return score;
}

// At low strength settings some lines are shortened at random, the same for a position throughout a search.
int random_depth_reduction(const SearchThread &thread, int depth, bool in_check, NodeType type, int alpha, int beta) {
    const int rate = search_params.random_reduction_rate;
    if (rate == 0 || in_check || type == PV_NODE || alpha <= -9600 || beta >= MATE_THRESHOLD) return depth;
    const std::uint32_t draw = (static_cast<std::uint32_t>(thread.position.key) ^ search_shared.seed) & 511;
    return static_cast<std::int64_t>(draw) < static_cast<std::int64_t>(rate) * 384 / 256
               ? std::min(depth / 2, depth - 3)
               : depth;
}

// Whether no piece of `side` but its king stands to lose so much by exchange that the evaluation would fall to beta.
bool threats_safe(const Position &pos, Colour side, int eval, int beta) {
    const int harmless = eval - beta - SAFE_THREAT_MARGIN;  // no piece worth less can matter
    Bitboard pieces = 0;
    for (int type = PAWN; type <= QUEEN; ++type)
        if (SEE_VALUES[type] >= harmless) pieces |= pos.of(side, type);
    while (pieces != 0) {
        const Square s = pop_lsb(pieces);
        const int loss = see_value(pos, opponent(side), NO_SQUARE, s, pos.occupied(), true);
        if (loss > 0 && loss >= harmless) return false;
    }
    return true;
}

// ProbCut: a good capture that beats a raised beta at reduced depth makes it very likely that the node fails high.
bool probcut(SearchThread &thread, int ply, int depth, int beta) {
    if (beta > 9000) return false;
    Position &pos = thread.position;
    const Colour side = pos.side;
    const int raised_beta = beta + search_params.ProbCut_margin;
    const int reduced_depth = std::max(1, depth - search_params.ProbCut_reduction);
    PlyRecord &record = thread.plies[ply];
    MoveEntry *end = gen_captures(pos, side, record.list, NO_SQUARE);
    end = gen_promotions(pos, side, true, end);
    terminate_list(end);
    close_list(thread, ply, end);
    for (MoveEntry *entry = record.list; entry != end; ++entry) entry->score = capture_score(*entry);
    record.moves_searched = 0;

    const Pins pins(pos, side, false);
    Line child;
    for (record.current = record.list; record.current != end; ++record.current) {
        select_best(record.current);
        const MoveEntry &entry = *record.current;
        if (!is_legal(pos, side, entry.move, pins) ||
            !see_at_least(pos, from_square(entry.move), to_square(entry.move), PROBCUT_EXCHANGE))
            continue;
        prefetch_child(thread, entry.move, reduced_depth - 1);
        make_move(pos, entry.move);
        const int score = -search_node(thread, opponent(side), ply + 1, reduced_depth - 1, -raised_beta,
                                       -raised_beta + 1, ALL_NODE, child);
        unmake_move(pos);
        if (stop_flag != STOP_NONE) return false;
        if (score >= raised_beta) return true;
    }
    return false;
}

bool null_move_allowed(const SearchThread &thread, int ply, int depth) {
    if (depth < search_params.NMP_depth || thread.null_depth > thread.iteration / 10) return false;
    // Record 0 holds no move, which is not a null move.
    return !is_null(thread.plies[ply - 1].current) && (ply <= 2 || !is_null(thread.plies[ply - 2].current));
}

int search_null_move(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, Line &pv) {
    PlyRecord &record = thread.plies[ply];
    ++thread.null_depth;
    record.moves_searched = 0;
    // The child sees a null entry as the move that led to it.
    record.current = record.list;
    *record.current = {NO_MOVE, 0, 0, 0};
    terminate_list(record.list + 1);
    close_list(thread, ply, record.list + 1);
    make_null_move(thread.position);
    if (depth >= 0) tt_prefetch(thread.position.key);
    const int score = -search_node(thread, opponent(side), ply + 1, depth, -beta, -alpha, CUT_NODE, pv);
    unmake_null_move(thread.position);
    --thread.null_depth;
    return score;
}

}  // namespace

int search_node(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, NodeType type, Line &pv) {
    Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    const PlyRecord &parent = thread.plies[ply - 1];

    // 1. Node count, rate limit, node budget, stop
    ++thread.nodes;
    if (target_nps < UNLIMITED_NPS) throttle(thread);
    if (thread.nodes > thread.node_budget && thread.best_depth > 1) stop_flag = STOP_REPORT;
    if (stop_flag != STOP_NONE) return 0;
    if (ply > thread.selective_depth) thread.selective_depth = static_cast<std::uint8_t>(ply);

    // 2. Mate distance
    alpha = std::max(alpha, ply - MATE);
    beta = std::min(beta, MATE - 1 - ply);
    if (alpha >= beta) return alpha;

    // 3. Record and check detection
    initialise_record(thread, ply, alpha, beta, type, pv);
    record.checker = static_cast<std::uint8_t>(checker_of(pos, side));
    const bool in_check = record.checker != NO_SQUARE;
    record.in_check = in_check;

    // 4. Draws
    if (thread.history.current_move != NO_MOVE && pos.fifty > 3 && is_draw(thread, ply)) return 0;

    // 5. Check extension
    depth += check_extension(thread, side, ply);
    record.depth = static_cast<std::int16_t>(depth);

    // 6. Hash probe
    HashProbe probe;
    if (depth >= 0) {
        probe = probe_hash(thread, side, ply, depth, alpha, beta, type);
        if (probe.cut) return probe.score;
    }

    // 7. Endgame tablebases
    if (popcount(pos.occupied()) <= tb_largest && (pos.fifty == 0 || parent.tb_result != NO_TB_RESULT)) {
        const int result = tb_probe_search(pos, depth, search_shared.tb_depths);
        record.tb_result = result;
        if (result != NO_TB_RESULT) {
            ++thread.tb_hits;
            if (parent.tb_result == NO_TB_RESULT) return tb_bound(record, result, ply, alpha, beta);
            if (result >= 6 - parent.tb_result) return beta;  // the move has not kept the parent's result
        }
    }

    // 8. Static evaluation
    const int eval = evaluate(pos, thread.eval, side, ply, in_check, record.eval);
    record.static_eval = static_cast<std::int16_t>(eval);
    if ((record.eval.flags & RECOGNISED_DRAW) != 0) return 0;
    if (ply >= MAX_PLY) return in_check ? 0 : eval;

    // 9. Random depth reduction
    depth = random_depth_reduction(thread, depth, in_check, type, alpha, beta);

    // 10. Evasions and the horizon
    if (in_check) return search_moves(thread, side, ply, depth, alpha, beta, true, type, pv);
    if (depth < 1) return quiesce(thread, side, ply, depth, alpha, beta, type, pv);

    // 11. Razoring
    if (depth <= search_params.FP_depth && eval <= alpha - search_params.FP_margin[depth] && !probe.high &&
        alpha < MATE_THRESHOLD && type != PV_NODE) {
        record.razored = 1;
        return quiesce(thread, side, ply, depth, alpha, beta, type, pv);
    }

    // 12. Gate for the beta-side rules
    const bool gate = eval >= beta + search_params.BP_margin && eval >= thread.plies[ply - 2].static_eval - 75 &&
                      type == CUT_NODE && !probe.low && parent.search_mode != 2 && pos.nonpawn_material[side] > 0 &&
                      (pos.material[side] & 15) != 0 && beta >= -MATE_THRESHOLD;
    if (gate) {
        // 13. Depth trim
        const int threat = record.eval.threat_level[side];
        if (depth != 1 && eval >= beta + (threat < 102 ? 50 : threat / 2) && parent.moves_searched >= 5) --depth;

        // 14. Static-eval pruning
        if (depth <= search_params.SEP_depth && eval - threat >= beta) {
            if (eval >= beta + search_params.SEP_margin[depth]) return beta;
            if (depth < 3 && threats_safe(pos, side, eval, beta)) return beta;
        }

        // 15. ProbCut
        if (depth >= search_params.ProbCut_depth && ply >= 4 && probcut(thread, ply, depth, beta)) return beta;

        // 16. Null move
        if (null_move_allowed(thread, ply, depth)) {
            const bool deep = depth > 9 && pos.nonpawn_material[side] > 3;
            const int reduction = deep ? 4 : 3;
            const int verification = deep ? 5 : 4;
            const int score = search_null_move(thread, side, ply, std::max(0, depth - reduction - 1), alpha, beta, pv);
            if (stop_flag != STOP_NONE) return 0;
            if (score >= beta) {
                if (depth < 5) return beta;
                depth -= verification;
            }
        }
    }

    // 17. Internal iterative deepening
    const int iid_depth = type == PV_NODE ? depth - 3 : depth - (depth > 8 ? 5 : 4);
    if (probe.depth < iid_depth && iid_depth >= 1 && eval >= alpha - 199) {
        record.iid_active = 1;
        search_moves(thread, side, ply, iid_depth, alpha, beta, false, type, pv);
        record.iid_active = 0;
        record.hash_move = pv[ply];
    }

    return search_moves(thread, side, ply, depth, alpha, beta, false, type, pv);
}
