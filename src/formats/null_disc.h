// The empty disc, chosen by the disc path "No CD (bios shell)": it opens, calls itself a data disc
// and has no track and no sector, so the console runs its own firmware shell.
#pragma once

#include "disc/reader_interfaces.h"

namespace lumadisc {

class CCdNullToc final : public CCdVirtualToc {
public:
    int open(const char*) override { return 0; }
    void close() override {}
    int getDiscType() override { return kTrackData; }
    // No track: neither query writes its buffer.
    int getTN(uint8_t*) override { return -1; }
    int getTD(uint8_t, uint8_t*) override { return -1; }
};

class CCdNullData final : public CCdVirtualData {
public:
    int open(const char*) override { return 0; }
    void close() override {}
    int read(Lba, uint8_t*) override { return -1; }
};

class CCdNullSub final : public CCdVirtualSub {
public:
    int open(const char*) override { return 0; }
    void close() override {}
    int read(Lba, uint8_t*) override { return -1; }
};

extern CCdNullToc g_nullToc;
extern CCdNullData g_nullData;
extern CCdNullSub g_nullSub;

}  // namespace lumadisc
