#include "formats/chd_codec_zlib.h"

#include <zlib.h>

#include <limits>

namespace lumadisc {

bool chdInflate(const uint8_t* in, size_t inSize, uint8_t* out, size_t outSize) {
    if (inSize > std::numeric_limits<uInt>::max() || outSize > std::numeric_limits<uInt>::max()) return false;
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return false;
    stream.next_in = const_cast<Bytef*>(in);
    stream.avail_in = static_cast<uInt>(inSize);
    stream.next_out = out;
    stream.avail_out = static_cast<uInt>(outSize);
    int status = Z_OK;
    while (status == Z_OK && stream.avail_out > 0) status = inflate(&stream, Z_FINISH);
    const bool complete = stream.total_out == outSize && (status == Z_OK || status == Z_STREAM_END || status == Z_BUF_ERROR);
    inflateEnd(&stream);
    return complete;
}

}  // namespace lumadisc
