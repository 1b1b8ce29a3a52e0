// A CUE image read through the classic exports of the built plugin.
#include <cstring>

#include "src/disc/q_crc.h"
#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using fixtures::CueImageBuilder;

CueImageBuilder threeTracks() {
    CueImageBuilder builder;
    builder.addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100);
    return builder;
}

std::vector<uint8_t> bufferBytes(const unsigned char* buffer, size_t size) {
    return std::vector<uint8_t>(buffer, buffer + size);
}

class ClassicCue : public PluginHarness {};

TEST_F(ClassicCue, ReportsTheTrackTableThroughTnTdAndTe) {
    const auto image = writeCue(threeTracks());
    ASSERT_EQ(openWith(settingsFor(image.cuePath)), 0);
    unsigned char tn[2] = {0, 0};
    EXPECT_EQ(api().getTN(tn), 0);
    EXPECT_EQ(tn[0], 1);
    EXPECT_EQ(tn[1], 3);
    for (int track = 1; track <= 3; ++track) {
        const Msf start = msfFromLba(image.trackStarts[static_cast<size_t>(track - 1)]);
        unsigned char td[3] = {0xEE, 0xEE, 0xEE};
        EXPECT_EQ(api().getTD(static_cast<unsigned char>(track), td), 0);
        EXPECT_EQ(td[0], start.frame) << "track " << track;  // frame, second, minute
        EXPECT_EQ(td[1], start.second);
        EXPECT_EQ(td[2], start.minute);
    }
    // Track 0 reports the lead-out: the first sector after the data file's last one.
    const Msf leadOut = msfFromLba(image.sectorCount);
    unsigned char td0[3] = {};
    api().getTD(0, td0);
    EXPECT_EQ(td0[2], leadOut.minute);
    EXPECT_EQ(td0[1], leadOut.second);
    EXPECT_EQ(td0[0], leadOut.frame);
    // The end of a track is the start of the next; the last has none, and 255 wraps to track 0.
    unsigned char m = 9, s = 9, f = 9;
    api().getTE(1, &m, &s, &f);
    const Msf second = msfFromLba(image.trackStarts[1]);
    EXPECT_EQ((std::vector<int>{m, s, f}), (std::vector<int>{second.minute, second.second, second.frame}));
    api().getTE(3, &m, &s, &f);
    EXPECT_EQ((std::vector<int>{m, s, f}), (std::vector<int>{0, 0, 0}));
    api().getTE(255, &m, &s, &f);
    EXPECT_EQ((std::vector<int>{m, s, f}), (std::vector<int>{leadOut.minute, leadOut.second, leadOut.frame}));
    // A track beyond the table reads as 00:00:00 and still answers 0.
    unsigned char beyond[3] = {1, 2, 3};
    EXPECT_EQ(api().getTD(9, beyond), 0);
    EXPECT_EQ((std::vector<int>{beyond[0], beyond[1], beyond[2]}), (std::vector<int>{0, 0, 0}));
}

class ClassicCueCaching : public PluginHarness, public ::testing::WithParamInterface<bool> {};

