// The fixture writer's images read by tools we did not write: isoinfo, iso-info, cd-info, cd-read and
// (for the EDC/ECC bytes) vcdimager. A test is skipped only when its tool is not installed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/unit/scratch_directory.h"
#include "tests/unit/shell_command.h"
#include "tools/fixtures/cue_image.h"
#include "tools/fixtures/demo_disc.h"
#include "src/disc/cd_utility.h"
#include "tools/fixtures/iso9660.h"
#include "tools/fixtures/psx_exe.h"

namespace lumadisc::fixtures {
namespace {

using test::shellOutput;

std::vector<uint8_t> readBytes(const std::string& path) {
    const std::string text = unit::readWholeFile(path);
    return std::vector<uint8_t>(text.begin(), text.end());
}

class FixtureOracles : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(scratch_.ok()); }
    std::string path(const std::string& name) const { return scratch_.path() + "/" + name; }
    unit::ScratchDirectory scratch_;
};

TEST_F(FixtureOracles, IsoTreeIsListedAlikeByBothListers) {
    REQUIRE_TOOLS("isoinfo", "iso-info");
    // Enough files that the root directory needs a second block, and one file of several blocks.
    std::vector<IsoFile> files = {{"SYSTEM.CNF", {'B', 'O', 'O', 'T'}}, {"PSX.EXE", buildExecutable()},
                                  {"BIG.DAT", std::vector<uint8_t>(5000, 7)}, {"EMPTY.DAT", {}}};
    for (int i = 0; i < 50; ++i) files.push_back({"FILE" + std::to_string(100 + i) + ".BIN", {uint8_t(i)}});
    IsoOptions options;
    options.volumeId = "ORACLE";
    options.minimumBlocks = 200;
    const IsoImage image = buildIso(files, options);
    const std::string iso = path("t.iso");
    std::string error;
    ASSERT_TRUE(writeIsoFile(image, iso, &error)) << error;
    ASSERT_EQ(image.blocks.size(), 200u);
    EXPECT_EQ(image.rootSize, 4096u);

    const std::string descriptor = shellOutput("isoinfo -d -i " + iso);
    EXPECT_NE(descriptor.find("Volume id: ORACLE"), std::string::npos) << descriptor;
    EXPECT_NE(descriptor.find("Volume size is: 200"), std::string::npos) << descriptor;
    const auto plain = test::isoListing(shellOutput("isoinfo -l -i " + iso), true);
    const auto xa = test::isoListing(shellOutput("iso-info --no-header -l -i " + iso), false);
    ASSERT_EQ(plain.size(), files.size() + 2) << "every file, . and .. listed by isoinfo";
    ASSERT_EQ(xa.size(), files.size() + 2) << "every file, . and .. listed by iso-info";
    for (const IsoEntry& entry : image.files) {
        ASSERT_TRUE(plain.count(entry.name)) << entry.name;
        EXPECT_EQ(plain.at(entry.name).extent, unsigned(entry.extent)) << entry.name;
        EXPECT_EQ(plain.at(entry.name).size, entry.size) << entry.name;
        std::string lower = entry.name.substr(0, entry.name.find(';'));
        for (char& ch : lower) ch = char(std::tolower(static_cast<unsigned char>(ch)));
        ASSERT_TRUE(xa.count(lower)) << lower;
        EXPECT_EQ(xa.at(lower).size, entry.size) << lower;
        if (entry.size > 0) {
            EXPECT_EQ(xa.at(lower).extent, unsigned(entry.extent)) << lower;
        }
    }
    EXPECT_EQ(plain.at("PSX.EXE;1").size, 4096u);
    EXPECT_EQ(plain.at("SYSTEM.CNF;1").size, 4u);
    // The content of a multi-block file comes back whole.
    const std::string extracted = shellOutput("isoinfo -i " + iso + " -x '/BIG.DAT;1'");
    EXPECT_EQ(extracted, std::string(5000, '\7'));
}

