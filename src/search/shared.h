// What the threads of a search share: tables, limits, control bytes, and the published result.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "base/shared_value.h"
#include "eval/parameters.h"
#include "platform/threads.h"
#include "search/clock.h"
#include "search/limits.h"
#include "search/params.h"
#include "search/reporter.h"
#include "search/trace.h"
#include "search/tt.h"
#include "tablebase/probe.h"
#include "tablebase/registry.h"

struct SearchThread;

constexpr int MAX_THREADS = 128;

// Any value but 0 stops the running search.
enum StopReason : std::uint8_t {
    STOP_NONE = 0,
    STOP_REPORT = 1,    // end of the search: report
    STOP_ABANDON = 2,   // overtaken by another command
    STOP_NO_MOVE = 3,   // the root has no legal move
    STOP_SHUTDOWN = 99  // the threads are about to end
};

// The pool. Written by the owner of the engine, but for `record` and `failed`, which each thread sets once.
struct ThreadPool {
    struct Entry {
        std::atomic<SearchThread *> record{nullptr};
        std::atomic<bool> failed{false};
        Thread thread;
    };
    std::array<Entry, MAX_THREADS> entries;
    int size = 0;
    // The last thread to finish its command wakes who waits for that.
    mutable std::mutex idle_lock;
    mutable Condition all_idle;
};

// The published result. Written by thread 0 (and at a search start), read by the caller.
struct RootResult {
    SharedValue<std::int16_t> score;
    SharedValue<Bound> bound;
    SharedValue<std::int8_t> depth;  // iteration that found it
    std::array<SharedValue<Move>, PV_SIZE> pv;
    std::array<SharedValue<std::int16_t>, PV_SIZE> score_by_depth;
    SharedValue<std::int8_t> change_depth;  // depth at which the best move last changed
};

constexpr std::size_t CACHE_LINE = 64;

struct SearchShared {
    // Read at every node, seldom written.
    alignas(CACHE_LINE) SharedValue<std::uint8_t> stop_flag{STOP_NONE};  // StopReason; any thread writes
    SharedValue<double> target_nps{UNLIMITED_NPS};                       // nodes per second and thread
    TbProbeDepths tb_depths{};
    TranspositionTable table;
    SearchParams params{};
    Tablebases tablebases;
    EvalTables eval_tables{};

    // Fixed during a search.
    alignas(CACHE_LINE) int pv_lines = 1;  // principal variations searched
    int multi_pv = 1;                      // the MultiPV option
    bool show_evaluation = false;
    std::int64_t node_limit = 0;   // nodes per thread, 0 = none
    std::vector<Move> root_moves;  // legal ones, the only ones to search; empty: all
    int mate_in = 0;               // as in SearchLimits
    bool clock_rests = false;
    bool hurries_single_reply = true;
    double start = 0.0;  // seconds of the monotonic clock
    TimePlan plan{};
    // The owner may change these while a search runs.
    SharedValue<int> max_depth{MAX_DEPTH};
    SharedValue<double> noise{0.0};
    SharedValue<std::uint8_t> search_state{REQUEST_NONE};  // SearchRequest of the running search

    // Written during a search.
    alignas(CACHE_LINE) SharedValue<double> elapsed{0.0};  // seconds since the start
    SharedValue<std::uint8_t> iteration{0};                // thread 0's current depth
    SharedValue<std::uint8_t> single_reply{0};             // the root has exactly one legal move and is to be quick
    SharedValue<std::uint32_t> seed{0};                    // of random depth reductions
    SharedValue<int> last_iteration{0};                    // last finished depth of thread 0
    SharedValue<int> root_tb_result{NO_TB_RESULT};
    RootResult result;

    ThreadPool pool;
    Reporter reporter;
    EvalDisplay display;  // filled by thread 0 when show_evaluation is set
    SearchTrace trace;

    // Serialises the forming of search lines with the summing of thread statistics. Held while `reporter` is told.
    std::mutex output_lock;
    // Guards nodes_by_depth. Never held together with another lock.
    std::mutex stats_lock;
    std::array<std::uint64_t, PV_SIZE> nodes_by_depth{};  // by all threads, up to the end of that iteration
};

// Whether a legal move of the root is one of those to search.
inline bool may_be_searched(const SearchShared &shared, Move move) {
    const std::vector<Move> &only = shared.root_moves;
    return only.empty() || std::find(only.begin(), only.end(), move) != only.end();
}
