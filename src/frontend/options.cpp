#include "frontend/options.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

#include "base/control.h"
#include "base/output.h"
#include "base/text.h"
#include "frontend/engine.h"
#include "search/settings.h"
#include "search/strength.h"
#include "search/threads.h"
#include "search/tt.h"
#include "tablebase/registry.h"

namespace {

constexpr std::size_t LONGEST_NAME = 100;
constexpr std::size_t LONGEST_VALUE = 200;

using Spin = std::int16_t Settings::*;
using Weight = std::int16_t EvalWeights::*;
using Pair = WeightPair EvalWeights::*;
using Text = OptionText Settings::*;

enum class Kind { SPIN, CHECK, BUTTON, PAIR, TEXT, HIDDEN_PAIR };

struct Option {
    const char *name;
    Kind kind;
    std::variant<std::monostate, Spin, Weight, Pair, Text> field;
    int low = 0;
    int high = 0;
    void (*then)() = nullptr;  // after the value has been stored and the reply printed
};

void change_threads() {
    if (settings.Threads == thread_count()) return;
    stop_and_report();
    stop_threads();
    if (start_threads(settings.Threads) != 0) {
        print_line("error!");
        std::exit(-1);
    }
}

void change_tablebases() {
    stop_and_report();
    set_up_tablebases();
}

void clear_hash() {
    tt_clear_if_idle();
    print_line("info string Hash table cleared");
}

void change_log() { settings.Log = set_logging(settings.Log != 0) ? 1 : 0; }

void read_named_config() { load_config_file(); }

// clang-format off
const Option OPTIONS[] = {
    // name               kind          field                          low    high          then
    {"ConfigFilePath",    Kind::TEXT,   &Settings::ConfigFilePath,     0,     0,            read_named_config},
    {"Hash",              Kind::SPIN,   &Settings::Hash,               0,     MAX_HASH_MB},
    {"Threads",           Kind::SPIN,   &Settings::Threads,            1,     MAX_THREADS,  change_threads},
    {"Clear_Hash",        Kind::BUTTON, {},                            0,     0,            clear_hash},
    {"OwnBook",           Kind::CHECK,  &Settings::OwnBook},
    {"OwnBook_File",      Kind::TEXT,   &Settings::OwnBook_File},
    {"OwnBook_Depth",     Kind::SPIN,   &Settings::OwnBook_Depth,      0,     60},
    {"OwnBook_Variety",   Kind::SPIN,   &Settings::OwnBook_Variety,    0,     100},
    {"SyzygyPath",        Kind::TEXT,   &Settings::SyzygyPath,         0,     0,            change_tablebases},
    {"SyzygyProbeDepth5", Kind::SPIN,   &Settings::SyzygyProbeDepth5,  -5,    100},
    {"SyzygyProbeDepth6", Kind::SPIN,   &Settings::SyzygyProbeDepth6,  -5,    100},
    {"Log",               Kind::CHECK,  &Settings::Log,                0,     1,            change_log},
    {"Ponder",            Kind::CHECK,  &Settings::Ponder},
    {"MultiPV",           Kind::SPIN,   &Settings::MultiPV,            1,     255},
    {"MoveOverhead",      Kind::SPIN,   &Settings::MoveOverhead,       0,     5000},
    {"UCI_LimitStrength", Kind::CHECK,  &Settings::UCI_LimitStrength},
    {"UCI_Elo",           Kind::SPIN,   &Settings::UCI_Elo,            0,     0,            apply_target_elo},
    {"Contempt",          Kind::SPIN,   &EvalWeights::Contempt,           -150,  150},
    {"Selectivity",       Kind::SPIN,   &Settings::Selectivity,        0,     200},
    {"Mtl_Pawn",          Kind::PAIR,   &EvalWeights::pawn_value,         20,    2000},
    {"Mtl_Knight",        Kind::PAIR,   &EvalWeights::knight_value,       20,    2000},
    {"Mtl_Bishop",        Kind::PAIR,   &EvalWeights::bishop_value,       20,    2000},
    {"Mtl_Rook",          Kind::PAIR,   &EvalWeights::rook_value,         20,    2000},
    {"Mtl_Queen",         Kind::PAIR,   &EvalWeights::queen_value,        20,    2000},
    {"Mtl_BishopPair",    Kind::PAIR,   &EvalWeights::bishop_pair,        0,     100},
    {"PST_Pawn",          Kind::PAIR,   &EvalWeights::PST_Pawn,           0,     200},
    {"PST_Knight",        Kind::PAIR,   &EvalWeights::PST_Knight,         0,     200},
    {"PST_Bishop",        Kind::PAIR,   &EvalWeights::PST_Bishop,         0,     200},
    {"PST_Rook",          Kind::PAIR,   &EvalWeights::PST_Rook,           0,     200},
    {"PST_Queen",         Kind::PAIR,   &EvalWeights::PST_Queen,          0,     200},
    {"PST_King",          Kind::PAIR,   &EvalWeights::PST_King,           0,     200},
    {"Mobility_Knight",   Kind::PAIR,   &EvalWeights::Mobility_Knight,    0,     200},
    {"Mobility_Bishop",   Kind::PAIR,   &EvalWeights::Mobility_Bishop,    0,     200},
    {"Mobility_Rook",     Kind::PAIR,   &EvalWeights::Mobility_Rook,      0,     200},
    {"Mobility_Queen",    Kind::PAIR,   &EvalWeights::Mobility_Queen,     0,     200},
    {"Pawn_Structure",    Kind::PAIR,   &EvalWeights::Pawn_Structure,     0,     200},
    {"Passed_Pawns",      Kind::PAIR,   &EvalWeights::Passed_Pawns,       0,     200},
    {"King_Safety",       Kind::PAIR,   &EvalWeights::King_Safety,        0,     200},
    {"Threats",           Kind::PAIR,   &EvalWeights::Threats,            0,     200},
    {"Awareness",         Kind::HIDDEN_PAIR, &EvalWeights::Awareness,     0,     200},
    {"tune",              Kind::HIDDEN_PAIR, &EvalWeights::tune,          0,     200},
};
// clang-format on

constexpr int LOWEST_ELO = 1500;

int highest_elo() { return static_cast<int>(calibrated_elo); }

bool is_field(const Option &option, Spin field) {
    const Spin *spin = std::get_if<Spin>(&option.field);
    return spin != nullptr && *spin == field;
}

bool is_elo(const Option &option) { return is_field(option, &Settings::UCI_Elo); }

// The number that a SPIN or CHECK option names.
std::int16_t &number_of(Settings &s, const Option &option) {
    if (const Weight *weight = std::get_if<Weight>(&option.field)) return s.weights.**weight;
    return s.*std::get<Spin>(option.field);
}

std::int16_t spin_value(const Option &option, std::string_view value) {
    // The strength is kept within what this machine reaches, even when that is below the lowest one offered.
    if (is_elo(option))
        return static_cast<std::int16_t>(
            std::min(std::max(clamped_integer(value, 0, 32767), LOWEST_ELO), highest_elo()));
    return static_cast<std::int16_t>(clamped_integer(value, option.low, option.high));
}

// "400,380" sets both halves, "400" the opening half only.
WeightPair pair_value(const Option &option, std::string_view value, WeightPair old) {
    const auto clamped = [&option](std::string_view text) {
        return static_cast<std::int16_t>(clamped_integer(text, option.low, option.high));
    };
    const std::size_t comma = value.find(',');
    WeightPair pair{clamped(value.substr(0, comma)), old.en};
    if (comma != std::string_view::npos && !skip_blanks(value.substr(comma + 1)).empty())
        pair.en = clamped(value.substr(comma + 1));
    return pair;
}

void store(const Option &option, std::string_view value) {
    switch (option.kind) {
    case Kind::SPIN: {
        std::int16_t &field = number_of(settings, option);
        field = spin_value(option, value);
        print_format("info string %s set to %d", option.name, field);
        break;
    }
    case Kind::CHECK: {
        std::int16_t &field = number_of(settings, option);
        field = value.find("true") != std::string_view::npos ? 1 : 0;
        if (is_field(option, &Settings::Log)) enable_logging(field != 0);  // decides over the reply
        print_format("info string %s set to %d", option.name, field);
        break;
    }
    case Kind::PAIR:
    case Kind::HIDDEN_PAIR: {
        WeightPair &field = settings.weights.*std::get<Pair>(option.field);
        field = pair_value(option, value, field);
        print_format("info string %s set to %d,%d", option.name, field.op, field.en);
        break;
    }
    case Kind::TEXT: {
        OptionText &field = settings.*std::get<Text>(option.field);
        field.assign(value);
        print_format("info string %s set to '%s'", option.name, field.c_str());
        break;
    }
    case Kind::BUTTON: break;
    }
}

void list_option(const Option &option) {
    Settings &d = default_settings;
    switch (option.kind) {
    case Kind::SPIN:
        print_format("option name %s type spin default %d min %d max %d", option.name, number_of(d, option), option.low,
                     is_elo(option) ? highest_elo() : option.high);
        break;
    case Kind::CHECK:
        print_format("option name %s type check default %s", option.name, number_of(d, option) != 0 ? "true" : "false");
        break;
    case Kind::BUTTON: print_format("option name %s type button", option.name); break;
    case Kind::PAIR: {
        const WeightPair pair = d.weights.*std::get<Pair>(option.field);
        print_format("option name %s type string default %d,%d", option.name, pair.op, pair.en);
        break;
    }
    case Kind::TEXT:
        print_format("option name %s type string default %s", option.name, (d.*std::get<Text>(option.field)).c_str());
        break;
    case Kind::HIDDEN_PAIR: break;
    }
}

// "name = value  # comment"; false for lines that set nothing.
bool split_config_line(std::string_view line, std::string_view &name, std::string_view &value) {
    constexpr std::size_t SHORTEST_LINE = 3;  // without its end
    if (line.size() < SHORTEST_LINE) return false;
    line = line.substr(0, line.find('#'));
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return false;
    name = line.substr(0, equals);
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    value = skip_blanks(line.substr(equals + 1));
    return true;
}

}  // namespace

