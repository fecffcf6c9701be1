// The command line.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "engine/settings.h"
#include "search/limits.h"

enum class RunMode {
    ENGINE,
    ANALYSE_EPD,
    SCAN_PGN_1,
    SCAN_PGN_2,
    SCAN_PGN_3,
    SCAN_PGN_4,
    MATCH,
    BENCH,
    BENCH_2,
    BENCH_IN_THREAD,
    MAKE_CONFIG,
    MAKE_BOOK,
    MAKE_TUNING,
    TUNE,
    SELF_PLAY_TUNING
};

// What the command line asks for.
struct CommandLine {
    RunMode mode = RunMode::ENGINE;
    bool uci = true;
    Settings settings;
    SearchLimits limits;
    std::optional<double> target_nps;  // nodes per second and thread
    std::string tool_file;             // of -anepd, -mktune and -tune; at most 139 characters
    std::string source_file;           // of the -scan_pgn switches, -match and -mkbook; at most 139 characters
};

// Reads the arguments after the program's name. Unknown ones are ignored, as is a switch whose value is missing. A node
// rate is answered with the strength that goes with it.
CommandLine parse_command_line(std::span<const std::string> arguments);
