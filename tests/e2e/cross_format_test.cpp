// One disc in every format the plugin reads, made where possible by tools nobody here wrote, reads the
// same through the built plugin: every sector's 2352 bytes and generated Q block from the first
// sector to the lead-out, and the track table on both faces.
//
// The disc: a Mode 2 data track, then three audio tracks, two with a stored INDEX 00 gap and one
// with an unstored PREGAP. Written as a CUE sheet with one file (the fixture writer), as one file
// per track, as chdman's CHD with each of its CD codecs, as chdman's own cdrdao TOC of that CHD, and
// with the fixture writer as CloneCD, MDS and full TOC (no Debian tool writes those), where the
// PREGAP's sectors are stored as the gap they are on a disc.
#include <cstdio>
#include <functional>
#include <set>

#include "host/console_driver.h"
#include "host/console_host.h"
#include "tests/e2e/plugin_harness.h"
#include "tests/unit/shell_command.h"
#include "tools/fixtures/chd_image.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/image_builder.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;

std::string hexText(const Bytes& bytes) {
    std::string text;
    char two[4];
    for (const uint8_t b : bytes) {
        std::snprintf(two, sizeof two, "%02x ", b);
        text += two;
    }
    return text;
}
using fixtures::CueTrack;
using fixtures::ImageKind;
using fixtures::TrackKind;

// chdman 0.251 reads back the data sectors it compresses only when their user data is zero; headers,
// subheaders and error codes are not.
void data(Lba lba, int32_t, fixtures::Sector& sector) {
    sector = fixtures::form1Sector(lba, Bytes(kForm1UserSize, 0));
}
void tone(Lba lba, int32_t trackSector, fixtures::Sector& sector) {
    if (trackSector < 0) sector.fill(0);
    else sector = fixtures::toneSector(fixtures::Tone{220.0 + lba % 5 * 110.0, 7000, 440.0}, trackSector);
}

std::vector<CueTrack> tracks(bool pregapStored) {
    return {{TrackKind::kData, 240, data, 0, 0},
            {TrackKind::kAudio, 160, tone, 150, 0},
            {TrackKind::kAudio, 100, tone, 75, 0},
            {TrackKind::kAudio, 90, tone, pregapStored ? 60 : 0, pregapStored ? 0 : 60}};
}

// What a host sees of a disc.
struct Seen {
    std::vector<std::pair<Lba, bool>> rows;  // each track's start and whether it is audio, then the lead-out
    std::vector<Bytes> sectors, q;           // Lba 0 to the lead-out
    std::vector<Bytes> extendedToc;          // GetTN, then GetTD of every track and of track 0
};

class CrossFormat : public PluginHarness {
protected:
    Seen see(const std::string& disc) {
        Seen seen;
        auto settings = settingsFor(disc, false);
        settings.readSubchannels = false;  // the generated block: the table's, the same in every format
        settings.playCdda = false;
        EXPECT_EQ(openWith(settings), 0) << disc;
        for (const auto& track : host().tracks()) seen.rows.push_back({track.lba, track.audio});
        const Lba leadOut = host().leadOut();
        seen.rows.push_back({leadOut, false});
        for (Lba lba = 0; lba <= leadOut; ++lba) {
            Bytes sector(kRawSectorSize), sub(kSubchannelSize);
            host().readSector(lba);
            host().readRaw(lba, sector.data(), sub.data());
            seen.sectors.push_back(sector);
            seen.q.emplace_back(sub.begin() + kSubchannelQOffset, sub.begin() + kSubchannelQOffset + 12);
        }
        closePlugin();
        // The extended face's GetTN and GetTD, through the controller's ports.
        host::ConsoleHost console;
        EXPECT_TRUE(console.load(LUMADISC_PLUGIN_PATH)) << console.error();
        EXPECT_EQ(console.init(), 0);
        EXPECT_EQ(console.open(), 0);
        host::ConsoleDriver driver(console);
        const Bytes tn = driver.command(host::kCmdGetTN).bytes();
        seen.extendedToc.push_back(tn);
        const int last = tn.size() > 2 ? (tn[2] >> 4) * 10 + (tn[2] & 0xF) : 0;
        for (int track = 0; track <= last; ++track) {
            const uint8_t bcd = static_cast<uint8_t>((track / 10) << 4 | (track % 10));
            seen.extendedToc.push_back(driver.command(host::kCmdGetTD, {bcd}).bytes());
        }
        console.bringDown();
        return seen;
    }
};

struct Format {
    const char* name;
    std::function<std::string(const std::string& dir, const std::string& cue, std::string* error)> write;
    bool gaps = true;  // false: the description holds INDEX 01 alone, so a gap reads as the end of the track before
};

