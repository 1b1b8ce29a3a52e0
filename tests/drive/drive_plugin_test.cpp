// A disc in the emulated drive read through the built plugin's classic face: the sectors, the command
// blocks the drive receives, the sense reports of failing commands and the ways an open can go.
#include <cstring>

#include "tests/drive/emulated_drive.h"

namespace lumadisc::drive_test {
namespace {

using Bytes = std::vector<uint8_t>;

TEST_F(DriveHarness, EverySectorAndTrackReadsAsTheImage) {
    ASSERT_EQ(openWith(driveSettings()), 0);
    const auto tracks = host().tracks();
    ASSERT_EQ(tracks.size(), image_.trackStarts.size());
    for (size_t i = 0; i < tracks.size(); ++i) {
        EXPECT_EQ(tracks[i].lba, image_.trackStarts[i]) << "track " << i + 1;
    }
    EXPECT_EQ(host().leadOut(), image_.sectorCount);
    const Bytes image = imageBytes();
    ASSERT_EQ(image.size(), static_cast<size_t>(image_.sectorCount) * kRawSectorSize);
    for (Lba lba = 0; lba < image_.sectorCount; ++lba) {
        uint8_t sector[kRawSectorSize];
        uint8_t subchannel[kSubchannelSize];
        host().readRaw(lba, sector, subchannel);
        ASSERT_EQ(std::memcmp(sector, image.data() + static_cast<size_t>(lba) * kRawSectorSize, sizeof sector), 0)
            << "LBA " << lba;
    }
    // The data face hands out the sector from its header on, and the subchannel is generated.
    const host::SectorRead read = host().readSector(16);
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(std::memcmp(read.header, image.data() + 16 * kRawSectorSize + 12, 4), 0);
    EXPECT_TRUE(qCrcValid(read.subchannel + kSubchannelQOffset));
}

// The blocks of one open, one read of LBA 16 and one close, for several speed and spin-down settings.
TEST_F(DriveHarness, CommandBlocksOfOpenReadAndClose) {
    struct Case {
        int speedLimit, spinDown;
        const char* speedBytes;  // bytes 2..3 of SET CD SPEED at open
        uint8_t multiplier;      // low nibble of byte 11 written at open
    };
    for (const Case& c : {Case{4, 600, "02 C4", 8}, Case{0, 16, "FF FF", 0}, Case{32, 15, "16 20", 15},
                          Case{1, 5, "00 B1", 5}}) {
        SCOPED_TRACE("speed limit " + std::to_string(c.speedLimit) + ", spin-down " + std::to_string(c.spinDown));
        configure({});
        auto settings = driveSettings(c.speedLimit, c.spinDown);
        settings.readSubchannels = false;  // with it on, sectors come with their subchannel (below)
        ASSERT_EQ(openWith(settings), 0);
        EXPECT_EQ(host().readSector(16).result, 0);
        closePlugin();
        const auto commands = this->commands();
        const std::vector<std::string> expected = {
            std::string("BB 00 ") + c.speedBytes + " 00 00 00 00 00 00 00 00",
            "5A 00 0D 00 00 00 00 00 10 00 00 00",
            "55 10 00 00 00 00 00 00 10 00 00 00",
            "43 02 00 00 00 00 00 03 24 00 00 00",
            "BE 00 00 00 00 10 00 00 01 F8 00 00",
            "BB 00 FF FF 00 00 00 00 00 00 00 00",
            "5A 00 0D 00 00 00 00 00 10 00 00 00",
            "55 10 00 00 00 00 00 00 10 00 00 00",
        };
        const std::vector<std::string> directions = {"none", "from", "to", "from", "from", "none", "from", "to"};
        const std::vector<uint32_t> lengths = {0, 16, 16, 804, 2352, 0, 16, 16};
        ASSERT_EQ(commands.size(), expected.size()) << "a second open touches the drive or a close restores twice";
        for (size_t i = 0; i < commands.size(); ++i) {
            EXPECT_EQ(hexText(commands[i].block), expected[i]) << "command " << i;
            EXPECT_EQ(commands[i].direction, directions[i]) << "command " << i;
            EXPECT_EQ(commands[i].length, lengths[i]) << "command " << i;
            EXPECT_EQ(commands[i].timeoutMs, 5000u) << "command " << i;
        }
        // The page goes back with its length zeroed and only the multiplier changed (the drive keeps
        // 0x2 in the high nibble).
        for (const auto& [index, multiplier] : {std::pair<size_t, uint8_t>{2, c.multiplier}, {7, 0}}) {
            ASSERT_EQ(commands[index].dataOut.size(), 16u);
            EXPECT_EQ(hexText(commands[index].dataOut),
                      hexText({0, 0, 0, 0, 0, 0, 0, 0, 0x0D, 0x06, 0x00, static_cast<uint8_t>(0x20 | multiplier), 0,
                               60, 0, 75}));
        }
        const std::string text = log();
        EXPECT_NE(text.find("[CDR] cdromSetSpinDownTime(" + std::to_string(c.spinDown) + ").\n"), std::string::npos);
        EXPECT_NE(text.find("[CDR] cdromSetSpeed(65535).\n"), std::string::npos);
    }
}

TEST_F(DriveHarness, WithSubchannelReadingASectorAndItsSubchannelAreOneCommand) {
    configure({});
    ASSERT_EQ(openWith(driveSettings()), 0);
    EXPECT_EQ(host().readSector(16).result, 0);
    closePlugin();
    std::vector<std::string> reads;
    for (const auto& command : commands()) {
        if (command.block[0] == 0xBE) reads.push_back(hexText(command.block) + " / " + std::to_string(command.length));
    }
    // The probe of the first track's first sector at open, then sector 16 with its raw P-W subchannel.
    EXPECT_EQ(reads, (std::vector<std::string>{"BE 00 00 00 00 00 00 00 01 F8 01 00 / 2448",
                                               "BE 00 00 00 00 10 00 00 01 F8 01 00 / 2448"}));
}

TEST_F(DriveHarness, TableOfContentsIsLogged) {
    ASSERT_EQ(openWith(driveSettings(4)), 0);
    const std::string text = log();
    EXPECT_NE(text.find("[CDR] cdromSetSpeed(708).\n"
                        "[CDR] cdromSetSpinDownTime(0).\n"
                        "[CDR] TOC:\n"
                        "[CDR] track[00]: 4 1 01  00:02:00\n"
                        "[CDR] track[01]: 0 1 02  00:08:00\n"
                        "[CDR] track[02]: 0 1 03  00:10:50\n"
                        "[CDR] track[03]: 0 1 aa  00:12:00\n"
                        "[CDR] Length: 750\n"),
              std::string::npos)
        << text;
}

TEST_F(DriveHarness, FailedReadsAreReportedWithTheirSense) {
    struct Case {
        const char* fault;
        const char* report;
    };
    const Case cases[] = {
        {"BE@20=2/3A/00", "0x02/0x3A/0x00\n[CDR] Not ready. [CDR] Medium not present.[CDR]\n"},
        {"BE@20=5/21/00/d", "0x05/0x21/0x00\n[CDR] Illegal request. [CDR] Logical block address out of range.[CDR]\n"},
        {"BE@20=3/11/06", "0x03/0x11/0x06\n[CDR] Medium error. [CDR] CIRC unrecovered error.[CDR]\n"},
        {"BE@20=9/BF/00", "0x09/0xBF/0x00\n[CDR] (reserved). [CDR] Loss of streaming.[CDR]\n"},
        {"BE@20=4/12/34/d", "0x04/0x12/0x34\n[CDR] Hardware error. [CDR]\n"},
        {"BE@20=none", "0x00/0x00/0x00\n[CDR] No sense data. [CDR] No additional sense information.[CDR]\n"},
        {"BE@20=timeout", "0x00/0x00/0x00\n[CDR] No sense data. [CDR] No additional sense information.[CDR]\n"},
        {"BE@20=error", "0x00/0x00/0x00\n[CDR] No sense data. [CDR] No additional sense information.[CDR]\n"},
    };
    const Bytes image = imageBytes();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        configure({.faults = c.fault});
        ASSERT_EQ(openWith(driveSettings()), 0);
        EXPECT_EQ(host().readSector(20).result, -1);
        const host::SectorRead next = host().readSector(21);
        EXPECT_EQ(next.result, 0);
        EXPECT_EQ(std::memcmp(next.data, image.data() + 21 * kRawSectorSize + 24, 64), 0);
        closePlugin();
        const std::string text = log();
        EXPECT_NE(text.find(std::string("[CDR] Sense data (SK/ASC/ASCQ): ") + c.report), std::string::npos) << text;
        EXPECT_EQ(text.find("[CDR] Sense data"), text.rfind("[CDR] Sense data")) << "one report only";
    }
}

TEST_F(DriveHarness, OpenOutcomes) {
    const std::string notADrive = dir() + "/notadrive";
    std::FILE* file = std::fopen(notADrive.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    struct Case {
        const char* name;
        DriveSetup setup;
        std::string path;
        long result;
        std::vector<std::string> present, absent;
    };
    const std::string device = kDevice;
    const Case cases[] = {
        {"no disc in the drive", {.noMedium = true}, device, 0,
         {"[CDR] Sense data (SK/ASC/ASCQ): 0x02/0x3A/0x00\n", "[CDR] track[00]: 0 0 00  00:00:00\n[CDR] Length: -150\n"},
         {}},
        {"a file without a dot", {}, notADrive, -1, {}, {"cdromSetSpeed", "cdrom device not opened"}},
        {"write access refused", {.access = "readonly"}, device, 0,
         {"[CDR] Warning: cdrom device opened read-only (" + device + ").\n", "[CDR] Length: 750\n"}, {}},
        {"drive held by another program", {.access = "busy"}, device, -1,
         {"[CDR] Error: cdrom device not opened (" + device + ").\n"}, {"cdromSetSpeed"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        configure(c.setup);
        fixtures::PluginIni settings = driveSettings();
        settings.current = c.path;
        EXPECT_EQ(openWith(settings), c.result);
        if (c.result == 0 && c.setup.noMedium) {
            unsigned char tn[2] = {0xEE, 0xEE};
            api().getTN(tn);
            EXPECT_EQ(tn[1], 0xEE) << "a drive without a disc has no track";
        }
        closePlugin();
        const std::string text = log();
        for (const auto& line : c.present) EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
        for (const auto& line : c.absent) EXPECT_EQ(text.find(line), std::string::npos) << line << "\n" << text;
    }
}

}  // namespace
}  // namespace lumadisc::drive_test
