// What the sources of this folder share: the system's declarations, texts between UTF-8 and UTF-16, procedures that not
// every Windows has, and waits that last as long as they are meant to.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstring>
#include <string>
#include <string_view>

// What is no UTF-8 is taken for the system's code page: older programs send file names in it.
std::wstring to_utf16(std::string_view text);
std::string to_utf8(std::wstring_view text);

// Waits up to `ms` milliseconds (any thread) until `object` is signalled; without an object it only waits. Whether it was
// signalled. Where the system has timers of high resolution the time is met to less than a millisecond.
bool wait_for(HANDLE object, int ms);

// A procedure of a system library that is loaded in every program; nullptr where this Windows lacks it.
template <typename Procedure>
Procedure system_procedure(const char *name) {
    const FARPROC found = GetProcAddress(GetModuleHandleA("Kernel32.dll"), name);
    Procedure procedure = nullptr;
    static_assert(sizeof procedure == sizeof found);
    std::memcpy(&procedure, &found, sizeof procedure);
    return procedure;
}
