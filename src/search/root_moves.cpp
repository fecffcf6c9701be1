// The root moves at one depth: aspiration windows, null windows, and what is published of them.
#include <algorithm>
#include <cstdlib>

#include "board/checks.h"
#include "board/makemove.h"
#include "search/picker.h"
#include "search/report.h"
#include "search/root.h"
#include "search/timing.h"

namespace {

constexpr int OPEN_BOUND = 5000;  // bounds beyond this become infinite

// Late quiet moves are searched one ply less deep, unless the best score so far has fallen to a threshold: LATE_THRESHOLD
// below that of the last iteration, or LOST_THRESHOLD where that was LOST_SCORE or less.
constexpr int REDUCED_DEPTH = 5;  // up to this depth none is,
constexpr int REDUCED_MOVES = 4;  // and of the moves after so many others at the earliest
constexpr int LATE_THRESHOLD = 35;
constexpr int LOST_SCORE = -9566;
constexpr int LOST_THRESHOLD = -9600;

// Windows, in centipawns
constexpr int SECOND_WINDOW = 100;  // of depth 2
constexpr int SLOW_WINDOW = 60;     // of the first two depths at a low node rate
constexpr int LEAST_WINDOW = 20;
constexpr int WINDOW_DEPTH = 15;  // windows are WINDOW_STEP wider for each depth below this
constexpr int WINDOW_STEP = 4;
constexpr int LEAST_WIDENING = 25;
constexpr int RERUN_WIDENING = 151;  // a score that falls so far has the iteration begin anew
constexpr int SLOW_RATE = 10000;     // nodes per second below which the first windows are narrow

constexpr int FAILURES_SHOWN_FROM = 3;    // depth beyond which bounds are reported
constexpr int FIRST_STEP_SHOWN = 19;      // widening beyond which a null window's bound is reported
constexpr int CLEARLY_BETTER = 24;        // what an interrupted iteration must have found, in centipawns
constexpr int UNSEARCHED_SCORE = -11000;  // ordering score of moves that have not beaten the window, less their rank

// One pass over the root moves.
struct RootPass {
    SearchThread &thread;
    SearchShared &shared;
    PlyRecord &root;
    int depth;
    int first;
    bool single_line;
    int window;
    int alpha, beta;     // of the first move
    int late_threshold;  // at or below it no move is reduced
    int best = -INFINITE;
    Line child{};
};

RootPass open_pass(SearchThread &thread, int depth, int first) {
    SearchShared &shared = *thread.shared;
    PlyRecord &root = thread.plies[ROOT_PLY];
    thread.aspiration = ASPIRATION_NONE;
    root.depth = static_cast<std::int16_t>(depth);
    root.moves_searched = 0;
    const int previous = thread.score;
    int window = std::max(LEAST_WINDOW, (WINDOW_DEPTH - depth) * WINDOW_STEP) + std::abs(previous) / 16;
    if (depth == 1) window = INFINITE;
    if (depth == 2) window = SECOND_WINDOW;
    if (shared.target_nps < SLOW_RATE && depth <= 2) window = SLOW_WINDOW;
    const int alpha = previous - window < -OPEN_BOUND ? -INFINITE : previous - window;
    const int beta = previous + window > OPEN_BOUND ? INFINITE : previous + window;
    const int late_threshold = previous <= LOST_SCORE ? LOST_THRESHOLD : previous - LATE_THRESHOLD;
    return {thread, shared, root, depth, first, shared.pv_lines == 1, window, alpha, beta, late_threshold};
}

void start_move(RootPass &pass, const MoveEntry &entry) {
    const Position &pos = pass.thread.position;
    PlyRecord &root = pass.root;
    root.move_flags = classify_move(pos, pos.side, entry, CheckSquares(pos, pos.side));
    *pass.thread.score_of(&entry) = static_cast<std::int16_t>(UNSEARCHED_SCORE - root.moves_searched);
    root.gives_no_check = false;
    root.search_mode = SEARCH_PLAIN;
    const bool late = pass.depth > REDUCED_DEPTH && root.moves_searched > REDUCED_MOVES && !root.in_check() &&
                      pass.best > pass.late_threshold && (root.move_flags & QUIET_MASK) == 0 &&
                      pos.nonpawn_material[pos.side] > 0 && pos.of(pos.side, PAWN) != 0;
    root.reduction = late ? 1 : 0;
}

// The node after a root move.
int search_root_move(RootPass &pass, int depth, int alpha, int beta, NodeType type) {
    return -search_node(pass.thread, ROOT_PLY + 1, depth, alpha, beta, type, pass.child);
}

// The move alone becomes the thread's line while it fails high or low.
void note_failure(RootPass &pass, const MoveEntry &entry, int score, AspirationState state, bool show) {
    pass.thread.aspiration = state;
    set_line(pass.thread, entry.move, Line{}, score);
    if (!pass.thread.is_main() || !pass.single_line || pass.depth <= FAILURES_SHOWN_FROM || !show) return;
    update_elapsed(pass.shared);
    const Bound bound = state == FAILING_LOW ? BOUND_UPPER : BOUND_LOWER;
    if (progress_due(pass.shared)) report_line(pass.thread, 1, pass.depth, score, bound);
}

struct RootScore {
    int score;
    int lower;  // scores above it are exact or better
};

// First moves: a window around the previous score, widened until the score falls inside.
RootScore aspiration_search(RootPass &pass, const MoveEntry &entry) {
    SearchThread &thread = pass.thread;
    int a = pass.alpha;
    int b = pass.beta;
    int step = pass.window;
    int score = search_root_move(pass, pass.depth - 1, -b, -a, PV_NODE);
    while ((score <= a || score >= b) && !thread.stopped()) {
        const bool failed_low = score < b;
        note_failure(pass, entry, score, failed_low ? FAILING_LOW : FAILING_HIGH, true);
        step = std::max(LEAST_WIDENING, 2 * step);
        const int unclamped = failed_low ? a - step : b + step;
        if (failed_low)
            a = unclamped < -OPEN_BOUND ? -INFINITE : unclamped;
        else
            b = unclamped > OPEN_BOUND ? INFINITE : unclamped;
        score = search_root_move(pass, pass.depth - 1, -b, -a, PV_NODE);
        if (failed_low && score <= a && unclamped < MATE_THRESHOLD && step >= RERUN_WIDENING && pass.single_line &&
            thread.rerun == RERUN_ARMED) {
            thread.rerun = RERUN_NOW;
            break;
        }
    }
    return {score, a};
}

// Later moves: prove that they are no better than the best, or find out how much better.
int null_window_search(RootPass &pass, const MoveEntry &entry) {
    SearchThread &thread = pass.thread;
    const int best = pass.best;
    int upper = best + 1 > OPEN_BOUND ? INFINITE : best + 1;
    pass.root.search_mode = SEARCH_NULL_WINDOW;
    int score = search_root_move(pass, pass.depth - 1 - pass.root.reduction, -upper, -best, CUT_NODE);
    int step = 1;
    while (score >= upper && !thread.stopped()) {
        if (thread.is_main()) pass.shared.result.change_depth = static_cast<std::int8_t>(pass.depth);
        *thread.score_of(&entry) = static_cast<std::int16_t>(best - 1);
        note_failure(pass, entry, score, FAILING_HIGH, step > FIRST_STEP_SHOWN);
        step = std::max(LEAST_WIDENING, 2 * step);
        upper = upper + step > OPEN_BOUND ? INFINITE : upper + step;
        pass.root.reduction = 0;
        pass.root.search_mode = SEARCH_AGAIN;
        score = search_root_move(pass, pass.depth - 1, -upper, -best, PV_NODE);
    }
    return score;
}

RootScore search_move(RootPass &pass, const MoveEntry &entry) {
    Position &pos = pass.thread.position;
    make_move(pos, entry.move);
    const bool widely = pass.root.moves_searched == 0 || (pass.depth == 1 && pass.shared.target_nps > SLOW_RATE);
    const RootScore result =
        widely ? aspiration_search(pass, entry) : RootScore{null_window_search(pass, entry), pass.best};
    unmake_move(pos);
    pass.thread.aspiration = ASPIRATION_NONE;
    return result;
}

// An interrupted iteration counts only when it has found something clearly better.
void publish_interrupted(RootPass &pass) {
    SearchThread &thread = pass.thread;
    const RootResult &result = pass.shared.result;
    if (!thread.is_main() || thread.score <= result.score + CLEARLY_BETTER || thread.line[1] == result.pv[1] ||
        result.score >= MATE_THRESHOLD)
        return;
    thread.best_depth = static_cast<std::int8_t>(pass.depth);
    publish_best(thread, BOUND_LOWER);  // exact scores were published when they were found
}

// The new best move goes to the front of the remaining list.
void accept(RootPass &pass, int index, const RootScore &result) {
    SearchThread &thread = pass.thread;
    MoveEntry *list = pass.root.list;
    pass.best = result.score;
    thread.best_depth = static_cast<std::int8_t>(pass.depth);
    set_line(thread, list[index].move, pass.child, result.score);
    const Bound bound = result.score > result.lower ? BOUND_EXACT : BOUND_UPPER;
    if (thread.is_main() && pass.first == 0) publish_best(thread, bound);
    std::int16_t *scores = thread.score_of(list);
    std::rotate(list + pass.first, list + index, list + index + 1);
    std::rotate(scores + pass.first, scores + index, scores + index + 1);
}

void report_first_iteration(RootPass &pass) {
    SearchThread &thread = pass.thread;
    if (!thread.is_main() || !pass.single_line || pass.depth != 1) return;
    update_elapsed(pass.shared);
    if (progress_due(pass.shared) && thread.line[1] != NO_MOVE) report_line(thread, 1, pass.depth, thread.score);
}

}  // namespace

void search_root_moves(SearchThread &thread, int depth, int first) {
    RootPass pass = open_pass(thread, depth, first);
    PlyRecord &root = pass.root;
    for (int i = first; i < thread.root_count; ++i) {
        root.current = root.list + i;
        select_best(thread, root.current, root.list + thread.root_count);
        const MoveEntry &entry = *root.current;
        const std::array<SharedValue<Move>, PV_SIZE> saved_line = thread.line;
        const std::int16_t saved_score = thread.score;
        if (thread.is_main() && first == 0) report_current_move(thread, entry.move, root.moves_searched + 1);
        start_move(pass, entry);
        const RootScore result = search_move(pass, entry);
        if (thread.stopped()) {
            publish_interrupted(pass);
            return;
        }
        thread.line = saved_line;
        thread.score = saved_score;
        ++root.moves_searched;
        if (result.score > result.lower) *thread.score_of(&entry) = static_cast<std::int16_t>(result.score);
        if (result.score > pass.best) accept(pass, i, result);
    }
    report_first_iteration(pass);
}
