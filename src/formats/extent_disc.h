// The three readers the reader front binds for any disc described as extents, and the track-row
// layout of image files. The track table, the sectors and the generated subchannel
// are all read from the one extent table, whatever the image kind.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disc/disc_description.h"
#include "disc/extent_table.h"
#include "disc/reader_interfaces.h"
#include "disc/track_table.h"
#include "formats/extent_data.h"

namespace lumadisc {

// Lays track rows out as extents of a data file (describeTrackRows) after checking that the file is
// there; 0, or -1 after the log line naming the description and the reason. A file shorter than the
// rows describe is named in a warning with the sectors it lacks.
int describeRowsOrRefuse(const char* path, const TrackTable& rows, TrackRowsFile file, DiscDescription& disc);

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
