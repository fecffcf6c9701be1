#include "tools/training.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "base/output.h"
#include "base/progress.h"
#include "base/text.h"
#include "games/epd.h"
#include "games/results.h"
#include "tools/screen.h"
#include "tools/tool_search.h"

namespace {

constexpr int DECIDED_SCORE = 900;  // centipawns; positions beyond this are not used

// Score in centipawns to the expected result, 0 to 1 (the logistic curve of the Elo system).
double expected_result(double score) {
    constexpr double SCALE = 400.0;
    return 1.0 / (1.0 + std::pow(10.0, -score / SCALE));
}

// A training position.
struct TrainingRecord {
    std::string fen;
    double result;  // of White: 1 won, 0.5 drawn, 0 lost
    int ce, c6;     // scores when the file was made, and six plies later
};

// False for a line that is no record with a result.
bool read_training_record(std::string_view line, TrainingRecord &record) {
    constexpr std::string_view RESULT = " c9 ";
    constexpr std::size_t LONGEST_RESULT = 255;
    EpdRecord epd;
    const std::size_t at = line.find(RESULT);
    if (at == std::string_view::npos || !parse_epd_record(line, epd)) return false;
    const std::string_view text = line.substr(at + RESULT.size()).substr(0, LONGEST_RESULT);
    const GameResult result = result_in(text);
    if (result == GameResult::UNKNOWN) return false;
    record.result = points_of_white(result);
    record.fen = std::move(epd.fen);
    record.ce = clamped_integer(epd.ce, -32768, 32767);
    record.c6 = epd.c6.empty() ? record.ce : clamped_integer(epd.c6, -32768, 32767);
    return true;
}

// The result does not fit what the scores promised; `r` from the side to move's view.
bool unfit_for_training(double r, int ce, int c6) {
    constexpr int AGAINST = 150;  // centipawns against the result six plies later,
    constexpr int SWING = 50;     // or a change so far away from it
    return (r == 1.0 && (c6 < -AGAINST || c6 - ce < -SWING)) || (r == 0.0 && (c6 > AGAINST || c6 - ce > SWING));
}
bool contradicted(double r, int c6) {
    constexpr double CONFIDENT = 0.7;  // expected result of the side that does not win
    constexpr double HOPELESS = 0.3;   // expected result of the side that wins
    return (r == 0.0 && expected_result(c6) > CONFIDENT) || (r == 1.0 && expected_result(c6) < HOPELESS);
}

// Sums over the records of a file.
struct ErrorSum {
    double sum = 0.0;
    int counted = 0;
};

// Adds the error of a record whose position has the quiescence score `q`. `r`: its result, from the side to move's view
// as well.
void add_error(ErrorSum &errors, const TrainingRecord &record, int q, double r, std::string_view line,
               OutputFile *filtered) {
    if (std::abs(q) > DECIDED_SCORE) return;
    if (filtered != nullptr) {
        if (unfit_for_training(r, record.ce, record.c6)) return;
        filtered->write(std::string(line) + "\n");
    }
    if (contradicted(r, record.c6)) return;
    errors.sum += std::fabs(expected_result(q) - r);
    ++errors.counted;
}

// Consecutive lines of a training file.
struct Batch {
    static constexpr std::size_t LINES = 256;
    std::vector<std::string> lines;
    std::int64_t position = 0;  // in the file, behind them
};
struct ScoredRecord {
    std::size_t line;
    TrainingRecord record;
    int score;  // from the side to move's view
    Colour side;
};
// What is in a batch, up to a record that cannot be searched as it stands.
struct BatchScores {
    std::vector<ScoredRecord> records;
    std::string unsearchable;  // position of that record; empty: there is none
    std::size_t unsearchable_line = 0;
};

// False at the end of the file.
bool read_batch(LineReader &file, Batch &batch) {
    std::string_view line;
    while (batch.lines.size() < Batch::LINES && file.next(line))
        if (!line.empty() && line[0] != ';' && line[0] != '#' && line[0] != ' ') batch.lines.emplace_back(line);
    batch.position = file.position();
    return !batch.lines.empty();
}

bool set_up_record(Position &pos, const TrainingRecord &record) {
    return !set_fen(pos, record.fen).rights_dropped && unsearchable_reason(pos).empty();
}

BatchScores score_batch(Worker &worker, const Batch &batch, const SearchLimits &limits) {
    Engine &engine = worker.engine;
    BatchScores result;
    result.records.reserve(batch.lines.size());
    for (std::size_t i = 0; i < batch.lines.size(); ++i) {
        TrainingRecord record;
        if (!read_training_record(batch.lines[i], record)) continue;
        if (!set_up_record(engine.game.position, record)) {
            result.unsearchable = record.fen;
            result.unsearchable_line = i;
            break;
        }
        begin_search(engine, limits, REQUEST_ANALYSIS);
        search_here(engine);
        const int score = finish_search(engine).score;
        result.records.push_back({i, std::move(record), score, engine.game.position.side});
    }
    return result;
}

}  // namespace

