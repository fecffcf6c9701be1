// Training records: positions with scores and results, and how well the evaluation predicts these.
#pragma once

#include "tools/crew.h"
#include "tools/output_file.h"
#include "tools/tools.h"

constexpr double NO_ERROR_KNOWN = 1.0;  // mean error when nothing can be measured

// A part of a training file, for a measurement that shall not take too long.
constexpr const char *SAMPLE_FILE = "junk.epd";

// Measures errors with as many threads as the run's engine has; their number does not change a digit of the result.
// Switches the hash table off.
class TuningError {
public:
    explicit TuningError(ToolRun &run) : run_(run), crew_(run, run.engine.settings.Threads) {}

    // Mean absolute error of the engine's scores, after a quiescence search with its present weights, against the results
    // of a training file; NO_ERROR_KNOWN when it cannot be opened. With `filtered`, lines that are fit for training are
    // written there.
    double of_file(const char *file_name, OutputFile *filtered = nullptr);

private:
    ToolRun &run_;
    Crew crew_;
};

// Copies each line with a probability of `percent` %. Without the source there is no copy either, not even an old one.
void copy_random_subset(ToolRun &run, const char *source, const char *destination, int percent);
