#include "disc/cd_utility.h"

#include <array>
#include <cstring>

namespace lumadisc {

namespace {

struct Tables {
    std::array<uint16_t, 256> qCrc{};
    std::array<uint32_t, 256> edc{};
    std::array<uint8_t, 256> multiplyByTwo{};  // GF(2^8) with x^8+x^4+x^3+x^2+1
    std::array<uint8_t, 256> divideByThree{};  // inverse of (x -> x * 3)

    Tables() {
        for (uint32_t i = 0; i < 256; ++i) {
            uint16_t q = static_cast<uint16_t>(i << 8);
            for (int bit = 0; bit < 8; ++bit) q = static_cast<uint16_t>((q & 0x8000) ? (q << 1) ^ 0x1021 : q << 1);
            qCrc[i] = q;
            uint32_t crc = i;
            for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) ? 0xD8018001u : 0u);
            edc[i] = crc;
            const uint32_t doubled = (i << 1) ^ ((i & 0x80) ? 0x11Du : 0u);
            multiplyByTwo[i] = static_cast<uint8_t>(doubled);
            divideByThree[i ^ doubled] = static_cast<uint8_t>(i);
        }
    }
};

const Tables& tables() {
    static const Tables instance;
    return instance;
}

// One parity family (P or Q) of the product code over the 2340 bytes from the header on: `majorCount`
// code words of `minorCount` bytes; word w starts at (w / 2) * majorStep + (w % 2) and advances by
// `minorStep` modulo the family's size; its two parity bytes go to parity[w] and parity[w + majorCount].
void computeParity(const uint8_t* source, int majorCount, int minorCount, int majorStep, int minorStep,
                   uint8_t* parity) {
    const Tables& t = tables();
    const int size = majorCount * minorCount;
    for (int major = 0; major < majorCount; ++major) {
        int index = (major >> 1) * majorStep + (major & 1);
        uint8_t a = 0;
        uint8_t b = 0;
        for (int minor = 0; minor < minorCount; ++minor) {
            const uint8_t value = source[index];
            index += minorStep;
            if (index >= size) index -= size;
            a = t.multiplyByTwo[a ^ value];
            b ^= value;
        }
        a = t.divideByThree[t.multiplyByTwo[a] ^ b];
        parity[major] = a;
        parity[major + majorCount] = static_cast<uint8_t>(a ^ b);
    }
}

void fillEcc(uint8_t* sector) {
    computeParity(sector + kSectorHeaderOffset, 86, 24, 2, 86, sector + 2076);   // P: 172 bytes
    computeParity(sector + kSectorHeaderOffset, 52, 43, 86, 88, sector + 2248);  // Q: 104 bytes
}

// Mode 2 parity is computed with the four header bytes taken as zero.
void fillMode2Ecc(uint8_t* sector) {
    uint8_t header[4];
    std::memcpy(header, sector + kSectorHeaderOffset, 4);
    std::memset(sector + kSectorHeaderOffset, 0, 4);
    fillEcc(sector);
    std::memcpy(sector + kSectorHeaderOffset, header, 4);
}

}  // namespace

bool sectorHasSync(const uint8_t* sector) { return std::memcmp(sector, kSectorSync, kSyncSize) == 0; }

void writeSectorHeader(uint8_t* sector, Lba lba, uint8_t mode) {
    std::memcpy(sector, kSectorSync, kSyncSize);
    const Msf msf = bcdMsf(msfFromLba(lba));
    sector[kSectorHeaderOffset] = msf.minute;
    sector[kSectorHeaderOffset + 1] = msf.second;
    sector[kSectorHeaderOffset + 2] = msf.frame;
    sector[kSectorModeOffset] = mode;
}

void writeSubheader(uint8_t* sector, uint8_t file, uint8_t channel, uint8_t submode, uint8_t coding) {
    for (int copy = 0; copy < 2; ++copy) {
        uint8_t* out = sector + kSubheaderOffset + 4 * copy;
        out[0] = file;
        out[1] = channel;
        out[2] = submode;
        out[3] = coding;
    }
}

