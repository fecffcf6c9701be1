#include "search/report.h"

#include "platform/clock.h"
#include "search/threads.h"
#include "search/timing.h"

namespace {

constexpr int SHALLOW = 7;             // iterations below this do not sample the table
constexpr double SHORTEST = 0.001;     // seconds of search that give a node rate
constexpr double SLOW_SEARCH = 3.5;    // seconds before current moves are reported
constexpr int NEAR_MATE = MATE - 101;  // scores beyond this are mates nearer than any tablebase result

// A tablebase result at the root decides over any score but a mate that the search has seen.
int shown_score(int root_tb_result, int score) {
    switch (root_tb_result) {
    case TB_WIN: return score >= NEAR_MATE ? score : TB_WIN_SCORE;
    case TB_LOSS: return score < -NEAR_MATE ? score : -TB_WIN_SCORE;
    case TB_DRAW: return 0;
    default: return score;
    }
}

// Under output_lock.
SearchLine make_line(SearchShared &shared, int number, int depth, int score, Bound bound, const Line &pv) {
    const ThreadStats stats = sum_thread_stats(shared.pool);
    const double elapsed = shared.elapsed;
    const auto nodes = static_cast<double>(stats.nodes);
    const int shown = shown_score(shared.root_tb_result, score);
    const int longest = shared.pool.size > 0 ? search_thread_at(shared.pool, 0).selective_depth.load() : 0;
    return {number,
            shared.multi_pv,
            depth,
            std::max(longest - 1, 0),
            shown,
            shown == score ? bound : BOUND_EXACT,
            pv,
            elapsed,
            nodes,
            elapsed > SHORTEST ? nodes / elapsed : 0.0,
            static_cast<double>(stats.tb_hits),
            depth < SHALLOW ? 0.0 : hash_fill(shared.table),
            shared.stop_flag != STOP_NONE};
}

// Leaves the shared clock alone, so that a search goes the same way when it is watched.
void tell_watch(SearchShared &shared, Move best, int depth, int score) {
    const BestMoveWatch &watch = shared.reporter.watch;
    if (watch.best_changed == nullptr) return;
    const std::lock_guard<std::mutex> guard(shared.output_lock);
    const auto nodes = static_cast<double>(sum_thread_stats(shared.pool).nodes);
    watch.best_changed(watch.context, {best, depth, score, monotonic_seconds() - shared.start, nodes});
}

}  // namespace

Line plain_line(const std::array<SharedValue<Move>, PV_SIZE> &line) {
    Line plain{};
    for (int i = 1; i < PV_SIZE && (plain[i] = line[i]) != NO_MOVE; ++i) {
    }
    return plain;
}

bool progress_due(const SearchShared &shared) {
    return shared.noise != NO_PROGRESS_LINES && shared.elapsed >= shared.noise;
}

void report_line(SearchThread &thread, int number, int depth, int score, Bound bound) {
    SearchShared &shared = *thread.shared;
    if (shared.reporter.search_line == nullptr) return;
    const std::lock_guard<std::mutex> guard(shared.output_lock);
    shared.reporter.search_line(shared.reporter.context,
                                make_line(shared, number, depth, score, bound, plain_line(thread.line)));
}

void publish_best(SearchThread &thread, Bound bound) {
    SearchShared &shared = *thread.shared;
    RootResult &result = shared.result;
    const Move best = thread.line[1];
    const int score = thread.score;
    const int depth = thread.best_depth;
    result.bound = bound;
    if (best == result.pv[1] && score == result.score && depth == result.depth) return;
    if (best != result.pv[1]) {
        result.change_depth = static_cast<std::int8_t>(depth);
        tell_watch(shared, best, depth, score);
    }
    result.score = static_cast<std::int16_t>(score);
    result.depth = static_cast<std::int8_t>(depth);
    result.pv = thread.line;
    if (depth <= MAX_DEPTH) result.score_by_depth[depth] = static_cast<std::int16_t>(score);
    if (depth > 1 && shared.pv_lines == 1) {
        update_elapsed(shared);
        const bool due = thread.stopped() || shared.elapsed >= shared.noise;
        if (due && shared.noise != NO_PROGRESS_LINES && best != NO_MOVE) report_line(thread, 1, depth, score, bound);
    }
}

std::optional<SearchLine> final_line(SearchShared &shared) {
    const RootResult &result = shared.result;
    const bool due = shared.stop_flag != STOP_NONE || shared.elapsed >= shared.noise;
    if (!due || shared.noise == NO_PROGRESS_LINES || result.depth == 0 || result.pv[1] == NO_MOVE) return {};
    const std::lock_guard<std::mutex> guard(shared.output_lock);
    return make_line(shared, 1, result.depth, result.score, result.bound, plain_line(result.pv));
}

void report_current_move(SearchThread &thread, Move move, int number) {
    SearchShared &shared = *thread.shared;
    if (shared.reporter.current_move == nullptr || shared.elapsed <= SLOW_SEARCH || shared.elapsed <= shared.noise)
        return;
    const std::lock_guard<std::mutex> guard(shared.output_lock);
    CurrentMove current{move, number, shared.multi_pv, shared.iteration, shared.elapsed, 0.0, 0.0, 0.0};
    if (number == 1) {
        current.nodes = static_cast<double>(sum_thread_stats(shared.pool).nodes);
        current.nodes_per_second = current.nodes / current.elapsed;
        current.hash_fill = hash_fill(shared.table);
    }
    shared.reporter.current_move(shared.reporter.context, current);
}
