// CD arithmetic, in one place for every folder: addresses (Msf, Lba, BCD), the raw sector's layout
// (sync, header, subheader, user data), little-endian fields, the Q subchannel CRC, EDC and ECC.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

// Signed sector index: 0 is the sector at absolute time 00:02:00 and sector 0 of an image file.
using Lba = int32_t;

constexpr int kFramesPerSecond = 75;
constexpr int kSecondsPerMinute = 60;
constexpr int kFramesPerMinute = kFramesPerSecond * kSecondsPerMinute;
constexpr int kLeadInFrames = 150;  // the two seconds ahead of Lba 0

// The raw 2352-byte sector: sync, header (BCD minute, second, frame, mode), then for Mode 1 the user
// data; for Mode 2 (CD-ROM XA) the subheader twice and the user data of Form 1 or Form 2.
constexpr int kRawSectorSize = 2352;
constexpr int kSyncSize = 12;
constexpr int kSectorHeaderOffset = 12;
constexpr int kSectorModeOffset = 15;
constexpr int kSubheaderOffset = 16;
constexpr int kMode1DataOffset = 16;
constexpr int kMode2DataOffset = 24;
constexpr int kForm1UserSize = 2048;
constexpr int kForm2UserSize = 2324;
constexpr int kMode2UserSize = 2336;  // subheader and everything after it

constexpr int kSubchannelSize = 96;
constexpr int kSubchannelQOffset = 12;

// The sync pattern that opens every data sector.
inline constexpr uint8_t kSectorSync[kSyncSize] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                  0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};

// Minute, second, frame in that order; binary or BCD depending on the boundary it crosses.
struct Msf {
    uint8_t minute = 0;
    uint8_t second = 0;
    uint8_t frame = 0;
};

// The value is cut to 8 bits first, and values of 100 and more are not range-checked.
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
inline Lba lbaFromBcdMsf(const uint8_t* bcd) {
    return lbaFromMsf(binaryFromBcd(bcd[0]), binaryFromBcd(bcd[1]), binaryFromBcd(bcd[2]));
}

// Splits a frame count into minute, second, frame (binary); the minute is cut to 8 bits.
inline Msf msfFromFrames(int64_t frames) {
    Msf msf;
    msf.minute = static_cast<uint8_t>(frames / kFramesPerMinute);
    msf.second = static_cast<uint8_t>((frames / kFramesPerSecond) % kSecondsPerMinute);
    msf.frame = static_cast<uint8_t>(frames % kFramesPerSecond);
    return msf;
}
// Absolute time of an Lba (binary).
inline Msf msfFromLba(Lba lba) { return msfFromFrames(static_cast<int64_t>(lba) + kLeadInFrames); }
inline Msf bcdMsf(const Msf& binary) {
    return Msf{bcdFromBinary(binary.minute), bcdFromBinary(binary.second), bcdFromBinary(binary.frame)};
}

// Little-endian and big-endian fields of image files and on-disc structures.
inline uint16_t readLe16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
inline uint32_t readLe32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
           (static_cast<uint32_t>(p[3]) << 24);
}
inline uint64_t readLe64(const uint8_t* p) {
    return static_cast<uint64_t>(readLe32(p)) | (static_cast<uint64_t>(readLe32(p + 4)) << 32);
}
inline uint16_t readBe16(const uint8_t* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t readBe32(const uint8_t* p) {
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | static_cast<uint32_t>(p[3]);
}
inline uint64_t readBe64(const uint8_t* p) {
    return (static_cast<uint64_t>(readBe32(p)) << 32) | static_cast<uint64_t>(readBe32(p + 4));
}
inline void writeLe16(uint8_t* p, uint32_t value) {
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>(value >> 8);
}
inline void writeLe32(uint8_t* p, uint32_t value) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(value >> (8 * i));
}
inline void writeBe16(uint8_t* p, uint32_t value) {
    p[0] = static_cast<uint8_t>(value >> 8);
    p[1] = static_cast<uint8_t>(value);
}
inline void writeBe32(uint8_t* p, uint32_t value) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(value >> (8 * (3 - i)));
}

// Whether a raw sector opens with the sync pattern (a data sector, not CD audio).
bool sectorHasSync(const uint8_t* sector);
// Sync, then the BCD minute/second/frame of lba + 150 and the mode byte (bytes 0..15).
void writeSectorHeader(uint8_t* sector, Lba lba, uint8_t mode);
// The Mode 2 subheader (file, channel, submode, coding), stored twice at bytes 16..23.
void writeSubheader(uint8_t* sector, uint8_t file, uint8_t channel, uint8_t submode, uint8_t coding);

// A 96-byte subchannel block as a drive reads it raw (byte i carries bit i of every channel, P in
// bit 7 down to W in bit 0) turned into the de-interleaved SubchannelBlock (P bytes 0..11, Q 12..23, ...).
void deinterleaveSubchannel(const uint8_t* raw, uint8_t* block);

// The rest of a sector whose user data (and, for Mode 2, subheader) are in place: sync and header of
// lba, then Mode 1's EDC/ECC, or Mode 2's by the subheader's form bit (Form 2: EDC only).
void completeMode1Sector(uint8_t* sector, Lba lba);
void completeMode2Sector(uint8_t* sector, Lba lba);

// CRC-16 with the polynomial 0x1021, MSB first, from `initial`, without a final inversion (the
// family of the Q CRC; compressed images check their map and hunks with it from 0xFFFF).
uint16_t crc16Ccitt(const uint8_t* data, size_t size, uint16_t initial);
// CRC of the Q subchannel: CRC-16, polynomial 0x1021, initial value 0, MSB first, then inverted.
uint16_t qCrc(const uint8_t* data, int length);
// True when Q bytes 10 and 11 hold the CRC of Q bytes 0..9 (high byte first).
bool qCrcValid(const uint8_t* q);
// Stores the CRC of Q bytes 0..9 in bytes 10 and 11.
void writeQCrc(uint8_t* q);
// The one writer of generated subchannel blocks: all 96 bytes zero but Q, which gets control (high
// nibble) with ADR 1, the track and index as given (BCD, or 0xAA for the lead-out), relative and
// absolute time from frame counts, and its CRC. A time below zero counts back from 100 minutes
// (frame -1 is 99:59:74), as a drive's lead-in does.
void writeQBlock(uint8_t* block, uint8_t control, uint8_t trackBcd, uint8_t indexBcd, int64_t relativeFrames,
                 int64_t absoluteFrames);

// EDC: CRC-32 with the reflected polynomial 0xD8018001, initial value 0, no final xor.
uint32_t computeEdc(const uint8_t* data, size_t size);
// Mode 1: EDC over bytes 0..2063 at 2064, zeros at 2068..2075, P and Q parity over the header on.
void fillMode1EdcEcc(uint8_t* sector);
// Mode 2 Form 1: EDC over subheader and user data at 2072, then P and Q parity computed with the four
// header bytes taken as zero.
void fillForm1EdcEcc(uint8_t* sector);
// Mode 2 Form 2: EDC over subheader and the 2324 user bytes at 2348.
void fillForm2Edc(uint8_t* sector);
// Writes the sync pattern and recomputes only the P and Q parity, leaving header, data and EDC as
// they are (Mode 2 sectors with their header taken as zero): restores a sector stored without them.
void restoreSyncAndEcc(uint8_t* sector);

}  // namespace lumadisc
