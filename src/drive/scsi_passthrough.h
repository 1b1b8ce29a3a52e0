// The one thing the drive logic needs from the operating system: find out whether a path is an
// optical drive, open it, run a 12-byte command block on it with a buffer, a direction and a
// time-out, and close it. The Linux implementation is the default; tests install a fake.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

constexpr int kCommandBlockSize = 12;

enum class ScsiDirection { kNone, kFromDevice, kToDevice };

// Sense key, additional sense code and its qualifier of a failed command; all zero when the drive
// returned no sense data.
struct SenseCodes {
    uint8_t key = 0;
    uint8_t asc = 0;
    uint8_t ascq = 0;
};

class ScsiPassthrough {
public:
    virtual ~ScsiPassthrough() = default;
    // True when the path opens without blocking as a block or character device that answers the
    // optical-drive capability query.
    virtual bool isOpticalDrive(const char* path) = 0;
    // Opens the drive for reading and writing, shared with other users, or read-only where writing
    // is refused (*readOnly tells which). A handle >= 0, or -1.
    virtual int open(const char* path, bool* readOnly) = 0;
    // Runs one command. 0 on success; -1 on failure with *sense filled (zeros when none came back).
    virtual int execute(int handle, const uint8_t* commandBlock, uint8_t* buffer, uint32_t length,
                        ScsiDirection direction, uint32_t timeoutMs, SenseCodes* sense) = 0;
    virtual void close(int handle) = 0;
};

// The pass-through in use: the operating system's, unless a test installed its own.
ScsiPassthrough& scsiPassthrough();
// Installs a replacement (nullptr goes back to the operating system's).
void scsiPassthroughInstall(ScsiPassthrough* replacement);

}  // namespace lumadisc
