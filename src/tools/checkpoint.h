// What a long tool notes from time to time, to go on from there when it has been ended: names and values, a line each.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

class Checkpoint {
public:
    // Texts are of one line.
    void set(const std::string &name, std::string_view text) { values_[name] = text; }
    void set_number(const std::string &name, double value);  // to the last bit
    void set_integer(const std::string &name, std::int64_t value) { values_[name] = std::to_string(value); }

    // Empty, or 0, for a name that is not there.
    std::string text(const std::string &name) const;
    double number(const std::string &name) const;
    std::int64_t integer(const std::string &name) const;

    // Replaces the file whole or not at all. False, after a line, when it could not be written.
    bool save(const char *file_name) const;
    // False when there is no such file.
    bool load(const char *file_name);

private:
    std::map<std::string, std::string> values_;
};
