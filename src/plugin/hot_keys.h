// The hot-key thread of the classic face: polls the input devices every 50 ms while a disc is open
// and runs the action of every key combination that has just been pressed.
#pragma once

#include <atomic>
#include <cstdint>

namespace lumadisc {

constexpr double kHotKeyPollSeconds = 0.05;

// 1 while the thread is to stop (and at load); cleared just before the thread starts.
extern std::atomic<int32_t> g_hotKeyStop;
void hotKeyThread();
// One pass over the 22 bindings (slot 0 of every action, then slot 1), after an input poll.
void hotKeyPass();

}  // namespace lumadisc
