#include "platform/pages.h"

#include "platform/windows/system.h"

#include <cstdint>

namespace {

constexpr std::size_t ALIGNMENT = std::size_t{1} << 21;

std::size_t round_up(std::size_t bytes, std::size_t unit) { return (bytes + unit - 1) / unit * unit; }

// Whether this process may have large pages: the user's right to lock memory has to be switched on.
bool may_use_large_pages() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token) == 0) return false;
    TOKEN_PRIVILEGES wanted{};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    const bool granted = LookupPrivilegeValueW(nullptr, L"SeLockMemoryPrivilege", &wanted.Privileges[0].Luid) != 0 &&
                         AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) != 0 &&
                         GetLastError() == ERROR_SUCCESS;
    CloseHandle(token);
    return granted;
}

void *allocate_large_pages(std::size_t bytes) {
    static const bool allowed = may_use_large_pages();
    const std::size_t page = GetLargePageMinimum();
    if (!allowed || page == 0 || page % ALIGNMENT != 0) return nullptr;
    return VirtualAlloc(nullptr, round_up(bytes, page), MEM_RESERVE | MEM_COMMIT | MEM_LARGE_PAGES, PAGE_READWRITE);
}

}  // namespace

void *allocate_pages(std::size_t bytes) {
    if (void *block = allocate_large_pages(bytes); block != nullptr) return block;
    // A larger reservation has an aligned block in it.
    const std::size_t size = round_up(bytes, ALIGNMENT);
    void *base = VirtualAlloc(nullptr, size + ALIGNMENT, MEM_RESERVE, PAGE_READWRITE);
    if (base == nullptr) return nullptr;
    const std::size_t address = reinterpret_cast<std::uintptr_t>(base);
    char *start = static_cast<char *>(base) + (round_up(address, ALIGNMENT) - address);
    void *block = VirtualAlloc(start, size, MEM_COMMIT, PAGE_READWRITE);
    if (block == nullptr) VirtualFree(base, 0, MEM_RELEASE);
    return block;
}

void free_pages(void *block, std::size_t) {
    MEMORY_BASIC_INFORMATION known{};
    if (block != nullptr && VirtualQuery(block, &known, sizeof known) != 0)
        VirtualFree(known.AllocationBase, 0, MEM_RELEASE);
}

// Memory that is given back may be somebody else's before it can be had again.
void renew_pages(void *start, std::size_t bytes) { std::memset(start, 0, bytes); }
