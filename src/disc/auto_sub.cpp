#include "disc/auto_sub.h"

#include "disc/cd_utility.h"

#include <cstring>

namespace lumadisc {

CCdAutoSub g_autoSub;

namespace {

// Positions outside the disc still give a time: the frame count is taken modulo 100 minutes.
void writeBcdTime(int64_t frames, uint8_t* out) {
    constexpr int64_t kHundredMinutes = 100LL * kFramesPerMinute;
    const int32_t wrapped = static_cast<int32_t>(((frames % kHundredMinutes) + kHundredMinutes) % kHundredMinutes);
    const Msf msf = bcdMsf(msfFromFrames(wrapped));
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
    const uint16_t crc = qCrc(q, 10);
    q[10] = static_cast<uint8_t>(crc >> 8);
    q[11] = static_cast<uint8_t>(crc & 0xFF);
}

}  // namespace lumadisc
