// CUE sheet images: any number of FILE entries (BINARY, MOTOROLA, or sound files), each with its
// tracks in any of the sheet's modes, laid out as an extent table from which the track table, the
// sectors and the generated subchannel are read.
#pragma once

#include "disc/extent_table.h"
#include "disc/reader_interfaces.h"
#include "disc/table_toc.h"
#include "formats/extent_data.h"

namespace lumadisc {

// The largest sheet the reader takes; real sheets are a few kilobytes.
constexpr int64_t kMaxSheetBytes = 1 << 20;

class CCdCdrwinToc final : public CCdTableToc {
public:
    CCdCdrwinToc() : CCdTableToc(false) {}
    int open(const char* path) override;
    const ExtentTable& extents() const { return extents_; }

private:
    ExtentTable extents_;
};

class CCdCdrwinData final : public CCdExtentData {
public:
    CCdCdrwinData();
};

extern CCdCdrwinToc g_cdrwinToc;
extern CCdCdrwinData g_cdrwinData;
extern CCdExtentSub g_cdrwinSub;

}  // namespace lumadisc
