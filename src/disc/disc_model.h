// The vocabulary of every disc source: addresses, track rows, sector and subchannel layouts, kinds.
#pragma once

#include <cstdint>

#include "cd_utility.h"  // by its own folder, for readers outside src/

namespace lumadisc {

using RawSector = uint8_t[kRawSectorSize];
using SubchannelBlock = uint8_t[kSubchannelSize];

enum TrackType : int32_t { kTrackData = 1, kTrackAudio = 2 };

// One row of a track table; row 0 is the lead-out placeholder, track n is row n.
struct TrackEntry {
    int32_t type = kTrackData;
    Lba start = 0;
};

enum DiscType : int32_t {
    kDiscUnknown = -1,
    kDiscNone = 0,
    kDiscExecutable = 2,
    kDiscDrive = 3,
    kDiscCue = 4,
    kDiscCcd = 5,
    kDiscMds = 6,
    kDiscToc = 7,
    kDiscChd = 8,  // compressed hunks image
};

}  // namespace lumadisc
