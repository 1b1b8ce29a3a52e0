// Feeds arbitrary bytes as a full-TOC file to its parser, then asks the table every question a host
// can. `fuzz_toc --write-seeds DIR` writes the TOCs of a few discs into DIR.
#include "formats/cdrdao.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/image_descriptions.h"

namespace {

std::vector<lumadisc::fuzz::Seed> seeds() {
    using lumadisc::fixtures::fullTocBytes;
    using lumadisc::fixtures::fullTocEntries;
    std::vector<lumadisc::fuzz::Seed> result;
    std::vector<lumadisc::fixtures::FullTocEntry> twoSessions;
    int n = 0;
    for (const auto& layout : lumadisc::fuzz::seedLayouts()) {
        auto entries = fullTocEntries(layout);
        result.push_back({"disc" + std::to_string(n) + ".toc", fullTocBytes(entries)});
        for (auto& entry : entries) entry.session = static_cast<uint8_t>(n + 1);
        if (n < 2) twoSessions.insert(twoSessions.end(), entries.begin(), entries.end());
        ++n;
    }
    result.push_back({"sessions.toc", fullTocBytes(twoSessions)});
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    lumadisc::TrackTable table;
    const lumadisc::FullTocParse result = lumadisc::fullTocParse(data, size, table);
    if (result != lumadisc::FullTocParse::kOk && table.rows() != 0) std::abort();
    if (table.rows() > 65535 / 11) std::abort();
    lumadisc::fuzz::checkTable(table, false);
    return 0;
}
