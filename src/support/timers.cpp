#include "support/timers.h"

#include <cstdint>

#include "support/clock.h"

namespace lumadisc {

namespace {

// A slot in use holds its own index; -1 marks a free slot. Zero-initialised storage would read
// as "slot 0 in use", so the table starts out explicitly free.
struct TimerTable {
    int slot[kTimerSlots];
    int64_t start[kTimerSlots];
    constexpr TimerTable() : slot(), start() {
        for (int& s : slot) s = -1;
    }
};

TimerTable g_timers;

bool inRange(int timer) {
    return timer >= 0 && timer < kTimerSlots;
}

void freeAll() {
    for (int& s : g_timers.slot) s = -1;
}

}  // namespace

int timerInit() {
    freeAll();
    return 0;
}

void timerShutdown() {
    freeAll();
}

int timerCreate() {
    for (int i = 0; i < kTimerSlots; ++i) {
        if (g_timers.slot[i] == -1) {
            g_timers.slot[i] = i;
            return i;
        }
    }
    return -1;
}

void timerDestroy(int* timer) {
    if (timer == nullptr || !inRange(*timer) || g_timers.slot[*timer] == -1) return;
    g_timers.slot[*timer] = -1;
    *timer = -1;
}

void timerRestart(int timer) {
    if (!inRange(timer)) return;
    g_timers.start[timer] = currentClock().nowNanoseconds();
}

double timerElapsed(int timer) {
    if (!inRange(timer)) return 0.0;
    const int64_t elapsed = currentClock().nowNanoseconds() - g_timers.start[timer];
    return static_cast<double>(elapsed) / 1e9;
}

}  // namespace lumadisc
