#include "base/progress.h"

#include <cstdio>
#include <utility>

#include "base/output.h"
#include "platform/clock.h"
#include "platform/terminal.h"

namespace {
constexpr double INTERVAL = 0.25;  // seconds between lines
}

Progress::Progress(std::string unit)
    : unit_(std::move(unit)), shown_to_person_(standard_error_is_terminal()), start_(monotonic_seconds()) {
    next_ = start_ + INTERVAL;
}

void Progress::update(std::int64_t done, std::int64_t part, std::int64_t whole) {
    if (!shown_to_person_) return;
    const double now = monotonic_seconds();
    if (now < next_) return;
    next_ = now + INTERVAL;
    const double seconds = now - start_;
    std::string line = format_line("\r%lld %s, %.0f/s", static_cast<long long>(done), unit_.c_str(),
                                   static_cast<double>(done) / seconds);
    if (whole > 0 && part > 0) {
        const double share = static_cast<double>(part) / static_cast<double>(whole);
        line += format_line(", %.0f%%, %.0f s left", 100.0 * share, seconds * (1.0 - share) / share);
    }
    line += "\033[K";  // clears the rest of the line
    std::fputs(line.c_str(), stderr);
    on_screen_ = true;
}

void Progress::finish() {
    if (!on_screen_) return;
    std::fputs("\r\033[K", stderr);
    on_screen_ = false;
}
