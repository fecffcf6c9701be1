// Large blocks of memory straight from the system, in huge pages where the kernel gives them.
#pragma once

#include <cstddef>

// A block of at least `bytes` bytes, all 0, aligned to 2 MB. The system finds memory for a page when it is first touched.
// nullptr when there is not enough.
void *allocate_pages(std::size_t bytes);
void free_pages(void *block, std::size_t bytes);

// Has the system find memory for a part of a block that nobody has written to yet, so that later writes do not wait for
// it. Several threads may do so with parts of one block.
void touch_fresh_pages(void *start, std::size_t bytes);
