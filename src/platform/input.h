// Standard input without blocking. Main thread only.
#pragma once

#include <cstddef>

enum class InputState { NOTHING, BYTES, END };

// Waits at most `timeout_ms` (0: not at all) for bytes on standard input, and reads what is there.
// BYTES: `count` bytes (at least 1, at most `size`) were stored. END: end of input or a read error. A descriptor that
// becomes readable ends the wait at once.
InputState read_input(char *buffer, std::size_t size, int timeout_ms, std::size_t &count);
