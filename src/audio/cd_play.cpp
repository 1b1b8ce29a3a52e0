#include "audio/cd_play.h"

#include <pthread.h>

#include <chrono>
#include <cstring>

#include "config/log.h"
#include "config/settings.h"
#include "reader/cd_read.h"
#include "support/paths.h"

namespace lumadisc {

CCdPlay g_cdPlay;

namespace {

constexpr int kFramesPerBlock = kRawSectorSize / 4;

// Polls every millisecond until done() holds or the limit has passed; true when done() held.
template <class Done>
bool waitFor(Done done, int limitMilliseconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMilliseconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        sleepSeconds(0.001);
    }
    return true;
}

// Real-time pacing for a host output that takes blocks without waiting: one block per 588 frames.
class BlockClock {
public:
    void tick() {
        const auto now = std::chrono::steady_clock::now();
        if (due_ < now - std::chrono::milliseconds(200)) due_ = now;
        due_ += std::chrono::nanoseconds(1000000000LL * kFramesPerBlock / 44100);
        std::this_thread::sleep_until(due_);
    }

private:
    std::chrono::steady_clock::time_point due_{};
};

int16_t sampleAt(const uint8_t* p) { return static_cast<int16_t>(static_cast<uint16_t>(p[0] | (p[1] << 8))); }

void putSample(uint8_t* p, int32_t value) {
    const uint16_t bits = static_cast<uint16_t>(static_cast<int16_t>(value));
    p[0] = static_cast<uint8_t>(bits & 0xFF);
    p[1] = static_cast<uint8_t>(bits >> 8);
}

}  // namespace

void cdPlayMixToMono(uint8_t* block, int32_t volume) {
    if (volume < 0) volume = 0;
    if (volume > 100) volume = 100;
    for (int frame = 0; frame < kFramesPerBlock; ++frame) {
        uint8_t* p = block + frame * 4;
        int32_t mixed = (static_cast<int32_t>(sampleAt(p)) + sampleAt(p + 2)) * volume / 100;
        if (mixed > 32767) mixed = 32767;
        if (mixed < -32768) mixed = -32768;
        putSample(p, mixed);
        putSample(p + 2, mixed);
    }
}

CCdPlay::~CCdPlay() {
    // A host that unloads without closing: the thread is ended (or let go) rather than left joinable.
    if (thread_.joinable()) endThread();
}

int CCdPlay::init() {
    logWrite(kLogPlugin, "[CDR] CCdPlay::init().\n");
    std::memset(silence_, 0, sizeof silence_);
    std::memset(audio_, 0, sizeof audio_);
    return 0;
}

void CCdPlay::shutdown() { logWrite(kLogPlugin, "[CDR] CCdPlay::shutdown().\n"); }

void CCdPlay::setHostOutput(HostOutput output, bool hostPaces) {
    hostPaces_ = hostPaces;
    hostOutput_ = output;
}

bool CCdPlay::endThread() {
    quit_ = 1;
    if (!waitFor([this] { return exited_.load() == 1; }, kCloseWaitMilliseconds)) {
        // Stuck in the host's audio function or the sound device: let it go rather than hang the
        // host. It still ends by itself once that call returns, since quit stays set.
        logWrite(kLogPlugin, "[CDR] Warning: the CD audio thread did not end in time and is left behind.\n");
        thread_.detach();
        abandoned_ = true;
        started_ = 0;
        return false;
    }
    thread_.join();
    started_ = 0;
    return true;
}

int CCdPlay::open() {
    logWrite(kLogPlugin, "[CDR] CCdPlay::open().\n");
    std::lock_guard<std::mutex> lifecycle(lifecycle_);
    if (thread_.joinable()) endThread();
    if (abandoned_ && exited_.load() == 0 &&
        !waitFor([this] { return exited_.load() == 1; }, kCloseWaitMilliseconds)) {
        // The thread left behind still runs: no second one beside it. CD audio plays silently.
        playing_ = 0;
        idle_ = 1;
        logWrite(kLogPlugin, "[CDR] Warning: CD audio stays off, the previous audio thread has not ended.\n");
        return 0;
    }
    abandoned_ = false;
    quit_ = 0;
    exited_ = 0;
    playing_ = 0;
    idle_ = 1;
    if (settingLive(g_settings.playcdda) != 0) {
        thread_ = std::thread(&CCdPlay::streamThread, this);
        started_ = 1;
    }
    return 0;
}

void CCdPlay::close() {
    logWrite(kLogPlugin, "[CDR] CCdPlay::close().\n");
    std::lock_guard<std::mutex> lifecycle(lifecycle_);
    if (thread_.joinable()) endThread();
}

void CCdPlay::playCDDA() {
    logWrite(kLogPlugin, "[CDR] CCdPlay::playCDDA().\n");
    std::lock_guard<std::mutex> reader(cdromMutex());
    playing_ = 1;
    idle_ = 0;
}

void CCdPlay::stopCDDA() {
    logWrite(kLogPlugin, "[CDR] CCdPlay::stopCDDA().\n");
    // The streaming thread reads only under the reader lock, and judges `playing` there first: once
    // this lock is held the thread is off the reader, and with `playing` cleared it stays off until the
    // next playCDDA. Holding the lock is therefore its acknowledgement, and nothing waits for the
    // thread's next turn (which may sit in the host's spuPlayCDDA or on the sound device).
    std::lock_guard<std::mutex> reader(cdromMutex());
    playing_ = 0;
    idle_ = 1;
}

int CCdPlay::isCDDA() {
    logWrite(kLogPlugin, "[CDR] CCdPlay::isCDDA().\n");
    return playing_;
}

void CCdPlay::streamThread() {
    pthread_setname_np(pthread_self(), "lumadisc-cdda");  // for debuggers, top and the benchmark
    const HostOutput host = hostOutput_.load();
    const bool hostPaces = hostPaces_.load();
    BlockClock clock;
    if (host == nullptr) {
        sound_.init();
        sound_.start();
    }
    for (;;) {
        if (quit_.load() != 0) {
            if (host == nullptr) {
                sound_.stop();
                sound_.shutdown();
            }
            exited_ = 1;
            return;
        }
        bool audible = false;
        {
            // One sector under the reader lock: the play flag is judged, and the sector read and the
            // position stepped, without the host's thread in between.
            std::lock_guard<std::mutex> reader(cdromMutex());
            if (playing_.load() == 0) {
                idle_ = 1;
            } else {
                // The current subchannel block follows the sector being played, so the position
                // reports, the host's subchannel and a save state see where the music is.
                g_cdRead.readSubs();
                g_cdRead.readDataInto(audio_);
                // A data sector: silence, and the position stays on it until stopped or moved.
                if (!sectorHasSync(audio_)) {
                    g_cdRead.nextLoc();
                    audible = true;
                }
            }
        }
        if (audible) cdPlayMixToMono(audio_, settingLive(g_settings.cddavolumelevel));

        if (host != nullptr) {
            // The host gets a block of its own to keep, never the shared silence.
            if (!audible) std::memset(audio_, 0, sizeof audio_);
            host(audio_);
            if (!hostPaces) clock.tick();
        } else {
            sound_.stream(audible ? audio_ : silence_, kRawSectorSize);
        }
    }
}

}  // namespace lumadisc
