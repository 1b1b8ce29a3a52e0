// A CUE image through the classic exports of the built plugin: status, the open and close guards,
// reads outside the image and null pointers from the host.
#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;

class ClassicCue : public PluginHarness {
protected:
    void SetUp() override {
        PluginHarness::SetUp();
        image_ = writeCue(fixtures::CueImageBuilder().addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100));
    }
    Bytes buffer() { return Bytes(api().getBuffer(), api().getBuffer() + kRawSectorSize - 12); }
    fixtures::CueImage image_;
};

TEST_F(ClassicCue, StatusReportsTypePositionPlayAndCover) {
    auto settings = settingsFor(image_.cuePath, false);
    settings.extra.push_back({"misc", {"coveropened", "true"}});
    ASSERT_EQ(openWith(settings), 0);
    host().readSector(16);
    CdrStat status{};
    EXPECT_EQ(api().getStatus(&status), 0);
    EXPECT_EQ(status.Type, 1u);
    EXPECT_EQ(status.Status, static_cast<uint32_t>(LUMADISC_STATUS_LID_OPEN));
    EXPECT_EQ((Bytes{status.Time[0], status.Time[1], status.Time[2]}), (Bytes{0x00, 0x02, 0x16}));

    unsigned char playAt[3] = {0, 8, 0};  // binary: 00:08:00 is LBA 450
    EXPECT_EQ(api().play(playAt), 0);
    api().getStatus(&status);
    EXPECT_TRUE(status.Status & LUMADISC_STATUS_PLAYING);
    EXPECT_EQ((Bytes{status.Time[0], status.Time[1], status.Time[2]}), (Bytes{0x00, 0x08, 0x00}));
    host().readSector(20);  // a data read stops CD audio first
    api().getStatus(&status);
    EXPECT_FALSE(status.Status & LUMADISC_STATUS_PLAYING);
    api().play(playAt);
    EXPECT_EQ(api().stop(), 0);
    api().getStatus(&status);
    EXPECT_FALSE(status.Status & LUMADISC_STATUS_PLAYING);
}

TEST_F(ClassicCue, OpenAndCloseFollowTheirGuards) {
    std::string error;
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settingsFor(image_.cuePath), &error));
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
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settingsFor(image_.cuePath), &error));
    EXPECT_EQ(api().open(), 0);
    unsigned char tn[2] = {};
    api().getTN(tn);
    EXPECT_EQ(tn[1], 3);
}

TEST_F(ClassicCue, ReadsOutsideTheImageLeaveTheBufferAndSucceed) {
    ASSERT_EQ(openWith(settingsFor(image_.cuePath, false)), 0);
    for (const Lba outside : {image_.sectorCount, image_.sectorCount + 5000, -150, -1}) {
        host().readSector(10);
        const Bytes before = buffer();
        EXPECT_EQ(host().readSector(outside).result, 0) << "LBA " << outside;
        EXPECT_EQ(buffer(), before) << "LBA " << outside;
    }
}

TEST_F(ClassicCue, BufferPointersKeptByTheHostShowTheLatestRead) {
    ASSERT_EQ(openWith(settingsFor(image_.cuePath, false)), 0);
    unsigned char first[3] = {0x00, 0x02, 0x05};
    ASSERT_EQ(api().readTrack(first), 0);
    const unsigned char* sector = api().getBuffer();
    const unsigned char* sub = api().getBufferSub();
    unsigned char second[3] = {0x00, 0x02, 0x09};
    ASSERT_EQ(api().readTrack(second), 0);
    // Without asking again: the sector and the Q channel's absolute time are the second read's.
    const std::vector<uint8_t> expected = binSector(image_.binPath, 9, kRawSectorSize);
    EXPECT_TRUE(std::equal(expected.begin() + 12, expected.end(), sector));
    EXPECT_EQ((std::vector<int>{sub[kSubchannelQOffset + 7], sub[kSubchannelQOffset + 8], sub[kSubchannelQOffset + 9]}),
              (std::vector<int>{0x00, 0x02, 0x09}));
}

TEST_F(ClassicCue, NullPointersFromTheHostAreRefusedNotFollowed) {
    ASSERT_EQ(openWith(settingsFor(image_.cuePath, false)), 0);
    EXPECT_EQ(api().getTN(nullptr), -1);
    EXPECT_EQ(api().getTD(1, nullptr), -1);
    EXPECT_EQ(api().readTrack(nullptr), -1);
    EXPECT_EQ(api().play(nullptr), -1);
    EXPECT_EQ(api().getStatus(nullptr), -1);
    EXPECT_EQ(api().readCDDA(0, 2, 0, nullptr), -1);
    EXPECT_EQ(api().getTE(1, nullptr, nullptr, nullptr), -1);
}

}  // namespace
}  // namespace lumadisc::e2e
