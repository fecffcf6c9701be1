// What a search may use, and what it is asked for.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "board/types.h"

constexpr int MAX_DEPTH = 66;                  // deepest iteration, and the ply at which every line ends
constexpr double UNLIMITED_NPS = 1e9;          // node rate that no machine reaches
constexpr double NO_PROGRESS_LINES = 9999.0;   // value of `noise`: never
constexpr double UNLIMITED_TIME = 10000000.0;  // time_per_move of searches that only something else ends, seconds

// Why a search runs, which decides what ends it. REQUEST_NONE: there is none.
enum SearchRequest : std::uint8_t {
    REQUEST_NONE = 0,
    REQUEST_SEARCH = 1,    // for a move to play
    REQUEST_PONDER = 2,    // for a move to play, on the opponent's time: the clock rests
    REQUEST_ANALYSIS = 3,  // for a person or a tool
};

// The limits of a search. Values last until somebody changes them, so whoever starts searches keeps one of these.
struct SearchLimits {
    double noise = 0.0;                        // seconds of search before progress lines appear
    double time_per_move = 5.0;                // seconds, in fixed-limit mode
    std::array<double, 2> clock = {5.0, 5.0};  // seconds, by colour
    double increment = 0.0;                    // seconds, of the side to move
    int tc_mode = 1;                           // 0 sudden death, 1 fixed limits, n > 1 = moves per period
    int moves_to_go = 0;                       // moves left in the period, with tc_mode > 1
    bool count_period = false;                 // moves_to_go follows from the game's length and tc_mode
    int max_depth = MAX_DEPTH;                 // deepest iteration, 0 .. MAX_DEPTH
    std::int64_t node_limit = 0;               // nodes per thread, 0 = none
    bool until_stopped = false;                // with fixed limits: the time is long enough for anything
    bool show_evaluation = false;              // the root's evaluation is broken down for display
    // Fixed limits hold for a single reply as for any other position, and there is a move even where the fifty-move
    // clock has run down.
    bool literal = false;

    // Wishes for one search.
    std::vector<Move> root_moves;  // the only ones to search, as far as they are legal; none: all
    int mate_in = 0;               // ends with a mate in at most so many moves, not with a longer one; 0: any
    bool mate_alone = false;       // nothing else ends the search: time, depth and nodes do not count

    // Fixed limits.
    void fix_time(double seconds) {
        time_per_move = seconds;
        tc_mode = 1;
        until_stopped = seconds >= UNLIMITED_TIME;
    }
    // Time until a word from outside ends the search; the seconds are what is shown of it.
    void wait_for_stop(double seconds) {
        fix_time(seconds);
        until_stopped = true;
    }
    // Whether only a word from outside ends a search.
    bool is_endless() const {
        return tc_mode == 1 && until_stopped && max_depth >= MAX_DEPTH && node_limit <= 0 && mate_in == 0;
    }
    void forget_wishes() {
        root_moves.clear();
        mate_in = 0;
        mate_alone = false;
    }
    // Both clocks show the time per move.
    void reset_clocks() { clock = {time_per_move, time_per_move}; }
};
