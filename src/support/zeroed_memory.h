// Large zero-filled blocks whose pages the kernel supplies on first touch, in 2 MiB pages where it
// can: a sector cache fills one page per few hundred sectors instead of one per sector or two, so the
// first pass through a disc is not slowed by a page fault every other sector, and memory still
// becomes resident only as sectors land.
#pragma once

#include <cstddef>

namespace lumadisc {

// nullptr when the system refuses; the block is released with zeroedFree and the same size.
void* zeroedAllocate(size_t bytes);
void zeroedFree(void* block, size_t bytes);

}  // namespace lumadisc
