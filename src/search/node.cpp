// One node below the root: limits, draws, extension, table, static evaluation and the pruning rules, in a fixed order.
#include <algorithm>

#include "board/checks.h"
#include "board/exchange.h"
#include "board/legality.h"
#include "board/makemove.h"
#include "board/repetition.h"
#include "platform/clock.h"
#include "platform/threads.h"
#include "search/picker.h"
#include "search/search.h"
#include "search/timing.h"

namespace {

constexpr int THROTTLE_ITERATION = 2;  // the node-rate limit holds from this iteration on
constexpr int LAST_EXTENSION_PLY = 30;
constexpr int MATE_CUT_PLY = 8;  // mates of the table cut principal variations from this ply on
constexpr int NO_ENTRY = -1000;  // depth of a table entry that is not there
constexpr int TB_RESULT_LOST =
    6;  // sum of a node's and its parent's tablebase results: 4 when the move keeps the result

// Gate of the beta-side rules, and the rules; centipawns and plies
constexpr int GATE_DECLINE = 75;           // the evaluation may be so much below that of two plies ago
constexpr int THREAT_DEFAULT = 102;        // smaller threats
constexpr int THREAT_DEFAULT_MARGIN = 50;  // count like this in the depth trim
constexpr int TRIM_MOVES = 5;              // earlier moves of the parent that a trim takes
constexpr int SAFE_THREAT_DEPTH = 3;
constexpr int SAFE_THREAT_MARGIN = 124;
constexpr int PROBCUT_PLY = 4;
constexpr int PROBCUT_HIGHEST_BETA = 9000;
constexpr int PROBCUT_EXCHANGE = 75;
constexpr int NULL_MOVE_DEEP = 9;      // beyond this depth the null move
constexpr int NULL_MOVE_MATERIAL = 3;  // of a side with more than this is searched one ply less deep
constexpr int VERIFIED_DEPTH = 5;      // from here on a failing null move shortens the node instead of ending it

// Internal iterative deepening
constexpr int IID_PV_REDUCTION = 3;
constexpr int IID_REDUCTION = 4;
constexpr int IID_DEEP = 8;  // beyond this depth one ply more
constexpr int IID_DEFICIT = 199;

// Random depth reductions
constexpr int DRAW_RANGE = 512;
constexpr int RATE_UNIT_NUMERATOR = 384;
constexpr int RATE_UNIT_DENOMINATOR = 256;
constexpr int RANDOM_LOWEST_ALPHA = -9600;

// What every step of a node needs.
struct Node {
    SearchThread &thread;
    SearchShared &shared;
    Position &pos;
    PlyRecord &record;
    const PlyRecord &parent;
    int ply;
    NodeType type;
};

// Node-rate limit: sleeps until this thread's rate has fallen to the target.
void throttle(const SearchThread &thread) {
    SearchShared &shared = *thread.shared;
    const auto limited = [&shared] {
        return shared.target_nps < UNLIMITED_NPS && shared.iteration >= THROTTLE_ITERATION &&
               shared.stop_flag == STOP_NONE;
    };
    while (limited() && static_cast<double>(thread.nodes) > shared.target_nps * shared.elapsed) {
        sleep_ms(1);
        check_time(shared);
    }
}

void initialise_record(SearchThread &thread, int ply, NodeType type, Line &pv) {
    PlyRecord &record = thread.plies[ply];
    record.node_type = type;
    record.depth = record.static_eval = 0;
    record.moves_searched = 0;
    record.reduction = record.iid_active = record.search_mode = 0;
    record.eval = {};
    record.tb_result = NO_TB_RESULT;
    record.hash_move = NO_MOVE;
    PlyRecord &next = thread.plies[ply + 1];
    next.killer1 = next.killer2 = next.check_killer = NO_MOVE;
    pv[ply] = pv[ply + 1] = NO_MOVE;
}

// Draw by the fifty-move clock, by one repetition of a position of this search, or by two of earlier game positions.
bool is_draw(const SearchThread &thread, int ply) {
    const Position &pos = thread.position;
    return pos.fifty >= FIFTY_MOVES || is_draw_by_repetition(pos, thread.history.undo_count - (ply - ROOT_PLY));
}

// One ply for an evasion, unless the check is easily answered: outside the principal variation, no discovered check, and
// the checking piece can be captured with profit.
int check_extension(const Node &node) {
    if (node.ply >= LAST_EXTENSION_PLY || !node.record.in_check()) return 0;
    const Position &pos = node.pos;
    const bool answered = node.parent.node_type != PV_NODE && (node.parent.move_flags & MOVE_DISCOVERS) == 0 &&
                          see_value(pos, pos.side, NO_SQUARE, node.record.checker, true) >= 1;
    return answered ? 0 : 1;
}

struct HashProbe {
    bool low = false;   // the entry says the score is at most alpha
    bool high = false;  // the entry says the score is at least beta
    int depth = NO_ENTRY;
    bool cut = false;  // `score` is the node's result
    int score = 0;
};

HashProbe probe_hash(const Node &node, int depth, int alpha, int beta) {
    HashProbe probe;
    const Position &pos = node.pos;
    ++node.thread.hash_probes;
    const TtHit hit = tt_probe(node.shared.table, pos);
    if (hit.entry == nullptr || (hit.move != NO_MOVE && !is_pseudo_legal(pos, hit.move, pos.side))) return probe;
    ++node.thread.hash_hits;
    node.record.hash_move = hit.move;
    probe.depth = hit.depth;
    int score = hit.score;
    if (score >= MATE_THRESHOLD)
        score -= node.ply;
    else if (score < -MATE_THRESHOLD)
        score += node.ply;
    probe.low = score <= alpha && hit.bound != BOUND_LOWER;
    probe.high = score >= beta && hit.bound != BOUND_UPPER;
    if (depth > std::min(hit.depth, FIFTY_MOVES - pos.fifty)) return probe;

    tt_refresh_age(node.shared.table, *hit.entry);
    const auto cut = [&probe](int result) {
        probe.cut = true;
        probe.score = result;
        return probe;
    };
    if (hit.bound == BOUND_EXACT && node.ply >= MATE_CUT_PLY && (score < -MATE_THRESHOLD || score >= MATE_THRESHOLD))
        return cut(score);
    if (node.type == PV_NODE) return probe;
    if (probe.low) return cut(alpha);
    if (probe.high) return cut(beta);
    return probe;
}

// Whether the tablebases decide the node: under a parent that they do not know by their result, else when the move has not
// kept the parent's result.
bool probe_tablebases(const Node &node, int depth, int alpha, int beta, int &score) {
    const int result = tb_probe_search(node.shared.tablebases, node.pos, depth, node.shared.tb_depths);
    node.record.tb_result = result;
    if (result == NO_TB_RESULT) return false;
    ++node.thread.tb_hits;
    if (node.parent.tb_result != NO_TB_RESULT) {
        score = beta;
        return result >= TB_RESULT_LOST - node.parent.tb_result;
    }
    score = result == TB_LOSS ? node.ply - TB_WIN_SCORE - 1 : result == TB_WIN ? TB_WIN_SCORE - node.ply : 0;
    score = std::max(score, alpha);
    return true;
}

// At low strength settings some lines are shortened at random, the same for a position throughout a search.
int random_depth_reduction(const Node &node, int depth, int alpha, int beta) {
    const int rate = node.shared.params.random_reduction_rate;
    if (rate == 0 || node.record.in_check() || node.type == PV_NODE || alpha <= RANDOM_LOWEST_ALPHA ||
        beta >= MATE_THRESHOLD)
        return depth;
    const std::uint32_t draw = (static_cast<std::uint32_t>(node.pos.key) ^ node.shared.seed) & (DRAW_RANGE - 1);
    const std::int64_t limit = static_cast<std::int64_t>(rate) * RATE_UNIT_NUMERATOR / RATE_UNIT_DENOMINATOR;
    return draw < limit ? std::min(depth / 2, depth - 3) : depth;
}

// Whether no piece of `side` but its king stands to lose so much by exchange that the evaluation would fall to beta.
bool threats_safe(const Position &pos, Colour side, int eval, int beta) {
    const int harmless = eval - beta - SAFE_THREAT_MARGIN;  // no piece worth less can matter
    Bitboard pieces = 0;
    for (const PieceType type : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN})
        if (SEE_VALUES[type] >= harmless) pieces |= pos.of(side, type);
    while (pieces != 0) {
        const Square s = pop_lsb(pieces);
        const int loss = see_value(pos, opponent(side), NO_SQUARE, s, true);
        if (loss > 0 && loss >= harmless) return false;
    }
    return true;
}

