#include "tools/output_file.h"

#include <filesystem>
#include <utility>

#include "base/output.h"

bool is_same_file(const char *input, const char *output) {
    std::error_code error;
    if (!std::filesystem::equivalent(file_path(input), file_path(output), error)) return false;
    print_line(std::string("the input would be overwritten by the output ") + output);
    return true;
}

void report_read_error(const LineReader &file, const char *name) {
    if (file.failed()) print_line(std::string("cannot read all of ") + name);
}

OutputFile::OutputFile(std::string name) : name_(std::move(name)), file_(open_file(name_.c_str(), "wb")) {
    constexpr std::size_t BUFFER_SIZE = std::size_t{1} << 16;
    if (file_ == nullptr) return;
    buffer_.resize(BUFFER_SIZE);
    std::setvbuf(file_, buffer_.data(), _IOFBF, buffer_.size());
}

void OutputFile::close() {
    if (file_ == nullptr) return;
    const bool failed = std::ferror(file_) != 0;
    if (std::fclose(file_) != 0 || failed) print_line("cannot write all of " + name_);
    file_ = nullptr;
}
