// Files that tools read and write: complete, or somebody says so.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_reader.h"
#include "platform/files.h"

// Whether an output would replace the input; one line says so.
bool is_same_file(const char *input, const char *output);

// Prints one line when a file could not be read to its end.
void report_read_error(const LineReader &file, const char *name);

// Removes a file, if it is there.
void remove_file(const char *name);

// A file that a tool writes. An error while writing is reported once, when it is closed.
class OutputFile {
public:
    explicit OutputFile(std::string name);
    // Goes on behind the first `kept` bytes of a file that is there; what stands behind them is cut off.
    OutputFile(std::string name, std::int64_t kept);
    ~OutputFile() { close(); }
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    bool is_open() const { return file_ != nullptr; }
    void write(std::string_view text) {
        std::fwrite(text.data(), 1, text.size(), file_);
        size_ += static_cast<std::int64_t>(text.size());
    }
    std::int64_t size() const { return size_; }  // bytes
    // False when not everything could be written; closing tells.
    bool flush() { return std::fflush(file_) == 0 && std::ferror(file_) == 0; }
    // False, after a line, when not everything could be written.
    bool close();

private:
    void set_buffer();

    std::string name_;
    std::FILE *file_;
    std::vector<char> buffer_;
    std::int64_t size_ = 0;
};

// A file that appears whole or not at all: it is written beside its place, as NAME.tmp, and takes its place in the end. What
// stood there keeps its content until then, and its permissions after; behind a link it is the file that the link names.
// What is no plain file, or is one that may not be written to, is not replaced. One writer of a name at a time.
class WholeFile {
public:
    explicit WholeFile(std::string name);
    // Without a commit there is nothing new.
    ~WholeFile() { drop(); }
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;

    // Whether it can be written, as far as can be told before. What is written to one that cannot is passed over.
    bool is_open() const { return file_ != nullptr; }
    void write(std::string_view text) {
        if (file_ != nullptr) std::fwrite(text.data(), 1, text.size(), file_);
    }
    // Puts it in its place; once. False, after one line, and everything as it was, when it could not be written.
    bool commit();

private:
    void drop();

    std::string name_;
    std::filesystem::path place_;
    std::filesystem::path beside_;
    std::FILE *file_ = nullptr;
};
