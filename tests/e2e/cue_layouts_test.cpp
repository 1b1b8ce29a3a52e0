// CUE sheets and cdrdao TOC files in the layouts players' images have, read through the built
// plugin and checked against independent tools: cdrdao's show-toc, chdman's createcd/info/extractcd,
// sox and flac for sound files. A multi-file image must read sector for sector like the single-file
// image it was split from.
#include <cstring>
#include <sstream>

#include "tests/e2e/plugin_harness.h"
#include "tests/unit/shell_command.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/wav_pcm.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;
using fixtures::CueImageBuilder;
using fixtures::CueTrack;
using fixtures::TrackKind;
using test::shellOutput;
using test::shellWord;

// Real Mode 2 Form 1 sectors (sync, header, subheader, EDC/ECC) for data, a tone for audio, silence
// in the gaps: a sector read from the wrong place cannot match.
void dataContent(Lba lba, int32_t, fixtures::Sector& sector) { sector = fixtures::patternForm1Sector(lba); }
void toneContent(Lba lba, int32_t trackSector, fixtures::Sector& sector) {
    if (trackSector < 0) sector.fill(0);
    else sector = fixtures::toneSector(fixtures::Tone{220.0 + lba % 7 * 110.0, 6000, 330.0}, trackSector);
}

// chdman 0.251 fails to read back the CHDs it makes of most non-zero data ("Decompression error"),
// so its round trips carry sectors whose user data is zero (headers and error codes are not).
void zeroUserData(Lba lba, int32_t, fixtures::Sector& sector) {
    sector = fixtures::form1Sector(lba, std::vector<uint8_t>(kForm1UserSize, 0));
}

CueImageBuilder fourTracks() {  // data, then three audio tracks with INDEX 00 gaps
    CueImageBuilder builder;
    builder.addTrack({TrackKind::kData, 300, dataContent, 0, 0});
    builder.addTrack({TrackKind::kAudio, 200, toneContent, 150, 0});
    builder.addTrack({TrackKind::kAudio, 120, toneContent, 75, 0});
    builder.addTrack({TrackKind::kAudio, 90, toneContent, 30, 0});
    return builder;
}

struct TrackRow {
    Lba start;
    bool audio;
    bool operator==(const TrackRow&) const = default;
};
void PrintTo(const TrackRow& row, std::ostream* out) { *out << row.start << (row.audio ? " audio" : " data"); }

// What a host sees of a disc: the track table (with the lead-out last), and every sector with its Q.
struct Seen {
    std::vector<TrackRow> rows;
    std::vector<Bytes> sectors;
    std::vector<Bytes> q;
};

class CueLayouts : public PluginHarness {
protected:
    Seen see(const std::string& disc, Lba sectors = -1) {
        Seen seen;
        EXPECT_EQ(openWith(settingsFor(disc, false)), 0) << disc << "\n" << log();
        unsigned char tn[2] = {0, 0};
        api().getTN(tn);
        for (int track = 1; track <= tn[1]; ++track) {
            unsigned char td[3];
            api().getTD(static_cast<unsigned char>(track), td);
            seen.rows.push_back({lbaFromMsf(td[2], td[1], td[0]), false});
        }
        const Lba leadOut = host().leadOut();
        for (auto& row : seen.rows) {
            uint8_t sector[kRawSectorSize], sub[kSubchannelSize];
            host().readRaw(row.start, sector, sub);
            row.audio = !sectorHasSync(sector);
        }
        seen.rows.push_back({leadOut, false});
        for (Lba lba = 0; lba < (sectors < 0 ? leadOut : sectors); ++lba) {
            Bytes sector(kRawSectorSize), sub(kSubchannelSize);
            host().readRaw(lba, sector.data(), sub.data());
            seen.sectors.push_back(sector);
            seen.q.emplace_back(sub.begin() + kSubchannelQOffset, sub.begin() + kSubchannelQOffset + 12);
        }
        closePlugin();
        return seen;
    }
    void expectSameDisc(const Seen& a, const Seen& b) {
        EXPECT_EQ(a.rows, b.rows);
        ASSERT_EQ(a.sectors.size(), b.sectors.size());
        for (size_t i = 0; i < a.sectors.size(); ++i) {
            ASSERT_EQ(a.sectors[i], b.sectors[i]) << "LBA " << i;
            ASSERT_EQ(a.q[i], b.q[i]) << "Q of LBA " << i;
        }
    }
};

