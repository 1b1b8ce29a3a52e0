// The facade both faces use: the one reader front and the one CD audio player, so that every
// sector read stops CD audio first.
#pragma once

#include <cstdint>

#include "disc/disc_model.h"

namespace lumadisc {

class CCdromControl {
public:
    int init();
    void shutdown();
    int open();
    void close();
    int setLoc(Lba lba);
    Lba getLoc();
    int getDiscType();
    int getTN(uint8_t* buffer);
    int getTD(uint8_t track, uint8_t* buffer);
    // Stops CD audio, then reads the subchannel block and the sector at the current position.
    int readData();
    uint8_t* getDataBuffer();
    // The current subchannel block (while CD audio plays, the one of the sector being played), copied
    // under the reader lock into a block of this facade's own: the host reads it while the streaming
    // thread goes on, and it changes only at the host's next call.
    uint8_t* getSubsBuffer();
    void playCDDA();
    void stopCDDA();
    int isCDDA();

private:
    alignas(16) uint8_t subs_[kSubchannelSize] = {};
};

}  // namespace lumadisc
