#include "audio/openal_output.h"

#include <algorithm>
#include <thread>

#include "audio/sound_library_messages.h"
#include "config/log.h"
#include "config/settings.h"

namespace lumadisc {

namespace {

// 50 ms of 16-bit stereo at 44100 Hz: the buffers' first contents.
constexpr int kInitialFill = 8820;
// One sector of CD audio.
constexpr int kSectorBytes = 2352;
constexpr int kBytesPerFrame = 4;

const uint8_t g_zeros[kInitialFill] = {};

const char* text(const char* value) { return value != nullptr ? value : ""; }

bool checkAl() {
    const ALenum error = alGetError();
    if (error == AL_NO_ERROR) return true;
    logWrite(kLogPlugin, "[CDR] AL: %s.\n", openAlErrorName(error));
    return false;
}

bool checkAlc(ALCdevice* device) {
    const ALCenum error = alcGetError(device);
    if (error == ALC_NO_ERROR) return true;
    logWrite(kLogPlugin, "[CDR] ALC: %s.\n", openAlcErrorName(error));
    return false;
}

}  // namespace

const char* openAlErrorName(ALenum error) {
    switch (error) {
    case AL_INVALID_NAME: return "AL_INVALID_NAME";
    case AL_INVALID_ENUM: return "AL_INVALID_ENUM";
    case AL_INVALID_VALUE: return "AL_INVALID_VALUE";
    case AL_INVALID_OPERATION: return "AL_INVALID_OPERATION";
    case AL_OUT_OF_MEMORY: return "AL_OUT_OF_MEMORY";
    default: return "AL_UNKNOWN_ERROR";
    }
}

const char* openAlcErrorName(ALCenum error) {
    switch (error) {
    case ALC_INVALID_DEVICE: return "ALC_INVALID_DEVICE";
    case ALC_INVALID_CONTEXT: return "ALC_INVALID_CONTEXT";
    case ALC_INVALID_ENUM: return "ALC_INVALID_ENUM";
    case ALC_INVALID_VALUE: return "ALC_INVALID_VALUE";
    case ALC_OUT_OF_MEMORY: return "ALC_OUT_OF_MEMORY";
    default: return "ALC_UNKNOWN_ERROR";
    }
}

void COpenAlOutput::init() {
    logWrite(kLogPlugin, "[CDR] SoundInit()\n");
    usable_ = false;
    stalled_ = false;
    due_ = {};

    soundMessagesRoute(settingLive(g_settings.enablelogging) != 0);
    device_ = alcOpenDevice(nullptr);
    if (device_ == nullptr) {
        // The one line a machine without a sound card gets; CD audio then only keeps its time.
        logWrite(kLogPlugin, "[CDR] Warning: no sound device opens, CD audio is not played.\n");
        return;
    }
    bool ok = checkAlc(device_);
    logWrite(kLogPlugin, "[CDR] ALC_DEVICE_SPECIFIER = %s.\n", text(alcGetString(device_, ALC_DEVICE_SPECIFIER)));
    logWrite(kLogPlugin, "[CDR] ALC_EXTENSIONS = %s.\n", text(alcGetString(device_, ALC_EXTENSIONS)));

    context_ = alcCreateContext(device_, nullptr);
    ok = checkAlc(device_) && context_ != nullptr && ok;
    alcMakeContextCurrent(context_);
    ok = checkAlc(device_) && ok;

    logWrite(kLogPlugin, "[CDR] AL_VERSION = %s.\n", text(alGetString(AL_VERSION)));
    logWrite(kLogPlugin, "[CDR] AL_RENDERER = %s.\n", text(alGetString(AL_RENDERER)));
    logWrite(kLogPlugin, "[CDR] AL_VENDOR = %s.\n", text(alGetString(AL_VENDOR)));

    alGenBuffers(kBufferCount, buffers_);
    ok = checkAl() && ok;
    for (ALuint buffer : buffers_) alBufferData(buffer, AL_FORMAT_STEREO16, g_zeros, kInitialFill, kFrequency);
    ok = checkAl() && ok;

    alGenSources(1, &source_);
    ok = checkAl() && ok;
    alSourcef(source_, AL_PITCH, 1.0f);
    alSourcef(source_, AL_GAIN, 1.0f);
    alSource3f(source_, AL_POSITION, 0.0f, 0.0f, 0.0f);
    alSource3f(source_, AL_VELOCITY, 0.0f, 0.0f, 0.0f);
    alSource3f(source_, AL_DIRECTION, 0.0f, 0.0f, 0.0f);
    alSourcei(source_, AL_SOURCE_RELATIVE, AL_TRUE);
    alSourcei(source_, AL_LOOPING, AL_FALSE);
    ok = checkAl() && ok;

    const ALfloat orientation[6] = {0.0f, 0.0f, -1.0f, 0.0f, 1.0f, 0.0f};
    alListener3f(AL_POSITION, 0.0f, 0.0f, 0.0f);
    alListener3f(AL_VELOCITY, 0.0f, 0.0f, 0.0f);
    alListenerfv(AL_ORIENTATION, orientation);
    ok = checkAl() && ok;
    usable_ = ok;
}

void COpenAlOutput::start() {
    if (device_ == nullptr) return;  // no sound device: playing only keeps its time
    for (ALuint buffer : buffers_) alBufferData(buffer, AL_FORMAT_STEREO16, g_zeros, kSectorBytes, kFrequency);
    checkAl();
    alSourceQueueBuffers(source_, kBufferCount, buffers_);
    checkAl();
    alSourcePlay(source_);
    checkAl();
}

void COpenAlOutput::keepTime(int length) {
    const auto now = std::chrono::steady_clock::now();
    const auto span = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(static_cast<double>(length) / kBytesPerFrame / kFrequency));
    if (due_ < now - kBufferWait) due_ = now;  // the first block, or far behind: start afresh
    due_ += span;
    std::this_thread::sleep_until(due_);
}

