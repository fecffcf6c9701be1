// The engine: one record that owns everything that changes while it runs.
//
// Two engines can live in one process and know nothing of each other. What is constant after start (attack tables, hash
// codes, the king and pawn bitbase) is shared by all. This folder holds the record, its start and stop (here), the
// settings and the one table of options (settings.h, options.h), the game (game.h), the life of a search (life.h) and the
// strength (strength.h). It prints nothing and ends no process: what there is to say goes to the Reporter.
//
// Embedding. Link dral_core and write:
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
// Threads: an engine belongs to one thread, its owner, which calls everything here. stop_search (life.h) may be called
// from any thread, and the Reporter is called from search threads where its comments say so.
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
// 0, or an error code after the reporter has been told; the engine has to be stopped all the same.
int start_engine(Engine &engine, const Settings &settings, const Reporter &reporter);
// Ends a running search and the threads and gives the memory back. The destructor does it as well.
void stop_engine(Engine &engine);

// Derives the tables of search and evaluation from the settings. No search running.
void derive_tables(Engine &engine);

// Takes memory for a table of settings.Hash megabytes, and tells. False, and no table, without enough memory.
bool allocate_table(Engine &engine);

// Registers the tablebases of a path list. No search running.
TbSetup set_up_tablebases(Engine &engine, std::string_view paths);

// Writes the moves that are made up to this ply, in searches and on the board, to "trace.txt"; 0 ends that.
void set_trace_level(Engine &engine, int level);
