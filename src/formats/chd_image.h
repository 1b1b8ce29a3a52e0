// An open compressed CD image as the extent reader sees it: its tracks on the disc, and its frames
// (2352 sector bytes and 96 subchannel bytes each) as one run of bytes, decoded through a small hunk
// cache.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disc/disc_model.h"
#include "disc/extent_source.h"
#include "formats/chd_file.h"
#include "formats/chd_hunk_cache.h"
#include "formats/chd_tracks.h"

namespace lumadisc {

class ChdImage final : public ExtentSource {
public:
    // False with a reason when the file or its track list is unusable.
    bool open(const char* path, std::string* reason);
    void close();
    bool isOpen() const { return file_.isOpen(); }

    const std::vector<ChdTrack>& tracks() const { return tracks_; }
    // The first sector after the last track.
    Lba leadOut() const { return tracks_.empty() ? 0 : tracks_.back().end; }
    int cacheCapacity() const { return cache_.capacity(); }
    // Bytes of the image's frames: frame n of the image at n x 2448. A hunk that cannot be decoded
    // ends the read with a log line naming the disc sector.
    size_t readAt(int64_t offset, size_t size, uint8_t* out) override;
    bool readFailed() const override { return failed_; }
    const char* name() const override { return path_.c_str(); }

private:
    // The decoded frame at image frame index `frame`, or null after the log line.
    const uint8_t* frame(uint64_t frame);
    // The disc sector of an image frame, for log lines.
    Lba sectorOfFrame(uint64_t frame) const;

    ChdFile file_;
    std::vector<ChdTrack> tracks_;
    ChdHunkCache cache_;
    std::string path_;
    bool failed_ = false;
};

// Describes the compressed image at path: each track's stored frames, with the pregaps and postgaps
// it does not store generated (silence, or empty data sectors of the track's mode), and its raw
// subchannel where it stores one. 0, or -1 after the log line.
struct DiscDescription;
int describeChd(const char* path, DiscDescription& disc);

}  // namespace lumadisc
