#include "support/zeroed_memory.h"

#include <sys/mman.h>

namespace lumadisc {

void* zeroedAllocate(size_t bytes) {
    if (bytes == 0) return nullptr;
    void* block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (block == MAP_FAILED) return nullptr;
    madvise(block, bytes, MADV_HUGEPAGE);  // a hint: without transparent huge pages nothing changes
    return block;
}

void zeroedFree(void* block, size_t bytes) {
    if (block != nullptr) munmap(block, bytes);
}

}  // namespace lumadisc
