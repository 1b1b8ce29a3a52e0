// CUE/BIN images read through the plugin agree with libcdio's command-line tools (cd-info for the
// track list, cd-read for raw sectors) on the sheets both understand: one BINARY file, INDEX 01
// positions, INDEX 00 gaps and PREGAP lines (which neither of them turns into sectors).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/e2e/plugin_harness.h"

namespace lumadisc::e2e {
namespace {

using fixtures::CueImageBuilder;
using fixtures::CueTrack;
using fixtures::TrackKind;

std::string findTool(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path ? path : "/usr/bin:/bin");
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        const std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return {};
}

std::string shellWord(const std::string& text) {
    std::string result = "'";
    for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

// Standard output of a shell command (standard error discarded) and its exit status.
std::string runCommand(const std::string& command, int* status) {
    std::string output;
    FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    if (!pipe) {
        *status = -1;
        return output;
    }
    char chunk[4096];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) output.append(chunk, got);
    *status = pclose(pipe);
    return output;
}

std::vector<uint8_t> readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct OracleTrack {
    int number = 0;  // 170 for the lead-out
    Msf msf;         // absolute
    Lba lsn = 0;
};

// The rows of cd-info's track list: "  2: 00:08:00  000450 audio ..." and "170: ... leadout ...".
std::vector<OracleTrack> parseTrackList(const std::string& text) {
    std::vector<OracleTrack> tracks;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        int number, minute, second, frame, lsn;
        char type[32];
        if (std::sscanf(line.c_str(), " %d: %2d:%2d:%2d %d %31s", &number, &minute, &second, &frame, &lsn,
                        type) != 6)
            continue;
        OracleTrack track;
        track.number = number;
        track.msf = Msf{static_cast<uint8_t>(minute), static_cast<uint8_t>(second), static_cast<uint8_t>(frame)};
        track.lsn = lsn;
        tracks.push_back(track);
    }
    return tracks;
}

// Data tracks hold real Mode 2 Form 1 sectors, audio tracks (gaps included) the lba pattern, so a
// read of the wrong sector cannot match anywhere.
void dataContent(Lba lba, int32_t, fixtures::Sector& sector) {
    std::vector<uint8_t> user(fixtures::kForm1UserSize);
    for (size_t i = 0; i < user.size(); ++i) user[i] = fixtures::patternByte(lba, static_cast<int>(i));
    sector = fixtures::form1Sector(lba, user);
}

CueTrack data(int32_t sectors, int32_t gap = 0) { return {TrackKind::kData, sectors, dataContent, gap, 0}; }
CueTrack audio(int32_t sectors, int32_t gap = 0, int32_t pregap = 0) {
    return {TrackKind::kAudio, sectors, {}, gap, pregap};
}

struct Layout {
    const char* name;
    std::vector<CueTrack> tracks;
    std::vector<int> tracksRead;  // every sector of these tracks is compared with cd-read
};

std::vector<Layout> layouts() {
    std::vector<Layout> result;
    result.push_back({"data_then_audio_with_gap", {data(300), audio(300, 150)}, {1, 2}});
    result.push_back({"gaps_and_pregaps",
                      {data(200, 150), audio(120, 75), data(400, 150), audio(80, 0, 150), audio(60, 2),
                       audio(30)},
                      {1, 3, 4, 5}});
    // Past the first minute and beyond nine tracks: two-digit numbers and minutes in every field.
    std::vector<CueTrack> many = {data(4600)};
    for (int i = 0; i < 11; ++i) many.push_back(audio(40 + i, i % 2 ? 30 : 0, i == 4 ? 75 : 0));
    result.push_back({"twelve_tracks_past_a_minute", many, {2, 10, 12}});
    return result;
}

class LibcdioOracle : public PluginHarness {
protected:
    void SetUp() override {
        PluginHarness::SetUp();
        cdInfo_ = findTool("cd-info");
        cdRead_ = findTool("cd-read");
        if (cdInfo_.empty() || cdRead_.empty()) GTEST_SKIP() << "libcdio-utils (cd-info, cd-read) not installed";
    }

