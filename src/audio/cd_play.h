// The CD audio player: a streaming thread that reads audio sectors through the reader front from the
// current position on, mixes each to mono at the configured volume and hands it to the host's
// spuPlayCDDA (extended face) or to the sound card through OpenAL (classic face).
//
// The host's thread and the streaming thread meet in four flags and in the facade's reader lock.
// The thread takes the lock for each sector it plays and judges `playing` inside it (when it is 0
// it sets `idle` and reads nothing); playCDDA and stopCDDA change `playing` and `idle` under the
// same lock. So once stopCDDA returns, the thread neither reads nor moves the position until the
// next playCDDA, and stopping never waits for the thread's output (the host's spuPlayCDDA or the
// sound device). The lock is held only around reader work, never around a wait.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>

#include "audio/openal_output.h"
#include "disc/disc_model.h"

namespace lumadisc {

class CCdPlay {
public:
    using HostOutput = void (*)(unsigned char* block);

    ~CCdPlay();

    int init();
    void shutdown();
    // Resets the flags and, with "cdrom property:playcdda" set, starts the streaming thread. A thread
    // still running (an open without a close) is ended first: at most one runs.
    int open();
    // Ends the streaming thread, if open started one.
    void close();
    void playCDDA();
    // Returns once the streaming thread has left the reader alone.
    void stopCDDA();
    int isCDDA();

    // Whether a streaming thread started by open is running.
    bool streaming() const { return started_.load() != 0; }
    // The extended face's spuPlayCDDA, or null for the classic face (sound through OpenAL); taken by
    // each thread when it starts. hostPaces is false for the face's own stand-in, which returns at
    // once: the thread then keeps real time itself.
    void setHostOutput(HostOutput output, bool hostPaces);

    // How long close waits for the thread to end.
    static constexpr int kCloseWaitMilliseconds = 5000;

private:
    void streamThread();
    // Sets quit and waits (bounded) for the thread to end; true when it did and was joined.
    bool endThread();

    std::atomic<int32_t> playing_{0};
    std::atomic<int32_t> idle_{1};
    std::atomic<int32_t> quit_{0};
    std::atomic<int32_t> exited_{0};
    std::atomic<int32_t> started_{0};
    std::atomic<HostOutput> hostOutput_{nullptr};
    std::atomic<bool> hostPaces_{true};

    std::mutex lifecycle_;     // open and close, from the host's thread or a disc swap
    std::thread thread_;
    bool abandoned_ = false;   // a thread that did not end in time was let go (under lifecycle_)

    alignas(16) uint8_t silence_[kRawSectorSize] = {};
    alignas(16) uint8_t audio_[kRawSectorSize] = {};
    COpenAlOutput sound_;
};

// Mixes a 2352-byte CD audio block to mono in place: each frame's left and right become
// ((left + right) * volume) / 100, truncated toward zero and clamped to 16 bits.
void cdPlayMixToMono(uint8_t* block, int32_t volume);

extern CCdPlay g_cdPlay;

}  // namespace lumadisc
