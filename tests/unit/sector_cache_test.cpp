// The sector caches: free-list order, range limits, the ten-minute reclaim, release and rebuild.
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "reader/sector_cache.h"
#include "support/clock.h"
#include "support/queue_pool.h"
#include "support/timers.h"

namespace lumadisc {
namespace {

class FakeClock : public Clock {
public:
    int64_t nowNanoseconds() override { return now; }
    void advanceSeconds(double seconds) { now += static_cast<int64_t>(seconds * 1e9); }
    int64_t now = 1'000'000'000;
};

class SectorCacheTest : public ::testing::Test {
protected:
    void SetUp() override {
        installClock(&clock_);
        queuePoolInit();
        timerInit();
    }
    void TearDown() override {
        cache_.release();
        timerShutdown();
        queuePoolShutdown();
        installClock(nullptr);
    }
    static std::array<uint8_t, kSubchannelSize> block(uint8_t fill) {
        std::array<uint8_t, kSubchannelSize> b;
        b.fill(fill);
        return b;
    }
    int store(Lba lba, uint8_t fill, int32_t result = 0) { return cache_.store(lba, block(fill).data(), result); }
    bool hit(Lba lba, uint8_t* fill = nullptr, int32_t* result = nullptr) {
        std::array<uint8_t, kSubchannelSize> out{};
        int32_t stored = 0;
        if (cache_.lookup(lba, out.data(), &stored) != 0) return false;
        if (fill) *fill = out[0];
        if (result) *result = stored;
        return true;
    }

    FakeClock clock_;
    SectorCache cache_{kSubchannelSize, "[CDR] Warning: test cache memory allocation failed, caching disabled.\n"};
};

TEST_F(SectorCacheTest, StoresAndHandsBackPayloadAndResult) {
    cache_.init(20);
    EXPECT_FALSE(hit(5));
    EXPECT_EQ(store(5, 0xAB, -7), 0);
    uint8_t fill = 0;
    int32_t result = 0;
    ASSERT_TRUE(hit(5, &fill, &result));
    EXPECT_EQ(fill, 0xAB);
    EXPECT_EQ(result, -7) << "failed reads are cached with their result";
    EXPECT_EQ(store(5, 0xCD), -1) << "a cached position keeps its first payload";
    hit(5, &fill);
    EXPECT_EQ(fill, 0xAB);
}

TEST_F(SectorCacheTest, RefusesPositionsOutsideTheIndex) {
    cache_.init(20);
    for (const Lba lba : {-1, -150, kCacheIndexSize, kCacheIndexSize + 1}) {
        EXPECT_EQ(store(lba, 1), -1) << lba;
        EXPECT_FALSE(hit(lba)) << lba;
    }
    EXPECT_EQ(store(kCacheIndexSize - 1, 1), 0);
    EXPECT_EQ(store(0, 1), 0);
}

TEST_F(SectorCacheTest, AFullCacheReclaimsOnlyEntriesIdleForMoreThanTenMinutes) {
    cache_.init(1);
    EXPECT_EQ(cache_.count(), 2) << "at least two entries";
    EXPECT_EQ(store(10, 1), 0);
    EXPECT_EQ(store(11, 2), 0);
    EXPECT_EQ(store(12, 3), -1) << "full: nothing is replaced";
    clock_.advanceSeconds(600.0);
    EXPECT_EQ(store(12, 3), -1) << "exactly ten minutes idle is not enough";
    hit(11);  // a hit keeps 11 fresh
    clock_.advanceSeconds(0.5);
    EXPECT_EQ(store(12, 3), 0) << "10 has been idle past ten minutes and the sweep reached it";
    EXPECT_FALSE(hit(10));
    EXPECT_TRUE(hit(11));
    EXPECT_TRUE(hit(12));
}

TEST_F(SectorCacheTest, ReleaseEmptiesAndARebuildStartsOver) {
    cache_.release();  // never built: nothing happens
    cache_.init(20);
    store(3, 3);
    cache_.init(20);  // built again without a release: the old cache is released first
    EXPECT_FALSE(hit(3));
    store(3, 3);
    cache_.release();
    EXPECT_FALSE(hit(3));
    cache_.init(20);
    EXPECT_FALSE(hit(3));
    // Repeated rebuilds do not exhaust the stopwatch or queue pools.
    for (int i = 0; i < 300; ++i) cache_.init(10);
    EXPECT_EQ(store(1, 1), 0);
    EXPECT_TRUE(hit(1));
}

TEST_F(SectorCacheTest, AnAllocationFailureDisablesOnlyThatCache) {
    SectorCache::failNextAllocation();
    cache_.init(20);
    EXPECT_TRUE(cache_.disabled());
    EXPECT_EQ(store(1, 1), -1);
    EXPECT_FALSE(hit(1));
    cache_.init(20);
    EXPECT_FALSE(cache_.disabled());
    EXPECT_EQ(store(1, 1), 0);
}

}  // namespace
}  // namespace lumadisc