// cdrdao show-toc: the INDEX 01 position and mode of every track.
std::vector<TrackRow> cdrdaoTracks(const std::string& description) {
    int status = 0;
    // cdrdao looks the files up from its working directory.
    const size_t slash = description.rfind('/');
    const std::string text = shellOutput("cd " + shellWord(description.substr(0, slash)) + " && cdrdao show-toc " +
                                             shellWord(description.substr(slash + 1)) + " 2>&1",
                                         &status);
    std::vector<TrackRow> rows;
    std::istringstream lines(text);
    bool audio = false;
    for (std::string line; std::getline(lines, line);) {
        int number = 0, m = 0, s = 0, f = 0, lba = 0;
        char mode[32];
        if (std::sscanf(line.c_str(), "TRACK %d Mode %31[^:]", &number, mode) == 2) audio = std::string(mode) == "AUDIO";
        if (std::sscanf(line.c_str(), " START %d:%d:%d(%d)", &m, &s, &f, &lba) == 4) rows.push_back({lba, audio});
        if (std::sscanf(line.c_str(), " END %d:%d:%d(%d)", &m, &s, &f, &lba) == 4) rows.push_back({lba, false});
    }
    // One END per track: keep the starts and the last END as the lead-out.
    std::vector<TrackRow> result;
    for (size_t i = 0; i < rows.size(); i += 2) result.push_back(rows[i]);
    if (!rows.empty()) result.push_back(rows.back());
    EXPECT_FALSE(result.empty()) << text;
    return result;
}

// chdman createcd + info: per track its type and its frame count, which includes a gap held in
// the file (PREGAP with a PGTYPE starting with V); rows as INDEX 01 positions plus the lead-out.
std::vector<TrackRow> chdmanTracks(const std::string& cue, const std::string& chd) {
    int status = 0;
    shellOutput("chdman createcd -f -i " + shellWord(cue) + " -o " + shellWord(chd) + " 2>&1", &status);
    EXPECT_EQ(status, 0);
    const std::string text = shellOutput("chdman info -v -i " + shellWord(chd) + " 2>&1", &status);
    std::vector<TrackRow> rows;
    Lba position = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t at = line.find("TRACK:");
        if (at == std::string::npos) continue;
        int number = 0, frames = 0, pregap = 0;
        char type[32], pgtype[32];
        if (std::sscanf(line.c_str() + at, "TRACK:%d TYPE:%31s SUBTYPE:%*s FRAMES:%d PREGAP:%d PGTYPE:%31s", &number, type,
                        &frames, &pregap, pgtype) != 5)
            continue;
        rows.push_back({position + (pgtype[0] == 'V' ? pregap : 0), std::string(type) == "AUDIO"});
        position += frames;
    }
    rows.push_back({position, false});
    return rows;
}

