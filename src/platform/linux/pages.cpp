#include "platform/pages.h"

#include <cstdint>
#include <cstring>

#include <sys/mman.h>

namespace {

constexpr std::size_t HUGE_PAGE = std::size_t{1} << 21;

std::size_t round_up(std::size_t bytes, std::size_t unit) { return (bytes + unit - 1) / unit * unit; }

}  // namespace

void *allocate_pages(std::size_t bytes) {
    const std::size_t size = round_up(bytes, HUGE_PAGE);
    void *base = mmap(nullptr, size + HUGE_PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    // What lies before and after the aligned block goes back.
    const std::size_t address = reinterpret_cast<std::uintptr_t>(base);
    const std::size_t head = round_up(address, HUGE_PAGE) - address;
    char *block = static_cast<char *>(base) + head;
    if (head != 0) munmap(base, head);
    munmap(block + size, HUGE_PAGE - head);
    madvise(block, size, MADV_HUGEPAGE);
    return block;
}

void free_pages(void *block, std::size_t bytes) {
    if (block != nullptr) munmap(block, round_up(bytes, HUGE_PAGE));
}

void renew_pages(void *start, std::size_t bytes) {
    if (madvise(start, bytes, MADV_DONTNEED) != 0) std::memset(start, 0, bytes);
}
