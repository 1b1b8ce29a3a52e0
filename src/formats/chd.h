// Compressed CD images (".chd", signature "MComprHD"): the whole disc in one file of compressed
// hunks, its track list in the file's metadata. The three readers share the one open image.
#pragma once

#include "disc/reader_interfaces.h"
#include "disc/table_toc.h"
#include "formats/chd_image.h"

namespace lumadisc {

// The image the three readers below share.
extern ChdImage g_chdImage;

class CCdChdToc final : public CCdTableToc {
public:
    CCdChdToc() : CCdTableToc(false) {}
    // Opens the image at the configured path and builds the track table; row 0 is the lead-out.
    int open(const char* path) override;
};

class CCdChdData final : public CCdVirtualData {
public:
    int open(const char* path) override;
    // Closes the shared image.
    void close() override;
    int read(Lba lba, uint8_t* sector) override { return g_chdImage.readSector(lba, sector); }
};

// The subchannel data stored in the image. It opens only when the image stores some; sectors
// without a valid stored Q channel keep the generated block.
class CCdChdSub final : public CCdVirtualSub {
public:
    int open(const char*) override { return g_chdImage.isOpen() && g_chdImage.hasSubchannel() ? 0 : -1; }
    void close() override {}
    int read(Lba lba, uint8_t* block) override {
        g_chdImage.readSubchannel(lba, block);
        return 0;
    }
};

extern CCdChdToc g_chdToc;
extern CCdChdData g_chdData;
extern CCdChdSub g_chdSub;

}  // namespace lumadisc
