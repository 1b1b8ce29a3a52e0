// CUE sheet images: the track table from the sheet's INDEX 01 lines, sectors from the sheet's
// path with ".bin", 2352 bytes each.
#pragma once

#include <string>
#include <vector>

#include "disc/reader_interfaces.h"
#include "disc/track_table.h"
#include "formats/image_file.h"

namespace lumadisc {

// Splits sheet text into tokens; an empty token ends each line.
std::vector<std::string> cueTokenize(const std::string& text);
// Builds the track rows of a tokenized sheet (row 0 is not touched).
void cueBuildTable(const std::vector<std::string>& tokens, TrackTable& table);

class CCdCdrwinToc final : public CCdVirtualToc {
public:
    int open() override;
    void close() override {}
    int getDiscType() override { return table_.getDiscType(false); }
    int getTN(uint8_t* buffer) override { return table_.getTN(buffer); }
    int getTD(uint8_t track, uint8_t* buffer) override { return table_.getTD(track, buffer); }

private:
    TrackTable table_;
};

class CCdCdrwinData final : public CCdVirtualData {
public:
    int open() override;
    void close() override { file_.close(); }
    int read(Lba lba, uint8_t* sector) override;

private:
    ImageFile file_;
};

// The kind's own subchannel: the generated block.
class CCdCdrwinSub final : public CCdVirtualSub {
public:
    int open() override { return 0; }
    void close() override {}
    int read(Lba lba, uint8_t* block) override;
};

extern CCdCdrwinToc g_cdrwinToc;
extern CCdCdrwinData g_cdrwinData;
extern CCdCdrwinSub g_cdrwinSub;

}  // namespace lumadisc
