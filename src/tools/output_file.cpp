#include "tools/output_file.h"

#include <filesystem>
#include <utility>

#include "base/output.h"

namespace {

// The name as open_file takes it.
std::string plain_name(const std::filesystem::path &path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool may_be_replaced(const std::filesystem::path &path) {
    std::error_code error;
    const std::filesystem::file_type type = std::filesystem::status(path, error).type();
    if (type != std::filesystem::file_type::regular) return type == std::filesystem::file_type::not_found;
    std::FILE *file = open_file(plain_name(path).c_str(), "r+b");
    if (file != nullptr) std::fclose(file);
    return file != nullptr;
}

}  // namespace

bool is_same_file(const char *input, const char *output) {
    std::error_code error;
    if (!std::filesystem::equivalent(file_path(input), file_path(output), error)) return false;
    print_line(std::string("the input would be overwritten by the output ") + output);
    return true;
}

void report_read_error(const LineReader &file, const char *name) {
    if (file.failed()) print_line(std::string("cannot read all of ") + name);
}

void remove_file(const char *name) {
    std::error_code error;
    std::filesystem::remove(file_path(name), error);
}

OutputFile::OutputFile(std::string name) : name_(std::move(name)), file_(open_file(name_.c_str(), "wb")) {
    set_buffer();
}

OutputFile::OutputFile(std::string name, std::int64_t kept) : name_(std::move(name)), file_(nullptr) {
    const std::filesystem::path path = file_path(name_);
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size < static_cast<std::uintmax_t>(kept)) return;
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(kept), error);
    if (error) return;
    file_ = open_file(name_.c_str(), "ab");
    size_ = kept;
    set_buffer();
}

void OutputFile::set_buffer() {
    constexpr std::size_t BUFFER_SIZE = std::size_t{1} << 16;
    if (file_ == nullptr) return;
    buffer_.resize(BUFFER_SIZE);
    std::setvbuf(file_, buffer_.data(), _IOFBF, buffer_.size());
}

bool OutputFile::close() {
    if (file_ == nullptr) return true;
    const bool failed = std::ferror(file_) != 0;
    const bool closed = std::fclose(std::exchange(file_, nullptr)) == 0;
    if (closed && !failed) return true;
    print_line("cannot write all of " + name_);
    return false;
}

WholeFile::WholeFile(std::string name) : name_(std::move(name)), place_(file_path(name_)) {
    std::error_code error;
    if (std::filesystem::is_symlink(place_, error)) {
        const std::filesystem::path named = std::filesystem::canonical(place_, error);
        if (!error) place_ = named;
    }
    beside_ = place_;
    beside_ += ".tmp";
    if (name_.empty() || !may_be_replaced(place_)) return;
    if (std::filesystem::is_symlink(beside_, error)) std::filesystem::remove(beside_, error);
    file_ = open_file(plain_name(beside_).c_str(), "wb");
}

bool WholeFile::commit() {
    bool good = file_ != nullptr && std::ferror(file_) == 0;
    if (file_ != nullptr) {
        good = std::fclose(std::exchange(file_, nullptr)) == 0 && good;
        std::error_code error;
        if (good) {
            const std::filesystem::file_status old = std::filesystem::status(place_, error);
            if (std::filesystem::exists(old)) std::filesystem::permissions(beside_, old.permissions(), error);
            std::filesystem::rename(beside_, place_, error);
            good = !error;
        }
        if (!good) std::filesystem::remove(beside_, error);
    }
    if (!good) print_line("cannot write " + name_);
    return good;
}

void WholeFile::drop() {
    if (file_ == nullptr) return;
    std::fclose(std::exchange(file_, nullptr));
    std::error_code error;
    std::filesystem::remove(beside_, error);
}
