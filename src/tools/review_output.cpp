#include "tools/review_output.h"

#include <filesystem>
#include <utility>

#include "base/line_reader.h"
#include "base/output.h"
#include "base/text.h"
#include "platform/files.h"

namespace {

constexpr std::size_t LONGEST_LINE = 4096;

// The counts of a state, in the order in which they are written.
constexpr std::int64_t ReviewState::*COUNTS[] = {&ReviewState::read,        &ReviewState::games,
                                                 &ReviewState::damaged,     &ReviewState::positions,
                                                 &ReviewState::input_bytes, &ReviewState::output_bytes};

}  // namespace

ReviewOutput::ReviewOutput(const std::string &stem, std::string plan)
    : name_(stem + ".review.pgn"), state_name_(stem + ".review.state"), plan_(std::move(plan)) {}

bool ReviewOutput::open(ReviewState &state) {
    std::error_code error;
    bool resumes = read_state(state);
    if (resumes) {
        const auto size = std::filesystem::file_size(file_path(name_), error);
        resumes = !error && static_cast<std::int64_t>(size) >= state.output_bytes;
        if (resumes)
            std::filesystem::resize_file(file_path(name_), static_cast<std::uintmax_t>(state.output_bytes), error);
        resumes &= !error;
    }
    if (!resumes) {
        state = {};
        if (std::filesystem::remove(file_path(state_name_), error))
            print_line(state_name_ + " is of other work: starting anew");
    }
    file_ = open_file(name_.c_str(), resumes ? "ab" : "wb");
    if (file_ == nullptr) print_line("cannot write " + name_);
    return file_ != nullptr;
}

bool ReviewOutput::add(std::string_view game, ReviewState &state) {
    if (std::fwrite(game.data(), 1, game.size(), file_) != game.size() || std::fflush(file_) != 0) return report(name_);
    state.output_bytes += static_cast<std::int64_t>(game.size());
    return write_state(state) || report(state_name_);
}

bool ReviewOutput::finish() {
    if (!close()) return report(name_);
    std::error_code error;
    std::filesystem::remove(file_path(state_name_), error);
    return true;
}

// False when there is none, or one of another plan.
bool ReviewOutput::read_state(ReviewState &state) const {
    LineReader file(state_name_.c_str(), LONGEST_LINE);
    std::string line;
    if (!file.is_open() || !file.next_whole(line) || line != plan_) return false;
    for (const auto count : COUNTS) {
        if (!file.next_whole(line) || line.empty()) return false;
        state.*count = leading_integer(line);
        if (state.*count < 0) return false;
    }
    return true;
}

// Beside the old one, which it then replaces.
bool ReviewOutput::write_state(const ReviewState &state) const {
    const std::string beside = state_name_ + ".new";
    std::FILE *file = open_file(beside.c_str(), "wb");
    if (file == nullptr) return false;
    std::string text = plan_ + "\n";
    for (const auto count : COUNTS) text += format_line("%lld\n", static_cast<long long>(state.*count));
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    std::error_code error;
    if (std::fclose(file) != 0 || !written) {
        std::filesystem::remove(file_path(beside), error);
        return false;
    }
    std::filesystem::rename(file_path(beside), file_path(state_name_), error);
    return !error;
}

bool ReviewOutput::report(const std::string &name) const {
    print_line("cannot write all of " + name);
    return false;
}

bool ReviewOutput::close() { return file_ == nullptr || std::fclose(std::exchange(file_, nullptr)) == 0; }
