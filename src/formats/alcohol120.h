// MDS/MDF images: a ".mds" descriptor of fixed-layout records and a ".mdf" data file of 2352-byte
// sectors. The descriptor gives the track count (byte 110) and, in records 80 bytes apart, each
// track's start as a binary minute, second, frame (three bytes at 369 + 80 * i for track i + 1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "disc/reader_interfaces.h"
#include "disc/table_toc.h"
#include "formats/companion_file.h"

namespace lumadisc {

enum class MdsParse { kOk, kUnsupported, kTruncated };

// The descriptor bytes that the reader needs: it never looks beyond this prefix of the file.
constexpr size_t kMdsDescriptorSpan = 369 + 80 * 98 + 3;

// Appends one row per track (type 1, start from the track's position) to table, row 0 not touched.
// kUnsupported for a count of 0 or above 99, kTruncated when a field lies beyond the bytes given;
// the table is then left as it was.
MdsParse mdsParseDescriptor(const uint8_t* bytes, size_t size, TrackTable& table);

class CCdAlcohol120Toc final : public CCdTableToc {
public:
    CCdAlcohol120Toc() : CCdTableToc(true) {}
    int open(const char* path) override;
};

class CCdAlcohol120Data final : public CCdSectorFileData {
public:
    CCdAlcohol120Data() : CCdSectorFileData(".mdf", kRawSectorSize, "[CDR] Error: data file not opened (%s).\n") {}
};

// Opens the data file a second time but delivers no subchannel: the reader front keeps its block.
class CCdAlcohol120Sub final : public CCdVirtualSub {
public:
    int open(const char* path) override;
    void close() override { file_.close(); }
    int read(Lba, uint8_t*) override { return 0; }

private:
    ImageFile file_;
};

extern CCdAlcohol120Toc g_alcohol120Toc;
extern CCdAlcohol120Data g_alcohol120Data;
extern CCdAlcohol120Sub g_alcohol120Sub;

}  // namespace lumadisc
