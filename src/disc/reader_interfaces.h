// The three roles through which the reader front drives one disc kind. Every concrete class has
// exactly one static instance; the reader front only switches pointers between them.
#pragma once

#include <cstdint>

#include "disc/disc_model.h"

namespace lumadisc {

// Every role opens with the disc path that the reader front hands it; no reader looks the path up
// itself.
class CCdVirtualToc {
public:
    virtual int open(const char* path) = 0;
    virtual void close() = 0;
    // 1 data disc, 2 audio disc, -1 no track.
    virtual int getDiscType() = 0;
    // First and last track number, binary.
    virtual int getTN(uint8_t* buffer) = 0;
    // Binary absolute minute, second, frame of a track's start; track 0 is row 0.
    virtual int getTD(uint8_t track, uint8_t* buffer) = 0;

protected:
    ~CCdVirtualToc() = default;
};

class CCdVirtualData {
public:
    virtual int open(const char* path) = 0;
    virtual void close() = 0;
    // Fills a RawSector; a negative result is a failed read.
    virtual int read(Lba lba, uint8_t* sector) = 0;

protected:
    ~CCdVirtualData() = default;
};

class CCdVirtualSub {
public:
    virtual int open(const char* path) = 0;
    virtual void close() = 0;
    // Fills a SubchannelBlock; any nonzero result keeps the generated block.
    virtual int read(Lba lba, uint8_t* block) = 0;

protected:
    ~CCdVirtualSub() = default;
};

}  // namespace lumadisc
