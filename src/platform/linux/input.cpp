#include "platform/input.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

InputState read_input(char *buffer, std::size_t size, int timeout_ms, std::size_t &count) {
    count = 0;
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    const int ready = poll(&waiting, 1, timeout_ms);
    if (ready < 0) return errno == EINTR ? InputState::NOTHING : InputState::END;
    if (ready == 0) return InputState::NOTHING;
    const ssize_t got = read(STDIN_FILENO, buffer, size);
    if (got < 0) return errno == EINTR || errno == EAGAIN ? InputState::NOTHING : InputState::END;
    if (got == 0) return InputState::END;
    count = static_cast<std::size_t>(got);
    return InputState::BYTES;
}
