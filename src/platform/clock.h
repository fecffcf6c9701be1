// Clocks and short sleeps. Any thread.
#pragma once

#include <cstdint>

// Seconds of a monotonic clock with sub-microsecond resolution; only differences mean anything.
double monotonic_seconds();

// Wall clock in milliseconds since 1970, cut to 32 bits: a seed for random generators.
std::uint32_t wall_clock_seed();

// Wall clock in whole seconds since 1970.
std::int64_t wall_clock_seconds();

// Sleeps about `ms` milliseconds; 0 gives up the processor once.
void sleep_ms(int ms);

// Asks for sleeps of a millisecond that really last about that long, and gives the request back (also one that was not
// granted). UNKNOWN: the system does not say what it can do.
enum class TimerRequest { GRANTED, UNKNOWN, REFUSED };
TimerRequest request_fine_timer();
void release_fine_timer();
