#include "frontend/input.h"

#include <array>
#include <utility>

#include "base/output.h"
#include "platform/clock.h"
#include "platform/input.h"

namespace {

// Beyond this the sender has to wait until commands have been carried out.
constexpr std::size_t MOST_QUEUED_BYTES = std::size_t{16} << 20;

}  // namespace

void InputQueue::add(std::string_view bytes) {
    for (const char c : bytes) {
        if (c == '\n' || c == '\0')
            end_line();
        else if (pending_.size() < LONGEST_LINE)
            pending_ += c;
        else
            cut_ = true;
    }
}

void InputQueue::finish() {
    end_line();
    at_end_ = true;
}

void InputQueue::end_line() {
    if (cut_) print_format("info string input line cut at %zu characters", LONGEST_LINE);
    cut_ = false;
    if (!pending_.empty()) {
        queued_bytes_ += pending_.size();
        lines_.push_back(std::exchange(pending_, {}));
    }
}

std::string InputQueue::take() {
    std::string line = std::move(lines_.front());
    lines_.pop_front();
    queued_bytes_ -= line.size();
    if (const std::size_t end = line.find('\r'); end != std::string::npos) line.resize(end);
    return line;
}

void poll_input(InputQueue &queue, int timeout_ms) {
    if (queue.at_end() || queue.queued_bytes() > MOST_QUEUED_BYTES) {
        sleep_ms(timeout_ms);
        return;
    }
    std::array<char, 65536> buffer;
    std::size_t count = 0;
    switch (read_input(buffer.data(), buffer.size(), timeout_ms, count)) {
    case InputState::BYTES: queue.add({buffer.data(), count}); break;
    case InputState::END: queue.finish(); break;
    case InputState::NOTHING: break;
    }
}
