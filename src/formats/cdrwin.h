// CUE sheet images: the track table from the sheet's INDEX 01 lines, sectors from the sheet's
// path with ".bin", 2352 bytes each.
#pragma once

#include <string>
#include <vector>

#include "disc/reader_interfaces.h"
#include "disc/table_toc.h"
#include "formats/companion_file.h"

namespace lumadisc {

// Splits sheet text into tokens; an empty token ends each line.
std::vector<std::string> cueTokenize(const std::string& text);
// Builds the track rows of a tokenized sheet (row 0 is not touched).
void cueBuildTable(const std::vector<std::string>& tokens, TrackTable& table);

class CCdCdrwinToc final : public CCdTableToc {
public:
    CCdCdrwinToc() : CCdTableToc(false) {}
    int open(const char* path) override;
};

class CCdCdrwinData final : public CCdSectorFileData {
public:
    CCdCdrwinData() : CCdSectorFileData(".bin", kRawSectorSize, "[CDR] Error: data file not opened (%s).\n") {}
};

// The kind's own subchannel: the generated block.
class CCdCdrwinSub final : public CCdVirtualSub {
public:
    int open(const char*) override { return 0; }
    void close() override {}
    int read(Lba lba, uint8_t* block) override;
};

extern CCdCdrwinToc g_cdrwinToc;
extern CCdCdrwinData g_cdrwinData;
extern CCdCdrwinSub g_cdrwinSub;

}  // namespace lumadisc