TEST_F(CueLayouts, OneFilePerTrackReadsAsTheSingleFileImageAndAgreesWithCdrdaoAndChdman) {
    REQUIRE_TOOLS("cdrdao", "chdman");
    const CueImageBuilder builder = fourTracks();
    fixtures::CueImage single, split;
    std::string error;
    ASSERT_TRUE(builder.write(dir() + "/single", "Game", &single, &error)) << error;
    ASSERT_TRUE(builder.writePerTrack(dir() + "/split", "Game", &split, &error)) << error;
    const Seen fromSingle = see(single.cuePath);
    const Seen fromSplit = see(split.cuePath);
    const std::vector<TrackRow> expected = {{0, false}, {450, true}, {725, true}, {875, true}, {965, false}};
    EXPECT_EQ(fromSplit.rows, expected);
    expectSameDisc(fromSingle, fromSplit);
    EXPECT_EQ(cdrdaoTracks(split.cuePath), expected);
    EXPECT_EQ(chdmanTracks(split.cuePath, dir() + "/split.chd"), expected);

    // The generated Q channel follows the table: track 2's gap counts down to its INDEX 01.
    EXPECT_EQ(Bytes(fromSplit.q[300].begin(), fromSplit.q[300].begin() + 10),
              (Bytes{0x01, 0x02, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x06, 0x00}));
    EXPECT_EQ(Bytes(fromSplit.q[451].begin(), fromSplit.q[451].begin() + 10),
              (Bytes{0x01, 0x02, 0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x08, 0x01}));
    for (const Bytes& q : fromSplit.q) ASSERT_TRUE(qCrcValid(q.data()));

    // Names as players' sheets carry them: another letter case, a sub-directory, unquoted.
    std::string sheet = builder.sheetPerTrack("GAME");
    fixtures::makeDirectories(dir() + "/split/sub", nullptr);
    std::rename((dir() + "/split/Game (Track 4).bin").c_str(), (dir() + "/split/sub/Game (Track 4).bin").c_str());
    sheet.replace(sheet.find("GAME (Track 4)"), 14, "sub\\game (track 4)");
    fixtures::writeText(dir() + "/split/other.cue", sheet, nullptr);
    expectSameDisc(fromSingle, see(dir() + "/split/other.cue"));
}

TEST_F(CueLayouts, ChdmanExtractedSheetsAndShortSectorFilesReadAsFullRawSectors) {
    REQUIRE_TOOLS("chdman");
    // MODE1/2048: an ISO-style file of (zero) user data, one track, through chdman createcd and extractcd.
    Bytes user(static_cast<size_t>(kForm1UserSize) * 40);
    ASSERT_TRUE(fixtures::writeBytes(dir() + "/iso.iso", user, nullptr));
    fixtures::writeText(dir() + "/iso.cue", "FILE \"iso.iso\" BINARY\n  TRACK 01 MODE1/2048\n    INDEX 01 00:00:00\n", nullptr);
    int status = 0;
    const std::string made = shellOutput("chdman createcd -f -i " + shellWord(dir() + "/iso.cue") + " -o " + shellWord(dir() + "/iso.chd") +
                    " && chdman extractcd -f -i " + shellWord(dir() + "/iso.chd") + " -o " + shellWord(dir() + "/x.cue") +
                    " -ob " + shellWord(dir() + "/x.bin") + " 2>&1",
                &status);
    ASSERT_EQ(status, 0) << made;
    ASSERT_NE(host::readFile(dir() + "/x.cue").find("MODE1/2048"), std::string::npos) << host::readFile(dir() + "/x.cue");
    const Seen mode1 = see(dir() + "/x.cue");
    ASSERT_EQ(mode1.sectors.size(), 40u);
    for (Lba lba = 0; lba < 40; ++lba) {
        const Bytes& s = mode1.sectors[static_cast<size_t>(lba)];
        ASSERT_TRUE(sectorHasSync(s.data()));
        const Msf at = bcdMsf(msfFromLba(lba));
        EXPECT_EQ((Bytes{s[12], s[13], s[14], s[15]}), (Bytes{at.minute, at.second, at.frame, 1})) << lba;
        EXPECT_EQ(Bytes(s.begin() + kMode1DataOffset, s.begin() + kMode1DataOffset + kForm1UserSize),
                  Bytes(user.begin() + lba * 2048, user.begin() + (lba + 1) * 2048));
        EXPECT_EQ(readLe32(s.data() + 2064), computeEdc(s.data(), 2064)) << lba;
    }

    // MODE2/2352 through chdman and back, and MODE2/2336 cut from the same raw sectors: both give
    // the raw sectors exactly (header, subheader, EDC/ECC regenerated for 2336).
    fixtures::CueImage raw;
    std::string error;
    ASSERT_TRUE(CueImageBuilder().addTrack({TrackKind::kData, 60, zeroUserData, 0, 0}).write(dir(), "raw", &raw, &error));
    shellOutput("chdman createcd -f -i " + shellWord(raw.cuePath) + " -o " + shellWord(dir() + "/raw.chd") +
                    " && chdman extractcd -f -i " + shellWord(dir() + "/raw.chd") + " -o " + shellWord(dir() + "/y.cue") +
                    " -ob " + shellWord(dir() + "/y.bin") + " 2>&1",
                &status);
    ASSERT_EQ(status, 0);
    fixtures::CueImage patterned;
    ASSERT_TRUE(CueImageBuilder().addTrack({TrackKind::kData, 60, dataContent, 0, 0}).write(dir(), "pat", &patterned, &error));
    const std::string whole = host::readFile(patterned.binPath);
    std::string cut;
    for (size_t at = 0; at < whole.size(); at += kRawSectorSize) cut += whole.substr(at + 16, kMode2UserSize);
    fixtures::writeText(dir() + "/cut.bin", cut, nullptr);
    fixtures::writeText(dir() + "/cut.cue", "FILE \"cut.bin\" BINARY\n  TRACK 01 MODE2/2336\n    INDEX 01 00:00:00\n", nullptr);
    expectSameDisc(see(raw.cuePath), see(dir() + "/y.cue"));
    expectSameDisc(see(patterned.cuePath), see(dir() + "/cut.cue"));
}

