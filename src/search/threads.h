// The pool of search threads, 1 to 128, driven by one command byte each. All procedures here run on the thread of the
// engine's owner unless noted.
#pragma once

#include "search/search.h"

// Starts `count` threads and waits until all are ready. 0 on success; otherwise the reporter has been told and no thread
// runs.
int start_threads(SearchShared &shared, int count);
// Ends the running search and all threads, and frees their records.
void stop_threads(SearchShared &shared);

inline SearchThread &search_thread_at(const ThreadPool &pool, int index) {
    return *pool.entries[static_cast<std::size_t>(index)].record.load(std::memory_order_relaxed);
}

// Copies a game, from its set-up on, into every thread's record and resets counters, depths and node budgets. No thread
// busy.
void prepare_threads(SearchShared &shared, const Position &game);
// Has the records forget what they keep from one search to the next beside caches, which is little but can be told by node
// counts: a search goes as in a new engine. No thread busy.
void forget_searches(SearchShared &shared);
// Gives every prepared thread the search command; thread 0 gets a head start of 5 ms.
void start_search_threads(SearchShared &shared);

// Number of threads that have not finished their command.
int busy_threads(const ThreadPool &pool);
// Sleeps until no thread is busy, or so long.
void wait_until_idle(const ThreadPool &pool);
void wait_until_idle(const ThreadPool &pool, int milliseconds);

// Zeroes the transposition table, with all threads. None of them busy.
void clear_table(SearchShared &shared);
// clear_table when a table is in use that a search has written to, and no thread is busy.
void clear_table_if_idle(SearchShared &shared);
// Has memory found for a fresh table while nobody searches yet.
void warm_table(SearchShared &shared);

// Writes the moves made up to this ply to the trace file; 0 ends that. Any search thread may be running.
void set_trace_level(SearchShared &shared, int level);

// Sums over all threads. Any thread.
ThreadStats sum_thread_stats(const ThreadPool &pool);
