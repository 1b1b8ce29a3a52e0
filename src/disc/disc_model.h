// The vocabulary of every disc source: addresses, track rows, sector and subchannel layouts, kinds.
#pragma once

#include <cstdint>

namespace lumadisc {

// Signed sector index: 0 is the sector at absolute time 00:02:00 and sector 0 of an image file.
using Lba = int32_t;

constexpr int kFramesPerSecond = 75;
constexpr int kSecondsPerMinute = 60;
constexpr int kFramesPerMinute = kFramesPerSecond * kSecondsPerMinute;
constexpr int kLeadInFrames = 150;  // the two seconds ahead of Lba 0

constexpr int kRawSectorSize = 2352;
constexpr int kSubchannelSize = 96;
constexpr int kSubchannelQOffset = 12;

using RawSector = uint8_t[kRawSectorSize];
using SubchannelBlock = uint8_t[kSubchannelSize];

// Minute, second, frame in that order; binary or BCD depending on the boundary it crosses.
struct Msf {
    uint8_t minute = 0;
    uint8_t second = 0;
    uint8_t frame = 0;
};

inline uint8_t bcdFromBinary(int value) {
    const uint8_t v = static_cast<uint8_t>(value);
    return static_cast<uint8_t>(((v / 10) << 4) | (v % 10));
}
inline int binaryFromBcd(uint8_t bcd) { return (bcd >> 4) * 10 + (bcd & 0x0F); }

// Binary Msf to Lba; times below 00:02:00 give negative values.
inline Lba lbaFromMsf(int minute, int second, int frame) {
    return (minute * kSecondsPerMinute + second) * kFramesPerSecond + frame - kLeadInFrames;
}
inline Lba lbaFromMsf(const Msf& msf) { return lbaFromMsf(msf.minute, msf.second, msf.frame); }

// Splits a frame count into minute, second, frame (binary).
inline Msf msfFromFrames(int32_t frames) {
    Msf msf;
    msf.minute = static_cast<uint8_t>(frames / kFramesPerMinute);
    msf.second = static_cast<uint8_t>((frames / kFramesPerSecond) % kSecondsPerMinute);
    msf.frame = static_cast<uint8_t>(frames % kFramesPerSecond);
    return msf;
}
// Absolute time of an Lba (binary).
inline Msf msfFromLba(Lba lba) { return msfFromFrames(lba + kLeadInFrames); }
inline Msf bcdMsf(const Msf& binary) {
    return Msf{bcdFromBinary(binary.minute), bcdFromBinary(binary.second), bcdFromBinary(binary.frame)};
}

enum TrackType : int32_t { kTrackData = 1, kTrackAudio = 2 };

// One row of a track table; row 0 is the lead-out placeholder, track n is row n.
struct TrackEntry {
    int32_t type = kTrackData;
    Lba start = 0;
};

enum DiscType : int32_t {
    kDiscUnknown = -1,
    kDiscNone = 0,
    kDiscExecutable = 2,
    kDiscDrive = 3,
    kDiscCue = 4,
    kDiscCcd = 5,
    kDiscMds = 6,
    kDiscToc = 7,
};

// The sync pattern that opens every data sector.
inline constexpr uint8_t kSectorSync[12] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                           0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};

}  // namespace lumadisc
