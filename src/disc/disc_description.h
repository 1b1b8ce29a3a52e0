// A disc described as extents: what every disc kind fills (an image parser, the drive, the built-in
// discs), and the layout of a disc that a kind knows only as track rows.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "disc/extent_table.h"
#include "disc/track_table.h"

namespace lumadisc {

struct DiscDescription {
    ExtentTable extents;
    bool alwaysData = false;  // the disc counts as a data disc whatever its first track is
};

// Fills the description from the disc at path; 0, or -1 after the kind's own log line.
using DescribeDisc = int (*)(const char* path, DiscDescription& disc);

// The data of a disc described by track rows: where its sectors lie.
struct TrackRowsFile {
    std::string path;                      // a file the extent reader opens, or
    std::shared_ptr<ExtentSource> source;  // a source the kind has opened (then path is unused)
    int32_t stride = kRawSectorSize;
    SubForm subForm = SubForm::kNone;      // where the data keeps each sector's subchannel
    int32_t subOffset = 0;
    // Where each track's INDEX 00 gap begins (track n at n - 1), when the description says; a track
    // without a gap has its own start there.
    std::vector<Lba> gapStarts;
    int64_t bytes = -1;                    // the file's size, when known
};

// Lays track rows (row 0 the lead-out, track n row n) out as extents of one file: track n spans its
// gap (index 0) and its start (index 1) up to the next track's gap (the last one up to the lead-out),
// sector k of the disc lying at byte k x stride of the file. Data rows are raw data sectors, audio rows
// audio. Returns "" or the reason the rows describe no disc: tracks that do not rise, a gap outside its
// place, or a lead-out that is not after the last track. `missingSectors` receives how many sectors a
// file of known size lacks of what the rows describe.
std::string describeTrackRows(const TrackTable& rows, const TrackRowsFile& file, ExtentTable& extents,
                              int64_t* missingSectors);

}  // namespace lumadisc
