#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/list_pool.h"
#include "support/queue_pool.h"

namespace lumadisc {
namespace {

// Elements are small integers stored in the pointer itself; the destructor counts releases.
int g_released = 0;
void countRelease(void*) { ++g_released; }
void* item(intptr_t value) { return reinterpret_cast<void*>(value); }
intptr_t value(void* element) { return reinterpret_cast<intptr_t>(element); }

class ListPoolTest : public ::testing::Test {
protected:
    void SetUp() override {
        listPoolInit();
        g_released = 0;
    }
    void TearDown() override { listPoolShutdown(); }

    int makeList(std::initializer_list<intptr_t> values) {
        const int list = listCreate(countRelease);
        for (intptr_t v : values) listAppend(list, item(v));
        return list;
    }
    static std::vector<intptr_t> contents(int list) {
        std::vector<intptr_t> out;
        listCursorFirst(list);
        if (listCount(list) == 0) return out;
        do out.push_back(value(listElement(list)));
        while (listCursorNext(list) == 0);
        return out;
    }
};

TEST_F(ListPoolTest, PoolExhaustionAndHandleReuse) {
    std::vector<int> handles;
    for (int i = 0; i < kListSlots; ++i) handles.push_back(listCreate(nullptr));
    EXPECT_EQ(handles.front(), 0);
    EXPECT_EQ(handles.back(), kListSlots - 1);
    EXPECT_EQ(listCreate(nullptr), -1);

    int victim = handles[7];
    listDestroy(&victim);
    EXPECT_EQ(victim, -1);
    int none = -1;
    int stale = handles[7];
    listDestroy(&none);   // ignored
    listDestroy(&stale);  // names a free slot: ignored, handle kept
    EXPECT_EQ(stale, 7);
    EXPECT_EQ(listCreate(nullptr), 7);
}

TEST_F(ListPoolTest, CursorStopsAtTheEnds) {
    const int list = makeList({10, 20, 30});
    EXPECT_EQ(value(listElement(list)), 10);  // the first node becomes the cursor
    listCursorLast(list);
    EXPECT_EQ(listCursorNext(list), -1);
    EXPECT_EQ(value(listElement(list)), 30);
    listCursorFirst(list);
    EXPECT_EQ(listCursorPrevious(list), -1);
    EXPECT_EQ(value(listElement(list)), 10);
    listCursorTo(list, 1);
    EXPECT_EQ(value(listElement(list)), 20);
    listCursorTo(list, 99);
    EXPECT_EQ(value(listElement(list)), 30);

    const int empty = listCreate(nullptr);
    EXPECT_EQ(listElement(empty), nullptr);
    EXPECT_EQ(listCursorNext(empty), -1);
    EXPECT_EQ(listCount(empty), 0);
}

TEST_F(ListPoolTest, EditsAtTheCursor) {
    struct Case {
        const char* name;
        int cursor;
        void (*edit)(int list);
        std::vector<intptr_t> order;
        intptr_t atCursor;
    };
    const Case cases[] = {
        {"swap with predecessor", 2, listSwapWithPrevious, {1, 3, 2, 4}, 3},
        {"swap at the front does nothing", 0, listSwapWithPrevious, {1, 2, 3, 4}, 1},
        {"move to front", 2, listMoveToFront, {3, 1, 2, 4}, 3},
        {"move to end", 1, listMoveToEnd, {1, 3, 4, 2}, 2},
        {"insert after cursor", 1, [](int l) { listInsertAfterCursor(l, item(9)); }, {1, 2, 9, 3, 4}, 2},
        {"insert at front", 3, [](int l) { listInsertFront(l, item(9)); }, {9, 1, 2, 3, 4}, 4},
        {"remove in the middle", 1, [](int l) { listRemove(l, true); }, {1, 3, 4}, 3},
        {"remove the last", 3, [](int l) { listRemove(l, true); }, {1, 2, 3}, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        int list = makeList({1, 2, 3, 4});
        listCursorTo(list, c.cursor);
        c.edit(list);
        EXPECT_EQ(value(listElement(list)), c.atCursor);
        EXPECT_EQ(contents(list), c.order);
        EXPECT_EQ(listCount(list), static_cast<int>(c.order.size()));
        listDestroy(&list);
    }
}

TEST_F(ListPoolTest, ElementsAreReleasedExactlyOnce) {
    int list = makeList({1, 2, 3});
    listCursorFirst(list);
    listRemove(list, false);  // the caller keeps element 1
    EXPECT_EQ(g_released, 0);
    listRemove(list, true);
    EXPECT_EQ(g_released, 1);
    listClear(list);
    EXPECT_EQ(g_released, 2);
    EXPECT_EQ(listCount(list), 0);
    makeList({5, 6});
    listPoolShutdown();
    EXPECT_EQ(g_released, 4);
    listRemove(list, true);  // a handle of the old pool is ignored
    EXPECT_EQ(g_released, 4);
}

TEST_F(ListPoolTest, SortSwapsPairsTheComparisonMarks) {
    const int list = makeList({4, 1, 3, 5, 2});
    listSort(list, [](const void* a, const void* b) { return reinterpret_cast<intptr_t>(a) > reinterpret_cast<intptr_t>(b) ? 1 : 0; });
    EXPECT_EQ(contents(list), (std::vector<intptr_t>{1, 2, 3, 4, 5}));
}

class QueuePoolTest : public ::testing::Test {
protected:
    void SetUp() override { queuePoolInit(); }
    void TearDown() override { queuePoolShutdown(); }
};

TEST_F(QueuePoolTest, OverflowKeepsWhatWasWritten) {
    const int queue = queueCreate();
    ASSERT_EQ(queueAllocate(queue, 8), 0);
    const uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(queueWrite(queue, bytes, 6), 0);
    EXPECT_EQ(queueWrite(queue, bytes + 6, 2), 0);
    EXPECT_TRUE(queueFull(queue));
    EXPECT_FALSE(queueOverflow(queue));
    EXPECT_EQ(queueWrite(queue, bytes, 1), -1);
    EXPECT_TRUE(queueOverflow(queue));

    uint8_t out[8] = {};
    EXPECT_EQ(queueRead(queue, out, 5), 0);
    EXPECT_EQ(queueWrite(queue, bytes, 7), -1);  // 5 fit, wrapping round the buffer end
    EXPECT_EQ(queueCount(queue), 8);
    EXPECT_EQ(queueRead(queue, out, 8), 0);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 8), (std::vector<uint8_t>{6, 7, 8, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(queueOverflow(queue));  // sticky until cleared
    queueClearFlags(queue);
    EXPECT_FALSE(queueOverflow(queue));
}

TEST_F(QueuePoolTest, UnderflowDeliversWhatWasThere) {
    const int queue = queueCreate();
    ASSERT_EQ(queueAllocate(queue, 8), 0);
    const uint8_t bytes[3] = {7, 8, 9};
    ASSERT_EQ(queueWrite(queue, bytes, 3), 0);
    uint8_t out[4] = {0, 0, 0, 0xEE};
    EXPECT_EQ(queueRead(queue, out, 4), -1);
    EXPECT_TRUE(queueUnderflow(queue));
    EXPECT_EQ(std::vector<uint8_t>(out, out + 4), (std::vector<uint8_t>{7, 8, 9, 0xEE}));
    EXPECT_TRUE(queueEmpty(queue));
    EXPECT_EQ(queueAllocate(queue, 4), 0);  // a new buffer starts clean
    EXPECT_FALSE(queueUnderflow(queue));
    EXPECT_EQ(queueCapacity(queue), 4);
}

TEST_F(QueuePoolTest, BadHandlesAndExhaustion) {
    uint8_t byte = 1;
    EXPECT_EQ(queueRead(kQueueSlots, &byte, 1), -1);
    const int unallocated = queueCreate();
    EXPECT_EQ(queueWrite(unallocated, &byte, 1), -1);
    EXPECT_TRUE(queueOverflow(unallocated));
    for (int i = 1; i < kQueueSlots; ++i) EXPECT_EQ(queueCreate(), i);
    EXPECT_EQ(queueCreate(), -1);
    int handle = 5;
    queueDestroy(&handle);
    EXPECT_EQ(handle, -1);
    EXPECT_EQ(queueCreate(), 5);
}

}  // namespace
}  // namespace lumadisc
