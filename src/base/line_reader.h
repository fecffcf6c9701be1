// Text files, read line by line with bounded memory.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Reads lines of at most a given length. A longer line comes in pieces, each of them like a line of its own. A line feed
// ends a line and is not part of it; a carriage return before it is. A byte of 0 cuts what follows it from the piece.
class LineReader {
public:
    // `longest`: characters of a piece, the line feed included.
    LineReader(const char *path, std::size_t longest);

    // Whether the file could be opened.
    bool is_open() const { return file_ != nullptr; }
    // The next piece, valid until the next call. False at the end of the file or when it cannot be read on.
    bool next(std::string_view &line);
    // The next line, put together from its pieces; one of more than a megabyte comes in parts.
    bool next_whole(std::string &line);
    // Whether reading ended with an error instead of the end of the file.
    bool failed() const { return std::ferror(file_.get()) != 0; }
    // Whether the last piece was the end of its line, that is, a line feed followed it.
    bool line_ended() const { return line_ended_; }
    // Bytes read so far, and of the whole file (0 when that is not known).
    std::int64_t position() const { return position_; }
    std::int64_t size() const { return size_; }

private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    // Reads the next block. False when there is nothing more.
    bool fill();

    std::unique_ptr<std::FILE, Close> file_;
    std::array<char, 32768> block_;  // bytes read ahead: `read_` of them, `taken_` of these given out
    std::size_t read_ = 0;
    std::size_t taken_ = 0;
    std::vector<char> buffer_;  // a piece that lies in several blocks
    bool line_ended_ = false;
    std::int64_t position_ = 0;
    std::int64_t size_ = 0;
};