double TuningError::of_file(const char *file_name, OutputFile *filtered) {
    constexpr std::size_t LONGEST_LINE = 253;
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open()) return NO_ERROR_KNOWN;
    derive_tables(run_.engine);
    crew_.copy_settings();
    crew_.prepare_engines([](Engine &engine) { engine.shared.table.enabled = 0; });

    Progress progress("positions");
    ErrorSum errors;
    std::int64_t positions = 0;
    bool readable = true;
    const auto next_batch = [&](Batch &batch) { return readable && read_batch(file, batch); };
    const auto score = [&](Worker &worker, const Batch &batch) { return score_batch(worker, batch, run_.limits); };
    const auto take = [&](const Batch &batch, const BatchScores &result) {
        if (!readable) return;
        for (const ScoredRecord &scored : result.records) {
            const double r = scored.record.result;
            add_error(errors, scored.record, scored.score, scored.side == WHITE ? r : 1.0 - r, batch.lines[scored.line],
                      filtered);
        }
        positions += static_cast<std::int64_t>(result.records.size());
        progress.update(positions, batch.position, file.size());
        if (batch.lines.size() == Batch::LINES) look_for_wish(run_);
        if (result.unsearchable.empty()) return;
        readable = false;
        report_set_up(set_fen(run_.engine.game.position, result.unsearchable));
        progress.finish();
        say(batch.lines[result.unsearchable_line] + "\n");
    };
    crew_.run_in_order<Batch, BatchScores>(next_batch, score, take);
    report_read_error(file, file_name);
    return errors.counted > 0 ? errors.sum / errors.counted : 0.0;
}

void copy_random_subset(ToolRun &run, const char *source, const char *destination, int percent) {
    constexpr std::size_t LONGEST_LINE = 3899;
    LineReader file(source, LONGEST_LINE);
    if (!file.is_open()) {
        std::remove(destination);
        return;
    }
    if (is_same_file(source, destination)) return;
    OutputFile copy(destination);
    if (!copy.is_open()) return;
    std::string_view line;
    while (file.next(line)) {
        if (run.engine.random.next() % 100 >= percent) continue;
        copy.write(std::string(line) + (file.line_ended() ? "\n" : ""));
    }
}

void make_training_file(ToolRun &run, const char *file_name) {
    constexpr const char *FILTERED_FILE = "tune_new.epd";
    if (!LineReader(file_name, 1).is_open() || is_same_file(file_name, FILTERED_FILE)) return;
    run.limits.noise = NO_PROGRESS_LINES;
    run.limits.max_depth = 0;
    say(format_line("Creating file %s\n", FILTERED_FILE));
    OutputFile filtered(FILTERED_FILE);
    if (filtered.is_open()) TuningError(run).of_file(file_name, &filtered);
}
