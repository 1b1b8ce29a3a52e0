// CloneCD, MDS/MDF and full-TOC images read through the classic exports of the built plugin.
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>

#include "src/disc/q_crc.h"
#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/demo_disc.h"
#include "tools/fixtures/demo_disc_copies.h"
#include "tools/fixtures/file_writer.h"
#include "tools/fixtures/image_descriptions.h"

namespace lumadisc::e2e {
namespace {

using fixtures::FullTocEntry;
using fixtures::ImageBuilder;
using fixtures::ImageKind;
using fixtures::WrittenImage;

ImageBuilder threeTracks() {
    ImageBuilder builder;
    builder.addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100);
    return builder;
}

std::vector<uint8_t> bytesOf(const uint8_t* data, size_t size) { return std::vector<uint8_t>(data, data + size); }

// Sector lba as the image's data file holds it (full-TOC sectors are 2448 bytes apart).
std::vector<uint8_t> fileSector(const WrittenImage& image, ImageKind kind, Lba lba) {
    const int stride = kind == ImageKind::kFullToc ? 2448 : kRawSectorSize;
    std::vector<uint8_t> bytes(kRawSectorSize);
    std::ifstream in(image.dataPath, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(lba) * stride);
    in.read(reinterpret_cast<char*>(bytes.data()), kRawSectorSize);
    return bytes;
}

class ImageKinds : public PluginHarness, public ::testing::WithParamInterface<ImageKind> {
protected:
    WrittenImage write(const ImageBuilder& builder, const std::string& name = "disc") {
        WrittenImage image;
        std::string error;
        EXPECT_TRUE(builder.write(dir(), name, GetParam(), &image, &error)) << error;
        return image;
    }
};

TEST_P(ImageKinds, ReportsTheTracksAndReturnsSectorsByteForByte) {
    const WrittenImage image = write(threeTracks());
    ASSERT_EQ(openWith(settingsFor(image.imagePath)), 0);
    const auto tracks = host().tracks();
    ASSERT_EQ(tracks.size(), image.layout.tracks.size());
    for (size_t i = 0; i < tracks.size(); ++i) EXPECT_EQ(tracks[i].lba, image.layout.tracks[i].start) << i;
    EXPECT_EQ(host().leadOut(), image.layout.sectorCount);
    EXPECT_EQ(tracks.back().length, 100);

    for (const Lba lba : {0, 10, 16, 299, 300, 449, 450, 649, 650, image.layout.sectorCount - 1}) {
        const auto expected = fileSector(image, GetParam(), lba);
        const host::SectorRead read = host().readSector(lba);
        EXPECT_EQ(read.result, 0);
        EXPECT_EQ(bytesOf(api().getBuffer(), kRawSectorSize - 12),
                  std::vector<uint8_t>(expected.begin() + 12, expected.end()))
            << "LBA " << lba;
        uint8_t raw[kRawSectorSize];
        uint8_t sub[kSubchannelSize];
        host().readRaw(lba, raw, sub);
        EXPECT_EQ(bytesOf(raw, sizeof raw), expected) << "LBA " << lba;
        // Without a .sub file the block is generated (track 1 throughout), never the image's own.
        const uint8_t* q = sub + kSubchannelQOffset;
        EXPECT_EQ((std::vector<int>{q[0], q[1], q[2]}), (std::vector<int>{0x41, 0x01, 0x01})) << "LBA " << lba;
        EXPECT_TRUE(qCrcValid(q));
    }
    closePlugin();
    EXPECT_NE(log().find("[CDR] Warning: sub file not opened (" + dir() + "/disc.sub).\n"), std::string::npos);
}

TEST_P(ImageKinds, TakesSubchannelBlocksFromASubFileBesideTheImage) {
    auto builder = threeTracks();
    builder.withSubchannel();
    const WrittenImage image = write(builder);
    ASSERT_EQ(openWith(settingsFor(image.imagePath, false)), 0);
    for (const Lba lba : {0, 17, 450, image.layout.sectorCount - 1}) {
        uint8_t expected[kSubchannelSize];
        fixtures::patternSubchannel(lba, expected);
        EXPECT_EQ(bytesOf(host().readSector(lba).subchannel, kSubchannelSize), bytesOf(expected, sizeof expected))
            << "LBA " << lba;
    }
}

TEST_P(ImageKinds, StatusTypeOfADiscThatStartsWithAudio) {
    ImageBuilder builder;
    builder.addAudioTrack(50).addDataTrack(50);
    ASSERT_EQ(openWith(settingsFor(write(builder).imagePath, false)), 0);
    CdrStat status{};
    api().getStatus(&status);
    // The MDS kind always reports a data disc; the others report track 1's type.
    EXPECT_EQ(status.Type, GetParam() == ImageKind::kMds ? 1u : 2u);
}

TEST_P(ImageKinds, TheDemoDiscCopyReadsLikeTheCueSheet) {
    std::string error;
    ASSERT_TRUE(fixtures::writeDemoDisc(dir() + "/cue", &error)) << error;
    ASSERT_TRUE(fixtures::writeDemoDiscAs(dir() + "/copy", GetParam(), &error)) << error;
    const std::vector<Lba> positions = {0, 16, 22, 299, 300, 449, 450, 749};
    auto readAll = [&](const std::string& disc) {
        EXPECT_EQ(openWith(settingsFor(disc, false)), 0) << disc;
        std::vector<std::vector<uint8_t>> sectors;
        for (const auto& track : host().tracks()) {
            const std::string line =
                std::to_string(track.lba) + " " + std::to_string(track.length) + " " + std::to_string(track.audio);
            sectors.push_back(std::vector<uint8_t>(line.begin(), line.end()));
        }
        for (const Lba lba : positions) {
            uint8_t raw[kRawSectorSize];
            uint8_t sub[kSubchannelSize];
            host().readRaw(lba, raw, sub);
            sectors.push_back(bytesOf(raw, sizeof raw));
        }
        // The CloneCD copy carries the drive's Q channel: track 2, index 0 in the gap, then index 1.
        if (GetParam() == ImageKind::kClonecd && disc.find("/copy/") != std::string::npos) {
            for (const auto& [lba, index] : {std::pair<Lba, int>{400, 0}, {460, 1}}) {
                const host::SectorRead read = host().readSector(lba);
                const uint8_t* q = read.subchannel + kSubchannelQOffset;
                EXPECT_EQ((std::vector<int>{q[0], q[1], q[2]}), (std::vector<int>{0x01, 0x02, index}));
                EXPECT_TRUE(qCrcValid(q));
            }
        }
        closePlugin();
        return sectors;
    };
    const auto fromCue = readAll(dir() + "/cue/demo.cue");
    const auto fromCopy = readAll(dir() + "/copy/demo" + fixtures::descriptionExtension(GetParam()));
    EXPECT_EQ(fromCue.size(), positions.size() + 2);
    EXPECT_EQ(fromCopy, fromCue);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ImageKinds,
                         ::testing::Values(ImageKind::kClonecd, ImageKind::kMds, ImageKind::kFullToc),
                         [](const auto& info) { return std::string(fixtures::descriptionExtension(info.param) + 1); });

// Descriptions with edge cases and faults, each written over a four-sector data file.
struct Description {
    const char* name;
    // Writes the description and its data file; returns the disc path.
    std::function<std::string(const std::string& dir)> prepare;
    long openResult;
    std::string line;  // expected in the log; "{dir}" stands for the scratch directory
    std::optional<std::vector<Lba>> starts = std::nullopt;  // track 1..n as CDRgetTD reports them
    unsigned type = 0;                                      // CDRgetStatus type when nonzero
};

void PrintTo(const Description& description, std::ostream* out) { *out << description.name; }

std::string put(const std::string& path, const std::string& bytes) {
    fixtures::writeText(path, bytes, nullptr);
    return path;
}
std::string put(const std::string& path, const std::vector<uint8_t>& bytes) {
    fixtures::writeBytes(path, bytes, nullptr);
    return path;
}
std::string withData(const std::string& dir, const std::string& name, const char* dataName, int stride = 2352) {
    put(dir + "/" + dataName, std::string(static_cast<size_t>(stride) * 4, '\0'));
    return dir + "/" + name;
}
std::string ccd(const std::string& d, const std::string& text) { return put(withData(d, "x.ccd", "x.img"), text); }
std::string mds(const std::string& d, std::vector<uint8_t> bytes) { return put(withData(d, "x.mds", "x.mdf"), bytes); }
std::string toc(const std::string& d, const std::vector<uint8_t>& bytes) {
    return put(withData(d, "x.toc", "x.bin", 2448), bytes);
}

std::vector<uint8_t> mdsOf(int tracks, int32_t sectorsEach = 2) {
    fixtures::TrackLayout layout;
    for (int i = 0; i < tracks; ++i)
        layout.tracks.push_back({fixtures::TrackKind::kData, i * sectorsEach, i * sectorsEach, sectorsEach});
    return fixtures::mdsDescriptor(layout);
}
std::vector<Lba> everyOther(int count) {
    std::vector<Lba> starts;
    for (int i = 0; i < count; ++i) starts.push_back(2 * i);
    return starts;
}
std::string hundredTracks() {
    std::string text;
    for (int i = 1; i <= 100; ++i)
        text += "[TRACK " + std::to_string(i) + "]\nINDEX 1=" + std::to_string(2 * (i - 1)) + "\n";
    return text;
}
FullTocEntry entry(uint8_t point, uint8_t control, int m, int s, int f, uint8_t session = 1) {
    return {session, static_cast<uint8_t>(0x10 | control), point, Msf{uint8_t(m), uint8_t(s), uint8_t(f)}};
}
const std::vector<FullTocEntry> kOneSession = {entry(0xA0, 4, 1, 0x20, 0), entry(0xA1, 0, 2, 0, 0),
                                               entry(0xA2, 0, 6, 0, 0), entry(1, 4, 0, 2, 0), entry(2, 0, 5, 0, 0)};

const Description kDescriptions[] = {
    {"ccd_numbering_gap",
     [](auto d) { return ccd(d, "[TRACK 1]\nINDEX 1=0\n[TRACK 2]\nMODE=0\nINDEX 1=100\n[TRACK 4]\nINDEX 1=200\n"); }, 0,
     "[CDR] CCdRead::open().\n", std::vector<Lba>{0, 100}, 1},
    {"ccd_hundred_tracks", [](auto d) { return ccd(d, hundredTracks()); }, 0, "", everyOther(99)},
    {"ccd_mode_one", [](auto d) { return ccd(d, "[TRACK 1]\nMODE=1\nINDEX 1=0\n"); }, 0, "", std::vector<Lba>{0}, 2},
    {"ccd_octal_hex_case_comment",
     [](auto d) { return ccd(d, "[TRACK 1]\nINDEX 1=010\n[TRACK 2]\nINDEX 1=0x20\n[Track 3]\nindex 1 = 40 ; c\n"); }, 0,
     "", std::vector<Lba>{8, 32, 40}, 1},
    {"ccd_minus_9999_ends",
     [](auto d) { return ccd(d, "[TRACK 1]\nINDEX 1=0\n[TRACK 2]\nINDEX 1=-9999\n[TRACK 3]\nINDEX 1=5\n"); }, 0, "",
     std::vector<Lba>{0}},
    {"ccd_no_tracks", [](auto d) { return ccd(d, ""); }, 0, "", std::vector<Lba>{}, 2},
    {"ccd_cut_in_value", [](auto d) { return ccd(d, "[TRACK 1]\nINDEX 1=7\n[TRACK 2]\nINDEX 1="); }, 0, "",
     std::vector<Lba>{7, 0}},
    {"ccd_cut_in_section", [](auto d) { return ccd(d, "[TRACK 1]\nINDEX 1=0\n[TRA"); }, -1,
     "[CDR] Error: toc file not opened ({dir}/x.ccd).\n"},
    {"ccd_missing", [](auto d) { return d + "/none.ccd"; }, -1, "[CDR] Error: toc file not opened ({dir}/none.ccd).\n"},
    {"ccd_missing_img", [](auto d) { return put(d + "/y.ccd", "[TRACK 1]\nINDEX 1=0\n"); }, -1,
     "[CDR] Error: data file not opened ({dir}/y.img).\n"},

    {"mds_count_0",
     [](auto d) {
         auto b = mdsOf(1);
         b[110] = 0;
         return mds(d, b);
     },
     -1, "[CDR] Error: unsupported mds format.\n"},
    {"mds_count_99", [](auto d) { return mds(d, mdsOf(99)); }, 0, "", everyOther(99), 1},
    {"mds_count_100", [](auto d) { return mds(d, mdsOf(100)); }, -1, "[CDR] Error: unsupported mds format.\n"},
    {"mds_unknown_signature",
     [](auto d) {
         auto b = mdsOf(2, 7);
         std::fill(b.begin(), b.begin() + 16, 'X');
         return mds(d, b);
     },
     0, "", std::vector<Lba>{0, 7}},
    {"mds_cut_before_count",
     [](auto d) {
         auto b = mdsOf(2);
         b.resize(110);
         return mds(d, b);
     },
     -1, "[CDR] Error: mds file truncated ({dir}/x.mds).\n"},
    {"mds_cut_in_last_record",
     [](auto d) {
         auto b = mdsOf(3);
         b.pop_back();
         return mds(d, b);
     },
     -1, "[CDR] Error: mds file truncated ({dir}/x.mds).\n"},
    {"mds_missing", [](auto d) { return d + "/none.mds"; }, -1, "[CDR] Error: toc not opened ({dir}/none.mds).\n"},
    {"mds_missing_mdf", [](auto d) { return put(d + "/y.mds", mdsOf(1)); }, -1,
     "[CDR] Error: data file not opened ({dir}/y.mdf).\n"},

    {"toc_data_and_audio", [](auto d) { return toc(d, fixtures::fullTocBytes(kOneSession)); }, 0, "",
     std::vector<Lba>{0, 22350}, 1},
    {"toc_control_0c",
     [](auto d) {
         return toc(d, fixtures::fullTocBytes({entry(0xA2, 0, 1, 0, 0), entry(1, 0x0C, 0, 2, 0)}));
     },
     0, "", std::vector<Lba>{0}, 2},
    {"toc_other_points_skipped",
     [](auto d) {
         auto e = kOneSession;
         e.insert(e.begin() + 3, {entry(0xB0, 4, 1, 2, 3), entry(0xC0, 4, 4, 5, 6), entry(0x64, 4, 7, 8, 9)});
         return toc(d, fixtures::fullTocBytes(e));
     },
     0, "", std::vector<Lba>{0, 22350}},
    {"toc_two_sessions",
     [](auto d) {
         auto e = kOneSession;
         e.insert(e.end(), {entry(0xA0, 4, 3, 0x20, 0, 2), entry(0xA1, 4, 3, 0, 0, 2), entry(0xA2, 4, 9, 0, 0, 2),
                            entry(3, 4, 7, 0, 0, 2)});
         return toc(d, fixtures::fullTocBytes(e));
     },
     0, "", std::vector<Lba>{0, 22350, 40350, 31350}},
    {"toc_without_lead_out",
     [](auto d) {
         return toc(d, fixtures::fullTocBytes({entry(1, 4, 0, 2, 0), entry(2, 0, 0, 3, 0)}));
     },
     0, "", std::vector<Lba>{75}},
    {"toc_length_12", [](auto d) { return toc(d, fixtures::fullTocBytes(kOneSession, 12)); }, 0, "", std::vector<Lba>{},
     2},
    {"toc_partial_descriptor_ignored",
     [](auto d) {
         auto b = fixtures::fullTocBytes(kOneSession, 2 + 11 * 5 + 6);
         b.insert(b.end(), {0, 4, 0, 3, 0, 0});
         return toc(d, b);
     },
     0, "", std::vector<Lba>{0, 22350}},
    {"toc_cut_header",
     [](auto d) {
         return toc(d, std::vector<uint8_t>{0, 57, 1});
     },
     -1, "[CDR] Error: toc file truncated ({dir}/x.toc).\n"},
    {"toc_length_beyond_file", [](auto d) { return toc(d, fixtures::fullTocBytes(kOneSession, 2 + 11 * 6)); }, -1,
     "[CDR] Error: toc file truncated ({dir}/x.toc).\n"},
    {"toc_missing", [](auto d) { return d + "/none.toc"; }, -1, "[CDR] Error: toc not opened ({dir}/none.toc).\n"},
    {"toc_missing_bin", [](auto d) { return put(d + "/y.toc", fixtures::fullTocBytes(kOneSession)); }, -1,
     "\nError: data file not opened ({dir}/y.bin).\n"},
};

class ImageDescriptions : public PluginHarness, public ::testing::WithParamInterface<Description> {};

TEST_P(ImageDescriptions, GiveTheirTracksOrTheirMessage) {
    const Description& c = GetParam();
    EXPECT_EQ(openWith(settingsFor(c.prepare(dir()))), c.openResult);
    unsigned char tn[2] = {0xAA, 0xBB};
    api().getTN(tn);
    std::vector<Lba> starts;
    for (int track = 1; tn[0] == 1 && track <= tn[1]; ++track) {
        unsigned char td[3] = {};
        api().getTD(static_cast<unsigned char>(track), td);
        starts.push_back(lbaFromMsf(td[2], td[1], td[0]));
    }
    if (c.starts) {
        EXPECT_EQ(starts, *c.starts);
    }
    CdrStat status{};
    api().getStatus(&status);
    if (c.type) {
        EXPECT_EQ(status.Type, c.type);
    }
    host().readSector(0);  // whatever happened, reads stay harmless
    closePlugin();
    std::string line = c.line;
    if (const size_t at = line.find("{dir}"); at != std::string::npos) line.replace(at, 5, dir());
    EXPECT_NE(log().find(line), std::string::npos) << log();
}

INSTANTIATE_TEST_SUITE_P(Descriptions, ImageDescriptions, ::testing::ValuesIn(kDescriptions),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumadisc::e2e
