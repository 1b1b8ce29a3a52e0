// The table of contents of every kind that keeps a track table: the three queries answered from the
// table alike. A kind only builds the table in its open().
#pragma once

#include "disc/reader_interfaces.h"
#include "disc/track_table.h"

namespace lumadisc {

class CCdTableToc : public CCdVirtualToc {
public:
    void close() override {}
    int getDiscType() override { return table_.getDiscType(alwaysData_); }
    int getTN(uint8_t* buffer) override { return table_.getTN(buffer); }
    int getTD(uint8_t track, uint8_t* buffer) override { return table_.getTD(track, buffer); }

protected:
    // alwaysData: the disc counts as a data disc whatever its first track is.
    explicit CCdTableToc(bool alwaysData) : alwaysData_(alwaysData) {}
    ~CCdTableToc() = default;

    TrackTable table_;

private:
    const bool alwaysData_;
};

}  // namespace lumadisc
