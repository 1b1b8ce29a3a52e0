// CUE sheets as players' tools write them: which tracks, at which disc positions, of which type, and
// which sheets are refused with which reason. Files are given by size; nothing is read.
#include <gtest/gtest.h>

#include "formats/cue_layout.h"
#include "formats/cue_sheet.h"

namespace lumadisc {
namespace {

struct SheetCase {
    const char* name;
    std::string sheet;
    std::vector<int64_t> fileSectors;  // per FILE entry, in 2352-byte sectors (or as bytes / stride)
    std::vector<TrackEntry> rows;      // row 0 (lead-out), then tracks
    std::string reason = {};           // expected refusal, when not empty
};

void PrintTo(const SheetCase& c, std::ostream* out) { *out << c.name; }

class Sheets : public ::testing::TestWithParam<SheetCase> {};

TEST_P(Sheets, LayOutTheirTracksOrSayWhyNot) {
    const SheetCase& c = GetParam();
    CueSheet sheet;
    std::string reason = parseCueSheet(c.sheet, sheet);
    ExtentTable extents;
    if (reason.empty()) {
        std::vector<CueSource> sources;
        for (size_t i = 0; i < sheet.files.size(); ++i)
            sources.push_back({std::string("f").append(std::to_string(i)), i < c.fileSectors.size() ? c.fileSectors[i] : 0});
        reason = cueLayout(sheet, sources, extents, nullptr);
    }
    EXPECT_EQ(reason, c.reason);
    if (!c.reason.empty()) return;
    TrackTable table;
    extents.buildTrackTable(table);
    std::vector<std::pair<int, Lba>> rows, expected;
    for (int i = 0; i < table.rows(); ++i) rows.emplace_back(table.row(i).type, table.row(i).start);
    for (const TrackEntry& row : c.rows) expected.emplace_back(row.type, row.start);
    EXPECT_EQ(rows, expected);
}

constexpr int64_t kS = kRawSectorSize;

const SheetCase kSheets[] = {
    {"single_file_data_and_audio_with_gap",
     "FILE \"game.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n  TRACK 02 AUDIO\n"
     "    INDEX 00 00:04:00\n    INDEX 01 00:06:00\n",
     {1000 * kS}, {{1, 1000}, {1, 0}, {2, 450}}},
    {"one_file_per_track",
     "FILE \"Game (Track 1).bin\" BINARY\n TRACK 01 MODE2/2352\n  INDEX 01 00:00:00\n"
     "FILE \"Game (Track 2).bin\" BINARY\n TRACK 02 AUDIO\n  INDEX 00 00:00:00\n  INDEX 01 00:02:00\n"
     "FILE \"Game (Track 3).bin\" BINARY\n TRACK 03 AUDIO\n  INDEX 00 00:00:00\n  INDEX 01 00:02:00\n",
     {300 * kS, 350 * kS, 250 * kS}, {{1, 900}, {1, 0}, {2, 450}, {2, 800}}},
    {"lower_case_tabs_crlf_bom_unquoted",
     "\xEF\xBB\xBF" "file game.bin binary\r\n\ttrack 1 mode1/2352\r\n\tindex 1 00:00:00\r\n",
     {10 * kS}, {{1, 10}, {1, 0}}},
    {"unquoted_name_with_blanks", "FILE My Game.bin BINARY\nTRACK 01 MODE1/2352\nINDEX 01 00:00:00\n",
     {10 * kS}, {{1, 10}, {1, 0}}},
    {"mode1_2048_stride", "FILE \"x.iso\" BINARY\nTRACK 01 MODE1/2048\nINDEX 01 00:00:00\n", {100 * 2048},
     {{1, 100}, {1, 0}}},
    {"mode2_2336_then_audio_in_one_file",
     "FILE \"x.bin\" BINARY\nTRACK 01 MODE2/2336\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 01 00:01:00\n",
     {75 * 2336 + 30 * kS}, {{1, 105}, {1, 0}, {2, 75}}},
    {"pregap_and_postgap_add_sectors",
     "FILE \"x.bin\" BINARY\nTRACK 01 MODE2/2352\nINDEX 01 00:00:00\nPOSTGAP 00:00:10\n"
     "TRACK 02 AUDIO\nPREGAP 00:02:00\nINDEX 01 00:01:00\n",
     {100 * kS}, {{1, 260}, {1, 0}, {2, 235}}},
    {"metadata_lines_are_read_past",
     "REM GENRE Game\nCATALOG 0000000000000\nTITLE \"t\"\nPERFORMER \"p\"\nSONGWRITER \"s\"\n"
     "FILE \"x.bin\" BINARY\nTRACK 01 AUDIO\nFLAGS DCP PRE 4CH\nISRC ABCDE1234567\nINDEX 01 00:00:00\n",
     {5 * kS}, {{1, 5}, {2, 0}}},
    {"track_starting_in_the_previous_file",
     "FILE \"a.bin\" BINARY\nTRACK 01 MODE1/2352\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 00 00:01:00\n"
     "FILE \"b.bin\" BINARY\nINDEX 01 00:00:00\n",
     {100 * kS, 40 * kS}, {{1, 140}, {1, 0}, {2, 100}}},
    {"file_shorter_than_its_last_index",
     "FILE \"x.bin\" BINARY\nTRACK 01 MODE1/2352\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 01 00:10:00\n",
     {10 * kS}, {{1, 751}, {1, 0}, {2, 750}}},

    {"empty", "", {}, {}, "no track"},
    {"binary_bytes", std::string("FILE \"x\" BINARY\n\0\1\2", 19), {}, {}, "not a text sheet"},
    {"text_that_is_no_sheet", "Hello, this is a letter.\nRegards\n", {}, {}, "no track"},
    {"track_before_file", "TRACK 01 AUDIO\n", {}, {}, "line 1: TRACK before any FILE"},
    {"index_outside_track", "FILE \"x\" BINARY\nINDEX 01 00:00:00\n", {}, {}, "line 2: INDEX outside a TRACK"},
    {"unknown_mode", "FILE \"x\" BINARY\nTRACK 01 MODE3/2352\n", {}, {}, "line 2: unknown track mode MODE3/2352"},
    {"unknown_file_type", "FILE \"x\" MP4\n", {}, {}, "line 1: unknown FILE type MP4"},
    {"seconds_out_of_range", "FILE \"x\" BINARY\nTRACK 01 AUDIO\nINDEX 01 04:60:00\n", {}, {},
     "line 3: INDEX time is not mm:ss:ff"},
    {"frames_out_of_range", "FILE \"x\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:75\n", {}, {},
     "line 3: INDEX time is not mm:ss:ff"},
    {"negative_time", "FILE \"x\" BINARY\nTRACK 01 AUDIO\nINDEX 01 -1:00:00\n", {}, {},
     "line 3: INDEX time is not mm:ss:ff"},
    {"track_without_index_01", "FILE \"x\" BINARY\nTRACK 01 AUDIO\nINDEX 00 00:00:00\n", {1 * kS}, {},
     "track 1 has no INDEX 01"},
    {"track_numbers_fall", "FILE \"x\" BINARY\nTRACK 02 AUDIO\nINDEX 01 00:00:00\nTRACK 01 AUDIO\n", {}, {},
     "line 4: track numbers do not rise"},
    {"track_100", "FILE \"x\" BINARY\nTRACK 100 AUDIO\n", {}, {}, "line 2: TRACK without a number from 1 to 99"},
    {"positions_go_back",
     "FILE \"x\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:01:00\nTRACK 02 AUDIO\nINDEX 01 00:00:00\n", {100 * kS}, {},
     "INDEX positions go back within a file"},
    {"data_track_in_a_sound_file", "FILE \"x.wav\" WAVE\nTRACK 01 MODE1/2352\nINDEX 01 00:00:00\n", {100 * kS}, {},
     "track 1 is a data track in a sound file"},
    {"beyond_a_cd", "FILE \"x\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 01 99:59:74\n"
     "POSTGAP 00:00:10\n", {450000 * kS}, {}, "the tracks reach beyond 99:59:74"},
};

INSTANTIATE_TEST_SUITE_P(Cue, Sheets, ::testing::ValuesIn(kSheets),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(CueLayout, ExtentsCarryFormIndexAndControlOfTheirTrack) {
    CueSheet sheet;
    ASSERT_EQ(parseCueSheet("FILE \"a.bin\" MOTOROLA\nTRACK 01 AUDIO\nFLAGS PRE DCP\nPREGAP 00:00:05\n"
                            "INDEX 00 00:00:00\nINDEX 01 00:00:02\nINDEX 02 00:00:04\n"
                            "FILE \"b.iso\" BINARY\nTRACK 02 MODE1/2048\nINDEX 01 00:00:00\n",
                            sheet),
              "");
    ExtentTable table;
    std::vector<int64_t> missing;
    ASSERT_EQ(cueLayout(sheet, {{"a.bin", 10 * kS}, {"b.iso", 2048 * 3 + 100}}, table, &missing), "");
    struct Row {
        Lba start;
        int32_t count;
        SectorForm form;
        int index;
        int64_t offset;
    };
    const std::vector<Row> expected = {{0, 5, SectorForm::kSilence, 0, 0},
                                       {5, 2, SectorForm::kAudioSwapped, 0, 0},
                                       {7, 2, SectorForm::kAudioSwapped, 1, 2 * kS},
                                       {9, 6, SectorForm::kAudioSwapped, 2, 4 * kS},
                                       {15, 3, SectorForm::kMode1User, 1, 0}};
    ASSERT_EQ(table.extents().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        const Extent& e = table.extents()[i];
        EXPECT_EQ(e.start, expected[i].start) << i;
        EXPECT_EQ(e.count, expected[i].count) << i;
        EXPECT_EQ(e.form, expected[i].form) << i;
        EXPECT_EQ(e.index, expected[i].index) << i;
        EXPECT_EQ(e.offset, expected[i].offset) << i;
    }
    EXPECT_EQ(table.extents()[0].control, kControlPreEmphasis | kControlCopyPermitted);
    EXPECT_EQ(table.extents()[4].control, kControlData);
    EXPECT_EQ(table.extents()[0].trackStart, 7);
    EXPECT_EQ(missing, (std::vector<int64_t>{0, 0}));
}

}  // namespace
}  // namespace lumadisc
