// Direct-mapped caches of raw sectors and subchannel blocks, built per disc open. Entries come from
// one allocation made at init; a full cache reclaims only entries idle for more than ten minutes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "disc/disc_model.h"

namespace lumadisc {

constexpr int32_t kCacheIndexSize = 333000;  // 74 minutes of sectors
constexpr double kCacheIdleSeconds = 600.0;
constexpr int kCacheSweepSteps = 3;

class SectorCache {
public:
    SectorCache(size_t payloadSize, const char* allocationWarning);
    ~SectorCache();
    SectorCache(const SectorCache&) = delete;
    SectorCache& operator=(const SectorCache&) = delete;

    // Builds the cache with at least two entries; a cache still built is released first.
    int init(int32_t count);
    int release();
    // 0 on a hit (payload and result copied out), -1 on a miss.
    int lookup(Lba lba, uint8_t* buffer, int32_t* result);
    // 0 when stored, -1 when not (out of range, already cached, or no free entry).
    int store(Lba lba, const uint8_t* buffer, int32_t result);

    bool built() const { return built_; }
    bool disabled() const { return disabled_; }
    int32_t count() const { return count_; }

    // Test hook: makes the next init fail its allocation.
    static void failNextAllocation();

private:
    float now() const;
    void sweep(float nowSeconds);

    const size_t payloadSize_;
    const char* const allocationWarning_;
    std::unique_ptr<int32_t[]> index_;  // entry number per Lba, -1 when not cached
    size_t payloadBytes() const { return static_cast<size_t>(count_) * payloadSize_; }
    uint8_t* payloads_ = nullptr;       // count x payloadSize, zero-filled lazily by the kernel
    std::unique_ptr<int32_t[]> lbas_;
    std::unique_ptr<int32_t[]> results_;
    std::unique_ptr<float[]> times_;
    int32_t count_ = 0;
    int32_t cursor_ = 0;
    bool wasFull_ = false;
    bool disabled_ = false;
    bool built_ = false;
    int freeList_ = -1;
    int timer_ = -1;
};

int cacheDataInit(int32_t count);
int cacheDataRelease();
int cacheDataLookup(Lba lba, uint8_t* buffer, int32_t* result);
int cacheDataStore(Lba lba, const uint8_t* buffer, int32_t result);
int cacheSubInit(int32_t count);
int cacheSubRelease();
int cacheSubLookup(Lba lba, uint8_t* buffer, int32_t* result);
int cacheSubStore(Lba lba, const uint8_t* buffer, int32_t result);

}  // namespace lumadisc
