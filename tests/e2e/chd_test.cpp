// Compressed images that chdman made from generated sheets, read through the built plugin: every
// sector and every track row equals the sheet's, whatever the codec and hunk size; damaged images
// give their reason and never take the host down.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "src/disc/cd_utility.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/e2e/tool_runner.h"
#include "tools/fixtures/chd_image.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/image_builder.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;
using fixtures::CueTrack;
using fixtures::TrackKind;

#define REQUIRE_CHDMAN() \
    if (!fixtures::chdmanInstalled()) GTEST_SKIP() << "chdman (mame-tools) is not installed"

void mixed(Lba lba, int32_t, fixtures::Sector& sector) { sector = fixtures::mixedDataSector(lba); }
void mode1(Lba lba, int32_t, fixtures::Sector& sector) {
    sector = fixtures::mixedDataSector(lba - lba % 5 + 3);  // the Mode 1 sort, at this lba
    writeSectorHeader(sector.data(), lba, 1);
    fillMode1EdcEcc(sector.data());
}
void tone(Lba, int32_t trackSector, fixtures::Sector& sector) {
    if (trackSector < 0) sector.fill(0);
    else sector = fixtures::toneSector({523.25, 12000, 659.25}, trackSector);
}

struct Sheet {
    const char* name;
    std::vector<CueTrack> tracks;
    bool mode1 = false;  // the data track announced as MODE1/2352
};

// 301 data sectors leave three frames of padding in the image; the audio tracks' gap is stored.
const Sheet kSheets[] = {
    {"data_only", {{TrackKind::kData, 900, mixed, 0, 0}}},
    {"data_audio",
     {{TrackKind::kData, 301, mixed, 0, 0}, {TrackKind::kAudio, 300, tone, 150, 0}, {TrackKind::kAudio, 77, tone, 0, 0}}},
    {"mode1_audio", {{TrackKind::kData, 250, mode1, 0, 0}, {TrackKind::kAudio, 130, tone, 0, 0}}, true},
};

struct Written {
    fixtures::CueImage cue;
    std::string chd;
};

// Writes the sheet into directory and makes <name>.chd from it with chdman's options.
Written writeSheetAndChd(const Sheet& sheet, const std::string& directory, const std::vector<std::string>& options,
                         const std::function<void(const std::string& binPath)>& damageBin = {}) {
    fixtures::CueImageBuilder builder;
    for (const CueTrack& track : sheet.tracks) builder.addTrack(track);
    Written written;
    std::string error;
    EXPECT_TRUE(builder.write(directory, sheet.name, &written.cue, &error)) << error;
    if (sheet.mode1) {
        std::string text = builder.sheet(std::string(sheet.name) + ".bin");
        text.replace(text.find("MODE2/2352"), 10, "MODE1/2352");
        EXPECT_TRUE(fixtures::writeCueSheet(written.cue.cuePath, text, &error)) << error;
    }
    if (damageBin) damageBin(written.cue.binPath);
    written.chd = fixtures::joinPath(directory, std::string(sheet.name) + ".chd");
    EXPECT_TRUE(fixtures::writeChd(written.cue.cuePath, written.chd, options, &error)) << error;
    return written;
}

Bytes fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}
void writeFileBytes(const std::string& path, const Bytes& bytes) { fixtures::writeBytes(path, bytes, nullptr); }

struct Case {
    int sheet;
    std::vector<std::string> options;
    std::string label;
};
void PrintTo(const Case& c, std::ostream* out) { *out << c.label; }

class ChdImages : public PluginHarness, public ::testing::WithParamInterface<Case> {
protected:
    std::vector<std::string> trackRows(const std::string& disc) {
        EXPECT_EQ(openWith(settingsFor(disc, false)), 0) << disc;
        std::vector<std::string> rows;
        for (const auto& track : host().tracks()) {
            rows.push_back(std::to_string(track.number) + " " + std::to_string(track.lba) + " " +
                           std::to_string(track.length) + (track.audio ? " audio" : " data"));
        }
        rows.push_back("lead-out " + std::to_string(host().leadOut()));
        return rows;
    }
};