void COpenAlOutput::stream(const uint8_t* block, int length) {
    if (!usable_) {
        keepTime(length);
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + kBufferWait;
    for (;;) {
        ALint processed = 0;
        alGetSourcei(source_, AL_BUFFERS_PROCESSED, &processed);
        if (processed >= 1) break;
        if (std::chrono::steady_clock::now() >= deadline) {
            // The device has stopped taking sound; the block is lost rather than the caller held.
            if (!stalled_) logWrite(kLogPlugin, "[CDR] Warning: the sound device gives no buffer back, CD audio is dropped.\n");
            stalled_ = true;
            return;
        }
        // Sleep for what the playing buffer (one sector) still holds, at least a millisecond: the
        // device hands it back no sooner, and fewer wake-ups keep the thread's CPU use down.
        ALint offset = 0;
        alGetSourcei(source_, AL_SAMPLE_OFFSET, &offset);
        const int frames = kSectorBytes / kBytesPerFrame;
        const int remaining = std::clamp(frames - offset, 0, frames);
        std::this_thread::sleep_for(std::max(std::chrono::microseconds(1000),
                                             std::chrono::microseconds(remaining * 1000000LL / kFrequency)));
    }
    stalled_ = false;
    ALuint buffer = 0;
    alSourceUnqueueBuffers(source_, 1, &buffer);
    checkAl();
    alBufferData(buffer, AL_FORMAT_STEREO16, block, length, kFrequency);
    checkAl();
    alSourceQueueBuffers(source_, 1, &buffer);
    checkAl();
    ALint state = 0;
    alGetSourcei(source_, AL_SOURCE_STATE, &state);
    if (state != AL_PLAYING) {
        logWrite(kLogPlugin, "[CDR] AL_SOURCE_STATE != AL_PLAYING: %x\n", state);
        alSourcePlay(source_);
        checkAl();
    }
}

void COpenAlOutput::stop() {
    if (device_ == nullptr) return;
    alSourceStop(source_);
    checkAl();
    ALint queued = 0;
    alGetSourcei(source_, AL_BUFFERS_QUEUED, &queued);
    for (ALint i = 0; i < queued; ++i) {
        ALuint buffer = 0;
        alSourceUnqueueBuffers(source_, 1, &buffer);
        if (!checkAl()) break;
    }
}

void COpenAlOutput::shutdown() {
    logWrite(kLogPlugin, "[CDR] SoundShutdown()\n");
    if (device_ == nullptr) {
        soundMessagesRestore();
        usable_ = false;
        return;
    }
    alSourceStop(source_);
    checkAl();
    alDeleteSources(1, &source_);
    checkAl();
    alDeleteBuffers(kBufferCount, buffers_);
    checkAl();
    alcMakeContextCurrent(nullptr);
    checkAlc(device_);
    alcDestroyContext(context_);
    checkAlc(device_);
    if (device_ != nullptr) alcCloseDevice(device_);
    device_ = nullptr;
    context_ = nullptr;
    source_ = 0;
    for (ALuint& buffer : buffers_) buffer = 0;
    usable_ = false;
    soundMessagesRestore();
}

}  // namespace lumadisc
