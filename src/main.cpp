// Entry point: start-up in a fixed order, one mode, shut-down.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/control.h"
#include "base/output.h"
#include "board/attacks.h"
#include "eval/kpk.h"
#include "eval/parameters.h"
#include "frontend/command_line.h"
#include "frontend/engine.h"
#include "frontend/options.h"
#include "platform/clock.h"
#include "platform/interrupt.h"
#include "search/params.h"
#include "search/settings.h"
#include "search/strength.h"
#include "search/threads.h"
#include "search/tt.h"
#include "tablebase/registry.h"
#include "tools/tools.h"

namespace {

void tablebase_warning(void * /*context*/, std::string_view text) { std::fwrite(text.data(), 1, text.size(), stderr); }

void tablebase_failure(void * /*context*/, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(nullptr);
    std::_Exit(1);  // other threads may be running
}

bool start_up(int count, char **arguments, CommandLine &line) {
    std::srand(wall_clock_seed());
    tablebases.report = {nullptr, tablebase_warning, tablebase_failure};
    random_generator = RandomGenerator(wall_clock_seed());
    if (!allocate_game()) return false;
    init_attacks();
    build_kpk();
    default_settings = Settings{};
    settings = default_settings;
    uci_mode = 1;
    line = parse_command_line(count, arguments);
    if (start_threads(settings.Threads) != 0 || !tt_allocate()) return false;
    if (settings.Log != 0) settings.Log = set_logging(true) ? 1 : 0;
    if (!request_fine_timer()) print_line("error setting timer resolution\n");
    default_settings = settings;
    if (!settings.ConfigFilePath.empty()) load_config_file();
    derive_search_params();
    derive_eval_tables(settings.weights, eval_tables);
    settings.settings_changed = 0;
    return true;
}

constexpr int BENCH_POSITIONS = 20;
constexpr int IN_THREAD_POSITIONS = 10;

void run(const CommandLine &line) {
    if (line.mode != RunMode::ENGINE && line.mode != RunMode::MAKE_BOOK) catch_interrupt();
    switch (line.mode) {
    case RunMode::ENGINE:
        calibrate_speed();
        set_up_tablebases();
        engine_loop();
        break;
    case RunMode::ANALYSE_EPD: analyse_epd_file(line.tool_file.c_str(), poll_while_working); break;
    case RunMode::SCAN_PGN_1: scan_pgn_file(line.source_file.c_str(), 1, poll_while_working); break;
    case RunMode::SCAN_PGN_2: scan_pgn_file(line.source_file.c_str(), 2, poll_while_working); break;
    case RunMode::SCAN_PGN_3: scan_pgn_file(line.source_file.c_str(), 3, poll_while_working); break;
    case RunMode::SCAN_PGN_4: scan_pgn_file(line.source_file.c_str(), 4, poll_while_working); break;
    case RunMode::MATCH: noise = 1000.0; break;
    case RunMode::BENCH:
    case RunMode::BENCH_2: run_benchmark(BENCH_POSITIONS, false, poll_while_working); break;
    case RunMode::BENCH_IN_THREAD: run_benchmark(IN_THREAD_POSITIONS, true, poll_while_working); break;
    case RunMode::MAKE_CONFIG: break;
    case RunMode::MAKE_BOOK: build_book(line.source_file.c_str()); break;
    case RunMode::MAKE_TUNING: make_training_file(line.tool_file.c_str(), poll_while_working); break;
    case RunMode::TUNE: run_gradient_tuning(line.tool_file.c_str(), poll_while_working); break;
    case RunMode::SELF_PLAY_TUNING: run_selfplay_tuning(poll_while_working); break;
    }
}

void shut_down() {
    stop_threads();
    tb_setup(tablebases, {});
    tt_free();
    free_game();
    release_fine_timer();
    close_log();
}

}  // namespace

int main(int count, char **arguments) {
    CommandLine line;
    const bool started = start_up(count, arguments, line);
    if (started) run(line);
    shut_down();
    return started ? 0 : 1;
}
