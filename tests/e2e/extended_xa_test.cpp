// XA audio through the built plugin's extended face: which sectors of a read reach spuPlayCDXA under
// the mode bits, Setfilter, Mute and the playcdxa setting, what the blocks hold (the fixture encoder's
// exact model of the decoding), and `lumadisc xa` writing them as a WAV file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "host/scratch_dir.h"
#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/ini_file.h"
#include "tools/fixtures/wav_pcm.h"
#include "tools/fixtures/xa_encoder.h"

namespace lumadisc::e2e {
namespace {

using namespace host;
using namespace fixtures;

constexpr size_t kXaStateOffset = 4816;  // in the controller block of a save state

// Sector k of an encoder's stream, as the plugin should hand it over.
struct Expected {
    const XaEncoder* encoder;
    int sector;
};

class ExtendedXa : public ::testing::Test {
protected:
    // The data track, by LBA: 0-5 file 1 alternating channel 2 (stream A, stereo 37800, end of file at
    // 4) and channel 3 (mono 18900); 6-7 file 2, channels 2 and 5 (stream B); 8 a data sector of file 1
    // channel 2; 9-10 stream C (mono 18900, end of file at 10); 11 an audio sector with a reserved rate;
    // 12 stream D (stereo 18900); then data.
    void SetUp() override {
        ASSERT_TRUE(scratch_.ok() && scratch_.enter());
        const auto pcm = [](const XaEncoder& e, XaSignal signal) {
            return xaTestSignal(signal, 3 * e.samplesPerSector(), e.format().stereo, e.format().rate);
        };
        const auto a = pcm(a_, XaSignal::kTones), other = pcm(other_, XaSignal::kNoise);
        const auto b = pcm(b_, XaSignal::kSweep), c = pcm(c_, XaSignal::kTones), d = pcm(d_, XaSignal::kSweep);
        auto part = [](const std::vector<int16_t>& p, int k) { return std::span(p).subspan(size_t{4032} * k, 4032); };
        std::vector<Sector> sectors;
        for (int k = 0; k < 3; ++k) {
            sectors.push_back(a_.sector(2 * k, part(a, k), 1, 2, k == 2));
            sectors.push_back(other_.sector(2 * k + 1, part(other, k), 1, 3));
        }
        sectors.push_back(b_.sector(6, part(b, 0), 2, 2));
        sectors.push_back(b_.sector(7, part(b, 1), 2, 5));
        sectors.push_back(form1Sector(8, std::vector<uint8_t>(2048, 0x11), {1, 2, submode::kData, 0}));
        sectors.push_back(c_.sector(9, part(c, 0), 1, 2));
        sectors.push_back(c_.sector(10, part(c, 1), 1, 2, true));
        sectors.push_back(form2Sector(11, std::vector<uint8_t>(2304, 0x77), {1, 2, kXaAudioSubmode, 0x08}));
        sectors.push_back(d_.sector(12, part(d, 0), 1, 2));
        CueImageBuilder builder;
        builder.addDataTrack(20, [sectors](Lba lba, int32_t, Sector& sector) {
            sector = lba < static_cast<Lba>(sectors.size()) ? sectors[lba] : patternSector(lba);
        });
        std::string error;
        ASSERT_TRUE(builder.write(scratch_.path(), "xa", &image_, &error)) << error;
    }
    void TearDown() override {
        console_.bringDown();
        scratch_.leave();
    }
    void bringUp(bool playCdxa = true) {
        PluginIni settings;
        settings.current = image_.cuePath;
        settings.playCdda = false;
        if (!playCdxa) settings.playCdxa = false;
        std::string error;
        ASSERT_TRUE(writePluginIni(scratch_.path(), settings, &error)) << error;
        ASSERT_TRUE(console_.load(LUMADISC_PLUGIN_PATH)) << console_.error();
        ASSERT_EQ(console_.init(), 0);
        ASSERT_EQ(console_.open(), 0);
    }
    // Setfilter, Setmode, Setloc, ReadS, `count` sectors taken and pulled, Pause.
    void readXa(uint8_t mode, uint8_t file, uint8_t channel, Lba from, int count) {
        ASSERT_FALSE(driver_.command(kCmdSetfilter, {file, channel}).error());
        ASSERT_FALSE(driver_.command(kCmdSetmode, {mode}).error());
        const Msf at = bcdMsf(msfFromLba(from));
        ASSERT_FALSE(driver_.command(kCmdSetloc, {at.minute, at.second, at.frame}).error());
        ASSERT_TRUE(driver_.command(kCmdReadS).complete);
        for (int i = 0; i < count; ++i) ASSERT_TRUE(driver_.nextSector(2048)) << "sector " << from + i;
        driver_.command(kCmdPause);
    }
    static std::vector<int16_t> samplesOf(const Expected& e) {
        const auto& all = e.encoder->decoded();
        return std::vector<int16_t>(all.begin() + 4032 * e.sector, all.begin() + 4032 * (e.sector + 1));
    }
    void expectBlocks(const std::vector<Expected>& expected, const std::string& name) {
        ASSERT_EQ(console_.xaCount(), expected.size()) << name;
        for (size_t i = 0; i < expected.size(); ++i) {
            const XaAudio& block = console_.xaBlocks()[i];
            const XaFormat& format = expected[i].encoder->format();
            EXPECT_EQ(block.rate, format.rate) << name << " block " << i;
            EXPECT_EQ(block.stereo, format.stereo ? 1 : 0) << name << " block " << i;
            EXPECT_EQ(block.sampleCount, format.stereo ? 2016 : 4032) << name << " block " << i;
            EXPECT_EQ(std::vector<int16_t>(block.samples, block.samples + 4032), samplesOf(expected[i]))
                << name << " block " << i;
        }
    }

