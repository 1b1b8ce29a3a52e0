#include "disc/auto_sub.h"

#include "disc/q_crc.h"

#include <cstring>

namespace lumadisc {

CCdAutoSub g_autoSub;

namespace {

void writeBcdTime(int32_t frames, uint8_t* out) {
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
    writeBcdTime(lba + kLeadInFrames, q + 7);
    const uint16_t crc = qCrc(q, 10);
    q[10] = static_cast<uint8_t>(crc >> 8);
    q[11] = static_cast<uint8_t>(crc & 0xFF);
}

}  // namespace lumadisc
