// Files that tools read and write: complete, or somebody says so.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_reader.h"
#include "platform/files.h"

// Whether an output would replace the input; one line says so.
bool is_same_file(const char *input, const char *output);

// Prints one line when a file could not be read to its end.
void report_read_error(const LineReader &file, const char *name);

// A file that a tool writes. An error while writing is reported once, when it is closed.
class OutputFile {
public:
    explicit OutputFile(std::string name);
    ~OutputFile() { close(); }
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    bool is_open() const { return file_ != nullptr; }
    void write(std::string_view text) { std::fwrite(text.data(), 1, text.size(), file_); }
    void flush() { std::fflush(file_); }
    // Prints one line when not everything could be written.
    void close();

private:
    std::string name_;
    std::FILE *file_;
    std::vector<char> buffer_;
};
