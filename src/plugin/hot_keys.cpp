#include "plugin/hot_keys.h"

#include "support/paths.h"

namespace lumadisc {

std::atomic<int32_t> g_hotKeyStop{1};

// No key combination is watched yet; the thread only keeps its pace until it is told to stop.
void hotKeyThread() {
    while (!g_hotKeyStop) sleepSeconds(0.05);
}

}  // namespace lumadisc