TEST_F(CrossFormat, EveryFormatOfOneDiscReadsTheSameThroughBothFaces) {
    if (!fixtures::chdmanInstalled()) GTEST_SKIP() << "chdman (mame-tools) is not installed";
    fixtures::CueImageBuilder sheet;
    for (const CueTrack& track : tracks(false)) sheet.addTrack(track);
    fixtures::CueImage single;
    std::string error;
    ASSERT_TRUE(sheet.write(dir() + "/single", "disc", &single, &error)) << error;
    const auto chd = [](const char* codec) {
        return [codec](const std::string& d, const std::string& cue, std::string* e) {
            const std::string path = d + "/disc.chd";
            return fixtures::writeChd(cue, path, {"-c", codec}, e) ? path : std::string();
        };
    };
    const auto described = [](ImageKind kind) {
        return [kind](const std::string& d, const std::string&, std::string* e) {
            fixtures::ImageBuilder builder;
            for (const CueTrack& track : tracks(true)) builder.addTrack(track);
            fixtures::WrittenImage image;
            return builder.write(d, "disc", kind, &image, e) ? image.imagePath : std::string();
        };
    };
    const Format formats[] = {
        {"one file per track",
         [&](const std::string& d, const std::string&, std::string* e) {
             fixtures::CueImage split;
             return sheet.writePerTrack(d, "disc", &split, e) ? split.cuePath : std::string();
         }},
        {"CHD, cdlz", chd("cdlz")},
        {"CHD, cdzl", chd("cdzl")},
        {"CHD, cdfl", chd("cdfl")},
        // chdman's extractcd writes a TOC that repeats each stored gap as ZERO sectors ahead of it, a
        // longer disc than its CHD (cdrdao's show-toc reads it so too); the TOC here is written as
        // cdrdao writes one of this disc, and cdrdao's reading of it is checked below.
        {"cdrdao TOC",
         [](const std::string& d, const std::string& cue, std::string* e) {
             const std::string bin = cue.substr(0, cue.size() - 4) + ".bin";
             std::string toc = "CD_ROM_XA\n\nTRACK MODE2_RAW\nDATAFILE \"" + bin + "\" " + fixtures::cueTime(240) + "\n";
             int64_t offset = 240LL * kRawSectorSize;
             const int32_t gaps[] = {150, 75, 0}, lengths[] = {160, 100, 90};
             for (int i = 0; i < 3; ++i) {
                 toc += "\nTRACK AUDIO\n";
                 if (i == 2) toc += "PREGAP " + fixtures::cueTime(60) + "\n";
                 toc += "FILE \"" + bin + "\" SWAP #" + std::to_string(offset) + " 0 " + fixtures::cueTime(gaps[i] + lengths[i]) + "\n";
                 if (gaps[i] > 0) toc += "START " + fixtures::cueTime(gaps[i]) + "\n";
                 offset += static_cast<int64_t>(gaps[i] + lengths[i]) * kRawSectorSize;
             }
             return fixtures::writeText(d + "/disc.toc", toc, e) ? d + "/disc.toc" : std::string();
         }},
        {"CloneCD", described(ImageKind::kClonecd)},
        {"MDS", described(ImageKind::kMds), false},
        {"full TOC", described(ImageKind::kFullToc), false},
    };
    const Seen reference = see(single.cuePath);
    ASSERT_EQ(reference.rows.size(), 5u);
    for (const Format& format : formats) {
        SCOPED_TRACE(format.name);
        const std::string d = dir() + "/" + std::to_string(&format - formats);
        fixtures::makeDirectories(d, nullptr);
        const std::string disc = format.write(d, single.cuePath, &error);
        ASSERT_FALSE(disc.empty()) << error;
        const Seen seen = see(disc);
        EXPECT_EQ(seen.rows, reference.rows);
        if (std::string(format.name) == "cdrdao TOC") {
            int status = 0;
            const std::string shown = test::shellOutput("cdrdao show-toc " + test::shellWord(disc) + " 2>&1", &status);
            for (size_t row = 0; row + 1 < reference.rows.size(); ++row) {
                char start[16];  // as show-toc prints a track's START: "(   390)"
                std::snprintf(start, sizeof start, "(%6d)", reference.rows[row].first);
                EXPECT_NE(shown.find(start), std::string::npos) << "cdrdao reads a track at " << start << "\n" << shown;
            }
        }
        EXPECT_EQ(seen.extendedToc, reference.extendedToc);
        ASSERT_EQ(seen.sectors.size(), reference.sectors.size());
        // The first difference is named, not thousands of them.
        for (size_t lba = 0; lba < seen.sectors.size(); ++lba) {
            const bool gap = reference.q[lba][2] == 0x00;  // index 0 in the sheet
            if (seen.sectors[lba] != reference.sectors[lba]) {
                ADD_FAILURE() << "sector " << lba << " differs";
                break;
            }
            if (seen.q[lba] != reference.q[lba] && (format.gaps || !gap)) {
                ADD_FAILURE() << "Q of sector " << lba << " differs: " << hexText(seen.q[lba]) << " where the sheet gives "
                              << hexText(reference.q[lba]);
                break;
            }
        }
    }
}

}  // namespace
}  // namespace lumadisc::e2e
