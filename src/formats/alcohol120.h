// MDS/MDF images: a ".mds" descriptor of fixed-layout records and a ".mdf" data file of 2352-byte
// sectors (or 2448, each followed by its subchannel). The descriptor gives the track count (byte 110)
// and, in records 80 bytes apart from byte 360, each track's mode (record byte 0), subchannel mode
// (byte 1), start as a binary minute, second, frame (bytes 9..11) and sector size (bytes 16..17).
#pragma once

#include <cstddef>
#include <cstdint>

#include "disc/track_table.h"
#include "formats/extent_disc.h"

namespace lumadisc {

enum class MdsParse { kOk, kUnsupported, kTruncated };

// The descriptor bytes that the reader needs: it never looks beyond this prefix of the file (the
// sector size field of the 99th track record is the last).
constexpr size_t kMdsDescriptorSpan = 376 + 80 * 98 + 2;

// What a track record says of the data file besides the track's start: its sector size (2352, or
// 2448 with each sector's subchannel after it) and whether that subchannel is there (mode 0x08).
struct MdsDataLayout {
    int32_t stride = 2352;
    bool subchannel = false;
};

// Appends one row per track (start from the track's position; audio when its record's mode byte is
// 0xA9, data otherwise) to table, row 0 not touched. kUnsupported for a count of 0 or above 99,
// kTruncated when a position lies beyond the bytes given; the table is then left as it was. layout,
// when given, receives the data file's layout from track 1's record.
MdsParse mdsParseDescriptor(const uint8_t* bytes, size_t size, TrackTable& table, MdsDataLayout* layout = nullptr);

// Describes the descriptor at path and its ".mdf" (2352-byte sectors); a data disc whatever its
// tracks. 0, or -1 after its log line.
int describeMds(const char* path, DiscDescription& disc);

}  // namespace lumadisc
