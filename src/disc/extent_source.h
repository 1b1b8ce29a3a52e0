// Where the bytes of an extent come from: an image file, a decoded sound file, the hunks of a
// compressed image. The extent reader sees every source as a run of bytes read at an offset.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

class ExtentSource {
public:
    virtual ~ExtentSource() = default;
    // Reads up to size bytes at offset into out; returns the bytes read (fewer past the end, where
    // out is not touched).
    virtual size_t readAt(int64_t offset, size_t size, uint8_t* out) = 0;
    // Whether the last read met an I/O error (logged by the source with its name and the error).
    virtual bool readFailed() const = 0;
    // The file it reads, for log lines.
    virtual const char* name() const = 0;
};

}  // namespace lumadisc
