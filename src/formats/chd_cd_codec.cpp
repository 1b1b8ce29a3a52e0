#include "formats/chd_cd_codec.h"

#include <cstring>
#include <vector>

#include "disc/cd_utility.h"
#include "formats/chd_codec_flac.h"
#include "formats/chd_codec_lzma.h"
#include "formats/chd_codec_zlib.h"

namespace lumadisc {

namespace {

// Puts the sector parts and subcode parts back together frame by frame.
void interleave(const uint8_t* sectors, const uint8_t* subcode, uint32_t frames, uint8_t* out) {
    for (uint32_t f = 0; f < frames; ++f) {
        std::memcpy(out + size_t{f} * kChdFrameSize, sectors + size_t{f} * kRawSectorSize, kRawSectorSize);
        std::memcpy(out + size_t{f} * kChdFrameSize + kRawSectorSize, subcode + size_t{f} * kSubchannelSize,
                    kSubchannelSize);
    }
}

// The FLAC frames of a hunk hold a quarter of its sector bytes per channel at most 2352 samples.
uint32_t flacBlockSize(uint32_t frames) {
    uint32_t size = frames * kRawSectorSize / 4;
    while (size > kRawSectorSize) size /= 2;
    return size;
}

}  // namespace

bool chdCdCodecKnown(uint32_t codec) {
    return codec == kChdCodecCdLzma || codec == kChdCodecCdZlib || codec == kChdCodecCdFlac;
}

bool chdDecodeCdHunk(uint32_t codec, const uint8_t* in, size_t inSize, uint32_t hunkBytes, uint8_t* out,
                     const char** reason) {
    const uint32_t frames = hunkBytes / kChdFrameSize;
    std::vector<uint8_t> sectors(size_t{frames} * kRawSectorSize);
    std::vector<uint8_t> subcode(size_t{frames} * kSubchannelSize);
    if (codec == kChdCodecCdFlac) {
        size_t consumed = 0;
        if (!chdFlacDecode(in, inSize, flacBlockSize(frames), sectors.data(), sectors.size(), &consumed)) {
            *reason = "FLAC sector data broken";
            return false;
        }
        if (!chdInflate(in + consumed, inSize - consumed, subcode.data(), subcode.size())) {
            *reason = "subcode data broken";
            return false;
        }
        interleave(sectors.data(), subcode.data(), frames, out);
        return true;
    }
    const size_t bitmapBytes = (frames + 7) / 8;
    const size_t lengthBytes = hunkBytes < 65536 ? 2 : 3;
    if (inSize < bitmapBytes + lengthBytes) {
        *reason = "hunk too short";
        return false;
    }
    const uint8_t* lengthField = in + bitmapBytes;
    const size_t baseLength = lengthBytes == 2 ? readBe16(lengthField)
                                               : (size_t{lengthField[0]} << 16) | readBe16(lengthField + 1);
    const size_t baseStart = bitmapBytes + lengthBytes;
    if (baseLength > inSize - baseStart) {
        *reason = "sector data length beyond the hunk";
        return false;
    }
    const bool baseOk = codec == kChdCodecCdLzma
                            ? chdLzmaDecode(in + baseStart, baseLength, sectors.data(), sectors.size())
                            : chdInflate(in + baseStart, baseLength, sectors.data(), sectors.size());
    if (!baseOk) {
        *reason = codec == kChdCodecCdLzma ? "LZMA sector data broken" : "Deflate sector data broken";
        return false;
    }
    const size_t subStart = baseStart + baseLength;
    if (!chdInflate(in + subStart, inSize - subStart, subcode.data(), subcode.size())) {
        *reason = "subcode data broken";
        return false;
    }
    interleave(sectors.data(), subcode.data(), frames, out);
    // Frames whose sync and parity could be recomputed were stored without them.
    for (uint32_t f = 0; f < frames; ++f) {
        if (in[f / 8] & (1u << (f % 8))) restoreSyncAndEcc(out + size_t{f} * kChdFrameSize);
    }
    return true;
}

}  // namespace lumadisc
