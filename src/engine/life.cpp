#include "engine/life.h"

#include <algorithm>

#include "board/legality.h"
#include "board/makemove.h"
#include "board/repetition.h"
#include "book/probe.h"
#include "platform/clock.h"
#include "search/report.h"
#include "search/threads.h"
#include "search/timing.h"

namespace {

constexpr double LONGEST_CONTEMPT = 6000.0;  // planned time from which on contempt rests, seconds
constexpr double MILLISECOND = 0.001;

// A hash table of the size that the settings want; of the smallest, or none, when there is no memory for it.
void fit_table(Engine &engine) {
    SearchShared &shared = engine.shared;
    TranspositionTable &table = shared.table;
    const int megabytes = engine.settings.Hash;
    if (megabytes != table.megabytes) {
        if (allocate_table(engine)) {
            warm_table(shared);
        } else {
            shared.reporter.fail(Failure::HASH_TABLE, "not enough memory for the hash table");
            engine.settings.Hash = 0;
            if (!allocate_table(engine)) table.enabled = 0;
        }
    }
    if (engine.settings.Hash < 1 && table.enabled != 0) {
        table.enabled = 0;
        table.off_by_size = true;
    } else if (engine.settings.Hash >= 1 && table.off_by_size) {
        table.enabled = 1;
        table.off_by_size = false;
    }
}

void reset_result(RootResult &result) {
    result.score = -MATE;
    result.bound = BOUND_EXACT;
    result.depth = 0;
    result.change_depth = 0;
    for (int i = 0; i < PV_SIZE; ++i) {
        result.pv[i] = NO_MOVE;
        result.score_by_depth[i] = -INFINITE;
    }
}

// Those of the wanted root moves that can be played, each once.
std::vector<Move> playable(const Position &pos, const std::vector<Move> &wanted) {
    std::vector<Move> found;
    if (wanted.empty()) return found;
    MoveList list;
    const MoveEntry *end = gen_legal(pos, list.data());
    for (const MoveEntry *entry = list.data(); entry != end; ++entry)
        if (std::find(wanted.begin(), wanted.end(), entry->move) != wanted.end()) found.push_back(entry->move);
    return found;
}

// At least 1.
int root_move_count(const Engine &engine) {
    if (!engine.shared.root_moves.empty()) return static_cast<int>(engine.shared.root_moves.size());
    MoveList list;
    return std::max(static_cast<int>(gen_legal(engine.game.position, list.data()) - list.data()), 1);
}

void reset_shared_state(Engine &engine) {
    SearchShared &shared = engine.shared;
    const Settings &settings = engine.settings;
    shared.stop_flag = STOP_NONE;
    shared.iteration = 0;
    shared.single_reply = 0;
    shared.last_iteration = 0;
    shared.root_tb_result = NO_TB_RESULT;
    reset_result(shared.result);
    shared.tb_depths = {settings.SyzygyProbeDepth5, settings.SyzygyProbeDepth6};
    shared.multi_pv = settings.MultiPV;
    shared.pv_lines = settings.MultiPV > 1 ? std::min<int>(settings.MultiPV, root_move_count(engine)) : 1;
    const std::lock_guard<std::mutex> guard(shared.stats_lock);
    shared.nodes_by_depth.fill(0);
}

ClockInput clock_input(const Engine &engine, const SearchLimits &limits) {
    const Settings &settings = engine.settings;
    return {limits.tc_mode,
            limits.time_per_move,
            limits.clock[engine.game.position.side],
            limits.increment,
            limits.moves_to_go,
            limits.count_period,
            engine.game.plies(),
            settings.MoveOverhead * MILLISECOND,
            settings.Ponder != 0,
            settings.UCI_Elo};
}

void report_plan(const Engine &engine) {
    const SearchShared &shared = engine.shared;
    if (shared.noise >= NO_PROGRESS_LINES || shared.reporter.planned == nullptr) return;
    shared.reporter.planned(shared.reporter.context, engine.game.position,
                            {engine.game.plies(), shared.plan.clock, shared.plan.target});
}

// Whether the move may be played unsearched: the game is not over in the position that it leads to.
bool book_move_accepted(Game &game, Move move) {
    const Move recorded = game.recorded_move();
    make_move(game.position, move);
    const bool refused = drawn_before_search(game.position);
    unmake_move(game.position);
    game.recorded_move() = recorded;
    return !refused;
}

// Takes the answer from the opening book when there is one for the position. Who asks for a mate wants no book move.
bool play_from_book(Engine &engine) {
    const Settings &settings = engine.settings;
    const Reporter &reporter = engine.shared.reporter;
    if (settings.OwnBook == 0 || engine.shared.mate_in > 0 || engine.game.plies() >= settings.OwnBook_Depth)
        return false;
    const BookDraw draw =
        probe_book(engine.game.position, {settings.OwnBook_File.view(), settings.OwnBook_Variety}, engine.random);
    if (reporter.book_drawn != nullptr) reporter.book_drawn(reporter.context, draw);
    if (draw.move == NO_MOVE || !may_be_searched(engine.shared, draw.move) ||
        !book_move_accepted(engine.game, draw.move))
        return false;
    if (reporter.book_move != nullptr) reporter.book_move(reporter.context, draw.move);
    engine.shared.result.pv[1] = draw.move;
    engine.shared.result.score = 0;
    engine.shared.stop_flag = STOP_REPORT;
    return true;
}

Move first_root_move(const Engine &engine) {
    if (!engine.shared.root_moves.empty()) return engine.shared.root_moves.front();
    MoveList list;
    return gen_legal(engine.game.position, list.data()) != list.data() ? list[0].move : NO_MOVE;
}

}  // namespace

