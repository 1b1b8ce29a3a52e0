// The track table every table-based kind keeps, and the three queries they answer alike.
// Row 0 holds the lead-out (the first sector after the last track); track n is row n.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "disc/disc_model.h"

namespace lumadisc {

class TrackTable {
public:
    void clear() { rows_.clear(); }
    void append(int32_t type, Lba start) { rows_.push_back(TrackEntry{type, start}); }
    // Row 0: the lead-out of a data file of fileSize bytes in sectors of `stride` bytes
    // (0 when the size is unknown).
    void appendLeadOut(int64_t fileSize, int32_t stride);
    int rows() const { return static_cast<int>(rows_.size()); }
    const TrackEntry& row(int index) const { return rows_[static_cast<size_t>(index)]; }

    // -1 without a track; otherwise 1 when `alwaysData`, else the type of track 1.
    int getDiscType(bool alwaysData) const;
    int getTN(uint8_t* buffer) const;
    int getTD(uint8_t track, uint8_t* buffer) const;

private:
    std::vector<TrackEntry> rows_;
};

}  // namespace lumadisc