TEST_P(ClassicCueCaching, SectorsMatchTheImageByteForByte) {
    const auto image = writeCue(threeTracks());
    auto settings = settingsFor(image.cuePath, false);
    settings.caching = GetParam();
    ASSERT_EQ(openWith(settings), 0);
    const std::vector<Lba> positions = {0, 1, 16, 299, 300, 449, 450, 451, 649, 650, image.sectorCount - 1};
    for (int pass = 0; pass < 2; ++pass) {  // the second pass is served by the cache when it is on
        for (const Lba lba : positions) {
            const auto expected = binSector(image.binPath, lba);
            host::SectorRead read = host().readSector(lba);
            EXPECT_EQ(read.result, 0);
            const std::vector<uint8_t> fromBuffer = bufferBytes(api().getBuffer(), kRawSectorSize - 12);
            EXPECT_EQ(fromBuffer, std::vector<uint8_t>(expected.begin() + 12, expected.end())) << "LBA " << lba;
            uint8_t raw[kRawSectorSize];
            uint8_t sub[kSubchannelSize];
            host().readRaw(lba, raw, sub);
            EXPECT_EQ(bufferBytes(raw, sizeof raw), expected) << "LBA " << lba;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(CachingOffAndOn, ClassicCueCaching, ::testing::Bool());

TEST_F(ClassicCue, GeneratesTheQSubchannelWithoutASubFile) {
    const auto image = writeCue(threeTracks());
    ASSERT_EQ(openWith(settingsFor(image.cuePath)), 0);
    struct Case {
        Lba lba;
        std::vector<uint8_t> firstTen;
    };
    const Case cases[] = {
        {0, {0x41, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00}},
        {4350, {0x41, 0x01, 0x01, 0x00, 0x58, 0x00, 0x00, 0x01, 0x00, 0x00}},  // past the end of the image
        {1000, {0x41, 0x01, 0x01, 0x00, 0x13, 0x25, 0x00, 0x00, 0x15, 0x25}},
    };
    for (const auto& c : cases) {
        const host::SectorRead read = host().readSector(c.lba);
        const uint8_t* q = read.subchannel + kSubchannelQOffset;
        EXPECT_EQ(std::vector<uint8_t>(q, q + 10), c.firstTen) << "LBA " << c.lba;
        EXPECT_TRUE(qCrcValid(q)) << "LBA " << c.lba;
        for (int i = 0; i < kSubchannelSize; ++i) {
            if (i >= kSubchannelQOffset && i < kSubchannelQOffset + 12) continue;
            ASSERT_EQ(read.subchannel[i], 0) << "byte " << i << " of LBA " << c.lba;
        }
    }
    closePlugin();
    EXPECT_NE(log().find("[CDR] Warning: sub file not opened (" + dir() + "/disc.sub).\n"), std::string::npos);
}

TEST_F(ClassicCue, TakesSubchannelBlocksFromASubFileBesideTheSheet) {
    auto builder = threeTracks();
    builder.withSubchannel();
    const auto image = writeCue(builder);
    for (const bool readSubchannels : {true, false}) {
        auto settings = settingsFor(image.cuePath, false);
        settings.readSubchannels = readSubchannels;
        ASSERT_EQ(openWith(settings), 0);
        for (const Lba lba : {0, 17, 450, image.sectorCount - 1}) {
            uint8_t expected[kSubchannelSize];
            if (readSubchannels) {
                fixtures::patternSubchannel(lba, expected);
            } else {
                // Switched off, the generated block is used even though the file is there.
                uint8_t ignored[kRawSectorSize];
                host().readRaw(lba, ignored, expected);
                EXPECT_TRUE(qCrcValid(expected + kSubchannelQOffset));
                continue;
            }
            const host::SectorRead read = host().readSector(lba);
            EXPECT_EQ(bufferBytes(read.subchannel, kSubchannelSize), bufferBytes(expected, kSubchannelSize))
                << "LBA " << lba;
        }
        closePlugin();
    }
}

TEST_F(ClassicCue, StatusReportsTypePositionPlayAndCover) {
    const auto image = writeCue(threeTracks());
    auto settings = settingsFor(image.cuePath, false);
    settings.extra.push_back({"misc", {"coveropened", "true"}});
    ASSERT_EQ(openWith(settings), 0);
    host().readSector(16);
    CdrStat status{};
    EXPECT_EQ(api().getStatus(&status), 0);
    EXPECT_EQ(status.Type, 1u);
    EXPECT_EQ(status.Status, static_cast<uint32_t>(LUMADISC_STATUS_LID_OPEN));
    EXPECT_EQ((std::vector<int>{status.Time[0], status.Time[1], status.Time[2]}),
              (std::vector<int>{0x00, 0x02, 0x16}));

    unsigned char playAt[3] = {0, 8, 0};  // binary: 00:08:00 is LBA 450
    EXPECT_EQ(api().play(playAt), 0);
    api().getStatus(&status);
    EXPECT_TRUE(status.Status & LUMADISC_STATUS_PLAYING);
    EXPECT_EQ((std::vector<int>{status.Time[0], status.Time[1], status.Time[2]}),
              (std::vector<int>{0x00, 0x08, 0x00}));
    host().readSector(20);  // a data read stops CD audio first
    api().getStatus(&status);
    EXPECT_FALSE(status.Status & LUMADISC_STATUS_PLAYING);
    api().play(playAt);
    EXPECT_EQ(api().stop(), 0);
    api().getStatus(&status);
    EXPECT_FALSE(status.Status & LUMADISC_STATUS_PLAYING);
}

TEST_F(ClassicCue, OpenAndCloseFollowTheirGuards) {
    const auto image = writeCue(threeTracks());
    std::string error;
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settingsFor(image.cuePath), &error));
    EXPECT_EQ(api().open(), 0) << "open before init does nothing";
    EXPECT_TRUE(log().empty());
    EXPECT_EQ(api().close(), 0);
    api().init();
    EXPECT_EQ(api().close(), 0) << "close without open";
    EXPECT_EQ(api().open(), 0);
    EXPECT_EQ(api().open(), 0) << "a second open changes nothing";
    EXPECT_EQ(api().init(), 0);
    const std::string text = log();
    EXPECT_EQ(text.find("[CDR] CDRopen()\n"), text.rfind("[CDR] CDRopen()\n"));
    EXPECT_EQ(api().close(), 0);
    EXPECT_EQ(api().shutdown(), 0);
    EXPECT_EQ(api().shutdown(), 0);

    // A disc that fails to open leaves the plugin closed; the next open may succeed.
    api().init();
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settingsFor(dir() + "/missing.cue"), &error));
    EXPECT_EQ(api().open(), -1);
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settingsFor(image.cuePath), &error));
    EXPECT_EQ(api().open(), 0);
    unsigned char tn[2] = {};
    api().getTN(tn);
    EXPECT_EQ(tn[1], 3);
}

TEST_F(ClassicCue, ReadsOutsideTheImageLeaveTheBufferAndSucceed) {
    const auto image = writeCue(threeTracks());
    ASSERT_EQ(openWith(settingsFor(image.cuePath, false)), 0);
    for (const Lba outside : {image.sectorCount, image.sectorCount + 5000, -150, -1}) {
        host().readSector(10);
        const auto before = bufferBytes(api().getBuffer(), kRawSectorSize - 12);
        const host::SectorRead read = host().readSector(outside);
        EXPECT_EQ(read.result, 0) << "LBA " << outside;
        EXPECT_EQ(bufferBytes(api().getBuffer(), kRawSectorSize - 12), before) << "LBA " << outside;
    }
}

TEST_F(ClassicCue, NullPointersFromTheHostAreRefusedNotFollowed) {
    const auto image = writeCue(threeTracks());
    ASSERT_EQ(openWith(settingsFor(image.cuePath, false)), 0);
    EXPECT_EQ(api().getTN(nullptr), -1);
    EXPECT_EQ(api().getTD(1, nullptr), -1);
    EXPECT_EQ(api().readTrack(nullptr), -1);
    EXPECT_EQ(api().play(nullptr), -1);
    EXPECT_EQ(api().getStatus(nullptr), -1);
    EXPECT_EQ(api().readCDDA(0, 2, 0, nullptr), 0);
    EXPECT_EQ(api().getTE(1, nullptr, nullptr, nullptr), 0);
}

}  // namespace
}  // namespace lumadisc::e2e
