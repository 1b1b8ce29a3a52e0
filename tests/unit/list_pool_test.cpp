// The pool of lists: exhaustion and handle reuse, the cursor, elements released exactly once.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "support/list_pool.h"

namespace lumadisc {
namespace {

// The pool of lists behind the catalogue and the recent list.
// Elements are small integers stored in the pointer itself; the destructor counts releases.
int g_released = 0;
void countRelease(void*) { ++g_released; }
void* item(intptr_t value) { return reinterpret_cast<void*>(value); }
intptr_t value(void* element) { return reinterpret_cast<intptr_t>(element); }

// Only what the catalogue uses: create, destroy, append, clear, cursorTo, element, count.
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
    listCursorTo(list, 1);
    EXPECT_EQ(value(listElement(list)), 20);
    listCursorTo(list, 99);
    EXPECT_EQ(value(listElement(list)), 30);
    EXPECT_EQ(listCount(list), 3);
    const int empty = listCreate(nullptr);
    EXPECT_EQ(listElement(empty), nullptr);
    EXPECT_EQ(listCount(empty), 0);
}

TEST_F(ListPoolTest, ElementsAreReleasedExactlyOnce) {
    const int list = makeList({1, 2, 3});
    listClear(list);
    EXPECT_EQ(g_released, 3);
    EXPECT_EQ(listCount(list), 0);
    makeList({5, 6});
    listPoolShutdown();
    EXPECT_EQ(g_released, 5);
    listClear(list);  // a handle of the old pool is ignored
    EXPECT_EQ(g_released, 5);
}

}  // namespace
}  // namespace lumadisc
