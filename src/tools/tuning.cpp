// Fitting evaluation weights to scored positions.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "base/control.h"
#include "base/line_reader.h"
#include "base/output.h"
#include "base/progress.h"
#include "base/text.h"
#include "board/fen.h"
#include "eval/parameters.h"
#include "search/params.h"
#include "search/search.h"
#include "search/threads.h"
#include "search/timing.h"
#include "search/tt.h"
#include "tools/epd.h"
#include "tools/workbench.h"

namespace {

constexpr double NO_ERROR_KNOWN = 1.0;  // mean error when nothing can be measured
constexpr int DECIDED_SCORE = 900;      // centipawns; positions beyond this are not used

// Score in centipawns to the expected result, 0 to 1 (the logistic curve of the Elo system).
double expected_result(double score) { return 1.0 / (1.0 + std::pow(10.0, -score / 400.0)); }

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
    if (text.find("1-0") != std::string_view::npos)
        record.result = 1.0;
    else if (text.find("0-1") != std::string_view::npos)
        record.result = 0.0;
    else if (text.find("1/2") != std::string_view::npos)
        record.result = 0.5;
    else
        return false;
    record.fen = epd.fen;
    record.ce = clamped_integer(epd.ce, -32768, 32767);
    record.c6 = epd.c6.empty() ? record.ce : clamped_integer(epd.c6, -32768, 32767);
    return true;
}

// The result does not fit what the scores promised; `r` from the side to move's view.
bool unfit_for_training(double r, int ce, int c6) {
    return (r == 1.0 && (c6 < -150 || c6 - ce < -50)) || (r == 0.0 && (c6 > 150 || c6 - ce > 50));
}
bool contradicted(double r, int c6) {
    return (r == 0.0 && expected_result(c6) > 0.7) || (r == 1.0 && expected_result(c6) < 0.3);
}

// The quiescence score of the game position, from the side to move's view (with max_depth 0).
int quiescence_score() {
    begin_search();
    iterate();
    return root_result.score;
}

// Mean absolute error of the engine's scores against the results of a training file; NO_ERROR_KNOWN when it cannot be
// opened. With `filtered`, lines that are fit for training are written there.
double tuning_error(const char *file_name, OutputFile *filtered, PollInput poll_input) {
    constexpr std::size_t LONGEST_LINE = 253;
    constexpr int POSITIONS_PER_POLL = 256;
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open()) return NO_ERROR_KNOWN;
    derive_search_params();
    derive_eval_tables();
    hash_enabled = 0;

    Progress progress("positions");
    Position &pos = game->position;
    double sum = 0.0;
    int counted = 0;
    int positions = 0;
    std::string_view line;
    while (!quit_flag && file.next(line)) {
        TrainingRecord record;
        if (line.empty() || line[0] == ';' || line[0] == '#' || line[0] == ' ' || !read_training_record(line, record))
            continue;
        if (set_fen(pos, record.fen) != 0 || !unsearchable_reason(pos).empty()) {
            progress.finish();
            print_line(line);
            break;
        }
        ++positions;
        const int q = quiescence_score();
        if (positions % POSITIONS_PER_POLL == 0) {
            check_time();
            poll_input();
            progress.update(positions, file.position(), file.size());
        }
        if (std::abs(q) > DECIDED_SCORE) continue;
        const double r = pos.side == WHITE ? record.result : 1.0 - record.result;
        if (filtered != nullptr) {
            if (unfit_for_training(r, record.ce, record.c6)) continue;
            filtered->write(std::string(line) + "\n");
        }
        if (contradicted(r, record.c6)) continue;
        sum += std::fabs(expected_result(q) - r);
        ++counted;
    }
    report_read_error(file, file_name);
    return counted > 0 ? sum / counted : 0.0;
}

// Copies each line with a probability of `percent` %. Without the source there is no copy either, not even an old one.
void copy_random_subset(const char *source, const char *destination, int percent) {
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
        if (std::rand() % 100 >= percent) continue;
        copy.write(std::string(line) + (file.line_ended() ? "\n" : ""));
    }
}

