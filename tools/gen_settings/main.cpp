// gen_settings DIR: writes DIR/configs/lumaDisc.ini holding the plugin's default settings, through the
// plugin's own settings code, so the starter file a user installs never drifts from the defaults.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "config/settings.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: gen_settings DIR\n");
        return 2;
    }
    const std::string directory = argv[1];
    const std::string configs = directory + "/configs";
    for (const std::string& path : {directory, configs}) {
        if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
            std::fprintf(stderr, "gen_settings: cannot create %s: %s\n", path.c_str(), std::strerror(errno));
            return 1;
        }
    }
    if (chdir(directory.c_str()) != 0) {
        std::fprintf(stderr, "gen_settings: cannot enter %s: %s\n", directory.c_str(), std::strerror(errno));
        return 1;
    }
    lumadisc::Settings settings;
    lumadisc::settingsDefaults(&settings);
    // The settings code says nothing when it cannot write: check that the file is there.
    std::remove(lumadisc::kSettingsPath);
    lumadisc::settingsSave(&settings);
    if (access(lumadisc::kSettingsPath, R_OK) != 0) {
        std::fprintf(stderr, "gen_settings: cannot write %s/%s\n", directory.c_str(), lumadisc::kSettingsPath);
        return 1;
    }
    return 0;
}
