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
constexpr int DEEPEST_BENCH = 40;

std::string file_name(std::string_view value) { return std::string(value.substr(0, LONGEST_FILE_NAME)); }

struct Switch {
    std::string_view name;
    std::string_view value;  // what it takes; empty: nothing; in brackets: a number that may be missing
    void (*apply)(CommandLine &line, std::string_view value);
    std::string_view group;
    std::string_view meaning;
    std::string_view example = {};
    std::string_view files = {};  // ending of the files that the value names
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

void set_tester_bench(CommandLine &line, std::string_view depth) {
    line.mode = RunMode::BENCH_FOR_TESTERS;
    if (!depth.empty()) line.limits.max_depth = clamped_integer(depth, 1, DEEPEST_BENCH);
}

void set_quiet(CommandLine &line, std::string_view) {
    line.settings.Log = 0;
    line.limits.noise = NO_PROGRESS_LINES;
}

void set_depth(CommandLine &line, std::string_view value) {
    line.limits.max_depth = clamped_integer(value, 0, MAX_DEPTH);
    line.limits.fix_time(DEPTH_SECONDS);
    line.limited = true;
}

void set_nodes(CommandLine &line, std::string_view value) {
    line.limits.node_limit = leading_integer(value);
    line.limits.fix_time(NODES_SECONDS);
    line.limited = true;
}

void set_time(CommandLine &line, std::string_view value) {
    line.limits.fix_time(leading_number(value));
    line.limited = true;
}

void set_parallel(CommandLine &line, std::string_view value) { line.parallel = clamped_integer(value, 1, MAX_THREADS); }

void set_rate(CommandLine &line, std::string_view value) {
    line.target_nps = usable_rate(leading_number(value));
    line.settings.UCI_LimitStrength = 1;
    line.settings.UCI_Elo = static_cast<std::int16_t>(std::clamp(elo_model(*line.target_nps), -32768.0, 32767.0));
    line.answers += format_line("Elo= %d\n", line.settings.UCI_Elo);
}

void set_example_tablebases(CommandLine &line, std::string_view) {
    line.settings.SyzygyPath.assign("C:\\Chess\\Syzygy;C:\\Chess\\Syzygy\\6-Piece");
}

constexpr std::string_view PROTOCOL = "Protocol";
constexpr std::string_view OPTIONS = "Options";
constexpr std::string_view LIMITS = "Limits";
constexpr std::string_view TOOLS = "Tools";
constexpr std::string_view INFORMATION = "Information";
constexpr std::string_view NO_EFFECT = "Without effect";

// Switches that set an option stand in the table of options.
// clang-format off
constexpr Switch SWITCHES[] = {
    {"-uci",       "",        [](CommandLine &line, std::string_view) { line.uci = true; },
        PROTOCOL, "UCI protocol (the default)"},
    {"-c",         "",        [](CommandLine &line, std::string_view) { line.uci = false; },
        PROTOCOL, "console: commands typed by a person"},
    {"-noise",     "seconds", [](CommandLine &line, std::string_view value) { line.limits.noise = leading_number(value); },
        PROTOCOL, "search time before progress lines appear", "dral -noise 1"},
    {"-quiet",     "",        set_quiet, PROTOCOL, "no log, no progress lines"},
    {"-d",         "plies",   set_depth, LIMITS, "depth limit, at most 66", "dral -c -d 12"},
    {"-t",         "seconds", set_time, LIMITS, "fixed time per move", "dral -c -t 2.5"},
    {"-n",         "nodes",   set_nodes, LIMITS, "node limit per thread", "dral -c -n 100000"},
    {"-nps",       "rate",    set_rate, LIMITS,
        "limit the nodes per second and thread (10 or less counts as 30); prints the matching Elo", "dral -nps 1000"},
    {"-tbx",       "",        set_example_tablebases, OPTIONS, "set SyzygyPath to an example path"},
    {"bench",      "[depth]", set_tester_bench, TOOLS,
        "benchmark to depth 16, or to this depth, that ends with its nodes and nodes per second"},
    {"-bench",     "",        set_mode<RunMode::BENCH>, TOOLS,
        "benchmark of 20 positions to depth 17, or to that of -d up to 40", "dral -bench -d 12"},
    {"-bench2",    "",        set_mode<RunMode::BENCH_2>, TOOLS, "the same"},
    {"-pbench",    "",        set_mode<RunMode::BENCH_IN_THREAD>, TOOLS,
        "benchmark of 10 positions without the thread pool"},
    {"-anepd",     "file",    set_tool_file<RunMode::ANALYSE_EPD>, TOOLS, "run a test suite", "dral -anepd wac.epd -t 1", "epd"},
    {"-against",   "file",    [](CommandLine &line, std::string_view value) { line.against_file = file_name(value); }, TOOLS,
        "results of another run of -anepd to compare with", "dral -anepd wac.epd -t 1 -against results.tsv", "tsv"},
    {"-scan_pgn1", "file",    set_source_file<RunMode::SCAN_PGN_1>, TOOLS,
        "annotate games and list their mistakes", "dral -scan_pgn1 games.pgn", "pgn"},
    {"-scan_pgn2", "file",    set_source_file<RunMode::SCAN_PGN_2>, TOOLS, "write training records of quiet positions", "dral -scan_pgn2 games.pgn", "pgn"},
    {"-scan_pgn3", "file",    set_source_file<RunMode::SCAN_PGN_3>, TOOLS, "write those of openings and middle games", "dral -scan_pgn3 games.pgn", "pgn"},
    {"-scan_pgn4", "file",    set_source_file<RunMode::SCAN_PGN_4>, TOOLS, "write those of rook and pawn against rook", "dral -scan_pgn4 games.pgn", "pgn"},
    {"-review",    "file",    set_source_file<RunMode::REVIEW>, TOOLS,
        "show where games turned: scores, marks, better lines", "dral -review games.pgn -d 14", "pgn"},
    {"-report",    "file",    set_source_file<RunMode::REPORT>, TOOLS,
        "write one page for a browser that shows what a tool has written", "dral -report games.review.pgn", "pgn"},
    {"-mkbook",    "file",    set_source_file<RunMode::MAKE_BOOK>, TOOLS,
        "build the opening book tmp_book.bin from games", "dral -mkbook games.pgn", "pgn"},
    {"-mktune",    "file",    set_tool_file<RunMode::MAKE_TUNING>, TOOLS, "filter training records", "dral -mktune tmp.epd", "epd"},
    {"-tune",      "file",    set_tool_file<RunMode::TUNE>, TOOLS, "tune weights on training records", "dral -tune tune_new.epd", "epd"},
    {"-tune4",     "",        set_mode<RunMode::SELF_PLAY_TUNING>, TOOLS, "tune weights by play against itself"},
    {"-heldout",   "file",    [](CommandLine &line, std::string_view value) { line.held_out_file = file_name(value); },
        TOOLS, "records whose error -tune tells as well, without tuning on them", "dral -tune tune_new.epd -heldout other.epd", "epd"},
    {"-weights",   "names",   [](CommandLine &line, std::string_view value) { line.weights = value; },
        TOOLS, "weights that -tune and -tune4 tune; a last '*' stands for any end", "dral -tune tune_new.epd -weights safe_check_*,hung_pawn_en"},
    {"-resume",    "",        [](CommandLine &line, std::string_view) { line.resume = true; },
        TOOLS, "go on with -tune or -tune4 from where it was ended", "dral -tune tune_new.epd -resume"},
    {"-parallel",  "count",   set_parallel, TOOLS,
        "positions or games that -anepd, -review and -tune4 work on at once, one thread each", "dral -anepd wac.epd -d 10 -parallel 4"},
    {"-h",         "",        set_mode<RunMode::HELP>, INFORMATION, "print this help and end"},
    {"--help",     "",        set_mode<RunMode::HELP>, INFORMATION, "the same"},
    {"--version",  "",        set_mode<RunMode::VERSION>, INFORMATION,
        "print version, commit, compiler and processor and end"},
    {"--tables",   "",        set_mode<RunMode::TABLES>, INFORMATION,
        "print what this help and the manual are written from, separated by tabs, and end"},
    {"-match",     "file",    set_source_file<RunMode::MATCH>, NO_EFFECT, "start, run nothing, end", "dral -match games.pgn", "pgn"},
    {"-mkconfig",  "",        set_mode<RunMode::MAKE_CONFIG>, NO_EFFECT, "start, run nothing, end"},
    {"-numa",      "",        ignore, NO_EFFECT, "accepted"},
    {"-uci_extra", "",        ignore, NO_EFFECT, "accepted"},
};
// clang-format on

// Stands for every other text that contains "-scan_pgn": it names a file and leaves the mode as it is.
constexpr Switch PLAIN_SCAN = {
    "", "file", [](CommandLine &line, std::string_view value) { line.source_file = file_name(value); }, TOOLS, ""};

const Switch *find_switch(std::string_view argument) {
    const Switch *found = std::find_if(std::begin(SWITCHES), std::end(SWITCHES),
                                       [argument](const Switch &s) { return s.name == argument; });
    if (found != std::end(SWITCHES)) return found;
    return argument.find("-scan_pgn") != std::string_view::npos ? &PLAIN_SCAN : nullptr;
}

bool takes_value(const Option *option, const Switch *found) {
    return option != nullptr ? option->kind != OptionKind::CHECK : !found->value.empty();
}
bool may_miss_value(const Switch *found) { return found != nullptr && found->value.front() == '['; }

bool is_whole_number(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

bool prints_only(RunMode mode) { return mode == RunMode::HELP || mode == RunMode::VERSION || mode == RunMode::TABLES; }

CommandLine parse_command_line(std::span<const std::string> arguments) {
    CommandLine line;
    for (std::size_t i = 0; i < arguments.size() && !prints_only(line.mode); ++i) {
        const std::string_view argument = arguments[i];
        const Option *option = option_of_argument(argument);
        const Switch *found = option == nullptr ? find_switch(argument) : nullptr;
        if (option == nullptr && found == nullptr) continue;
        std::string_view value;
        if (takes_value(option, found)) {
            const bool given =
                i + 1 < arguments.size() && (!may_miss_value(found) || is_whole_number(arguments[i + 1]));
            if (given)
                value = arguments[++i];
            else if (!may_miss_value(found))
                continue;
        }
        if (option != nullptr)
            store_argument(line.settings, *option, value);
        else
            found->apply(line, value);
    }
    return line;
}

std::vector<SwitchHelp> switch_help() {
    std::vector<SwitchHelp> entries;
    const auto add_options = [&entries] {
        for (const Option &option : option_table()) {
            if (option.argument.empty()) continue;
            const OptionManual &manual = option.manual;
            std::string example(manual.example);
            if (!example.empty()) example.insert(0, "dral " + std::string(option.argument) + " ");
            entries.push_back({OPTIONS, option.argument, manual.value, manual.meaning, example, manual.files});
        }
    };
    for (const Switch &s : SWITCHES) {
        if (s.group == OPTIONS) add_options();  // before the one switch of that group that stands here
        entries.push_back({s.group, s.name, s.value, s.meaning, std::string(s.example), s.files});
    }
    return entries;
}
