#include "search/timing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/output.h"
#include "board/fen.h"
#include "board/legality.h"
#include "board/movegen.h"
#include "eval/parameters.h"
#include "platform/clock.h"
#include "search/params.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/tt.h"

namespace {

constexpr double LEAST_TIME = 0.002;         // target of any search, seconds
constexpr double FIRST_CHECK = 0.015;        // no decision before this, seconds,
constexpr double FIRST_CHECK_SHARE = 32.0;   // or before this part of a clock that is nearly empty
constexpr double LONGEST_CONTEMPT = 6000.0;  // planned time from which on contempt rests, seconds
constexpr double LARGEST_SAFETY = 0.025;     // seconds taken off the limit
constexpr int STRONG_ELO = 2400;

// The plan of the running search. Written by begin_search.
struct {
    double start;          // monotonic clock
    double target;         // seconds
    double clock;          // seconds on the side to move's clock; the move's time in fixed-time mode
    double move_overhead;  // seconds
    double safety;         // seconds taken off the limit; none in fixed-time mode
    double first_check;    // seconds before which no decision is taken
    bool pondering_allowed;
} plan;

Relaxed<std::int16_t> time_extension(0);  // percent of the remaining time that the last check granted

bool hash_off_by_size = false;  // a size of 0 has switched the table off

void apply_settings() {
    if (settings.Hash != tt_megabytes() && !tt_allocate()) {
        stop_threads();
        std::exit(-1);
    }
    if (settings.Hash < 1 && hash_enabled != 0) {
        hash_enabled = 0;
        hash_off_by_size = true;
    } else if (settings.Hash >= 1 && hash_off_by_size) {
        hash_enabled = 1;
        hash_off_by_size = false;
    }
}

void reset_shared_state() {
    stop_flag = STOP_NONE;
    time_extension = 0;
    root_result.score = -MATE;
    root_result.depth = 0;
    root_result.change_depth = 0;
    for (std::size_t i = 0; i < PV_SIZE; ++i) {
        root_result.pv[i] = NO_MOVE;
        root_result.score_by_depth[i] = -INFINITE;
        root_result.move_by_depth[i] = NO_MOVE;
    }
    search_shared.iteration = 0;
    search_shared.single_reply = 0;
    search_shared.last_iteration = 0;
    search_shared.root_tb_result = NO_TB_RESULT;
    search_shared.tb_depths = {settings.SyzygyProbeDepth5, settings.SyzygyProbeDepth6};
    search_shared.multi_pv = settings.MultiPV;
    MoveList list;
    const auto legal_moves = static_cast<int>(gen_legal(game->position, list.data()) - list.data());
    search_shared.pv_lines = std::clamp<int>(settings.MultiPV, 1, std::max(legal_moves, 1));
    const std::lock_guard<std::mutex> guard(stats_lock);
    search_shared.nodes_by_depth.fill(0);
}

// Moves to plan for, with the one being searched; `many` when enough lie ahead for pondering to pay.
int planned_moves(int game_ply, bool &many) {
    if (tc_mode > 1) {
        if (uci_mode != 1) moves_to_go = tc_mode - (game_ply / 2) % tc_mode;
        const int moves = std::max(moves_to_go, 0);
        many = moves > 2;
        return moves + 1;
    }
    many = true;
    return game_ply <= 21 ? 33 - game_ply / 2 + 1 : 24;
}

void plan_time(Colour side) {
    plan.move_overhead = settings.MoveOverhead * 0.001;
    plan.safety = tc_mode == 1 ? 0.0 : std::min(plan.move_overhead, LARGEST_SAFETY);
    plan.first_check = FIRST_CHECK;
    plan.pondering_allowed = settings.Ponder != 0;
    if (tc_mode == 1) {
        plan.clock = time_per_move;
        plan.target = std::max(time_per_move, LEAST_TIME);
        return;
    }
    plan.clock = side == WHITE ? clock_white : clock_black;
    plan.first_check = std::clamp((plan.clock - plan.move_overhead) / FIRST_CHECK_SHARE, 0.0, FIRST_CHECK);
    bool many = false;
    const int moves = planned_moves(game->history.undo_count, many);
    plan.target = plan.clock / moves;
    if (plan.pondering_allowed && many) plan.target *= 1.3;
    if (settings.UCI_Elo < STRONG_ELO) plan.target *= 0.85;
    if (increment > 0.0) plan.target += increment * plan.clock / (2.0 * increment + plan.clock);
    plan.target = std::min(plan.target, 0.65 * plan.clock - 5.0 * plan.move_overhead);
    plan.target = std::max(plan.target, LEAST_TIME);
}

void report_plan() {
    if (noise >= NO_PROGRESS_LINES) return;
    const int ply = game->history.undo_count;
    const std::string fen = get_fen(game->position);
    if (uci_mode == 1) {
        log_line("info string fen " + fen);
        log_line(format_line("info string ply= %d, trg_time= %0.3f sec", ply, plan.target));
    } else {
        print_line("fen " + fen);
        print_format("Ply= %d, cnt50= %d, Clock= %0.2fs, Target time= %0.2fs", ply, game->position.fifty, plan.clock,
                     plan.target);
    }
}

// Percent of the remaining time that the threads' disagreement with the published result is worth.
int thread_extension(int depth, int published_score) {
    int extension = 0;
    const Move published = root_result.pv[1];
    for (int i = 0; i < thread_count(); ++i) {
        const SearchThread &thread = search_thread_at(i);
        if (thread.iteration < depth) continue;
        const int score = thread.score;
        if (thread.line[1] != published && score > published_score) {
            if (i == 0 && thread.aspiration == FAILING_HIGH) extension = std::max(extension, 2);
            if (score > published_score + 24) extension = std::max(extension, 4);
        } else if (thread.line[1] == published && score < published_score && thread.aspiration == FAILING_LOW) {
            extension = i == 0 ? 24 : std::max(extension, 16);
        }
    }
    return extension;
}

// The same from the trend of the published score and from how long the best move has stood.
int score_extension(int depth, int extension) {
    const int before = root_result.score_by_depth[static_cast<std::size_t>(depth - 1)];
    const int score = root_result.score;
    int big = 300;
    int small = 75;
    if (std::abs(before) < 960) {
        small = std::abs(before) / 16 + 15;
        big = 4 * small;
    }
    if (score < before - big) {
        extension = 24;
    } else if (score < before - 2 * small) {
        extension = std::max(extension, 10);
    } else if (score < before - small) {
        extension = std::max(extension, 4);
    } else if (extension == 0 && depth > 4) {
        // Stable: less time the longer the move has stood.
        const int change = root_result.change_depth;
        if (depth == change) return 2;
        if (depth - 1 == change) return 1;
        if (search_shared.elapsed <= 0.5 * plan.target) return 0;
        return depth - 9 > change ? -2 : depth - 5 > change ? -1 : 0;
    }
    return depth < 4 ? extension / 2 : extension;
}

}  // namespace

