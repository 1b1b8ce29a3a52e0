#include "disc/auto_sub.h"

#include "disc/cd_utility.h"

#include <cstring>

namespace lumadisc {

CCdAutoSub g_autoSub;

namespace {

// A time of 100 minutes and more goes through the BCD rule as it is (100 gives 0xA0, the minute cut
// to 8 bits first). A time before the disc's start counts back from 100 minutes (Lba -151 is
// absolute 99:59:74), as a drive's lead-in does, instead of showing negative digits.
void writeBcdTime(int64_t frames, uint8_t* out) {
    constexpr int64_t kHundredMinutes = 100LL * kFramesPerMinute;
    if (frames < 0) frames = (frames % kHundredMinutes + kHundredMinutes) % kHundredMinutes;
    const Msf msf = bcdMsf(msfFromFrames(frames));
    out[0] = msf.minute;
    out[1] = msf.second;
    out[2] = msf.frame;
}

}  // namespace

void generateSubchannel(Lba lba, uint8_t* block) {
    std::memset(block, 0, kSubchannelSize);
    uint8_t* q = block + kSubchannelQOffset;
    q[0] = 0x41;
    q[1] = 0x01;
    q[2] = 0x01;
    writeBcdTime(lba, q + 3);
    writeBcdTime(static_cast<int64_t>(lba) + kLeadInFrames, q + 7);
    writeQCrc(q);
}

}  // namespace lumadisc
