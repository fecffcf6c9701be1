// Fitting evaluation weights to training records by gradient descent.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/output.h"
#include "eval/tunables.h"
#include "tools/checkpoint.h"
#include "tools/screen.h"
#include "tools/training.h"
#include "tools/tuned_weights.h"

namespace {

constexpr const char *HALF_FILE = "junk0.epd";
constexpr const char *LOG_FILE = "tune.log";
constexpr const char *STATE_FILE = "tune.state";

// The descent. A weight of size a = |x| + STEP_OFFSET moves by at most LARGEST_STEP of that.
constexpr double FIRST_RATE = 3000.0;
constexpr double STEP_OFFSET = 6.0;
constexpr double LARGEST_STEP = 0.025;
constexpr double PROBE_SHARE = 0.03;  // of a weight, to either side, for its gradient
// Rates in percent that the next pass may keep, and what is done about others.
constexpr double SLOW = 0.75;
constexpr double FAST = 1.25;
constexpr double SPEED_UP = 1.05;
constexpr double SLOW_DOWN = 0.95;
constexpr double AVERAGE_SHARE = 0.8;  // of the average rate in what is judged,
constexpr double HIGHEST_SHARE = 0.2;  // and of the highest one
constexpr double PERCENT = 100.0;

// Step rates of one pass.
struct Rates {
    double average = 0.0;
    double highest = 0.0;
};

// How well the weights predict the results of half of the file, and of the records held out.
struct Errors {
    double half = NO_ERROR_KNOWN;
    double held_out = NO_ERROR_KNOWN;
};

class Descent {
public:
    Descent(ToolRun &run, const char *file_name)
        : run_(run), file_name_(file_name), error_(run), tunables_(eval_tunables(run.engine.settings.weights)) {}

    void run();

private:
    bool open_log();
    bool resume();
    bool save_state();
    void run_passes();
    bool run_pass(int pass);
    std::string take_estimates();
    Errors measure();
    Rates descend_all();
    double descend(TunableParam &param);
    void write_what_was_found();
    std::int64_t file_size() const;

    // Text for the screen and the log.
    void say_and_log(const std::string &text) {
        say(text);
        log_->write(text);
    }

    ToolRun &run_;
    const char *file_name_;
    TuningError error_;
    std::unique_ptr<OutputFile> log_;
    std::vector<TunableParam> tunables_;

    // What a run that resumes goes on with.
    int passes_done_ = 0;
    double k0_ = FIRST_RATE;
    Rates rates_;
    Errors first_, last_;
    std::uint64_t half_seed_ = 0;  // of the generator that has drawn half of the file
};

// Moves one weight down its gradient. Returns the size of the rate used.
double Descent::descend(TunableParam &param) {
    std::int16_t &weight = param.weight.of(run_.engine.settings.weights);
    const std::int16_t value = weight;
    const double x = param.estimate;
    const int h = nearest_weight(std::fabs(x) * PROBE_SHARE + 1.0);
    const auto error_at = [&](int v) {
        weight = nearest_weight(v);
        const double error = error_.of_file(SAMPLE_FILE);
        weight = value;
        return error;
    };
    const double e1 = error_at(value - h);
    const double e2 = error_at(value + h);
    const double g = (e2 - e1) / (2.0 * h);
    const double a = std::fabs(x) + STEP_OFFSET;
    const double lr = k0_ * g;
    const double step = std::clamp(-lr * a, -LARGEST_STEP * a, LARGEST_STEP * a);
    if (run_.stopped) return 0.0;  // the errors are of parts of the file
    param.estimate += step;
    say_and_log(format_line("p1=%4d/%6.5f, p2=%4d/%6.5f, g=%10.2e, lr=%5.2f, x=%5.1f, p=%6.1f\n", value - h, e1,
                            value + h, e2, g, lr * PERCENT, step, param.estimate));
    return std::fabs(lr);
}

Rates Descent::descend_all() {
    Rates rates;
    int count = 0;
    for (TunableParam &param : tunables_) {
        if (!param.selected || run_.stopped) continue;
        const double rate = descend(param);
        rates.average += rate;
        rates.highest = std::max(rates.highest, rate);
        ++count;
    }
    if (count > 0) rates.average /= count;
    return rates;
}

// Gives the selected weights the values of their estimates, one a line.
std::string Descent::take_estimates() {
    std::string text;
    for (const TunableParam &param : tunables_) {
        if (!param.selected) continue;
        std::int16_t &weight = param.weight.of(run_.engine.settings.weights);
        weight = nearest_weight(param.estimate);
        if (!text.empty()) text += '\n';
        text += format_line("** %s = %d", param.name.c_str(), weight);
    }
    return text;
}

Errors Descent::measure() {
    Errors errors;
    errors.half = error_.of_file(HALF_FILE);
    if (!run_.held_out.empty() && !run_.stopped) errors.held_out = error_.of_file(run_.held_out.c_str());
    return errors;
}

// False when it was ended.
bool Descent::run_pass(int pass) {
    constexpr int SAMPLE_PERCENT = 10;
    copy_random_subset(run_, file_name_, SAMPLE_FILE, SAMPLE_PERCENT);
    say_and_log(format_line("pass= %d, k0= %0.3e, avg_lr= %0.1f, max_lr= %0.1f\n", pass, k0_, rates_.average * PERCENT,
                            rates_.highest * PERCENT));
    say_and_log(take_estimates());
    last_ = measure();
    if (run_.stopped) {
        say_and_log("\n");
        return false;
    }
    if (pass == 0) first_ = last_;
    say_and_log(format_line("\nerr= %0.5f\n\n", last_.half));
    if (!run_.held_out.empty()) say_and_log(format_line("held-out err= %0.5f\n\n", last_.held_out));
    log_->flush();
    rates_ = descend_all();
    const double r = (AVERAGE_SHARE * rates_.average + HIGHEST_SHARE * rates_.highest) * PERCENT;
    if (r < SLOW) k0_ *= SPEED_UP;
    if (r > FAST) k0_ *= SLOW_DOWN;
    say_and_log("\n");
    return !run_.stopped;
}

void Descent::run_passes() {
    constexpr int PASSES = 100;
    std::vector<TunableParam> before = tunables_;
    while (passes_done_ < PASSES) {
        const Errors errors = last_;
        if (!run_pass(passes_done_)) {
            tunables_ = before;  // a pass counts whole or not at all
            if (passes_done_ > 0) last_ = errors;
            break;
        }
        ++passes_done_;
        before = tunables_;
        log_->flush();
        if (!save_state()) break;
    }
    take_estimates();
    if (!run_.stopped) last_ = measure();
    const bool measured = first_.half > 0.0 && first_.half < NO_ERROR_KNOWN;
    if (passes_done_ > 0 && measured && !run_.failed) write_what_was_found();
    if (passes_done_ == PASSES && !run_.failed) remove_file(STATE_FILE);
}

void Descent::write_what_was_found() {
    const char *when = run_.stopped ? "in the last pass" : "after";
    std::string what = format_line("Gradient descent, %d passes, on %s\n", passes_done_, file_name_);
    what += format_line("error %0.5f before, %0.5f %s, on half of the file\n", first_.half, last_.half, when);
    if (!run_.held_out.empty())
        what += format_line("error %0.5f before, %0.5f %s, on %s, which was held out\n", first_.held_out,
                            last_.held_out, when, run_.held_out.c_str());
    write_tuned_weights(run_, tunables_, what);
}

std::int64_t Descent::file_size() const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file_path(file_name_), error);
    return error ? -1 : static_cast<std::int64_t>(size);
}

