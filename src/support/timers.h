// A pool of 1024 stopwatches named by slot index; -1 names no timer.
#pragma once

namespace lumadisc {

constexpr int kTimerSlots = 1024;

int timerInit();
void timerShutdown();
// Lowest free slot, or -1 when all are in use. The start reading is not set.
int timerCreate();
// Frees a slot in use and sets the caller's index to -1; anything else is ignored.
void timerDestroy(int* timer);
void timerRestart(int timer);
// Seconds since the last restart.
double timerElapsed(int timer);

}  // namespace lumadisc
