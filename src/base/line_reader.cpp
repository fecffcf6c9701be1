#include "base/line_reader.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "platform/files.h"

LineReader::LineReader(const char *path, std::size_t longest) : buffer_(longest) {
    std::error_code error;
    if (std::filesystem::is_directory(file_path(path), error)) return;
    file_.reset(open_file(path, "rb"));
    if (file_ == nullptr) return;
    const auto bytes = std::filesystem::file_size(file_path(path), error);
    if (!error) size_ = static_cast<std::int64_t>(bytes);
}

bool LineReader::fill() {
    taken_ = 0;
    read_ = std::fread(block_.data(), 1, block_.size(), file_.get());
    return read_ != 0;
}

bool LineReader::next(std::string_view &line) {
    line_ended_ = false;
    line = {};
    std::size_t length = 0;  // of what earlier blocks held of the piece
    while (!line_ended_ && length < buffer_.size() && (taken_ < read_ || fill())) {
        const char *start = block_.data() + taken_;
        std::size_t part = std::min(read_ - taken_, buffer_.size() - length);
        const char *end = static_cast<const char *>(std::memchr(start, '\n', part));
        line_ended_ = end != nullptr;
        if (line_ended_) part = static_cast<std::size_t>(end - start) + 1;
        const bool whole = length == 0 && (line_ended_ || part == buffer_.size());
        if (!whole) std::copy_n(start, part, buffer_.data() + length);
        taken_ += part;
        length += part;
        line = {whole ? start : buffer_.data(), length};
    }
    if (length == 0) return false;
    position_ += static_cast<std::int64_t>(length);
    if (line_ended_) line.remove_suffix(1);
    line = line.substr(0, line.find('\0'));
    return true;
}

bool LineReader::next_whole(std::string &line) {
    constexpr std::size_t LONGEST = std::size_t{1} << 20;
    line.clear();
    std::string_view piece;
    bool any = false;
    while (line.size() < LONGEST && next(piece)) {
        any = true;
        line += piece;
        if (line_ended_) break;
    }
    return any;
}
