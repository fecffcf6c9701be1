#include "base/line_reader.h"

#include <algorithm>
#include <filesystem>

LineReader::LineReader(const char *path, std::size_t longest) : buffer_(longest) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) return;
    file_.reset(std::fopen(path, "rb"));
    if (file_ == nullptr) return;
    const auto bytes = std::filesystem::file_size(path, error);
    if (!error) size_ = static_cast<std::int64_t>(bytes);
}

bool LineReader::next(std::string_view &line) {
    std::size_t length = 0;
    int c = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread knows this file
    while (length < buffer_.size() && c != '\n' && (c = getc_unlocked(file_.get())) != EOF) {
        buffer_[length++] = static_cast<char>(c);
    }
    if (length == 0) return false;
    position_ += static_cast<std::int64_t>(length);
    line_ended_ = c == '\n';
    std::size_t text = c == '\n' ? length - 1 : length;
    text = static_cast<std::size_t>(
        std::find(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(text), '\0') - buffer_.begin());
    line = {buffer_.data(), text};
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
