// Command lines from standard input: bytes in, whole lines out.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

// Lines received but not yet interpreted, and the bytes of a line whose end has not arrived.
class InputQueue {
public:
    // Longest line kept, in bytes; the rest of a longer one is dropped with a message.
    static constexpr std::size_t LONGEST_LINE = 1 << 20;

    // Adds received bytes. A line feed or NUL ends a line; empty lines are dropped.
    void add(std::string_view bytes);
    // No more bytes will come: the pending line counts as ended.
    void finish();

    bool empty() const { return lines_.empty(); }
    // Takes the oldest line, up to its first carriage return.
    std::string take();
    // Takes the oldest line, behind the first `skipped`, whose first word is one of `words`, leaving the others in order.
    // False when there is none.
    template <std::size_t N>
    bool take_first_of(const std::string_view (&words)[N], std::string &line, std::size_t skipped = 0);

    bool at_end() const { return at_end_; }
    std::size_t size() const { return lines_.size(); }
    // Bytes waiting in whole lines.
    std::size_t queued_bytes() const { return queued_bytes_; }

private:
    void end_line();

    std::deque<std::string> lines_;
    std::string pending_;
    std::size_t queued_bytes_ = 0;
    bool cut_ = false;
    bool at_end_ = false;
};

// Waits up to `timeout_ms` for standard input and moves what has arrived into the queue.
void poll_input(InputQueue &queue, int timeout_ms);

template <std::size_t N>
bool InputQueue::take_first_of(const std::string_view (&words)[N], std::string &line, std::size_t skipped) {
    for (auto it = lines_.begin() + static_cast<std::ptrdiff_t>(std::min(skipped, lines_.size())); it != lines_.end();
         ++it) {
        for (const std::string_view word : words) {
            if (it->substr(0, it->find_first_of(" \r")) != word) continue;
            line = it->substr(0, it->find('\r'));
            queued_bytes_ -= it->size();
            lines_.erase(it);
            return true;
        }
    }
    return false;
}