TEST_P(ChdImages, EverySectorAndTrackRowEqualsTheSheetsAndVerifyPasses) {
    REQUIRE_CHDMAN();
    const Case& c = GetParam();
    const Written written = writeSheetAndChd(kSheets[c.sheet], dir(), c.options);
    const auto fromCue = trackRows(written.cue.cuePath);
    closePlugin();
    const auto fromChd = trackRows(written.chd);
    EXPECT_EQ(fromChd, fromCue);

    const Bytes bin = fileBytes(written.cue.binPath);
    ASSERT_EQ(bin.size(), size_t(written.cue.sectorCount) * kRawSectorSize);
    for (Lba lba = 0; lba < written.cue.sectorCount; ++lba) {
        const host::SectorRead read = host().readSector(lba);
        ASSERT_EQ(read.result, 0) << "LBA " << lba;
        Bytes raw(kRawSectorSize);
        uint8_t sub[kSubchannelSize];
        host().readRaw(lba, raw.data(), sub);
        const auto expected = bin.begin() + static_cast<long>(lba) * kRawSectorSize;
        ASSERT_TRUE(std::equal(raw.begin(), raw.end(), expected)) << "LBA " << lba;
        ASSERT_TRUE(qCrcValid(sub + kSubchannelQOffset)) << "LBA " << lba;
    }
    closePlugin();

    const ToolResult verify = runLumadisc(scratch_, {"verify", written.chd});
    EXPECT_EQ(verify.exitCode, 0) << describeRun(verify);
    EXPECT_NE(verify.out.find("result:      ok (0 problems)"), std::string::npos) << verify.out;
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, ChdImages,
    ::testing::Values(Case{0, {}, "data_only_default"}, Case{0, {"-c", "cdlz"}, "data_only_cdlz"},
                      Case{0, {"-c", "cdzl"}, "data_only_cdzl"}, Case{0, {"-c", "cdfl"}, "data_only_cdfl"},
                      Case{0, {"-hs", "78336"}, "data_only_32_frame_hunks"}, Case{1, {}, "data_audio_default"},
                      Case{1, {"-c", "cdlz"}, "data_audio_cdlz"}, Case{1, {"-c", "cdzl"}, "data_audio_cdzl"},
                      Case{1, {"-c", "cdfl"}, "data_audio_cdfl"}, Case{1, {"-hs", "78336"}, "data_audio_32_frame_hunks"},
                      Case{1, {"-hs", "4896", "-c", "cdzl"}, "data_audio_2_frame_hunks"},
                      Case{2, {}, "mode1_audio_default"}, Case{2, {"-c", "none"}, "mode1_audio_uncompressed"}),
    [](const auto& info) { return info.param.label; });

// Damage done to a good image (data + audio, default codecs) and what the open or the reads say.
struct Damage {
    const char* name;
    std::function<void(Bytes&)> damage;
    long openResult;
    std::string line;  // in the log
};
void PrintTo(const Damage& d, std::ostream* out) { *out << d.name; }

uint64_t mapOffset(const Bytes& chd) { return readBe64(chd.data() + 40); }

const Damage kDamages[] = {
    {"flipped_byte_in_a_hunk",
     [](Bytes& chd) {
         const uint64_t map = mapOffset(chd);
         const uint64_t firstHunk = (uint64_t(readBe16(chd.data() + map + 4)) << 32) | readBe32(chd.data() + map + 6);
         chd[firstHunk + 40] ^= 0x5A;
     },
     0, "[CDR] Error: chd sector 0 unreadable: hunk 0 "},
    {"truncated_file", [](Bytes& chd) { chd.resize(chd.size() / 2); }, -1, "truncated"},
    {"wrong_map_crc", [](Bytes& chd) { chd[mapOffset(chd) + 10] ^= 0x01; }, -1, ": hunk map CRC mismatch.\n"},
    {"wrong_signature", [](Bytes& chd) { chd[0] = 'X'; }, -1, ": not a compressed hunk image (no MComprHD signature).\n"},
    {"version_4", [](Bytes& chd) { writeBe32(chd.data() + 12, 4); }, -1, ": format version 4 not supported (only version 5).\n"},
    {"no_metadata", [](Bytes& chd) { std::fill_n(chd.begin() + 48, 8, 0); }, -1, ": no CD track metadata.\n"},
    {"hunk_size_not_frames", [](Bytes& chd) { writeBe32(chd.data() + 56, 1000); }, -1,
     ": hunk size 1000 is not a whole number of CD frames.\n"},
    {"needs_a_parent", [](Bytes& chd) { chd[110] = 1; }, -1, ": needs a parent image (difference images are not supported).\n"},
    {"header_only", [](Bytes& chd) { chd.resize(60); }, -1, ": header truncated or of a wrong length.\n"},
    {"empty_file", [](Bytes& chd) { chd.clear(); }, -1, ": not a compressed hunk image"},
};

