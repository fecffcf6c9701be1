#include <chrono>
#include <thread>

#include <sys/prctl.h>

#include "platform/clock.h"

namespace {
unsigned long saved_slack_ns = 0;
}

void sleep_ms(int ms) {
    if (ms <= 0)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// The kernel may delay a wake-up by the timer slack of the thread (50 microseconds by default, much more under some
// power-saving set-ups). Threads created later inherit the value.
TimerRequest request_fine_timer() {
    const int slack = prctl(PR_GET_TIMERSLACK);
    if (slack < 0) return TimerRequest::UNKNOWN;
    saved_slack_ns = static_cast<unsigned long>(slack);
    return prctl(PR_SET_TIMERSLACK, 10'000UL) == 0 ? TimerRequest::GRANTED : TimerRequest::REFUSED;
}

void release_fine_timer() {
    if (saved_slack_ns != 0) prctl(PR_SET_TIMERSLACK, saved_slack_ns);
}