std::string_view unsearchable_reason(const Engine &engine) { return unsearchable_reason(engine.game.position); }

void begin_search(Engine &engine, const SearchLimits &limits, SearchRequest request) {
    SearchShared &shared = engine.shared;
    shared.start = monotonic_seconds();
    shared.elapsed = 0.0;
    engine.game.history.ply = ROOT_PLY;
    engine.fallback_move = NO_MOVE;
    // A rate of 0 comes from a strength that was asked for before the machine's speed was known.
    if (engine.settings.UCI_LimitStrength == 0 || shared.target_nps <= 0.0) shared.target_nps = UNLIMITED_NPS;
    change_depth_limit(engine, limits.mate_alone ? MAX_DEPTH : limits.max_depth);
    change_noise(engine, limits.noise);
    shared.node_limit = limits.mate_alone ? 0 : limits.node_limit;
    shared.show_evaluation = limits.show_evaluation;
    shared.mate_in = limits.mate_in;
    shared.clock_rests = limits.mate_alone;
    shared.root_moves = playable(engine.game.position, limits.root_moves);
    shared.hurries_single_reply = shared.root_moves.empty() && !(limits.literal && limits.tc_mode == 1);
    reset_shared_state(engine);
    tt_next_age(shared.table);
    fit_table(engine);
    shared.search_state = request;
    if (engine.settings_changed) {
        shared.reporter.say("info string setting search and eval params...");
        derive_tables(engine);
        engine.settings_changed = false;
    }
    shared.plan = plan_time(clock_input(engine, limits));
    set_contempt_context(shared.eval_tables, engine.game.position.side, shared.plan.target < LONGEST_CONTEMPT);
    report_plan(engine);
}

void release_threads(Engine &engine) {
    prepare_threads(engine.shared, engine.game.position);
    start_search_threads(engine.shared);
}

void search_here(Engine &engine) {
    search_thread(prepare_thread(engine));
    update_elapsed(engine.shared);
}

SearchThread &prepare_thread(Engine &engine) {
    prepare_threads(engine.shared, engine.game.position);
    return search_thread_at(engine.shared.pool, 0);
}

void start_search(Engine &engine, const SearchLimits &limits, SearchRequest request) {
    begin_search(engine, limits, request);
    if (const std::string_view reason = unsearchable_reason(engine); !reason.empty()) {
        engine.shared.reporter.say("info string cannot search this position: " + std::string(reason));
        return;
    }
    if (play_from_book(engine) || (engine.game.position.fifty > FIFTY_MOVES && !limits.literal)) return;
    if (engine.shared.max_depth >= 1 || limits.literal) engine.fallback_move = first_root_move(engine);
    release_threads(engine);
}

bool searching(const Engine &engine) { return engine.shared.search_state != REQUEST_NONE; }

bool pondering(const Engine &engine) { return engine.shared.search_state == REQUEST_PONDER; }

bool threads_busy(const Engine &engine) { return busy_threads(engine.shared.pool) != 0; }

void poll_search(Engine &engine) { check_time(engine.shared); }

void change_depth_limit(Engine &engine, int max_depth) { engine.shared.max_depth = max_depth; }

void change_noise(Engine &engine, double noise) { engine.shared.noise = noise; }

void end_pondering(Engine &engine) {
    if (searching(engine)) engine.shared.search_state = REQUEST_SEARCH;
}

void stop_search(Engine &engine, StopReason reason) { engine.shared.stop_flag = reason; }

void stop_and_wait(Engine &engine, StopReason reason) {
    stop_search(engine, reason);
    wait_until_idle(engine.shared.pool);
}

SearchResult finish_search(Engine &engine) {
    SearchShared &shared = engine.shared;
    const RootResult &root = shared.result;
    update_elapsed(shared);
    SearchResult result;
    result.line = final_line(shared);
    result.pv = plain_line(root.pv);
    const bool published = result.pv[1] != NO_MOVE;
    result.best = published ? result.pv[1] : engine.fallback_move;
    result.ponder = published ? result.pv[2] : NO_MOVE;
    result.score = root.score;
    result.depth = root.depth;  // NOLINT(bugprone-signed-char-misuse): a small number of plies
    result.elapsed = shared.elapsed;
    result.stats = sum_thread_stats(shared.pool);
    result.branching_factor = branching_factor(shared);
    if (shared.pool.size > 0) result.root_eval = search_thread_at(shared.pool, 0).root_eval;
    shared.search_state = REQUEST_NONE;
    return result;
}

void interrupt_search(Engine &engine) {
    stop_and_wait(engine, STOP_ABANDON);
    if (!searching(engine) || pondering(engine)) return;
    SearchResult result = finish_search(engine);
    result.interrupted = true;
    const Reporter &reporter = engine.shared.reporter;
    if (reporter.search_interrupted != nullptr) reporter.search_interrupted(reporter.context, result);
}

SearchResult search(Engine &engine, const SearchLimits &limits, const SearchPoll &poll) {
    begin_search(engine, limits, REQUEST_ANALYSIS);
    return complete_search(engine, poll);
}

SearchResult complete_search(Engine &engine, const SearchPoll &poll) {
    if (unsearchable_reason(engine).empty()) release_threads(engine);
    while (threads_busy(engine)) {
        poll_search(engine);
        if (poll.poll != nullptr) poll.poll(poll.context);
        wait_until_idle(engine.shared.pool, engine.shared.stop_flag == STOP_NONE ? poll.pause_ms : 1);
    }
    return finish_search(engine);
}
