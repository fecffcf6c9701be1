#include "tools/checkpoint.h"

#include "base/line_reader.h"
#include "base/output.h"
#include "base/text.h"
#include "tools/output_file.h"

namespace {

constexpr std::string_view EQUALS = " = ";
constexpr std::string_view END = "\n";

}  // namespace

void Checkpoint::set_number(const std::string &name, double value) { values_[name] = format_line("%.17g", value); }

std::string Checkpoint::text(const std::string &name) const {
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : std::string();
}

double Checkpoint::number(const std::string &name) const { return leading_number(text(name)); }
std::int64_t Checkpoint::integer(const std::string &name) const { return leading_integer(text(name)); }

bool Checkpoint::save(const char *file_name) const {
    WholeFile file(file_name);
    for (const auto &[name, value] : values_)
        for (const std::string_view part : {std::string_view(name), EQUALS, std::string_view(value), END})
            file.write(part);
    return file.commit();
}

bool Checkpoint::load(const char *file_name) {
    constexpr std::size_t LONGEST_LINE = 1000;
    LineReader file(file_name, LONGEST_LINE);
    if (!file.is_open()) return false;
    values_.clear();
    std::string_view line;
    while (file.next(line)) {
        const std::size_t at = line.find(EQUALS);
        if (at != std::string_view::npos) values_[std::string(line.substr(0, at))] = line.substr(at + EQUALS.size());
    }
    return true;
}
