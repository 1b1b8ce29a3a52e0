// Feeds arbitrary bytes as a CloneCD control file (written to a scratch file, since the INI library
// loads from a path) to the control file reader, then asks the table every question a host can.
// `fuzz_clonecd --write-seeds DIR` writes the control files of a few discs into DIR.
#include <iniparser/iniparser.h>

#include "formats/clonecd.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/image_descriptions.h"

namespace {

std::string g_controlPath;

std::vector<lumadisc::fuzz::Seed> seeds() {
    std::vector<std::string> texts;
    for (const auto& layout : lumadisc::fuzz::seedLayouts()) texts.push_back(lumadisc::fixtures::clonecdControl(layout));
    texts.push_back("[TRACK 1]\nMODE=010\nINDEX 1=0x10\n[track 2]\nindex 1 = \"-9999\"\n[TRACK 3]\nINDEX 1=5\n");
    std::vector<lumadisc::fuzz::Seed> result;
    for (const auto& text : texts) result.push_back({"disc" + std::to_string(result.size()) + ".ccd", {text.begin(), text.end()}});
    return result;
}

int quiet(const char*, ...) { return 0; }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    g_controlPath = lumadisc::fuzz::scratchDirectory("lumadisc-fuzz-ccd") + "/control.ccd";
    iniparser_set_error_callback(quiet);  // the INI library's syntax complaints would flood the output
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FILE* file = std::fopen(g_controlPath.c_str(), "wb");
    if (!file) std::abort();
    if (size > 0 && std::fwrite(data, 1, size, file) != size) std::abort();
    if (std::fclose(file) != 0) std::abort();
    lumadisc::TrackTable table;
    table.appendLeadOut(static_cast<int64_t>(size) * 2352, lumadisc::kRawSectorSize);
    const int result = lumadisc::clonecdReadControl(g_controlPath.c_str(), table);
    if (result != 0 && result != -1) std::abort();
    if (result != 0 && table.rows() != 1) std::abort();
    if (table.rows() > 100) std::abort();
    lumadisc::fuzz::checkTable(table, false);
    return 0;
}
