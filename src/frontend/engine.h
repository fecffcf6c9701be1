// The engine loop: reads commands, starts searches, keeps their time and reports their results.
#pragma once

#include <string_view>

// The engine plays both sides of the console's game. Main thread.
extern bool self_play;

// Runs until quit_flag is set: by a command, or after the end of input when nothing is left to do. Main thread.
void engine_loop();

// Waits up to `timeout_ms` for input, then interprets at most one complete line. Main thread.
void read_command(int timeout_ms);

// For work outside the engine loop: reads input without waiting and obeys `quit` (and Ctrl-C where it is caught) and
// isready; other commands wait in the queue. Main thread.
void poll_while_working();

// Stops the running search, if any, for a StopReason, and waits until all threads are idle.
void stop_and_wait(int reason);
// The same, and reports its result at once (a ponder search reports when it is hit or stopped), for commands that need
// the threads' records.
void stop_and_report();

// uci.cpp: interprets one line of the UCI protocol.
void interpret_uci(std::string_view line);
// console.cpp: interprets one line typed at a console.
void interpret_console(std::string_view line);
