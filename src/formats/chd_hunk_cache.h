// A small cache of decoded hunks of a compressed image, so that reading a hunk's frames one after
// another decodes it once. Its memory is bounded: kChdCacheBytes, and at least two hunks.
#pragma once

#include <cstdint>
#include <vector>

namespace lumadisc {

constexpr uint32_t kChdCacheBytes = 512u * 1024;

class ChdHunkCache {
public:
    // Drops every hunk and makes room for hunks of hunkBytes bytes.
    void reset(uint32_t hunkBytes);
    // Frees the memory.
    void release();
    int capacity() const { return static_cast<int>(slots_.size()); }

    // The hunk's bytes, or null when it is not held.
    const uint8_t* find(uint32_t hunk);
    // The least recently used slot, given to `hunk`; the caller fills it and calls keep(), or the
    // slot stays empty.
    uint8_t* claim(uint32_t hunk);
    void keep(uint32_t hunk);

private:
    struct Slot {
        uint32_t hunk = 0;
        bool valid = false;
        uint64_t used = 0;
        std::vector<uint8_t> bytes;
    };
    std::vector<Slot> slots_;
    uint64_t clock_ = 0;
    int claimed_ = -1;
};

}  // namespace lumadisc
