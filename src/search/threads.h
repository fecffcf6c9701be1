// The pool of search threads, 1 to 128, driven by one command byte each. All procedures here run on the main thread.
#pragma once

#include <cstdint>

#include "base/random.h"
#include "search/search.h"

// The game record: its position and history are the game, kept by the front end. Null before start-up.
extern SearchThread *game;

// The tables that every search reads. Set up by the front end while no search runs.
extern Tablebases tablebases;
// Draws of play: book moves. Seeded at start-up. Main thread.
extern RandomGenerator random_generator;
// The evaluation tables that all threads and the game record read. Written on the main thread while no search runs.
extern EvalTables eval_tables;
// The tables of the `ev` view. Written by thread 0 while the display is on, read by the main thread afterwards.
extern EvalDisplay eval_display;

// Allocates and frees the game record. False when there is no memory.
bool allocate_game();
void free_game();

// Starts `count` threads and waits until all are ready. 0 on success; otherwise an error has been printed and no thread
// runs.
int start_threads(int count);
// Ends the running search and all threads, and frees their records.
void stop_threads();

int thread_count();
SearchThread &search_thread_at(int index);

// Copies the game into every thread's record and resets counters, depths and node budgets. No thread busy.
void prepare_threads();
// prepare_threads, then gives every thread the search command; thread 0 gets a head start of 5 ms.
void start_search_threads();
// Runs the search of thread 0 in the calling thread and returns when it has ended.
void iterate();
// Number of threads that have not finished their command.
int busy_threads();
// Sleeps in steps of 1 ms until no thread is busy.
void wait_until_idle();

// Has the pool zero the transposition table; returns when that is done.
void clear_hash_in_parallel();

// Sums over all threads. Any thread.
struct ThreadStats {
    std::uint64_t nodes, tb_hits, hash_probes, hash_hits;
    std::uint64_t evaluations, eval_hits, pawn_probes, pawn_hits;
};
ThreadStats sum_thread_stats();
