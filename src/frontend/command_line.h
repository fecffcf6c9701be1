// The command line.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/settings.h"
#include "search/limits.h"

enum class RunMode {
    ENGINE,
    ANALYSE_EPD,
    SCAN_PGN_1,
    SCAN_PGN_2,
    SCAN_PGN_3,
    SCAN_PGN_4,
    REVIEW,
    REPORT,
    MATCH,
    BENCH,
    BENCH_2,
    BENCH_IN_THREAD,
    BENCH_FOR_TESTERS,
    MAKE_CONFIG,
    MAKE_BOOK,
    MAKE_TUNING,
    TUNE,
    SELF_PLAY_TUNING,
    HELP,
    VERSION,
    TABLES
};

// What the command line asks for.
struct CommandLine {
    RunMode mode = RunMode::ENGINE;
    bool uci = true;
    Settings settings;
    SearchLimits limits;
    bool limited = false;              // by depth, time or nodes
    bool resume = false;               // a tool goes on from where it was ended
    std::string held_out_file;         // of -tune
    std::string weights;               // of -tune and -tune4
    int parallel = 1;                  // what tools work on at once
    std::optional<double> target_nps;  // nodes per second and thread
    std::string tool_file;             // of -anepd, -mktune and -tune; at most 139 characters
    std::string against_file;          // results that -anepd compares its own with; at most 139 characters; empty: none
    std::string source_file;           // of the -scan_pgn switches, -review, -match and -mkbook; at most 139 characters
    std::string answers;               // lines to print at the start: the strength that goes with a node rate
};

// A switch as --help and the manual show it.
struct SwitchHelp {
    std::string_view group;  // its heading
    std::string_view name;
    std::string_view value;    // what it takes; empty: nothing; in brackets: may be missing
    std::string_view meaning;  // one line; "the same": as the one before
    std::string example;       // a command line
    std::string_view files;    // ending of the files that the value names, "/" for folders
};

// Whether the mode prints something about the program and ends, without an engine.
bool prints_only(RunMode mode);

// Reads the arguments after the program's name, up to the first that prints only. Unknown ones are ignored, as is a
// switch whose value is missing.
CommandLine parse_command_line(std::span<const std::string> arguments);

// The switches, those that set an option among them, in groups.
std::vector<SwitchHelp> switch_help();
