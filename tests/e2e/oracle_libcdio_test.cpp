// CUE/BIN images read through the plugin agree with libcdio's command-line tools (cd-info for the
// track list, cd-read for raw sectors) on the sheets both understand: one BINARY file, INDEX 01
// positions and INDEX 00 gaps. (PREGAP lines, which libcdio does not turn into sectors, are checked
// against cdrdao and chdman instead.)
#include <cstdio>
#include <cstring>
#include <sstream>

#include "tests/e2e/plugin_harness.h"
#include "tests/unit/shell_command.h"

namespace lumadisc::e2e {
namespace {

using fixtures::CueImageBuilder;
using fixtures::CueTrack;
using fixtures::TrackKind;

using test::shellWord;

// The rows of cd-info's track list ("  2: 00:08:00  000450 audio ...", "170: ... leadout ...") as
// number (0 for the lead-out), minute, second, frame, LSN.
std::vector<std::vector<int>> trackList(const std::string& text) {
    std::vector<std::vector<int>> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::vector<int> row(5);
        char type[32];
        if (std::sscanf(line.c_str(), " %d: %2d:%2d:%2d %d %31s", &row[0], &row[1], &row[2], &row[3], &row[4], type) == 6)
            rows.push_back(row);
    }
    if (!rows.empty() && rows.back()[0] == 170) rows.back()[0] = 0;
    return rows;
}

// Data tracks hold real Mode 2 Form 1 sectors, audio tracks (gaps included) the lba pattern, so a
// read of the wrong sector cannot match anywhere.
void dataContent(Lba lba, int32_t, fixtures::Sector& sector) { sector = fixtures::patternForm1Sector(lba); }

CueTrack data(int32_t sectors, int32_t gap = 0) { return {TrackKind::kData, sectors, dataContent, gap, 0}; }
CueTrack audio(int32_t sectors, int32_t gap = 0) { return {TrackKind::kAudio, sectors, {}, gap, 0}; }

struct Layout {
    const char* name;
    std::vector<CueTrack> tracks;
    std::vector<int> tracksRead;  // every sector of these tracks is compared with cd-read
};

std::vector<Layout> layouts() {
    std::vector<Layout> result;
    result.push_back({"data_then_audio_with_gap", {data(300), audio(300, 150)}, {1, 2}});
    result.push_back({"gaps",
                      {data(200, 150), audio(120, 75), data(400, 150), audio(80, 0), audio(60, 2),
                       audio(30)},
                      {1, 3, 4, 5}});
    // Past the first minute and beyond nine tracks: two-digit numbers and minutes in every field.
    std::vector<CueTrack> many = {data(4600)};
    for (int i = 0; i < 11; ++i) many.push_back(audio(40 + i, i % 2 ? 30 : 0));
    result.push_back({"twelve_tracks_past_a_minute", many, {2, 10, 12}});
    return result;
}

class LibcdioOracle : public PluginHarness {
protected:
    void SetUp() override {
        PluginHarness::SetUp();
        REQUIRE_TOOLS("cd-info", "cd-read");
    }
};

TEST_F(LibcdioOracle, TrackListAndRawSectorsOfWholeTracksMatchCdInfoAndCdRead) {
    for (const Layout& layout : layouts()) {
        CueImageBuilder builder;
        for (const CueTrack& track : layout.tracks) builder.addTrack(track);
        const auto image = writeCue(builder, layout.name);
        int status = 0;
        const std::string listing =
            test::shellOutput("cd-info --no-header --no-device-info -A --cue-file " + shellWord(image.cuePath), &status);
        ASSERT_EQ(status, 0) << listing;
        const auto oracle = trackList(listing);
        ASSERT_EQ(oracle.size(), layout.tracks.size() + 1) << listing;
        ASSERT_EQ(oracle.back()[0], 0) << listing;

        for (const bool caching : {false, true}) {
            SCOPED_TRACE(std::string(layout.name) + (caching ? ", caching on" : ", caching off"));
            auto settings = settingsFor(image.cuePath, false);
            settings.caching = caching;
            ASSERT_EQ(openWith(settings), 0);
            unsigned char tn[2] = {0, 0};
            EXPECT_EQ(api().getTN(tn), 0);
            EXPECT_EQ((std::vector<size_t>{tn[0], tn[1]}), (std::vector<size_t>{1, layout.tracks.size()}));
            for (const auto& row : oracle) {
                unsigned char td[3] = {0xEE, 0xEE, 0xEE};  // frame, second, minute
                EXPECT_EQ(api().getTD(static_cast<unsigned char>(row[0]), td), 0);
                EXPECT_EQ((std::vector<int>{row[0], td[2], td[1], td[0], lbaFromMsf(td[2], td[1], td[0])}), row);
            }
            const auto table = host().tracks();
            ASSERT_EQ(table.size(), layout.tracks.size());
            for (const int number : layout.tracksRead) {
                const host::TrackInfo& track = table[static_cast<size_t>(number - 1)];
                const std::string out = dir() + "/track.raw";
                const std::string read = "cd-read --no-header -c " + shellWord(image.cuePath) + " -m audio -s " +
                                         std::to_string(track.lba) + " -n " + std::to_string(track.length) + " -o " +
                                         shellWord(out);
                test::shellOutput(read, &status);
                ASSERT_EQ(status, 0) << "track " << number;
                // cd-read now and then ends with status 0 and no output file when another test starts
                // at the same moment; a second run of the same command gives the file.
                if (host::readFile(out).empty()) test::shellOutput(read, &status);
                const std::string bytes = host::readFile(out);
                ASSERT_EQ(bytes.size(), static_cast<size_t>(track.length) * kRawSectorSize) << "track " << number;
                uint8_t sector[kRawSectorSize], subchannel[kSubchannelSize];
                for (int32_t i = 0; i < track.length; ++i) {
                    host().readRaw(track.lba + i, sector, subchannel);
                    ASSERT_EQ(std::memcmp(sector, bytes.data() + size_t(i) * kRawSectorSize, kRawSectorSize), 0)
                        << "track " << number << ", LBA " << track.lba + i;
                }
            }
            closePlugin();
        }
    }
}

}  // namespace
}  // namespace lumadisc::e2e
