// What a score says of the true one.
#pragma once

#include <cstdint>

enum Bound : std::uint8_t {
    BOUND_UPPER = 1,  // it is at most so much
    BOUND_LOWER = 2,  // it is at least so much
    BOUND_EXACT = 3
};
