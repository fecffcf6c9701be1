// Commands of both protocols that work on the position in this thread, between searches.
#pragma once

#include "frontend/frontend.h"

// Begins a search for a command that uses the threads' records itself and ends with finish_search; one that runs ends
// first. False, with a message, when the position is none that can be searched.
bool begin_direct_search(FrontEnd &front, const SearchLimits &limits);

// The breakdown of the position's evaluation, from a search of depth 0.
void show_evaluation(FrontEnd &front);
// The tables of the evaluation as the next search uses them, and behind them the weights that have been changed.
std::string evaluation_parameters_text(Engine &engine);

// Perft: the leaves of the tree of legal moves, in all, or move by move until a word ends it. `depth` at least 1.
void count_paths(FrontEnd &front, int depth);
void count_paths_by_move(FrontEnd &front, int depth);

// The position for a person: FEN, diagram, side to move, hash key, pieces that give check.
void show_position_details(const Position &pos);

// Runs the benchmark to a depth (0: the usual one) and returns to the game. The hash table is empty afterwards.
void run_benchmark_between_searches(FrontEnd &front, int depth);
