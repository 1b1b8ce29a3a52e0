// Lays a parsed CUE sheet out on the disc as extents: every index of every track in sheet order,
// each reaching to the next index in the same file or to the end of its file, with PREGAP and
// POSTGAP sectors generated between them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "disc/extent_table.h"
#include "formats/cue_sheet.h"

namespace lumadisc {

// A FILE entry found on disk.
struct CueSource {
    std::string path;
    int64_t bytes = 0;  // file size, or decoded size for a sound file
};

// The last sector a disc may hold (99:59:74 less the lead-in).
constexpr Lba kLastDiscSector = 100 * kFramesPerMinute - 1 - kLeadInFrames;

// Fills table from sheet (sources[i] belongs to sheet.files[i]; files no index stands in need no
// source). Returns an empty string or the reason the layout is refused. `missingSectors` receives,
// per file, how many sectors it lacks of what the sheet places in it (0 for most).
std::string cueLayout(const CueSheet& sheet, const std::vector<CueSource>& sources, ExtentTable& table,
                      std::vector<int64_t>* missingSectors);

}  // namespace lumadisc
