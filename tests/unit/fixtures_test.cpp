// The fixture writer's own output, checked in process: sector layouts, the executable, the INI writer
// (read back through iniparser, as the plugin reads it).
#include <gtest/gtest.h>

#include <iniparser/iniparser.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/scratch_directory.h"
#include "tools/fixtures/ini_file.h"
#include "tools/fixtures/psx_exe.h"
#include "tools/fixtures/sector.h"

namespace lumadisc::fixtures {
namespace {

uint32_t le32At(const std::vector<uint8_t>& bytes, size_t offset) {
    return bytes[offset] | bytes[offset + 1] << 8 | bytes[offset + 2] << 16 | uint32_t(bytes[offset + 3]) << 24;
}

TEST(FixtureSectors, Mode2SectorsCarrySyncBcdHeaderSubheaderTwiceAndUserData) {
    struct Case {
        Lba lba;
        uint8_t minute, second, frame;  // BCD of lba + 150
    };
    const Case cases[] = {{0, 0x00, 0x02, 0x00}, {16, 0x00, 0x02, 0x16}, {4350, 0x01, 0x00, 0x00},
                          {449849, 0x99, 0x59, 0x74}};
    const std::vector<uint8_t> user(3000, 0xA5);  // longer than either form holds
    const Subheader subheader{1, 2, submode::kData | submode::kForm2, 0x04};
    for (const Case& c : cases) {
        const Sector form1 = form1Sector(c.lba, user, subheader, false);
        const Sector form2 = form2Sector(c.lba, user, {1, 2, submode::kData, 0x04}, false);
        for (const Sector* sector : {&form1, &form2}) {
            const uint8_t expected[24] = {0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0,
                                          c.minute, c.second, c.frame, 2, 1, 2, 0, 0x04, 1, 2, 0, 0x04};
            std::vector<uint8_t> head(sector->begin(), sector->begin() + 24);
            head[18] = head[22] = 0;  // the submode, checked below
            EXPECT_EQ(head, std::vector<uint8_t>(expected, expected + 24)) << "LBA " << c.lba;
        }
        EXPECT_EQ(form1[18], submode::kData) << "a Form 1 sector has the form bit clear";
        EXPECT_EQ(form1[22], submode::kData);
        EXPECT_EQ(form2[18], submode::kData | submode::kForm2);
        EXPECT_EQ(form1[24 + 2047], 0xA5);
        EXPECT_EQ(form1[24 + 2048], 0) << "Form 1 holds 2048 user bytes";
        EXPECT_EQ(form2[24 + 2323], 0xA5);
        EXPECT_EQ(form2[24 + 2324], 0) << "Form 2 holds 2324 user bytes";
    }
    // With EDC/ECC the reserved area is filled; the header and data stay as they were.
    const Sector checked = form1Sector(16, user);
    EXPECT_TRUE(std::equal(checked.begin(), checked.begin() + 2072, form1Sector(16, user, {}, false).begin()));
    EXPECT_NE(std::vector<uint8_t>(checked.begin() + 2072, checked.end()), std::vector<uint8_t>(280, 0));
}

TEST(FixtureSectors, PatternSectorsDifferFromTheirNeighboursAtEveryOffset) {
    for (const Lba lba : {-150, 0, 1, 255, 449, 300000}) {
        const Sector sector = patternSector(lba);
        const Sector next = patternSector(lba + 1);
        EXPECT_EQ(sector, patternSector(lba)) << "deterministic";
        int shiftedMatches = 0;
        for (int i = 0; i < kRawSectorSize; ++i) {
            ASSERT_NE(sector[i], next[i]) << "LBA " << lba << " offset " << i;
            if (i > 0 && sector[i] == sector[i - 1]) ++shiftedMatches;
        }
        EXPECT_LT(shiftedMatches, 40) << "a copy shifted by one byte must not match";
    }
}

TEST(FixtureSectors, AudioIsLittleEndianLeftThenRightAndTonesAreContinuous) {
    const StereoFrame frames[] = {{0x1234, -2}, {-32768, 32767}};
    const Sector audio = audioSector(frames);
    EXPECT_EQ(std::vector<uint8_t>(audio.begin(), audio.begin() + 8),
              (std::vector<uint8_t>{0x34, 0x12, 0xFE, 0xFF, 0x00, 0x80, 0xFF, 0x7F}));
    EXPECT_TRUE(std::all_of(audio.begin() + 8, audio.end(), [](uint8_t b) { return b == 0; }));

    const Tone tone{1000.0, 10000, 500.0};
    int peak = 0;
    int leftCrossings = 0;
    int rightCrossings = 0;
    StereoFrame previous = toneFrame(tone, 0);
    for (int64_t sectorIndex = 0; sectorIndex < 75; ++sectorIndex) {  // one second
        const Sector sector = toneSector(tone, sectorIndex);
        for (int i = 0; i < kFramesPerSector; ++i) {
            const StereoFrame frame = audioFrameAt(sector, i);
            ASSERT_EQ(frame.left, toneFrame(tone, sectorIndex * kFramesPerSector + i).left);
            peak = std::max(peak, std::abs(int(frame.left)));
            leftCrossings += (previous.left < 0) != (frame.left < 0);
            rightCrossings += (previous.right < 0) != (frame.right < 0);
            previous = frame;
        }
    }
    EXPECT_NEAR(peak, 10000, 5);
    EXPECT_NEAR(leftCrossings, 2000, 2);  // two sign changes per period
    EXPECT_NEAR(rightCrossings, 1000, 2);
}

TEST(FixtureExecutable, HeaderAndCodePrintTheBootLine) {
    const std::vector<uint8_t> exe = buildExecutable();
    ASSERT_GE(exe.size(), 4096u);
    EXPECT_EQ(std::string(exe.begin(), exe.begin() + 8), "PS-X EXE");
    EXPECT_EQ(le32At(exe, 0x10), 0x80010000u) << "entry point";
    EXPECT_EQ(le32At(exe, 0x14), 0u) << "gp";
    EXPECT_EQ(le32At(exe, 0x18), 0x80010000u) << "load address";
    EXPECT_EQ(le32At(exe, 0x1C), exe.size() - 2048) << "text size";
    EXPECT_EQ(le32At(exe, 0x1C) % 2048, 0u);
    EXPECT_EQ(le32At(exe, 0x30), 0x801FFF00u) << "stack";
    EXPECT_STREQ(reinterpret_cast<const char*>(&exe[0x4C]), "lumaDisc demo executable");

    // Follow the code: $a0 = lui/ori pair, $t1 = 0x3F, a call through a register that holds 0xA0.
    const uint32_t lui = le32At(exe, 2048);
    const uint32_t ori = le32At(exe, 2052);
    ASSERT_EQ(lui & 0xFFFF0000u, 0x3C040000u);
    ASSERT_EQ(ori & 0xFFFF0000u, 0x34840000u);
    const uint32_t stringAddress = (lui << 16) | (ori & 0xFFFF);
    const size_t stringOffset = 2048 + (stringAddress - le32At(exe, 0x18));
    ASSERT_LT(stringOffset, exe.size());
    EXPECT_STREQ(reinterpret_cast<const char*>(&exe[stringOffset]), "LUMADISC-BOOT-OK\n");
    const auto code = printAndSpinCode(stringAddress);
    EXPECT_NE(std::find(code.begin(), code.end(), 0x2409003Fu), code.end()) << "addiu $t1,$zero,0x3F";
    EXPECT_NE(std::find(code.begin(), code.end(), 0x240800A0u), code.end()) << "addiu $t0,$zero,0xA0";
    EXPECT_NE(std::find(code.begin(), code.end(), 0x0100F809u), code.end()) << "jalr $ra,$t0";
    EXPECT_EQ(code[code.size() - 2], 0x1000FFFFu) << "spins on itself";
}

TEST(FixtureIni, PluginSettingsReadBackThroughIniparser) {
    unit::ScratchDirectory scratch;
    ASSERT_TRUE(scratch.ok());
    PluginIni settings;
    settings.current = scratch.path() + "/odd;name#1.cue";
    settings.enableLogging = true;
    settings.caching = false;
    settings.cachingLevel = 50;
    settings.extra.push_back({"misc", {"coveropened", "true"}});
    settings.extra.push_back({"Key Bindings", {"ShowStatus", "F5"}});
    std::string error;
    ASSERT_TRUE(writePluginIni(scratch.path(), settings, &error)) << error;

    dictionary* ini = iniparser_load((scratch.path() + "/configs/lumaDisc.ini").c_str());
    ASSERT_NE(ini, nullptr);
    EXPECT_STREQ(iniparser_getstring(ini, "cd selection:current", ""), settings.current.c_str());
    EXPECT_EQ(iniparser_getboolean(ini, "misc:enablelogging", -1), 1);
    EXPECT_EQ(iniparser_getboolean(ini, "misc:coveropened", -1), 1);
    EXPECT_EQ(iniparser_getboolean(ini, "cdrom property:caching", -1), 0);
    EXPECT_EQ(iniparser_getint(ini, "cdrom property:cachinglevel", -1), 50);
    EXPECT_EQ(iniparser_getstring(ini, "cdrom property:playcdda", nullptr), nullptr) << "unset keys stay out";
    EXPECT_STREQ(iniparser_getstring(ini, "key bindings:showstatus", ""), "F5");
    EXPECT_EQ(iniparser_getnsec(ini), 4);
    iniparser_freedict(ini);

    IniWriter malformed;
    malformed.section("misc").raw("enablelogging").raw("[unclosed");
    EXPECT_EQ(malformed.text("\r\n"), "[misc]\r\nenablelogging\r\n[unclosed\r\n");
}

}  // namespace
}  // namespace lumadisc::fixtures
