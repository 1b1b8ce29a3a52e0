// Every image kind (CUE/BIN, CloneCD, MDS/MDF, full TOC) read through the classic exports of the built
// plugin, and discs whose sheet, description or data file is odd, faulty or missing.
#include <optional>

#include "src/disc/cd_utility.h"
#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/demo_disc.h"
#include "tools/fixtures/demo_disc_copies.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/image_descriptions.h"

namespace lumadisc::e2e {
namespace {

using Bytes = std::vector<uint8_t>;
using fixtures::CueTrack;
using fixtures::FullTocEntry;
using fixtures::ImageKind;
using fixtures::TrackKind;
using Kind = std::optional<ImageKind>;  // empty: a CUE sheet

CueTrack track(TrackKind kind, int32_t sectors, int32_t gap = 0) { return {kind, sectors, {}, gap, 0}; }
// Data 0..299, audio 300..649 (index 01 at 450), audio 650..749; the lead-out at 750.
const std::vector<CueTrack> kThreeTracks = {track(TrackKind::kData, 300), track(TrackKind::kAudio, 200, 150),
                                            track(TrackKind::kAudio, 100)};

struct Disc {
    std::string path, dataPath;
    int stride = kRawSectorSize;  // full-TOC data files hold 2448 bytes per sector
};

template <class Builder>
Builder built(const std::vector<CueTrack>& tracks, bool withSub) {
    Builder builder;
    for (const CueTrack& track : tracks) builder.addTrack(track);
    if (withSub) builder.withSubchannel();
    return builder;
}

// The first bytes of the Q channel in a subchannel block.
Bytes qBytes(const uint8_t* subchannel, int count = 10) {
    return Bytes(subchannel + kSubchannelQOffset, subchannel + kSubchannelQOffset + count);
}

class EveryKind : public PluginHarness, public ::testing::WithParamInterface<Kind> {
protected:
    Disc write(const std::vector<CueTrack>& tracks, bool withSub = false) {
        std::string error;
        if (!GetParam()) {
            fixtures::CueImage image;
            EXPECT_TRUE(built<fixtures::CueImageBuilder>(tracks, withSub).write(dir(), "disc", &image, &error)) << error;
            return {image.cuePath, image.binPath};
        }
        fixtures::WrittenImage image;
        EXPECT_TRUE(built<fixtures::ImageBuilder>(tracks, withSub).write(dir(), "disc", *GetParam(), &image, &error))
            << error;
        return {image.imagePath, image.dataPath, GetParam() == ImageKind::kFullToc ? 2448 : kRawSectorSize};
    }
};

TEST_P(EveryKind, ReportsTnTdTeAndReturnsSectorsByteForByteWithCachingOffAndOn) {
    const Disc disc = write(kThreeTracks);
    for (const bool caching : {false, true}) {
        SCOPED_TRACE(caching ? "caching on" : "caching off");
        auto settings = settingsFor(disc.path, !caching);
        settings.caching = caching;
        ASSERT_EQ(openWith(settings), 0);
        std::vector<Lba> starts, lengths;
        for (const auto& track : host().tracks()) {  // through CDRgetTN, CDRgetTD and CDRgetTE
            starts.push_back(track.lba);
            lengths.push_back(track.length);
        }
        EXPECT_EQ(starts, (std::vector<Lba>{0, 450, 650}));
        EXPECT_EQ(lengths, (std::vector<Lba>{450, 200, 100}));
        EXPECT_EQ(host().leadOut(), 750);  // track 0: the first sector after the last
        // The last track has no end (00:00:00), and 255 wraps to track 0; a track beyond the table
        // reads as 00:00:00 and answers -1, the failure the host sees.
        unsigned char te[2][3], tn[2] = {}, beyond[3] = {1, 2, 3};
        api().getTE(3, &te[0][0], &te[0][1], &te[0][2]);
        api().getTE(255, &te[1][0], &te[1][1], &te[1][2]);
        EXPECT_EQ((std::vector<Lba>{lbaFromMsf(te[0][0], te[0][1], te[0][2]), lbaFromMsf(te[1][0], te[1][1], te[1][2])}),
                  (std::vector<Lba>{-150, 750}));
        EXPECT_EQ(api().getTN(tn), 0);
        for (const unsigned char number : {0, 1, 3, 9}) EXPECT_EQ(api().getTD(number, beyond), number == 9 ? -1 : 0) << int(number);
        EXPECT_EQ((Bytes{tn[0], tn[1], beyond[0], beyond[1], beyond[2]}), (Bytes{1, 3, 0, 0, 0}));

        for (int pass = 0; pass < 2; ++pass) {  // with caching on, the second pass comes from the cache
            for (const Lba lba : {0, 1, 16, 299, 300, 449, 450, 451, 649, 650, 749}) {
                const Bytes expected = binSector(disc.dataPath, lba, disc.stride);
                EXPECT_EQ(host().readSector(lba).result, 0);
                EXPECT_EQ(Bytes(api().getBuffer(), api().getBuffer() + kRawSectorSize - 12),
                          Bytes(expected.begin() + 12, expected.end()))
                    << "LBA " << lba;
                Bytes raw(kRawSectorSize);
                uint8_t sub[kSubchannelSize];
                host().readRaw(lba, raw.data(), sub);
                EXPECT_EQ(raw, expected) << "LBA " << lba;
            }
        }
        closePlugin();
    }
    EXPECT_NE(log().find("[CDR] Warning: sub file not opened (" + dir() + "/disc.sub).\n"), std::string::npos);
}

TEST_P(EveryKind, GeneratesTheQSubchannelWithoutASubFile) {
    ASSERT_EQ(openWith(settingsFor(write(kThreeTracks).path, false)), 0);
    // Every kind describes its tracks alike: track 2 from 450, its gap counting down, the lead-out from
    // 750. The full TOC and the MDS descriptor as read hold INDEX 01 alone, so there the gap is the end
    // of track 1.
    const uint8_t audio = 0x01;
    const bool withoutGaps = GetParam() == ImageKind::kFullToc || GetParam() == ImageKind::kMds;
    const Bytes gap = withoutGaps ? Bytes{0x41, 0x01, 0x01, 0x00, 0x05, 0x74, 0x00, 0x00, 0x07, 0x74}
                                  : Bytes{0x01, 0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x07, 0x74};
    const std::vector<std::pair<Lba, Bytes>> fromTable = {
        {0, {0x41, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00}},
        {449, gap},
        {450, {audio, 0x02, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x08, 0x00}},
        {1000, {audio, 0xAA, 0x01, 0x00, 0x03, 0x25, 0x00, 0x00, 0x15, 0x25}},
        {4350, {audio, 0xAA, 0x01, 0x00, 0x48, 0x00, 0x00, 0x01, 0x00, 0x00}},
    };
    for (const auto& [lba, firstTen] : fromTable) {
        const host::SectorRead read = host().readSector(lba);
        EXPECT_EQ(qBytes(read.subchannel), firstTen) << "LBA " << lba;
        EXPECT_TRUE(qCrcValid(read.subchannel + kSubchannelQOffset)) << "LBA " << lba;
        for (int i = 0; i < kSubchannelSize; ++i) {
            if (i < kSubchannelQOffset || i >= kSubchannelQOffset + 12) { ASSERT_EQ(read.subchannel[i], 0) << i; }
        }
    }
}

TEST_P(EveryKind, TakesSubchannelBlocksFromASubFileUnlessSwitchedOff) {
    const Disc disc = write(kThreeTracks, true);
    for (const bool readSubchannels : {true, false}) {
        auto settings = settingsFor(disc.path, false);
        settings.readSubchannels = readSubchannels;
        ASSERT_EQ(openWith(settings), 0);
        for (const Lba lba : {0, 17, 450, 749}) {
            uint8_t expected[kSubchannelSize];
            fixtures::patternSubchannel(lba, expected);
            const host::SectorRead read = host().readSector(lba);
            if (readSubchannels) {
                EXPECT_EQ(Bytes(read.subchannel, read.subchannel + kSubchannelSize), Bytes(expected, expected + 96))
                    << "LBA " << lba;
            } else {  // the generated block, although the file is there
                EXPECT_EQ(read.subchannel[kSubchannelQOffset + 1], lba < 450 ? 1 : lba < 650 ? 2 : 3) << "LBA " << lba;
                EXPECT_TRUE(qCrcValid(read.subchannel + kSubchannelQOffset)) << "LBA " << lba;
            }
        }
        closePlugin();
    }
}

TEST_P(EveryKind, StatusTypeOfADiscThatStartsWithAudio) {
    ASSERT_EQ(openWith(settingsFor(write({track(TrackKind::kAudio, 50), track(TrackKind::kData, 50)}).path, false)), 0);
    CdrStat status{};
    api().getStatus(&status);
    // MDS always reports a data disc; the others give track 1's type.
    EXPECT_EQ(status.Type, GetParam() == ImageKind::kMds ? 1u : 2u);
}

TEST_P(EveryKind, TheDemoDiscCopyReadsLikeTheCueSheet) {
    if (!GetParam()) return;  // the CUE sheet is the reference
    std::string error;
    ASSERT_TRUE(fixtures::writeDemoDisc(dir() + "/cue", &error)) << error;
    ASSERT_TRUE(fixtures::writeDemoDiscAs(dir() + "/copy", *GetParam(), &error)) << error;
    auto readAll = [&](const std::string& disc) {
        EXPECT_EQ(openWith(settingsFor(disc, false)), 0) << disc;
        std::vector<Bytes> seen;
        for (const auto& track : host().tracks()) {
            const std::string row = std::to_string(track.lba) + " " + std::to_string(track.length) + " " +
                                    std::to_string(track.audio);
            seen.emplace_back(row.begin(), row.end());
        }
        for (const Lba lba : {0, 16, 22, 299, 300, 449, 450, 749}) {
            Bytes raw(kRawSectorSize);
            uint8_t sub[kSubchannelSize];
            host().readRaw(lba, raw.data(), sub);
            seen.push_back(raw);
        }
        // The CloneCD copy carries the drive's Q channel: track 2, index 0 in the gap, then index 1.
        if (GetParam() == ImageKind::kClonecd && disc.find("/copy/") != std::string::npos) {
            for (const auto& [lba, index] : {std::pair<Lba, uint8_t>{400, 0}, {460, 1}}) {
                const host::SectorRead read = host().readSector(lba);
                EXPECT_EQ(qBytes(read.subchannel, 3), (Bytes{1, 2, index}));
                EXPECT_TRUE(qCrcValid(read.subchannel + kSubchannelQOffset));
            }
        }
        closePlugin();
        return seen;
    };
    const auto fromCue = readAll(dir() + "/cue/demo.cue");
    EXPECT_EQ(fromCue.size(), 10u);
    EXPECT_EQ(readAll(dir() + "/copy/demo" + fixtures::descriptionExtension(*GetParam())), fromCue);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryKind,
                         ::testing::Values(Kind{}, ImageKind::kClonecd, ImageKind::kMds, ImageKind::kFullToc),
                         [](const auto& info) {
                             return std::string(info.param ? fixtures::descriptionExtension(*info.param) + 1 : "cue");
                         });

// Discs with edge cases and faults. "{dir}" stands for the scratch directory.
using Starts = std::optional<std::vector<Lba>>;
struct OddDisc {
    std::string name, disc;              // the disc path the settings name
    std::optional<std::string> content;  // written as the disc file when set
    std::string data, dataContent;       // a file written beside it ("" none; a name ending in '/': a directory)
    long openResult;
    std::string line;       // expected in the log
    Starts starts = {};     // tracks 1..n by CDRgetTD; empty: the buffer is left alone
    unsigned type = 0;      // CDRgetStatus type when nonzero
};

void PrintTo(const OddDisc& disc, std::ostream* out) { *out << disc.name; }

std::string expand(std::string text, const std::string& dir) {
    if (const size_t at = text.find("{dir}"); at != std::string::npos) text.replace(at, 5, dir);
    return text;
}
std::string str(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }
// A description written as x.<ext> over a data file x.<data> of 250 sectors (a full TOC's of 4: its
// lead-out is its own).
OddDisc described(const char* name, const char* ext, const char* data, const std::string& content, long result,
                  const std::string& line, Starts starts, unsigned type) {
    const size_t size = std::string(ext) == "toc" ? 2448 * 4 : 2352 * 250;
    return {name, std::string("{dir}/x.") + ext, content, std::string("x.") + data, std::string(size, '\0'),
            result, line, starts, type};
}
OddDisc ccd(const char* name, const std::string& text, long result, const std::string& line, Starts starts = {},
            unsigned type = 0) {
    return described(name, "ccd", "img", text, result, line, starts, type);
}
OddDisc mds(const char* name, const Bytes& bytes, long result, const std::string& line, Starts starts = {},
            unsigned type = 0) {
    return described(name, "mds", "mdf", str(bytes), result, line, starts, type);
}
OddDisc toc(const char* name, const Bytes& bytes, long result, const std::string& line, Starts starts = {},
            unsigned type = 0) {
    return described(name, "toc", "bin", str(bytes), result, line, starts, type);
}

Bytes mdsOf(int tracks, int32_t sectorsEach = 2, size_t cutTo = 0) {
    fixtures::TrackLayout layout;
    for (int i = 0; i < tracks; ++i) layout.tracks.push_back({TrackKind::kData, i * sectorsEach, i * sectorsEach, sectorsEach});
    Bytes bytes = fixtures::mdsDescriptor(layout);
    if (cutTo) bytes.resize(cutTo);
    return bytes;
}
std::vector<Lba> everyOther(int count) {
    std::vector<Lba> starts;
    for (int i = 0; i < count; ++i) starts.push_back(2 * i);
    return starts;
}
FullTocEntry entry(uint8_t point, uint8_t control, int m, int s, int f, uint8_t session = 1) {
    return {session, static_cast<uint8_t>(0x10 | control), point, Msf{uint8_t(m), uint8_t(s), uint8_t(f)}};
}
Bytes oneSessionWith(std::vector<FullTocEntry> more = {}, size_t at = 5, int length = -1) {
    std::vector<FullTocEntry> entries = {entry(0xA0, 4, 1, 0x20, 0), entry(0xA1, 0, 2, 0, 0), entry(0xA2, 0, 6, 0, 0),
                                         entry(1, 4, 0, 2, 0), entry(2, 0, 5, 0, 0)};
    entries.insert(entries.begin() + static_cast<long>(at), more.begin(), more.end());
    return fixtures::fullTocBytes(entries, length);
}

std::vector<OddDisc> oddDiscs() {
    std::string hundred, garbage;
    for (int i = 1; i <= 100; ++i) hundred += "[TRACK " + std::to_string(i) + "]\nINDEX 1=" + std::to_string(2 * i - 2) + "\n";
    for (int i = 0; i < 5000; ++i) garbage += static_cast<char>((i * 7919) % 256);
    Bytes mdsCount0 = mdsOf(1), mdsBadSignature = mdsOf(2, 7), tocPartial = oneSessionWith({}, 5, 2 + 11 * 5 + 6);
    mdsCount0[110] = 0;
    std::fill_n(mdsBadSignature.begin(), 16, 'X');
    tocPartial.insert(tocPartial.end(), {0, 4, 0, 3, 0, 0});
    const std::string track1 = "FILE \"z.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n";
    return {
        {"cue_missing_sheet", "{dir}/none.cue", {}, "", "", -1, "[CDR] Error: toc not opened ({dir}/none.cue).\n"},
        {"cue_missing_data_file", "{dir}/a.cue", "FILE \"a.bin\" BINARY\n", "", "", -1,
         "[CDR] Error: data file not opened ({dir}/a.bin).\n"},
        {"cue_empty_sheet", "{dir}/e.cue", "", "e.bin", std::string(2352 * 4, '\0'), -1,
         "[CDR] Error: cue sheet not read ({dir}/e.cue): no track.\n", std::vector<Lba>{}, 2},
        {"cue_garbage_sheet", "{dir}/g.cue", garbage + "INDEX 1 ", "g.bin", std::string(2352, 'x'), -1,
         "[CDR] Error: cue sheet not read ({dir}/g.cue): not a text sheet.\n"},
        {"cue_zero_byte_data_file", "{dir}/z.cue", track1, "z.bin", "", 0, "[CDR] ReadTrack(00:02:00)(0)\n"},
        {"unknown_kind", "{dir}/disc.iso", "x", "", "", -1, "[CDR] Error: unknown cd type: -1.\n"},
        // No dot: a drive; with no device behind the path the TOC reads as zeros and the disc does not open.
        {"drive_path_without_device", "{dir}/sr9", {}, "", "", -1, "[CDR] track[00]: 0 0 00  00:00:00\n[CDR] Length: -150\n"},
        {"directory_with_dot_file_without", "{dir}/my.games/disc", {}, "my.games/", "", -1,
         "[CDR] Error: unknown cd type: -1.\n"},

        ccd("ccd_numbering_gap", "[TRACK 1]\nINDEX 1=0\n[TRACK 2]\nMODE=0\nINDEX 1=100\n[TRACK 4]\nINDEX 1=200\n", 0,
            "[CDR] CCdRead::open().\n", std::vector<Lba>{0, 100}, 1),
        ccd("ccd_hundred_tracks", hundred, 0, "", everyOther(99)),
        ccd("ccd_mode_one", "[TRACK 1]\nMODE=1\nINDEX 1=0\n", 0, "", std::vector<Lba>{0}, 2),
        ccd("ccd_octal_hex_case_comment", "[TRACK 1]\nINDEX 1=010\n[TRACK 2]\nINDEX 1=0x20\n[Track 3]\nindex 1 = 40 ; c\n",
            0, "", std::vector<Lba>{8, 32, 40}, 1),
        ccd("ccd_minus_9999_ends", "[TRACK 1]\nINDEX 1=0\n[TRACK 2]\nINDEX 1=-9999\n[TRACK 3]\nINDEX 1=5\n", 0, "",
            std::vector<Lba>{0}),
        ccd("ccd_no_tracks", "", 0, "", std::vector<Lba>{}, 2),
        ccd("ccd_cut_in_value", "[TRACK 1]\nINDEX 1=7\n[TRACK 2]\nINDEX 1=", -1,
            "[CDR] Error: toc file not read ({dir}/x.ccd): track 2 does not start after track 1.\n"),
        ccd("ccd_track_past_the_image", "[TRACK 1]\nINDEX 1=0\n[TRACK 2]\nINDEX 1=250\n", -1,
            "[CDR] Error: toc file not read ({dir}/x.ccd): the disc ends (sector 250) before track 2 starts.\n"),
        ccd("ccd_cut_in_section", "[TRACK 1]\nINDEX 1=0\n[TRA", -1, "[CDR] Error: toc file not opened ({dir}/x.ccd).\n"),
        {"ccd_missing", "{dir}/none.ccd", {}, "", "", -1, "[CDR] Error: toc file not opened ({dir}/none.ccd).\n"},
        {"ccd_missing_img", "{dir}/y.ccd", "[TRACK 1]\nINDEX 1=0\n", "", "", -1,
         "[CDR] Error: data file not opened ({dir}/y.img).\n"},

        mds("mds_count_0", mdsCount0, -1, "[CDR] Error: unsupported mds format.\n"),
        mds("mds_count_99", mdsOf(99), 0, "", everyOther(99), 1),
        mds("mds_count_100", mdsOf(100), -1, "[CDR] Error: unsupported mds format.\n"),
        mds("mds_unknown_signature", mdsBadSignature, 0, "", std::vector<Lba>{0, 7}),
        mds("mds_cut_before_count", mdsOf(2, 2, 110), -1, "[CDR] Error: mds file truncated ({dir}/x.mds).\n"),
        mds("mds_cut_in_last_record", mdsOf(3, 2, mdsOf(3).size() - 1), -1,
            "[CDR] Error: mds file truncated ({dir}/x.mds).\n"),
        {"mds_missing", "{dir}/none.mds", {}, "", "", -1, "[CDR] Error: toc not opened ({dir}/none.mds).\n"},
        {"mds_missing_mdf", "{dir}/y.mds", str(mdsOf(1)), "", "", -1, "[CDR] Error: data file not opened ({dir}/y.mdf).\n"},

        toc("toc_data_and_audio", oneSessionWith(), 0,
            "[CDR] Warning: data file {dir}/x.bin is 26846 sectors shorter than the description says.\n",
            std::vector<Lba>{0, 22350}, 1),
        toc("toc_control_0c", fixtures::fullTocBytes({entry(0xA2, 0, 1, 0, 0), entry(1, 0x0C, 0, 2, 0)}), 0, "",
            std::vector<Lba>{0}, 2),
        toc("toc_other_points_skipped",
            oneSessionWith({entry(0xB0, 4, 1, 2, 3), entry(0xC0, 4, 4, 5, 6), entry(0x64, 4, 7, 8, 9)}, 3), 0, "",
            std::vector<Lba>{0, 22350}),
        toc("toc_two_sessions",
            oneSessionWith({entry(0xA0, 4, 3, 0x20, 0, 2), entry(0xA1, 4, 3, 0, 0, 2), entry(0xA2, 4, 9, 0, 0, 2),
                            entry(3, 4, 7, 0, 0, 2)}),
            -1, "[CDR] Error: toc file not read ({dir}/x.toc): track 4 does not start after track 3.\n"),
        toc("toc_without_lead_out", fixtures::fullTocBytes({entry(1, 4, 0, 2, 0), entry(2, 0, 0, 3, 0)}), -1,
            "[CDR] Error: toc file not read ({dir}/x.toc): the disc ends (sector 0) before track 1 starts.\n"),
        toc("toc_length_12", oneSessionWith({}, 5, 12), 0, "", std::vector<Lba>{}, 2),
        toc("toc_partial_descriptor_ignored", tocPartial, 0, "", std::vector<Lba>{0, 22350}),
        toc("toc_cut_header", Bytes{0, 57, 1}, -1, "[CDR] Error: toc file truncated ({dir}/x.toc).\n"),
        toc("toc_length_beyond_file", oneSessionWith({}, 5, 2 + 11 * 6), -1, "[CDR] Error: toc file truncated ({dir}/x.toc).\n"),
        {"toc_missing", "{dir}/none.toc", {}, "", "", -1, "[CDR] Error: toc not opened ({dir}/none.toc).\n"},
        {"toc_missing_bin", "{dir}/y.toc", str(oneSessionWith()), "", "", -1, "\nError: data file not opened ({dir}/y.bin).\n"},
    };
}

class OddDiscs : public PluginHarness, public ::testing::WithParamInterface<OddDisc> {};

TEST_P(OddDiscs, GiveTheirTracksOrTheirMessageWithoutHarm) {
    const OddDisc& c = GetParam();
    if (c.data.ends_with('/')) fixtures::makeDirectories(dir() + "/" + c.data, nullptr);
    else if (!c.data.empty()) fixtures::writeText(dir() + "/" + c.data, c.dataContent, nullptr);
    if (c.content) fixtures::writeText(expand(c.disc, dir()), *c.content, nullptr);
    EXPECT_EQ(openWith(settingsFor(expand(c.disc, dir()))), c.openResult);
    // Whatever happened, the queries and the reads stay harmless.
    unsigned char tn[2] = {0xAA, 0xBB}, td[3] = {};
    api().getTN(tn);
    api().getTD(1, td);
    std::vector<Lba> starts;
    for (int track = 1; tn[0] == 1 && track <= tn[1]; ++track) {
        api().getTD(static_cast<unsigned char>(track), td);
        starts.push_back(lbaFromMsf(td[2], td[1], td[0]));
    }
    if (c.starts) { EXPECT_EQ(starts, *c.starts); }
    if (c.starts && c.starts->empty()) { EXPECT_EQ(tn[0], 0xAA) << "without tracks the buffer is left alone"; }
    CdrStat status{};
    api().getStatus(&status);
    if (c.type) { EXPECT_EQ(status.Type, c.type); }
    host().readSector(0);
    closePlugin();
    EXPECT_NE(log().find(expand(c.line, dir())), std::string::npos) << log();
}

INSTANTIATE_TEST_SUITE_P(Discs, OddDiscs, ::testing::ValuesIn(oddDiscs()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace lumadisc::e2e