TEST_F(CueLayouts, PregapAndPostgapSectorsAreGeneratedWhereCdrdaoPutsThem) {
    REQUIRE_TOOLS("cdrdao");
    fixtures::CueImage image;
    std::string error;
    ASSERT_TRUE(CueImageBuilder()
                    .addTrack({TrackKind::kData, 100, dataContent, 0, 0})
                    .addTrack({TrackKind::kAudio, 80, toneContent, 0, 0})
                    .addTrack({TrackKind::kAudio, 60, toneContent, 20, 0})
                    .write(dir(), "gaps", &image, &error));
    fixtures::writeText(dir() + "/gaps.cue",
                        "FILE \"gaps.bin\" BINARY\n TRACK 01 MODE2/2352\n  INDEX 01 00:00:00\n  POSTGAP 00:02:00\n"
                        " TRACK 02 AUDIO\n  PREGAP 00:01:00\n  INDEX 01 00:01:25\n"
                        " TRACK 03 AUDIO\n  INDEX 00 00:02:30\n  INDEX 01 00:02:50\n",
                        nullptr);
    const Seen seen = see(dir() + "/gaps.cue");
    const std::vector<TrackRow> expected = {{0, false}, {325, true}, {425, true}, {485, false}};
    EXPECT_EQ(seen.rows, expected);
    EXPECT_EQ(cdrdaoTracks(dir() + "/gaps.cue"), expected);
    const std::string bin = host::readFile(image.binPath);
    auto fileSector = [&](Lba n) { return Bytes(bin.begin() + n * kRawSectorSize, bin.begin() + (n + 1) * kRawSectorSize); };
    EXPECT_EQ(seen.sectors[99], fileSector(99));
    for (const Lba postgap : {100, 249}) {  // empty Mode 2 sectors with their own header
        const Bytes& s = seen.sectors[static_cast<size_t>(postgap)];
        EXPECT_TRUE(sectorHasSync(s.data()));
        EXPECT_EQ(s[15], 2);
        EXPECT_EQ(Bytes(s.begin() + 24, s.begin() + 2072), Bytes(2048, 0));
    }
    EXPECT_EQ(seen.sectors[250], Bytes(kRawSectorSize, 0)) << "PREGAP of an audio track is silence";
    EXPECT_EQ(seen.sectors[325], fileSector(100));
    EXPECT_EQ(seen.sectors[464], fileSector(239));
    EXPECT_EQ(Bytes(seen.q[250].begin(), seen.q[250].begin() + 3), (Bytes{0x01, 0x02, 0x00}));
}