void deinterleaveSubchannel(const uint8_t* raw, uint8_t* block) {
    std::memset(block, 0, kSubchannelSize);
    for (int i = 0; i < kSubchannelSize; ++i) {
        for (int channel = 0; channel < 8; ++channel) {
            if (raw[i] & (0x80 >> channel)) block[channel * 12 + i / 8] |= static_cast<uint8_t>(0x80 >> (i % 8));
        }
    }
}

uint16_t crc16Ccitt(const uint8_t* data, size_t size, uint16_t initial) {
    const Tables& t = tables();
    uint16_t crc = initial;
    for (size_t i = 0; i < size; ++i) crc = static_cast<uint16_t>((crc << 8) ^ t.qCrc[((crc >> 8) ^ data[i]) & 0xFF]);
    return crc;
}

uint16_t qCrc(const uint8_t* data, int length) {
    return static_cast<uint16_t>(~crc16Ccitt(data, static_cast<size_t>(length), 0));
}

bool qCrcValid(const uint8_t* q) { return readBe16(q + 10) == qCrc(q, 10); }

void writeQCrc(uint8_t* q) { writeBe16(q + 10, qCrc(q, 10)); }

namespace {

// A time of 100 minutes and more goes through the BCD rule as it is (100 gives 0xA0, the minute cut
// to 8 bits first).
void writeBcdTime(int64_t frames, uint8_t* out) {
    constexpr int64_t kHundredMinutes = 100LL * kFramesPerMinute;
    if (frames < 0) frames = (frames % kHundredMinutes + kHundredMinutes) % kHundredMinutes;
    const Msf msf = bcdMsf(msfFromFrames(frames));
    out[0] = msf.minute;
    out[1] = msf.second;
    out[2] = msf.frame;
}

}  // namespace

void writeQBlock(uint8_t* block, uint8_t control, uint8_t trackBcd, uint8_t indexBcd, int64_t relativeFrames,
                 int64_t absoluteFrames) {
    std::memset(block, 0, kSubchannelSize);
    uint8_t* q = block + kSubchannelQOffset;
    q[0] = static_cast<uint8_t>((control << 4) | 0x01);
    q[1] = trackBcd;
    q[2] = indexBcd;
    writeBcdTime(relativeFrames, q + 3);
    writeBcdTime(absoluteFrames, q + 7);
    writeQCrc(q);
}

uint32_t computeEdc(const uint8_t* data, size_t size) {
    const Tables& t = tables();
    uint32_t crc = 0;
    for (size_t i = 0; i < size; ++i) crc = (crc >> 8) ^ t.edc[(crc ^ data[i]) & 0xFF];
    return crc;
}

void fillMode1EdcEcc(uint8_t* sector) {
    writeLe32(sector + 2064, computeEdc(sector, 2064));
    std::memset(sector + 2068, 0, 8);
    fillEcc(sector);
}

void fillForm1EdcEcc(uint8_t* sector) {
    writeLe32(sector + 2072, computeEdc(sector + kSubheaderOffset, 2056));
    fillMode2Ecc(sector);
}

void fillForm2Edc(uint8_t* sector) {
    writeLe32(sector + 2348, computeEdc(sector + kSubheaderOffset, 2332));
}

void completeMode1Sector(uint8_t* sector, Lba lba) {
    writeSectorHeader(sector, lba, 1);
    fillMode1EdcEcc(sector);
}

void completeMode2Sector(uint8_t* sector, Lba lba) {
    constexpr uint8_t kSubmodeForm2 = 0x20;
    writeSectorHeader(sector, lba, 2);
    if (sector[kSubheaderOffset + 2] & kSubmodeForm2) {
        fillForm2Edc(sector);
    } else {
        fillForm1EdcEcc(sector);
    }
}

void restoreSyncAndEcc(uint8_t* sector) {
    std::memcpy(sector, kSectorSync, kSyncSize);
    if (sector[kSectorModeOffset] == 2) fillMode2Ecc(sector);
    else fillEcc(sector);
}

}  // namespace lumadisc
