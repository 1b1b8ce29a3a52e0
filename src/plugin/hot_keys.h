// The hot-key thread of the classic face: polls the input devices while a disc is open.
#pragma once

#include <atomic>
#include <cstdint>

namespace lumadisc {

// 1 while the thread is to stop (and at load); cleared just before the thread starts.
extern std::atomic<int32_t> g_hotKeyStop;
void hotKeyThread();

}  // namespace lumadisc
