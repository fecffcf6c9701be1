// The options: one table drives the protocol's listing and setoption, the configuration file, the switches that set an
// option at start, and what the console's `set` changes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "engine/engine.h"

enum class OptionKind {
    SPIN,    // an integer
    CHECK,   // 0 or 1
    BUTTON,  // no value
    PAIR,    // an opening and an endgame value
    TEXT
};

// Where an option keeps its value.
using OptionField = std::variant<std::monostate, std::int16_t Settings::*, std::int16_t SearchSettings::*,
                                 std::int16_t EvalWeights::*, WeightPair EvalWeights::*, OptionText Settings::*>;

// What the manual says of an option.
struct OptionManual {
    std::string_view meaning;
    std::string_view value = {};    // what its switch takes: "MB", "file"; empty: nothing
    std::string_view example = {};  // a value
    std::string_view files = {};    // ending of the files that the value names, or "/" for folders
};

struct Option {
    std::string_view name;  // in the protocol and in configuration files; empty: at the console only
    OptionKind kind;
    OptionField field;
    int low, high;
    OptionManual manual;
    bool listed = true;
    std::string_view console = {};   // name that the console's `set` uses; empty: none
    std::string_view argument = {};  // switch that sets it at start; empty: none
    // Carried out when a value has been stored: before the reply, and after it.
    void (*before_reply)(Engine &) = nullptr;
    void (*after_reply)(Engine &) = nullptr;
    // A highest value that depends on the machine, in place of `high`, and a lowest one that it may undercut.
    int (*highest)(const Engine &) = nullptr;
};

std::span<const Option> option_table();

// Whether the protocol lists evaluation weights as spin options too, for programs that tune them by games.
#ifdef DRAL_TUNE
inline constexpr bool LISTS_WEIGHTS = true;
#else
inline constexpr bool LISTS_WEIGHTS = false;
#endif

// The option whose name, console name or switch this is; null when there is none.
const Option *option_named(std::string_view name);
const Option *option_named_in_any_case(std::string_view name);
const Option *option_of_console(std::string_view name);
const Option *option_of_argument(std::string_view argument);

int highest_value(const Engine &engine, const Option &option);
// The value as the protocol writes it: "64", "true", "90,110", or a text.
std::string value_text(const Settings &settings, const Option &option);
// The number that a spin or check option holds.
int number_of(const Settings &settings, const Option &option);

// Stores the number that the console gives to an option, clamped; what comes of it comes at the next search start.
void store_number(Settings &settings, const Option &option, int value);
// Stores the value that a switch gives to an option; the empty value of a switch without one sets a check.
void store_argument(Settings &settings, const Option &option, std::string_view value);

// Sets an option by its exact name, or an evaluation weight by the name that tuners know it by (eval/tunables.h): clamps
// the value, stores it, replies and does what the option does at once. Names are cut to 100 characters, values to 200. An
// unknown name does nothing and gives false.
bool apply_option(Engine &engine, std::string_view name, std::string_view value);

// The evaluation weights without an option of their own that differ from those that the program came with, a line each as
// in a configuration file: "safe_check_op = -9".
std::string changed_weights_text(const EvalWeights &weights);

// The settings become the defaults that are listed, and the next search derives its tables from them: after every accepted
// change.
void settings_were_changed(Engine &engine);

// Reads the file that settings.ConfigFilePath names, line by line through apply_option. False when it cannot be opened.
// Files that name each other are read once.
bool load_config_file(Engine &engine);
