// The configuration file: "name = value  # comment", a line an option.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/text.h"
#include "engine/options.h"
#include "engine/strength.h"
#include "platform/files.h"

namespace {

constexpr std::size_t SHORTEST_LINE = 3;  // without its end
constexpr std::size_t LONGEST_LINE = 254;

// False for lines that set nothing.
bool split_config_line(std::string_view line, std::string_view &name, std::string_view &value) {
    if (line.size() < SHORTEST_LINE) return false;
    line = line.substr(0, line.find('#'));
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return false;
    name = line.substr(0, equals);
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    value = skip_blanks(line.substr(equals + 1));
    return true;
}

void apply_lines(Engine &engine, std::istream &file) {
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string_view name;
        std::string_view value;
        if (split_config_line(std::string_view(line).substr(0, LONGEST_LINE), name, value))
            apply_option(engine, name, value);
    }
}

}  // namespace

bool load_config_file(Engine &engine) {
    std::vector<std::string> &being_read = engine.configs_being_read;
    Settings &settings = engine.settings;
    const std::string path(settings.ConfigFilePath.view());
    if (std::find(being_read.begin(), being_read.end(), path) != being_read.end()) return false;
    std::error_code error;
    if (std::filesystem::is_directory(file_path(path), error)) return false;
    std::ifstream file(file_path(path));
    if (!file) return false;
    being_read.push_back(path);
    engine.shared.reporter.say("info string loading parameters from " + path);
    apply_lines(engine, file);
    being_read.pop_back();
    if (settings.UCI_Elo == 0) settings.UCI_Elo = static_cast<std::int16_t>(engine.calibrated_elo);
    if (engine.calibrated_elo - FULL_STRENGTH_MARGIN > settings.UCI_Elo) settings.UCI_LimitStrength = 1;
    settings_were_changed(engine);
    return true;
}
