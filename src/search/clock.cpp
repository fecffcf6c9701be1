#include "search/clock.h"

#include <algorithm>
#include <cstdlib>

namespace {

// The plan
constexpr double LEAST_TIME = 0.002;        // target of any search, seconds
constexpr double FIRST_CHECK = 0.015;       // no decision before this, seconds,
constexpr double FIRST_CHECK_SHARE = 32.0;  // or before this part of a clock that is nearly empty
constexpr double LARGEST_SAFETY = 0.025;    // seconds taken off the limit
constexpr int OPENING_PLIES = 21;           // up to this ply the plan is for GAME_MOVES in all and the present one,
constexpr int GAME_MOVES = 33;
constexpr int MOVES_AHEAD = 24;  // later for so many with the present one
constexpr int FEW_MOVES = 2;     // with so few moves left in the period pondering brings nothing
constexpr double PONDER_FACTOR = 1.3;
constexpr double WEAK_FACTOR = 0.85;
constexpr int STRONG_ELO = 2400;
constexpr double LARGEST_SHARE = 0.65;  // of the clock,
constexpr double OVERHEADS_KEPT = 5.0;  // less so many overheads

// The decision
constexpr int SINGLE_REPLY_DEPTH = 4;  // deeper than this a forced move needs no thought
constexpr double SAFETIES_KEPT = 5.0;  // with less time than so many safeties the search stops
constexpr int TRUSTED_DEPTH = 4;       // extensions are halved below it; a steady score counts beyond it
constexpr int LARGEST_EXTENSION = 24;  // percent of the remaining time, like those that follow
constexpr int LARGE_EXTENSION = 16;
constexpr int MEDIUM_EXTENSION = 10;
constexpr int SMALL_EXTENSION = 4;
constexpr int LEAST_EXTENSION = 2;
constexpr int CLEARLY_BETTER = 24;      // centipawns
constexpr int WIDE_MARGIN_SCORE = 960;  // from this score on the trend's margins are fixed, in centipawns
constexpr int WIDE_SMALL_MARGIN = 75;
constexpr int WIDE_BIG_MARGIN = 300;
constexpr double HALF_OF_TARGET = 0.5;  // before this share of the target a steady move gains no time
constexpr int STOOD_LONG = 5;           // iterations
constexpr int STOOD_VERY_LONG = 9;

// Moves to plan for, with the one being searched.
struct MovesAhead {
    int moves;
    bool many;  // enough for pondering to pay
};

MovesAhead planned_moves(const ClockInput &input) {
    if (input.tc_mode > 1) {
        const int period = input.tc_mode;
        const int left = input.count_period ? period - (input.game_ply / 2) % period : std::max(input.moves_to_go, 0);
        return {left + 1, left > FEW_MOVES};
    }
    return {input.game_ply <= OPENING_PLIES ? GAME_MOVES - input.game_ply / 2 + 1 : MOVES_AHEAD, true};
}

}  // namespace

TimePlan plan_time(const ClockInput &input) {
    if (input.tc_mode == 1) return {std::max(input.time_per_move, LEAST_TIME), input.time_per_move, 0.0, FIRST_CHECK};
    const double clock = input.clock;
    const double overhead = input.move_overhead;
    const double increment = input.increment;
    const MovesAhead ahead = planned_moves(input);
    double target = clock / ahead.moves;
    if (input.ponder && ahead.many) target *= PONDER_FACTOR;
    if (input.elo < STRONG_ELO) target *= WEAK_FACTOR;
    if (increment > 0.0) target += increment * clock / (2.0 * increment + clock);
    target = std::min(target, LARGEST_SHARE * clock - OVERHEADS_KEPT * overhead);
    target = std::max(target, LEAST_TIME);
    return {target, clock, std::min(overhead, LARGEST_SAFETY),
            std::clamp((clock - overhead) / FIRST_CHECK_SHARE, 0.0, FIRST_CHECK)};
}

int thread_extension(const ClockState &state) {
    int extension = 0;
    bool main_thread = true;
    for (const ThreadProgress &thread : state.threads) {
        const bool first = main_thread;
        main_thread = false;
        if (thread.iteration < state.depth) continue;
        if (thread.first_move != state.move && thread.score > state.score) {
            if (first && thread.failing_high) extension = std::max(extension, LEAST_EXTENSION);
            if (thread.score > state.score + CLEARLY_BETTER) extension = std::max(extension, SMALL_EXTENSION);
        } else if (thread.first_move == state.move && thread.score < state.score && thread.failing_low) {
            extension = first ? LARGEST_EXTENSION : std::max(extension, LARGE_EXTENSION);
        }
    }
    return extension;
}

int time_extension(const TimePlan &plan, const ClockState &state) {
    int extension = thread_extension(state);
    const int before = state.score_before;
    int big = WIDE_BIG_MARGIN;
    int small = WIDE_SMALL_MARGIN;
    if (std::abs(before) < WIDE_MARGIN_SCORE) {
        small = std::abs(before) / 16 + 15;
        big = 4 * small;
    }
    if (state.score < before - big) {
        extension = LARGEST_EXTENSION;
    } else if (state.score < before - 2 * small) {
        extension = std::max(extension, MEDIUM_EXTENSION);
    } else if (state.score < before - small) {
        extension = std::max(extension, SMALL_EXTENSION);
    } else if (extension == 0 && state.depth > TRUSTED_DEPTH) {
        // Steady: less time the longer the move has stood.
        const int stood = state.depth - state.change_depth;
        if (stood == 0) return 2;
        if (stood == 1) return 1;
        if (state.elapsed <= HALF_OF_TARGET * plan.target) return 0;
        return stood > STOOD_VERY_LONG ? -2 : stood > STOOD_LONG ? -1 : 0;
    }
    return state.depth < TRUSTED_DEPTH ? extension / 2 : extension;
}

bool time_is_up(const TimePlan &plan, const ClockState &state) {
    const double remaining = std::max(0.0, plan.clock - state.elapsed);
    const double limit = plan.target + time_extension(plan, state) / 100.0 * remaining - plan.safety;
    return (state.single_reply && state.depth > SINGLE_REPLY_DEPTH) || SAFETIES_KEPT * plan.safety > remaining ||
           state.elapsed >= limit;
}
