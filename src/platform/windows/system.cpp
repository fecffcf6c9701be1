#include "platform/windows/system.h"

#include <array>

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace {

constexpr LONGLONG TICKS_PER_MS = 10'000;  // of 100 nanoseconds

void WINAPI close_timer(void *timer) { CloseHandle(timer); }

// The calling thread's own timer; nullptr where the system has no such timers. The system closes it when the thread ends: a
// thread_local object's destructor is called by gcc's library for Windows after the object's memory was given back.
HANDLE thread_timer() {
    static const DWORD slot = FlsAlloc(close_timer);
    HANDLE timer = FlsGetValue(slot);
    if (timer != nullptr || slot == FLS_OUT_OF_INDEXES) return timer;
    timer = CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS);
    FlsSetValue(slot, timer);
    return timer;
}

// The thread's timer, due `ms` milliseconds from now; nullptr without one.
HANDLE start_timer(int ms) {
    const HANDLE timer = thread_timer();
    LARGE_INTEGER due;
    due.QuadPart = -ms * TICKS_PER_MS;  // from now on
    return timer != nullptr && SetWaitableTimer(timer, &due, 0, nullptr, nullptr, FALSE) ? timer : nullptr;
}

}  // namespace

std::wstring to_utf16(std::string_view text) {
    const int size = static_cast<int>(text.size());
    const auto converted = [&](UINT code_page, DWORD flags) {
        std::wstring wide(text.size(), L'\0');  // never more units than bytes
        const int units = MultiByteToWideChar(code_page, flags, text.data(), size, wide.data(), size);
        return wide.substr(0, static_cast<std::size_t>(units));
    };
    const std::wstring wide = converted(CP_UTF8, MB_ERR_INVALID_CHARS);
    return wide.empty() ? converted(CP_ACP, 0) : wide;
}

std::string to_utf8(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    std::string bytes(3 * text.size(), '\0');  // never more bytes than that
    bytes.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(),
                                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
    return bytes;
}

bool wait_for(HANDLE object, int ms) {
    const HANDLE due = ms > 0 ? start_timer(ms) : nullptr;
    if (due == nullptr) {
        if (object != nullptr) return WaitForSingleObject(object, static_cast<DWORD>(ms)) == WAIT_OBJECT_0;
        Sleep(static_cast<DWORD>(ms));
        return false;
    }
    const std::array<HANDLE, 2> objects = {object != nullptr ? object : due, due};
    return WaitForMultipleObjects(object != nullptr ? 2 : 1, objects.data(), FALSE, INFINITE) == WAIT_OBJECT_0 &&
           object != nullptr;
}
