// Sheets and TOC files that are not what they claim, or that players' tools write in ways a strict
// reader would refuse: each opens to the right tracks or fails with one log line naming the file and
// the reason, quickly, and the host's queries and reads afterwards stay harmless.
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "tests/e2e/plugin_harness.h"
#include "tools/fixtures/file_writer.h"

namespace lumadisc::e2e {
namespace {

struct BadImage {
    const char* name;
    std::function<void(const std::string& dir)> make;  // writes the files
    const char* disc;                                  // relative to the scratch directory
    long openResult;
    std::string line;                                  // expected in the log ({dir} = the scratch directory)
    std::vector<Lba> starts = {};                      // tracks 1..n when the open succeeds
};

void PrintTo(const BadImage& image, std::ostream* out) { *out << image.name; }

std::string expand(std::string text, const std::string& dir) {
    for (size_t at; (at = text.find("{dir}")) != std::string::npos;) text.replace(at, 5, dir);
    return text;
}

void text(const std::string& path, const std::string& content) { fixtures::writeText(path, content, nullptr); }
void sectors(const std::string& path, int count) { text(path, std::string(static_cast<size_t>(count) * 2352, '\0')); }

const char* kTrack = "  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n";

std::vector<BadImage> badImages() {
    std::string garbage, printable;
    for (int i = 0; i < 65536; ++i) garbage += static_cast<char>((i * 7919 + i / 256) % 256);
    for (int i = 0; i < 65536; ++i) printable += static_cast<char>(' ' + (i * 31) % 90);
    return {
        {"empty_sheet", [](auto& d) { text(d + "/x.cue", ""); sectors(d + "/x.bin", 4); }, "x.cue", -1,
         "[CDR] Error: cue sheet not read ({dir}/x.cue): no track.\n"},
        {"binary_garbage", [garbage](auto& d) { text(d + "/x.cue", garbage); }, "x.cue", -1,
         "[CDR] Error: cue sheet not read ({dir}/x.cue): not a text sheet.\n"},
        {"printable_garbage", [printable](auto& d) { text(d + "/x.cue", printable); sectors(d + "/x.bin", 4); },
         "x.cue", -1, "[CDR] Error: cue sheet not read ({dir}/x.cue): no track.\n"},
        {"directory_named_cue", [](auto& d) { fixtures::makeDirectories(d + "/x.cue", nullptr); }, "x.cue", -1,
         "[CDR] Error: cue sheet not read ({dir}/x.cue): a directory, not a file.\n"},
        {"huge_binary_named_cue",
         [](auto& d) {
             text(d + "/x.cue", "FILE \"x.bin\" BINARY\n");
             std::filesystem::resize_file(d + "/x.cue", 345LL << 20);  // sparse: nothing to write
         },
         "x.cue", -1, "[CDR] Error: cue sheet not read ({dir}/x.cue): larger than 1024 KB, not a description.\n"},
        {"fifo_named_cue", [](auto& d) { mkfifo((d + "/x.cue").c_str(), 0600); }, "x.cue", -1,
         "[CDR] Error: cue sheet not read ({dir}/x.cue): not a regular file.\n"},
        {"data_file_missing", [](auto& d) { text(d + "/x.cue", std::string("FILE \"gone.bin\" BINARY\n") + kTrack); },
         "x.cue", -1, "[CDR] Error: data file not opened ({dir}/gone.bin).\n"},
        {"positions_going_back",
         [](auto& d) {
             text(d + "/x.cue", "FILE \"x.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:10\nTRACK 02 AUDIO\nINDEX 01 00:00:00\n");
             sectors(d + "/x.bin", 20);
         },
         "x.cue", -1, "[CDR] Error: cue sheet not read ({dir}/x.cue): INDEX positions go back within a file.\n"},
        {"beyond_a_cd",
         [](auto& d) {
             text(d + "/x.cue", std::string("FILE \"x.bin\" BINARY\n") + kTrack + "  POSTGAP 99:00:00\n"
                                "FILE \"x.bin\" BINARY\nTRACK 02 AUDIO\nPREGAP 02:00:00\nINDEX 01 00:00:00\n");
             sectors(d + "/x.bin", 20);
         },
         "x.cue", -1, "[CDR] Error: cue sheet not read ({dir}/x.cue): the tracks reach beyond 99:59:74.\n"},
        {"bad_time", [](auto& d) { text(d + "/x.cue", "FILE \"x.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:61:00\n"); sectors(d + "/x.bin", 2); },
         "x.cue", -1, "[CDR] Error: cue sheet not read ({dir}/x.cue): line 3: INDEX time is not mm:ss:ff.\n"},
        {"image_shorter_than_sheet",
         [](auto& d) {
             text(d + "/x.cue", std::string("FILE \"x.bin\" BINARY\n") + kTrack + "  TRACK 02 AUDIO\n    INDEX 01 00:01:00\n");
             sectors(d + "/x.bin", 50);
         },
         "x.cue", 0, "[CDR] Warning: data file {dir}/x.bin is 26 sectors shorter than the sheet says.\n", {0, 75}},
        {"lower_case_and_unquoted",
         [](auto& d) { text(d + "/x.cue", "file game.bin binary\n  track 01 mode2/2352\n    index 01 00:00:00\n"); sectors(d + "/game.bin", 8); },
         "x.cue", 0, "[CDR] CCdRead::open().\n", {0}},
        {"file_named_with_other_case_in_a_sub_directory",
         [](auto& d) {
             fixtures::makeDirectories(d + "/Images", nullptr);
             sectors(d + "/Images/Game.BIN", 8);
             text(d + "/x.cue", std::string("FILE \"images\\game.bin\" BINARY\n") + kTrack);
         },
         "x.cue", 0, "[CDR] CCdRead::open().\n", {0}},
        {"named_file_missing_but_sheet_bin_there",
         [](auto& d) { text(d + "/x.cue", std::string("FILE \"renamed.bin\" BINARY\n") + kTrack); sectors(d + "/x.bin", 8); },
         "x.cue", 0, "[CDR] CCdRead::open().\n", {0}},
        {"text_toc_without_track", [](auto& d) { text(d + "/x.toc", "CD_ROM\n// nothing\n"); }, "x.toc", -1,
         "[CDR] Error: toc file not read ({dir}/x.toc): no track.\n"},
        {"text_toc_file_missing", [](auto& d) { text(d + "/x.toc", "CD_DA\nTRACK AUDIO\nFILE \"none.wav\" 0\n"); }, "x.toc",
         -1, "[CDR] Error: data file not opened ({dir}/none.wav).\n"},
        {"text_toc_unknown_keyword", [](auto& d) { text(d + "/x.toc", "CD_ROM\nTRACK MODE1\nDATAFILE\n"); sectors(d + "/x.bin", 1); },
         "x.toc", -1, "[CDR] Error: toc file not read ({dir}/x.toc): file statement without a name.\n"},
        {"text_toc_larger_than_17_kb",
         [](auto& d) {
             text(d + "/x.toc", "CD_ROM\n" + std::string(18000, '\n') + "TRACK MODE1_RAW\nDATAFILE \"x.bin\"\n");
             sectors(d + "/x.bin", 8);
         },
         "x.toc", 0, "[CDR] CCdRead::open().\n", {0}},
        {"binary_toc_still_binary", [](auto& d) { text(d + "/x.toc", std::string("\0\x02\x01\x01", 4)); sectors(d + "/x.bin", 1); },
         "x.toc", 0, "[CDR] CCdRead::open().\n", {}},
    };
}

class BadImages : public PluginHarness, public ::testing::WithParamInterface<BadImage> {};

TEST_P(BadImages, OpenToTheirTracksOrFailWithTheirReasonQuickly) {
    const BadImage& c = GetParam();
    c.make(dir());
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(openWith(settingsFor(dir() + "/" + c.disc)), c.openResult);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(2));
    unsigned char tn[2] = {0xAA, 0xBB}, td[3] = {};
    api().getTN(tn);
    std::vector<Lba> starts;
    for (int track = 1; tn[0] == 1 && track <= tn[1]; ++track) {
        api().getTD(static_cast<unsigned char>(track), td);
        starts.push_back(lbaFromMsf(td[2], td[1], td[0]));
    }
    EXPECT_EQ(starts, c.starts);
    for (const Lba lba : {0, 1, 74, 75, 100000, -150}) host().readSector(lba);
    closePlugin();
    EXPECT_NE(log().find(expand(c.line, dir())), std::string::npos) << log();
}

INSTANTIATE_TEST_SUITE_P(Inputs, BadImages, ::testing::ValuesIn(badImages()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumadisc::e2e
