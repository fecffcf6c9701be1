#include "tools/tuned_weights.h"

#include <algorithm>
#include <chrono>

#include "base/output.h"
#include "base/version.h"
#include "engine/options.h"
#include "tools/output_file.h"

namespace {

constexpr const char *TUNED_FILE = "tuned.cfg";
constexpr const char *ESTIMATE = "estimate of ";

// "safe_check_op", or "safe_*" for all that begin so. Whether there is any.
bool select_named(std::vector<TunableParam> &tunables, std::string_view name) {
    const bool all = name.ends_with('*');
    if (all) name.remove_suffix(1);
    bool found = false;
    for (TunableParam &param : tunables) {
        if (all ? !param.name.starts_with(name) : param.name != name) continue;
        param.selected = found = true;
    }
    return found;
}

std::string today() {
    using namespace std::chrono;
    const year_month_day date{floor<days>(system_clock::now())};
    return format_line("%04d-%02u-%02u", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                       static_cast<unsigned>(date.day()));
}

// The options of pairs that are not as the program came, apart from what the named weights say of them.
std::string changed_pairs_text(const Settings &settings, const std::vector<TunableParam> &tunables) {
    const Settings built_in;
    Settings unnamed = settings;
    for (const TunableParam &param : tunables) param.weight.of(unnamed.weights) = param.weight.of(built_in.weights);
    std::string text;
    for (const Option &option : option_table())
        if (option.kind == OptionKind::PAIR && value_text(unnamed, option) != value_text(built_in, option))
            text += std::string(option.name) + " = " + value_text(settings, option) + "\n";
    return text;
}

std::string weights_text(const EvalWeights &weights, const std::vector<TunableParam> &tunables) {
    const EvalWeights built_in;
    std::string text;
    for (const TunableParam &param : tunables) {
        const int value = param.weight.of(weights);
        if (param.selected || value != param.weight.of(built_in))
            text += param.name + " = " + std::to_string(value) + "\n";
    }
    return text;
}

std::string as_comment(std::string_view lines) {
    std::string text;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        text.append("# ").append(lines.substr(0, end)).append("\n");
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return text;
}

// FNV-1a over the names, and the values of those that are not selected.
std::int64_t fingerprint(const std::vector<TunableParam> &tunables) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const TunableParam &param : tunables)
        for (const char c : param.name + (param.selected ? "*" : std::to_string(param.estimate)))
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return static_cast<std::int64_t>(hash >> 1);
}

}  // namespace

bool select_weights(ToolRun &run, std::vector<TunableParam> &tunables, const std::vector<std::string_view> &usual) {
    if (run.weights.empty()) {
        for (const std::string_view name : usual) select_tunable(tunables, name);
        return true;
    }
    std::string_view names = run.weights;
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(','), names.size());
        const std::string name(names.substr(0, end));
        if (!select_named(tunables, name)) {
            print_line("no such weight: " + name);
            run.failed = true;
            return false;
        }
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return true;
}

bool write_tuned_weights(ToolRun &run, const std::vector<TunableParam> &tunables, std::string_view what) {
    constexpr int SIGNATURE_DEPTH = 8;
    Settings settings = run.engine.settings;
    for (const TunableParam &param : tunables)
        if (param.selected)
            param.weight.of(settings.weights) =
                static_cast<std::int16_t>(std::clamp<int>(nearest_weight(param.estimate), param.low, param.high));
    EvalWeights written = settings.weights;
    written.Contempt = EvalWeights{}.Contempt;  // is for games, and stays out of the file
    std::string text = as_comment(what);
    text +=
        format_line("# %s, %s; with these weights \"dral bench %d\" searches %lld nodes\n", today().c_str(),
                    ENGINE_NAME, SIGNATURE_DEPTH, static_cast<long long>(benchmark_nodes(written, SIGNATURE_DEPTH)));
    text += changed_pairs_text(settings, tunables) + weights_text(settings.weights, tunables);
    WholeFile file(TUNED_FILE);
    file.write(text);
    if (file.commit()) return true;
    run.failed = true;
    return false;
}

void put_estimates(Checkpoint &checkpoint, const std::vector<TunableParam> &tunables) {
    checkpoint.set_integer("weights", fingerprint(tunables));
    for (const TunableParam &param : tunables)
        if (param.selected) checkpoint.set_number(ESTIMATE + param.name, param.estimate);
}

bool take_estimates(const Checkpoint &checkpoint, std::vector<TunableParam> &tunables) {
    if (checkpoint.integer("weights") != fingerprint(tunables)) return false;
    for (TunableParam &param : tunables)
        if (param.selected) param.estimate = checkpoint.number(ESTIMATE + param.name);
    return true;
}
