#include "disc/auto_sub.h"

#include "disc/cd_utility.h"
#include "disc/extent_table.h"

namespace lumadisc {

CCdAutoSub g_autoSub;

void generateSubchannel(Lba lba, uint8_t* block) {
    writeQBlock(block, kControlData, 0x01, 0x01, lba, static_cast<int64_t>(lba) + kLeadInFrames);
}

}  // namespace lumadisc
