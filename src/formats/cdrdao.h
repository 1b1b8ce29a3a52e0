// Full-TOC images: a ".toc" file holding a drive's full table of contents (a four-byte header, then
// 11-byte descriptors) and a ".bin" data file of 2448-byte sectors, 2352 bytes of main channel
// followed by 96 bytes of subchannel.
#pragma once

#include <cstddef>
#include <cstdint>

#include "disc/track_table.h"
#include "formats/extent_disc.h"

namespace lumadisc {

constexpr int kFullTocSectorStride = 2448;
constexpr size_t kFullTocHeaderSize = 4;
constexpr size_t kFullTocDescriptorSize = 11;
// The largest file the reader looks at: the header and a data length of 65535 bytes.
constexpr size_t kFullTocMaxSize = 2 + 65535;

enum class FullTocParse { kOk, kTruncated, kNotToc };

// Appends the rows of a full TOC's bytes to table, in descriptor order: a lead-out row for each
// 0xA2 descriptor (row 0 on a one-session disc) and a track row for each POINT 0..99. A data length
// of 12 or less adds nothing. kTruncated, with the table left as it was, when the header or the
// announced descriptors are cut short; kNotToc, likewise, when a track or lead-out descriptor holds
// a time no disc has (a second of 60 or more, a frame of 75 or more, a minute above 99) or track 0.
FullTocParse fullTocParse(const uint8_t* bytes, size_t size, TrackTable& table);

// Describes the full TOC at path and its ".bin" (2448-byte sectors, each followed by its interleaved
// subchannel); 0, or -1 after its log line.
int describeFullToc(const char* path, DiscDescription& disc);

}  // namespace lumadisc
