// The file that a review writes, and how far it is: a second run goes on where the first has ended.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tools/output_file.h"

// How far a review is.
struct ReviewState {
    std::int64_t read = 0;  // games of the input that are done, those left out included
    std::int64_t games = 0;
    std::int64_t damaged = 0;
    std::int64_t positions = 0;
    std::int64_t input_bytes = 0;   // read up to there
    std::int64_t output_bytes = 0;  // written, up to the end of the last game
};

// After every game the output is on its way to the disk before the state says so: a run that is killed leaves at most the
// beginning of a game behind the bytes that the state knows, and that is cut off. One thread.
class ReviewOutput {
public:
    // The file is `stem`.review.pgn, the state stem.review.state. `plan` tells in one line what a run works on and how.
    ReviewOutput(const std::string &stem, std::string plan);

    const std::string &name() const { return name_; }
    // Opens the file, and gives the state to go on from. A state that fits another plan is left, with a line. False, after
    // a line, when the file cannot be written.
    bool open(ReviewState &state);
    // Adds a game; the state counts it already, but for the bytes written. False, after a line, when that fails.
    bool add(std::string_view game, ReviewState &state);
    // Nothing is left to do.
    bool finish();

private:
    bool read_state(ReviewState &state) const;
    bool write_state(const ReviewState &state) const;

    std::string name_, state_name_, plan_;
    std::unique_ptr<OutputFile> file_;
};
