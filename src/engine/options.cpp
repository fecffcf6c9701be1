#include "engine/options.h"

#include <algorithm>

#include "base/output.h"
#include "base/text.h"
#include "engine/life.h"
#include "engine/strength.h"
#include "eval/tunables.h"
#include "search/threads.h"

namespace {

constexpr std::size_t LONGEST_NAME = 100;
constexpr std::size_t LONGEST_VALUE = 200;

void change_threads(Engine &engine) {
    SearchShared &shared = engine.shared;
    if (engine.settings.Threads == shared.pool.size) return;
    interrupt_search(engine);
    stop_threads(shared);
    if (start_threads(shared, engine.settings.Threads) == 0) return;
    shared.reporter.fail(Failure::THREADS, "error!");
    engine.settings.Threads = 1;
    start_threads(shared, 1);
}

void change_tablebases(Engine &engine) {
    interrupt_search(engine);
    set_up_tablebases(engine, engine.settings.SyzygyPath.view());
}

void clear_hash(Engine &engine) {
    clear_table_if_idle(engine.shared);
    engine.shared.reporter.say("info string Hash table cleared");
}

void switch_log(Engine &engine) {
    const Reporter &reporter = engine.shared.reporter;
    if (reporter.log_switched != nullptr) reporter.log_switched(reporter.context, engine.settings.Log != 0);
}

void open_log(Engine &engine) {
    const Reporter &reporter = engine.shared.reporter;
    const bool on = engine.settings.Log != 0;
    engine.settings.Log = reporter.log_opened != nullptr && reporter.log_opened(reporter.context, on) ? 1 : 0;
}

void read_named_config(Engine &engine) { load_config_file(engine); }

int full_strength(const Engine &engine) { return static_cast<int>(engine.calibrated_elo); }

using S = Settings;
using P = SearchSettings;
using W = EvalWeights;
constexpr auto SPIN = OptionKind::SPIN;
constexpr auto CHECK = OptionKind::CHECK;
constexpr auto PAIR = OptionKind::PAIR;
constexpr auto BUTTON = OptionKind::BUTTON;
constexpr auto TEXT = OptionKind::TEXT;
constexpr bool LISTED = true;
constexpr bool HIDDEN = false;

constexpr std::string_view MATERIAL = "material value in centipawns";
constexpr std::string_view SQUARE_TABLES = "percent of the square tables";
constexpr std::string_view MOBILITY = "percent of the mobility terms";
constexpr std::string_view TERMS = "percent of this group of terms";
constexpr std::string_view NO_EFFECT = "accepted, without effect";

// clang-format off
constexpr Option OPTIONS[] = {
    // name                kind   field                 low   high              manual: meaning, value of the switch, example, files
    //     listed, name at the console, switch, before the reply, after it, highest
    {"ConfigFilePath",     TEXT,   &S::ConfigFilePath,     0,    0,                {"read that configuration file at once", "file", "my.cfg", "cfg"},
        LISTED, "", "-cfg", nullptr, read_named_config},
    {"Hash",               SPIN,   &S::Hash,               0,    MAX_HASH_MB,      {"size of the hash table in MB; 0 switches it off", "MB", "1024"},
        LISTED, "", "-hash"},
    {"Threads",            SPIN,   &S::Threads,            1,    MAX_THREADS,      {"search threads", "count", "4"},
        LISTED, "", "-threads", nullptr, change_threads},
    {"Clear_Hash",         BUTTON, {},                     0,    0,                {"empty the hash table"},
        LISTED, "", "", nullptr, clear_hash},
    {"OwnBook",            CHECK,  &S::OwnBook,            0,    1,                {"play from the opening book"}},
    {"OwnBook_File",       TEXT,   &S::OwnBook_File,       0,    0,                {"opening book in Polyglot form", "file", "performance.bin", "bin"},
        LISTED, "", "-book"},
    {"OwnBook_Depth",      SPIN,   &S::OwnBook_Depth,      0,    60,               {"plies of the game during which the book is asked"}},
    {"OwnBook_Variety",    SPIN,   &S::OwnBook_Variety,    0,    100,
     {"25: book moves in proportion to their weights; less prefers the main moves, more the rare ones"}},
    {"SyzygyPath",         TEXT,   &S::SyzygyPath,         0,    0,                {"folders with endgame tables, separated by ';'; <empty> or nothing: none", "folders", "/srv/tables", "/"},
        LISTED, "", "-tbpath", nullptr, change_tablebases},
    {"SyzygyProbeDepth5",  SPIN,   &S::SyzygyProbeDepth5,  -5,   100,
     {"remaining depth from which positions of up to five pieces are looked up"}},
    {"SyzygyProbeDepth6",  SPIN,   &S::SyzygyProbeDepth6,  -5,   100,              {"the same depth for six pieces"}},
    {"Log",                CHECK,  &S::Log,                0,    1,                {"copy output and commands into dral.log in the working folder"},
        LISTED, "", "-log", switch_log, open_log},
    {"Ponder",             CHECK,  &S::Ponder,             0,    1,                {"plan time as one who ponders"},
        LISTED, "ponder"},
    {"Strict",             CHECK,  &S::Strict,             0,    1,                {"UCI to the letter, for scripts and strict clients"}, HIDDEN, "", "-strict"},
    {"MultiPV",            SPIN,   &S::MultiPV,            1,    255,              {"lines to show", "", "3"}},
    {"MoveOverhead",       SPIN,   &S::MoveOverhead,       0,    5000,             {"milliseconds kept back per move", "", "100"}},
    {"UCI_LimitStrength",  CHECK,  &S::UCI_LimitStrength,  0,    1,                {"play at the strength of UCI_Elo", "", "true"}},
    {"UCI_Elo",            SPIN,   &S::UCI_Elo,            0,    0,                {"wanted strength; within 10 of full strength switches the limit off", "", "1800"},
        LISTED, "", "", nullptr, apply_target_elo, full_strength},
    {"Contempt",           SPIN,   &W::Contempt,           -150, 150,              {"centipawns by which a draw is disliked"}},
    {"Selectivity",        SPIN,   &P::Selectivity,        0,    200,              {"percent of pruning and reduction"},
        LISTED, "Selectivity"},
    {"Mtl_Pawn",           PAIR,   &W::pawn_value,         20,   2000,             {MATERIAL}},
    {"Mtl_Knight",         PAIR,   &W::knight_value,       20,   2000,             {MATERIAL, "", "400,380"}},
    {"Mtl_Bishop",         PAIR,   &W::bishop_value,       20,   2000,             {MATERIAL}},
    {"Mtl_Rook",           PAIR,   &W::rook_value,         20,   2000,             {MATERIAL}},
    {"Mtl_Queen",          PAIR,   &W::queen_value,        20,   2000,             {MATERIAL}},
    {"Mtl_BishopPair",     PAIR,   &W::bishop_pair,        0,    100,              {"bonus for two bishops in centipawns"}},
    {"PST_Pawn",           PAIR,   &W::PST_Pawn,           0,    200,              {SQUARE_TABLES}},
    {"PST_Knight",         PAIR,   &W::PST_Knight,         0,    200,              {SQUARE_TABLES}},
    {"PST_Bishop",         PAIR,   &W::PST_Bishop,         0,    200,              {SQUARE_TABLES}},
    {"PST_Rook",           PAIR,   &W::PST_Rook,           0,    200,              {SQUARE_TABLES}},
    {"PST_Queen",          PAIR,   &W::PST_Queen,          0,    200,              {SQUARE_TABLES}},
    {"PST_King",           PAIR,   &W::PST_King,           0,    200,              {SQUARE_TABLES}},
    {"Mobility_Knight",    PAIR,   &W::Mobility_Knight,    0,    200,              {MOBILITY}},
    {"Mobility_Bishop",    PAIR,   &W::Mobility_Bishop,    0,    200,              {MOBILITY}},
    {"Mobility_Rook",      PAIR,   &W::Mobility_Rook,      0,    200,              {MOBILITY}},
    {"Mobility_Queen",     PAIR,   &W::Mobility_Queen,     0,    200,              {MOBILITY}},
    {"Pawn_Structure",     PAIR,   &W::Pawn_Structure,     0,    200,              {TERMS}},
    {"Passed_Pawns",       PAIR,   &W::Passed_Pawns,       0,    200,              {TERMS}},
    {"King_Safety",        PAIR,   &W::King_Safety,        0,    200,              {TERMS}},
    {"Threats",            PAIR,   &W::Threats,            0,    200,              {TERMS}},
    {"Awareness",          PAIR,   &W::Awareness,          0,    200,              {NO_EFFECT}, HIDDEN},
    {"tune",               PAIR,   &W::tune,               0,    200,              {NO_EFFECT}, HIDDEN},
    {"",                   SPIN,   &P::NMP_depth,          0,    99,               {"remaining depth from which null moves are tried"},
        HIDDEN, "NMP_depth"},
    {"",                   SPIN,   &P::SEP_depth,          0,    MAX_MARGIN_DEPTH, {"remaining depth up to which a quiet evaluation above the window ends a node"},
        HIDDEN, "SEP_depth"},
    {"",                   SPIN,   &P::FP_depth,           0,    MAX_MARGIN_DEPTH, {"remaining depth up to which an evaluation far below the window ends in quiescence"},
        HIDDEN, "FP_depth"},
    {"",                   SPIN,   &P::ProbCut_depth,      0,    99,               {"remaining depth from which a shallow search may cut a node"},
        HIDDEN, "ProbCut_depth"},
    {"",                   SPIN,   &P::LMP_depth,          0,    MAX_MARGIN_DEPTH, {"remaining depth up to which late moves are left out"},
        HIDDEN, "LMP_depth"},
    {"",                   SPIN,   &P::LMR_depth,          0,    99,               {"remaining depth from which late moves are reduced"},
        HIDDEN, "LMR_depth"},
};
// clang-format on

// The number of a spin or check option.
template <typename AnySettings>
auto &number_field(AnySettings &settings, const Option &option) {
    if (const auto *field = std::get_if<std::int16_t P::*>(&option.field)) return settings.search.**field;
    if (const auto *field = std::get_if<std::int16_t W::*>(&option.field)) return settings.weights.**field;
    return settings.*std::get<std::int16_t S::*>(option.field);
}
template <typename AnySettings>
auto &pair_field(AnySettings &settings, const Option &option) {
    return settings.weights.*std::get<WeightPair W::*>(option.field);
}
template <typename AnySettings>
auto &text_field(AnySettings &settings, const Option &option) {
    return settings.*std::get<OptionText S::*>(option.field);
}

int spin_value(const Engine &engine, const Option &option, std::string_view value) {
    if (option.highest == nullptr) return clamped_integer(value, option.low, option.high);
    // The strength is kept within what this machine reaches, even when that is below the lowest one offered.
    constexpr int ANY_STRENGTH = 32767;
    return std::min(std::max(clamped_integer(value, 0, ANY_STRENGTH), LOWEST_ELO), option.highest(engine));
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

void store(Engine &engine, const Option &option, std::string_view value) {
    Settings &settings = engine.settings;
    switch (option.kind) {
    case OptionKind::SPIN: store_number(settings, option, spin_value(engine, option, value)); break;
    case OptionKind::CHECK: store_number(settings, option, value.find("true") != std::string_view::npos ? 1 : 0); break;
    case OptionKind::PAIR: {
        WeightPair &pair = pair_field(settings, option);
        pair = pair_value(option, value, pair);
        break;
    }
    case OptionKind::TEXT: text_field(settings, option).assign(value); break;
    case OptionKind::BUTTON: break;
    }
}

void reply(Engine &engine, std::string_view name, std::string_view value) {
    engine.shared.reporter.say("info string " + std::string(name) + " set to " + std::string(value));
}

void reply(Engine &engine, const Option &option) {
    if (option.kind == OptionKind::BUTTON) return;
    const Settings &settings = engine.settings;
    std::string value = value_text(settings, option);
    if (option.kind == OptionKind::CHECK) value = std::to_string(number_of(settings, option));
    if (option.kind == OptionKind::TEXT) value = "'" + value + "'";
    reply(engine, option.name, value);
}

bool apply_weight(Engine &engine, std::string_view name, std::string_view value) {
    constexpr int ANY_WEIGHT = 32767;
    const int number = clamped_integer(value, -ANY_WEIGHT, ANY_WEIGHT);
    const std::optional<int> stored = set_weight(engine.settings.weights, name, number);
    if (stored.has_value()) reply(engine, name, std::to_string(*stored));
    return stored.has_value();
}

bool has_option(WeightPair W::*pair) {
    return std::any_of(std::begin(OPTIONS), std::end(OPTIONS),
                       [pair](const Option &option) { return option.field == OptionField(pair); });
}

bool same_text(std::string_view a, std::string_view b) { return a == b; }

bool same_letters(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

const Option *find_option(std::string_view Option::*column, std::string_view text,
                          bool (*same)(std::string_view, std::string_view) = same_text) {
    const auto found = std::find_if(std::begin(OPTIONS), std::end(OPTIONS),
                                    [&](const Option &option) { return same(option.*column, text); });
    return found != std::end(OPTIONS) && !text.empty() ? found : nullptr;
}

}  // namespace

std::span<const Option> option_table() { return OPTIONS; }

const Option *option_named(std::string_view name) { return find_option(&Option::name, name); }
const Option *option_named_in_any_case(std::string_view name) { return find_option(&Option::name, name, same_letters); }
const Option *option_of_console(std::string_view name) { return find_option(&Option::console, name); }
const Option *option_of_argument(std::string_view argument) { return find_option(&Option::argument, argument); }

int highest_value(const Engine &engine, const Option &option) {
    return option.highest != nullptr ? option.highest(engine) : option.high;
}

int number_of(const Settings &settings, const Option &option) { return number_field(settings, option); }

std::string value_text(const Settings &settings, const Option &option) {
    switch (option.kind) {
    case OptionKind::SPIN: return std::to_string(number_of(settings, option));
    case OptionKind::CHECK: return number_of(settings, option) != 0 ? "true" : "false";
    case OptionKind::PAIR: {
        const WeightPair pair = pair_field(settings, option);
        return std::to_string(pair.op) + "," + std::to_string(pair.en);
    }
    case OptionKind::TEXT: return text_field(settings, option).c_str();
    case OptionKind::BUTTON: break;
    }
    return {};
}

void store_number(Settings &settings, const Option &option, int value) {
    if (option.highest == nullptr) value = std::clamp(value, option.low, option.high);
    number_field(settings, option) = static_cast<std::int16_t>(value);
}

void store_argument(Settings &settings, const Option &option, std::string_view value) {
    switch (option.kind) {
    case OptionKind::CHECK: store_number(settings, option, 1); break;
    case OptionKind::SPIN: store_number(settings, option, clamped_integer(value, option.low, option.high)); break;
    case OptionKind::TEXT: text_field(settings, option).assign(value); break;
    default: break;
    }
}

bool apply_option(Engine &engine, std::string_view name, std::string_view value) {
    name = name.substr(0, LONGEST_NAME);
    value = value.substr(0, LONGEST_VALUE);
    const Option *option = option_named(name);
    if (option == nullptr) return apply_weight(engine, name, value);
    store(engine, *option, value);
    if (option->before_reply != nullptr) option->before_reply(engine);
    reply(engine, *option);
    if (option->after_reply != nullptr) option->after_reply(engine);
    return true;
}

std::string changed_weights_text(const EvalWeights &weights) {
    const EvalWeights built_in;
    std::string text;
    for (const TunableParam &param : eval_tunables(weights)) {
        const auto *half = std::get_if<PairHalf>(&param.weight.place);
        const int value = param.weight.of(weights);
        if (value != param.weight.of(built_in) && (half == nullptr || !has_option(half->pair)))
            text += param.name + " = " + std::to_string(value) + "\n";
    }
    return text;
}

void settings_were_changed(Engine &engine) {
    engine.settings_changed = true;
    engine.default_settings = engine.settings;
}