// Text for the screen and the log.
class TuningLog {
public:
    TuningLog() : file_("tune.log") {}
    bool is_open() const { return file_.is_open(); }
    void log(const std::string &text) { file_.write(text); }
    void say(const std::string &text) {
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
        file_.write(text);
    }
    void flush() { file_.flush(); }

private:
    OutputFile file_;
};

constexpr const char *HALF_FILE = "junk0.epd";
constexpr const char *SAMPLE_FILE = "junk.epd";

// Step rates of one pass.
struct Rates {
    double average = 0.0;
    double highest = 0.0;
};

// Moves one weight down its gradient. Returns the size of the rate used.
double descend(TunableParam &param, double k0, TuningLog &log, PollInput poll_input) {
    const std::int16_t value = *param.target;
    const double x = param.estimate;
    const int h = nearest_weight(std::fabs(x) * 0.03 + 1.0);
    const auto error_at = [&](int v) {
        *param.target = nearest_weight(v);
        const double error = tuning_error(SAMPLE_FILE, nullptr, poll_input);
        *param.target = value;
        return error;
    };
    const double e1 = error_at(value - h);
    const double e2 = error_at(value + h);
    const double g = (e2 - e1) / (2.0 * h);
    const double a = std::fabs(x) + 6.0;
    const double lr = k0 * g;
    const double step = std::clamp(-lr * a, -0.025 * a, 0.025 * a);
    if (quit_flag) return 0.0;  // the errors are of parts of the file
    param.estimate += step;
    param.accumulator = g;
    log.say(format_line("p1=%4d/%6.5f, p2=%4d/%6.5f, g=%10.2e, lr=%5.2f, x=%5.1f, p=%6.1f\n", value - h, e1, value + h,
                        e2, g, lr * 100.0, step, param.estimate));
    return std::fabs(lr);
}

Rates descend_all(double k0, TuningLog &log, PollInput poll_input) {
    Rates rates;
    int count = 0;
    for (TunableParam &param : tunables) {
        if (param.selected == 0 || quit_flag) continue;
        const double rate = descend(param, k0, log, poll_input);
        rates.average += rate;
        rates.highest = std::max(rates.highest, rate);
        ++count;
    }
    if (count > 0) rates.average /= count;
    return rates;
}

void run_passes(const char *file_name, TuningLog &log, PollInput poll_input) {
    constexpr int PASSES = 100;
    constexpr int SAMPLE_PERCENT = 10;
    double k0 = 3000.0;
    Rates rates;
    for (int pass = 0; pass < PASSES && !quit_flag; ++pass) {
        copy_random_subset(file_name, SAMPLE_FILE, SAMPLE_PERCENT);
        log.say(format_line("pass= %d, k0= %0.3e, avg_lr= %0.1f, max_lr= %0.1f\n", pass, k0, rates.average * 100.0,
                            rates.highest * 100.0));
        for (TunableParam &param : tunables) {
            if (param.selected == 0) continue;
            *param.target = nearest_weight(param.estimate);
            log.say(format_line("** %s = %d\n", param.name.data(), *param.target));
        }
        const double error = tuning_error(HALF_FILE, nullptr, poll_input);
        if (quit_flag) break;
        log.say(format_line("\nerr= %0.5f\n\n", error));
        log.flush();
        rates = descend_all(k0, log, poll_input);
        const double r = (0.8 * rates.average + 0.2 * rates.highest) * 100.0;
        if (r < 0.75) k0 *= 1.05;
        if (r > 1.25) k0 *= 0.95;
        log.say("\n");
    }
}

// Search for the value with the smallest error: steps outwards until both sides are bounded, then midpoints.
class ValueSearch {
public:
    explicit ValueSearch(int start) : best_(start) {}

    // Takes in the error of a value.
    void add(int value, double error, bool first) {
        const bool better = error < best_error_;
        if (!first) {
            if (better ? value < best_ : value > best_) upper_ = better ? best_ : value;
            if (better ? value > best_ : value < best_) lower_ = better ? best_ : value;
        }
        if (better) {
            best_error_ = error;
            best_ = value;
        }
    }