class DamagedChd : public PluginHarness, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedChd, GivesItsReasonOnTheOpenOrTheReadThatMeetsIt) {
    REQUIRE_CHDMAN();
    const Written written = writeSheetAndChd(kSheets[1], dir(), {});
    Bytes chd = fileBytes(written.chd);
    GetParam().damage(chd);
    writeFileBytes(written.chd, chd);
    EXPECT_EQ(openWith(settingsFor(written.chd)), GetParam().openResult);
    int failed = 0, reads = 0;
    for (Lba lba = 0; lba < written.cue.sectorCount; lba += 3, ++reads) failed += host().readSector(lba).result < 0;
    if (GetParam().openResult == 0) {  // a damaged hunk fails the reads of its own sectors only
        EXPECT_GT(failed, 0);
        EXPECT_LT(failed, reads / 4);
    }
    closePlugin();
    const std::string expected = GetParam().openResult == 0
                                     ? GetParam().line
                                     : "[CDR] Error: chd image not opened (" + written.chd + "): ";
    EXPECT_NE(log().find(expected), std::string::npos) << log();
    EXPECT_NE(log().find(GetParam().line), std::string::npos) << log();
}

INSTANTIATE_TEST_SUITE_P(Damages, DamagedChd, ::testing::ValuesIn(kDamages),
                         [](const auto& info) { return std::string(info.param.name); });

class ChdTools : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(scratch_.ok()); }
    host::ScratchDir scratch_{"lumadisc-chd-tool"};
};

TEST_F(ChdTools, VerifyNamesTheSectorOfAPlantedEdcError) {
    REQUIRE_CHDMAN();
    constexpr Lba kBroken = 123;  // a Mode 1 sector: its EDC no longer matches the changed byte
    const Written written = writeSheetAndChd(kSheets[0], scratch_.path(), {}, [](const std::string& binPath) {
        Bytes bin = fileBytes(binPath);
        bin[size_t(kBroken) * kRawSectorSize + 700] ^= 0x10;
        writeFileBytes(binPath, bin);
    });
    for (const std::string& disc : {written.chd, written.cue.cuePath}) {
        const ToolResult text = runLumadisc(scratch_, {"verify", disc});
        EXPECT_EQ(text.exitCode, 1) << describeRun(text);
        EXPECT_NE(text.out.find("sector 123 (00:03:48): EDC mismatch"), std::string::npos) << text.out;
        EXPECT_NE(text.out.find("result:      FAILED (1 problem)"), std::string::npos) << text.out;
        EXPECT_EQ(text.err, "") << "no progress bar when standard error is not a terminal";
        const ToolResult json = runLumadisc(scratch_, {"verify", disc, "--json"});
        EXPECT_EQ(json.exitCode, 1);
        EXPECT_NE(json.out.find("{\"lba\": 123, \"msf\": \"00:03:48\", \"check\": \"edc\""), std::string::npos) << json.out;
        EXPECT_NE(json.out.find("\"problemCount\": 1,"), std::string::npos) << json.out;
    }
}