TEST_F(CueLayouts, SoundFilesAreDecodedToTheSamplesSoxReads) {
    REQUIRE_TOOLS("sox", "flac");
    fixtures::CueImage image;
    std::string error;
    ASSERT_TRUE(fourTracks().writePerTrack(dir(), "w", &image, &error)) << error;
    // Track 2 as WAVE, track 3 as FLAC, track 4 as big-endian raw (MOTOROLA).
    int status = 0;
    const auto run = [&](const std::string& command) {
        shellOutput(command + " 2>&1", &status);
        EXPECT_EQ(status, 0) << command;
    };
    const std::string t2 = shellWord(image.trackPaths[1]), t3 = shellWord(image.trackPaths[2]),
                      t4 = shellWord(image.trackPaths[3]);
    run("sox -t raw -r 44100 -e signed -b 16 -c 2 -L " + t2 + " " + shellWord(dir() + "/t2.wav"));
    run("sox -t raw -r 44100 -e signed -b 16 -c 2 -L " + t3 + " " + shellWord(dir() + "/t3.wav") + " && flac -s -f -o " +
        shellWord(dir() + "/t3.flac") + " " + shellWord(dir() + "/t3.wav"));
    run("sox -t raw -r 44100 -e signed -b 16 -c 2 -L " + t4 + " -t raw -B " + shellWord(dir() + "/t4.be"));
    run("sox " + shellWord(dir() + "/t3.flac") + " -t raw -e signed -b 16 -L " + shellWord(dir() + "/t3.sox"));
    run("sox -r 48000 -n -c 2 -b 16 " + shellWord(dir() + "/hz48.wav") + " trim 0 0.1");
    fixtures::writeText(dir() + "/w.cue",
                        "FILE \"w (Track 1).bin\" BINARY\n TRACK 01 MODE2/2352\n  INDEX 01 00:00:00\n"
                        "FILE \"t2.wav\" WAVE\n TRACK 02 AUDIO\n  INDEX 00 00:00:00\n  INDEX 01 00:02:00\n"
                        "FILE \"t3.flac\" WAVE\n TRACK 03 AUDIO\n  INDEX 00 00:00:00\n  INDEX 01 00:01:00\n"
                        "FILE \"t4.be\" MOTOROLA\n TRACK 04 AUDIO\n  INDEX 00 00:00:00\n  INDEX 01 00:00:30\n",
                        nullptr);
    fixtures::CueImage single;
    ASSERT_TRUE(fourTracks().write(dir(), "single", &single, &error)) << error;
    const Seen decoded = see(dir() + "/w.cue");
    expectSameDisc(see(single.cuePath), decoded);
    const std::string fromSox = host::readFile(dir() + "/t3.sox");
    ASSERT_EQ(fromSox.size(), 195u * kRawSectorSize);
    for (size_t n = 0; n < 195; ++n)
        ASSERT_EQ(std::memcmp(decoded.sectors[650 + n].data(), fromSox.data() + n * kRawSectorSize, kRawSectorSize), 0) << n;

    fixtures::writeText(dir() + "/hz.cue", "FILE \"hz48.wav\" WAVE\n TRACK 01 AUDIO\n  INDEX 01 00:00:00\n", nullptr);
    EXPECT_EQ(openWith(settingsFor(dir() + "/hz.cue")), -1);
    closePlugin();
    EXPECT_NE(log().find("[CDR] Error: audio file not opened (" + dir() + "/hz48.wav): sound file has 48000 Hz and 2 "
                         "channels, CD audio needs 44100 Hz stereo.\n"),
              std::string::npos)
        << log();
}

