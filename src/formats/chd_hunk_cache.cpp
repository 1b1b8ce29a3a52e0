#include "formats/chd_hunk_cache.h"

#include <algorithm>

namespace lumadisc {

void ChdHunkCache::reset(uint32_t hunkBytes) {
    const uint32_t count = std::clamp<uint32_t>(kChdCacheBytes / std::max<uint32_t>(hunkBytes, 1), 2, 64);
    slots_.assign(count, Slot{});
    for (Slot& slot : slots_) slot.bytes.resize(hunkBytes);
    clock_ = 0;
    claimed_ = -1;
}

void ChdHunkCache::release() {
    slots_.clear();
    slots_.shrink_to_fit();
    claimed_ = -1;
}

const uint8_t* ChdHunkCache::find(uint32_t hunk) {
    for (Slot& slot : slots_) {
        if (slot.valid && slot.hunk == hunk) {
            slot.used = ++clock_;
            return slot.bytes.data();
        }
    }
    return nullptr;
}

uint8_t* ChdHunkCache::claim(uint32_t hunk) {
    if (slots_.empty()) return nullptr;
    const auto oldest = std::min_element(slots_.begin(), slots_.end(), [](const Slot& a, const Slot& b) {
        return a.valid != b.valid ? !a.valid : a.used < b.used;
    });
    oldest->valid = false;
    oldest->hunk = hunk;
    claimed_ = static_cast<int>(oldest - slots_.begin());
    return oldest->bytes.data();
}

void ChdHunkCache::keep(uint32_t hunk) {
    if (claimed_ < 0 || slots_[static_cast<size_t>(claimed_)].hunk != hunk) return;
    Slot& slot = slots_[static_cast<size_t>(claimed_)];
    slot.valid = true;
    slot.used = ++clock_;
    claimed_ = -1;
}

}  // namespace lumadisc
