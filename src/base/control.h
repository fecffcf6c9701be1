// The process-wide limits of a search and the control bytes between the front end and the search threads.
#pragma once

#include <cstdint>

#include "base/relaxed.h"

// Protocol: 1 = UCI, 0 = console. Written by the main thread.
extern Relaxed<std::uint16_t> uci_mode;

// --- Limits of the next search. Written by the main thread: command line, `go`, console, tools. ---

extern Relaxed<double> noise;            // seconds of search before progress lines appear; 9999 = never
extern double time_per_move;             // seconds, in fixed-time mode
extern double clock_white, clock_black;  // seconds
extern double increment;                 // seconds, of the side to move
extern std::uint8_t tc_mode;             // 0 sudden death, 1 fixed limits, n > 1 = moves per period
extern int moves_to_go;                  // moves left in the period, with tc_mode > 1
extern Relaxed<std::uint8_t> max_depth;  // deepest iteration, 0..MAX_DEPTH
extern bool endless_search;              // only a command can end the requested search
extern std::int64_t node_limit;          // nodes per thread, 0 = none
extern Relaxed<double> target_nps;       // nodes per second and thread; UNLIMITED_NPS = no limit

constexpr int MAX_DEPTH = 66;  // deepest iteration, and the ply at which every line ends
constexpr double UNLIMITED_NPS = 1e9;
constexpr double NO_PROGRESS_LINES = 9999.0;  // value of `noise`
constexpr double UNLIMITED_TIME = 1e7;        // time_per_move of searches that only something else ends

// Results of the speed calibration; 0 until it has run. Written by the main thread.
extern double calibrated_nps, calibrated_elo;

// --- Control bytes. ---

// Search asked for: written by the main thread.
enum SearchRequest : std::uint8_t { REQUEST_NONE = 0, REQUEST_SEARCH = 1, REQUEST_PONDER = 2, REQUEST_ANALYSIS = 3 };
extern std::uint8_t search_request;
// Request value under which the running search was started, 0 when idle. Main thread writes, search threads read.
extern Relaxed<std::uint8_t> search_state;

// Any value but 0 stops the running search. Written by the main thread, by check_time and by thread 0.
enum StopReason : std::uint8_t {
    STOP_NONE = 0,
    STOP_REPORT = 1,    // end of the search: report
    STOP_ABANDON = 2,   // overtaken by another command
    STOP_NO_MOVE = 3,   // the root has no legal move
    STOP_SHUTDOWN = 99  // the threads are about to end
};
extern Relaxed<std::uint8_t> stop_flag;

extern bool quit_flag;   // ends the engine loop and the tools; main thread
extern bool ready_flag;  // cleared while a command changes the engine's state; main thread
