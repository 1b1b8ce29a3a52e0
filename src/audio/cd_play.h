// The CD audio player: play and stop requests from the host's thread, and the hand-over of the
// reader front between the host's thread and the streaming thread.
#pragma once

#include <atomic>
#include <cstdint>

namespace lumadisc {

class CCdPlay {
public:
    int init();
    void shutdown();
    int open();
    void close();
    void playCDDA();
    // Returns once the streaming thread has left the reader alone.
    void stopCDDA();
    int isCDDA();

private:
    std::atomic<int32_t> playing_{0};
    std::atomic<int32_t> idle_{1};
    std::atomic<int32_t> quit_{0};
    std::atomic<int32_t> exited_{0};
};

extern CCdPlay g_cdPlay;

}  // namespace lumadisc
