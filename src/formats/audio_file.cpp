#include "formats/audio_file.h"

#include "support/regular_file.h"

#include <sndfile.h>

#include <utility>
#include <vector>

#include "disc/cd_utility.h"

namespace lumadisc {

namespace {
constexpr int kCdRate = 44100;
constexpr int kCdChannels = 2;
constexpr int kBytesPerFrame = 4;
SNDFILE* handleOf(void* handle) { return static_cast<SNDFILE*>(handle); }
}  // namespace

AudioFile::~AudioFile() { close(); }

AudioFile::AudioFile(AudioFile&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), frames_(std::exchange(other.frames_, 0)) {}

AudioFile& AudioFile::operator=(AudioFile&& other) noexcept {
    if (this != &other) {
        close();
        handle_ = std::exchange(other.handle_, nullptr);
        frames_ = std::exchange(other.frames_, 0);
    }
    return *this;
}

bool AudioFile::open(const std::string& path, std::string* reason) {
    close();
    SF_INFO info{};
    std::string why;
    const int fd = openRegularFile(path.c_str(), &why);
    if (fd < 0) {
        if (reason) *reason = why;
        return false;
    }
    SNDFILE* file = sf_open_fd(fd, SFM_READ, &info, SF_TRUE);  // the library closes fd
    if (file == nullptr) {
        if (reason) *reason = sf_strerror(nullptr);
        return false;
    }
    if (info.samplerate != kCdRate || info.channels != kCdChannels) {
        if (reason) {
            *reason = "sound file has " + std::to_string(info.samplerate) + " Hz and " +
                      std::to_string(info.channels) + " channels, CD audio needs 44100 Hz stereo";
        }
        sf_close(file);
        return false;
    }
    const int subtype = info.format & SF_FORMAT_SUBMASK;
    if (subtype != SF_FORMAT_PCM_16 && subtype != SF_FORMAT_VORBIS) {
        if (reason) *reason = "sound file samples are not 16-bit";
        sf_close(file);
        return false;
    }
    handle_ = file;
    frames_ = info.frames;
    return true;
}

void AudioFile::close() {
    if (handle_) sf_close(handleOf(handle_));
    handle_ = nullptr;
    frames_ = 0;
}

size_t AudioFile::readAt(int64_t offset, size_t size, uint8_t* buffer) {
    if (!handle_ || offset < 0 || offset % kBytesPerFrame != 0) return 0;
    const int64_t first = offset / kBytesPerFrame;
    if (first >= frames_) return 0;
    if (sf_seek(handleOf(handle_), first, SEEK_SET) < 0) return 0;
    const sf_count_t wanted = static_cast<sf_count_t>(size / kBytesPerFrame);
    std::vector<short> samples(static_cast<size_t>(wanted) * kCdChannels);
    const sf_count_t got = sf_readf_short(handleOf(handle_), samples.data(), wanted);
    if (got <= 0) return 0;
    for (sf_count_t i = 0; i < got * kCdChannels; ++i) {
        writeLe16(buffer + 2 * i, static_cast<uint16_t>(samples[static_cast<size_t>(i)]));
    }
    return static_cast<size_t>(got) * kBytesPerFrame;
}

int64_t AudioFile::decodedSizeOf(const std::string& path, std::string* reason) {
    AudioFile file;
    if (!file.open(path, reason)) return -1;
    return file.decodedBytes();
}

}  // namespace lumadisc
