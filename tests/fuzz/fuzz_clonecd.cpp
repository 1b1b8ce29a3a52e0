// Feeds arbitrary bytes as a CloneCD control file (written to a scratch file, since the INI library
// loads from a path) to the control file reader, then asks the table every question a host can.
// `fuzz_clonecd --write-seeds DIR` writes the control files of a few discs into DIR.
#include <iniparser/iniparser.h>
#include <unistd.h>

#include "formats/clonecd.h"
#include "tests/fuzz/fuzz_seed_layouts.h"
#include "tests/fuzz/fuzz_support.h"
#include "tools/fixtures/image_descriptions.h"

namespace {

std::string g_controlPath;

std::vector<lumadisc::fuzz::Seed> seeds() {
    std::vector<lumadisc::fuzz::Seed> result;
    int n = 0;
    for (const auto& layout : lumadisc::fuzz::seedLayouts()) {
        const std::string text = lumadisc::fixtures::clonecdControl(layout);
        result.push_back({"disc" + std::to_string(n++) + ".ccd", std::vector<uint8_t>(text.begin(), text.end())});
    }
    const std::string odd = "[TRACK 1]\nMODE=010\nINDEX 1=0x10\n[track 2]\nindex 1 = \"-9999\"\n[TRACK 3]\nINDEX 1=5\n";
    result.push_back({"odd.ccd", std::vector<uint8_t>(odd.begin(), odd.end())});
    return result;
}

int quiet(const char*, ...) { return 0; }

void removeScratch() {
    if (g_controlPath.empty()) return;
    unlink(g_controlPath.c_str());
    rmdir(g_controlPath.substr(0, g_controlPath.rfind('/')).c_str());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp == '/' ? tmp : "/tmp") + "/lumadisc-fuzz-ccd-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    g_controlPath = pattern + "/control.ccd";
    std::atexit(removeScratch);
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