// ProbCut: a good capture that beats a raised beta at reduced depth makes it very likely that the node fails high.
bool probcut(const Node &node, int depth, int beta) {
    if (beta > PROBCUT_HIGHEST_BETA) return false;
    SearchThread &thread = node.thread;
    Position &pos = node.pos;
    PlyRecord &record = node.record;
    const Colour side = pos.side;
    const int raised_beta = beta + node.shared.params.ProbCut_margin;
    const int reduced_depth = std::max(1, depth - node.shared.params.ProbCut_reduction);
    MoveEntry *end = gen_captures(pos, side, record.list, NO_SQUARE);
    end = gen_promotions(pos, side, true, end);
    close_list(thread, node.ply, end);
    for (const MoveEntry *entry = record.list; entry != end; ++entry) *thread.score_of(entry) = capture_score(*entry);
    record.moves_searched = 0;

    const Pins pins(pos, side, false);
    Line child;
    for (record.current = record.list; record.current != end; ++record.current) {
        select_best(thread, record.current, end);
        const MoveEntry &entry = *record.current;
        if (!is_legal(pos, side, entry.move, pins) ||
            !see_at_least(pos, from_square(entry.move), to_square(entry.move), PROBCUT_EXCHANGE))
            continue;
        prefetch_child(thread, entry.move, reduced_depth - 1);
        record.gives_no_check = false;
        make_move(pos, entry.move);
        const int score =
            -search_node(thread, node.ply + 1, reduced_depth - 1, -raised_beta, -raised_beta + 1, ALL_NODE, child);
        unmake_move(pos);
        if (thread.stopped()) return false;
        if (score >= raised_beta) return true;
    }
    return false;
}

