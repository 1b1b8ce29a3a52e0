// Sound output of CD audio on the classic face: the default OpenAL device, one context, one source and
// five streaming buffers of 16-bit stereo at 44100 Hz. Only the streaming thread uses it.
#pragma once

#include <AL/al.h>
#include <AL/alc.h>

#include <chrono>
#include <cstdint>

namespace lumadisc {

class COpenAlOutput {
public:
    static constexpr int kBufferCount = 5;
    static constexpr int kFrequency = 44100;
    // How long stream() waits for the device to hand a buffer back before it drops the block.
    static constexpr std::chrono::milliseconds kBufferWait{200};

    // Opens the device, makes the context current, creates the buffers and the source. Failures are
    // logged; the output is then unusable and stream() only keeps time.
    void init();
    // Queues five silent one-sector buffers and starts the source.
    void start();
    // Replaces one processed buffer with the block and requeues it; restarts a source that ran dry.
    // Waits at most kBufferWait for a processed buffer; without a usable output it sleeps for the
    // block's duration instead, so the caller keeps real time either way.
    void stream(const uint8_t* block, int length);
    // Stops the source and unqueues every buffer.
    void stop();
    // Deletes the source and buffers, releases the context and closes the device.
    void shutdown();

    bool usable() const { return usable_; }

private:
    void keepTime(int length);

    ALCdevice* device_ = nullptr;
    ALCcontext* context_ = nullptr;
    ALuint source_ = 0;
    ALuint buffers_[kBufferCount] = {};
    bool usable_ = false;
    bool stalled_ = false;  // the last stream() dropped its block
    std::chrono::steady_clock::time_point due_{};
};

// The standard names of OpenAL's error codes ("AL_UNKNOWN_ERROR" / "ALC_UNKNOWN_ERROR" for others).
const char* openAlErrorName(ALenum error);
const char* openAlcErrorName(ALCenum error);

}  // namespace lumadisc
