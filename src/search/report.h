// The published result and the progress lines.
#pragma once

#include <string>

#include "search/search.h"

// Publishes thread 0's line, and prints it when one principal variation is searched.
void publish_best(SearchThread &thread);

// Prints a search line: "info depth ..." in UCI mode, a compact line at a console. `line_number` counts from 1.
void print_search_line(int thread_index, int line_number, int depth, int score, const Line &pv);

// The last line of a search, from root_result; nothing when there is no line to show.
void print_final_line();

// Prints FEN, diagram and side to move through print_line.
void show_board(const Position &pos);

// Whether progress lines are due by now.
bool progress_due();

// The thread's best line as plain moves.
Line plain_line(const std::array<Relaxed<Move>, PV_SIZE> &line);
