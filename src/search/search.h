// The search: every thread deepens iteratively on the same root with principal variation search, and the threads share
// results through one transposition table.
//
// This folder owns the record of a search thread (here), what the threads share (shared.h), the table (tt.h), the pool
// (threads.h), the clock (clock.h) and the derived parameters (params.h). It prints nothing: reporter.h is how it speaks.
// Read on in root.cpp (iterations and root moves), node.cpp (one node), moveloop.cpp (its moves), quiesce.cpp, picker.cpp
// and report.cpp (published results and progress lines).
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "base/shared_value.h"
#include "board/checks.h"
#include "board/hash_codes.h"
#include "board/position.h"
#include "eval/eval.h"
#include "platform/threads.h"
#include "search/shared.h"

constexpr int INFINITE = 10001;       // window bound beyond any score; "no move yet" is -INFINITE
constexpr int MATE = 10000;           // a side mated at ply p scores p - MATE
constexpr int MATE_THRESHOLD = 9599;  // scores at or beyond this are mates
constexpr int TB_WIN_SCORE = 9800;    // a tablebase win found at ply p scores 9800 - p, a loss p - 9801
constexpr int MAX_PLY = MAX_DEPTH;    // nodes this deep are leaves
constexpr int ROOT_PLY = 1;

static_assert(INFINITE == -IN_CHECK_SCORE);

enum NodeType : std::int16_t { PV_NODE = 0, CUT_NODE = 1, ALL_NODE = -1 };

// What the current move of a ply is searched for.
enum SearchMode : std::uint8_t { SEARCH_PLAIN = 0, SEARCH_NULL_WINDOW = 1, SEARCH_AGAIN = 2 };

// Stage of a node's picker, and which moves it hands out; see picker.h.
enum class PickStage : std::uint8_t { START, GENERATE, GOOD_CAPTURES, SORTED, UNSORTED, QUIESCENCE_CAPTURES };
enum class PickKind : std::uint8_t { ALL, CAPTURES, CAPTURES_AND_CHECKS };

// Search state of one ply. The root is ply 1; record 0 reads as "no move, not in check".
struct PlyRecord {
    std::int16_t node_type;
    std::int16_t depth;  // remaining depth after the check extension
    std::int16_t static_eval;
    std::uint8_t reduction;    // late-move reduction of the move being searched
    std::uint8_t iid_active;   // internal iterative deepening runs here
    std::uint8_t search_mode;  // SearchMode
    bool gives_no_check;       // the move being searched does not, for certain
    PackedSquare checker;      // square of a checking piece, 64 when not in check
    std::uint16_t move_flags;  // MoveFlag bits of the move being searched
    std::uint16_t moves_searched;
    PickStage pick_stage;
    PickKind pick_kind;
    std::int32_t tb_result;  // tablebase result of this node, -1 = none
    EvalResult eval;         // recognised draw and threat levels
    Move hash_move;
    Move killer1, killer2, check_killer;
    MoveEntry *list;     // start of this ply's move list
    MoveEntry *end;      // and its end, while moves are picked from it
    MoveEntry *current;  // entry of the move being searched

    bool in_check() const { return checker != NO_SQUARE; }
};

constexpr int PLY_RECORDS = 70;
// Scores are compared so many at a time; behind the last score of a list stand as many that no move has.
constexpr int SCORE_LANES = 16;
// Room for the lists of all plies: a searched position has at most 16 pieces a side, so a list holds at most 15 x 28
// moves and the king's, and quiescence may list a quiet check twice.
constexpr int MOVE_STACK_SIZE = PLY_RECORDS * 896;

// Move-ordering tables of one thread.
struct OrderingTables {
    // 0..HISTORY_MAX; [0][piece][to]: plain; [previous type][piece][to]: continuation
    std::uint16_t history[8][16][64];
    Move countermove[2][16][64];  // [slot][piece][to] of the previous move
    Move followup[16][64];        // [piece][to] of the move two plies back
};
constexpr int HISTORY_START = 2048;
constexpr int HISTORY_MAX = 16384;

enum ThreadCommand : std::uint8_t {
    COMMAND_IDLE = 0,
    COMMAND_SEARCH = 1,
    COMMAND_CLEAR_HASH = 2,  // this thread's slice of the transposition table
    COMMAND_TERMINATE = 99,
    COMMAND_TERMINATED = 100
};

enum AspirationState : std::uint8_t { ASPIRATION_NONE = 0, FAILING_LOW = 1, FAILING_HIGH = 2 };

enum RerunState : std::uint8_t { RERUN_OFF = 0, RERUN_ARMED = 1, RERUN_NOW = 2 };