void apply_option(std::string_view name, std::string_view value) {
    name = name.substr(0, LONGEST_NAME);
    value = value.substr(0, LONGEST_VALUE);
    const auto option = std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                                     [name](const Option &candidate) { return name == candidate.name; });
    if (option == std::end(OPTIONS)) return;
    store(*option, value);
    if (option->then != nullptr) option->then();
}

void set_up_tablebases() {
    const TbSetup setup = tb_setup(tablebases, settings.SyzygyPath.view());
    if (!setup.error.empty()) {
        if (tablebases.report.fail != nullptr) tablebases.report.fail(tablebases.report.context, setup.error);
    } else if (setup.searched) {
        std::printf("info string found %zu tablebases\n", setup.tables);
        std::fflush(stdout);
    }
}

void settings_were_changed() {
    settings.settings_changed = 1;
    default_settings = settings;
}

void list_options() {
    for (const Option &option : OPTIONS) list_option(option);
}

bool load_config_file() {
    static std::vector<std::string> being_read;
    const std::string path(settings.ConfigFilePath.view());
    if (std::find(being_read.begin(), being_read.end(), path) != being_read.end()) return false;
    std::ifstream file(path);
    if (!file) return false;
    being_read.push_back(path);
    print_format("info string loading parameters from %s", path.c_str());
    std::string line;
    while (std::getline(file, line)) {
        constexpr std::size_t LONGEST_LINE = 254;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string_view name;
        std::string_view value;
        if (split_config_line(std::string_view(line).substr(0, LONGEST_LINE), name, value)) apply_option(name, value);
    }
    being_read.pop_back();
    if (settings.UCI_Elo == 0) settings.UCI_Elo = static_cast<std::int16_t>(calibrated_elo);
    if (calibrated_elo - 10 > settings.UCI_Elo) settings.UCI_LimitStrength = 1;
    settings_were_changed();
    return true;
}
