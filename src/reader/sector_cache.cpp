#include "reader/sector_cache.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "config/log.h"
#include "support/queue_pool.h"
#include "support/timers.h"
#include "support/zeroed_memory.h"

namespace lumadisc {

namespace {
bool g_failNextAllocation = false;
}

void SectorCache::failNextAllocation() { g_failNextAllocation = true; }

SectorCache::SectorCache(size_t payloadSize, const char* allocationWarning)
    : payloadSize_(payloadSize), allocationWarning_(allocationWarning) {}

SectorCache::~SectorCache() { zeroedFree(payloads_, payloadBytes()); }

float SectorCache::now() const { return timer_ >= 0 ? static_cast<float>(timerElapsed(timer_)) : 0.0f; }

int SectorCache::init(int32_t count) {
    if (built_) release();
    count_ = count < 2 ? 2 : count;
    wasFull_ = false;
    cursor_ = 0;
    disabled_ = false;
    if (!index_) index_.reset(new (std::nothrow) int32_t[kCacheIndexSize]);
    const bool refused = g_failNextAllocation;
    g_failNextAllocation = false;
    // The payload pages stay the kernel's until a sector lands in them.
    payloads_ = refused || !index_ ? nullptr : static_cast<uint8_t*>(zeroedAllocate(payloadBytes()));
    lbas_.reset(payloads_ ? new (std::nothrow) int32_t[count_] : nullptr);
    results_.reset(payloads_ ? new (std::nothrow) int32_t[count_] : nullptr);
    times_.reset(payloads_ ? new (std::nothrow) float[count_] : nullptr);
    freeList_ = payloads_ ? queueCreate() : -1;
    if (!payloads_ || !lbas_ || !results_ || !times_ || freeList_ < 0 ||
        queueAllocate(freeList_, count_ * static_cast<int32_t>(sizeof(int32_t))) != 0) {
        logWrite(kLogPlugin, "%s", allocationWarning_);
        queueDestroy(&freeList_);
        zeroedFree(payloads_, payloadBytes());
        payloads_ = nullptr;
        lbas_.reset();
        results_.reset();
        times_.reset();
        disabled_ = true;
        built_ = false;
        return 0;
    }
    std::memset(index_.get(), 0xFF, sizeof(int32_t) * kCacheIndexSize);
    for (int32_t entry = 0; entry < count_; ++entry) {
        lbas_[entry] = -1;
        results_[entry] = 0;
        times_[entry] = 0.0f;
        queueWrite(freeList_, &entry, sizeof entry);
    }
    timer_ = timerCreate();
    if (timer_ >= 0) timerRestart(timer_);
    built_ = true;
    return 0;
}

int SectorCache::release() {
    if (!built_) return 0;
    zeroedFree(payloads_, payloadBytes());
    payloads_ = nullptr;
    lbas_.reset();
    results_.reset();
    times_.reset();
    queueDestroy(&freeList_);
    timerDestroy(&timer_);
    built_ = false;
    return 0;
}

int SectorCache::lookup(Lba lba, uint8_t* buffer, int32_t* result) {
    if (!built_ || lba < 0 || lba >= kCacheIndexSize) return -1;
    const int32_t entry = index_[lba];
    if (entry < 0) return -1;
    std::memcpy(buffer, payloads_ + static_cast<size_t>(entry) * payloadSize_, payloadSize_);
    *result = results_[entry];
    times_[entry] = now();
    return 0;
}

void SectorCache::sweep(float nowSeconds) {
    for (int step = 0; step < kCacheSweepSteps; ++step) {
        const int32_t held = lbas_[cursor_];
        if (held >= 0 && nowSeconds - times_[cursor_] > kCacheIdleSeconds) {
            index_[held] = -1;
            lbas_[cursor_] = -1;
            queueWrite(freeList_, &cursor_, sizeof cursor_);
        }
        cursor_ = cursor_ + 1 == count_ ? 0 : cursor_ + 1;
    }
}

int SectorCache::store(Lba lba, const uint8_t* buffer, int32_t result) {
    if (!built_ || lba < 0 || lba >= kCacheIndexSize) return -1;
    const float nowSeconds = now();
    if (queueEmpty(freeList_)) wasFull_ = true;
    if ((queueEmpty(freeList_) || wasFull_) && !queueFull(freeList_)) sweep(nowSeconds);
    if (index_[lba] >= 0) return -1;
    int32_t entry = -1;
    if (queueEmpty(freeList_) || queueRead(freeList_, &entry, sizeof entry) != 0) return -1;
    index_[lba] = entry;
    lbas_[entry] = lba;
    results_[entry] = result;
    times_[entry] = nowSeconds;
    std::memcpy(payloads_ + static_cast<size_t>(entry) * payloadSize_, buffer, payloadSize_);
    return 0;
}

namespace {
SectorCache g_dataCache(kRawSectorSize,
                        "[CDR] Warning: cacheData memory allocation failed, caching disabled.\n");
SectorCache g_subCache(kSubchannelSize,
                       "[CDR] Warning: cacheSub memory allocation failed, caching disabled.\n");
}  // namespace

int cacheDataInit(int32_t count) { return g_dataCache.init(count); }
int cacheDataRelease() { return g_dataCache.release(); }
int cacheDataLookup(Lba lba, uint8_t* buffer, int32_t* result) { return g_dataCache.lookup(lba, buffer, result); }
int cacheDataStore(Lba lba, const uint8_t* buffer, int32_t result) { return g_dataCache.store(lba, buffer, result); }
int cacheSubInit(int32_t count) { return g_subCache.init(count); }
int cacheSubRelease() { return g_subCache.release(); }
int cacheSubLookup(Lba lba, uint8_t* buffer, int32_t* result) { return g_subCache.lookup(lba, buffer, result); }
int cacheSubStore(Lba lba, const uint8_t* buffer, int32_t result) { return g_subCache.store(lba, buffer, result); }

}  // namespace lumadisc
