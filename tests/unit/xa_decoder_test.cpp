// The XA ADPCM decoder: the format of a first sector, the exact arithmetic on hand-made sound units,
// the layout of units and parameters, the history across sectors, and agreement with ffmpeg's decoder
// on streams from the fixture encoder (and exact agreement with the encoder's own model).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "controller/xa_decoder.h"
#include "tests/unit/scratch_directory.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/wav_pcm.h"
#include "tools/fixtures/xa_encoder.h"

namespace lumadisc {
namespace {

using namespace fixtures;
using Span = std::array<uint8_t, kXaSectorSpan>;  // subheader, its copy, 18 sound groups

uint8_t* group(Span& sector, int g) { return sector.data() + 8 + g * kXaGroupBytes; }

std::unique_ptr<XaAudio> monoBlock(int32_t y0 = 0, int32_t y1 = 0) {
    auto xa = std::make_unique<XaAudio>();
    xa->leftY0 = y0;
    xa->leftY1 = y1;
    return xa;
}

TEST(XaDecoder, TakesTheFormatFromTheCodingByteOfAFirstSectorOnly) {
    struct Case { uint8_t coding; int32_t result, rate, bits, stereo, count; };
    const Case cases[] = {
        {0x00, 0, 37800, 4, 0, 4032}, {0x01, 0, 37800, 4, 1, 2016}, {0x05, 0, 18900, 4, 1, 2016},
        {0x14, 0, 18900, 8, 0, 4032}, {0x22, 0, 37800, 0, 0, 4032}, {0x33, 0, 37800, 0, 0, 4032},
        {0x08, -1, 1, 2, 3, 4}, {0x0D, -1, 1, 2, 3, 4},  // reserved rates: the block stays as it was
    };
    for (const Case& c : cases) {
        Span sector{};
        sector[3] = c.coding;
        auto xa = std::make_unique<XaAudio>(XaAudio{1, 2, 3, 4, 5, 6, 7, 8, {}});
        EXPECT_EQ(decodeXaSector(xa.get(), sector.data(), 1), c.result) << int(c.coding);
        EXPECT_EQ(std::vector<int32_t>({xa->rate, xa->bitsPerSample, xa->stereo, xa->sampleCount}),
                  std::vector<int32_t>({c.rate, c.bits, c.stereo, c.count})) << int(c.coding);
        EXPECT_EQ(xa->leftY0, c.result == 0 ? 0 : 5) << int(c.coding);
        // A sector that is not first keeps the format, whatever its coding byte.
        EXPECT_EQ(decodeXaSector(xa.get(), sector.data(), 0), 0);
        EXPECT_EQ(xa->rate, c.rate);
    }
}

TEST(XaDecoder, DecodesHandMadeSoundUnitsExactly) {
    struct Case {
        const char* name;
        int filter, range;
        int32_t y0, y1;
        std::vector<int8_t> nibbles;
        std::vector<int16_t> outputs;
        bool lastUnit;  // placed at the end of the sector's last unit; x is then the final leftY0
        int32_t x;
    };
    const Case cases[] = {
        {"range 0, nibble 7", 0, 0, 0, 0, {7}, {28672}, true, 458752},
        {"range 12, nibble -8", 0, 12, 0, 0, {-8}, {-8}, true, -128},
        {"unclamped history", 1, 0, 200000, 0, {7, 0}, {32767, 32767}, false, 0},
        {"filter 1, range 12", 1, 12, 1024, 0, {-8, 0, 0}, {52, 48, 45}, false, 0},
        {"filter 2 from history", 2, 12, 1600, -1600, {0, 0}, {260, 387}, false, 0},
        {"negative clip", 0, 0, 0, 0, {-8}, {-32768}, true, -524288},
        {"32-bit wrap", 3, 0, INT32_MAX, INT32_MIN, {0}, {-1}, false, 0},
    };
    for (const Case& c : cases) {
        Span sector{};
        int8_t nibbles[kXaUnitSamples] = {};
        const size_t n = c.nibbles.size();
        std::copy(c.nibbles.begin(), c.nibbles.end(), nibbles + (c.lastUnit ? kXaUnitSamples - n : 0));
        writeXaUnit(group(sector, c.lastUnit ? 17 : 0), c.lastUnit ? 7 : 0, c.filter, c.range, nibbles);
        auto xa = monoBlock(c.y0, c.y1);
        ASSERT_EQ(decodeXaSector(xa.get(), sector.data(), 0), 0);
        const int16_t* out = xa->samples + (c.lastUnit ? kXaMonoSamples - n : 0);
        EXPECT_EQ(std::vector<int16_t>(out, out + n), c.outputs) << c.name;
        if (c.lastUnit) {
            EXPECT_EQ(xa->leftY0, c.x) << c.name;
        }
    }
    // All-zero groups: silence, and the history stays at zero.
    Span zero{};
    auto xa = monoBlock();
    ASSERT_EQ(decodeXaSector(xa.get(), zero.data(), 1), 0);
    EXPECT_TRUE(std::all_of(xa->samples, xa->samples + kXaMonoSamples, [](int16_t v) { return v == 0; }));
    EXPECT_EQ(xa->leftY0 | xa->leftY1 | xa->rightY0 | xa->rightY1, 0);
}

TEST(XaDecoder, PlacesUnitsParametersAndChannels) {
    const int8_t one[kXaUnitSamples] = {1};
    const int8_t two[kXaUnitSamples] = {2};
    Span sector{};
    writeXaUnit(group(sector, 0), 0, 0, 12, one);
    writeXaUnit(group(sector, 0), 1, 0, 12, two);
    writeXaUnit(group(sector, 1), 4, 0, 12, one);
    group(sector, 1)[4] = 0x00;  // the copy at byte 4 belongs to unit 0 and is not read for unit 4
    sector[3] = 0x00;
    auto xa = monoBlock();
    ASSERT_EQ(decodeXaSector(xa.get(), sector.data(), 1), 0);
    EXPECT_EQ(xa->samples[0], 1);
    EXPECT_EQ(xa->samples[28], 2);          // mono: unit 1 follows unit 0
    EXPECT_EQ(xa->samples[224 + 112], 1);   // group 1, unit 4, read with range 12 from byte 8
    sector[3] = 0x01;
    ASSERT_EQ(decodeXaSector(xa.get(), sector.data(), 1), 0);
    EXPECT_EQ(xa->samples[0], 1);           // stereo: unit 0 left
    EXPECT_EQ(xa->samples[1], 2);           // unit 1 right
    EXPECT_EQ(xa->samples[224 + 2 * 56], 1);  // group 1, unit 4: left of pair 56 of the group
}

TEST(XaDecoder, CarriesTheHistoryAcrossSectorsUntilAFirstSector) {
    int8_t seven[kXaUnitSamples] = {};
    seven[27] = 7;
    const int8_t zeros[kXaUnitSamples] = {};
    Span first{}, second{};
    writeXaUnit(group(first, 17), 7, 0, 12, seven);  // the first sector ends on x = 112
    writeXaUnit(group(second, 0), 0, 1, 12, zeros);  // filter 1 decays what the history holds
    auto xa = monoBlock();
    ASSERT_EQ(decodeXaSector(xa.get(), first.data(), 1), 0);
    ASSERT_EQ(decodeXaSector(xa.get(), second.data(), 0), 0);
    EXPECT_EQ(std::vector<int16_t>(xa->samples, xa->samples + 3), (std::vector<int16_t>{6, 6, 5}));
    ASSERT_EQ(decodeXaSector(xa.get(), second.data(), 1), 0);
    EXPECT_EQ(std::vector<int16_t>(xa->samples, xa->samples + 3), (std::vector<int16_t>{0, 0, 0}));
}

TEST(XaDecoder, ReadsEightBitSectorsAsFourBitAndHighFiltersAsFilterZero) {
    const int8_t nibbles[kXaUnitSamples] = {3, -2, 5, 7};
    Span eightBit{};
    eightBit[3] = 0x10;
    writeXaUnit(group(eightBit, 0), 1, 0, 12, nibbles);
    auto xa = monoBlock();
    ASSERT_EQ(decodeXaSector(xa.get(), eightBit.data(), 1), 0);
    EXPECT_EQ(std::vector<int32_t>({xa->bitsPerSample, xa->sampleCount, xa->samples[28], xa->samples[29]}),
              std::vector<int32_t>({8, 4032, 3, -2}));
    for (const int filter : {4, 9, 15}) {
        Span high{}, zero{};
        writeXaUnit(group(high, 0), 0, filter, 10, nibbles);
        writeXaUnit(group(zero, 0), 0, 0, 10, nibbles);
        auto a = monoBlock(300000, -200000), b = monoBlock(300000, -200000);
        decodeXaSector(a.get(), high.data(), 0);
        decodeXaSector(b.get(), zero.data(), 0);
        EXPECT_TRUE(std::equal(a->samples, a->samples + 28, b->samples)) << "filter " << filter;
    }
}

// ---- Against ffmpeg ----

bool ffmpegInstalled() { return std::system("command -v ffmpeg >/dev/null 2>&1") == 0; }

TEST(XaDecoderOracle, AgreesWithFfmpegOnGeneratedStreams) {
    if (!ffmpegInstalled()) GTEST_SKIP() << "ffmpeg is not installed";
    unit::ScratchDirectory scratch;
    ASSERT_TRUE(scratch.ok());
    struct Case {
        const char* name;
        XaFormat format;
        XaSignal signal;
        XaParameterRule rule;
        bool clips;
    };
    const Case cases[] = {
        {"mono 37800 tones", {false, 37800}, XaSignal::kTones, {}, false},
        {"stereo 37800 sweep", {true, 37800}, XaSignal::kSweep, {}, false},
        {"mono 18900 noise", {false, 18900}, XaSignal::kNoise, {}, false},
        {"stereo 18900 tones", {true, 18900}, XaSignal::kTones, {}, false},
        {"mono every filter and range", {false, 37800}, XaSignal::kTones, xaCycleParameters(), false},
        {"stereo every filter and range", {true, 18900}, XaSignal::kNoise, xaCycleParameters(), false},
        {"mono filter 2 range 0 square", {false, 37800}, XaSignal::kSquare, xaFixedParameters(2, 0), true},
        {"stereo filter 3 range 0 square", {true, 37800}, XaSignal::kSquare, xaFixedParameters(3, 0), true},
    };
    constexpr int kSectors = 60;
    for (const Case& c : cases) {
        XaEncoder encoder(c.format, c.rule);
        const auto pcm = xaTestSignal(c.signal, int64_t{kSectors} * encoder.samplesPerSector(), c.format.stereo,
                                      c.format.rate);
        std::vector<uint8_t> raw;
        std::vector<int16_t> ours;
        auto xa = monoBlock();
        for (int i = 0; i < kSectors; ++i) {
            const Sector sector = encoder.sector(i, std::span(pcm).subspan(size_t{4032} * i, 4032), 1, 0);
            raw.insert(raw.end(), sector.begin(), sector.end());
            ASSERT_EQ(decodeXaSector(xa.get(), sector.data() + kSubheaderOffset, i == 0), 0);
            ours.insert(ours.end(), xa->samples, xa->samples + 4032);
        }
        EXPECT_EQ(ours, encoder.decoded()) << c.name;
        EXPECT_EQ(encoder.clippedSamples() > 0, c.clips) << c.name;
        ASSERT_TRUE(writeBytes("x.raw", raw, nullptr));
        ASSERT_EQ(std::system("ffmpeg -hide_banner -loglevel fatal -y -f psxstr -i x.raw -c:a pcm_s16le x.wav"), 0);
        const auto wav = wavPcmRead("x.wav");
        ASSERT_TRUE(wav) << c.name;
        EXPECT_EQ(wav->rate, c.format.rate) << c.name;
        EXPECT_EQ(wav->channels, c.format.stereo ? 2 : 1) << c.name;
        ASSERT_EQ(wav->samples.size(), ours.size()) << c.name;
        int largest = 0;
        double squares = 0;
        for (size_t i = 0; i < ours.size(); ++i) {
            const int d = std::abs(ours[i] - wav->samples[i]);
            largest = std::max(largest, d);
            squares += double(d) * d;
        }
        const double rms = std::sqrt(squares / ours.size());
        std::printf("[ ffmpeg   ] %-32s largest %5d LSB, RMS %8.2f LSB%s\n", c.name, largest, rms,
                    c.clips ? " (clips: not held to the bound)" : "");
        if (!c.clips) {
            EXPECT_LE(largest, 32) << c.name;
            EXPECT_LE(rms, 8.0) << c.name;
        }
    }
}

}  // namespace
}  // namespace lumadisc
