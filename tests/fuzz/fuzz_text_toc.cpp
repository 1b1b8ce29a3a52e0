// Feeds arbitrary bytes as a cdrdao text TOC to its parser and layout (with two data files of known
// size in the working directory), then checks the extent table's rules and its track table.
// `fuzz_text_toc --write-seeds DIR` writes a few TOCs into DIR.
#include <fstream>

#include "formats/cdrdao_text.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

std::vector<lumadisc::fuzz::Seed> seeds() {
    const std::vector<std::string> tocs = {
        "CD_ROM_XA\n// comment\nTRACK MODE2_RAW\nDATAFILE \"a.bin\" 00:02:00\nTRACK AUDIO\nNO COPY\n"
        "FILE \"a.bin\" SWAP #352800 0 00:01:00\nSTART 00:00:30\nINDEX 00:00:10\n",
        "CD_DA\nCD_TEXT { LANGUAGE_MAP { 0 : EN } LANGUAGE 0 { TITLE \"x\" } }\nTRACK AUDIO\nPRE_EMPHASIS\n"
        "FOUR_CHANNEL_AUDIO\nISRC \"ABCDE1234567\"\nPREGAP 00:02:00\nFILE \"b.bin\" 0\nTRACK AUDIO\nSILENCE 588\n"
        "FILE \"b.bin\" 00:00:10 00:00:20\n",
        "CD_ROM\nCATALOG \"0000000000000\"\nTRACK MODE1\nDATAFILE \"a.bin\" #2048 4096\nZERO MODE1 00:02:00\n"
        "TRACK MODE2_FORM1\nDATAFILE \"b.bin\"\nTRACK MODE2_FORM2 RW\nZERO 2420\nSTART\nDATAFILE \"a.bin\"\n",
    };
    std::vector<lumadisc::fuzz::Seed> result;
    for (const std::string& toc : tocs)
        result.push_back({"toc" + std::to_string(result.size()) + ".toc", {toc.begin(), toc.end()}});
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    lumadisc::fuzz::scratchDirectory("lumadisc-fuzz-toc", true);
    std::ofstream("a.bin", std::ios::binary) << std::string(2352 * 300, '\x5A');
    std::ofstream("b.bin", std::ios::binary) << std::string(2352 * 7 + 5, '\x33');
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    lumadisc::looksLikeTextToc(data, size);
    const std::string text(reinterpret_cast<const char*>(data), size);
    lumadisc::ExtentTable extents;
    std::string missing;
    if (!lumadisc::textTocLayout(text, "./x.toc", extents, &missing).empty()) return 0;
    lumadisc::fuzz::checkExtents(extents);
    return 0;
}
