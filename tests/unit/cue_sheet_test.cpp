// The CUE walk: which lines make rows, with which type and start.
#include <gtest/gtest.h>

#include "formats/cdrwin.h"

namespace lumadisc {
namespace {

struct SheetCase {
    const char* name;
    const char* sheet;
    std::vector<TrackEntry> rows;  // rows 1..n
};

std::vector<TrackEntry> rowsOf(const std::string& sheet) {
    TrackTable table;
    table.append(kTrackData, 0);  // row 0
    cueBuildTable(cueTokenize(sheet), table);
    std::vector<TrackEntry> rows;
    for (int i = 1; i < table.rows(); ++i) rows.push_back(table.row(i));
    return rows;
}

class CueSheet : public ::testing::TestWithParam<SheetCase> {};

TEST_P(CueSheet, BuildsTheRowsItShould) {
    const auto rows = rowsOf(GetParam().sheet);
    ASSERT_EQ(rows.size(), GetParam().rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].type, GetParam().rows[i].type) << "track " << i + 1;
        EXPECT_EQ(rows[i].start, GetParam().rows[i].start) << "track " << i + 1;
    }
}

const SheetCase kSheets[] = {
    {"one_data_track", "FILE \"game.bin\" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n", {{1, 0}}},
    {"audio_mode_word_is_not_read", "FILE \"a b.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:02:00\n", {{1, 150}}},
    {"unquoted_name_with_dot_makes_audio", "FILE game.bin BINARY\nTRACK 01 MODE2/2352\nINDEX 01 00:00:00\n",
     {{2, 0}}},
    {"wave_file_type", "FILE \"x.wav\" WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:10\n", {{2, 10}}},
    {"several_files_index_one_data_file",
     "FILE \"a.bin\" BINARY\nTRACK 01 MODE2/2352\nINDEX 01 00:00:00\n"
     "FILE \"b.bin\" BINARY\nTRACK 02 AUDIO\nINDEX 00 00:00:00\nINDEX 01 00:02:00\n",
     {{1, 0}, {1, 150}}},
    {"index_zero_and_pregap_add_nothing",
     "FILE \"a.bin\" BINARY\nTRACK 01 MODE2/2352\nPREGAP 00:02:00\nINDEX 00 00:00:00\nINDEX 01 00:01:00\n",
     {{1, 75}}},
    {"track_without_index_one_shifts_numbering",
     "FILE \"a.bin\" BINARY\nTRACK 01 MODE2/2352\nINDEX 00 00:00:00\nTRACK 02 AUDIO\nINDEX 01 01:00:00\n",
     {{1, 4500}}},
    {"lower_case_keywords_are_not_recognised", "file \"a.bin\" binary\ntrack 01 mode2/2352\nindex 01 00:00:00\n", {}},
    {"no_range_check", "FILE \"a.bin\" BINARY\nTRACK 01 MODE2/2352\nINDEX 01 04:60:80\n", {{1, 22580}}},
    {"values_taken_modulo_256", "FILE \"a.bin\" BINARY\nINDEX 01 00:00:300\n", {{1, 44}}},
    {"crlf_lines", "FILE \"a.bin\" BINARY\r\nTRACK 01 MODE2/2352\r\nINDEX 01 00:00:05\r\n", {{1, 5}}},
    {"no_index_lines", "FILE \"a.bin\" BINARY\nTRACK 01 MODE2/2352\n", {}},
    {"file_type_two_tokens_on", "FILE \"a.bin\"\nBINARY\nINDEX 01 00:00:01\n", {{2, 1}}},
    {"unterminated_quote_runs_to_line_end", "FILE \"a.bin BINARY\nINDEX 01 00:00:01\n", {{2, 1}}},
    {"operands_cut_by_the_end_of_the_sheet", "FILE \"a.bin\" BINARY\nINDEX 01 00:00:01\nINDEX 01 00", {{1, 1}}},
    {"file_at_the_very_end", "FILE", {}},
    {"empty", "", {}},
};

INSTANTIATE_TEST_SUITE_P(Sheets, CueSheet, ::testing::ValuesIn(kSheets),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(CueTokenizer, SplitsOnSeparatorsKeepsQuotedTextAndMarksLineEnds) {
    const std::vector<std::string> expected = {"FILE", "My Game.bin", "BINARY", "", "INDEX", "01", "00", "02", "00", ""};
    EXPECT_EQ(cueTokenize("FILE \"My Game.bin\" BINARY\n  INDEX 01 00:02:00\n"), expected);
    EXPECT_EQ(cueTokenize("\n ,.;\nA\n"), (std::vector<std::string>{"", "", "A", ""}));
}

}  // namespace
}  // namespace lumadisc
