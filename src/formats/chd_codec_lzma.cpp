#include "formats/chd_codec_lzma.h"

#include <lzma.h>

#include <algorithm>

namespace lumadisc {

bool chdLzmaDecode(const uint8_t* in, size_t inSize, uint8_t* out, size_t outSize) {
    lzma_options_lzma options{};
    // No match reaches further back than the hunk itself, so a window of its size suffices.
    options.dict_size = static_cast<uint32_t>(std::max<size_t>(outSize, LZMA_DICT_SIZE_MIN));
    options.lc = 3;
    options.lp = 0;
    options.pb = 2;
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA1, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    lzma_stream stream = LZMA_STREAM_INIT;
    if (lzma_raw_decoder(&stream, filters) != LZMA_OK) return false;
    stream.next_in = in;
    stream.avail_in = inSize;
    stream.next_out = out;
    stream.avail_out = outSize;
    lzma_ret status = LZMA_OK;
    // The stream carries no end marker: decoding stops once the hunk is full.
    while (status == LZMA_OK && stream.avail_out > 0) {
        const size_t before = stream.avail_in + stream.avail_out;
        status = lzma_code(&stream, LZMA_FINISH);
        if (status == LZMA_OK && stream.avail_in + stream.avail_out == before) break;  // no progress
    }
    const bool complete = stream.total_out == outSize && (status == LZMA_OK || status == LZMA_STREAM_END);
    lzma_end(&stream);
    return complete;
}

}  // namespace lumadisc
