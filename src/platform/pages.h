// Large blocks of memory straight from the system, in huge pages where the kernel gives them.
#pragma once

#include <cstddef>

// A block of at least `bytes` bytes, all 0, aligned to 2 MB. The system finds memory for a page when it is first written
// to. nullptr when there is not enough.
void *allocate_pages(std::size_t bytes);
void free_pages(void *block, std::size_t bytes);

// Makes the part of a block from `start`, at the start of a page, up to the block's end as it was when allocated. Nobody
// else uses the part meanwhile.
void renew_pages(void *start, std::size_t bytes);