// Everything one thread works on. Written by its thread only, but for `command` and what prepare_threads sets while the
// thread is idle; the SharedValue fields are read by others.
struct alignas(CACHE_LINE) SearchThread {
    MoveHistory history;
    std::array<PlyRecord, PLY_RECORDS> plies;
    std::array<MoveEntry, MOVE_STACK_SIZE> move_stack;
    std::array<std::int16_t, MOVE_STACK_SIZE + SCORE_LANES> move_scores;  // ordering scores of the entries there
    OrderingTables ordering;
    bool ordering_is_new;  // nothing has been learnt since the tables were reset
    EvalThread eval;
    Position position;
    SearchShared *shared;
    MoveTrace trace;  // of this thread's moves, when they are traced

    std::array<SharedValue<Move>, PV_SIZE> line;  // best line; [1] is the first move
    SharedValue<std::int16_t> score;              // of the best line
    std::int16_t root_eval;
    std::int8_t best_depth;                     // depth of the best line
    SharedValue<std::uint8_t> aspiration;       // AspirationState
    SharedValue<std::uint8_t> selective_depth;  // highest ply reached
    std::uint8_t rerun;                         // RerunState
    std::int8_t null_depth;                     // null moves on the current path
    std::uint32_t random_state;
    int root_count;  // legal root moves
    std::uint64_t node_budget;
    SharedValue<std::uint64_t> nodes, tb_hits, hash_probes, hash_hits;

    int index;
    std::atomic<std::uint8_t> command;
    std::mutex command_lock;  // held while a command is given
    Condition command_given;

    bool is_main() const { return index == 0; }
    bool stopped() const { return shared->stop_flag != STOP_NONE; }
    std::int16_t *score_of(const MoveEntry *entry) { return move_scores.data() + (entry - move_stack.data()); }
};

// Runs one whole search in the calling thread, which is thread `thread.index`.
void search_thread(SearchThread &thread);

// Alpha-beta search of the node the thread's position is at, `ply` plies from the root's parent. Returns a score in
// centipawns from the side to move's view and writes the line into pv[ply ...].
int search_node(SearchThread &thread, int ply, int depth, int alpha, int beta, NodeType type, Line &pv);

// The move loop of a node: principal variation search with late-move pruning and reductions.
int search_moves(SearchThread &thread, int ply, int depth, int alpha, int beta, NodeType type, Line &pv);

// Resolves captures at the horizon; the node's record already holds its static evaluation.
int quiesce(SearchThread &thread, int ply, int depth, int alpha, int beta, NodeType type, Line &pv);

// Kinds of a move. Quiet for the pruning rules: no bit of QUIET_MASK.
enum MoveFlag : std::uint16_t {
    MOVE_CAPTURES = 1,
    MOVE_CHECKS = 2,
    MOVE_DISCOVERS = 4,
    MOVE_UNDERPROMOTES = 8 + 32,
    MOVE_QUEENS = 16 + 32,
    MOVE_ADVANCES = 32,  // a pawn to the 7th or 8th rank, or to the 5th or 6th with no enemy pawn in front
};
constexpr std::uint16_t QUIET_MASK = 63;
std::uint16_t classify_move(const Position &pos, Colour side, const MoveEntry &entry, const CheckSquares &checks);

// Counts the leaf nodes of the legal move tree into the thread's node counter. `depth` at least 1. The plain move
// generation, not the picker: it is the yardstick of both.
void perft(SearchThread &thread, int ply, int depth);

// The same from the root, move by move, for somebody who watches.
struct PerftWatch {
    void (*counted)(void *context, Move move, std::uint64_t nodes);
    bool (*wants_to_end)(void *context);  // asked about every few milliseconds
    void *context;
};
// False when the watcher has ended it.
bool perft_by_move(SearchThread &thread, int depth, const PerftWatch &watch);

inline bool is_null(const MoveEntry *entry) { return entry->move == NO_MOVE; }

// Copies a child's line behind a node's move at `ply`.
inline void append_line(Line &pv, int ply, const Line &child) {
    for (int i = ply + 1; i < PV_SIZE && (pv[i] = child[i]) != NO_MOVE; ++i) {
    }
}

// Brings into the cache what a search of the node after `m` to `depth` will read first.
inline void prefetch_child(const SearchThread &thread, Move m, int depth) {
    const std::uint64_t key = likely_key_after(thread.position, m);
    prefetch_evaluation(thread.eval, key);
    if (depth >= 0) tt_prefetch(thread.shared->table, key);
}
