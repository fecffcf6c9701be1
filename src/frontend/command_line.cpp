#include "frontend/command_line.h"

#include <algorithm>
#include <string_view>

#include "base/output.h"
#include "base/text.h"
#include "engine/options.h"
#include "engine/strength.h"

namespace {

constexpr std::size_t LONGEST_FILE_NAME = 139;
constexpr double DEPTH_SECONDS = 10000.0;  // time for searches to a depth,
constexpr double NODES_SECONDS = 1000.0;   // and for those to a number of nodes

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

void set_quiet(CommandLine &line, std::string_view) {
    line.settings.Log = 0;
    line.limits.noise = NO_PROGRESS_LINES;
}

void set_depth(CommandLine &line, std::string_view value) {
    line.limits.max_depth = clamped_integer(value, 0, MAX_DEPTH);
    line.limits.fix_time(DEPTH_SECONDS);
}

void set_nodes(CommandLine &line, std::string_view value) {
    line.limits.node_limit = leading_integer(value);
    line.limits.fix_time(NODES_SECONDS);
}

void set_rate(CommandLine &line, std::string_view value) {
    line.target_nps = usable_rate(leading_number(value));
    line.settings.UCI_LimitStrength = 1;
    line.settings.UCI_Elo = static_cast<std::int16_t>(std::clamp(elo_model(*line.target_nps), -32768.0, 32767.0));
    print_display(format_line("%sElo= %d\n", line.settings.Strict != 0 ? "info string " : "", line.settings.UCI_Elo));
}

void set_example_tablebases(CommandLine &line, std::string_view) {
    line.settings.SyzygyPath.assign("C:\\Chess\\Syzygy;C:\\Chess\\Syzygy\\6-Piece");
}

// Switches that set an option stand in the table of options.
constexpr Switch SWITCHES[] = {
    {"-uci", false, [](CommandLine &line, std::string_view) { line.uci = true; }},
    {"-c", false, [](CommandLine &line, std::string_view) { line.uci = false; }},
    {"-numa", false, ignore},
    {"-noise", true, [](CommandLine &line, std::string_view value) { line.limits.noise = leading_number(value); }},
    {"-quiet", false, set_quiet},
    {"-uci_extra", false, ignore},
    {"-d", true, set_depth},
    {"-t", true, [](CommandLine &line, std::string_view value) { line.limits.fix_time(leading_number(value)); }},
    {"-n", true, set_nodes},
    {"-nps", true, set_rate},
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
constexpr Switch PLAIN_SCAN = {"", true,
                               [](CommandLine &line, std::string_view value) { line.source_file = file_name(value); }};

const Switch *find_switch(std::string_view argument) {
    const Switch *found = std::find_if(std::begin(SWITCHES), std::end(SWITCHES),
                                       [argument](const Switch &s) { return s.name == argument; });
    if (found != std::end(SWITCHES)) return found;
    return argument.find("-scan_pgn") != std::string_view::npos ? &PLAIN_SCAN : nullptr;
}

}  // namespace

CommandLine parse_command_line(std::span<const std::string> arguments) {
    CommandLine line;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const Option *option = option_of_argument(argument);
        const Switch *found = option == nullptr ? find_switch(argument) : nullptr;
        if (option == nullptr && found == nullptr) continue;
        std::string_view value;
        if (option != nullptr ? option->kind != OptionKind::CHECK : found->has_value) {
            if (i + 1 >= arguments.size()) continue;
            value = arguments[++i];
        }
        if (option != nullptr)
            store_argument(line.settings, *option, value);
        else
            found->apply(line, value);
    }
    return line;
}