bool null_move_allowed(const Node &node, int depth) {
    const SearchThread &thread = node.thread;
    if (depth < node.shared.params.NMP_depth || thread.null_depth > thread.eval.iteration / 10) return false;
    // Record 0 holds no move, which is not a null move.
    return !is_null(node.parent.current) && (node.ply <= 2 || !is_null(thread.plies[node.ply - 2].current));
}

int search_null_move(const Node &node, int depth, int alpha, int beta, Line &pv) {
    SearchThread &thread = node.thread;
    PlyRecord &record = node.record;
    ++thread.null_depth;
    record.moves_searched = 0;
    // The child sees a null entry as the move that led to it.
    record.current = record.list;
    *record.current = {NO_MOVE, NO_PIECE, NO_PIECE};
    record.gives_no_check = true;
    close_list(thread, node.ply, record.list + 1);
    make_null_move(node.pos);
    if (depth >= 0) tt_prefetch(node.shared.table, node.pos.key);
    const int score = -search_node(thread, node.ply + 1, depth, -beta, -alpha, CUT_NODE, pv);
    unmake_null_move(node.pos);
    --thread.null_depth;
    return score;
}

// What the rules on the beta side come to.
struct BetaSide {
    bool cut = false;  // `score` is the node's result
    int score = 0;
    int depth;  // of the rest of the search
};

BetaSide try_null_move(const Node &node, int depth, int alpha, int beta, Line &pv) {
    if (!null_move_allowed(node, depth)) return {false, 0, depth};
    const bool deep = depth > NULL_MOVE_DEEP && node.pos.nonpawn_material[node.pos.side] > NULL_MOVE_MATERIAL;
    const int reduction = deep ? 4 : 3;
    const int score = search_null_move(node, std::max(0, depth - reduction - 1), alpha, beta, pv);
    if (node.thread.stopped()) return {true, 0, depth};
    if (score < beta) return {false, 0, depth};
    if (depth < VERIFIED_DEPTH) return {true, beta, depth};
    return {false, 0, depth - reduction - 1};
}

// The rules that expect a cut: the evaluation stands above beta and nothing speaks against it.
BetaSide beta_side_rules(const Node &node, int depth, int alpha, int beta, Line &pv) {
    const SearchParams &params = node.shared.params;
    const Position &pos = node.pos;
    const Colour side = pos.side;
    const int eval = node.record.static_eval;

    // 13. Depth trim
    const int threat = node.record.eval.threat_level[side];
    const int margin = threat < THREAT_DEFAULT ? THREAT_DEFAULT_MARGIN : threat / 2;
    if (depth != 1 && eval >= beta + margin && node.parent.moves_searched >= TRIM_MOVES) --depth;

    // 14. Static-eval pruning
    if (depth <= params.SEP_depth && eval - threat >= beta) {
        if (eval >= beta + params.SEP_margin[depth]) return {true, beta, depth};
        if (depth < SAFE_THREAT_DEPTH && threats_safe(pos, side, eval, beta)) return {true, beta, depth};
    }

    // 15. ProbCut
    if (depth >= params.ProbCut_depth && node.ply >= PROBCUT_PLY && probcut(node, depth, beta))
        return {true, beta, depth};

    // 16. Null move
    return try_null_move(node, depth, alpha, beta, pv);
}