TEST_F(CueLayouts, ACdrdaoTextTocReadsAsTheSheetAndAgreesWithShowToc) {
    REQUIRE_TOOLS("cdrdao");
    fixtures::CueImage image;
    std::string error;
    ASSERT_TRUE(fourTracks().write(dir(), "disc", &image, &error)) << error;
    // As cdrdao writes it: one data file, audio taken from it with byte offsets, gaps as START.
    std::string toc = "CD_ROM_XA\n\nCATALOG \"0000000000000\"\n// Track 1\nTRACK MODE2_RAW\nNO COPY\n"
                      "DATAFILE \"disc.bin\" 00:04:00 // length in bytes: 705600\n";
    const int32_t gaps[] = {150, 75, 30}, lengths[] = {200, 120, 90};
    int64_t offset = 300LL * kRawSectorSize;
    for (int i = 0; i < 3; ++i) {
        toc += "\n// Track " + std::to_string(i + 2) + "\nTRACK AUDIO\nNO COPY\nNO PRE_EMPHASIS\nTWO_CHANNEL_AUDIO\n"
               "CD_TEXT {\n  LANGUAGE 0 {\n    TITLE \"Track {" + std::to_string(i) + "}\"\n  }\n}\n"
               "FILE \"disc.bin\" SWAP #" + std::to_string(offset) + " 0 " + fixtures::cueTime(gaps[i] + lengths[i]) +
               "\nSTART " + fixtures::cueTime(gaps[i]) + "\n";
        offset += static_cast<int64_t>(gaps[i] + lengths[i]) * kRawSectorSize;
    }
    toc += std::string(20000, ' ') + "// a TOC larger than 17 KB is still text\n";
    fixtures::writeText(dir() + "/disc.toc", toc, nullptr);
    const Seen fromToc = see(dir() + "/disc.toc");
    const std::vector<TrackRow> expected = {{0, false}, {450, true}, {725, true}, {875, true}, {965, false}};
    EXPECT_EQ(fromToc.rows, expected);
    EXPECT_EQ(cdrdaoTracks(dir() + "/disc.toc"), expected);
    expectSameDisc(see(image.cuePath), fromToc);
}

TEST_F(CueLayouts, ATrackOneThatStartsAfterItsFileKeepsItsPlaceWithTheSectorsBeforeAsItsGap) {
    REQUIRE_TOOLS("cdrdao");
    // Hidden audio ahead of track 1: the sheet's first INDEX 01 is 00:09:08 (sector 683), and a cdrdao
    // TOC says the same with START in track 1. The disc starts with the file; track 1 at 683.
    constexpr int32_t kHidden = 683;
    CueImageBuilder builder;
    builder.addTrack({TrackKind::kAudio, kHidden + 300, toneContent, 0, 0});
    builder.addTrack({TrackKind::kData, 200, dataContent, 0, 0});
    fixtures::CueImage image;
    std::string error;
    ASSERT_TRUE(builder.write(dir(), "hidden", &image, &error)) << error;
    fixtures::writeText(image.cuePath,
                        "FILE \"hidden.bin\" BINARY\n  TRACK 01 AUDIO\n    INDEX 01 00:09:08\n"
                        "  TRACK 02 MODE2/2352\n    INDEX 01 " + fixtures::cueTime(kHidden + 300) + "\n",
                        nullptr);
    fixtures::writeText(dir() + "/hidden.toc",
                        "CD_ROM_XA\n\nTRACK AUDIO\nFILE \"hidden.bin\" SWAP 0 " + fixtures::cueTime(kHidden + 300) +
                            "\nSTART 00:09:08\n\nTRACK MODE2_RAW\nDATAFILE \"hidden.bin\" #" +
                            std::to_string(int64_t{kHidden + 300} * kRawSectorSize) + " " + fixtures::cueTime(200) + "\n",
                        nullptr);
    const std::vector<TrackRow> expected = {{kHidden, true}, {kHidden + 300, false}, {kHidden + 500, false}};
    EXPECT_EQ(cdrdaoTracks(dir() + "/hidden.toc"), expected) << "cdrdao's own reading of the TOC";
    for (const std::string& disc : {image.cuePath, dir() + "/hidden.toc"}) {
        SCOPED_TRACE(disc);
        const Seen seen = see(disc);
        EXPECT_EQ(seen.rows, expected);
        // Sector 0 is the file's first: track 1, index 0, counting down to INDEX 01.
        ASSERT_GE(seen.q.size(), static_cast<size_t>(kHidden + 1));
        EXPECT_EQ(Bytes(seen.q[0].begin(), seen.q[0].begin() + 6), (Bytes{0x01, 0x01, 0x00, 0x00, 0x09, 0x08}));
        EXPECT_EQ(Bytes(seen.q[kHidden].begin(), seen.q[kHidden].begin() + 6), (Bytes{0x01, 0x01, 0x01, 0x00, 0x00, 0x00}));
        const Bytes first = binSector(image.binPath, 0, kRawSectorSize);
        EXPECT_EQ(seen.sectors[0], first);
    }
}

}  // namespace
}  // namespace lumadisc::e2e
