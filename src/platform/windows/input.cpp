#include "platform/input.h"

#include "platform/windows/system.h"

#include <array>
#include <cstring>
#include <thread>

// A thread of its own waits for bytes, be it at a pipe, a file or a console: not every pipe says whether bytes are waiting,
// and a person who has begun to type a line must not keep the clock of a search from being looked at. It hands over one
// piece at a time and reads on when the next is asked for: the sender waits while nobody takes it, and the thread rests when
// the program ends upon what it has read.
namespace {

constexpr wchar_t END_OF_CONSOLE_INPUT = 0x1A;  // Ctrl-Z at the start of a line

constexpr int FIRST_WAIT_MS = 20;

class InputThread {
public:
    InputThread() {
        prepare_console();
        std::thread(&InputThread::run, this).detach();  // ends with the process
        // The first look already finds what waits.
        if (wait_for(filled_, FIRST_WAIT_MS)) SetEvent(filled_);
    }

    InputState take(char *buffer, std::size_t size, int timeout_ms, std::size_t &count) {
        count = 0;
        if (resting_) SetEvent(emptied_);
        resting_ = false;
        if (!wait_for(filled_, timeout_ms)) return InputState::NOTHING;
        if (size_ == 0) {  // nothing will follow
            SetEvent(filled_);
            return InputState::END;
        }
        count = size_ - taken_ < size ? size_ - taken_ : size;
        std::memcpy(buffer, piece_.data() + taken_, count);
        taken_ += count;
        resting_ = taken_ == size_;
        if (!resting_) SetEvent(filled_);
        return InputState::BYTES;
    }

private:
    // Keys only; what was typed before this program ran is not meant for it.
    void prepare_console() {
        DWORD mode = 0;
        is_console_ = GetConsoleMode(input_, &mode) != 0;
        if (!is_console_) return;
        SetConsoleMode(input_, mode & ~static_cast<DWORD>(ENABLE_MOUSE_INPUT | ENABLE_WINDOW_INPUT));
        FlushConsoleInputBuffer(input_);
    }

    void run() {
        do {
            size_ = is_console_ ? read_console() : read_bytes();
            taken_ = 0;
            SetEvent(filled_);
            if (size_ > 0) WaitForSingleObject(emptied_, INFINITE);
        } while (size_ > 0);
    }

    // Both give the number of bytes, 0 at the end or after an error.
    std::size_t read_bytes() {
        DWORD count = 0;
        bool more = false;
        do {  // a write of no bytes gives a read of none, as the end does, but leaves the pipe open
            more = ReadFile(input_, piece_.data(), static_cast<DWORD>(piece_.size()), &count, nullptr) != 0 ||
                   GetLastError() == ERROR_MORE_DATA;
        } while (more && count == 0 && PeekNamedPipe(input_, nullptr, 0, nullptr, nullptr, nullptr) != 0);
        return more ? count : 0;
    }

    std::size_t read_console() {
        std::array<wchar_t, 8192> line;
        DWORD length = 0;
        do {
            SetLastError(ERROR_SUCCESS);
            if (ReadConsoleW(input_, line.data(), static_cast<DWORD>(line.size()), &length, nullptr) == 0) return 0;
        } while (length == 0 && GetLastError() == ERROR_OPERATION_ABORTED);  // an interrupt that only sets a mark
        if (length > 0 && line[0] == END_OF_CONSOLE_INPUT) return 0;
        const std::string text = to_utf8({line.data(), length});
        std::memcpy(piece_.data(), text.data(), text.size());
        return text.size();
    }

    HANDLE input_ = GetStdHandle(STD_INPUT_HANDLE);
    bool is_console_ = false;
    // Handed to and fro by the two events, each of which lets one wait end.
    HANDLE filled_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE emptied_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::array<char, 65536> piece_;
    std::size_t size_ = 0;
    std::size_t taken_ = 0;
    bool resting_ = false;  // the thread waits to be told to read on
};

}  // namespace

InputState read_input(char *buffer, std::size_t size, int timeout_ms, std::size_t &count) {
    static InputThread &thread =
        *new InputThread();  // never destroyed: its thread may be reading when the program ends
    return thread.take(buffer, size, timeout_ms, count);
}
