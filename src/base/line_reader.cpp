#include "base/line_reader.h"

#include <algorithm>
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

int LineReader::next_byte() {
    if (taken_ == read_) {
        taken_ = 0;
        read_ = std::fread(block_.data(), 1, block_.size(), file_.get());
        if (read_ == 0) return EOF;
    }
    return static_cast<unsigned char>(block_[taken_++]);
}

bool LineReader::next(std::string_view &line) {
    std::size_t length = 0;
    int c = 0;
    while (length < buffer_.size() && c != '\n' && (c = next_byte()) != EOF) buffer_[length++] = static_cast<char>(c);
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
