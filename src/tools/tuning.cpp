// Fitting evaluation weights to training records by gradient descent.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "base/output.h"
#include "eval/tunables.h"
#include "tools/screen.h"
#include "tools/training.h"

namespace {

constexpr const char *HALF_FILE = "junk0.epd";

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

// Text for the screen and the log.
class TuningLog {
public:
    TuningLog() : file_("tune.log") {}
    bool is_open() const { return file_.is_open(); }
    void log(const std::string &text) { file_.write(text); }
    void say(const std::string &text) {
        ::say(text);
        file_.write(text);
    }
    void flush() { file_.flush(); }

private:
    OutputFile file_;
};

// Step rates of one pass.
struct Rates {
    double average = 0.0;
    double highest = 0.0;
};

// Moves one weight down its gradient. Returns the size of the rate used.
double descend(ToolRun &run, TunableParam &param, double k0, TuningLog &log) {
    std::int16_t &weight = param.weight.of(run.engine.settings.weights);
    const std::int16_t value = weight;
    const double x = param.estimate;
    const int h = nearest_weight(std::fabs(x) * PROBE_SHARE + 1.0);
    const auto error_at = [&](int v) {
        weight = nearest_weight(v);
        const double error = tuning_error(run, SAMPLE_FILE);
        weight = value;
        return error;
    };
    const double e1 = error_at(value - h);
    const double e2 = error_at(value + h);
    const double g = (e2 - e1) / (2.0 * h);
    const double a = std::fabs(x) + STEP_OFFSET;
    const double lr = k0 * g;
    const double step = std::clamp(-lr * a, -LARGEST_STEP * a, LARGEST_STEP * a);
    if (run.stopped) return 0.0;  // the errors are of parts of the file
    param.estimate += step;
    log.say(format_line("p1=%4d/%6.5f, p2=%4d/%6.5f, g=%10.2e, lr=%5.2f, x=%5.1f, p=%6.1f\n", value - h, e1, value + h,
                        e2, g, lr * PERCENT, step, param.estimate));
    return std::fabs(lr);
}

Rates descend_all(ToolRun &run, std::vector<TunableParam> &tunables, double k0, TuningLog &log) {
    Rates rates;
    int count = 0;
    for (TunableParam &param : tunables) {
        if (!param.selected || run.stopped) continue;
        const double rate = descend(run, param, k0, log);
        rates.average += rate;
        rates.highest = std::max(rates.highest, rate);
        ++count;
    }
    if (count > 0) rates.average /= count;
    return rates;
}

// Gives the selected weights the values of their estimates, one a line.
std::string take_estimates(EvalWeights &weights, const std::vector<TunableParam> &tunables) {
    std::string text;
    for (const TunableParam &param : tunables) {
        if (!param.selected) continue;
        std::int16_t &weight = param.weight.of(weights);
        weight = nearest_weight(param.estimate);
        if (!text.empty()) text += '\n';
        text += format_line("** %s = %d", param.name.c_str(), weight);
    }
    return text;
}

void run_passes(ToolRun &run, std::vector<TunableParam> &tunables, const char *file_name, TuningLog &log) {
    constexpr int PASSES = 100;
    constexpr int SAMPLE_PERCENT = 10;
    double k0 = FIRST_RATE;
    Rates rates;
    for (int pass = 0; pass < PASSES && !run.stopped; ++pass) {
        copy_random_subset(run, file_name, SAMPLE_FILE, SAMPLE_PERCENT);
        log.say(format_line("pass= %d, k0= %0.3e, avg_lr= %0.1f, max_lr= %0.1f\n", pass, k0, rates.average * PERCENT,
                            rates.highest * PERCENT));
        log.say(take_estimates(run.engine.settings.weights, tunables));
        const double error = tuning_error(run, HALF_FILE);
        if (run.stopped) {
            log.say("\n");
            break;
        }
        log.say(format_line("\nerr= %0.5f\n\n", error));
        log.flush();
        rates = descend_all(run, tunables, k0, log);
        const double r = (AVERAGE_SHARE * rates.average + HIGHEST_SHARE * rates.highest) * PERCENT;
        if (r < SLOW) k0 *= SPEED_UP;
        if (r > FAST) k0 *= SLOW_DOWN;
        log.say("\n");
    }
}

}  // namespace

void run_gradient_tuning(ToolRun &run, const char *file_name) {
    constexpr int HALF_PERCENT = 50;
    constexpr int SCRATCH_WEIGHTS = 15;
    std::vector<TunableParam> tunables = eval_tunables(run.engine.settings.weights);
    select_tunable(tunables, "king_safety");
    for (int i = 1; i <= SCRATCH_WEIGHTS; ++i) select_tunable(tunables, "p" + std::to_string(i));
    TuningLog log;
    if (!log.is_open()) return;
    log.log(format_line("tuning file is %s\n\n", file_name));
    run.limits.noise = NO_PROGRESS_LINES;
    run.limits.max_depth = 0;
    copy_random_subset(run, file_name, HALF_FILE, HALF_PERCENT);
    run_passes(run, tunables, file_name, log);
    derive_tables(run.engine);
}
