// Feeds arbitrary bytes as a run of XA sectors: each record is one control byte and the bytes of a
// sector from its subheader on (a short last record is padded with zeros). Even control bytes go
// straight to decodeXaSector with a `first` flag taken from the control byte (any nonzero value, or
// 0); odd ones go through the controller's XA hand-off with mode, filter, mute and xaState taken from
// it. Every sector sits in a heap buffer of exactly the bytes the code may read, so a read beyond
// them is caught. Checks: the result is 0 or -1; a refused sector leaves the block as it was; a
// decoded first sector has a valid rate and the sample count of its channels; no sample beyond a
// sector's 4032 is written.
//
// `fuzz_xa --write-seeds DIR` writes a few encoded sectors (mono, stereo, both rates) and exits.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "config/settings.h"
#include "controller/controller_state.h"
#include "controller/host_audio.h"
#include "controller/xa_decoder.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/xa_encoder.h"

namespace {

using namespace lumadisc;

constexpr size_t kRecord = 1 + kXaSectorSpan;
constexpr int16_t kUntouched = 0x5A5A;

std::vector<fuzz::Seed> seeds() {
    std::vector<fuzz::Seed> out;
    const fixtures::XaFormat formats[] = {{false, 37800}, {true, 37800}, {false, 18900}, {true, 18900}};
    int index = 0;
    for (const fixtures::XaFormat& format : formats) {
        fixtures::XaEncoder encoder(format, index == 3 ? fixtures::xaCycleParameters() : fixtures::XaParameterRule{});
        const auto pcm = fixtures::xaTestSignal(fixtures::XaSignal::kTones, 2 * encoder.samplesPerSector(),
                                                format.stereo, format.rate);
        std::vector<uint8_t> bytes;
        for (int k = 0; k < 2; ++k) {
            const auto sector = encoder.sector(k, std::span(pcm).subspan(size_t{4032} * k, 4032), 1, 1);
            // Direct decoding (first, then continuing), or the hand-off with XA on (a new read, then on).
            const uint8_t control = (index & 1) ? (k == 0 ? 0xC1 : 0x41) : (k == 0 ? 0x02 : 0x00);
            bytes.push_back(control);
            bytes.insert(bytes.end(), sector.begin() + kSubheaderOffset,
                         sector.begin() + kSubheaderOffset + kXaSectorSpan);
        }
        out.push_back({"xa" + std::to_string(index++), bytes});
    }
    return out;
}

void checkDecoded(const XaAudio& before, const XaAudio& after, int32_t result, int32_t first) {
    if (result != 0 && result != -1) std::abort();
    if (result == -1) {
        if (first == 0 || std::memcmp(&before, &after, sizeof before) != 0) std::abort();
        return;
    }
    if (first != 0) {
        if (after.rate != 37800 && after.rate != 18900) std::abort();
        if (after.sampleCount != (after.stereo ? 2016 : 4032)) std::abort();
    }
    for (int i = kXaMonoSamples; i < 16384; ++i) {
        if (after.samples[i] != kUntouched) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::handleWriteSeeds(*argc, *argv, seeds);
    g_settings.playcdxa = 1;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto xa = std::make_unique<XaAudio>();
    std::fill(std::begin(xa->samples), std::end(xa->samples), kUntouched);
    auto before = std::make_unique<XaAudio>();
    g_controller.xaState = 1;
    g_controller.xa = *xa;
    for (size_t at = 0; at < size; at += kRecord) {
        const uint8_t control = data[at];
        const size_t length = std::min<size_t>(size - at - 1, kXaSectorSpan);
        if (control & 1) {
            // Through the hand-off: a whole sector half, header first.
            auto half = std::make_unique<uint8_t[]>(kHalfDataSize);
            std::memset(half.get(), 0, kHalfDataSize);
            std::memcpy(half.get() + 4, data + at + 1, length);
            ControllerState& s = g_controller;
            s.mode = control & 0x48u;
            s.filterFile = half[4];
            s.filterChannel = (control & 0x10) ? half[5] ^ 1u : half[5];
            s.muted = (control >> 5) & 1u;
            if (control & 0x80) s.xaState = 1;
            const int32_t first = s.xaState;
            *before = s.xa;
            xaDeliver(half.get());
            if (s.xaState == -1 && first != -1) {
                checkDecoded(*before, s.xa, -1, first);  // refused
            } else if (s.xaState == 0) {
                checkDecoded(*before, s.xa, 0, first);  // decoded (or passed by while decoding)
            } else if (s.xaState != first || std::memcmp(before.get(), &s.xa, sizeof s.xa) != 0) {
                std::abort();  // passed by: nothing changes
            }
        } else {
            auto sector = std::make_unique<uint8_t[]>(kXaSectorSpan);
            std::memset(sector.get(), 0, kXaSectorSpan);
            std::memcpy(sector.get(), data + at + 1, length);
            const int32_t first = (control & 2) ? static_cast<int32_t>(control * 0x01010101u) : 0;
            *before = *xa;
            checkDecoded(*before, *xa, decodeXaSector(xa.get(), sector.get(), first), first);
        }
    }
    return 0;
}
