// What a search tells its caller while it runs: values, handed to procedures that the caller has provided. How they are
// shown, and whether at all, is the caller's business.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "board/position.h"
#include "eval/display.h"
#include "search/bound.h"

struct BookDraw;  // book/probe.h

constexpr int PV_SIZE = 70;

// A principal variation: moves from the index of the node's ply on, ended by 0. A root line starts at index 1.
using Line = std::array<Move, PV_SIZE>;

// Totals over all threads.
struct ThreadStats {
    std::uint64_t nodes, tb_hits, hash_probes, hash_hits;
    std::uint64_t evaluations, eval_hits, pawn_probes, pawn_hits;
};

// A line of play with its score, and the state of the search at that moment.
struct SearchLine {
    int number;           // 1: the best line
    int lines;            // the MultiPV option
    int depth;            // iteration that found it, plies
    int selective_depth;  // plies of the longest line searched
    int score;            // centipawns from the side to move's view; a tablebase result at the root has been put in
    Bound bound;          // of the score
    Line pv;
    double elapsed;  // seconds
    double nodes;
    double nodes_per_second;
    double tb_hits;
    double hash_fill;  // 0 .. 1
    bool search_has_ended;
};

// A long search begins to work on a root move.
struct CurrentMove {
    Move move;
    int number;  // 1: the first one of the iteration; `depth` to `hash_fill` are set for it only
    int lines;   // the MultiPV option
    int depth;
    double elapsed, nodes, nodes_per_second, hash_fill;  // as in SearchLine
};

// Another move has become the best one.
struct BestChange {
    Move move;
    int depth;       // iteration that found it
    int score;       // centipawns from the side to move's view
    double elapsed;  // seconds
    double nodes;
};

// Who follows the best move of searches, whatever is shown of them. From thread 0 of a running search; from its first
// iteration on.
struct BestMoveWatch {
    void *context = nullptr;
    void (*best_changed)(void *context, const BestChange &change) = nullptr;
};

// A search is about to start.
struct SearchPlan {
    int game_ply;
    double clock;   // seconds
    double target;  // seconds
};

// How a search has ended.
struct SearchResult {
    Move best = NO_MOVE;             // the move to play; NO_MOVE when there is none
    Move ponder = NO_MOVE;           // the answer that is expected
    int score = 0;                   // centipawns from the side to move's view
    int depth = 0;                   // iteration that found it; 0 when none has ended
    Line pv{};                       // the best line, from index 1 on
    std::optional<SearchLine> line;  // the same as a last line to show, when one is due
    double elapsed = 0.0;            // seconds
    ThreadStats stats{};
    double branching_factor = 0.0;
    int root_eval = 0;         // static evaluation of the root, centipawns
    bool interrupted = false;  // a change of the engine needed idle threads
};

// What has gone wrong beyond repair. The caller may end the program; when it returns, the work goes on without what
// failed.
enum class Failure {
    THREADS,     // a changed number of threads could not be started; there are none now
    HASH_TABLE,  // not enough memory for the table at a search start
    TABLEBASE,   // a table file could not be mapped; the text says which and why
    TRACE_FILE,  // trace.txt could not be created
};

// Every procedure gets `context` first; one that is null is not called. The thread is that of the caller of the engine's
// procedures, unless noted.
struct Reporter {
    void *context = nullptr;

    // From thread 0 of a running search; lines are handed over one at a time.
    void (*search_line)(void *context, const SearchLine &line) = nullptr;
    void (*current_move)(void *context, const CurrentMove &move) = nullptr;
    // The root's evaluation, when SearchLimits::show_evaluation asked for it.
    void (*evaluated)(void *context, const Position &pos, const EvalDisplay &display) = nullptr;
    BestMoveWatch watch;  // with a context of its own

    // At the start of a search.
    void (*planned)(void *context, const Position &pos, const SearchPlan &plan) = nullptr;

    // A book was asked for a move: what could be chosen; and the move, when it is the answer.
    void (*book_drawn)(void *context, const BookDraw &draw) = nullptr;
    void (*book_move)(void *context, Move move) = nullptr;
    // A search has been ended by a change that needs idle threads; nobody else will report it.
    void (*search_interrupted)(void *context, const SearchResult &result) = nullptr;
    // The number of tablebases in the folders that an option has named.
    void (*tablebases_found)(void *context, std::size_t count) = nullptr;
    // The log is switched: at once, so that it decides over the reply; then with a file, which may fail (false).
    void (*log_switched)(void *context, bool on) = nullptr;
    bool (*log_opened)(void *context, bool on) = nullptr;

    // A line of text for the user: replies to options, notes on memory and threads.
    void (*message)(void *context, std::string_view text) = nullptr;
    // A line on a damaged or missing file. Any thread.
    void (*warning)(void *context, std::string_view text) = nullptr;
    // Any thread.
    void (*failed)(void *context, Failure failure, std::string_view text) = nullptr;

    void say(std::string_view text) const {
        if (message != nullptr) message(context, text);
    }
    void fail(Failure failure, std::string_view text) const {
        if (failed != nullptr) failed(context, failure, text);
    }
};
