#include "engine/engine.h"

#include <algorithm>

#include "base/output.h"
#include "board/attacks.h"
#include "board/hash_codes.h"
#include "eval/kpk.h"
#include "platform/clock.h"
#include "search/threads.h"

namespace {

// Moves on the board belong to no iteration and have no depth.
void trace_game_move(void *context, const Position &pos, Move move) {
    Engine &engine = *static_cast<Engine *>(context);
    if (write_trace(engine.shared.trace, {pos.history->ply, 0, 0, move})) return;
    set_trace_level(engine, 0);
    engine.shared.reporter.fail(Failure::TRACE_FILE, "cannot create trace.txt");
}

void warn(void *context, std::string_view text) {
    const Reporter &reporter = static_cast<Engine *>(context)->shared.reporter;
    if (reporter.warning != nullptr) reporter.warning(reporter.context, text);
}

void fail(void *context, std::string_view text) {
    static_cast<Engine *>(context)->shared.reporter.fail(Failure::TABLEBASE, text);
}

}  // namespace

Engine::~Engine() { stop_engine(*this); }

bool build_constant_tables() {
    static const bool good = [] {
        init_attacks();
        build_kpk();
        return generate_hash_codes();
    }();
    return good;
}

int start_engine(Engine &engine, const Settings &settings, const Reporter &reporter) {
    SearchShared &shared = engine.shared;
    stop_engine(engine);
    if (!build_constant_tables()) reporter.say("bad hashcode");
    engine.settings = settings;
    engine.settings.Threads = std::clamp<std::int16_t>(settings.Threads, 1, MAX_THREADS);
    engine.settings.Hash = std::clamp<std::int16_t>(settings.Hash, 0, MAX_HASH_MB);
    engine.default_settings = engine.settings;
    engine.random = RandomGenerator(wall_clock_seed());
    engine.game.trace = {trace_game_move, &engine};
    shared.reporter = reporter;
    shared.tablebases.report = {&engine, warn, fail};
    set_fen(engine.game.position, START_FEN);
    if (const int error = start_threads(shared, engine.settings.Threads); error != 0) return error;
    if (!allocate_table(engine)) return 1;
    derive_tables(engine);
    engine.settings_changed = false;
    return 0;
}

void stop_engine(Engine &engine) {
    stop_threads(engine.shared);
    tb_setup(engine.shared.tablebases, {});
    tt_free(engine.shared.table);
    set_trace_level(engine, 0);
    engine.shared.trace.file.reset();
    engine.shared.trace.last_ply = 0;
    engine.shared.trace.last_iteration = -1;
    engine.shared.search_state = REQUEST_NONE;
    engine.shared.target_nps = UNLIMITED_NPS;
    engine.calibrated_nps = engine.calibrated_elo = 0.0;
}

void derive_tables(Engine &engine) {
    const Settings &settings = engine.settings;
    SearchShared &shared = engine.shared;
    derive_search_params(settings.search, settings.UCI_Elo, shared.target_nps, shared.params);
    derive_eval_tables(settings.weights, shared.eval_tables);
}

bool allocate_table(Engine &engine) {
    SearchShared &shared = engine.shared;
    if (!tt_allocate(shared.table, engine.settings.Hash)) return false;
    shared.reporter.say(format_line("info string allocated %d Mbytes for hash table\n", engine.settings.Hash));
    return true;
}

TbSetup set_up_tablebases(Engine &engine, std::string_view paths) {
    const TbSetup setup = tb_setup(engine.shared.tablebases, paths);
    const Reporter &reporter = engine.shared.reporter;
    if (!setup.error.empty())
        reporter.fail(Failure::TABLEBASE, setup.error);
    else if (setup.searched && reporter.tablebases_found != nullptr)
        reporter.tablebases_found(reporter.context, setup.tables);
    return setup;
}

void set_trace_level(Engine &engine, int level) {
    set_trace_level(engine.shared, level);
    engine.game.history.trace = level != 0 ? &engine.game.trace : nullptr;
}
