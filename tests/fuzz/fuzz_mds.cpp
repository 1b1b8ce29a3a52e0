// Feeds arbitrary bytes as an MDS descriptor to the descriptor parser, then asks the table every
// question a host can. `fuzz_mds --write-seeds DIR` writes descriptors of a few discs into DIR.
#include "formats/alcohol120.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/image_descriptions.h"

namespace {

std::vector<lumadisc::fuzz::Seed> seeds() {
    std::vector<lumadisc::fuzz::Seed> result;
    int n = 0;
    for (const auto& layout : lumadisc::fuzz::seedLayouts())
        result.push_back({"disc" + std::to_string(n++) + ".mds", lumadisc::fixtures::mdsDescriptor(layout)});
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    lumadisc::TrackTable table;
    table.appendLeadOut(size < 8 ? -1 : static_cast<int64_t>(data[size - 1]) * 2352, lumadisc::kRawSectorSize);
    const lumadisc::MdsParse result = lumadisc::mdsParseDescriptor(data, size, table);
    if (result != lumadisc::MdsParse::kOk && table.rows() != 1) std::abort();
    if (result == lumadisc::MdsParse::kOk && (table.rows() < 2 || table.rows() > 100)) std::abort();
    lumadisc::fuzz::checkTable(table, true);
    return 0;
}