TEST_F(ChdTools, ConvertGivesBackTheSheetItsGapsAndTheSameBin) {
    REQUIRE_CHDMAN();
    // A stored INDEX 00 gap before track 2 and an unstored PREGAP before track 3: the sheet, the same
    // disc as one file per track, and chdman's CHD of it all convert back to the sheet and its .bin.
    fixtures::CueImageBuilder builder;
    builder.addTrack({TrackKind::kData, 301, mixed, 0, 0})
        .addTrack({TrackKind::kAudio, 300, tone, 150, 0})
        .addTrack({TrackKind::kAudio, 77, tone, 0, 75});
    fixtures::CueImage single, split;
    std::string error;
    ASSERT_TRUE(builder.write(scratch_.file("single"), "disc", &single, &error)) << error;
    ASSERT_TRUE(builder.writePerTrack(scratch_.file("split"), "disc", &split, &error)) << error;
    const std::string chd = scratch_.file("disc.chd");
    ASSERT_TRUE(fixtures::writeChd(single.cuePath, chd, {"-c", "cdlz"}, &error)) << error;
    for (const std::string& source : {single.cuePath, split.cuePath, chd}) {
        SCOPED_TRACE(source);
        const std::string out = scratch_.file("out/converted.cue");
        fixtures::makeDirectories(scratch_.file("out"), nullptr);
        const ToolResult run = runLumadisc(scratch_, {"convert", source, out});
        ASSERT_EQ(run.exitCode, 0) << describeRun(run);
        EXPECT_EQ(host::readFile(out), builder.sheet("converted.bin"));
        EXPECT_TRUE(fileBytes(scratch_.file("out/converted.bin")) == fileBytes(single.binPath)) << "the same .bin";
        EXPECT_FALSE(std::ifstream(scratch_.file("out/converted.sub")).good()) << "no subchannel of its own";
    }
    const ToolResult info[] = {runLumadisc(scratch_, {"info", scratch_.file("out/converted.cue")}),
                               runLumadisc(scratch_, {"info", chd})};
    EXPECT_EQ(info[0].out.substr(info[0].out.find("tracks:")), info[1].out.substr(info[1].out.find("tracks:")));
}

TEST_F(ChdTools, ConvertOfADamagedImageLeavesNothingBehind) {
    REQUIRE_CHDMAN();
    const Written written = writeSheetAndChd(kSheets[1], scratch_.path(), {});
    Bytes chd = fileBytes(written.chd);
    kDamages[0].damage(chd);
    writeFileBytes(written.chd, chd);
    const ToolResult run = runLumadisc(scratch_, {"convert", written.chd, scratch_.file("broken.cue")});
    EXPECT_EQ(run.exitCode, 1) << describeRun(run);
    EXPECT_NE(run.err.find("sector 0 (00:02:00) could not be read; nothing written"), std::string::npos) << run.err;
    for (const auto& entry : std::filesystem::directory_iterator(scratch_.path()))
        EXPECT_EQ(entry.path().filename().string().find("broken"), std::string::npos) << entry.path();
}

