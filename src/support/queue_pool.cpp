#include "support/queue_pool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace lumadisc {

namespace {

struct QueueSlot {
    bool used;
    uint8_t* buffer;
    int32_t capacity;
    int32_t count;
    int32_t readPosition;
    int32_t writePosition;
};

QueueSlot g_queues[kQueueSlots];

QueueSlot* slotOf(int handle) {
    if (handle < 0 || handle >= kQueueSlots || !g_queues[handle].used) return nullptr;
    return &g_queues[handle];
}

void releaseBuffer(QueueSlot& queue) {
    std::free(queue.buffer);
    queue.buffer = nullptr;
    queue.capacity = queue.count = queue.readPosition = queue.writePosition = 0;
}

}  // namespace

void queuePoolInit() {
    queuePoolShutdown();
}

void queuePoolShutdown() {
    for (int handle = 0; handle < kQueueSlots; ++handle) {
        int h = handle;
        queueDestroy(&h);
    }
}

int queueCreate() {
    for (int handle = 0; handle < kQueueSlots; ++handle) {
        if (!g_queues[handle].used) {
            g_queues[handle] = QueueSlot{};
            g_queues[handle].used = true;
            return handle;
        }
    }
    return -1;
}

void queueDestroy(int* handle) {
    if (handle == nullptr) return;
    QueueSlot* queue = slotOf(*handle);
    if (queue == nullptr) return;
    releaseBuffer(*queue);
    queue->used = false;
    *handle = -1;
}

int queueAllocate(int handle, int32_t n) {
    QueueSlot* queue = slotOf(handle);
    if (queue == nullptr || n < 0) return -1;
    releaseBuffer(*queue);
    if (n == 0) return 0;
    queue->buffer = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(n)));
    if (queue->buffer == nullptr) return -1;
    queue->capacity = n;
    return 0;
}

bool queueEmpty(int handle) {
    const QueueSlot* queue = slotOf(handle);
    return queue == nullptr || queue->count == 0;
}

bool queueFull(int handle) {
    const QueueSlot* queue = slotOf(handle);
    return queue == nullptr || queue->count == queue->capacity;
}

// Bytes move as if one at a time: whatever fits goes in, and a write that runs out of room fails
// without taking back what it already wrote.
int queueWrite(int handle, const void* source, int32_t n) {
    QueueSlot* queue = slotOf(handle);
    if (queue == nullptr || n < 0 || (source == nullptr && n > 0)) return -1;
    const auto* bytes = static_cast<const uint8_t*>(source);
    const int32_t moving = std::min(n, queue->capacity - queue->count);
    for (int32_t done = 0; done < moving;) {
        const int32_t chunk = std::min(moving - done, queue->capacity - queue->writePosition);
        std::memcpy(queue->buffer + queue->writePosition, bytes + done, static_cast<size_t>(chunk));
        done += chunk;
        queue->writePosition = (queue->writePosition + chunk) % queue->capacity;
    }
    queue->count += moving;
    if (moving < n) return -1;
    return 0;
}

// The mirror of queueWrite: the bytes that were there are delivered, and a short read fails.
int queueRead(int handle, void* destination, int32_t n) {
    QueueSlot* queue = slotOf(handle);
    if (queue == nullptr || n < 0 || (destination == nullptr && n > 0)) return -1;
    auto* bytes = static_cast<uint8_t*>(destination);
    const int32_t moving = std::min(n, queue->count);
    for (int32_t done = 0; done < moving;) {
        const int32_t chunk = std::min(moving - done, queue->capacity - queue->readPosition);
        std::memcpy(bytes + done, queue->buffer + queue->readPosition, static_cast<size_t>(chunk));
        done += chunk;
        queue->readPosition = (queue->readPosition + chunk) % queue->capacity;
    }
    queue->count -= moving;
    if (moving < n) return -1;
    return 0;
}

}  // namespace lumadisc
