// Feeds arbitrary bytes to the settings loader as ./configs/lumaDisc.ini, then saves the record
// and loads the saved file again, all inside a scratch working directory of its own. The target
// changes its working directory, so give libFuzzer absolute corpus paths.
#include "config/settings.h"
#include "config/catalogue.h"
#include "support/list_pool.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = [] {
        lumadisc::fuzz::scratchDirectory("lumadisc-fuzz", true);
        if (mkdir("configs", 0777) != 0) return false;
        lumadisc::listPoolInit();
        return lumadisc::catalogueInit() == 0 && lumadisc::recentInit() == 0;
    }();
    if (!ready) std::abort();
    FILE* file = std::fopen(lumadisc::kSettingsPath, "wb");
    if (file == nullptr) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    static lumadisc::Settings settings;
    lumadisc::settingsLoad(&settings);
    lumadisc::settingsSave(&settings);
    lumadisc::settingsLoad(&settings);
    return 0;
}
