// The toolbox: batch work that is started by switches, or by the console's `tune`.
//
// bench.cpp measures speed, epd_analysis.cpp runs test suites, pgn_scan.cpp turns games into records, tuning.cpp fits
// weights to records, selfplay.cpp fits them by play, make_book.cpp builds an opening book. workbench.h is what the tools
// share. All but the last work on the game record. All run on the main thread and, but for the last, return early, with
// what they have done so far written, when quit_flag is set.
#pragma once

#include <string>
#include <string_view>

// Reads the user's input without waiting, so that a wish to stop is seen (it sets quit_flag). Handed in by the front end.
using PollInput = void (*)();

// Searches the first `count` built-in positions to a fixed depth (max_depth, or 17 when that is above 40) and prints the
// time of each and the total node rate. `in_this_thread`: the pool's first record searches here, always to depth 17. Sets
// quit_flag.
void run_benchmark(int count, bool in_this_thread, PollInput poll_input);

// Searches every position of an EPD file within the current limits and scores the answers against its best moves, avoid
// moves and points. Positions without any go to "unsolved.epd". Silent when a file cannot be opened.
void analyse_epd_file(const char *file_name, PollInput poll_input);

// Reads a PGN file with engine scores in its comments. Variant 1 writes an annotated listing to "tmp.pgn" and corrected
// mistakes to "tmpX.epd"; 2 to 4 write training records to "tmp.epd". Silent when a file cannot be opened.
void scan_pgn_file(const char *file_name, int variant, PollInput poll_input);

// Writes the records of a training file that are fit for tuning to "tune_new.epd".
void make_training_file(const char *file_name, PollInput poll_input);
// 100 passes of gradient descent over the selected weights on a training file; writes "tune.log".
void run_gradient_tuning(const char *file_name, PollInput poll_input);
// Searches the best value of one weight on a share (percent) of a training file and reports it; an empty file name and a
// negative share stand for those of the last call ("tune.epd" and 100 at first). The weight keeps its value; the hash table
// stays switched off.
void tune_one_parameter(std::string_view name, std::string_view file_name, int percent, PollInput poll_input);

// 300,000 fast games between a perturbed and a fixed copy of the weights, in cycles of six, after each of which the
// estimates move towards the winner. Writes "self.pgn".
void run_selfplay_tuning(PollInput poll_input);

// Replays the first moves of every game of a PGN file and writes the moves that scored well to "tmp_book.bin". Does
// nothing when the PGN file cannot be opened; when the book cannot be written one line says so and no file is left.
void build_book(const char *pgn_file);
