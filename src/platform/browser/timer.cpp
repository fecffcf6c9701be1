#include <chrono>
#include <mutex>

#include "platform/clock.h"
#include "platform/threads.h"

void sleep_ms(int ms) {
    std::mutex lock;
    Condition never;
    std::unique_lock<std::mutex> guard(lock);
    never.wait_for(guard, std::chrono::milliseconds(ms), [] { return false; });
}

TimerRequest request_fine_timer() { return TimerRequest::GRANTED; }

void release_fine_timer() {}