void begin_search() {
    plan.start = monotonic_seconds();
    game->history.ply = 1;
    game->line[1] = NO_MOVE;
    const Colour side = game->position.side;
    search_shared.elapsed = 0.0;
    // A rate of 0 comes from a strength that was asked for before the machine's speed was known.
    if (settings.UCI_LimitStrength == 0 || target_nps <= 0.0) target_nps = UNLIMITED_NPS;
    reset_shared_state();
    tt_age = static_cast<std::uint16_t>(tt_age >= 15 ? 1 : tt_age + 1);
    apply_settings();
    search_shared.hash_megabytes = tt_megabytes();
    search_state = search_request;
    if (settings.settings_changed != 0) {
        print_line("info string setting search and eval params...");
        derive_search_params();
        derive_eval_tables();
        settings.settings_changed = 0;
    }
    plan_time(side);
    set_contempt_context(side, plan.target < LONGEST_CONTEMPT);
    report_plan();
}

void update_elapsed() { search_shared.elapsed = monotonic_seconds() - plan.start; }

void check_time() {
    update_elapsed();
    const int depth = search_shared.iteration;
    const double elapsed = search_shared.elapsed;
    if (stop_flag != STOP_NONE || search_state == REQUEST_PONDER || depth < 2 || elapsed < plan.first_check) return;
    const int extension = score_extension(depth, thread_extension(depth, root_result.score));
    time_extension = static_cast<std::int16_t>(extension);
    const double remaining = std::max(0.0, plan.clock - elapsed);
    const double limit = plan.target + extension / 100.0 * remaining - plan.safety;
    if ((search_shared.single_reply != 0 && depth > 4) || 5.0 * plan.safety > remaining || elapsed >= limit)
        stop_flag = search_state == REQUEST_SEARCH ? STOP_REPORT : STOP_ABANDON;
}

double branching_factor() {
    const int last = search_shared.last_iteration;
    const std::lock_guard<std::mutex> guard(stats_lock);
    const auto nodes = [](int depth) {
        return static_cast<double>(search_shared.nodes_by_depth[static_cast<std::size_t>(depth)]);
    };
    if (last < 6 || nodes(last) == 0.0 || nodes(last - 4) == 0.0) return 2.0;
    return std::pow(nodes(last) / nodes(last - 4), 0.25);
}

double target_seconds() { return plan.target; }
