#include "platform/clock.h"

#include <chrono>
#include <thread>

#include <sys/prctl.h>

namespace {
unsigned long saved_slack_ns = 0;
}

double monotonic_seconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

std::uint32_t wall_clock_seed() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::int64_t wall_clock_seconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

void sleep_ms(int ms) {
    if (ms <= 0)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// The kernel may delay a wake-up by the timer slack of the thread (50 microseconds by default, much more under some
// power-saving set-ups). Threads created later inherit the value.
bool request_fine_timer() {
    const int slack = prctl(PR_GET_TIMERSLACK);
    if (slack < 0) return false;
    saved_slack_ns = static_cast<unsigned long>(slack);
    return prctl(PR_SET_TIMERSLACK, 10'000UL) == 0;
}

void release_fine_timer() {
    if (saved_slack_ns != 0) prctl(PR_SET_TIMERSLACK, saved_slack_ns);
}
