// An open compressed CD image as the disc's readers see it: its tracks on the disc, and every
// sector and stored subchannel block by disc address, decoded through a small hunk cache.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disc/disc_model.h"
#include "formats/chd_file.h"
#include "formats/chd_hunk_cache.h"
#include "formats/chd_tracks.h"

namespace lumadisc {

class ChdImage {
public:
    // False with a reason when the file or its track list is unusable.
    bool open(const char* path, std::string* reason);
    void close();
    bool isOpen() const { return file_.isOpen(); }

    const std::vector<ChdTrack>& tracks() const { return tracks_; }
    // The first sector after the last track.
    Lba leadOut() const { return tracks_.empty() ? 0 : tracks_.back().end; }
    // Whether any track stores raw subchannel data.
    bool hasSubchannel() const;
    int cacheCapacity() const { return cache_.capacity(); }

    // The raw sector at lba: 0 on success or for a position outside the tracks (buffer untouched),
    // -1 with a log line when its hunk cannot be read.
    int readSector(Lba lba, uint8_t* sector);
    // The stored subchannel block at lba, de-interleaved, when it carries a valid Q channel;
    // false (block untouched) otherwise.
    bool readSubchannel(Lba lba, uint8_t* block);

private:
    const ChdTrack* trackAt(Lba lba) const;
    // The stored frame (2448 bytes) of lba within `track`, or null with *failed set when its hunk
    // cannot be read; null without failure when lba is in an unstored gap.
    const uint8_t* frameAt(const ChdTrack& track, Lba lba, bool* failed);

    ChdFile file_;
    std::vector<ChdTrack> tracks_;
    ChdHunkCache cache_;
};

}  // namespace lumadisc
