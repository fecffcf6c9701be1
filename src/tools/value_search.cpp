// The best value of one weight on training records.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "base/output.h"
#include "eval/tunables.h"
#include "tools/screen.h"
#include "tools/training.h"
#include "tools/tuned_weights.h"

namespace {

// Search for the value with the smallest error: steps outwards until both sides are bounded, then midpoints.
class ValueSearch {
public:
    explicit ValueSearch(int start) : best_(start) {}

    // Takes in the error of a value.
    void add(int value, double error, bool first) {
        const bool better = error < best_error_;
        const int worse = better ? best_ : value;
        if (better) {
            best_error_ = error;
            best_ = value;
        }
        if (first) return;
        if (worse > best_) upper_ = worse;
        if (worse < best_) lower_ = worse;
    }

    // The value to try after `value`. False when the search has ended.
    bool next(int value, int &next_value) const {
        constexpr double STEP_SHARE = 0.12;  // of the best value
        const int step = nearest_weight(std::abs(best_) * STEP_SHARE) + 1;
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

    int best() const { return best_; }
    double best_error() const { return best_error_; }
    std::string text() const {
        return format_line("best= %d, err= %0.6f, min= %d, max= %d\n\n", best_, best_error_, lower_, upper_);
    }

private:
    static constexpr int UNBOUNDED_LOW = -10000;
    static constexpr int UNBOUNDED_HIGH = 10000;
    int best_;
    double best_error_ = NO_ERROR_KNOWN;
    int lower_ = UNBOUNDED_LOW;
    int upper_ = UNBOUNDED_HIGH;
};

// The best value becomes the weight's estimate. Whether it is another than that of now.
bool search_best_value(ToolRun &run, TunableParam &param, std::string &what) {
    constexpr int MOST_TRIES = 30;
    std::int16_t &weight = param.weight.of(run.engine.settings.weights);
    const std::int16_t start = weight;
    TuningError errors(run);
    ValueSearch values(start);
    double first_error = NO_ERROR_KNOWN;
    int value = start;
    for (int tries = 0; tries < MOST_TRIES; ++tries) {
        weight = nearest_weight(value);
        const double error = errors.of_file(SAMPLE_FILE);
        if (run.stopped) break;
        if (tries == 0) first_error = error;
        say(format_line("%s= %d, err= %0.6f\n", param.name.c_str(), value, error));
        values.add(value, error, tries == 0);
        say(values.text());
        if (!values.next(value, value)) break;
    }
    say(values.text());
    weight = start;
    param.selected = true;
    param.estimate = values.best();
    what += format_line("error %0.6f before, %0.6f after\n", first_error, values.best_error());
    return values.best() != start;
}

}  // namespace

void tune_one_parameter(ToolRun &run, TuneChoice &choice, std::string_view name, std::string_view file_name,
                        int percent) {
    constexpr int WHOLE_FILE = 100;
    if (!file_name.empty()) choice.file = file_name;
    if (percent >= 0) choice.share = std::min(percent, WHOLE_FILE);
    say(format_line("tune file= %s\n", choice.file.c_str()));
    std::vector<TunableParam> tunables = eval_tunables(run.engine.settings.weights);
    if (TunableParam *param = tunable_named(tunables, name); param != nullptr) {
        run.limits.max_depth = 0;
        run.limits.noise = NO_PROGRESS_LINES;
        say(format_line("\ntuning %s\n", param->name.c_str()));
        copy_random_subset(run, choice.file.c_str(), SAMPLE_FILE, choice.share);
        std::string what = format_line("The best value of %s on %d %% of %s\n", param->name.c_str(), choice.share,
                                       choice.file.c_str());
        const bool found = search_best_value(run, *param, what);
        derive_tables(run.engine);
        if (found) write_tuned_weights(run, tunables, what);
    }
    say("done!\n");
}