// An audio track with raw subchannel data, described to chdman by a cdrdao TOC file: the stored Q
// channel (a drive's, track 1 audio) becomes the disc's subchannel, and convert keeps it in a ".sub".
TEST_F(ChdTools, StoredSubchannelDataIsTheDiscsOwn) {
    REQUIRE_CHDMAN();
    constexpr int32_t kSectors = 240;
    fixtures::TrackLayout layout;
    layout.tracks.push_back({TrackKind::kAudio, 0, 0, kSectors});
    layout.sectorCount = kSectors;
    Bytes data, blocks;
    for (Lba lba = 0; lba < kSectors; ++lba) {
        const fixtures::Sector sector = fixtures::toneSector({440.0, 9000, 0}, lba);
        for (int i = 0; i < kRawSectorSize; i += 2) data.insert(data.end(), {sector[i + 1], sector[i]});  // big-endian
        uint8_t block[kSubchannelSize];
        fixtures::qSubchannel(layout, lba, block);
        block[lba % 12] = 0xFF;  // something in the P channel too
        blocks.insert(blocks.end(), block, block + kSubchannelSize);
        for (int i = 0; i < kSubchannelSize; ++i) {  // as a drive reads it: bit i of every channel in byte i
            uint8_t raw = 0;
            for (int channel = 0; channel < 8; ++channel)
                raw |= ((block[channel * 12 + i / 8] >> (7 - i % 8)) & 1) << (7 - channel);
            data.push_back(raw);
        }
    }
    writeFileBytes(scratch_.file("sub.bin"), data);
    fixtures::writeText(scratch_.file("sub.toc"),
                        "CD_DA\n\nTRACK AUDIO RW_RAW\nNO COPY\nDATAFILE \"sub.bin\" " + fixtures::cueTime(kSectors) + "\n",
                        nullptr);
    std::string error;
    ASSERT_TRUE(fixtures::writeChd(scratch_.file("sub.toc"), scratch_.file("sub.chd"), {}, &error)) << error;

    const ToolResult read = runLumadisc(scratch_, {"read", scratch_.file("sub.chd"), "75"});
    EXPECT_NE(read.out.find("Q          01 01 01 00 01 00 00 00 03 00"), std::string::npos) << describeRun(read);
    const ToolResult convert = runLumadisc(scratch_, {"convert", scratch_.file("sub.chd"), scratch_.file("out.cue")});
    ASSERT_EQ(convert.exitCode, 0) << describeRun(convert);
    EXPECT_EQ(fileBytes(scratch_.file("out.sub")), blocks);
    EXPECT_EQ(host::readFile(scratch_.file("out.cue")), "FILE \"out.bin\" BINARY\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n");
    const ToolResult verify = runLumadisc(scratch_, {"verify", scratch_.file("out.cue")});
    EXPECT_EQ(verify.exitCode, 0) << describeRun(verify);
}

