#include "tools/training.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

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

// Sets up the record's position. False, after the line has been shown, when that cannot be searched as it stands.
bool set_up_record(Position &pos, const TrainingRecord &record, std::string_view line, Progress &progress) {
    const FenReading reading = set_fen(pos, record.fen);
    if (!reading.rights_dropped && unsearchable_reason(pos).empty()) return true;
    report_set_up(reading);
    progress.finish();
    say(std::string(line) + "\n");
    return false;
}

}  // namespace

double tuning_error(ToolRun &run, const char *file_name, OutputFile *filtered) {
    constexpr std::size_t LONGEST_LINE = 253;
    constexpr int POSITIONS_PER_LOOK = 256;
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open()) return NO_ERROR_KNOWN;
    derive_tables(run.engine);
    run.engine.shared.table.enabled = 0;

    Progress progress("positions");
    Position &pos = run.engine.game.position;
    ErrorSum errors;
    int positions = 0;
    std::string_view line;
    while (!run.stopped && file.next(line)) {
        TrainingRecord record;
        if (line.empty() || line[0] == ';' || line[0] == '#' || line[0] == ' ' || !read_training_record(line, record))
            continue;
        if (!set_up_record(pos, record, line, progress)) break;
        ++positions;
        const int q = search_in_this_thread(run).score;
        if (positions % POSITIONS_PER_LOOK == 0) {
            look_for_wish(run);
            progress.update(positions, file.position(), file.size());
        }
        add_error(errors, record, q, pos.side == WHITE ? record.result : 1.0 - record.result, line, filtered);
    }
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
    if (filtered.is_open()) tuning_error(run, file_name, &filtered);
}
