// The published result and the progress lines.
#pragma once

#include <optional>

#include "search/search.h"

// Publishes thread 0's line, and reports it when one principal variation is searched.
void publish_best(SearchThread &thread, Bound bound = BOUND_EXACT);

// Reports a line of thread 0. `number` counts from 1.
void report_line(SearchThread &thread, int number, int depth, int score, Bound bound = BOUND_EXACT);

// The last line of a search; nothing when there is no line to show. The caller of the search.
std::optional<SearchLine> final_line(SearchShared &shared);

// Reports that thread 0 begins to work on a root move, if the search is a long one. `number` counts from 1.
void report_current_move(SearchThread &thread, Move move, int number);

// A published line as plain moves.
Line plain_line(const std::array<SharedValue<Move>, PV_SIZE> &line);

// Whether progress lines are due by now.
bool progress_due(const SearchShared &shared);
