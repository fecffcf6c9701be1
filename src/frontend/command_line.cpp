#include "frontend/command_line.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "base/control.h"
#include "base/text.h"
#include "search/settings.h"
#include "search/strength.h"

namespace {

constexpr std::size_t LONGEST_FILE_NAME = 139;

void fixed_limits(double seconds) {
    time_per_move = seconds;
    tc_mode = 1;
}

std::string file_name(std::string_view value) { return std::string(value.substr(0, LONGEST_FILE_NAME)); }

struct Switch {
    std::string_view name;
    bool has_value;
    void (*apply)(CommandLine &line, std::string_view value);
};

template <RunMode MODE>
void set_mode(CommandLine &line, std::string_view) {
    line.mode = MODE;
}

template <RunMode MODE>
void set_tool_file(CommandLine &line, std::string_view value) {
    line.tool_file = file_name(value);
    line.mode = MODE;
}

template <RunMode MODE>
void set_source_file(CommandLine &line, std::string_view value) {
    line.source_file = file_name(value);
    line.mode = MODE;
}

void ignore(CommandLine &, std::string_view) {}

void set_quiet(CommandLine &, std::string_view) {
    settings.Log = 0;
    noise = NO_PROGRESS_LINES;
}

void set_depth(CommandLine &, std::string_view value) {
    max_depth = static_cast<std::uint8_t>(clamped_integer(value, 0, MAX_DEPTH));
    fixed_limits(10000.0);
}

void set_nodes(CommandLine &, std::string_view value) {
    node_limit = leading_integer(value);
    fixed_limits(1000.0);
}

void set_rate(CommandLine &, std::string_view value) {
    target_nps = usable_rate(leading_number(value));
    settings.UCI_LimitStrength = 1;
    settings.UCI_Elo = static_cast<std::int16_t>(std::clamp(elo_model(target_nps), -32768.0, 32767.0));
    std::printf("Elo= %d\n", settings.UCI_Elo);
    std::fflush(stdout);
}

void set_hash(CommandLine &, std::string_view value) {
    settings.Hash = static_cast<std::int16_t>(clamped_integer(value, 0, MAX_HASH_MB));
}

void set_threads(CommandLine &, std::string_view value) {
    settings.Threads = static_cast<std::int16_t>(clamped_integer(value, 1, MAX_THREADS));
}

void set_example_tablebases(CommandLine &, std::string_view) {
    settings.SyzygyPath.assign("C:\\Chess\\Syzygy;C:\\Chess\\Syzygy\\6-Piece");
}

const Switch SWITCHES[] = {
    {"-uci", false, [](CommandLine &, std::string_view) { uci_mode = 1; }},
    {"-c", false, [](CommandLine &, std::string_view) { uci_mode = 0; }},
    {"-log", false, [](CommandLine &, std::string_view) { settings.Log = 1; }},
    {"-numa", false, ignore},
    {"-noise", true, [](CommandLine &, std::string_view value) { noise = leading_number(value); }},
    {"-quiet", false, set_quiet},
    {"-uci_extra", false, ignore},
    {"-cfg", true, [](CommandLine &, std::string_view value) { settings.ConfigFilePath.assign(value); }},
    {"-d", true, set_depth},
    {"-t", true, [](CommandLine &, std::string_view value) { fixed_limits(leading_number(value)); }},
    {"-n", true, set_nodes},
    {"-nps", true, set_rate},
    {"-hash", true, set_hash},
    {"-threads", true, set_threads},
    {"-book", true, [](CommandLine &, std::string_view value) { settings.OwnBook_File.assign(value); }},
    {"-tbpath", true, [](CommandLine &, std::string_view value) { settings.SyzygyPath.assign(value); }},
    {"-tbx", false, set_example_tablebases},
    {"-anepd", true, set_tool_file<RunMode::ANALYSE_EPD>},
    {"-scan_pgn1", true, set_source_file<RunMode::SCAN_PGN_1>},
    {"-scan_pgn2", true, set_source_file<RunMode::SCAN_PGN_2>},
    {"-scan_pgn3", true, set_source_file<RunMode::SCAN_PGN_3>},
    {"-scan_pgn4", true, set_source_file<RunMode::SCAN_PGN_4>},
    {"-match", true, set_source_file<RunMode::MATCH>},
    {"-bench", false, set_mode<RunMode::BENCH>},
    {"-bench2", false, set_mode<RunMode::BENCH_2>},
    {"-pbench", false, set_mode<RunMode::BENCH_IN_THREAD>},
    {"-mkconfig", false, set_mode<RunMode::MAKE_CONFIG>},
    {"-mkbook", true, set_source_file<RunMode::MAKE_BOOK>},
    {"-mktune", true, set_tool_file<RunMode::MAKE_TUNING>},
    {"-tune", true, set_tool_file<RunMode::TUNE>},
    {"-tune4", false, set_mode<RunMode::SELF_PLAY_TUNING>},
};

// Stands for every other text that contains "-scan_pgn": it names a file and leaves the mode as it is.
const Switch PLAIN_SCAN = {"", true,
                           [](CommandLine &line, std::string_view value) { line.source_file = file_name(value); }};

const Switch *find_switch(std::string_view argument) {
    const Switch *found = std::find_if(std::begin(SWITCHES), std::end(SWITCHES),
                                       [argument](const Switch &s) { return s.name == argument; });
    if (found != std::end(SWITCHES)) return found;
    return argument.find("-scan_pgn") != std::string_view::npos ? &PLAIN_SCAN : nullptr;
}

}  // namespace

CommandLine parse_command_line(int count, char **arguments) {
    CommandLine line;
    for (int i = 1; i < count; ++i) {
        const Switch *found = find_switch(arguments[i]);
        if (found == nullptr) continue;
        if (!found->has_value)
            found->apply(line, {});
        else if (i + 1 < count)
            found->apply(line, arguments[++i]);
    }
    return line;
}
