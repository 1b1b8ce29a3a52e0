// The CD front end of compressed images: a hunk of whole frames (2352 sector bytes + 96 subcode
// bytes each) stored as all sector parts, then all subcode parts, each part through its own codec.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

constexpr int kChdFrameSize = 2448;  // 2352 sector bytes and 96 subcode bytes

// Four-character codec codes as the header stores them.
constexpr uint32_t chdCodecCode(const char (&name)[5]) {
    return (static_cast<uint32_t>(static_cast<uint8_t>(name[0])) << 24) |
           (static_cast<uint32_t>(static_cast<uint8_t>(name[1])) << 16) |
           (static_cast<uint32_t>(static_cast<uint8_t>(name[2])) << 8) | static_cast<uint32_t>(static_cast<uint8_t>(name[3]));
}
constexpr uint32_t kChdCodecCdLzma = chdCodecCode("cdlz");
constexpr uint32_t kChdCodecCdZlib = chdCodecCode("cdzl");
constexpr uint32_t kChdCodecCdFlac = chdCodecCode("cdfl");

// True for the codecs chdDecodeCdHunk understands.
bool chdCdCodecKnown(uint32_t codec);
// Decodes one compressed hunk of hunkBytes (a whole number of frames) into out, interleaving
// sector and subcode parts and restoring the sync and parity of frames stored without them.
// On failure returns false with a short reason.
bool chdDecodeCdHunk(uint32_t codec, const uint8_t* in, size_t inSize, uint32_t hunkBytes, uint8_t* out,
                     const char** reason);

}  // namespace lumadisc
