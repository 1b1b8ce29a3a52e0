// The two built-in discs through the classic exports of the built plugin: the executable disc made
// around a ".exe" file (its template judged by ISO 9660 readers we did not write and by recomputed
// EDC/ECC) and the empty disc "No CD (bios shell)".
#include <algorithm>
#include <cstring>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "src/disc/cd_utility.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/unit/shell_command.h"
#include "src/disc/cd_utility.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/psx_exe.h"
#include "tools/fixtures/sector.h"

namespace lumadisc::e2e {
namespace {

using namespace std::string_literals;

constexpr int kUser = 2048;
constexpr size_t kBufferBytes = kRawSectorSize - 12;  // CDRgetBuffer hands out the sector from its header

class BuiltinDiscs : public PluginHarness {
protected:
    long openExecutable(const std::vector<uint8_t>& bytes) {
        EXPECT_TRUE(fixtures::writeBytes(scratch_.file("game.exe"), bytes, nullptr));
        return openWith(settingsFor(scratch_.file("game.exe")));
    }
    std::vector<uint8_t> buffer() { return std::vector<uint8_t>(api().getBuffer(), api().getBuffer() + kBufferBytes); }
};

TEST_F(BuiltinDiscs, ExecutableDiscIsOneDataTrackThatIsoReadersAccept) {
    ASSERT_EQ(openExecutable(fixtures::buildExecutable()), 0);
    unsigned char tn[2] = {0, 0}, td1[3] = {9, 9, 9}, td0[3] = {9, 9, 9};
    api().getTN(tn);
    api().getTD(1, td1);
    api().getTD(0, td0);  // frame, second, minute: the lead-out after the 768-sector volume
    EXPECT_EQ((std::vector<int>{tn[0], tn[1], td1[0], td1[1], td1[2], td0[0], td0[1], td0[2]}),
              (std::vector<int>{1, 1, 0, 2, 0, 18, 12, 0}));
    std::vector<uint8_t> iso;
    for (Lba lba = 0; lba < 768; ++lba) {
        const host::SectorRead read = host().readSector(lba);
        ASSERT_EQ(read.result, 0) << "LBA " << lba;
        iso.insert(iso.end(), read.data, read.data + kUser);
    }
    const std::string isoPath = scratch_.file("disc.iso");
    ASSERT_TRUE(fixtures::writeBytes(isoPath, iso, nullptr));
    // iso-info shows the name translated (lower case, no version) and decodes the CD-XA fields.
    for (const auto& [isoinfo, name] : {std::pair<bool, std::string>{true, "PSX.EXE;1"}, {false, "psx.exe"}}) {
        const std::string command = isoinfo ? "isoinfo -l -i " + isoPath : "iso-info --no-header -l -i " + isoPath;
        const auto listing = test::isoListing(test::shellOutput(command), isoinfo);
        ASSERT_TRUE(listing.count(name)) << command;
        EXPECT_EQ((std::vector<unsigned>{listing.at(name).size, listing.at(name).extent}),
                  (std::vector<unsigned>{1525760, 23}))
            << command;
    }
}

TEST_F(BuiltinDiscs, TemplateSectorsCarryValidEdcAndEcc) {
    ASSERT_EQ(openExecutable(fixtures::buildExecutable()), 0);
    uint8_t sector[kRawSectorSize], sub[kSubchannelSize], recomputed[kRawSectorSize];
    for (Lba lba = 0; lba < 23; ++lba) {
        SCOPED_TRACE("LBA " + std::to_string(lba));
        host().readRaw(lba, sector, sub);
        const Msf bcd = bcdMsf(msfFromLba(lba));
        const bool form2 = lba >= 12 && lba <= 15;
        const uint8_t sm = form2 ? 0x20 : 0x08;
        EXPECT_EQ(std::vector<uint8_t>(sector + 11, sector + 24),
                  (std::vector<uint8_t>{0, bcd.minute, bcd.second, bcd.frame, 2, 0, 0, sm, 0, 0, 0, sm, 0}));
        std::memcpy(recomputed, sector, sizeof recomputed);
        form2 ? fillForm2Edc(recomputed) : fillForm1EdcEcc(recomputed);
        EXPECT_EQ(std::memcmp(recomputed, sector, sizeof recomputed), 0) << "stored EDC/ECC differ";
        EXPECT_TRUE(!form2 || std::count(sector + 24, sector + 2348, 0) == 2324) << "Form 2 data is zero";
    }
    host().readRaw(16, sector, sub);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(sector + 24), 19), "\001CD001\001\000PLAYSTATION"s);
}

