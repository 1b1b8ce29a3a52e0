#include "formats/chd_codec_flac.h"

#include <FLAC/stream_decoder.h>

#include <algorithm>
#include <cstring>

#include "disc/cd_utility.h"

namespace lumadisc {

namespace {

constexpr uint32_t kSampleRate = 44100;
constexpr int kChannels = 2;
constexpr int kBitsPerSample = 16;
// "fLaC", the metadata block header of a last STREAMINFO block of 34 bytes, then the block.
constexpr size_t kHeaderSize = 4 + 4 + 34;

// The frames come without a stream header; libFLAC gets one made up for them, so that frames that
// refer to the stream's sample rate or sample size decode.
void writeStreamHeader(uint8_t* header, uint32_t blockSize) {
    std::memset(header, 0, kHeaderSize);
    std::memcpy(header, "fLaC", 4);
    header[4] = 0x80;  // last metadata block, type 0 (STREAMINFO)
    header[7] = 34;
    uint8_t* info = header + 8;
    writeBe16(info, blockSize);
    writeBe16(info + 2, blockSize);
    // bytes 4..9: minimum and maximum frame size, unknown (0)
    info[10] = static_cast<uint8_t>(kSampleRate >> 12);
    info[11] = static_cast<uint8_t>(kSampleRate >> 4);
    info[12] = static_cast<uint8_t>(((kSampleRate & 0x0F) << 4) | ((kChannels - 1) << 1) | ((kBitsPerSample - 1) >> 4));
    info[13] = static_cast<uint8_t>(((kBitsPerSample - 1) & 0x0F) << 4);  // total samples unknown
}

struct Source {
    uint8_t header[kHeaderSize];
    const uint8_t* data;
    size_t size;
    size_t position = 0;  // in header + data
    uint8_t* out;
    size_t outSize;
    size_t written = 0;
    bool failed = false;
};

FLAC__StreamDecoderReadStatus readBytes(const FLAC__StreamDecoder*, FLAC__byte buffer[], size_t* bytes, void* context) {
    Source& source = *static_cast<Source*>(context);
    size_t done = 0;
    while (done < *bytes && source.position < kHeaderSize + source.size) {
        const size_t at = source.position;
        const size_t chunk = at < kHeaderSize ? std::min(*bytes - done, kHeaderSize - at)
                                              : std::min(*bytes - done, kHeaderSize + source.size - at);
        std::memcpy(buffer + done, at < kHeaderSize ? source.header + at : source.data + (at - kHeaderSize), chunk);
        done += chunk;
        source.position += chunk;
    }
    *bytes = done;
    return done == 0 ? FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM : FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
}

FLAC__StreamDecoderTellStatus tell(const FLAC__StreamDecoder*, FLAC__uint64* offset, void* context) {
    *offset = static_cast<const Source*>(context)->position;
    return FLAC__STREAM_DECODER_TELL_STATUS_OK;
}

FLAC__StreamDecoderWriteStatus writeSamples(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                            const FLAC__int32* const channels[], void* context) {
    Source& source = *static_cast<Source*>(context);
    if (frame->header.channels != kChannels || frame->header.bits_per_sample != kBitsPerSample) {
        source.failed = true;
        return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
    }
    for (uint32_t i = 0; i < frame->header.blocksize; ++i) {
        if (source.written + 4 > source.outSize) {
            source.failed = true;  // more samples than the hunk holds
            return FLAC__STREAM_DECODER_WRITE_STATUS_ABORT;
        }
        writeBe16(source.out + source.written, static_cast<uint32_t>(channels[0][i]));
        writeBe16(source.out + source.written + 2, static_cast<uint32_t>(channels[1][i]));
        source.written += 4;
    }
    return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}

void noteError(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus, void* context) {
    static_cast<Source*>(context)->failed = true;
}

}  // namespace

bool chdFlacDecode(const uint8_t* in, size_t inSize, uint32_t blockSize, uint8_t* out, size_t outSize,
                   size_t* consumed) {
    if (blockSize == 0 || blockSize > 65535) return false;
    Source source{};
    writeStreamHeader(source.header, blockSize);
    source.data = in;
    source.size = inSize;
    source.out = out;
    source.outSize = outSize;
    FLAC__StreamDecoder* decoder = FLAC__stream_decoder_new();
    if (!decoder) return false;
    FLAC__stream_decoder_set_md5_checking(decoder, false);
    bool ok = FLAC__stream_decoder_init_stream(decoder, readBytes, nullptr, tell, nullptr, nullptr, writeSamples,
                                              nullptr, noteError, &source) == FLAC__STREAM_DECODER_INIT_STATUS_OK;
    ok = ok && FLAC__stream_decoder_process_until_end_of_metadata(decoder);
    while (ok && !source.failed && source.written < outSize) {
        if (!FLAC__stream_decoder_process_single(decoder)) break;
        if (FLAC__stream_decoder_get_state(decoder) == FLAC__STREAM_DECODER_END_OF_STREAM) break;
    }
    FLAC__uint64 position = 0;
    ok = ok && !source.failed && source.written == outSize &&
         FLAC__stream_decoder_get_decode_position(decoder, &position) && position >= kHeaderSize &&
         position - kHeaderSize <= inSize;
    if (ok) *consumed = static_cast<size_t>(position - kHeaderSize);
    FLAC__stream_decoder_delete(decoder);
    return ok;
}

}  // namespace lumadisc
