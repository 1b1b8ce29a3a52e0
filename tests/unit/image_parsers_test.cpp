// The binary descriptions cut at every byte position, and a CloneCD control file cut at every
// character of its track sections: each cut either reads what is there or is refused, never more.
#include <gtest/gtest.h>
#include <iniparser/iniparser.h>

#include "formats/alcohol120.h"
#include "formats/cdrdao.h"
#include "formats/clonecd.h"
#include "tests/unit/scratch_directory.h"
#include "tools/fixtures/image_descriptions.h"

namespace lumadisc {
namespace {

fixtures::TrackLayout threeTracks() {
    fixtures::ImageBuilder builder;
    builder.addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100);
    return builder.layout();
}

int quiet(const char*, ...) { return 0; }

std::vector<Lba> startsOf(const TrackTable& table) {
    std::vector<Lba> starts;
    for (int row = 0; row < table.rows(); ++row) starts.push_back(table.row(row).start);
    return starts;
}

TEST(ImageParsers, BinaryDescriptionsCutAtEveryByteAreRefusedUntilWhole) {
    const auto layout = threeTracks();
    const std::vector<uint8_t> mds = fixtures::mdsDescriptor(layout);
    const std::vector<uint8_t> toc = fixtures::fullTocBytes(fixtures::fullTocEntries(layout));
    for (size_t cut = 0; cut <= mds.size(); ++cut) {
        TrackTable table;
        table.append(kTrackData, 12345);
        const std::vector<uint8_t> prefix(mds.begin(), mds.begin() + static_cast<long>(cut));
        const MdsParse result = mdsParseDescriptor(prefix.data(), prefix.size(), table);
        if (cut < mds.size()) {
            ASSERT_EQ(result, MdsParse::kTruncated) << cut;
            ASSERT_EQ(startsOf(table), std::vector<Lba>{12345}) << cut;
        } else {
            ASSERT_EQ(result, MdsParse::kOk);
            EXPECT_EQ(startsOf(table), (std::vector<Lba>{12345, 0, 450, 650}));
            EXPECT_EQ(table.row(2).type, kTrackAudio) << "the record's mode byte 0xA9";
        }
    }
    // Track 1's record gives the data file's layout: 2448-byte sectors with their interleaved subchannel.
    std::vector<uint8_t> withSub = mds;
    withSub[376] = 2448 & 0xFF;
    withSub[377] = 2448 >> 8;
    for (const uint8_t subMode : {uint8_t{0x08}, uint8_t{0x00}}) {
        withSub[361] = subMode;
        TrackTable table;
        MdsDataLayout data;
        ASSERT_EQ(mdsParseDescriptor(withSub.data(), withSub.size(), table, &data), MdsParse::kOk);
        EXPECT_EQ(data.stride, 2448);
        EXPECT_EQ(data.subchannel, subMode == 0x08);
    }
    for (size_t cut = 0; cut <= toc.size(); ++cut) {
        TrackTable table;
        const std::vector<uint8_t> prefix(toc.begin(), toc.begin() + static_cast<long>(cut));
        const FullTocParse result = fullTocParse(prefix.data(), prefix.size(), table);
        ASSERT_EQ(result, cut < toc.size() ? FullTocParse::kTruncated : FullTocParse::kOk) << cut;
        ASSERT_EQ(table.rows(), cut < toc.size() ? 0 : 4) << cut;
    }
    TrackTable table;
    fullTocParse(toc.data(), toc.size(), table);
    EXPECT_EQ(startsOf(table), (std::vector<Lba>{750, 0, 450, 650}));  // the lead-out, then the tracks
    EXPECT_EQ(table.getDiscType(false), kTrackData);
    EXPECT_EQ(table.row(2).type, kTrackAudio);
}

TEST(ImageParsers, ControlFileCutAtEveryCharacterReadsAtMostItsTracks) {
    unit::ScratchDirectory scratch;
    ASSERT_TRUE(scratch.ok());
    const std::string text = fixtures::clonecdControl(threeTracks());
    const std::string path = scratch.path() + "/cut.ccd";
    iniparser_set_error_callback(quiet);  // cut lines are syntax errors
    // Cuts from the section header of track 1 on: the sections ahead of it are not read.
    for (size_t cut = text.find("[TRACK 1]"); cut <= text.size(); ++cut) {
        unit::writeWholeFile(path, text.substr(0, cut));
        TrackTable table;
        const int result = clonecdReadControl(path.c_str(), table);
        ASSERT_TRUE(result == 0 || (result == -1 && table.rows() == 0)) << cut;
        ASSERT_LE(table.rows(), 3) << cut;
        if (cut == text.size()) {
            EXPECT_EQ(startsOf(table), (std::vector<Lba>{0, 450, 650}));
        }
    }
    iniparser_set_error_callback(nullptr);
}

}  // namespace
}  // namespace lumadisc
