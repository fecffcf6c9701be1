// The life of a search: set-up, start, polling, stop, result. The one place where it is written.
//
//     begin_search -- release_threads / search_here -- poll_search ... -- finish_search
//
// For a move to play use start_search instead of the first two, which asks the opening book as well; to search and wait,
// `search` does it all. All procedures run on the engine owner's thread unless noted.
#pragma once

#include <string_view>

#include "engine/engine.h"
#include "search/limits.h"

// Why the game's position cannot be searched, or an empty text when it can.
std::string_view unsearchable_reason(const Engine &engine);

// Sets up a search of the game's position: changed settings take effect, the time is planned and reported, and the clock
// starts. All threads idle. Without memory for a hash table of a changed size the reporter is told, and the search goes
// on with what there is.
void begin_search(Engine &engine, const SearchLimits &limits, SearchRequest request);

// Lets all threads search what begin_search has set up.
void release_threads(Engine &engine);
// Searches it in this thread, as thread 0, and returns when that has ended.
void search_here(Engine &engine);

// begin_search, and whatever gives the answer: nothing in a position that cannot be searched or, unless the limits are
// literal, is drawn by the fifty-move clock; a book move; or the threads, which have been released when this returns.
void start_search(Engine &engine, const SearchLimits &limits, SearchRequest request);

// Whether a search has been begun and not been finished.
bool searching(const Engine &engine);
bool pondering(const Engine &engine);
// Whether its threads are at work.
bool threads_busy(const Engine &engine);

// Keeps the time; about once a millisecond while threads are busy.
void poll_search(Engine &engine);
// What a running search can be given anew; other limits take effect at the next start.
void change_depth_limit(Engine &engine, int max_depth);
void change_noise(Engine &engine, double noise);
// The opponent has played the expected move, or the search is to report as soon as it has ended.
void end_pondering(Engine &engine);

// Ends the search soon. Any thread.
void stop_search(Engine &engine, StopReason reason);
// The same, and waits until all threads are idle.
void stop_and_wait(Engine &engine, StopReason reason);
// What has been found. No thread busy.
SearchResult finish_search(Engine &engine);
// For changes that need idle threads: ends a running search and has the reporter tell its result. A ponder search is told
// when it is hit or stopped.
void interrupt_search(Engine &engine);

// A whole search with all threads. `poll`, when given, is called between looks at the clock, with pauses of `pause_ms`
// milliseconds.
struct SearchPoll {
    void (*poll)(void *context) = nullptr;
    void *context = nullptr;
    int pause_ms = 1;
};
SearchResult search(Engine &engine, const SearchLimits &limits, const SearchPoll &poll = {});
// The same from begin_search on, which the caller has done.
SearchResult complete_search(Engine &engine, const SearchPoll &poll = {});

// Copies the game to the threads' records without a search, for work that uses one of them directly.
SearchThread &prepare_thread(Engine &engine);