bool Descent::save_state() {
    Checkpoint state;
    state.set("file", file_name_);
    state.set_integer("file size", file_size());
    state.set("held out", run_.held_out);
    state.set_integer("passes", passes_done_);
    state.set_number("k0", k0_);
    state.set_number("average rate", rates_.average);
    state.set_number("highest rate", rates_.highest);
    state.set_number("first error", first_.half);
    state.set_number("first error held out", first_.held_out);
    state.set_number("last error", last_.half);
    state.set_number("last error held out", last_.held_out);
    state.set_integer("half seed", static_cast<std::int64_t>(half_seed_));
    state.set_integer("seed", static_cast<std::int64_t>(run_.engine.random.state()));
    state.set_integer("log size", log_->size());
    put_estimates(state, tunables_);
    if (state.save(STATE_FILE)) return true;
    run_.failed = true;
    return false;
}

// False, after a line, when there is nothing to go on from.
bool Descent::resume() {
    Checkpoint state;
    if (!state.load(STATE_FILE)) {
        print_format("cannot read %s", STATE_FILE);
    } else if (state.text("file") != file_name_ || state.integer("file size") != file_size() ||
               state.text("held out") != run_.held_out || !::take_estimates(state, tunables_)) {
        print_format("%s is of another file or of other weights", STATE_FILE);
    } else {
        passes_done_ = static_cast<int>(state.integer("passes"));
        k0_ = state.number("k0");
        rates_ = {state.number("average rate"), state.number("highest rate")};
        first_ = {state.number("first error"), state.number("first error held out")};
        last_ = {state.number("last error"), state.number("last error held out")};
        half_seed_ = static_cast<std::uint64_t>(state.integer("half seed"));
        run_.engine.random = RandomGenerator(static_cast<std::uint64_t>(state.integer("seed")));
        log_ = std::make_unique<OutputFile>(LOG_FILE, state.integer("log size"));
        if (!log_->is_open()) print_format("cannot go on with %s", LOG_FILE);
    }
    run_.failed = log_ == nullptr || !log_->is_open();
    return !run_.failed;
}

bool Descent::open_log() {
    if (!run_.held_out.empty() && !LineReader(run_.held_out.c_str(), 1).is_open()) {
        print_line("cannot read " + run_.held_out);
        run_.failed = true;
        return false;
    }
    if (run_.resume) return resume();
    remove_file(STATE_FILE);
    log_ = std::make_unique<OutputFile>(LOG_FILE);
    if (!log_->is_open()) return false;
    log_->write(format_line("tuning file is %s\n\n", file_name_));
    half_seed_ = run_.engine.random.state();
    return true;
}

void Descent::run() {
    constexpr int HALF_PERCENT = 50;
    constexpr int SCRATCH_WEIGHTS = 15;
    std::vector<std::string> usual = {"king_safety"};
    for (int i = 1; i <= SCRATCH_WEIGHTS; ++i) usual.push_back("p" + std::to_string(i));
    if (!select_weights(run_, tunables_, {usual.begin(), usual.end()}) || !open_log()) return;
    run_.limits.noise = NO_PROGRESS_LINES;
    run_.limits.max_depth = 0;
    const RandomGenerator random = run_.engine.random;
    run_.engine.random = RandomGenerator(half_seed_);
    copy_random_subset(run_, file_name_, HALF_FILE, HALF_PERCENT);
    if (run_.resume) run_.engine.random = random;
    run_passes();
    derive_tables(run_.engine);
}

}  // namespace

void run_gradient_tuning(ToolRun &run, const char *file_name) { Descent(run, file_name).run(); }
