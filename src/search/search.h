// The search: every thread deepens iteratively on the same root with principal variation search, and the threads share
// results through one transposition table.
//
// This folder owns the record of a search thread, the table (tt.h), the pool (threads.h), the clock (timing.h) and the
// derived parameters (params.h). Read on in root.cpp (iterations and root moves), node.cpp (one node), moveloop.cpp
// (its moves), quiesce.cpp, picker.cpp and report.cpp (published results and progress lines).
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

#include "base/control.h"
#include "base/relaxed.h"
#include "base/settings.h"
#include "board/checks.h"
#include "board/position.h"
#include "eval/eval.h"
#include "fathom/tbprobe.h"

constexpr int INFINITE = 10001;       // window bound beyond any score; "no move yet" is -INFINITE
constexpr int MATE = 10000;           // a side mated at ply p scores p - MATE
constexpr int MATE_THRESHOLD = 9599;  // scores at or beyond this are mates
constexpr int TB_WIN_SCORE = 9800;    // a tablebase win found at ply p scores 9800 - p, a loss p - 9801
constexpr int MAX_PLY = 66;           // nodes this deep are leaves
constexpr int PV_SIZE = 70;

static_assert(INFINITE == -IN_CHECK_SCORE);

// A principal variation: moves from the index of the node's ply on, ended by 0.
using Line = std::array<Move, PV_SIZE>;

enum NodeType : std::int16_t { PV_NODE = 0, CUT_NODE = 1, ALL_NODE = -1 };

// Search state of one ply. The root is ply 1; record 0 reads as "no move, not in check".
struct PlyRecord {
    std::int16_t node_type;
    std::int16_t depth;  // remaining depth after the check extension
    std::int16_t static_eval;
    std::int16_t alpha, beta;  // after mate-distance clamping
    std::uint16_t in_check;
    std::uint8_t reduction;    // late-move reduction of the move being searched
    std::uint8_t iid_active;   // internal iterative deepening runs here
    std::uint8_t search_mode;  // 1: reduced null-window search, 2: re-search of the current move
    std::uint8_t checker;      // square of a checking piece, 64 when not in check
    std::uint16_t move_flags;  // MoveFlag bits of the move being searched
    std::uint16_t razored;     // handed to quiescence by razoring
    std::uint16_t moves_searched;
    std::int32_t tb_result;  // tablebase result of this node, -1 = none
    EvalResult eval;         // recognised draw and threat levels
    Move hash_move;
    Move killer1, killer2, check_killer;
    std::uint16_t pick_stage;
    MoveEntry *list;     // start of this ply's move list
    MoveEntry *current;  // entry of the move being searched
};

constexpr int PLY_RECORDS = 70;
// Room for the lists of all plies: a searched position has at most 16 pieces a side, so a list holds at most 15 x 28
// moves and the king's, and quiescence may list a quiet check twice.
constexpr int MOVE_STACK_SIZE = PLY_RECORDS * 896;

// Move-ordering tables of one thread.
struct OrderingTables {
    std::uint16_t history[8][16]
                         [64];    // 0..HISTORY_MAX; [0][piece][to]: plain; [previous type][piece][to]: continuation
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
// thread is idle; the Relaxed fields are read by others.
struct alignas(64) SearchThread {
    MoveHistory history;
    std::array<PlyRecord, PLY_RECORDS> plies;
    std::array<MoveEntry, MOVE_STACK_SIZE> move_stack;
    OrderingTables ordering;
    EvalThread eval;
    Position position;

    std::array<Relaxed<Move>, PV_SIZE> line;  // best line; [1] is the first move
    Relaxed<std::int16_t> score;              // of the best line
    std::int16_t root_eval;
    std::int8_t best_depth;                 // depth of the best line
    Relaxed<std::uint8_t> iteration;        // depth of the current iteration
    Relaxed<std::uint8_t> aspiration;       // AspirationState
    Relaxed<std::uint8_t> selective_depth;  // highest ply reached
    std::uint8_t rerun;                     // RerunState
    std::int8_t null_depth;                 // null moves on the current path
    std::uint32_t random_state;
    int root_count;  // legal root moves
    std::uint64_t node_budget;
    Relaxed<std::uint64_t> nodes, tb_hits, hash_probes, hash_hits;

    int index;
    std::atomic<std::uint8_t> command;
};

// The published result. Written by thread 0 (and by begin_search), read by the main thread.
struct RootResult {
    Relaxed<std::int16_t> score;
    Relaxed<std::int8_t> depth;  // iteration that found it
    std::array<Relaxed<Move>, PV_SIZE> pv;
    std::array<Relaxed<std::int16_t>, PV_SIZE> score_by_depth;
    std::array<Relaxed<Move>, PV_SIZE> move_by_depth;
    Relaxed<std::int8_t> change_depth;  // depth at which the best move last changed
};
extern RootResult root_result;

// Shared state of the running search.
struct SearchShared {
    Relaxed<std::uint8_t> iteration;     // thread 0's current depth
    Relaxed<std::uint8_t> single_reply;  // the root has exactly one legal move
    Relaxed<double> elapsed;             // seconds since the search start
    Relaxed<std::uint32_t> seed;         // of random depth reductions
    Relaxed<int> last_iteration;         // last finished depth of thread 0
    Relaxed<int> root_tb_result;         // of the root, NO_TB_RESULT without tablebases
    // Set by begin_search, fixed during a search.
    int pv_lines;  // principal variations searched
    int multi_pv;  // the MultiPV option
    int hash_megabytes;
    TbProbeDepths tb_depths;
    std::array<std::uint64_t, PV_SIZE> nodes_by_depth;  // under stats_lock
};
extern SearchShared search_shared;

// Serialises the formatting of search lines with the summing of thread statistics. print_lock may be taken inside.
extern std::mutex search_output_lock;
// Guards nodes_by_depth. Never held together with another lock.
extern std::mutex stats_lock;

// Whether thread 0's root evaluation fills the display tables of the evaluation. Main thread writes.
extern Relaxed<bool> display_evaluation;

// Runs one whole search in the calling thread, which is thread `thread.index`.
void search_thread(SearchThread &thread);

// Alpha-beta search of the node the thread's position is at, `ply` plies from the root's parent. Returns a score in
// centipawns from `side`'s view and writes the line into pv[ply ...].
int search_node(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, NodeType type, Line &pv);

// The move loop of a node: principal variation search with late-move pruning and reductions.
int search_moves(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, bool in_check,
                 NodeType type, Line &pv);

// Resolves captures at the horizon; the node's record already holds its static evaluation.
int quiesce(SearchThread &thread, Colour side, int ply, int depth, int alpha, int beta, NodeType type, Line &pv);

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

// Counts the leaf nodes of the legal move tree into the thread's node counter. `depth` at least 1.
void perft(SearchThread &thread, Colour side, int ply, int depth);

// The search trace: when not 0, moves made at plies up to `level` are written to "trace.txt".
void set_trace_level(int level);

inline bool is_null(const MoveEntry *entry) { return entry->move == NO_MOVE; }