// 12. Gate for the beta-side rules
bool beta_side_gate(const Node &node, const HashProbe &probe, int beta) {
    const Position &pos = node.pos;
    const int eval = node.record.static_eval;
    return eval >= beta + node.shared.params.BP_margin &&
           eval >= node.thread.plies[node.ply - 2].static_eval - GATE_DECLINE && node.type == CUT_NODE && !probe.low &&
           node.parent.search_mode != SEARCH_AGAIN && pos.nonpawn_material[pos.side] > 0 &&
           pos.of(pos.side, PAWN) != 0 && beta >= -MATE_THRESHOLD;
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): the rules in their order, in the registers of one body
int search_node(SearchThread &thread, int ply, int depth, int alpha, int beta, NodeType type, Line &pv) {
    SearchShared &shared = *thread.shared;
    Position &pos = thread.position;
    PlyRecord &record = thread.plies[ply];
    const Node node{thread, shared, pos, record, thread.plies[ply - 1], ply, type};
    assert(thread.history.ply == ply);

    // 1. Node count, rate limit, node budget, stop
    ++thread.nodes;
    offer_turn();
    if (shared.target_nps < UNLIMITED_NPS) throttle(thread);
    if (thread.nodes > thread.node_budget && thread.best_depth > 1) shared.stop_flag = STOP_REPORT;
    if (shared.stop_flag != STOP_NONE) return 0;
    if (ply > thread.selective_depth) thread.selective_depth = static_cast<std::uint8_t>(ply);

    // 2. Mate distance
    alpha = std::max(alpha, ply - MATE);
    beta = std::min(beta, MATE - 1 - ply);
    if (alpha >= beta) return alpha;

    // 3. Record and check detection
    initialise_record(thread, ply, type, pv);
    record.checker = node.parent.gives_no_check ? Square{NO_SQUARE} : checker_of(pos, pos.side);
    assert(record.checker == checker_of(pos, pos.side));
    const bool in_check = record.in_check();

    // 4. Draws
    if (thread.history.current_move != NO_MOVE && pos.fifty >= FIRST_REPETITION && is_draw(thread, ply)) return 0;

    // 5. Check extension
    depth += check_extension(node);
    record.depth = static_cast<std::int16_t>(depth);

    // 6. Hash probe
    HashProbe probe;
    if (depth >= 0) {
        probe = probe_hash(node, depth, alpha, beta);
        if (probe.cut) return probe.score;
        if (record.hash_move != NO_MOVE) prefetch_child(thread, record.hash_move, depth - 1);
    }

    // 7. Endgame tablebases
    if (popcount(pos.occupied()) <= shared.tablebases.largest &&
        (pos.fifty == 0 || node.parent.tb_result != NO_TB_RESULT))
        if (int score = 0; probe_tablebases(node, depth, alpha, beta, score)) return score;

    // 8. Static evaluation
    const int eval = evaluate(pos, thread.eval, ply, in_check, record.eval);
    record.static_eval = static_cast<std::int16_t>(eval);
    if ((record.eval.flags & RECOGNISED_DRAW) != 0) return 0;
    if (ply >= MAX_PLY) return in_check ? 0 : eval;

    // 9. Random depth reduction
    depth = random_depth_reduction(node, depth, alpha, beta);

    // 10. Evasions and the horizon
    if (in_check) return search_moves(thread, ply, depth, alpha, beta, type, pv);
    if (depth < 1) return quiesce(thread, ply, depth, alpha, beta, type, pv);

    // 11. Razoring
    if (depth <= shared.params.FP_depth && eval <= alpha - shared.params.FP_margin[depth] && !probe.high &&
        alpha < MATE_THRESHOLD && type != PV_NODE)
        return quiesce(thread, ply, depth, alpha, beta, type, pv);

    if (beta_side_gate(node, probe, beta)) {
        const BetaSide rules = beta_side_rules(node, depth, alpha, beta, pv);
        if (rules.cut) return rules.score;
        depth = rules.depth;
    }

    // 17. Internal iterative deepening
    const int iid_depth = depth - (type == PV_NODE ? IID_PV_REDUCTION : IID_REDUCTION + (depth > IID_DEEP ? 1 : 0));
    if (probe.depth < iid_depth && iid_depth >= 1 && eval >= alpha - IID_DEFICIT) {
        record.iid_active = 1;
        search_moves(thread, ply, iid_depth, alpha, beta, type, pv);
        record.iid_active = 0;
        record.hash_move = pv[ply];
    }

    return search_moves(thread, ply, depth, alpha, beta, type, pv);
}
