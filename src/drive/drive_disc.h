// A physical drive described as extents like any image: its table of contents laid out as track rows,
// its sectors (and, when asked for, their raw subchannel) read through MMC commands as the bytes of a
// source of 2448-byte frames.
#pragma once

#include <cstdint>
#include <string>

#include "disc/disc_description.h"
#include "disc/extent_source.h"
#include "drive/cdrom_drive.h"

namespace lumadisc {

// Frame n of the source is sector n of the disc (2352 bytes) followed by its raw P-W subchannel (96
// bytes). A read of the sector alone is one READ CD without subchannel; a read that reaches the
// subchannel is one READ CD with it, kept so that the sector's own read that follows costs nothing;
// when that command fails, the sector's read that follows fails with it instead of asking the drive
// again (one failed sector, one sense report). The drive is closed with the source.
class DriveSource final : public ExtentSource {
public:
    explicit DriveSource(std::string path) : path_(std::move(path)) {}
    ~DriveSource() override { cdromClose(); }
    DriveSource(const DriveSource&) = delete;
    DriveSource& operator=(const DriveSource&) = delete;
    size_t readAt(int64_t offset, size_t size, uint8_t* out) override;
    bool readFailed() const override { return failed_; }
    const char* name() const override { return path_.c_str(); }

private:
    std::string path_;
    bool failed_ = false;
    int64_t keptFrame_ = -1;      // the frame held in kept_, -1 none
    int64_t failedFrame_ = -1;    // the frame whose subchannel read just failed, -1 none
    bool keptWithSub_ = false;    // whether kept_ holds its subchannel too
    uint8_t kept_[kRawSectorWithSubSize] = {};
};

// Opens the drive at path and describes the disc in it; 0, or -1 when the drive does not open (its
// own log lines say why) or its table of contents describes no disc.
int describeDrive(const char* path, DiscDescription& disc);

}  // namespace lumadisc
