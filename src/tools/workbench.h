// What the tools share: the user's wish to end, searches that keep an eye on it, and files that are complete or say so.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "base/line_reader.h"
#include "engine/life.h"
#include "tools/tools.h"

// Looks whether the user wants the tool to end, which ends a running search as well.
void look_for_wish(ToolRun &run);

// Searches the game's position within the run's limits, with all threads; looks for the user's wish in turns of `pause_ms`
// milliseconds.
SearchResult search_with_all_threads(ToolRun &run, int pause_ms);
// The same from begin_search on, which the caller has done.
SearchResult complete_search(ToolRun &run, int pause_ms);
// A search in this thread, without a look at the time or the user.
SearchResult search_in_this_thread(ToolRun &run);

// Text for the screen only.
void say(std::string_view text);

// The nearest value that a weight can have, halves away from zero.
std::int16_t nearest_weight(double x);

// Whether an output would replace the input; one line says so.
bool is_same_file(const char *input, const char *output);

// Prints one line when a file could not be read to its end.
void report_read_error(const LineReader &file, const char *name);

// A file that a tool writes. An error while writing is reported once, when it is closed.
class OutputFile {
public:
    explicit OutputFile(std::string name) : name_(std::move(name)), file_(std::fopen(name_.c_str(), "wb")) {}
    ~OutputFile() { close(); }
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    bool is_open() const { return file_ != nullptr; }
    void write(const std::string &text) { std::fwrite(text.data(), 1, text.size(), file_); }
    void flush() { std::fflush(file_); }
    // Prints one line when not everything could be written.
    void close();

private:
    std::string name_;
    std::FILE *file_;
};
