// A disc described as extents: the description every image kind fills, and the three readers the
// reader front binds for any such kind. The track table, the sectors and the generated subchannel
// are all read from the one extent table, whatever the image kind.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disc/extent_table.h"
#include "disc/reader_interfaces.h"
#include "disc/track_table.h"
#include "formats/extent_data.h"

namespace lumadisc {

struct DiscDescription {
    ExtentTable extents;
    bool alwaysData = false;  // the disc counts as a data disc whatever its first track is
};

// Fills the description from the image at path; 0, or -1 after the kind's own log line.
using DescribeDisc = int (*)(const char* path, DiscDescription& disc);

// The data file of a disc described by track rows: where its sectors lie, and how many it holds.
struct TrackRowsFile {
    std::string path;
    int32_t stride = kRawSectorSize;
    SubForm subForm = SubForm::kNone;  // where the file keeps each sector's subchannel
    int32_t subOffset = 0;
    // Where each track's INDEX 00 gap begins (track n at n - 1), when the description says; a track
    // without a gap has its own start there.
    std::vector<Lba> gapStarts;
};

// Lays track rows (row 0 the lead-out, track n row n) out as extents of one file: track n spans its
// gap (index 0) and its start (index 1) up to the next track's gap (the last one up to the lead-out),
// sector k of the disc lying at byte k x stride of the file. Data rows are raw data sectors, audio rows
// audio. Returns "" or the reason the rows describe no disc: tracks that do not rise, a gap outside its
// place, or a lead-out that is not after the last track.
// A file shorter than the rows describe is named in a warning with the sectors it lacks.
std::string describeTrackRows(const TrackTable& rows, const TrackRowsFile& file, ExtentTable& extents);
// The same into a disc description; 0, or -1 after the log line naming the description and the reason.
int describeRowsOrRefuse(const char* path, const TrackTable& rows, const TrackRowsFile& file, DiscDescription& disc);

class CCdExtentToc final : public CCdVirtualToc {
public:
    // The kind whose description the next open reads.
    void bind(DescribeDisc describe) { describe_ = describe; }
    int open(const char* path) override;
    void close() override;
    int getDiscType() override { return table_.getDiscType(disc_.alwaysData); }
    int getTN(uint8_t* buffer) override { return table_.getTN(buffer); }
    int getTD(uint8_t track, uint8_t* buffer) override { return table_.getTD(track, buffer); }
    const ExtentTable& extents() const { return disc_.extents; }

private:
    DescribeDisc describe_ = nullptr;
    DiscDescription disc_;
    TrackTable table_;
};

extern CCdExtentToc g_extentToc;
extern CCdExtentData g_extentData;
extern CCdExtentSub g_extentSub;

}  // namespace lumadisc
