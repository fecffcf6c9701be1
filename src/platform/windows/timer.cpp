#include "platform/windows/system.h"

#include <algorithm>

#include <timeapi.h>

#include "platform/clock.h"

namespace {
constexpr UINT WANTED_PERIOD = 5;  // ms
UINT period = 0;                   // that was asked for
}  // namespace

void sleep_ms(int ms) {
    if (ms <= 0)
        Sleep(0);
    else
        wait_for(nullptr, ms);
}

TimerRequest request_fine_timer() {
    TIMECAPS range{};
    if (timeGetDevCaps(&range, sizeof range) != TIMERR_NOERROR) return TimerRequest::UNKNOWN;
    period = std::min(std::max(range.wPeriodMin, WANTED_PERIOD), range.wPeriodMax);
    return timeBeginPeriod(period) == TIMERR_NOERROR ? TimerRequest::GRANTED : TimerRequest::REFUSED;
}

void release_fine_timer() { timeEndPeriod(period); }
