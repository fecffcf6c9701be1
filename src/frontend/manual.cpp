#include "frontend/manual.h"

#include <string_view>

#include "base/output.h"
#include "base/version.h"
#include "engine/options.h"
#include "engine/strength.h"
#include "frontend/command_line.h"
#include "frontend/frontend.h"

namespace {

struct ExitStatus {
    std::string_view status, meaning;
};
constexpr ExitStatus STATUSES[] = {
    {"0", "a normal run"},
    {"1",
     "no memory for a search thread or the hash table at start, a processor that lacks instructions, or a tool that "
     "could not do its work"},
    {"255", "a later change of Threads or Hash could not be carried out"},
};

std::string kind_name(OptionKind kind) {
    switch (kind) {
    case OptionKind::SPIN: return "number";
    case OptionKind::CHECK: return "check";
    case OptionKind::BUTTON: return "button";
    case OptionKind::PAIR: return "pair";
    case OptionKind::TEXT: return "text";
    }
    return {};
}

// Not those that are accepted without effect.
bool is_told(const Option &option) { return option.listed || !option.argument.empty(); }

bool has_range(const Option &option) { return option.kind == OptionKind::SPIN || option.kind == OptionKind::PAIR; }
std::string lowest(const Option &option) {
    if (!has_range(option)) return {};
    return std::to_string(option.highest != nullptr ? LOWEST_ELO : option.low);
}
std::string highest(const Option &option) {
    return has_range(option) && option.highest == nullptr ? std::to_string(option.high) : std::string();
}

// One line of two columns.
std::string help_line(std::string_view left, std::string_view right) {
    return format_line("  %-20s %s\n", std::string(left).c_str(), std::string(right).c_str());
}

std::string usage_of(std::string_view word, std::string_view value) {
    return value.empty() ? std::string(word) : std::string(word) + " " + std::string(value);
}

std::string switches_text() {
    std::string text;
    std::string_view group;
    for (const SwitchHelp &help : switch_help()) {
        if (help.group != group) text.append("\n").append(help.group).append(":\n");
        group = help.group;
        text += help_line(usage_of(help.name, help.value), help.meaning);
    }
    return text;
}

// What `setoption` and a configuration file set; of the weights the names only.
std::string options_text() {
    constexpr std::size_t WIDTH = 78;
    const Settings defaults;
    std::string text =
        "\nWhat `setoption name NAME value VALUE` and a line `NAME = VALUE` of a configuration file set:\n";
    std::string weights = "Weights, as opening,endgame:";
    for (const Option &option : option_table()) {
        if (!is_told(option)) continue;
        if (option.kind == OptionKind::PAIR) {
            const std::size_t line_start = weights.rfind('\n') + 1;  // 0 when there is none
            const bool fits = weights.size() - line_start + option.name.size() < WIDTH;
            weights.append(fits ? " " : "\n   ").append(fits ? "" : " ").append(option.name);
            continue;
        }
        std::string values = value_text(defaults, option);
        if (!lowest(option).empty())
            values +=
                " (" + lowest(option) + " to " + (option.highest != nullptr ? "full strength" : highest(option)) + ")";
        text += format_line("  %-18s %-24s %s\n", std::string(option.name).c_str(), values.c_str(),
                            std::string(option.manual.meaning).c_str());
    }
    return text + "  " + weights + "\n";
}

std::string row(std::initializer_list<std::string_view> fields) {
    std::string text;
    for (const std::string_view field : fields) text.append(text.empty() ? "" : "\t").append(field);
    return text + "\n";
}

std::string command_rows(std::string_view table, std::span<const CommandHelp> commands) {
    std::string text;
    for (const CommandHelp &help : commands)
        text += row({table, help.word, help.arguments, help.meaning, help.example});
    return text;
}

}  // namespace

std::string help_text() {
    std::string text = "Usage: dral [SWITCH [VALUE]]...\n\n";
    text.append(ENGINE_NAME);
    text +=
        ", a chess engine. It talks UCI over standard input and output, or with -c to a person, or runs a tool and "
        "ends.\n"
        "Unknown arguments are ignored; of several tools the last one runs.\n";
    text += switches_text() + options_text() + "\nExit status:\n";
    for (const ExitStatus &status : STATUSES) text += help_line(status.status, status.meaning);
    return text + "\nCommands are listed by `help`, in UCI and at the console. The manual: man dral.\n";
}

std::string tables_text() {
    std::string text = row({"program", ENGINE_NAME});
    for (const SwitchHelp &help : switch_help())
        text += row({"switch", help.group, help.name, help.value, help.meaning, help.example, help.files});
    const Settings defaults;
    for (const Option &option : option_table()) {
        const OptionManual &manual = option.manual;
        if (!is_told(option) && option.console.empty()) continue;
        text += row({"option", option.name, kind_name(option.kind), value_text(defaults, option), lowest(option),
                     highest(option), manual.meaning, manual.example, option.argument, option.console, manual.files});
    }
    text += command_rows("uci", uci_commands()) + command_rows("console", console_commands()) +
            command_rows("set", console_settings());
    for (const ExitStatus &status : STATUSES) text += row({"status", status.status, status.meaning});
    return text;
}
