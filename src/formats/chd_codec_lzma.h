// LZMA streams of compressed images: raw LZMA1 (lc 3, lp 0, pb 2) without a header, a size or an
// end marker, through liblzma.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumadisc {

// Decodes exactly outSize bytes; false when the stream is broken or ends early.
bool chdLzmaDecode(const uint8_t* in, size_t inSize, uint8_t* out, size_t outSize);

}  // namespace lumadisc
