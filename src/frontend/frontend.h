// The front end: one record for what a conversation with a user or a program needs, and the loop that keeps it going.
//
// This folder holds the input queue (input.h), the loop (loop.cpp), the two protocols (uci.cpp, console.cpp with
// console_settings.cpp), what they print of a search (reporters.h), the console's game (game_commands.h, game_files.h,
// editor.h) and the command line (command_line.h). All of it runs on the main thread, but for the reporters.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/shared_value.h"
#include "base/text.h"
#include "engine/life.h"
#include "frontend/input.h"
#include "tools/tools.h"

struct FrontEnd {
    explicit FrontEnd(Engine &engine_of_this_process) : engine(engine_of_this_process) {}
    FrontEnd(const FrontEnd &) = delete;
    FrontEnd &operator=(const FrontEnd &) = delete;

    Engine &engine;
    InputQueue input;
    SharedValue<bool> uci{true};      // the protocol: UCI, or that of the console; reporters read it on search threads
    SharedValue<bool> strict{false};  // UCI to the letter; likewise
    SearchLimits limits;              // of the next search; commands change them, and what they do not name stays
    SearchLimits start_limits;        // those with which the program was started
    SearchRequest search_request = REQUEST_NONE;  // a search that has been asked for
    bool clear_table_first = false;               // before the requested search
    bool endless_search = false;                  // only a command can end the requested or running search
    bool requested_waits = false;                 // the requested search is answered after `stop` only,
    bool answer_waits = false;                    // and so is the running one
    std::vector<std::string> held_options;        // of `setoption` lines that wait for the end of a search
    bool self_play = false;                       // the engine plays both sides of the console's game
    bool editing = false;                         // the console's board editor takes the lines
    bool quit = false;                            // ends the loop and the tools
    TuneChoice tune;                              // what the console's `tune` worked on last
};

// Runs until a command ends it, or the end of input when nothing is left to do. The start position is set up.
void run_loop(FrontEnd &front);

// Waits up to `timeout_ms` for input, then interprets at most one complete line.
void read_command(FrontEnd &front, int timeout_ms);

// For work outside the loop: reads input without waiting and obeys `quit` (and Ctrl-C where it is caught) and isready;
// other commands wait in the queue. Whether the work is to end.
bool wants_to_end(FrontEnd &front);
// The same for work that `stop` ends as well, when it comes behind the first `skipped` lines that wait.
bool is_told_to_stop(FrontEnd &front, std::size_t skipped);

// Asks for a search; one that runs makes way for it.
void request_search(FrontEnd &front, SearchRequest request, bool endless);
// For commands that change the position or want quiet: the engine's game against itself ends as well.
void abandon_search(FrontEnd &front);
// The same for commands that need the threads' records: waits, and reports the result of a search that runs.
void end_search(FrontEnd &front);

// Prints the result of a search, and goes on with the engine's game against itself.
void report_result(FrontEnd &front, const SearchResult &result);

// Sets up a position in the game, with a line when its castling rights do not fit.
void set_up_position(FrontEnd &front, std::string_view fen);

// The limits of a search that starts now.
SearchLimits present_limits(const FrontEnd &front);

PromotionStyle move_style(const FrontEnd &front);

// What a tool gets from this front end.
ToolRun tool_run(FrontEnd &front);

// A command as `help` and the manual show it.
struct CommandHelp {
    std::string_view word;       // with a word of its own behind it where one line is not enough: "go mate"
    std::string_view arguments;  // what follows it; empty: nothing
    std::string_view meaning;    // one line
    std::string_view example = {};
};

// uci.cpp: interprets one line of the UCI protocol.
void interpret_uci(FrontEnd &front, std::string_view line);
// Sets the options that have waited. Idle.
void set_held_options(FrontEnd &front);
std::span<const CommandHelp> uci_commands();
// console.cpp: interprets one line typed at a console.
void interpret_console(FrontEnd &front, std::string_view line);
std::span<const CommandHelp> console_commands();
// Prints a table of commands, one a line.
void print_commands(std::span<const CommandHelp> commands);

// The help column of a protocol's table of commands.
template <typename Command, std::size_t N>
constexpr std::array<CommandHelp, N> help_of(const Command (&commands)[N]) {
    std::array<CommandHelp, N> help{};
    for (std::size_t i = 0; i < N; ++i) help[i] = commands[i].help;
    return help;
}

// A number typed at a console.
inline int console_integer(std::string_view text) { return clamped_integer(text, -1'000'000, 1'000'000); }
// console_settings.cpp: the console's `set`, and what can be set without being an option of the protocol.
void set_value(FrontEnd &front, const std::vector<std::string_view> &words);
std::span<const CommandHelp> console_settings();
