// The queue pool: wrapping, overflow and underflow, handles and exhaustion.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/queue_pool.h"

namespace lumadisc {
namespace {

// The queues behind the caches' free lists.
class QueuePoolTest : public ::testing::Test {
protected:
    void SetUp() override { queuePoolInit(); }
    void TearDown() override { queuePoolShutdown(); }
};

TEST_F(QueuePoolTest, OverflowKeepsWhatWasWrittenAndWraps) {
    const int queue = queueCreate();
    ASSERT_EQ(queueAllocate(queue, 8), 0);
    const uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(queueWrite(queue, bytes, 6), 0);
    EXPECT_EQ(queueWrite(queue, bytes + 6, 2), 0);
    EXPECT_TRUE(queueFull(queue));
    EXPECT_EQ(queueWrite(queue, bytes, 1), -1);

    uint8_t out[8] = {};
    EXPECT_EQ(queueRead(queue, out, 5), 0);
    EXPECT_EQ(queueWrite(queue, bytes, 7), -1);  // 5 fit, wrapping round the buffer end
    EXPECT_EQ(queueRead(queue, out, 8), 0);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 8), (std::vector<uint8_t>{6, 7, 8, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(queueEmpty(queue));
}

TEST_F(QueuePoolTest, UnderflowDeliversWhatWasThere) {
    const int queue = queueCreate();
    ASSERT_EQ(queueAllocate(queue, 8), 0);
    const uint8_t bytes[3] = {7, 8, 9};
    ASSERT_EQ(queueWrite(queue, bytes, 3), 0);
    uint8_t out[4] = {0, 0, 0, 0xEE};
    EXPECT_EQ(queueRead(queue, out, 4), -1);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 4), (std::vector<uint8_t>{7, 8, 9, 0xEE}));
    EXPECT_TRUE(queueEmpty(queue));
    EXPECT_EQ(queueAllocate(queue, 4), 0);  // a new buffer starts empty
    EXPECT_TRUE(queueEmpty(queue));
}

TEST_F(QueuePoolTest, BadHandlesAndExhaustion) {
    uint8_t byte = 1;
    EXPECT_EQ(queueRead(kQueueSlots, &byte, 1), -1);
    const int unallocated = queueCreate();
    EXPECT_EQ(queueWrite(unallocated, &byte, 1), -1);
    for (int i = 1; i < kQueueSlots; ++i) EXPECT_EQ(queueCreate(), i);
    EXPECT_EQ(queueCreate(), -1);
    int handle = 5;
    queueDestroy(&handle);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(queueCreate(), 5);
}

}  // namespace
}  // namespace lumadisc
