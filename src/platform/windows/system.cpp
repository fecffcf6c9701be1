#include "platform/windows/system.h"

#include <array>

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace {

constexpr LONGLONG TICKS_PER_MS = 10'000;  // of 100 nanoseconds

// A timer of the thread's own.
class WaitTimer {
public:
    WaitTimer()
        : timer_(CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS)) {}
    ~WaitTimer() {
        if (timer_ != nullptr) CloseHandle(timer_);
    }
    WaitTimer(const WaitTimer &) = delete;
    WaitTimer &operator=(const WaitTimer &) = delete;

    // nullptr where the system has no such timers.
    HANDLE start(int ms) {
        LARGE_INTEGER due;
        due.QuadPart = -ms * TICKS_PER_MS;  // from now on
        return timer_ != nullptr && SetWaitableTimer(timer_, &due, 0, nullptr, nullptr, FALSE) ? timer_ : nullptr;
    }

private:
    HANDLE timer_;
};

}  // namespace

std::wstring to_utf16(std::string_view text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');  // never more units than bytes
    wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
    return wide;
}

std::string to_utf8(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    std::string bytes(3 * text.size(), '\0');  // never more bytes than that
    bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(),
                                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

bool wait_for(HANDLE object, int ms) {
    static thread_local WaitTimer timer;
    const HANDLE due = ms > 0 ? timer.start(ms) : nullptr;
    if (due == nullptr) {
        if (object != nullptr) return WaitForSingleObject(object, static_cast<DWORD>(ms)) == WAIT_OBJECT_0;
        Sleep(static_cast<DWORD>(ms));
        return false;
    }
    const std::array<HANDLE, 2> objects = {object != nullptr ? object : due, due};
    return WaitForMultipleObjects(object != nullptr ? 2 : 1, objects.data(), FALSE, INFINITE) == WAIT_OBJECT_0 &&
           object != nullptr;
}
