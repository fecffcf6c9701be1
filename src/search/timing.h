// The clock of the running search: what clock.h needs is gathered here, and its decision carried out.
#pragma once

#include "search/shared.h"

// Refreshes the elapsed time. Any thread.
void update_elapsed(SearchShared &shared);

// Refreshes the elapsed time and sets stop_flag when the time is used up. About once a millisecond while a search runs,
// from any thread.
void check_time(SearchShared &shared);

// Effective branching factor of the finished iterations; 2 when there are too few.
double branching_factor(SearchShared &shared);
