// Entry point: start-up in a fixed order, one mode, shut-down.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "base/output.h"
#include "base/version.h"
#include "engine/options.h"
#include "engine/strength.h"
#include "frontend/command_line.h"
#include "frontend/manual.h"
#include "frontend/reporters.h"
#include "platform/clock.h"
#include "platform/interrupt.h"
#include "platform/process.h"
#include "platform/processor.h"
#include "search/threads.h"

namespace {

// Runs ahead of the tables that are set up before main: their code may use what is missing.
[[gnu::constructor(101)]] void require_processor() {
    const char *missing = missing_instructions();
    if (missing == nullptr) return;
    std::fprintf(stderr, "dral: this processor lacks the instruction set %s, which this program was built for\n",
                 missing);
    std::_Exit(1);
}

bool start_up(FrontEnd &front, const CommandLine &line) {
    Engine &engine = front.engine;
    front.uci = line.uci;
    front.limits = front.start_limits = line.limits;
    const bool converses = line.mode == RunMode::ENGINE;  // what tools print is no line of a protocol
    if (converses) choose_dialect(front, line.settings);
    if (!line.answers.empty()) print_display(line.answers);
    if (start_engine(engine, line.settings, make_reporter(front)) != 0) return false;
    if (line.target_nps.has_value()) engine.shared.target_nps = *line.target_nps;
    if (engine.settings.Log != 0) engine.settings.Log = set_logging(true) ? 1 : 0;
    switch (request_fine_timer()) {
    case TimerRequest::GRANTED: break;
    case TimerRequest::UNKNOWN: print_line("error setting timer resolution\n"); break;
    case TimerRequest::REFUSED: print_line("Error setting timer resolution"); break;
    }
    engine.default_settings = engine.settings;
    if (!engine.settings.ConfigFilePath.empty()) load_config_file(engine);
    if (converses) choose_dialect(front, engine.settings);
    derive_tables(engine);
    engine.settings_changed = false;
    return true;
}

void run_engine(FrontEnd &front) {
    Engine &engine = front.engine;
    const double seconds = calibrate_speed(engine);
    print_format("info string et= %.3f, calibration nps= %0.0f", seconds, engine.calibrated_nps);
    warm_table(engine.shared);  // not before: it would take part of the speed
    set_up_tablebases(engine, engine.settings.SyzygyPath.view());
    run_loop(front);
}

constexpr int BENCH_POSITIONS = 20;
constexpr int IN_THREAD_POSITIONS = 10;

// Whether the mode could do its work.
bool run(FrontEnd &front, const CommandLine &line) {
    if (line.mode == RunMode::ENGINE) {
        run_engine(front);
        return true;
    }
    if (line.mode != RunMode::MAKE_BOOK) catch_interrupt();
    ToolRun tool = tool_run(front);
    tool.limited = line.limited;
    tool.parallel = line.parallel;
    tool.resume = line.resume;
    tool.held_out = line.held_out_file;
    tool.weights = line.weights;
    switch (line.mode) {
    case RunMode::ANALYSE_EPD: analyse_epd_file(tool, line.tool_file.c_str(), line.against_file.c_str()); break;
    case RunMode::SCAN_PGN_1: scan_pgn_file(tool, line.source_file.c_str(), 1); break;
    case RunMode::SCAN_PGN_2: scan_pgn_file(tool, line.source_file.c_str(), 2); break;
    case RunMode::SCAN_PGN_3: scan_pgn_file(tool, line.source_file.c_str(), 3); break;
    case RunMode::SCAN_PGN_4: scan_pgn_file(tool, line.source_file.c_str(), 4); break;
    case RunMode::REVIEW: review_games(tool, line.source_file.c_str()); break;
    case RunMode::REPORT: write_report(tool, line.source_file.c_str()); break;
    case RunMode::BENCH:
    case RunMode::BENCH_2: run_benchmark(tool, BENCH_POSITIONS, false); break;
    case RunMode::BENCH_IN_THREAD: run_benchmark(tool, IN_THREAD_POSITIONS, true); break;
    case RunMode::BENCH_FOR_TESTERS: run_tester_benchmark(tool, BENCH_POSITIONS); break;
    case RunMode::MAKE_BOOK: build_book(line.source_file.c_str()); break;
    case RunMode::MAKE_TUNING: make_training_file(tool, line.tool_file.c_str()); break;
    case RunMode::TUNE: run_gradient_tuning(tool, line.tool_file.c_str()); break;
    case RunMode::SELF_PLAY_TUNING: run_selfplay_tuning(tool); break;
    case RunMode::ENGINE:
    case RunMode::MATCH:
    case RunMode::MAKE_CONFIG:
    case RunMode::HELP:
    case RunMode::VERSION:
    case RunMode::TABLES: break;
    }
    return !tool.failed;
}

void print_information(RunMode mode) {
    if (mode == RunMode::HELP) print_display(help_text());
    if (mode == RunMode::VERSION) print_display(version_text());
    if (mode == RunMode::TABLES) print_display(tables_text());
}

}  // namespace

int main(int count, char **arguments) {
    const CommandLine line = parse_command_line(begin_process(count, arguments));
    if (prints_only(line.mode)) {
        print_information(line.mode);
        return end_process(0);
    }
    const auto engine = std::make_unique<Engine>();
    FrontEnd front(*engine);
    const bool done = start_up(front, line) && run(front, line);
    stop_engine(*engine);
    release_fine_timer();
    close_log();
    return end_process(done ? 0 : 1);
}