// From Lba 23 on, sectors come from the file; what the file does not cover keeps the buffer's former
// bytes, and a position before the disc fails without touching the buffer.
TEST_F(BuiltinDiscs, ExecutableSectorsFollowTheFile) {
    std::vector<uint8_t> exe = fixtures::buildExecutable();
    for (size_t i = exe.size(); i < 78 * kUser + 100; ++i)  // ends 100 bytes into Lba 101
        exe.push_back(fixtures::patternByte(static_cast<Lba>(i / kUser), static_cast<int>(i % kUser)));
    ASSERT_EQ(openExecutable(exe), 0);
    // Form 1 sectors with EDC/ECC as the fixture writer makes them: the file's bytes (zeros past its
    // end), then empty sectors to the end of the volume (Lba 767); outside the disc nothing is written.
    const struct { Lba lba; size_t fileOffset, fileBytes; uint8_t submode; } steps[] = {
        {23, 0, kUser, 8}, {100, 157696, kUser, 8}, {101, 159744, 100, 8}, {767, 0, 0, 0}, {5000, 0, 0, 0xFF},
        {-1, 0, 0, 0xFF}, {-150, 0, 0, 0xFF},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE("LBA " + std::to_string(step.lba));
        std::vector<uint8_t> expected = buffer();
        EXPECT_EQ(host().readSector(step.lba).result, 0);
        if (step.submode != 0xFF) {
            std::vector<uint8_t> user(kUser, 0);
            std::copy_n(exe.begin() + static_cast<std::ptrdiff_t>(step.fileOffset), step.fileBytes, user.begin());
            const fixtures::Sector sector = fixtures::form1Sector(step.lba, user, {0, 0, step.submode, 0});
            expected.assign(sector.begin() + 12, sector.end());
        }
        EXPECT_EQ(buffer(), expected);
    }
    // BCD digits out of range address far beyond any disc: the read answers 0 and brings no data.
    const std::vector<uint8_t> before = buffer();
    unsigned char time[3] = {0xFF, 0xFF, 0xFF};
    EXPECT_EQ(api().readTrack(time), 0);
    EXPECT_TRUE(std::equal(before.begin() + 12, before.end(), buffer().begin() + 12));
}

TEST_F(BuiltinDiscs, MissingExecutableFailsTheOpen) {
    EXPECT_EQ(openWith(settingsFor(scratch_.file("gone.exe"))), -1);
    closePlugin();
    EXPECT_NE(log().find("[CDR] Error: data file not opened (" + scratch_.file("gone.exe") + ").\n"),
              std::string::npos) << log();
}

TEST_F(BuiltinDiscs, EmptyDiscOpensWithoutTracksOrSectors) {
    ASSERT_EQ(openWith(settingsFor("No CD (bios shell)")), 0);
    CdrStat status{};
    api().getStatus(&status);
    EXPECT_EQ(status.Type, 1u) << "a data disc";
    unsigned char tn[2] = {7, 9}, td[3] = {5, 5, 5};
    EXPECT_EQ(api().getTN(tn), -1) << "no track: the query fails";
    for (unsigned char track : {0, 1, 2}) EXPECT_EQ(api().getTD(track, td), -1);
    EXPECT_EQ((std::vector<int>{tn[0], tn[1], td[0], td[1], td[2]}), (std::vector<int>{7, 9, 5, 5, 5}))
        << "no query writes its buffer";
    for (const Lba lba : {0, 16, 23}) {
        const host::SectorRead read = host().readSector(lba);
        EXPECT_EQ(read.result, -1) << lba;
        EXPECT_EQ(buffer(), std::vector<uint8_t>(kBufferBytes, 0)) << "nothing is written, LBA " << lba;
        EXPECT_TRUE(qCrcValid(read.subchannel + kSubchannelQOffset)) << "the generated subchannel";
    }
    closePlugin();
    EXPECT_NE(log().find("[CDR] failed.\n"), std::string::npos);
}

TEST_F(BuiltinDiscs, WithoutTracksTheControllerAnswersGetTnAndGetTdWithAnError) {
    std::string error;
    ASSERT_TRUE(fixtures::writePluginIni(dir(), settingsFor("No CD (bios shell)"), &error)) << error;
    host::ConsoleHost console;
    ASSERT_TRUE(console.load(LUMADISC_PLUGIN_PATH)) << console.error();
    ASSERT_EQ(console.init(), 0);
    ASSERT_EQ(console.open(), 0);
    host::ConsoleDriver driver(console);
    for (const auto& [command, parameters] : {std::pair{host::kCmdGetTN, std::vector<uint8_t>{}},
                                              std::pair{host::kCmdGetTD, std::vector<uint8_t>{0x01}}}) {
        const host::CommandResult result = driver.command(command, parameters);
        EXPECT_TRUE(result.error()) << host::ConsoleDriver::commandName(command) << ": INT5, the disc has no track";
    }
    console.bringDown();
}

TEST_F(BuiltinDiscs, AnOpenThatFailsHalfWayLeavesNothingOpenOnEitherFace) {
    // The sheet opens, its data file does not: the open fails after the kind was bound.
    fixtures::writeText(scratch_.file("half.cue"), "FILE \"gone.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n",
                        nullptr);
    EXPECT_EQ(openWith(settingsFor(scratch_.file("half.cue"))), -1);
    unsigned char tn[2] = {7, 9}, time[3] = {0x00, 0x02, 0x00};
    EXPECT_EQ(api().getTN(tn), -1) << "no disc is half open behind the failed open";
    EXPECT_EQ(api().readTrack(time), -1);
    closePlugin();
    host::ConsoleHost console;
    ASSERT_TRUE(console.load(LUMADISC_PLUGIN_PATH)) << console.error();
    ASSERT_EQ(console.init(), 0);
    EXPECT_EQ(console.open(), -1);
    host::ConsoleDriver driver(console);
    EXPECT_TRUE(driver.command(host::kCmdGetTN).error()) << "the controller has no disc after the failed Open";
    console.bringDown();
}

}  // namespace
}  // namespace lumadisc::e2e
