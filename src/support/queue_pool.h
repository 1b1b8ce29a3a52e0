// A pool of 128 byte queues held in ring buffers, named by handle; -1 is none.
#pragma once

#include <cstdint>

namespace lumadisc {

constexpr int kQueueSlots = 128;

void queuePoolInit();
void queuePoolShutdown();
int queueCreate();
void queueDestroy(int* handle);
// Gives the queue a buffer of n bytes; -1 when the heap refuses.
int queueAllocate(int handle, int32_t n);
bool queueEmpty(int handle);
bool queueFull(int handle);
// 0, or -1 when the queue fills (empties) before n bytes moved; what fitted has moved.
int queueWrite(int handle, const void* source, int32_t n);
int queueRead(int handle, void* destination, int32_t n);

}  // namespace lumadisc
