// The clock of a search: set-up, target time, and the decision to stop.
#pragma once

#include "board/types.h"

// Prepares a search of the game position: resets the shared state, applies changed settings, advances the table's age and
// computes the target time from the limits in control.h. Main thread, all search threads idle. A failed hash allocation
// ends the program with status -1.
void begin_search();

// Refreshes the elapsed time and sets stop_flag when the time is used up. About once a millisecond while a search runs,
// from any thread.
void check_time();

// Refreshes the elapsed time.
void update_elapsed();

// Effective branching factor of the finished iterations.
double branching_factor();

// Seconds planned for the current search; 0 before the first one.
double target_seconds();
