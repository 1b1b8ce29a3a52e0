// Feeds arbitrary bytes to the settings loader as ./configs/lumaDisc.ini, then saves the record
// and loads the saved file again, all inside a scratch working directory of its own. The target
// changes its working directory, so give libFuzzer absolute corpus paths.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "config/settings.h"
#include "formats/catalogue.h"
#include "support/list_pool.h"

namespace {

std::string g_scratch;

void removeScratch() {
    std::error_code ignored;
    if (!g_scratch.empty()) std::filesystem::remove_all(g_scratch, ignored);
}

bool setUpOnce() {
    static const bool ready = [] {
        char pattern[] = "/tmp/lumadisc-fuzz-XXXXXX";
        if (mkdtemp(pattern) == nullptr || chdir(pattern) != 0) return false;
        g_scratch = pattern;
        std::atexit(removeScratch);
        if (mkdir("configs", 0777) != 0) return false;
        lumadisc::listPoolInit();
        return lumadisc::catalogueInit() == 0 && lumadisc::recentInit() == 0;
    }();
    return ready;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!setUpOnce()) std::abort();
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
