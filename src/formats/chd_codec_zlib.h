// Deflate streams of compressed images (raw, without a zlib header), through zlib.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

// Inflates exactly outSize bytes from a raw Deflate stream; false when the stream is broken or
// yields fewer bytes.
bool chdInflate(const uint8_t* in, size_t inSize, uint8_t* out, size_t outSize);

}  // namespace lumadisc
