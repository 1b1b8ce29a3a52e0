// Sound files named by a disc description (WAVE, FLAC, Ogg Vorbis), decoded to CD audio through
// libsndfile: 44100 Hz, two channels, read as 16-bit little-endian stereo frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lumadisc {

class AudioFile {
public:
    AudioFile() = default;
    ~AudioFile();
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;
    AudioFile(AudioFile&& other) noexcept;
    AudioFile& operator=(AudioFile&& other) noexcept;

    // Opens path; false with a reason (unreadable, not a sound file, another rate or channel count).
    bool open(const std::string& path, std::string* reason);
    void close();
    bool isOpen() const { return handle_ != nullptr; }
    // Decoded size in bytes (4 bytes a stereo frame).
    int64_t decodedBytes() const { return frames_ * 4; }
    // Copies up to size decoded bytes from a byte offset into buffer; returns the bytes written.
    size_t readAt(int64_t offset, size_t size, uint8_t* buffer);

    // The decoded size of the sound file at path, or -1 with a reason.
    static int64_t decodedSizeOf(const std::string& path, std::string* reason);

private:
    void* handle_ = nullptr;  // SNDFILE*
    int64_t frames_ = 0;
};

}  // namespace lumadisc
