// A read-only image file addressed by signed 32-bit byte offsets, as every image kind addresses its
// data and subchannel files: a position whose offset does not fit reads nothing.
//
// Reads that run in order (each starting where the one before ended, as a game streams a file) are
// served from a 64 KiB window read ahead in one system call, so that a run of sectors costs one
// call per window rather than one per sector. Reads out of order, and reads the window does not
// hold whole, go to the file as they are; a window read that fails falls back to that, so an I/O
// error is reported for the read that meets it and nowhere else. Like the sector cache, the window
// keeps what the file held when it was read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace lumadisc {

class ImageFile {
public:
    ImageFile() = default;
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    // Opens path read-only, closing any file held before; false when it cannot be opened.
    bool open(const char* path);
    void close();
    bool isOpen() const { return fd_ >= 0; }
    // Reads up to size bytes of record `index` of `size` bytes into buffer; returns the bytes read.
    // Bytes past the end of the file, or of a record whose offset is negative or beyond 2 GiB,
    // are not touched.
    size_t readRecord(int32_t index, size_t size, uint8_t* buffer) const {
        return readAt(static_cast<int64_t>(index) * static_cast<int64_t>(size), size, buffer);
    }
    // Reads up to size bytes at a byte offset; nothing when the offset is negative or beyond 2 GiB.
    // An I/O error (a failing disk, a removed medium) ends the read with a log line that names the
    // file and the error, and readFailed() then holds until the next read.
    size_t readAt(int64_t offset, size_t size, uint8_t* buffer) const;
    bool readFailed() const { return readFailed_; }
    const char* path() const { return path_.c_str(); }

    // Size of the file at path in bytes, or -1 when it cannot be queried.
    static int64_t sizeOf(const char* path);

private:
    static constexpr size_t kWindowBytes = 64 * 1024;

    size_t readDirect(int64_t offset, size_t size, uint8_t* buffer) const;
    bool fillWindow(int64_t offset) const;

    int fd_ = -1;
    std::string path_;
    mutable bool readFailed_ = false;
    mutable int64_t nextOffset_ = -1;  // where the last read ended
    mutable std::unique_ptr<uint8_t[]> window_;
    mutable int64_t windowStart_ = 0;
    mutable size_t windowBytes_ = 0;  // 0: the window holds nothing
};

}  // namespace lumadisc