TEST_F(ChdTools, ConvertInterruptedLeavesNothingUnderTheFinalNames) {
    REQUIRE_CHDMAN();
    const Sheet longer{"longer", {{TrackKind::kData, 6000, mixed, 0, 0}}};
    const Written written = writeSheetAndChd(longer, scratch_.path(), {"-c", "cdlz"});
    const std::string outDir = scratch_.file("out");
    fixtures::makeDirectories(outDir, nullptr);
    const std::string out = outDir + "/x.cue";
    const pid_t pid = fork();
    if (pid == 0) {
        execl(LUMADISC_TOOL_PATH, "lumadisc", "--plugin", LUMADISC_PLUGIN_PATH, "convert", written.chd.c_str(),
              out.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    ASSERT_GT(pid, 0);
    bool interrupted = false;  // once sectors are being written
    for (int i = 0; i < 20000 && !interrupted; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(outDir)) {
            if (entry.path().filename().string().starts_with("x.bin.part") && entry.file_size() > 0) {
                interrupted = kill(pid, SIGINT) == 0;
                break;
            }
        }
        if (!interrupted) usleep(500);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(interrupted);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGINT) << status;  // as every stopped command
    EXPECT_TRUE(std::filesystem::is_empty(outDir));
}

// What verify finds in discs of other kinds with faults planted, each named with its sector.
TEST_F(ChdTools, VerifyNamesEachKindOfFault) {
    using fixtures::Sector;
    struct Case {
        const char* name;
        std::function<std::string(const std::string& dir)> write;  // returns the disc path
        std::string expected;
    };
    const auto cue = [](fixtures::SectorWriter content) {
        return [content](const std::string& dir) {
            fixtures::CueImageBuilder builder;
            builder.addDataTrack(40, content).addAudioTrack(20);
            fixtures::CueImage image;
            builder.write(dir, "disc", &image, nullptr);
            return image.cuePath;
        };
    };
    const Case cases[] = {
        {"clean", cue(mixed), "result:      ok (0 problems)"},
        {"lost_sync", cue([](Lba lba, int32_t, Sector& s) { s = lba == 7 ? fixtures::patternSector(lba) : fixtures::mixedDataSector(lba); }),
         "sector 7 (00:02:07): data track sector without sync"},
        // A MODE2/2352 track whose file holds no sync at all: every one of its sectors is a problem.
        {"no_sync_anywhere", cue([](Lba, int32_t, Sector& s) { s.fill(0); }),
         "sector 39 (00:02:39): data track sector without sync"},
        {"wrong_header", cue([](Lba lba, int32_t, Sector& s) { s = fixtures::mixedDataSector(lba == 12 ? 13 : lba); }),
         "sector 12 (00:02:12): header address 00:02:13 where 00:02:12 belongs"},
        {"broken_parity", cue([](Lba lba, int32_t, Sector& s) {
             s = fixtures::mixedDataSector(lba);
             if (lba == 20) s[2100] ^= 1;  // Form 1: inside the P parity
         }),
         "sector 20 (00:02:20): ECC (P/Q parity) mismatch"},
        {"bad_q_crc",
         [](const std::string& dir) {
             fixtures::ImageBuilder builder;
             builder.addDataTrack(30, mixed).withSubchannel([](Lba lba, uint8_t* block) {
                 fixtures::TrackLayout layout{{{TrackKind::kData, 0, 0, 30}}, 30};
                 fixtures::qSubchannel(layout, lba, block);
                 if (lba == 3) block[kSubchannelQOffset + 5] ^= 1;
             });
             fixtures::WrittenImage image;
             builder.write(dir, "disc", fixtures::ImageKind::kClonecd, &image, nullptr);
             return image.imagePath;
         },
         "sector 3 (00:02:03): Q channel CRC mismatch"},
        {"tracks_out_of_order",
         [](const std::string& dir) {
             fixtures::writeText(dir + "/disc.ccd", "[TRACK 1]\nINDEX 1=0\n[TRACK 2]\nINDEX 1=0\n", nullptr);
             fixtures::writeText(dir + "/disc.img", std::string(2352 * 8, '\0'), nullptr);
             return dir + "/disc.ccd";
         },
         "the plugin could not open"},  // a disc whose tracks do not rise is refused when it opens
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string dir = scratch_.file(c.name);
        fixtures::makeDirectories(dir, nullptr);
        const ToolResult run = runLumadisc(scratch_, {"verify", c.write(dir)});
        EXPECT_EQ(run.exitCode, std::string(c.name) == "clean" ? 0 : 1) << describeRun(run);
        EXPECT_NE((run.out + run.err).find(c.expected), std::string::npos) << run.out << run.err;
        if (std::string(c.name) == "no_sync_anywhere") {
            EXPECT_NE(run.out.find("result:      FAILED (40 problems)"), std::string::npos) << "all 40 sectors\n" << run.out;
            const ToolResult info = runLumadisc(scratch_, {"info", c.write(dir)});
            EXPECT_NE(info.out.find("    1  data "), std::string::npos) << "the plugin's track type\n" << info.out;
        }
    }
}

}  // namespace
}  // namespace lumadisc::e2e

namespace lumadisc::e2e {
namespace {

// A sheet with one .bin per track (the demo disc's split copy) converts to one .bin equal to the
// single-file demo image, and the converted sheet reads with the same track table.
TEST_F(ChdTools, ConvertOfAOneFilePerTrackSheetGivesTheSingleFileImage) {
    const std::string demo = scratch_.file("demo");
    const ToolResult made = runLumadisc(scratch_, {"make-demo", demo});
    ASSERT_EQ(made.exitCode, 0) << describeRun(made);
    const std::string out = scratch_.file("converted.cue");
    const ToolResult run = runLumadisc(scratch_, {"convert", demo + "/split/demo.cue", out});
    ASSERT_EQ(run.exitCode, 0) << describeRun(run);
    EXPECT_EQ(fileBytes(scratch_.file("converted.bin")), fileBytes(demo + "/demo.bin"));
    const ToolResult info[] = {runLumadisc(scratch_, {"info", out}), runLumadisc(scratch_, {"info", demo + "/split/demo.cue"})};
    EXPECT_EQ(info[0].out.substr(info[0].out.find("tracks:")), info[1].out.substr(info[1].out.find("tracks:")));
}

}  // namespace
}  // namespace lumadisc::e2e