TEST_F(FixtureOracles, CdInfoAndCdReadAgreeWithTheCueImage) {
    REQUIRE_TOOLS("cd-info", "cd-read");
    const IsoImage iso = buildDemoIso();
    const std::vector<Sector> dataSectors = isoSectors(iso);
    CueImageBuilder builder;
    builder.addDataTrack(static_cast<int32_t>(dataSectors.size()),
                         [&](Lba lba, int32_t, Sector& sector) { sector = dataSectors[lba]; });
    builder.addAudioTrack(100, {}, 150);
    builder.addTrack({TrackKind::kAudio, 80, {}, 0, 75});  // a PREGAP line, no sectors in the file
    CueImage image;
    std::string error;
    ASSERT_TRUE(builder.write(scratch_.path(), "mixed", &image, &error)) << error;
    ASSERT_EQ(image.trackStarts, (std::vector<Lba>{0, 450, 550}));
    ASSERT_EQ(image.sectorCount, 630);
    EXPECT_EQ(std::filesystem::file_size(image.binPath), 630u * kRawSectorSize);

    const std::string info = shellOutput("cd-info --no-header --no-device-info -A --cue-file " + image.cuePath);
    std::vector<std::string> rows;  // "  1: 00:02:00  000000 XA ..." as absolute MSF, LSN and type
    std::istringstream in(info);
    for (std::string text; std::getline(in, text);) {
        char msf[9], type[16];
        int number, lsn;
        if (std::sscanf(text.c_str(), " %d: %8[0-9:] %d %15s", &number, msf, &lsn, type) == 4)
            rows.push_back(std::string(msf) + " " + std::to_string(lsn) + " " + type);
    }
    const std::pair<Lba, const char*> expected[] = {{0, "XA"}, {450, "audio"}, {550, "audio"}, {630, "leadout"}};
    for (size_t i = 0; i < std::size(expected); ++i) {
        const auto [start, type] = expected[i];
        EXPECT_EQ(i < rows.size() ? rows[i] : "", cueTime(start + kLeadInFrames) + " " + std::to_string(start) + " " + type)
            << info;
    }
    EXPECT_EQ(rows.size(), std::size(expected)) << info;

    // Raw sectors across the track boundaries, and the Form 1 user data of the volume descriptor.
    const std::string out = path("out.bin");
    for (const Lba lba : {0, 16, 299, 300, 449, 450, 629}) {
        int status = -1;
        shellOutput("cd-read --no-header -c " + image.cuePath + " -m audio -s " + std::to_string(lba) + " -n 2 -o " + out,
                    &status);
        ASSERT_EQ(status, 0) << "LBA " << lba;
        const auto bytes = readBytes(out);
        const int count = lba + 1 < image.sectorCount ? 2 : 1;
        ASSERT_GE(bytes.size(), size_t(count) * kRawSectorSize) << "LBA " << lba;
        for (int n = 0; n < count; ++n) {
            const Lba at = lba + n;
            const Sector expected = at < 300 ? dataSectors[at] : patternSector(at);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.begin() + n * kRawSectorSize))
                << "LBA " << at;
        }
    }
    shellOutput("cd-read --no-header -c " + image.cuePath + " -m m2f1 -s 16 -n 1 -o " + out);
    const auto user = readBytes(out);
    ASSERT_GE(user.size(), 2048u);
    EXPECT_TRUE(std::equal(iso.blocks[16].begin(), iso.blocks[16].end(), user.begin()));
}

TEST_F(FixtureOracles, EdcAndEccMatchSectorsWrittenByVcdimager) {
    REQUIRE_TOOLS("vcdimager", "ffmpeg");
    int status = -1;
    shellOutput("ffmpeg -hide_banner -loglevel fatal -y -f lavfi -i testsrc=size=352x240:rate=30000/1001 -f lavfi "
                "-i sine=frequency=1000:sample_rate=44100 -t 1 -target ntsc-vcd clip.mpg && "
                "vcdimager -q -t vcd2 --cue-file=v.cue --bin-file=v.bin clip.mpg",
                &status);
    ASSERT_EQ(status, 0);
    const auto bin = readBytes(path("v.bin"));
    ASSERT_GT(bin.size(), 100u * kRawSectorSize);
    int form1 = 0, form2 = 0;
    for (size_t offset = 0; offset + kRawSectorSize <= bin.size(); offset += kRawSectorSize) {
        Sector original;
        std::copy_n(bin.begin() + offset, kRawSectorSize, original.begin());
        ASSERT_EQ(original[15], 2) << "sector " << offset / kRawSectorSize;
        Sector recomputed = original;
        const bool isForm2 = original[18] & submode::kForm2;
        std::fill(recomputed.begin() + (isForm2 ? 2348 : 2072), recomputed.end(), 0);
        isForm2 ? fillForm2Edc(recomputed.data()) : fillForm1EdcEcc(recomputed.data());
        ++(isForm2 ? form2 : form1);
        ASSERT_EQ(recomputed, original) << "sector " << offset / kRawSectorSize;
    }
    EXPECT_GT(form1, 0);
    EXPECT_GT(form2, 0);
}

TEST_F(FixtureOracles, DemoDiscHoldsTheBootFilesAndTheTone) {
    REQUIRE_TOOLS("cd-read", "isoinfo");
    std::string error;
    ASSERT_TRUE(writeDemoDisc(path("demo"), &error)) << error;
    const std::string cue = path("demo/demo.cue");
    EXPECT_EQ(unit::readWholeFile(cue),
              "FILE \"demo.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n"
              "  TRACK 02 AUDIO\n    INDEX 00 00:04:00\n    INDEX 01 00:06:00\n");
    EXPECT_EQ(std::filesystem::file_size(path("demo/demo.bin")),
              uint64_t(demo_disc::kTotalSectors) * kRawSectorSize);

    // The data track's user data is a volume that isoinfo reads the boot files from.
    const std::string iso = path("track1.iso");
    int status = -1;
    shellOutput("cd-read --no-header -c " + cue + " -m m2f1 -s 0 -n " + std::to_string(demo_disc::kDataSectors) + " -o " + iso,
                &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(shellOutput("isoinfo -i " + iso + " -x '/SYSTEM.CNF;1'"), demo_disc::kSystemCnf);
    const std::string exe = shellOutput("isoinfo -i " + iso + " -x '/PSX.EXE;1'");
    const auto built = buildExecutable();
    EXPECT_EQ(exe, std::string(built.begin(), built.end()));

    // Track 2: silence in its gap, the tone from INDEX 01 on.
    const std::string audio = path("audio.bin");
    shellOutput("cd-read --no-header -c " + cue + " -m audio -s " + std::to_string(demo_disc::kAudioStart - 1) + " -n 2 -o " + audio,
                &status);
    ASSERT_EQ(status, 0);
    const auto bytes = readBytes(audio);
    ASSERT_GE(bytes.size(), 2u * kRawSectorSize);
    EXPECT_TRUE(std::all_of(bytes.begin(), bytes.begin() + kRawSectorSize, [](uint8_t b) { return b == 0; }));
    const Sector tone = toneSector(demo_disc::kTone, 0);
    EXPECT_TRUE(std::equal(tone.begin(), tone.end(), bytes.begin() + kRawSectorSize));
}

}  // namespace
}  // namespace lumadisc::fixtures
