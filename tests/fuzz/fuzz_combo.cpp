// Feeds arbitrary text to the combination reader: what it reads must write back to a string that
// reads the same, its readable text must stay bounded, and testing it against idle devices must
// never fire.
#include <cstdio>
#include <cstring>
#include <string>

#include "input/input_devices.h"
#include "input/key_combo.h"
#include "support/list_pool.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

std::vector<lumadisc::fuzz::Seed> seeds() {
    std::vector<lumadisc::fuzz::Seed> out;
    for (const char* text : {"", "00", "0110004b", "0110004436", "031000004b2000000130010041", "04ffffffff",
                             "0230010041300100", "0120010022"}) {
        out.push_back({std::string("seed-") + std::to_string(out.size()), std::vector<uint8_t>(text, text + std::strlen(text))});
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    lumadisc::fuzz::handleWriteSeeds(*argc, *argv, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = [] {
        lumadisc::listPoolInit();
        return lumadisc::comboTrackingCreate() == 0;
    }();
    if (!ready) std::abort();
    const std::string text(reinterpret_cast<const char*>(data), size);  // stops at the first NUL, as a C string
    const lumadisc::KeyCombo combo = lumadisc::comboParse(text.c_str());
    if (combo.count < 0 || combo.count > lumadisc::kComboInputs) std::abort();

    char written[32];
    lumadisc::comboFormat(combo, written, sizeof written);
    if (std::strlen(written) != static_cast<size_t>(2 + 8 * combo.count)) std::abort();
    if (!lumadisc::comboEqual(lumadisc::comboParse(written), combo)) std::abort();

    const char* readable = lumadisc::comboText(combo);
    if (std::strlen(readable) >= 512) std::abort();
    // No device is open here, so nothing is ever down.
    if (lumadisc::comboPressed(text.c_str()) != 0) std::abort();
    return 0;
}
