// FLAC frames of compressed CD images, through libFLAC: 16-bit stereo at 44100 Hz with no stream
// header of their own, decoded into big-endian samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

// Decodes exactly outSize bytes (outSize / 4 stereo samples) from FLAC frames of `blockSize`
// samples per channel; *consumed gets the bytes of `in` the frames took. False when the frames
// are broken or too few.
bool chdFlacDecode(const uint8_t* in, size_t inSize, uint32_t blockSize, uint8_t* out, size_t outSize,
                   size_t* consumed);

}  // namespace lumadisc
