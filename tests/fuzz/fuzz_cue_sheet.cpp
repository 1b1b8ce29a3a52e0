// Feeds arbitrary bytes as CUE sheet text to the tokenizer and the table builder, then asks the
// table every question a host can (disc type, track count, the start of tracks 0..255).
//
// `fuzz_cue_sheet --write-seeds DIR` writes a small seed corpus of generated sheets into DIR and exits.
#include "formats/cdrwin.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/cue_image.h"

namespace {

using lumadisc::TrackTable;
using lumadisc::fixtures::CueImageBuilder;

std::vector<lumadisc::fuzz::Seed> seeds() {
    std::vector<std::string> sheets;
    CueImageBuilder single;
    single.addDataTrack(300);
    sheets.push_back(single.sheet("disc.bin"));
    CueImageBuilder mixed;
    mixed.addDataTrack(300).addAudioTrack(200, {}, 150).addAudioTrack(100);
    sheets.push_back(mixed.sheet("disc.bin"));
    CueImageBuilder many;
    many.addDataTrack(4600);
    for (int i = 0; i < 14; ++i)
        many.addTrack({lumadisc::fixtures::TrackKind::kAudio, 40 + i, {}, i % 2 ? 75 : 0, i % 3 == 0 ? 150 : 0});
    sheets.push_back(many.sheet("a long name with spaces.bin"));
    // What writers other than ours produce: CRLF lines, REM and CATALOG lines, several FILE lines,
    // MODE1 tracks, lower case, tabs.
    sheets.push_back(
        "REM GENRE Game\r\nCATALOG 0000000000000\r\nFILE \"Track 01.bin\" BINARY\r\n  TRACK 01 MODE1/2352\r\n"
        "    INDEX 01 00:00:00\r\nFILE \"Track 02.bin\" BINARY\r\n  TRACK 02 AUDIO\r\n    INDEX 00 00:00:00\r\n"
        "    INDEX 01 00:02:00\r\n");
    sheets.push_back("FILE game.bin BINARY\n\tTRACK 1 MODE2/2352\n\tINDEX 1 0:0:0\nfile x.wav wave\n"
                     "track 2 audio\nindex 1 99:59:74\n");
    sheets.push_back("FILE \"x.bin\" MOTOROLA\nTRACK 01 AUDIO\nPOSTGAP 00:02:00\nINDEX 01 -1:-60:300\n"
                     "INDEX 01 4294967296:18446744073709551616:+5\nINDEX 01 00:02\n");
    std::vector<lumadisc::fuzz::Seed> result;
    for (const std::string& sheet : sheets)
        result.push_back({"sheet" + std::to_string(result.size()) + ".cue", {sheet.begin(), sheet.end()}});
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    TrackTable table;
    // As an open does: the lead-out row first, from the data file's size (here any size, even none).
    const int64_t fileSize = size < 8 ? -1 : static_cast<int64_t>(data[0] | data[1] << 8 | data[2] << 16) * 2352;
    table.appendLeadOut(fileSize, lumadisc::kRawSectorSize);
    lumadisc::cueBuildTable(lumadisc::cueTokenize(text), table);

    const int rows = table.rows();
    if (rows < 1) std::abort();
    lumadisc::fuzz::checkTable(table, false);
    uint8_t tn[2] = {0xEE, 0xEE};
    if (table.getTN(tn) == 0 && (tn[0] != 1 || tn[1] != static_cast<uint8_t>(rows - 1))) std::abort();
    for (int track = 0; track < rows && track <= 255; ++track) {
        uint8_t td[3] = {0xEE, 0xEE, 0xEE};
        table.getTD(static_cast<uint8_t>(track), td);
        // The second and frame of a start are always in range, whatever the sheet said.
        if ((td[1] >= 60 || td[2] >= 75) && table.row(track).start + lumadisc::kLeadInFrames >= 0) std::abort();
    }
    return 0;
}