    std::string cdInfo_;
    std::string cdRead_;
};

TEST_F(LibcdioOracle, TrackStartsAndLeadOutMatchCdInfo) {
    for (const Layout& layout : layouts()) {
        SCOPED_TRACE(layout.name);
        CueImageBuilder builder;
        for (const CueTrack& track : layout.tracks) builder.addTrack(track);
        const auto image = writeCue(builder, layout.name);

        int status = 0;
        const std::string listing = runCommand(
            shellWord(cdInfo_) + " --no-header --no-device-info -A --cue-file " + shellWord(image.cuePath), &status);
        ASSERT_EQ(status, 0) << listing;
        const auto oracle = parseTrackList(listing);
        ASSERT_EQ(oracle.size(), layout.tracks.size() + 1) << listing;
        ASSERT_EQ(oracle.back().number, 170) << listing;

        ASSERT_EQ(openWith(settingsFor(image.cuePath, false)), 0);
        unsigned char tn[2] = {0, 0};
        EXPECT_EQ(api().getTN(tn), 0);
        EXPECT_EQ(tn[0], 1);
        EXPECT_EQ(tn[1], layout.tracks.size());
        for (const OracleTrack& expected : oracle) {
            const int track = expected.number == 170 ? 0 : expected.number;
            unsigned char td[3] = {0xEE, 0xEE, 0xEE};
            EXPECT_EQ(api().getTD(static_cast<unsigned char>(track), td), 0);
            // frame, second, minute
            EXPECT_EQ((std::vector<int>{td[2], td[1], td[0]}),
                      (std::vector<int>{expected.msf.minute, expected.msf.second, expected.msf.frame}))
                << "track " << expected.number;
            EXPECT_EQ(lbaFromMsf(td[2], td[1], td[0]), expected.lsn) << "track " << expected.number;
        }
        closePlugin();
    }
}

TEST_F(LibcdioOracle, RawSectorsMatchCdReadForWholeTracks) {
    for (const Layout& layout : layouts()) {
        CueImageBuilder builder;
        for (const CueTrack& track : layout.tracks) builder.addTrack(track);
        const auto image = writeCue(builder, layout.name);
        for (const bool caching : {false, true}) {
            SCOPED_TRACE(std::string(layout.name) + (caching ? ", caching on" : ", caching off"));
            auto settings = settingsFor(image.cuePath, false);
            settings.caching = caching;
            ASSERT_EQ(openWith(settings), 0);
            const auto table = host().tracks();
            ASSERT_EQ(table.size(), layout.tracks.size());
            for (const int number : layout.tracksRead) {
                const host::TrackInfo& track = table[static_cast<size_t>(number - 1)];
                const std::string out = dir() + "/track.raw";
                int status = 0;
                runCommand(shellWord(cdRead_) + " --no-header -c " + shellWord(image.cuePath) + " -m audio -s " +
                               std::to_string(track.lba) + " -n " + std::to_string(track.length) + " -o " +
                               shellWord(out),
                           &status);
                ASSERT_EQ(status, 0) << "track " << number;
                const auto oracle = readAll(out);
                ASSERT_EQ(oracle.size(), static_cast<size_t>(track.length) * kRawSectorSize) << "track " << number;
                std::vector<uint8_t> sector(kRawSectorSize);
                uint8_t subchannel[kSubchannelSize];
                for (int32_t i = 0; i < track.length; ++i) {
                    host().readRaw(track.lba + i, sector.data(), subchannel);
                    const auto from = oracle.begin() + static_cast<ptrdiff_t>(i) * kRawSectorSize;
                    ASSERT_TRUE(std::equal(sector.begin(), sector.end(), from))
                        << "track " << number << ", LBA " << track.lba + i;
                }
            }
            closePlugin();
        }
    }
}

}  // namespace
}  // namespace lumadisc::e2e