    ScratchDir scratch_{"lumadisc-xa"};
    CueImage image_;
    XaEncoder a_{{true, 37800}}, other_{{false, 18900}}, b_{{false, 37800}}, c_{{false, 18900}}, d_{{true, 18900}};
    ConsoleHost console_;
    ConsoleDriver driver_{console_};
};

TEST_F(ExtendedXa, HandsOverExactlyTheSectorsTheModeFilterAndMuteSelect) {
    bringUp();
    struct Case {
        const char* name;
        uint8_t mode, file, channel;
        bool muted;
        Lba from;
        int count;
        std::vector<Expected> blocks;
    };
    const std::vector<Case> cases = {
        {"channel filter: file 1 channel 2", 0x48, 1, 2, false, 0, 6, {{&a_, 0}, {&a_, 1}, {&a_, 2}}},
        {"a new read starts from silence", 0x48, 1, 2, false, 0, 6, {{&a_, 0}, {&a_, 1}, {&a_, 2}}},
        {"no channel filter: every channel of file 2", 0x40, 2, 9, false, 6, 2, {{&b_, 0}, {&b_, 1}}},
        {"no channel filter: the file still counts", 0x40, 1, 2, false, 6, 2, {}},
        {"XA bit off", 0x08, 1, 2, false, 0, 6, {}},
        {"a data sector is passed by", 0xC8, 1, 2, false, 8, 3, {{&c_, 0}, {&c_, 1}}},
        {"a reserved rate stops the read's audio", 0x48, 1, 2, false, 11, 2, {}},
        {"the next read decodes again", 0x48, 1, 2, false, 12, 1, {{&d_, 0}}},
        {"muted", 0x48, 1, 2, true, 0, 6, {}},
    };
    for (const Case& c : cases) {
        console_.clearXa();
        if (c.muted) driver_.command(kCmdMute);
        readXa(c.mode, c.file, c.channel, c.from, c.count);
        if (c.muted) driver_.command(kCmdDemute);
        expectBlocks(c.blocks, c.name);
    }
}

TEST_F(ExtendedXa, MutedSectorsAreDecodedSoTheStreamContinuesAfterDemute) {
    bringUp();
    ASSERT_FALSE(driver_.command(kCmdSetfilter, {1, 2}).error());
    ASSERT_FALSE(driver_.command(kCmdSetmode, {0x48}).error());
    driver_.command(kCmdMute);
    ASSERT_FALSE(driver_.command(kCmdSetloc, {0x00, 0x02, 0x00}).error());
    ASSERT_TRUE(driver_.command(kCmdReadS).complete);
    ASSERT_TRUE(driver_.nextSector() && driver_.nextSector());  // A0 decoded but not handed over
    EXPECT_EQ(console_.xaCount(), 0u);
    driver_.command(kCmdDemute);  // sectors arriving meanwhile are acknowledged by the driver
    while (console_.xaCount() < 2 && driver_.nextSector()) {
    }
    driver_.command(kCmdPause);
    const size_t handed = console_.xaCount();
    ASSERT_GE(handed, 1u);
    ASSERT_LE(handed, 2u);
    std::vector<Expected> expected;
    for (int k = 3 - static_cast<int>(handed); k < 3; ++k) expected.push_back({&a_, k});
    expectBlocks(expected, "after Demute");
}

TEST_F(ExtendedXa, WithPlayCdxaOffNothingIsDecoded) {
    bringUp(false);
    readXa(0x48, 1, 2, 0, 6);
    EXPECT_EQ(console_.xaCount(), 0u);
    StateRecord* record = console_.saveState();
    ASSERT_NE(record, nullptr);
    int32_t xaState = 0;
    std::memcpy(&xaState, record->controller + kXaStateOffset, sizeof xaState);
    std::free(record);
    EXPECT_EQ(xaState, 1);
}

TEST_F(ExtendedXa, ToolWritesTheHandedBlocksAsWav) {
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::vector<Expected> blocks;  // what the WAV file holds
    };
    const std::string cue = image_.cuePath;
    const std::vector<Case> cases = {
        {{"xa", cue, "00:02:00", "--channel", "2", "--wav", "a.wav"}, 0, {{&a_, 0}, {&a_, 1}, {&a_, 2}}},
        {{"xa", cue, "00:02:09", "--wav", "c.wav"}, 0, {{&c_, 0}, {&c_, 1}}},  // file found by peeking
        {{"xa", cue, "00:02:06", "--file", "1", "--sectors", "2", "--wav", "none.wav"}, 1, {}},
        {{"xa", cue, "00:02:75", "--wav", "x.wav"}, 2, {}},
        {{"xa", cue, "00:02:00"}, 2, {}},
    };
    for (const Case& c : cases) {
        const ToolResult run = runLumadisc(scratch_, c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << describeRun(run);
        if (c.blocks.empty()) continue;
        const auto wav = wavPcmRead(scratch_.file(c.arguments.back()));
        ASSERT_TRUE(wav) << describeRun(run);
        EXPECT_EQ(wav->rate, c.blocks[0].encoder->format().rate);
        EXPECT_EQ(wav->channels, c.blocks[0].encoder->format().stereo ? 2 : 1);
        std::vector<int16_t> expected;
        for (const Expected& e : c.blocks) {
            const auto samples = samplesOf(e);
            expected.insert(expected.end(), samples.begin(), samples.end());
        }
        EXPECT_EQ(wav->samples, expected) << describeRun(run);
    }
}

}  // namespace
}  // namespace lumadisc::e2e
