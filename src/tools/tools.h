// The toolbox: batch work that is started by switches, or by the console's `tune`.
//
// crew.h shares work out over several engines.
// bench.cpp measures speed, epd_analysis.cpp runs test suites, whose results suite_results.h compares, pgn_scan.cpp turns
// games into records, review.cpp shows where games turned, make_book.cpp builds opening books, training.cpp measures the
// evaluation on records, tuning.cpp and value_search.cpp fit weights to them, selfplay.cpp by play. They share searches
// (tool_search.h), files (output_file.h), checkpoints (checkpoint.h) and words (screen.h). All of them work on the engine's
// game and run on its owner's thread. Each returns early, with what it has done so far written, when the user wants it to
// end.
#pragma once

#include <string>
#include <string_view>

#include "board/notation.h"
#include "engine/engine.h"
#include "search/limits.h"

// What a tool works with.
struct ToolRun {
    Engine &engine;
    SearchLimits limits;        // the tool's own; it starts from those of the user
    PromotionStyle move_style;  // in which it shows moves
    // Reads the user's input without waiting; whether the work is to end. Null: nobody can end it.
    bool (*wants_to_end)(void *context) = nullptr;
    void *context = nullptr;
    int parallel = 1;           // positions or games to work on at once, one thread each; 1: one, with all threads
    bool resume = false;        // go on from where such work was ended
    std::string held_out = {};  // records that the tuner does not see; empty: none
    std::string weights = {};   // names of those to tune, separated by commas; empty: the tool's own choice
    bool limited = false;       // the user has named a limit
    bool stopped = false;       // the user has wanted it to end
    bool failed = false;        // it could not do its work, and has said why
};

struct BenchResult {
    double nodes, seconds;
};
// Searches the first `count` built-in positions to a fixed depth (the depth limit, or 17 when that is above 40) and prints
// the time of each and the total node rate. `in_this_thread`: the pool's first record searches here, always to depth 17.
BenchResult run_benchmark(ToolRun &run, int count, bool in_this_thread);
// Nodes that it searches to a depth with these weights, on an engine of its own, all of whose settings are as the program
// comes. Silent.
std::uint64_t benchmark_nodes(const EvalWeights &weights, int depth);
// The same to depth 16 when the limit is above 40, with a last line that test frameworks read: "N nodes M nps".
void run_tester_benchmark(ToolRun &run, int count);

// Searches every position of an EPD file within the limits and scores the answers against its best moves, avoid moves and
// points. Positions without any go to "unsolved.epd", a row for each position to "results.tsv". `against`: another run's
// results, which are read first and compared in the end; empty: none. Silent when the suite or "unsolved.epd" cannot be
// opened.
void analyse_epd_file(ToolRun &run, const char *file_name, const char *against = "");

// Reads a PGN file with engine scores in its comments. Variant 1 writes an annotated listing to "tmp.pgn" and corrected
// mistakes to "tmpX.epd"; 2 to 4 write training records to "tmp.epd". Silent when a file cannot be opened.
void scan_pgn_file(ToolRun &run, const char *file_name, int variant);

// Searches the games of a PGN file, position by position, and writes them with scores, marks, better lines and summaries to
// "NAME.review.pgn", where NAME is that of the file without folder and ending. Depth 12 unless the user has named a limit;
// run.parallel games at once. Goes on where an earlier run was stopped.
void review_games(ToolRun &run, const char *file_name);

// Builds the book "tmp_book.bin" from the games of a PGN file. Silent when that cannot be opened.
void build_book(const char *pgn_file);

// Writes one HTML page, NAME.report.html, that shows what a tool has written: reviewed games, the results of a suite, the
// log of a tuner, games of a match. The viewer is installed with the program.
void write_report(ToolRun &run, const char *file_name);

// Writes the records of a training file that are fit for tuning to "tune_new.epd".
void make_training_file(ToolRun &run, const char *file_name);
// 100 passes of gradient descent over the selected weights on a training file; writes "tune.log", and what it has found as
// the configuration file "tuned.cfg". "tune.state" keeps what a run that resumes needs.
void run_gradient_tuning(ToolRun &run, const char *file_name);

// What the console's `tune` worked on last.
struct TuneChoice {
    std::string file = "tune.epd";
    int share = 100;  // percent of the file
};
// Searches the best value of one weight on a share (percent) of a training file, reports it and writes it, when it is
// another than that of now, to "tuned.cfg"; an empty file name and a negative share stand for those of the last call. The
// weight keeps its value; the hash table stays switched off until it is switched on again.
void tune_one_parameter(ToolRun &run, TuneChoice &choice, std::string_view name, std::string_view file_name,
                        int percent);

// 300,000 fast games between a perturbed and a fixed copy of the weights, in cycles of six, after each of which the
// estimates move towards the winner. Writes "self.pgn", and the estimates to "tuned.cfg" in the end. "tune4.state" keeps what
// a run that resumes needs.
void run_selfplay_tuning(ToolRun &run);
