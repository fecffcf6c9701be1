// The console's `set`: what can be changed by name without an option of the protocol.
#include <algorithm>
#include <string>

#include "base/output.h"
#include "base/text.h"
#include "engine/options.h"
#include "engine/strength.h"
#include "eval/tunables.h"
#include "frontend/frontend.h"

namespace {

using Words = std::vector<std::string_view>;

constexpr int LARGEST_BYTE = 255;
constexpr int NEVER = 99;  // depth that a rule never reaches

// The value of a `set NAME VALUE`, as its receivers want it.
struct Value {
    const Words &words;
    std::string_view text;
    int number;
};

// "5:30" is five and a half minutes, "90" ninety seconds.
double time_text(std::string_view text) {
    constexpr double SECONDS = 60.0;
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return leading_number(text);
    return SECONDS * static_cast<double>(leading_integer(text.substr(0, colon))) +
           leading_number(text.substr(colon + 1));
}

void set_hash(FrontEnd &front, const Value &value) {
    front.engine.shared.table.enabled = static_cast<std::uint8_t>(std::clamp(value.number, 0, LARGEST_BYTE));
}

void set_noise(FrontEnd &front, const Value &value) {
    front.limits.noise = leading_number(value.text);
    change_noise(front.engine, front.limits.noise);
}

void set_level(FrontEnd &front, const Value &value) {
    SearchLimits &limits = front.limits;
    limits.fix_time(std::max(time_text(word_at(value.words, 3)), 0.0));
    limits.tc_mode = std::clamp(value.number, 0, LARGEST_BYTE);
    limits.reset_clocks();
    limits.increment = std::max(leading_number(word_at(value.words, 4)), 0.0);
    print_format("set level to %d moves in %0.2f seconds, inc %0.2f", limits.tc_mode, limits.time_per_move,
                 limits.increment);
}

void set_debug(FrontEnd &front, const Value &value) { front.limits.show_evaluation = value.number != 0; }

void set_depth(FrontEnd &front, const Value &value) {
    front.limits.max_depth = std::clamp(value.number, 0, MAX_DEPTH);
    change_depth_limit(front.engine, front.limits.max_depth);
}

// 1: everything as it was at the start; else no selectivity.
void set_selectivity_switch(FrontEnd &front, const Value &value) {
    Engine &engine = front.engine;
    if (value.number == 1) {
        engine.settings = engine.default_settings;
        print_line("set default personality");
        return;
    }
    engine.settings.search.NMP_depth = NEVER;
    engine.settings.search.SEP_depth = 0;
    engine.settings.search.LMP_depth = 0;
    engine.settings.search.LMR_depth = NEVER;
    print_line("selectivity set to OFF");
}

void set_target_nps(FrontEnd &front, const Value &value) {
    limit_rate(front.engine, leading_number(value.text));
    print_format("target_nps set to %.0f", front.engine.shared.target_nps.load());
}

void set_lines(FrontEnd &front, const Value &value) {
    store_number(front.engine.settings, *option_named("MultiPV"), value.number);
}

struct NamedSetting {
    CommandHelp help;
    void (*set)(FrontEnd &front, const Value &value);
};
// clang-format off
constexpr NamedSetting SETTINGS[] = {
    {{"hash",       "number",  "0: no hash table; 1: emptied before every search; 2: kept"},              set_hash},
    {{"noise",      "seconds", "search time before progress lines appear"},                               set_noise},
    {{"multipv",    "lines",   "lines to show; any name with multipv in it does"},                        set_lines},
    {{"level",      "moves time [increment]", "so many moves (0: all) in minutes:seconds, or seconds", "set level 40 5:00 2"}, set_level},
    {{"debug",      "number",  "1: show evaluations instead of boards"},                                  set_debug},
    {{"depth",      "plies",   "depth limit, at most 66"},                                                set_depth},
    {{"target_nps", "rate",    "limit the nodes per second and thread"},                                  set_target_nps},
    {{"ss",         "number",  "1: all settings as at the start; 0: no selectivity"},                     set_selectivity_switch},
};
// clang-format on
constexpr auto HELP = help_of(SETTINGS);

}  // namespace

std::span<const CommandHelp> console_settings() { return HELP; }

void set_value(FrontEnd &front, const Words &words) {
    const std::string_view name = word_at(words, 1);
    const Value value{words, word_at(words, 2), console_integer(word_at(words, 2))};
    Settings &settings = front.engine.settings;
    if (const Option *option = option_of_console(name); option != nullptr) {
        store_number(settings, *option, value.number);
        print_format("%s set to %d", std::string(name).c_str(), number_of(settings, *option));
    } else if (const auto weight = set_weight(settings.weights, name, value.number); weight.has_value()) {
        print_format("%s set to %d", std::string(name).c_str(), *weight);
    } else if (name.find("multipv") != std::string_view::npos) {
        set_lines(front, value);
    } else {
        for (const NamedSetting &setting : SETTINGS)
            if (name == setting.help.word) setting.set(front, value);
    }
    front.engine.settings_changed = true;
}
