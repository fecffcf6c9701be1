#include "platform/pages.h"

#include <cstdlib>
#include <cstring>

namespace {

// Cache lines are what counts here: a page chooses its own pages.
constexpr std::size_t ALIGNMENT = 64;

}  // namespace

// What was freed is given out again, with what was written to it.
void *allocate_pages(std::size_t bytes) {
    void *block = std::aligned_alloc(ALIGNMENT, (bytes + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT);
    if (block != nullptr) std::memset(block, 0, bytes);
    return block;
}

void free_pages(void *block, std::size_t) { std::free(block); }

void renew_pages(void *start, std::size_t bytes) { std::memset(start, 0, bytes); }
