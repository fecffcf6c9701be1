// The engine: one record that owns everything that changes while it runs.
//
// Two engines can live in one process and know nothing of each other. What is constant after start (attack tables, hash
// codes, the king and pawn bitbase) is shared by all. This folder holds the record, its start and stop (here), the
// settings and the one table of options (settings.h, options.h), the game (game.h), the life of a search (life.h) and the
// strength (strength.h). It prints nothing and ends no process: what there is to say goes to the Reporter.
//
// Embedding. A whole program, which prints the best line and its score in centipawns for the side to move:
//
//     #include <cstdio>
//     #include "board/notation.h"
//     #include "engine/engine.h"
//     #include "engine/life.h"
//     int main() {
//         Engine engine;
//         if (start_engine(engine, Settings{}, Reporter{}) != 0) return 1;
//         SearchLimits limits;
//         limits.max_depth = 10;
//         set_fen(engine.game.position, "r1bqkbnr/pppp1ppp/2n5/4p3/2B1P3/5N2/PPPP1PPP/RNBQK2R b KQkq -");
//         const SearchResult result = search(engine, limits);
//         for (const Move *m = &result.pv[1]; *m != NO_MOVE; ++m)
//             std::printf("%s ", move_to_text(*m, PromotionStyle::LOWER_CASE).c_str());
//         std::printf("%d\n", result.score);
//     }
//
// Linking. The folder of the headers is on the include path of who links dral_core; from an installation
// find_package(dral) gives the target dral::dral_core, with threads and nothing else behind it. C++20 is needed, none of
// the flags that the library was built with.
//
// Lifetime. An engine is neither copied nor moved; it is large (0.3 MB) and may well live on the heap. start_engine comes
// first and once; the destructor ends a running search, the threads and the memory. Any number of engines may live at a
// time. What the Reporter's `context` points to outlives the engine.
//
// Game and search. set_fen (board/fen.h) sets up a position and play_game_move (game.h) plays on from it;
// parse_coordinates and parse_move (board/notation.h) find the move that a text denotes. `search` waits for the end of a
// search; start_search, poll_search and finish_search (life.h) leave its time to the caller. Without another limit a
// search ends after SearchLimits::time_per_move, five seconds. A position that cannot be searched, which
// unsearchable_reason tells, gives a result with NO_MOVE as best move and an empty line.
//
// Threads. An engine belongs to one thread, its owner, which calls everything here unless a comment says otherwise; its
// search threads are its own. Different engines may be used by different threads at a time. Any thread may call
// stop_search(engine, STOP_REPORT), and `search` returns soon with what has been found; begin_search, with which `search`
// opens, forgets a stop that came before it. SearchPoll lets the owner look up from its waiting.
//
// Options. Settings given to start_engine hold from the start: settings.Hash = 256 (MB), settings.Threads = 4. Later,
// apply_option(engine, "Threads", "2") and then settings_were_changed(engine) (options.h): names and values are those of
// the protocol, values are clamped, the reply goes to the Reporter, and an unknown name does nothing. The next search
// start derives its tables from the new settings. A change that needs idle threads ends a running search.
//
// What is heard. A Reporter (search/reporter.h) holds plain procedures, each of them optional; one that follows a search:
// reporter.search_line = [](void *context, const SearchLine &line) { *static_cast<int *>(context) = line.depth; };
// Some are called from search threads, as their comments say; they are to return soon and call nothing of the engine but
// stop_search.
//
// Errors. Nothing here ends the process, prints, or reports by an exception of its own. When start_engine does not give
// 0, threads or memory were missing, and the engine is good for nothing but its destructor. What goes wrong later comes
// to Reporter::failed with its kind: when that returns the engine works on without what failed, a table of tablebases or
// its hash table, for example. Reporter::warning tells of damaged files that are left alone.
//
// Memory. The hash table (settings.Hash), 1.4 MB for each search thread, 1 MB of constant tables for all engines
// together; tablebase files are mapped when they are needed. Nothing is allocated during a search but for these.
#pragma once

#include <string>
#include <vector>

#include "base/random.h"
#include "engine/game.h"
#include "engine/settings.h"
#include "search/shared.h"

struct Engine {
    Engine() = default;
    ~Engine();
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    Settings settings;             // as they are now
    Settings default_settings;     // as the listing of options shows them
    bool settings_changed = true;  // the next search start derives its tables anew
    Game game;
    SearchShared shared;  // tables, threads, clock, result: all that a search uses
    RandomGenerator random;
    double calibrated_nps = 0.0;  // this machine's node rate and strength; 0 until it has been measured
    double calibrated_elo = 0.0;
    Move fallback_move = NO_MOVE;                 // answer of a search that is stopped before it has published anything
    std::vector<std::string> configs_being_read;  // files that name each other are read once
};

// Builds what is constant and shared by all engines, at the first call. Any thread. False when the hash codes are not as
// different as they should be.
bool build_constant_tables();

// Starts the threads and takes memory for the hash table; the start position is set up. `reporter` is told from now on.
// An engine that runs is stopped first. Threads and Hash are kept within their ranges.
// 0, or an error code: the system's for a thread that did not start, of which the reporter has been told, or 1 without
// memory. The engine has to be stopped all the same.
int start_engine(Engine &engine, const Settings &settings, const Reporter &reporter);
// Ends a running search and the threads, gives the memory back and forgets what searches have left. The destructor does
// it as well.
void stop_engine(Engine &engine);

// Derives the tables of search and evaluation from the settings; a search start does it by itself when settings_changed is
// set. No search running.
void derive_tables(Engine &engine);

// Takes memory for a table of settings.Hash megabytes, and tells. False, and no table, without enough memory.
bool allocate_table(Engine &engine);

// Registers the tablebases of a path list. No search running.
TbSetup set_up_tablebases(Engine &engine, std::string_view paths);

// Writes the moves that are made up to this ply, in searches and on the board, to "trace.txt"; 0 ends that.
void set_trace_level(Engine &engine, int level);
