// Iterative deepening: what a thread does from a search's start to its end.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "board/checks.h"
#include "board/legality.h"
#include "platform/clock.h"
#include "search/picker.h"
#include "search/report.h"
#include "search/root.h"
#include "search/threads.h"
#include "search/timing.h"

namespace {

constexpr int RERUN_DEPTH = 6;  // re-runs from this iteration on
constexpr int RERUN_HASH_MB = 4;
constexpr int SKIP_DEPTH = 7;    // secondary threads may skip iterations from here on
constexpr int ORDER_NOISE = 24;  // of root moves in secondary threads, in points of their ordering score

std::uint32_t next_random(std::uint32_t state) { return state * 19375 + 987654321; }

void set_iteration(SearchThread &thread, int depth) { thread.eval.iteration = static_cast<std::uint8_t>(depth); }

// Whole tables at a time: short searches would spend much of their time here otherwise.
void reset_ordering(SearchThread &thread) {
    static_assert(NO_MOVE == 0 && std::is_trivially_copyable_v<OrderingTables>);
    OrderingTables &tables = thread.ordering;
    std::fill_n(&tables.history[0][0][0], 64, static_cast<std::uint16_t>(HISTORY_START));
    for (std::size_t piece = 1; piece < std::size(tables.history[0]); ++piece)
        std::memcpy(tables.history[0][piece], tables.history[0][0], sizeof tables.history[0][0]);
    for (std::size_t type = 1; type < std::size(tables.history); ++type)
        std::memcpy(tables.history[type], tables.history[0], sizeof tables.history[0]);
    std::memset(tables.countermove, 0, sizeof tables.countermove);
    std::memset(tables.followup, 0, sizeof tables.followup);
    for (PlyRecord &record : thread.plies)
        record.hash_move = record.killer1 = record.killer2 = record.check_killer = NO_MOVE;
}

void evaluate_root(SearchThread &thread) {
    SearchShared &shared = *thread.shared;
    PlyRecord &root = thread.plies[ROOT_PLY];
    const Position &pos = thread.position;
    EvalDisplay *display = thread.is_main() && shared.show_evaluation ? &shared.display : nullptr;
    if (display != nullptr) *display = {};
    const int score = evaluate(pos, thread.eval, ROOT_PLY, root.in_check(), root.eval, display);
    if (display != nullptr && shared.reporter.evaluated != nullptr)
        shared.reporter.evaluated(shared.reporter.context, pos, *display);
    thread.root_eval = static_cast<std::int16_t>(score);
    thread.score = thread.root_eval;
    root.static_eval = thread.root_eval;
    thread.plies[0].static_eval = static_cast<std::int16_t>(-thread.root_eval);
}

void initialise_root(SearchThread &thread) {
    PlyRecord &root = thread.plies[ROOT_PLY];
    MoveEntry *list = root.list;
    root = PlyRecord{};
    root.tb_result = NO_TB_RESULT;
    root.list = root.current = list;
    const std::uint32_t seed = next_random(static_cast<std::uint32_t>(wall_clock_seconds()));
    if (thread.is_main()) thread.shared->seed = seed;
    thread.random_state = seed;
    root.checker = checker_of(thread.position, thread.position.side);
    evaluate_root(thread);
}

// With `one` a legal move at most: all that counts is whether there is one.
void generate_root_moves(SearchThread &thread, bool one) {
    const Position &pos = thread.position;
    PlyRecord &root = thread.plies[ROOT_PLY];
    MoveEntry *end = gen_moves(pos, pos.side, root.list, root.checker);
    const auto is_left_out = [&](const MoveEntry &entry) {
        return !is_legal(pos, pos.side, entry.move) || !may_be_searched(*thread.shared, entry.move);
    };
    if (one) {
        MoveEntry *first = std::find_if_not(root.list, end, is_left_out);
        if (first != end) *root.list = *first;
        end = root.list + (first != end ? 1 : 0);
    } else {
        end = std::remove_if(root.list, end, is_left_out);
    }
    terminate_list(end);
    close_list(thread, ROOT_PLY, end);
    thread.root_count = static_cast<int>(end - root.list);
}

// A secondary thread leaves a depth that most threads have reached.
bool most_threads_reached(const ThreadPool &pool, int depth) {
    int reached = 0;
    for (int i = 0; i < pool.size; ++i) reached += search_thread_at(pool, i).eval.iteration >= depth;
    return 2 * reached > pool.size;
}

void perturb_root_order(SearchThread &thread) {
    for (int i = 1; i < thread.root_count; ++i) {
        thread.random_state = next_random(thread.random_state);
        std::int16_t &score = *thread.score_of(thread.plies[ROOT_PLY].list + i);
        score = static_cast<std::int16_t>(score - static_cast<int>(thread.random_state % ORDER_NOISE));
    }
}

void report_multi_pv_line(SearchThread &thread, int line, int depth) {
    SearchShared &shared = *thread.shared;
    if (!thread.is_main() || shared.pv_lines <= 1) return;
    update_elapsed(shared);
    if (progress_due(shared) && thread.line[1] != NO_MOVE) report_line(thread, line, depth, thread.score);
}

bool deepening_ends(const SearchThread &thread, int depth) {
    const SearchShared &shared = *thread.shared;
    const int score = shared.result.score;
    // A mate that is wanted in so many moves, or else any that iterations this deep cannot shorten.
    const bool mates = score >= MATE - (shared.mate_in > 0 ? 2 * shared.mate_in : depth + 1);
    return mates || score < depth - (MATE - 1) || depth >= shared.max_depth ||
           thread.history.undo_count + depth > HISTORY_DEPTH_LIMIT || depth + 1 > PLY_RECORDS - 2;
}

// Searches the lines of one iteration. False when the search has been stopped.
bool search_iteration(SearchThread &thread, int depth) {
    SearchShared &shared = *thread.shared;
    for (int line = 1; line <= shared.pv_lines && line <= thread.root_count; ++line) {
        search_root_moves(thread, depth, line - 1);
        if (thread.stopped()) break;
        report_multi_pv_line(thread, line, depth);
    }
    {
        const std::lock_guard<std::mutex> guard(shared.stats_lock);
        shared.nodes_by_depth[static_cast<std::size_t>(depth)] += thread.nodes;
    }
    if (!thread.stopped() && thread.rerun == RERUN_NOW) search_root_moves(thread, depth, 0);
    return !thread.stopped();
}

void deepen(SearchThread &thread) {
    SearchShared &shared = *thread.shared;
    const bool reruns = shared.table.megabytes >= RERUN_HASH_MB && shared.pv_lines == 1;
    for (int depth = 1;; ++depth) {
        if (thread.is_main())
            shared.iteration = static_cast<std::uint8_t>(depth);
        else if (depth >= SKIP_DEPTH && depth < shared.max_depth && shared.pv_lines == 1 &&
                 most_threads_reached(shared.pool, depth))
            ++depth;
        set_iteration(thread, depth);
        thread.rerun = reruns && depth >= RERUN_DEPTH ? RERUN_ARMED : RERUN_OFF;
        if (!thread.is_main()) perturb_root_order(thread);

        if (!search_iteration(thread, depth)) return;
        if (thread.is_main()) {
            update_elapsed(shared);
            shared.last_iteration = depth;
        }
        if (deepening_ends(thread, depth)) return;
    }
}

// The root has no legal move: mated or stalemated.
void report_no_move(SearchThread &thread) {
    set_iteration(thread, 1);
    thread.best_depth = 1;
    set_line(thread, NO_MOVE, Line{}, thread.plies[ROOT_PLY].in_check() ? 1 - MATE : 0);
    if (thread.is_main()) {
        publish_best(thread);
        thread.shared->stop_flag = STOP_NO_MOVE;
    }
}

bool is_root_move(const SearchThread &thread, Move m) {
    const MoveEntry *list = thread.plies[ROOT_PLY].list;
    return std::any_of(list, list + thread.root_count, [m](const MoveEntry &entry) { return entry.move == m; });
}

// Asks the tablebases. When the fifty-move clock runs already, and no mate is asked for, their move is the result: true.
// Otherwise the search goes on, and keeps to lines that hold the tablebase result.
bool play_from_tablebases(SearchThread &thread) {
    constexpr int LATE_CLOCK = 10;
    constexpr int DEEP_PROBE = 70;
    constexpr int TB_LINE_DEPTH = 99;
    SearchShared &shared = *thread.shared;
    const Position &pos = thread.position;
    if (popcount(pos.occupied()) > shared.tablebases.largest || pos.castling != 0) return false;
    TbRoot root = tb_probe_root(shared.tablebases, pos, shared.root_moves);
    if (root.result == NO_TB_RESULT && shared.root_moves.empty())
        root.result = tb_probe_search(shared.tablebases, pos, DEEP_PROBE, shared.tb_depths);
    shared.root_tb_result = root.result;
    thread.plies[ROOT_PLY].tb_result = root.result;
    if (root.move == NO_MOVE || pos.fifty < LATE_CLOCK || shared.mate_in > 0 || !is_root_move(thread, root.move))
        return false;
    ++thread.tb_hits;
    const int score = root.result == TB_WIN ? TB_WIN_SCORE - ROOT_PLY : root.result == TB_LOSS ? -TB_WIN_SCORE : 0;
    set_line(thread, root.move, Line{}, score);
    thread.best_depth = TB_LINE_DEPTH;
    publish_best(thread);
    shared.stop_flag = STOP_REPORT;
    return true;
}

// A search of depth 0 gives the quiescence score of the root.
void search_quiescence_only(SearchThread &thread) {
    if (!thread.is_main() || thread.plies[ROOT_PLY].in_check()) return;
    Line pv{};
    const int score = quiesce(thread, ROOT_PLY, 0, -INFINITE, INFINITE, PV_NODE, pv);
    thread.shared->result.score = static_cast<std::int16_t>(score);
}

// Everything between the root's moves and the end. Whether the iterations were begun and went their way.
void search_position(SearchThread &thread, bool quiescence_only) {
    SearchShared &shared = *thread.shared;
    if (quiescence_only) {
        search_quiescence_only(thread);
        return;
    }
    score_root_moves(thread);
    if (thread.is_main() && thread.root_count == 1 && shared.hurries_single_reply) shared.single_reply = 1;
    if (thread.is_main() ? play_from_tablebases(thread) : shared.root_tb_result != NO_TB_RESULT) return;
    deepen(thread);
}

}  // namespace

