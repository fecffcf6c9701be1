// The clock of a search: how much time a move may take, and when to stop. Pure functions of plain numbers; what feeds
// them is in timing.h.
#pragma once

#include <array>
#include <span>

#include "board/types.h"
#include "search/limits.h"

// What the plan of a move's time depends on.
struct ClockInput {
    int tc_mode;           // as in SearchLimits
    double time_per_move;  // seconds
    double clock;          // of the side to move, seconds
    double increment;      // seconds
    int moves_to_go;
    bool count_period;
    int game_ply;          // moves of either side played so far
    double move_overhead;  // seconds kept back for the way to the opponent
    bool ponder;           // the engine may think on the opponent's time
    int elo;               // wanted strength
};

struct TimePlan {
    double target;       // seconds for this move
    double clock;        // seconds on the clock of the side to move; the move's time with fixed limits
    double safety;       // seconds taken off the limit; none with fixed limits
    double first_check;  // seconds before which no decision is taken
};

TimePlan plan_time(const ClockInput &input);

// What one search thread has found so far.
struct ThreadProgress {
    int iteration;
    int score;
    Move first_move;
    bool failing_low;
    bool failing_high;
};

// What the decision to stop depends on. Scores in centipawns.
struct ClockState {
    double elapsed;     // seconds
    int depth;          // iteration of thread 0
    int score;          // published score,
    int score_before;   // that of the iteration before,
    Move move;          // the published move,
    int change_depth;   // and the depth at which it last changed
    bool single_reply;  // the root has one legal move
    std::span<const ThreadProgress> threads;
};

// Percent of the remaining time that the threads' disagreement with the published result is worth.
int thread_extension(const ClockState &state);
// Percent of the remaining time granted in all: the trend of the published score and, where it is steady, how long the
// move has stood.
int time_extension(const TimePlan &plan, const ClockState &state);
// Whether a search with a clock has to stop now.
bool time_is_up(const TimePlan &plan, const ClockState &state);