    // The value to try after `value`. False when the search has ended.
    bool next(int value, int &next_value) const {
        const int step = nearest_weight(std::abs(best_) * 0.12) + 1;
        if (lower_ == UNBOUNDED_LOW) {
            next_value = best_ - step;
        } else if (upper_ == UNBOUNDED_HIGH) {
            next_value = best_ + step;
        } else {
            const int bound = upper_ - value >= value - lower_ ? upper_ : lower_;
            next_value = nearest_weight(0.5 * best_ + 0.5 * bound);
            if ((best_ - lower_ <= 1 && upper_ - best_ <= 1) || next_value == best_) return false;
        }
        return true;
    }

    std::string text() const {
        return format_line("best= %d, err= %0.6f, min= %d, max= %d\n\n", best_, best_error_, lower_, upper_);
    }
    int best() const { return best_; }
    double best_error() const { return best_error_; }

private:
    static constexpr int UNBOUNDED_LOW = -10000;
    static constexpr int UNBOUNDED_HIGH = 10000;
    int best_;
    double best_error_ = NO_ERROR_KNOWN;
    int lower_ = UNBOUNDED_LOW;
    int upper_ = UNBOUNDED_HIGH;
};

void say(const std::string &text) {
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void search_best_value(TunableParam &param, PollInput poll_input) {
    constexpr int MOST_TRIES = 30;
    const std::int16_t start = *param.target;
    ValueSearch search(start);
    int value = start;
    for (int tries = 0; tries < MOST_TRIES; ++tries) {
        *param.target = nearest_weight(value);
        const double error = tuning_error(SAMPLE_FILE, nullptr, poll_input);
        if (quit_flag) break;
        say(format_line("%s= %d, err= %0.6f\n", param.name.data(), value, error));
        search.add(value, error, tries == 0);
        say(search.text());
        if (!search.next(value, value)) break;
    }
    say(search.text());
    *param.target = start;
}

}  // namespace

void make_training_file(const char *file_name, PollInput poll_input) {
    constexpr const char *FILTERED_FILE = "tune_new.epd";
    if (!LineReader(file_name, 1).is_open() || is_same_file(file_name, FILTERED_FILE)) return;
    noise = NO_PROGRESS_LINES;
    max_depth = 0;
    say(format_line("Creating file %s\n", FILTERED_FILE));
    OutputFile filtered(FILTERED_FILE);
    if (filtered.is_open()) tuning_error(file_name, &filtered, poll_input);
}

void run_gradient_tuning(const char *file_name, PollInput poll_input) {
    constexpr int HALF_PERCENT = 50;
    register_eval_tunables();
    select_tunable("king_safety");
    for (int i = 1; i <= 15; ++i) select_tunable("p" + std::to_string(i));
    TuningLog log;
    if (!log.is_open()) return;
    log.log(format_line("tuning file is %s\n\n", file_name));
    noise = NO_PROGRESS_LINES;
    max_depth = 0;
    copy_random_subset(file_name, HALF_FILE, HALF_PERCENT);
    run_passes(file_name, log, poll_input);
    derive_eval_tables();
}

void tune_one_parameter(std::string_view name, std::string_view file_name, int percent, PollInput poll_input) {
    static std::string tuning_file = "tune.epd";
    static int share = 100;
    if (!file_name.empty()) tuning_file = file_name;
    if (percent >= 0) share = std::min(percent, 100);
    say(format_line("tune file= %s\n", tuning_file.c_str()));
    register_eval_tunables();
    const auto param = std::find_if(tunables.begin(), tunables.end(),
                                    [name](const TunableParam &candidate) { return candidate.name_view() == name; });
    if (param != tunables.end()) {
        const std::uint8_t saved_depth = max_depth;
        const double saved_noise = noise;
        max_depth = 0;
        noise = NO_PROGRESS_LINES;
        say(format_line("\ntuning %s\n", param->name.data()));
        copy_random_subset(tuning_file.c_str(), SAMPLE_FILE, share);
        search_best_value(*param, poll_input);
        derive_eval_tables();
        max_depth = saved_depth;
        noise = saved_noise;
    }
    say("done!\n");
}
