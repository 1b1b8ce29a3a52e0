// Full-TOC images: a ".toc" file holding a drive's full table of contents (a four-byte header, then
// 11-byte descriptors) and a ".bin" data file of 2448-byte sectors, 2352 bytes of main channel
// followed by 96 bytes of subchannel.
#pragma once

#include <cstddef>
#include <cstdint>

#include "disc/reader_interfaces.h"
#include "disc/table_toc.h"
#include "formats/companion_file.h"

namespace lumadisc {

constexpr int kFullTocSectorStride = 2448;
constexpr size_t kFullTocHeaderSize = 4;
constexpr size_t kFullTocDescriptorSize = 11;
// The largest file the reader looks at: the header and a data length of 65535 bytes.
constexpr size_t kFullTocMaxSize = 2 + 65535;

enum class FullTocParse { kOk, kTruncated };

// Appends the rows of a full TOC's bytes to table, in descriptor order: a lead-out row for each
// 0xA2 descriptor (row 0 on a one-session disc) and a track row for each POINT 0..99. A data length
// of 12 or less adds nothing. kTruncated, with the table left as it was, when the header or the
// announced descriptors are cut short.
FullTocParse fullTocParse(const uint8_t* bytes, size_t size, TrackTable& table);

class CCdCdrdaoToc final : public CCdTableToc {
public:
    CCdCdrdaoToc() : CCdTableToc(false) {}
    int open(const char* path) override;
    void close() override { file_.close(); }

private:
    ImageFile file_;
};

// The main channel only: the 96 subchannel bytes after each sector are not read.
class CCdCdrdaoData final : public CCdSectorFileData {
public:
    CCdCdrdaoData() : CCdSectorFileData(".bin", kFullTocSectorStride, "Error: data file not opened (%s).\n") {}
};

// Delivers nothing: the reader front keeps its block (a ".sub" file or the generated one).
class CCdCdrdaoSub final : public CCdVirtualSub {
public:
    int open(const char*) override { return 0; }
    void close() override {}
    int read(Lba, uint8_t*) override { return 0; }
};

extern CCdCdrdaoToc g_cdrdaoToc;
extern CCdCdrdaoData g_cdrdaoData;
extern CCdCdrdaoSub g_cdrdaoSub;

}  // namespace lumadisc