void set_line(SearchThread &thread, Move first, const Line &rest, int score) {
    thread.line[1] = first;
    std::size_t i = 2;
    for (; i < PV_SIZE && rest[i] != NO_MOVE; ++i) thread.line[i] = rest[i];
    if (i < PV_SIZE) thread.line[i] = NO_MOVE;
    thread.score = static_cast<std::int16_t>(score);
}

void search_thread(SearchThread &thread) {
    SearchShared &shared = *thread.shared;
    refresh_eval_caches(thread.eval);
    if (thread.is_main()) {
        shared.table.fresh = false;
    } else {
        while (shared.iteration <= 1 && !thread.stopped()) sleep_ms(1);
        if (thread.stopped()) return;
    }
    if (!thread.ordering_is_new) reset_ordering(thread);
    initialise_root(thread);
    const bool quiescence_only = shared.max_depth < 1;
    // Moves are learnt from at depths of 1 and more, which check extensions alone do not reach.
    thread.ordering_is_new = quiescence_only;
    generate_root_moves(thread, quiescence_only && thread.is_main());
    if (thread.root_count == 0) {
        report_no_move(thread);
        return;
    }
    search_position(thread, quiescence_only);
    if (thread.is_main() && !thread.stopped()) shared.stop_flag = STOP_REPORT;
}
