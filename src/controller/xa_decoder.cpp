#include "controller/xa_decoder.h"

namespace lumadisc {

namespace {

constexpr int kCodingByte = 3;      // in the subheader
constexpr int kDataStart = 8;       // the sound groups follow the subheader and its copy
constexpr int kSampleBytes = 16;    // sound parameters ahead of the samples in a group
constexpr int32_t kClipHigh = 0x7FFF0;
constexpr int32_t kClipLow = -0x80000;

// Prediction coefficients in 1/1024, indexed by the parameter byte's filter nibble. The format
// defines filters 0 to 3; the other twelve values predict nothing, as filter 0 does, so a damaged
// parameter byte cannot make the prediction run away.
constexpr int32_t kK0[16] = {0, 960, 1840, 1568};
constexpr int32_t kK1[16] = {0, 0, -832, -880};

struct History {
    int32_t y0;
    int32_t y1;
};

// Two's-complement arithmetic that wraps on overflow (as the history is unclamped, any sector bytes
// can push it to the ends of the 32-bit range).
inline int32_t wrap(uint32_t value) { return static_cast<int32_t>(value); }

// Decodes the 28 samples of one sound unit to out[0], out[step], out[2 * step], ...
void decodeUnit(const uint8_t* group, int unit, History& h, int16_t* out, int step) {
    const uint8_t parameter = group[unit < 4 ? unit : unit + 4];
    const int range = parameter & 0x0F;
    const int filter = parameter >> 4;
    const uint32_t k0 = static_cast<uint32_t>(kK0[filter]);
    const uint32_t k1 = static_cast<uint32_t>(kK1[filter]);
    const int byteInRow = unit >> 1;
    const int nibbleShift = (unit & 1) * 4;
    int32_t y0 = h.y0;
    int32_t y1 = h.y1;
    for (int s = 0; s < kXaSamplesPerUnit; ++s) {
        const uint32_t nibble = (group[kSampleBytes + 4 * s + byteInRow] >> nibbleShift) & 0x0F;
        // The nibble in bits 12-15 of a signed 16-bit value, shifted by the range, times 16.
        const int32_t placed = static_cast<int16_t>(static_cast<uint16_t>(nibble << 12));
        const uint32_t t = static_cast<uint32_t>(placed >> range) << 4;
        const uint32_t sum = 0u - k0 * static_cast<uint32_t>(y0) - k1 * static_cast<uint32_t>(y1);
        const int32_t x = wrap(t - static_cast<uint32_t>(wrap(sum) >> 10));
        y1 = y0;
        y0 = x;
        *out = x < kClipLow ? int16_t{-32768} : x > kClipHigh ? int16_t{32767} : static_cast<int16_t>(x >> 4);
        out += step;
    }
    h.y0 = y0;
    h.y1 = y1;
}

// The left and right units of a stereo pair, decoded together: two independent prediction chains in
// one loop, so that each one's multiply and shift overlap the other's.
void decodePair(const uint8_t* group, int unit, History& left, History& right, int16_t* out) {
    const uint8_t pl = group[unit < 4 ? unit : unit + 4];
    const uint8_t pr = group[unit + 1 < 4 ? unit + 1 : unit + 5];
    const int rangeL = pl & 0x0F, rangeR = pr & 0x0F;
    const uint32_t k0L = static_cast<uint32_t>(kK0[pl >> 4]), k1L = static_cast<uint32_t>(kK1[pl >> 4]);
    const uint32_t k0R = static_cast<uint32_t>(kK0[pr >> 4]), k1R = static_cast<uint32_t>(kK1[pr >> 4]);
    const uint8_t* row = group + kSampleBytes + (unit >> 1);  // unit is even: low nibble left, high right
    int32_t l0 = left.y0, l1 = left.y1, r0 = right.y0, r1 = right.y1;
    for (int s = 0; s < kXaSamplesPerUnit; ++s, out += 2) {
        const uint8_t byte = row[4 * s];
        const int32_t placedL = static_cast<int16_t>(static_cast<uint16_t>((byte & 0x0F) << 12));
        const int32_t placedR = static_cast<int16_t>(static_cast<uint16_t>((byte & 0xF0) << 8));
        const uint32_t tL = static_cast<uint32_t>(placedL >> rangeL) << 4;
        const uint32_t tR = static_cast<uint32_t>(placedR >> rangeR) << 4;
        const uint32_t sumL = 0u - k0L * static_cast<uint32_t>(l0) - k1L * static_cast<uint32_t>(l1);
        const uint32_t sumR = 0u - k0R * static_cast<uint32_t>(r0) - k1R * static_cast<uint32_t>(r1);
        const int32_t xL = wrap(tL - static_cast<uint32_t>(wrap(sumL) >> 10));
        const int32_t xR = wrap(tR - static_cast<uint32_t>(wrap(sumR) >> 10));
        l1 = l0;
        l0 = xL;
        r1 = r0;
        r0 = xR;
        out[0] = xL < kClipLow ? int16_t{-32768} : xL > kClipHigh ? int16_t{32767} : static_cast<int16_t>(xL >> 4);
        out[1] = xR < kClipLow ? int16_t{-32768} : xR > kClipHigh ? int16_t{32767} : static_cast<int16_t>(xR >> 4);
    }
    left = {l0, l1};
    right = {r0, r1};
}

}  // namespace

int32_t decodeXaSector(XaAudio* xa, const uint8_t* subheader, int32_t first) {
    if (first != 0) {
        const uint8_t coding = subheader[kCodingByte];
        const int rateBits = (coding >> 2) & 3;
        const int widthBits = (coding >> 4) & 3;
        const int32_t rate = rateBits == 0 ? 37800 : rateBits == 1 ? 18900 : 0;
        if (rate == 0) return -1;
        xa->rate = rate;
        xa->bitsPerSample = widthBits == 0 ? 4 : widthBits == 1 ? 8 : 0;
        xa->stereo = (coding & 3) == 1 ? 1 : 0;
        xa->sampleCount = xa->stereo ? kXaMonoSamples / 2 : kXaMonoSamples;
        xa->leftY0 = xa->leftY1 = xa->rightY0 = xa->rightY1 = 0;
    }
    // Every width is read as 4-bit sound units: a sector always yields the sampleCount its format
    // announces (see docs/xa.md).
    const bool stereo = xa->stereo != 0;
    History left{xa->leftY0, xa->leftY1};
    History right{xa->rightY0, xa->rightY1};
    int16_t* out = xa->samples;
    for (int g = 0; g < kXaSoundGroups; ++g) {
        const uint8_t* group = subheader + kDataStart + g * kXaGroupSize;
        for (int pair = 0; pair < kXaUnitsPerGroup / 2; ++pair, out += 2 * kXaSamplesPerUnit) {
            if (stereo) {  // even units left, odd units right, in left-right pairs
                decodePair(group, 2 * pair, left, right, out);
            } else {       // one unit after the other
                decodeUnit(group, 2 * pair, left, out, 1);
                decodeUnit(group, 2 * pair + 1, left, out + kXaSamplesPerUnit, 1);
            }
        }
    }
    // The history lives in the block, so it carries on into the next sector (and into save states).
    xa->leftY0 = left.y0;
    xa->leftY1 = left.y1;
    xa->rightY0 = right.y0;
    xa->rightY1 = right.y1;
    return 0;
}

}  // namespace lumadisc
