// MDS/MDF images: a ".mds" descriptor of fixed-layout records and a ".mdf" data file of 2352-byte
// sectors. The descriptor gives the track count (byte 110) and, in records 80 bytes apart, each
// track's start as a binary minute, second, frame (three bytes at 369 + 80 * i for track i + 1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "disc/track_table.h"
#include "formats/extent_disc.h"

namespace lumadisc {

enum class MdsParse { kOk, kUnsupported, kTruncated };

// The descriptor bytes that the reader needs: it never looks beyond this prefix of the file.
constexpr size_t kMdsDescriptorSpan = 369 + 80 * 98 + 3;

// Appends one row per track (type 1, start from the track's position) to table, row 0 not touched.
// kUnsupported for a count of 0 or above 99, kTruncated when a field lies beyond the bytes given;
// the table is then left as it was.
MdsParse mdsParseDescriptor(const uint8_t* bytes, size_t size, TrackTable& table);

// Describes the descriptor at path and its ".mdf" (2352-byte sectors); a data disc whatever its
// tracks. 0, or -1 after its log line.
int describeMds(const char* path, DiscDescription& disc);

}  // namespace lumadisc
