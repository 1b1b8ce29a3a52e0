// Feeds arbitrary bytes as CUE sheet text to the sheet parser and the layout, then checks the extent
// table's rules and asks its track table every question a host can.
//
// `fuzz_cue_sheet --write-seeds DIR` writes a small seed corpus of generated sheets into DIR and exits.
#include "formats/cue_layout.h"
#include "formats/cue_sheet.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/cue_image.h"

namespace {

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
    sheets.push_back("\xEF\xBB\xBF" "FILE \"a.iso\" BINARY\nTRACK 01 MODE1/2048\nFLAGS DCP\nINDEX 01 00:00:00\n"
                     "FILE \"b.bin\" BINARY\nTRACK 02 MODE2/2336\nPREGAP 00:02:00\nINDEX 01 00:00:00\nPOSTGAP 00:01:00\n"
                     "FILE \"c.flac\" WAVE\nTRACK 03 AUDIO\nINDEX 00 00:00:00\nINDEX 01 00:02:00\nINDEX 02 00:03:00\n"
                     "TRACK 04 AUDIO\nINDEX 01 00:04:00\n");
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
    lumadisc::CueSheet sheet;
    if (!lumadisc::parseCueSheet(text, sheet).empty()) return 0;
    // Every FILE gets a size taken from the input, as if found on disk: empty, short or large.
    std::vector<lumadisc::CueSource> sources;
    for (size_t i = 0; i < sheet.files.size(); ++i) {
        const uint8_t b = size ? data[i % size] : 0;
        sources.push_back({"f", static_cast<int64_t>(b) * b * 2351 + b});
    }
    lumadisc::ExtentTable extents;
    std::vector<int64_t> missing;
    if (!lumadisc::cueLayout(sheet, sources, extents, &missing).empty()) return 0;
    if (missing.size() != sheet.files.size()) std::abort();
    lumadisc::fuzz::checkExtents(extents);
    lumadisc::TrackTable table;
    extents.buildTrackTable(table);
    if (static_cast<size_t>(table.rows() - 1) != sheet.tracks.size()) std::abort();
    return 0;
}
