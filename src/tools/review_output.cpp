#include "tools/review_output.h"

#include <filesystem>

#include "base/output.h"
#include "platform/files.h"
#include "tools/checkpoint.h"

namespace {

struct NamedCount {
    const char *name;
    std::int64_t ReviewState::*count;
};
constexpr NamedCount COUNTS[] = {
    {"games read", &ReviewState::read},        {"games", &ReviewState::games},
    {"damaged", &ReviewState::damaged},        {"positions", &ReviewState::positions},
    {"bytes read", &ReviewState::input_bytes}, {"bytes written", &ReviewState::output_bytes},
};

}  // namespace

ReviewOutput::ReviewOutput(const std::string &stem, std::string plan)
    : name_(stem + ".review.pgn"), state_name_(stem + ".review.state"), plan_(std::move(plan)) {}

bool ReviewOutput::open(ReviewState &state) {
    std::error_code error;
    if (read_state(state)) file_ = std::make_unique<OutputFile>(name_, state.output_bytes);
    if (file_ == nullptr || !file_->is_open()) {
        state = {};
        if (std::filesystem::remove(file_path(state_name_), error))
            print_line(state_name_ + " is of other work: starting anew");
        file_ = std::make_unique<OutputFile>(name_);
    }
    if (!file_->is_open()) print_line("cannot write " + name_);
    return file_->is_open();
}

bool ReviewOutput::add(std::string_view game, ReviewState &state) {
    file_->write(game);
    if (!file_->flush()) return file_->close();
    state.output_bytes = file_->size();
    return write_state(state);
}

bool ReviewOutput::finish() {
    if (!file_->close()) return false;
    remove_file(state_name_.c_str());
    return true;
}

// False when there is none, or one of another plan.
bool ReviewOutput::read_state(ReviewState &state) const {
    Checkpoint saved;
    if (!saved.load(state_name_.c_str()) || saved.text("plan") != plan_) return false;
    for (const auto &[name, count] : COUNTS) {
        state.*count = saved.integer(name);
        if (state.*count < 0) return false;
    }
    return true;
}

bool ReviewOutput::write_state(const ReviewState &state) const {
    Checkpoint saved;
    saved.set("plan", plan_);
    for (const auto &[name, count] : COUNTS) saved.set_integer(name, state.*count);
    return saved.save(state_name_.c_str());
}
